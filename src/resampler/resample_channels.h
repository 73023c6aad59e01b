#pragma once

#include "core/resampler_state.h"
#include "simd/kernels.h"

// What the kernels of the resampler work from.
struct resample_job {
    const resampler_state *state;
    const int32_t *const *inputs; // one array per channel, from the first output's first sample on
    int32_t *const *outputs;      // one array per channel
    uint64_t outputs_per_channel;
};

// Filters every channel of state->channels as resampleChannel does, with the same results. The
// input arrays hold what the outputs' filters span, the output arrays have room for the outputs;
// nothing beyond is touched.
void resampleChannels(const resample_job &job);
