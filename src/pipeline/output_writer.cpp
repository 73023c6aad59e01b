#include "pipeline/output_writer.h"

#include "codec/aes3.h"
#include "codec/aes3_header.h"
#include "codec/sample_count.h"
#include "pipeline/size_limits.h"
#include "pipeline/stall.h"

#include <algorithm>
#include <cstring>

namespace {

// How far one call of writeOutput has come.
struct output_writer {
    const audio_converter &converter;
    const output_plan &plan;
    channel_buffer_set &set;
    uint32_t written; // of set.count samples
};

// One pass: an area from every attached stream, and the sample count that all of them can take.
struct output_pass {
    uint8_t *areas[AUDIO_MAX_CHANNELS];
    uint32_t samples;
};

uint32_t bytesOf(const output_writer &writer, uint32_t samples) {
    const audio_converter_settings &settings = writer.converter.settings;
    return bytesOfSamples(samples, settings.output_format, writer.plan.stream_channels,
                          settings.output_bits_per_sample);
}

// Whole samples (pairs, for the LPCM formats) of every stream in the room that one reports.
uint32_t samplesInRoom(const output_writer &writer, uint32_t room) {
    const audio_converter_settings &settings = writer.converter.settings;
    return samplesInBytes(std::min(room / writer.plan.shares, LARGEST_BLOCK_BYTES),
                          settings.output_format, writer.plan.stream_channels,
                          settings.output_bits_per_sample);
}

// Asks every attached stream for room. Returns 1 when one of them takes no more.
uint32_t reservePass(const output_writer &writer, output_pass &pass) {
    const output_plan &plan = writer.plan;
    const bool is_aes3 = writer.converter.settings.output_format == AUDIO_FORMAT_AES3;
    // More than the largest block is never asked for at once, so that its bytes fit in 32 bits.
    const uint32_t block = std::min(writer.set.count - writer.written, plan.largest_block);
    const uint32_t want = bytesOf(writer, block);
    pass.samples = std::min(block & ~(plan.unit - 1), plan.largest_chunk);
    for (unsigned slot = 0; slot < plan.shares; ++slot) {
        bufstream *stream = writer.converter.out_streams[slot];
        if (stream == nullptr) {
            continue;
        }
        pass.areas[slot] = stream->reserve(stream, want);
        if (pass.areas[slot] == nullptr) {
            return 1;
        }
        uint32_t room = stream->free_bytes(stream);
        if (is_aes3) {
            room -= std::min(room, AES3_HEADER_BYTES);
        }
        // Most streams have room for all that is wanted, which needs no division.
        if (room < uint64_t{want} * plan.shares) {
            pass.samples = std::min(pass.samples, samplesInRoom(writer, room));
        }
    }
    return 0;
}

// All channels, or the slot's own.
void encodeChunk(const output_writer &writer, unsigned slot, uint8_t *area, uint32_t samples) {
    const output_plan &plan = writer.plan;
    const audio_converter_settings &settings = writer.converter.settings;
    channel_pointers channels;
    for (unsigned c = 0; c < plan.stream_channels; ++c) {
        channels[c] = writer.set.data[slot + c] + writer.written;
    }
    if (settings.output_format == AUDIO_FORMAT_AES3) {
        encodeAes3(channels, area, samples, plan.stream_channels, settings.output_bits_per_sample,
                   plan.encode);
    } else {
        plan.encode(channels, area, samples, plan.stream_channels, settings.output_bits_per_sample);
    }
}

void commitPass(output_writer &writer, const output_pass &pass) {
    const uint32_t bytes = bytesOf(writer, pass.samples);
    for (unsigned slot = 0; slot < writer.plan.shares; ++slot) {
        bufstream *stream = writer.converter.out_streams[slot];
        if (stream == nullptr) {
            continue;
        }
        encodeChunk(writer, slot, pass.areas[slot], pass.samples);
        stream->commit(stream, bytes);
        stream->aux_info(stream, bytes, AUX_INFO_CHUNK, nullptr, 0);
    }
    writer.written += pass.samples;
}

// Repeats passes until less than a unit is pending.
uint32_t writePasses(output_writer &writer, uint8_t &stalled) {
    stall waiting = {};
    while (writer.set.count - writer.written >= writer.plan.unit) {
        output_pass pass;
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
void keepPending(const output_writer &writer) {
    channel_buffer_set &set = writer.set;
    set.count -= writer.written;
    if (writer.written == 0 || set.count == 0) {
        return;
    }
    for (unsigned slot = 0; slot < writer.converter.settings.output_channels; ++slot) {
        memmove(set.data[slot], set.data[slot] + writer.written, set.count * sizeof(int32_t));
    }
}

} // namespace

uint32_t writeOutput(audio_converter &converter, channel_buffer_set &set) {
    if (set.count == 0) {
        return 0;
    }
    if (converter.output.largest_chunk == 0) {
        return 1;
    }
    output_writer writer = {converter, converter.output, set, 0};
    const uint32_t result = writePasses(writer, converter.stalled);
    keepPending(writer);
    return result;
}
