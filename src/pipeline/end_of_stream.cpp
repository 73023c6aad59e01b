#include "pipeline/end_of_stream.h"

#include "pipeline/block.h"
#include "pipeline/channel_inputs.h"
#include "pipeline/held_output.h"
#include "pipeline/output_writer.h"
#include "pipeline/resampler_sets.h"

#include <algorithm>

namespace {

constexpr uint32_t PAIR = 2; // frames that the two LPCM formats carry together

// Channels expect input as long as they hold some; one that has run empty is silent from now on.
void markEmptyChannelsEnded(audio_converter &converter) {
    for (channel_input &input : converter.inputs) {
        if (input.capacity == 0) {
            continue;
        }
        if (input.count == 0 && input.active != 0) {
            silenceBehind(input);
        }
        input.active = input.count != 0;
    }
}

// Samples of the next block of the drain, 0 when all channels are empty: what every channel that
// holds samples can give, and the array of every channel can hold.
uint32_t nextDrainBlock(const audio_converter &converter) {
    uint32_t smallest = UINT32_MAX;
    for (const channel_input &input : converter.inputs) {
        if (input.capacity != 0) {
            smallest = std::min(smallest, input.capacity);
        }
        if (input.count != 0) {
            smallest = std::min(smallest, input.count);
        }
    }
    return longestChannelInput(converter) == 0 ? 0 : smallest;
}

// Sends what the channel buffers hold. A full output does not stop it; memory does.
uint32_t drainChannelInputs(audio_converter &converter) {
    markEmptyChannelsEnded(converter);
    for (uint32_t block = nextDrainBlock(converter); block != 0;
         block = nextDrainBlock(converter)) {
        const block_result result = runBlock(converter, block);
        if (result == BLOCK_FAILED) {
            return 1;
        }
        advanceChannelInputs(converter, block);
        markEmptyChannelsEnded(converter);
        if (result == BLOCK_HELD) {
            // Output piles up. With a rate change there is room for all of it at once, or the
            // blocks make do one by one.
            resamplerReserve(converter.resampler, setsOf(converter),
                             longestChannelInput(converter));
        }
    }
    return 0;
}

// Completes the pair of an odd last frame with one frame of silence.
uint32_t completePair(audio_converter &converter, channel_buffer_set &set) {
    if (!travelsInPairs(converter.settings.output_format) ||
        waitingSamples(converter, set) % PAIR == 0) {
        return 0;
    }
    const uint32_t arrays =
        &set == &converter.work ? AUDIO_MAX_CHANNELS : converter.resampler.channels;
    if (growChannelBufferSet(converter.memory, set, 1, arrays) != 0) {
        return 1;
    }
    for (unsigned slot = 0; slot < converter.settings.output_channels; ++slot) {
        set.data[slot][set.count] = 0;
    }
    ++set.count;
    return 0;
}

} // namespace

uint32_t endStream(audio_converter &converter, uint32_t discard_tail) {
    converter.done = 1;
    converter.timed_out = 0;
    channel_buffer_set &held = heldOutput(converter);
    // The host knows which of its streams were full; what they did not accept waits.
    writeOutput(converter, held);
    channel_buffer_set *set; // `held`, or `work` where that is empty
    if (drainChannelInputs(converter) != 0 ||
        resamplerFlush(converter.resampler, setsOf(converter), &set, discard_tail) != 0) {
        return 1;
    }
    if (discard_tail != 0) {
        return 0;
    }
    const uint32_t failed = completePair(converter, held);
    writeOutput(converter, held);
    return failed;
}
