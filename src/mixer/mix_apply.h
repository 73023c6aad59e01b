#pragma once

#include "core/channel_pointers.h"
#include "mixer/mixer.h"

// Mixes n frames in place. Each output is the sum over the input slots in ascending order of
// sample * gain, every product rounded to double before it is added, truncated towards zero; a
// sum that leaves the 32-bit range, or is not a number, gives -2147483648. Arrays of slots
// output_channels and above are not written.
void applyMixMatrix(const gain_matrix &matrix, const channel_pointers &channels, uint32_t n,
                    uint8_t input_channels, uint8_t output_channels);

// Moves each speaker's channel from its input slot to its output slot, n frames in place. The
// maps may form any permutation; entries outside 1..8 are skipped.
void reorderChannels(const channel_pointers &channels, uint32_t n, const uint8_t *input_map,
                     const uint8_t *output_map, uint8_t input_channels);
