#include "pipeline/output_writer.h"

#include "codec/aes3.h"
#include "codec/sample_conversion.h"
#include "codec/sample_count.h"
#include "pipeline/held_output.h"
#include "pipeline/room_wait.h"

#include <algorithm>
#include <functional>

namespace {

// Whole input frames behind what the set holds, not yet converted.
struct direct_input {
    const uint8_t *frames;
    uint32_t samples; // per channel; 0 for output that is in the set already
};

// One call of writeOutput or writeDirectly.
struct output_writer {
    audio_converter &converter;
    const output_limits &limits;
    channel_buffer_set &set;
    direct_input &direct;
};

enum pass_result : uint8_t {
    NOTHING_PENDING,
    PROGRESS,    // some stream accepted samples
    NO_ROOM,     // none did, and one has too little room for a unit
    STREAM_FULL, // a reserve gave null
};

uint32_t pendingOf(const output_writer &writer, unsigned slot) {
    return writer.set.count + writer.direct.samples - writer.converter.output_position[slot];
}

uint32_t bytesOf(const output_writer &writer, uint32_t samples) {
    return samples * writer.limits.frame_bits / 8 + writer.limits.header_bytes;
}

// Whole samples (pairs, for the LPCM formats) in the share that one stream has of its room.
uint32_t samplesInRoom(const output_writer &writer, uint32_t room) {
    const audio_converter_settings &settings = writer.converter.settings;
    return samplesInBytes(std::min(room / writer.limits.shares, LARGEST_BLOCK_BYTES),
                          settings.output_format, writer.limits.stream_channels,
                          settings.output_bits_per_sample);
}

// Samples of the next chunk: what the frame size and the area last reserved can take of a block of
// `want` bytes.
uint32_t chunkSamples(const output_writer &writer, bufstream *stream, uint32_t block,
                      uint32_t want) {
    const output_limits &limits = writer.limits;
    const uint32_t samples = std::min(block & ~(limits.unit - 1), limits.largest_chunk);
    uint32_t room = stream->free_bytes(stream);
    room -= std::min(room, limits.header_bytes);
    // Most streams have room for all that is wanted, which needs no division.
    return room >= uint64_t{want} * limits.shares ? samples
                                                  : std::min(samples, samplesInRoom(writer, room));
}

size_t directBytes(const output_writer &writer, uint32_t samples) {
    return size_t{samples} * writer.limits.direct.input_bytes * writer.limits.stream_channels;
}

bool overlapsInput(const output_writer &writer, const uint8_t *area, uint32_t byte_count) {
    const uint8_t *input = writer.direct.frames;
    const std::less<> before;
    return before(input, area + byte_count) &&
           before(area, input + directBytes(writer, writer.direct.samples));
}

void convertChunk(const output_writer &writer, uint8_t *area, uint32_t samples) {
    direct_input &direct = writer.direct;
    convertSamples(writer.limits.direct, area, direct.frames,
                   size_t{samples} * writer.limits.stream_channels);
    direct.frames += directBytes(writer, samples);
    direct.samples -= samples;
}

void decodeDirectInput(const output_writer &writer) {
    const audio_converter_settings &settings = writer.converter.settings;
    direct_input &direct = writer.direct;
    writer.converter.decode(writer.set.data, direct.frames, direct.samples, settings.input_channels,
                            settings.input_bits_per_sample);
    writer.set.count += direct.samples;
    direct.samples = 0;
}

// All channels, or the slot's own, from the slot's position on.
void encodeChunk(const output_writer &writer, unsigned slot, uint8_t *area, uint32_t samples) {
    const output_limits &limits = writer.limits;
    const audio_converter_settings &settings = writer.converter.settings;
    channel_pointers channels;
    for (unsigned c = 0; c < limits.stream_channels; ++c) {
        channels[c] = writer.set.data[slot + c] + writer.converter.output_position[slot];
    }
    if (settings.output_format == AUDIO_FORMAT_AES3) {
        encodeAes3(channels, area, samples, limits.stream_channels, settings.output_bits_per_sample,
                   limits.encode);
    } else {
        limits.encode(channels, area, samples, limits.stream_channels,
                      settings.output_bits_per_sample);
    }
    writer.converter.output_position[slot] += samples;
}

// One chunk of one stream, from reserve to aux_info: the area need not outlive a call of any other
// stream.
pass_result serveSlot(const output_writer &writer, unsigned slot) {
    bufstream *stream = writer.converter.out_streams[slot];
    // More than the largest block is never asked for at once, so that its bytes fit in 32 bits.
    const uint32_t block = std::min(pendingOf(writer, slot), writer.limits.largest_block);
    const uint32_t want = bytesOf(writer, block);
    uint8_t *area = stream->reserve(stream, want);
    if (area == nullptr) {
        return STREAM_FULL;
    }
    const uint32_t samples = chunkSamples(writer, stream, block, want);
    if (samples == 0) {
        return NO_ROOM;
    }
    const uint32_t bytes = bytesOf(writer, samples);
    if (writer.direct.samples != 0 && overlapsInput(writer, area, bytes)) {
        decodeDirectInput(writer);
    }
    if (writer.direct.samples != 0) {
        convertChunk(writer, area, samples);
    } else {
        encodeChunk(writer, slot, area, samples);
    }
    stream->commit(stream, bytes);
    stream->aux_info(stream, bytes, AUX_INFO_CHUNK, nullptr, 0);
    writer.converter.timed_out = 0;
    return PROGRESS;
}

// Serves, in slot order, every stream that has at least a unit pending. A stream that is full or
// has no room ends the pass.
pass_result servePass(const output_writer &writer) {
    pass_result result = NOTHING_PENDING;
    for (unsigned slot = 0; slot < writer.limits.shares; ++slot) {
        if (writer.converter.out_streams[slot] == nullptr ||
            pendingOf(writer, slot) < writer.limits.unit) {
            continue;
        }
        const pass_result served = serveSlot(writer, slot);
        if (served == NO_ROOM && result == PROGRESS) {
            return PROGRESS;
        }
        if (served != PROGRESS) {
            return served;
        }
        result = PROGRESS;
    }
    return result;
}

// Repeats passes until no stream has a unit pending.
uint32_t writePasses(const output_writer &writer) {
    audio_converter &converter = writer.converter;
    room_wait waiting = {};
    for (;;) {
        const pass_result result = servePass(writer);
        if (result == NOTHING_PENDING) {
            return 0;
        }
        if (result == PROGRESS) {
            waiting = {};
        } else if (result == STREAM_FULL) {
            return 1;
        } else if (converter.timed_out != 0 || !waitForRoom(waiting)) {
            converter.timed_out = 1;
            return 1;
        }
    }
}

} // namespace

uint32_t writeOutput(audio_converter &converter, channel_buffer_set &set) {
    if (set.count == 0) {
        return 0;
    }
    if (!canWrite(converter)) {
        set.holds_output = 1;
        return 1;
    }
    direct_input nothing = {};
    const uint32_t result = writePasses({converter, converter.output, set, nothing});
    dropAccepted(converter, set);
    return result;
}

uint32_t writeDirectly(audio_converter &converter, const uint8_t *frames, uint32_t samples) {
    direct_input direct = {frames, samples};
    const output_writer writer = {converter, converter.output, converter.work, direct};
    const uint32_t result = writePasses(writer);
    if (direct.samples != 0) {
        decodeDirectInput(writer);
    }
    if (converter.work.count != 0) {
        dropAccepted(converter, converter.work);
    }
    return result;
}
