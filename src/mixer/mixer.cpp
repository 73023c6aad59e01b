#include "mixer/mixer.h"

#include "mixer/mix_matrix_design.h"
#include "simd/kernels.h"

#include <cstring>

namespace {

bool isPlace(uint8_t entry) {
    return entry >= 1 && entry <= AUDIO_MAX_CHANNELS;
}

} // namespace

void buildOrderMap(uint8_t *map, uint32_t mask) {
    uint8_t place = 0;
    for (unsigned speaker = 0; speaker < AUDIO_MAX_CHANNELS; ++speaker) {
        map[speaker] = (mask >> speaker & 1) != 0 ? ++place : 0;
    }
}

void remapMixMatrix(gain_matrix &matrix, const uint8_t *input_map, const uint8_t *output_map) {
    gain_matrix by_slot = {};
    for (unsigned row = 0; row < AUDIO_MAX_CHANNELS; ++row) {
        for (unsigned column = 0; column < AUDIO_MAX_CHANNELS; ++column) {
            if (isPlace(input_map[row]) && isPlace(output_map[column])) {
                by_slot[input_map[row] - 1][output_map[column] - 1] = matrix[row][column];
            }
        }
    }
    memcpy(matrix, by_slot, sizeof matrix);
}

uint32_t mixerSetup(mixer_state &state, audio_converter_settings &settings) {
    if (settings.input_order_map_enabled == 0) {
        buildOrderMap(settings.input_order_map, settings.input_channel_mask);
    }
    if (settings.output_order_map_enabled == 0) {
        buildOrderMap(settings.output_order_map, settings.output_channel_mask);
    }
    state.input_channels = settings.input_channels;
    state.output_channels = settings.output_channels;
    memcpy(state.input_map, settings.input_order_map, sizeof state.input_map);
    memcpy(state.output_map, settings.output_order_map, sizeof state.output_map);
    state.mix_enabled = settings.input_channel_mask != settings.output_channel_mask;
    state.reorder_enabled = state.mix_enabled == 0 &&
                            memcmp(state.input_map, state.output_map, sizeof state.input_map) != 0;
    if (state.mix_enabled == 0) {
        return 0;
    }
    if (settings.user_matrix_enabled != 0) {
        memcpy(state.mix_matrix, &settings.user_matrix, sizeof state.mix_matrix);
    } else {
        designMixMatrix(state.mix_matrix, settings.input_channel_mask, settings.output_channel_mask,
                        settings.input_channels);
    }
    remapMixMatrix(state.mix_matrix, state.input_map, state.output_map);
    return 0;
}

uint32_t mixerRun(const mixer_state &state, const kernel_set &kernels, channel_buffer_set &work,
                  uint32_t n) {
    if (n != 0 && (state.mix_enabled != 0 || state.reorder_enabled != 0)) {
        channel_pointers channels;
        for (unsigned slot = 0; slot < AUDIO_MAX_CHANNELS; ++slot) {
            channels[slot] = work.data[slot] + work.count;
        }
        if (state.mix_enabled != 0) {
            kernels.mix(state.mix_matrix, channels, n, state.input_channels, state.output_channels);
        } else {
            kernels.reorder(channels, n, state.input_map, state.output_map, state.input_channels);
        }
    }
    work.count += n;
    return 0;
}
