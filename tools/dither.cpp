#include "dither.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace {

audio_converter_settings shorteningSettings(const byte_format &target, uint32_t write_bytes) {
    audio_converter_settings settings = formatChange(
        {AUDIO_FORMAT_PCM, 32, target.channels, target.rate}, target.format, target.bits);
    settings.out_frame_size = write_bytes;
    return settings;
}

} // namespace

dither_stage::dither_stage(const byte_format &target, uint32_t write_bytes, uint64_t seed,
                           output_stream::byte_function take_bytes)
    : dropped_bits(32u - target.bits), state(seed),
      shortener(shorteningSettings(target, write_bytes), std::move(take_bytes)) {
}

// Sebastiano Vigna's splitmix64 gives two independent parts of 0 to 1 LSB; their difference is
// the noise. Half an LSB makes the library's truncation a rounding.
int32_t dither_stage::noisy(int32_t sample) {
    state += 0x9E3779B97F4A7C15u;
    uint64_t mixed = (state ^ state >> 30) * 0xBF58476D1CE4E5B9u;
    mixed = (mixed ^ mixed >> 27) * 0x94D049BB133111EBu;
    mixed ^= mixed >> 31;
    const int64_t lsb_mask = (int64_t{1} << dropped_bits) - 1;
    const int64_t noise = static_cast<int64_t>(mixed >> 32 & static_cast<uint64_t>(lsb_mask)) -
                          static_cast<int64_t>(mixed & static_cast<uint64_t>(lsb_mask));
    const int64_t half = int64_t{1} << dropped_bits >> 1;
    return static_cast<int32_t>(std::clamp<int64_t>(sample + noise + half,
                                                    std::numeric_limits<int32_t>::min(),
                                                    std::numeric_limits<int32_t>::max()));
}

void dither_stage::take(std::span<const uint8_t> bytes) {
    samples.resize(bytes.size() / sizeof(int32_t));
    std::memcpy(samples.data(), bytes.data(), bytes.size());
    for (int32_t &sample : samples) {
        sample = noisy(sample);
    }
    shortener.put({reinterpret_cast<const uint8_t *>(samples.data()), bytes.size()});
}

void dither_stage::finish() {
    shortener.finish();
}
