#include "pipeline/output_plan.h"

#include "codec/aes3_header.h"
#include "codec/sample_count.h"
#include "pipeline/size_limits.h"

#include <algorithm>

namespace {

bool isAttached(const bufstream *stream) {
    return stream != nullptr;
}

// Samples of the largest chunk that the frame size allows each stream, and the payload of a block.
uint32_t largestChunk(const audio_converter_settings &settings, const output_plan &plan) {
    const bool is_aes3 = settings.output_format == AUDIO_FORMAT_AES3;
    const uint32_t most_bytes = is_aes3 ? AES3_LARGEST_PAYLOAD : LARGEST_BLOCK_BYTES;
    return samplesInBytes(std::min(settings.out_frame_size / plan.shares, most_bytes),
                          settings.output_format, plan.stream_channels,
                          settings.output_bits_per_sample);
}

} // namespace

void planOutput(audio_converter &converter) {
    const audio_converter_settings &settings = converter.settings;
    const auto *streams = converter.out_streams;
    const bool per_channel = std::any_of(streams + 1, streams + AUDIO_MAX_CHANNELS, isAttached);
    output_plan &plan = converter.output;
    plan.shares = per_channel ? settings.output_channels : 1u;
    plan.stream_channels = per_channel ? uint8_t{1} : settings.output_channels;
    plan.unit = travelsInPairs(settings.output_format) ? 2u : 1u;
    plan.largest_block = samplesInBytes(LARGEST_BLOCK_BYTES, settings.output_format,
                                        plan.stream_channels, settings.output_bits_per_sample);
    plan.encode = chooseEncoder(converter.level, settings.output_format, plan.stream_channels,
                                settings.output_bits_per_sample);
    // One channel of AES3 makes no pair.
    const bool possible = std::any_of(streams, streams + plan.shares, isAttached) &&
                          !(settings.output_format == AUDIO_FORMAT_AES3 && per_channel);
    plan.largest_chunk = possible ? largestChunk(settings, plan) : 0;
}
