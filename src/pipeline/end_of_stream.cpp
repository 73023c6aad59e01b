#include "api/buffers.h"
#include "pipeline/channel_inputs.h"
#include "pipeline/output_writer.h"
#include "pipeline/process_block.h"
#include "resampler/resampler.h"

#include <algorithm>

namespace {

// The next block of the drain: the smallest of what the channels that still hold samples hold and
// of what any channel's array can hold; 0 when all are empty. Channels expect input as long as
// they hold some.
uint32_t nextDrainBlock(audio_converter &converter) {
    uint32_t smallest = UINT32_MAX;
    bool holds_samples = false;
    for (unsigned c = 0; c < AUDIO_MAX_CHANNELS; ++c) {
        if (converter.channel_input_capacity[c] == 0) {
            continue;
        }
        const uint32_t count = converter.channel_input_count[c];
        converter.channel_active[c] = count != 0;
        smallest = std::min(smallest, converter.channel_input_capacity[c]);
        if (count != 0) {
            smallest = std::min(smallest, count);
            holds_samples = true;
        }
    }
    if (!holds_samples) {
        return 0;
    }
    // Frames that leave in pairs: the last one is completed with silence.
    return sendsPairs(converter) ? std::max(smallest / PAIR * PAIR, PAIR) : smallest;
}

// Sends what the channel buffers hold. A refusing output does not stop it; memory does.
uint32_t drainChannelInputs(audio_converter &converter) {
    // What an earlier call could not write needs no further memory once it is gone.
    writeOutput(converter, converter.resampled);
    for (uint32_t block = nextDrainBlock(converter); block != 0;
         block = nextDrainBlock(converter)) {
        bool taken;
        const uint32_t result = runBlock(converter, block, taken);
        if (!taken) {
            return 1;
        }
        advanceChannelInputs(converter, block);
        // Refused output piles up: room for all of it at once, not block by block.
        if (result != 0 && resamplerReserve(converter, longestChannelInput(converter)) != 0) {
            return 1;
        }
    }
    return 0;
}

// Completes the pair of an odd last frame with one frame of silence.
uint32_t completePair(audio_converter &converter, channel_buffer_set &set) {
    if (!travelsInPairs(converter.settings.output_format) || set.count % PAIR == 0) {
        return 0;
    }
    const uint32_t arrays =
        &set == &converter.work ? AUDIO_MAX_CHANNELS : converter.resampler.channels;
    if (growChannelBufferSet(converter, set, 1, arrays) != 0) {
        return 1;
    }
    for (unsigned slot = 0; slot < converter.settings.output_channels; ++slot) {
        set.data[slot][set.count] = 0;
    }
    ++set.count;
    return 0;
}

} // namespace

uint32_t audioConverterDone(audio_converter *converter, uint32_t discard_tail) {
    if (converter == nullptr) {
        return 1;
    }
    converter->done = 1;
    converter->stalled = 0;
    channel_buffer_set *set;
    if (drainChannelInputs(*converter) != 0 ||
        resamplerFlush(*converter, &set, discard_tail) != 0) {
        return 1;
    }
    if (discard_tail != 0) {
        return 0;
    }
    if (completePair(*converter, *set) != 0) {
        return 1;
    }
    // The host knows what its streams refused; what they did stays for another call.
    writeOutput(*converter, *set);
    return 0;
}
