#include "simd/kernels.h"

#include <cstring>

namespace {

constexpr size_t MOVED_FRAMES = 256; // at once; eight channels of them fit a first-level cache

bool isSlot(uint8_t entry, unsigned slots) {
    return entry >= 1 && entry <= slots;
}

} // namespace

void moveChannels(const channel_pointers &channels, uint32_t n, const uint8_t *input_map,
                  const uint8_t *output_map, uint8_t input_channels) {
    int32_t moved[AUDIO_MAX_CHANNELS][MOVED_FRAMES];
    bool moves[AUDIO_MAX_CHANNELS];
    for (unsigned speaker = 0; speaker < AUDIO_MAX_CHANNELS; ++speaker) {
        moves[speaker] = isSlot(input_map[speaker], input_channels) &&
                         isSlot(output_map[speaker], AUDIO_MAX_CHANNELS) &&
                         input_map[speaker] != output_map[speaker];
    }
    for (size_t frame = 0; frame < n; frame += MOVED_FRAMES) {
        const size_t left = n - frame;
        const size_t bytes = (left < MOVED_FRAMES ? left : MOVED_FRAMES) * sizeof(int32_t);
        // All are read before the first is written: the maps may form cycles.
        for (unsigned speaker = 0; speaker < AUDIO_MAX_CHANNELS; ++speaker) {
            if (moves[speaker]) {
                memcpy(moved[speaker], channels[input_map[speaker] - 1] + frame, bytes);
            }
        }
        for (unsigned speaker = 0; speaker < AUDIO_MAX_CHANNELS; ++speaker) {
            if (moves[speaker]) {
                memcpy(channels[output_map[speaker] - 1] + frame, moved[speaker], bytes);
            }
        }
    }
}
