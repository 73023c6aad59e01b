#pragma once

#include "api/instance.h"
#include "codec/channel_pointers.h"

using gain_matrix = double[AUDIO_MAX_CHANNELS][AUDIO_MAX_CHANNELS];

// Numbers the speakers of a mask 1, 2, 3... in ascending bit order; absent speakers get 0.
void buildOrderMap(uint8_t *map, uint32_t mask);

// Moves gains from speaker order (row = input speaker bit, column = output speaker bit) to slot
// order by the two order maps, in place. Gains of absent speakers drop out.
void remapMixMatrix(gain_matrix &matrix, const uint8_t *input_map, const uint8_t *output_map);

// Settles the order maps in the converter's settings, the mixer's mode and, when the masks
// differ, the gains in slot order. Always returns 0.
uint32_t mixerSetup(audio_converter &converter);

// Brings the n samples behind work.count into the output layout, in place, and adds them to
// work.count. All eight arrays of `work` hold at least count + n samples when mix_enabled or
// reorder_enabled is set. Always returns 0.
uint32_t mixerRun(audio_converter &converter, uint32_t n);
