#include "mixer/mix_apply.h"

#include "core/truncate.h"

void applyMixMatrix(const gain_matrix &matrix, const channel_pointers &channels, uint32_t n,
                    uint8_t input_channels, uint8_t output_channels) {
    for (uint32_t s = 0; s < n; ++s) {
        double sums[AUDIO_MAX_CHANNELS];
        for (unsigned o = 0; o < output_channels; ++o) {
            double sum = 0.0;
            for (unsigned i = 0; i < input_channels; ++i) {
                sum += channels[i][s] * matrix[i][o];
            }
            sums[o] = sum;
        }
        // Only now may the frame be overwritten: outputs share its arrays.
        for (unsigned o = 0; o < output_channels; ++o) {
            channels[o][s] = truncateToInt32(sums[o]);
        }
    }
}

namespace {

struct channel_move {
    uint8_t from; // input slot
    uint8_t to;   // output slot
};

} // namespace

void reorderChannels(const channel_pointers &channels, uint32_t n, const uint8_t *input_map,
                     const uint8_t *output_map, uint8_t input_channels) {
    channel_move moves[AUDIO_MAX_CHANNELS];
    unsigned move_count = 0;
    for (unsigned speaker = 0; speaker < AUDIO_MAX_CHANNELS; ++speaker) {
        const uint8_t from = input_map[speaker];
        const uint8_t to = output_map[speaker];
        if (from >= 1 && from <= input_channels && to >= 1 && to <= AUDIO_MAX_CHANNELS) {
            moves[move_count++] = {static_cast<uint8_t>(from - 1), static_cast<uint8_t>(to - 1)};
        }
    }
    for (uint32_t s = 0; s < n; ++s) {
        int32_t frame[AUDIO_MAX_CHANNELS];
        for (unsigned i = 0; i < input_channels; ++i) {
            frame[i] = channels[i][s];
        }
        for (unsigned m = 0; m < move_count; ++m) {
            channels[moves[m].to][s] = frame[moves[m].from];
        }
    }
}
