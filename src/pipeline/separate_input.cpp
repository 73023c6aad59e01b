#include "api/buffers.h"
#include "codec/sample_count.h"
#include "pipeline/channel_inputs.h"
#include "pipeline/messages.h"
#include "pipeline/output_writer.h"
#include "pipeline/process_block.h"
#include "pipeline/size_limits.h"

#include <algorithm>

namespace {

// A speaker of the layout takes input while it is active. One that the layout lacks always does;
// its samples are never mixed.
bool takesInput(const audio_converter &converter, unsigned channel) {
    return converter.channel_active[channel] != 0 ||
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
    if (growChannelBufferSet(converter, converter.work, samples, AUDIO_MAX_CHANNELS) != 0) {
        return 1;
    }
    uint32_t &count = converter.channel_input_count[channel];
    if (growChannelInput(converter, channel, uint64_t{count} + samples) != 0) {
        return 1;
    }
    if (samples != 0) {
        const channel_pointers behind = {converter.channel_input[channel] + count};
        converter.decode(behind, bytes, samples, 1, bits);
    }
    count += samples;
    converter.largest_channel_block = std::max(converter.largest_channel_block, samples);
    return 0;
}

// Undoes decodeOneChannel.
void takeBack(audio_converter &converter, unsigned channel, uint32_t samples) {
    converter.channel_input_count[channel] -= samples;
    if (converter.channel_active[channel] == 0) {
        silenceBehind(converter, channel);
    }
}

bool everyActiveChannelHolds(const audio_converter &converter, uint32_t samples) {
    for (unsigned c = 0; c < AUDIO_MAX_CHANNELS; ++c) {
        if (converter.channel_active[c] != 0 && converter.channel_input_count[c] < samples) {
            return false;
        }
    }
    return true;
}

// What every active channel must hold before a block goes through: the largest block so far.
uint32_t waitThreshold(const audio_converter &converter) {
    return hasEqualRates(converter) ? converter.work.capacity : converter.largest_channel_block;
}

// True when no stream was ever attached, so that no channel could become active.
bool hasNoOutput(const audio_converter &converter) {
    return converter.output.shares == 0;
}

// Refusals that print nothing. A call of nothing is good for what waits even where bytes are not
// taken for want of an output.
bool isRefused(const audio_converter &converter, const uint8_t *bytes, uint32_t byte_count,
               unsigned channel) {
    if (byte_count == 0 && hasNoOutput(converter)) {
        return converter.done != 0;
    }
    return converter.done != 0 || !takesInput(converter, channel) ||
           byte_count > LARGEST_BLOCK_BYTES ||
           (byte_count != 0 && (bytes == nullptr || !canWrite(converter)));
}

} // namespace

uint32_t audioConverterPutBytesOneChannel(audio_converter *converter, const uint8_t *bytes,
                                          uint32_t byte_count, uint8_t channel) {
    if (converter == nullptr) {
        return 1;
    }
    if (converter->settings.input_separate_channels == 0) {
        converter->err_printf(MIXED_INPUT_TEXT);
        return 1;
    }
    if (channel >= AUDIO_MAX_CHANNELS) {
        return 1;
    }
    if (converter->settings.input_format == AUDIO_FORMAT_AES3) {
        converter->err_printf(AES3_PAIRS_TEXT);
        return 1;
    }
    if (isRefused(*converter, bytes, byte_count, channel)) {
        return 1;
    }
    converter->stalled = 0;
    uint32_t samples;
    if (decodeOneChannel(*converter, bytes, byte_count, channel, samples) != 0) {
        return 1;
    }
    if (!everyActiveChannelHolds(*converter, waitThreshold(*converter))) {
        // Nothing new goes through; what an earlier call could not write does.
        return writeOutput(*converter, converter->resampled);
    }
    bool taken;
    const uint32_t result = processBlock(*converter, samples, taken);
    if (!taken) {
        takeBack(*converter, channel, samples);
    }
    return result;
}

uint32_t audioConverterNoMoreDataInChannel(audio_converter *converter, uint32_t channel) {
    if (converter == nullptr) {
        return 1;
    }
    if (converter->settings.input_separate_channels == 0) {
        converter->err_printf(MIXED_FINISH_TEXT);
        return 1;
    }
    if (channel >= AUDIO_MAX_CHANNELS) {
        return 1;
    }
    converter->channel_active[channel] = 0;
    silenceBehind(*converter, channel);
    return 0;
}
