#include "probe.h"

#include "errors.h"
#include "library_host.h"

#include <cmath>
#include <cstring>
#include <limits>

namespace {

// Input levels, as bits of a 32-bit sample. The highest shows a gain to 9 decimals; the lower
// ones serve gains that would take it out of range.
constexpr unsigned PROBE_BITS[] = {30, 22, 14, 6};

// The settings' layouts with 32-bit samples and nothing else to do.
audio_converter_settings mixingAlone(audio_converter_settings settings) {
    settings.input_format = settings.output_format = AUDIO_FORMAT_PCM;
    settings.input_bits_per_sample = settings.output_bits_per_sample = 32;
    settings.output_sample_rate = settings.input_sample_rate;
    settings.input_separate_channels = settings.output_separate_channels = 0;
    settings.out_frame_size = 65536;
    return settings;
}

// For every level one frame per input slot, with that slot alone sounding.
std::vector<int32_t> probeFrames(size_t inputs) {
    std::vector<int32_t> frames(std::size(PROBE_BITS) * inputs * inputs);
    for (size_t frame = 0; frame < std::size(PROBE_BITS) * inputs; ++frame) {
        frames[frame * inputs + frame % inputs] = int32_t{1} << PROBE_BITS[frame / inputs];
    }
    return frames;
}

std::vector<int32_t> mix(const audio_converter_settings &settings,
                         const std::vector<int32_t> &frames) {
    std::vector<int32_t> mixed;
    output_stream stream(65536, [&](std::span<const uint8_t> bytes) {
        const size_t before = mixed.size();
        mixed.resize(before + bytes.size() / sizeof(int32_t));
        std::memcpy(&mixed[before], bytes.data(), bytes.size());
    });
    const converter_pointer converter = newConverter(mixingAlone(settings));
    audioConverterInit(converter.get(), stream.operations());
    const auto byte_count = static_cast<uint32_t>(frames.size() * sizeof frames[0]);
    if (audioConverterPutBytes(converter.get(), reinterpret_cast<const uint8_t *>(frames.data()),
                               byte_count) != 0) {
        throw conversion_error("the gains cannot be measured: out of memory");
    }
    mixed.resize(frames.size() / settings.input_channels * settings.output_channels);
    return mixed;
}

} // namespace

slot_gains probeMixing(const audio_converter_settings &settings) {
    const size_t inputs = settings.input_channels;
    const size_t outputs = settings.output_channels;
    const std::vector<int32_t> mixed = mix(settings, probeFrames(inputs));
    slot_gains gains{};
    for (size_t slot = 0; slot < inputs; ++slot) {
        for (size_t output = 0; output < outputs; ++output) {
            gains[slot][output] = std::nan("");
            // The highest level that stays in range comes last.
            for (size_t level = std::size(PROBE_BITS); level-- > 0;) {
                const int32_t sample = mixed[(level * inputs + slot) * outputs + output];
                if (sample != std::numeric_limits<int32_t>::min()) {
                    gains[slot][output] = std::ldexp(sample, -static_cast<int>(PROBE_BITS[level]));
                }
            }
        }
    }
    return gains;
}
