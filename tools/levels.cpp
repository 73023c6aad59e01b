#include "levels.h"

#include "errors.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

namespace {

constexpr int32_t LOWEST_SAMPLE = std::numeric_limits<int32_t>::min();
constexpr double FULL_SCALE = 2147483648.0;

audio_converter_settings decoderSettings(const byte_format &bytes) {
    audio_converter_settings settings = plainSettings(bytes.format, bytes.bits, bytes.channels);
    settings.output_format = AUDIO_FORMAT_PCM;
    settings.output_bits_per_sample = 32;
    return settings;
}

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
    // Bits below the depth count as reached: no sample can have them.
    : format(bytes), positive_limit(static_cast<int32_t>(0x80000000u - (1u << (32 - depth)))),
      levels(bytes.channels),
      decoded(65536, [this](std::span<const uint8_t> pcm) { measure(pcm); }),
      decoder(newConverter(decoderSettings(bytes))) {
    if (bytes.format == AUDIO_FORMAT_FLOAT) {
        positive_limit = 2147483646; // 1.0
    }
    audioConverterInit(decoder.get(), decoded.operations());
}

void level_meter::take(std::span<const uint8_t> bytes) {
    if (audioConverterPutBytes(decoder.get(), bytes.data(), static_cast<uint32_t>(bytes.size()))) {
        throw conversion_error("the levels cannot be measured: out of memory");
    }
}

void level_meter::takeWritten(std::span<const uint8_t> bytes) {
    if (format.format != AUDIO_FORMAT_LPCM_PAIRED || format.bits != 20) {
        return take(bytes);
    }
    swapped.assign(bytes.begin(), bytes.end());
    swapNibbles(swapped, format.channels);
    take(swapped);
}

void level_meter::measure(std::span<const uint8_t> pcm_bytes) {
    for (size_t k = 0; k * sizeof(int32_t) < pcm_bytes.size(); ++k) {
        int32_t sample = 0;
        std::memcpy(&sample, &pcm_bytes[k * sizeof sample], sizeof sample);
        channel_levels &channel = levels[k % levels.size()];
        const double value = sample / FULL_SCALE;
        channel.peak = std::max(channel.peak, std::abs(value));
        channel.square_sum += value * value;
        ++channel.sample_count;
        channel.full_scale_count += sample >= positive_limit || sample == LOWEST_SAMPLE;
    }
}
