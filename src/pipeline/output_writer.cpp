#include "pipeline/output_writer.h"

#include "codec/aes3.h"
#include "codec/aes3_header.h"
#include "codec/codec_dispatch.h"
#include "pipeline/size_limits.h"
#include "pipeline/stall.h"

#include <algorithm>
#include <cstring>

namespace {

// What one call of writeOutput has settled, and how far it has come.
struct output_writer {
    const audio_converter &converter;
    uint8_t format;
    uint8_t bits;
    uint8_t stream_channels; // channels that one stream carries
    uint32_t shares;         // streams among which frame size and room are divided
    uint32_t stream_slots;   // only slots below this one are written
    uint32_t unit;           // frames that travel together: 2 for the LPCM formats
    uint32_t pending;        // samples not yet written
    channel_pointers cursors;
};

// One pass: an area from every attached stream, and the sample count that all of them can take.
struct output_pass {
    uint8_t *areas[AUDIO_MAX_CHANNELS];
    uint32_t samples;
};

bool hasPerChannelOutput(const audio_converter &converter) {
    return std::any_of(converter.out_streams + 1, converter.out_streams + AUDIO_MAX_CHANNELS,
                       [](const bufstream *stream) { return stream != nullptr; });
}

output_writer startWriter(const audio_converter &converter, const channel_buffer_set &set) {
    const audio_converter_settings &settings = converter.settings;
    const bool per_channel = hasPerChannelOutput(converter);
    output_writer writer = {
        .converter = converter,
        .format = settings.output_format,
        .bits = settings.output_bits_per_sample,
        .stream_channels = per_channel ? uint8_t{1} : settings.output_channels,
        .shares = per_channel ? settings.output_channels : 1u,
        .stream_slots = per_channel ? settings.output_channels : 1u,
        .unit = travelsInPairs(settings.output_format) ? 2u : 1u,
        .pending = set.count,
        .cursors = {},
    };
    std::copy(set.data, set.data + AUDIO_MAX_CHANNELS, writer.cursors);
    return writer;
}

// Whole samples (pairs, for the LPCM formats) in a byte budget.
uint32_t samplesIn(const output_writer &writer, uint32_t bytes) {
    return audioConverterBytesToSamples(std::min(bytes, LARGEST_BLOCK_BYTES), writer.format,
                                        writer.stream_channels, writer.bits);
}

uint32_t bytesOf(const output_writer &writer, uint32_t samples) {
    return audioConverterSamplesToBytes(samples, writer.format, writer.stream_channels,
                                        writer.bits);
}

// False when no stream could ever take a frame.
bool canProgress(const output_writer &writer) {
    const audio_converter &converter = writer.converter;
    const bool attached =
        std::any_of(converter.out_streams, converter.out_streams + writer.stream_slots,
                    [](const bufstream *stream) { return stream != nullptr; });
    const bool splits_pairs = writer.format == AUDIO_FORMAT_AES3 && writer.shares > 1;
    const bool holds_frame =
        samplesIn(writer, converter.settings.out_frame_size / writer.shares) != 0;
    return attached && holds_frame && !splits_pairs;
}

// Samples of one chunk, given what is wanted and the room a stream reports.
uint32_t chunkSamples(const output_writer &writer, uint32_t want, uint32_t room) {
    const bool is_aes3 = writer.format == AUDIO_FORMAT_AES3;
    if (is_aes3) {
        room -= std::min(room, AES3_HEADER_BYTES);
    }
    const uint32_t frame_size = writer.converter.settings.out_frame_size;
    const uint32_t budget = std::min({want, frame_size / writer.shares, room / writer.shares});
    const uint32_t samples = samplesIn(writer, budget);
    if (!is_aes3) {
        return samples;
    }
    const uint32_t frame_bytes = aes3FrameBytes(writer.stream_channels, writer.bits);
    return std::min(samples, AES3_LARGEST_PAYLOAD / frame_bytes);
}

// Asks every attached stream for room. Returns 1 when one of them takes no more.
uint32_t reservePass(const output_writer &writer, output_pass &pass) {
    // More than the largest block is never asked for at once, so that its bytes fit in 32 bits.
    const uint32_t largest = samplesIn(writer, LARGEST_BLOCK_BYTES);
    const uint32_t want = bytesOf(writer, std::min(writer.pending, largest));
    pass.samples = largest;
    for (unsigned slot = 0; slot < writer.stream_slots; ++slot) {
        bufstream *stream = writer.converter.out_streams[slot];
        if (stream == nullptr) {
            continue;
        }
        pass.areas[slot] = stream->reserve(stream, want);
        if (pass.areas[slot] == nullptr) {
            return 1;
        }
        const uint32_t room = stream->free_bytes(stream);
        pass.samples = std::min(pass.samples, chunkSamples(writer, want, room));
    }
    return 0;
}

void encodeChunk(const output_writer &writer, unsigned slot, uint8_t *area, uint32_t samples) {
    const cpu_level level = writer.converter.level;
    const channel_pointers one_channel = {writer.cursors[slot]};
    const channel_pointers &channels = writer.shares > 1 ? one_channel : writer.cursors;
    if (writer.format == AUDIO_FORMAT_AES3) {
        encodeAes3(channels, area, samples, writer.stream_channels, writer.bits, level);
        return;
    }
    const encode_function encode =
        chooseEncoder(level, writer.format, writer.stream_channels, writer.bits);
    encode(channels, area, samples, writer.stream_channels, writer.bits);
}

void commitPass(output_writer &writer, const output_pass &pass) {
    const uint32_t bytes = bytesOf(writer, pass.samples);
    for (unsigned slot = 0; slot < writer.stream_slots; ++slot) {
        bufstream *stream = writer.converter.out_streams[slot];
        if (stream == nullptr) {
            continue;
        }
        encodeChunk(writer, slot, pass.areas[slot], pass.samples);
        stream->commit(stream, bytes);
        stream->aux_info(stream, bytes, AUX_INFO_CHUNK, nullptr, 0);
    }
    writer.pending -= pass.samples;
    for (unsigned slot = 0; slot < writer.converter.settings.output_channels; ++slot) {
        writer.cursors[slot] += pass.samples;
    }
}

// Repeats passes until less than a unit is pending.
uint32_t writePasses(output_writer &writer, uint8_t &stalled) {
    stall waiting = {};
    while (writer.pending >= writer.unit) {
        output_pass pass = {};
        if (reservePass(writer, pass) != 0) {
            return 1;
        }
        if (pass.samples != 0) {
            commitPass(writer, pass);
            waiting = {};
            stalled = 0;
            continue;
        }
        if (stalled != 0 || !waitForRoom(waiting)) {
            stalled = 1;
            return 1;
        }
    }
    return 0;
}

// Brings the samples not written to the start of the arrays.
void keepPending(const output_writer &writer, channel_buffer_set &set) {
    set.count = writer.pending;
    for (unsigned slot = 0; slot < writer.converter.settings.output_channels; ++slot) {
        if (writer.cursors[slot] != set.data[slot]) {
            memmove(set.data[slot], writer.cursors[slot], set.count * sizeof(int32_t));
        }
    }
}

} // namespace

uint32_t writeOutput(audio_converter &converter, channel_buffer_set &set) {
    output_writer writer = startWriter(converter, set);
    if (writer.pending == 0) {
        return 0;
    }
    if (!canProgress(writer)) {
        return 1;
    }
    const uint32_t result = writePasses(writer, converter.stalled);
    keepPending(writer, set);
    return result;
}
