#include "levels.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

namespace {

constexpr int32_t LOWEST_SAMPLE = std::numeric_limits<int32_t>::min();
constexpr double FULL_SCALE = 2147483648.0;

// Groups of two frames: 4 bytes per channel, then one byte per channel of two nibbles.
void swapNibbles(std::vector<uint8_t> &bytes, size_t channels) {
    for (size_t k = 0; k < bytes.size(); ++k) {
        if (k % (5 * channels) >= 4 * channels) {
            bytes[k] = static_cast<uint8_t>(bytes[k] << 4 | bytes[k] >> 4);
        }
    }
}

} // namespace

level_meter::level_meter(const byte_format &bytes, uint8_t depth)
    : channels(bytes.channels), format(bytes),
      // Bits below the depth count as reached: no sample can have them.
      positive_limit(static_cast<int32_t>(0x80000000u - (1u << (32 - depth)))),
      decoder(formatChange(bytes, AUDIO_FORMAT_PCM, 32),
              [this](std::span<const uint8_t> pcm) { measure(pcm); }) {
    if (bytes.format == AUDIO_FORMAT_FLOAT) {
        positive_limit = 2147483646; // 1.0
    }
}

void level_meter::take(std::span<const uint8_t> bytes) {
    decoder.put(bytes);
}

void level_meter::takeWritten(std::span<const uint8_t> bytes) {
    std::vector<uint8_t> readable(bytes.begin(), bytes.end());
    if (format.format == AUDIO_FORMAT_LPCM_PAIRED && format.bits == 20) {
        swapNibbles(readable, format.channels);
    }
    take(readable);
}

void level_meter::measure(std::span<const uint8_t> pcm_bytes) {
    for (size_t k = 0; k * sizeof(int32_t) < pcm_bytes.size(); ++k) {
        int32_t sample = 0;
        std::memcpy(&sample, &pcm_bytes[k * sizeof sample], sizeof sample);
        channel_levels &channel = channels[k % channels.size()];
        const double value = sample / FULL_SCALE;
        channel.peak = std::max(channel.peak, std::abs(value));
        channel.square_sum += value * value;
        ++channel.sample_count;
        channel.full_scale_count += sample >= positive_limit || sample == LOWEST_SAMPLE;
    }
}
