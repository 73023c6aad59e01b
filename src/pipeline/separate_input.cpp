#include "pipeline/separate_input.h"

#include "codec/sample_count.h"
#include "pipeline/block.h"
#include "pipeline/channel_inputs.h"
#include "pipeline/messages.h"
#include "pipeline/output_writer.h"

#include <algorithm>

namespace {

// A speaker of the layout takes input while it is active. One that the layout lacks always does;
// its samples are never mixed.
bool takesInput(const audio_converter &converter, unsigned channel) {
    return converter.inputs[channel].active != 0 ||
           inputSlot(converter, channel) == AUDIO_MAX_CHANNELS;
}

// Appends the samples of a call to the channel's buffer. Returns 1 with nothing taken when memory
// runs out.
uint32_t decodeOneChannel(audio_converter &converter, const uint8_t *bytes, uint32_t byte_count,
                          unsigned channel, uint32_t &samples) {
    const audio_converter_settings &settings = converter.settings;
    const uint8_t bits = settings.input_bits_per_sample;
    samples = samplesInBytes(byte_count, settings.input_format, 1, bits);
    // The set's own arrays serve the slots that no channel lends, and with equal rates its
    // capacity is the count that every active channel must reach.
    if (growChannelBufferSet(converter.memory, converter.work, samples, AUDIO_MAX_CHANNELS) != 0) {
        return 1;
    }
    channel_input &input = converter.inputs[channel];
    if (growChannelInput(converter, channel, uint64_t{input.count} + samples) != 0) {
        return 1;
    }
    if (samples != 0) {
        const channel_pointers behind = {input.samples + input.count};
        converter.decode(behind, bytes, samples, 1, bits);
    }
    input.count += samples;
    converter.largest_channel_block = std::max(converter.largest_channel_block, samples);
    return 0;
}

// Undoes decodeOneChannel.
void takeBack(channel_input &input, uint32_t samples) {
    input.count -= samples;
    if (input.active == 0) {
        silenceBehind(input);
    }
}

bool everyActiveChannelHolds(const audio_converter &converter, uint32_t samples) {
    return std::all_of(
        converter.inputs, converter.inputs + AUDIO_MAX_CHANNELS,
        [=](const channel_input &input) { return input.active == 0 || input.count >= samples; });
}

// What every active channel must hold before a block goes through: the largest block so far.
uint32_t waitThreshold(const audio_converter &converter) {
    return hasEqualRates(converter) ? converter.work.capacity : converter.largest_channel_block;
}

// Refusals that print nothing. A call of 0 bytes is good for what waits even where bytes are not
// accepted.
bool isRefused(const audio_converter &converter, const uint8_t *bytes, uint32_t byte_count,
               unsigned channel) {
    return converter.done != 0 || (byte_count != 0 && (!takesInput(converter, channel) ||
                                                       byte_count > LARGEST_BLOCK_BYTES ||
                                                       bytes == nullptr || !canWrite(converter)));
}

} // namespace

uint32_t putOneChannel(audio_converter &converter, const uint8_t *bytes, uint32_t byte_count,
                       unsigned channel) {
    if (converter.settings.input_separate_channels == 0) {
        converter.err_printf(MIXED_INPUT_TEXT);
        return 1;
    }
    if (channel >= AUDIO_MAX_CHANNELS) {
        return 1;
    }
    if (converter.settings.input_format == AUDIO_FORMAT_AES3) {
        converter.err_printf(AES3_PAIRS_TEXT);
        return 1;
    }
    if (isRefused(converter, bytes, byte_count, channel)) {
        return 1;
    }
    converter.timed_out = 0;
    uint32_t samples;
    if (decodeOneChannel(converter, bytes, byte_count, channel, samples) != 0) {
        return 1;
    }
    if (!everyActiveChannelHolds(converter, waitThreshold(converter))) {
        // Nothing new goes through; what an earlier call could not write does.
        return writeOutput(converter, converter.resampled);
    }
    const block_result result = processBlock(converter, samples);
    if (result == BLOCK_FAILED) {
        takeBack(converter.inputs[channel], samples);
    }
    return result == BLOCK_WRITTEN ? 0 : 1;
}

uint32_t endChannel(audio_converter &converter, uint32_t channel) {
    if (converter.settings.input_separate_channels == 0) {
        converter.err_printf(MIXED_FINISH_TEXT);
        return 1;
    }
    if (channel >= AUDIO_MAX_CHANNELS) {
        return 1;
    }
    channel_input &input = converter.inputs[channel];
    input.active = 0;
    silenceBehind(input);
    return 0;
}
