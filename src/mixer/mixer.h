#pragma once

#include "core/mixer_state.h"
#include "core/sample_arrays.h"
#include "simd/kernels.h"

// Numbers the speakers of a mask 1, 2, 3... in ascending bit order; absent speakers get 0.
void buildOrderMap(uint8_t *map, uint32_t mask);

// Moves gains from speaker order (row = input speaker bit, column = output speaker bit) to slot
// order by the two order maps, in place. Gains of absent speakers drop out.
void remapMixMatrix(gain_matrix &matrix, const uint8_t *input_map, const uint8_t *output_map);

// Completes the order maps of effective settings and fixes the mixer's mode and, when the masks
// differ, the gains in slot order. Always returns 0.
uint32_t mixerSetup(mixer_state &state, audio_converter_settings &settings);

// Brings the n samples behind work.count into the output layout, in place, and adds them to
// work.count. All eight arrays of `work` hold at least count + n samples when mix_enabled or
// reorder_enabled is set. Always returns 0.
uint32_t mixerRun(const mixer_state &state, const kernel_set &kernels, channel_buffer_set &work,
                  uint32_t n);
