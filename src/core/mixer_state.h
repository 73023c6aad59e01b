#pragma once

#include "zt_trans_audio_converter.h"

// Gains: row = input, column = output; by speaker bit in a design, by slot where they are applied.
using gain_matrix = double[AUDIO_MAX_CHANNELS][AUDIO_MAX_CHANNELS];

// How a block gets from the input layout to that of the output; fixed at creation.
struct mixer_state {
    uint8_t mix_enabled;     // every block is mixed by mix_matrix
    uint8_t reorder_enabled; // every block is reordered by the maps; never with mix_enabled
    uint8_t input_channels;
    uint8_t output_channels;
    uint8_t input_map[AUDIO_MAX_CHANNELS]; // by speaker bit: 1-based slot, or 0
    uint8_t output_map[AUDIO_MAX_CHANNELS];
    gain_matrix mix_matrix; // by slot
};
