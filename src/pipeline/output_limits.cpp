#include "pipeline/output_limits.h"

#include "codec/aes3_header.h"
#include "codec/codec_choice.h"
#include "codec/sample_conversion.h"
#include "codec/sample_count.h"
#include "core/settings.h"

#include <algorithm>

namespace {

bool isAttached(const bufstream *stream) {
    return stream != nullptr;
}

// True when every input sample becomes the output sample in the same place of the only stream.
bool keepsPlaces(const audio_converter &converter, const output_limits &limits) {
    const mixer_state &mixer = converter.mixer;
    return limits.shares == 1 && converter.settings.input_separate_channels == 0 &&
           hasEqualRates(converter) && mixer.mix_enabled == 0 && mixer.reorder_enabled == 0 &&
           mixer.input_channels == mixer.output_channels;
}

// Samples of the largest chunk that the frame size allows each stream, and the payload of a block.
uint32_t largestChunk(const audio_converter_settings &settings, const output_limits &limits) {
    const bool is_aes3 = settings.output_format == AUDIO_FORMAT_AES3;
    const uint32_t most_bytes = is_aes3 ? AES3_LARGEST_PAYLOAD : LARGEST_BLOCK_BYTES;
    return samplesInBytes(std::min(settings.out_frame_size / limits.shares, most_bytes),
                          settings.output_format, limits.stream_channels,
                          settings.output_bits_per_sample);
}

} // namespace

void computeOutputLimits(audio_converter &converter) {
    const audio_converter_settings &settings = converter.settings;
    const auto *streams = converter.out_streams;
    const bool per_channel = std::any_of(streams + 1, streams + AUDIO_MAX_CHANNELS, isAttached);
    output_limits &limits = converter.output;
    limits.shares = per_channel ? settings.output_channels : 1u;
    limits.stream_channels = per_channel ? uint8_t{1} : settings.output_channels;
    limits.unit = travelsInPairs(settings.output_format) ? 2u : 1u;
    const auto bytesOf = [&](uint32_t samples) {
        return bytesOfSamples(samples, settings.output_format, limits.stream_channels,
                              settings.output_bits_per_sample);
    };
    limits.header_bytes = bytesOf(0);
    limits.frame_bits = bytesOf(8) - limits.header_bytes; // eight frames have as many bytes
    limits.largest_block = samplesInBytes(LARGEST_BLOCK_BYTES, settings.output_format,
                                          limits.stream_channels, settings.output_bits_per_sample);
    limits.encode = chooseCodec(*converter.kernels, settings.output_format, limits.stream_channels,
                                settings.output_bits_per_sample)
                        .encode;
    // One channel of AES3 makes no pair.
    const bool possible = std::any_of(streams, streams + limits.shares, isAttached) &&
                          !(settings.output_format == AUDIO_FORMAT_AES3 && per_channel);
    limits.largest_chunk = possible ? largestChunk(settings, limits) : 0;
    limits.direct = possible && keepsPlaces(converter, limits)
                        ? chooseSampleConversion(*converter.kernels, settings)
                        : sample_conversion{};
}
