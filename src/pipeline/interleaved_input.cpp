#include "pipeline/interleaved_input.h"

#include "codec/aes3.h"
#include "codec/aes3_header.h"
#include "codec/sample_count.h"
#include "mixer/mixer.h"
#include "pipeline/messages.h"
#include "pipeline/output_writer.h"
#include "pipeline/resampler_sets.h"

#include <cstring>

namespace {

// A run of input bytes: the host's own, or the carried ones with the host's behind them.
struct input_bytes {
    const uint8_t *data;
    uint32_t count;
};

uint32_t growCarry(audio_converter &converter, uint32_t capacity, uint32_t bytes_to_keep) {
    auto *block = static_cast<uint8_t *>(converter.memory.malloc(capacity));
    if (block == nullptr) {
        return 1;
    }
    if (converter.carry != nullptr) {
        memcpy(block, converter.carry, bytes_to_keep);
        converter.memory.free(converter.carry);
    }
    converter.carry = block;
    converter.carry_capacity = capacity;
    return 0;
}

// Joins the carried bytes and the host's. The carry still counts its old bytes alone.
uint32_t assembleInput(audio_converter &converter, const uint8_t *bytes, uint32_t byte_count,
                       input_bytes &input) {
    const uint64_t need = uint64_t{converter.carry_count} + byte_count;
    if (need > LARGEST_BLOCK_BYTES) {
        return 1;
    }
    input = {bytes, static_cast<uint32_t>(need)};
    if (converter.carry_count == 0) {
        return 0;
    }
    if (converter.carry_capacity < need &&
        growCarry(converter, input.count, converter.carry_count) != 0) {
        return 1;
    }
    if (byte_count != 0) {
        memcpy(converter.carry + converter.carry_count, bytes, byte_count);
    }
    input.data = converter.carry;
    return 0;
}

// Bytes behind the decoded frames that are kept. Of what follows an AES3 header that fails its
// check nothing is: the header alone ends the stream at every later call, in bounded memory.
uint32_t bytesToKeep(const audio_converter &converter, const uint8_t *tail, uint32_t tail_bytes) {
    const audio_converter_settings &settings = converter.settings;
    aes3_header header;
    const bool stopped_at_header =
        settings.input_format == AUDIO_FORMAT_AES3 && converter.aes3_frame_remaining <= 0 &&
        tail_bytes >= AES3_HEADER_BYTES &&
        readAes3Header(tail, &header, settings.input_bits_per_sample, settings.input_channels) == 0;
    return stopped_at_header ? AES3_HEADER_BYTES : tail_bytes;
}

// Decodes the whole frames of the input into `work` behind its count, which stays. `samples` says
// for how many there is room and receives how many there were. Returns the bytes consumed.
uint32_t decodeFrames(audio_converter &converter, const input_bytes &input, uint32_t &samples) {
    const audio_converter_settings &settings = converter.settings;
    const uint8_t channels = settings.input_channels;
    const uint8_t bits = settings.input_bits_per_sample;
    channel_pointers behind;
    for (unsigned c = 0; c < channels; ++c) {
        behind[c] = converter.work.data[c] + converter.work.count;
    }
    if (settings.input_format == AUDIO_FORMAT_AES3) {
        uint32_t left = input.count;
        samples = decodeAes3(behind, input.data, left, channels, bits,
                             converter.aes3_frame_remaining, converter.decode);
        return input.count - left;
    }
    converter.decode(behind, input.data, samples, channels, bits);
    return bytesOfSamples(samples, settings.input_format, channels, bits);
}

// Makes the carry hold what is left of an input of input_count bytes. If it has to grow, the input
// is the host's block and the carry is empty: room for the tail and another block of this size is
// what the next call needs.
uint32_t secureCarry(audio_converter &converter, uint32_t tail_count, uint32_t input_count) {
    return converter.carry_capacity >= tail_count
               ? 0
               : growCarry(converter, input_count + tail_count, 0);
}

// The whole frames of an input, per channel, and room for them behind work.count.
uint32_t makeRoom(audio_converter &converter, const input_bytes &input, uint32_t &samples) {
    const audio_converter_settings &settings = converter.settings;
    samples = samplesInBytes(input.count, settings.input_format, settings.input_channels,
                             settings.input_bits_per_sample);
    return hasRoomFor(converter.work, samples)
               ? 0
               : growChannelBufferSet(converter.memory, converter.work, samples,
                                      AUDIO_MAX_CHANNELS);
}

// Decodes every whole frame behind work.count, which stays, and gives the samples per channel.
// `tail` receives the bytes to carry over, for which there is room in `carry`. On failure the carry
// holds what it held.
uint32_t decodeInterleaved(audio_converter &converter, const input_bytes &input, uint32_t &samples,
                           input_bytes &tail) {
    samples = 0;
    tail = {nullptr, 0};
    if (input.count == 0) {
        return 0;
    }
    if (makeRoom(converter, input, samples) != 0) {
        return 1;
    }
    const uint32_t consumed = decodeFrames(converter, input, samples);
    tail.data = input.data + consumed;
    tail.count = bytesToKeep(converter, tail.data, input.count - consumed);
    return secureCarry(converter, tail.count, input.count);
}

void keepTail(audio_converter &converter, const input_bytes &tail) {
    if (tail.count != 0) {
        memmove(converter.carry, tail.data, tail.count);
    }
    converter.carry_count = tail.count;
}

// Decodes, mixes and resamples; `set` receives what is to be written. On failure, always for want
// of memory, the converter is as before.
uint32_t takeInput(audio_converter &converter, const input_bytes &input, channel_buffer_set **set) {
    const int32_t aes3_frame_remaining = converter.aes3_frame_remaining;
    const uint32_t work_count = converter.work.count;
    uint32_t samples;
    input_bytes tail;
    uint32_t failed = decodeInterleaved(converter, input, samples, tail);
    if (failed == 0) {
        mixerRun(converter.mixer, *converter.kernels, converter.work, samples);
        failed = resamplerRun(converter.resampler, setsOf(converter), set);
    }
    if (failed != 0) {
        converter.aes3_frame_remaining = aes3_frame_remaining;
        converter.work.count = work_count;
        return failed;
    }
    keepTail(converter, tail);
    return 0;
}

// True when input goes to the stream in one pass, and nothing waits in front of it.
bool goesDirectly(const audio_converter &converter) {
    return converter.output.direct.input_bytes != 0 && converter.work.count == 0;
}

// Takes the input and writes it in one pass. Room for all of it is made as if it were decoded: a
// stream may refuse it.
uint32_t putDirectly(audio_converter &converter, const input_bytes &input) {
    uint32_t samples;
    if (makeRoom(converter, input, samples) != 0) {
        return 1;
    }
    const uint32_t consumed =
        samples * converter.output.direct.input_bytes * converter.output.stream_channels;
    const input_bytes tail = {input.data + consumed, input.count - consumed};
    if (secureCarry(converter, tail.count, input.count) != 0) {
        return 1;
    }
    // Streams may write over the host's bytes, the tail over those in the carry.
    const bool carried = input.data == converter.carry;
    if (!carried) {
        keepTail(converter, tail);
    }
    const uint32_t result = writeDirectly(converter, input.data, samples);
    if (carried) {
        keepTail(converter, tail);
    }
    return result;
}

} // namespace

uint32_t putInterleaved(audio_converter &converter, const uint8_t *bytes, uint32_t byte_count) {
    if (converter.settings.input_separate_channels != 0) {
        converter.err_printf(MIXED_INPUT_TEXT);
        return 1;
    }
    if (byte_count != 0 && (bytes == nullptr || !canWrite(converter))) {
        return 1;
    }
    converter.timed_out = 0;
    input_bytes input;
    if (assembleInput(converter, bytes, byte_count, input) != 0) {
        return 1;
    }
    if (input.count != 0 && goesDirectly(converter)) {
        return putDirectly(converter, input);
    }
    channel_buffer_set *set;
    if (takeInput(converter, input, &set) != 0) {
        return 1;
    }
    return writeOutput(converter, *set);
}
