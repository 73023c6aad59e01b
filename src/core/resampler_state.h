#pragma once

#include <cstdint>

// The rational polyphase filter: L = up_factor phases, every M-th = down_factor-th position of the
// upsampled grid taken. All zero but the first two rates, `channels` and `history` when the rates
// are equal.
struct resampler_state {
    uint32_t channels;
    uint32_t input_rate;  // Hz
    uint32_t output_rate; // Hz
    uint32_t up_factor;
    uint32_t down_factor;
    uint32_t filter_length; // 40 * up_factor + 1
    uint32_t history;       // input samples of context on either side of an output
    double *filter;         // filter_length coefficients, owned
    // The coefficients once more, as the SIMD kernels read them, behind the instance in its own
    // block; null when they read `filter`.
    double *kernel_table;
};

inline bool hasEqualRates(const resampler_state &state) {
    return state.input_rate == state.output_rate;
}
