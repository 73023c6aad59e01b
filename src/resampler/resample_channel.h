#pragma once

#include "core/resampler_state.h"

// Filters one channel: output k, for k = 0 .. outputs - 1, lies at position k * M of the upsampled
// grid counted from input[0] and is the sum, in input order, of the input samples under the
// filter times their coefficients, saturated to 32 bits and truncated towards zero.
void resampleChannel(const resampler_state &state, const int32_t *input, int32_t *output,
                     uint32_t outputs);
