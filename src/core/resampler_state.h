#pragma once

#include <cstddef>
#include <cstdint>

// Input samples on either side of an output's centre that its filter spans. Everything that depends
// on the filter's length follows from this.
constexpr uint32_t RESAMPLER_HISTORY = 20;

// Of every phase but phase 0, which has one more.
constexpr uint32_t TAPS_PER_PHASE = 2 * RESAMPLER_HISTORY;

struct resample_job;

// Filters a job and returns the outputs done per channel: all, or whole periods of L.
using resample_kernel = uint64_t (*)(const resample_job &job);

// The rational polyphase filter: L = up_factor phases, every M-th = down_factor-th position of the
// upsampled grid taken. L, M and what follows from them are 0 when the rates are equal.
struct resampler_state {
    uint32_t channels;
    uint32_t input_rate;  // Hz
    uint32_t output_rate; // Hz
    uint32_t up_factor;
    uint32_t down_factor;
    uint32_t filter_length; // TAPS_PER_PHASE * up_factor + 1
    uint32_t history;       // RESAMPLER_HISTORY
    double *filter;         // filter_length coefficients, owned

    size_t packed_rows;     // of a group of phases, see packed_coefficients.h
    size_t packed_bytes;    // with the alignment; 0: the kernels read `filter` alone
    double *packed;         // behind the instance in its own block, or null
    resample_kernel kernel; // fixed at creation
};

inline bool hasEqualRates(const resampler_state &state) {
    return state.input_rate == state.output_rate;
}
