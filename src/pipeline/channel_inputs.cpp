#include "pipeline/channel_inputs.h"

#include <algorithm>
#include <cstring>

namespace {

// Makes the next `samples` samples of a channel readable: silence behind those it holds, for which
// the array of an ended channel may have to grow.
uint32_t supplyBlock(audio_converter &converter, unsigned channel, uint32_t samples) {
    channel_input &input = converter.inputs[channel];
    if (input.sent + uint64_t{samples} <= input.capacity) {
        return 0;
    }
    memmove(input.samples, input.samples + input.sent, input.count * sizeof(int32_t));
    input.sent = 0;
    const uint32_t failed = growChannelInput(converter, channel, samples);
    silenceBehind(input);
    return failed;
}

// True when a speaker channel has a place in the frame and samples for it.
bool lendsItsArray(const audio_converter &converter, unsigned channel) {
    return inputSlot(converter, channel) != AUDIO_MAX_CHANNELS &&
           converter.inputs[channel].samples != nullptr;
}

uint32_t lendBlock(audio_converter &converter, uint32_t samples) {
    channel_buffer_set &work = converter.work;
    for (unsigned c = 0; c < AUDIO_MAX_CHANNELS; ++c) {
        if (!lendsItsArray(converter, c)) {
            continue;
        }
        if (supplyBlock(converter, c, samples) != 0) {
            return 1;
        }
        const channel_input &input = converter.inputs[c];
        lendPosition(converter.memory, work, inputSlot(converter, c), input.samples + input.sent);
    }
    if (growOwnedPositions(converter.memory, work, samples) != 0) {
        return 1;
    }
    // A channel that never received input has nothing to lend: silence in the set's own array.
    for (unsigned c = 0; c < AUDIO_MAX_CHANNELS && samples != 0; ++c) {
        const unsigned slot = inputSlot(converter, c);
        if (slot != AUDIO_MAX_CHANNELS && !lendsItsArray(converter, c)) {
            memset(work.data[slot], 0, samples * sizeof(int32_t));
        }
    }
    return 0;
}

uint32_t copyBlock(audio_converter &converter, uint32_t samples) {
    channel_buffer_set &work = converter.work;
    if (growChannelBufferSet(converter.memory, work, samples, AUDIO_MAX_CHANNELS) != 0) {
        return 1;
    }
    for (unsigned c = 0; c < AUDIO_MAX_CHANNELS; ++c) {
        const unsigned slot = inputSlot(converter, c);
        if (slot == AUDIO_MAX_CHANNELS) {
            continue;
        }
        const channel_input &input = converter.inputs[c];
        const uint32_t held = std::min(input.count, samples);
        int32_t *behind = work.data[slot] + work.count;
        if (held != 0) {
            memcpy(behind, input.samples + input.sent, held * sizeof(int32_t));
        }
        memset(behind + held, 0, (samples - held) * sizeof(int32_t));
    }
    return 0;
}

// What a channel keeps when a block is removed from it.
uint32_t remainderOf(const channel_input &input, uint32_t samples) {
    return input.count - std::min(input.count, samples);
}

// Restores the silence of an ended channel where its samples stood or the mixer wrote in place:
// positions begin .. end - 1, as far as the array goes. Behind them it is silent already.
void silenceUsed(const channel_input &input, uint32_t begin, uint32_t end) {
    end = std::min(end, input.capacity);
    if (begin < end) {
        memset(input.samples + begin, 0, (end - begin) * sizeof(int32_t));
    }
}

bool needsTemporary(const channel_input &input, uint32_t remainder) {
    return remainder > input.capacity / 2;
}

void compact(channel_input &input, uint32_t samples, int32_t *temporary) {
    const uint32_t used = std::max(input.count, samples);
    input.count = remainderOf(input, samples);
    const size_t bytes = input.count * sizeof(int32_t);
    if (needsTemporary(input, input.count)) {
        memcpy(temporary, input.samples + samples, bytes);
        memcpy(input.samples, temporary, bytes);
    } else if (input.count != 0) {
        memmove(input.samples, input.samples + samples, bytes);
    }
    if (input.active == 0) {
        silenceUsed(input, input.count, used);
    }
}

} // namespace

unsigned inputSlot(const audio_converter &converter, unsigned channel) {
    const unsigned place = converter.settings.input_order_map[channel];
    return place >= 1 && place <= AUDIO_MAX_CHANNELS ? place - 1 : AUDIO_MAX_CHANNELS;
}

uint32_t growChannelInput(audio_converter &converter, unsigned channel, uint64_t sample_count) {
    channel_input &input = converter.inputs[channel];
    if (sample_count <= input.capacity) {
        return 0;
    }
    int32_t *array = allocateSamples(converter.memory, sample_count);
    if (array == nullptr) {
        return 1;
    }
    if (input.samples != nullptr) {
        memcpy(array, input.samples, input.count * sizeof(int32_t));
        converter.memory.free(input.samples);
    }
    input.samples = array;
    input.capacity = static_cast<uint32_t>(sample_count);
    const unsigned slot = inputSlot(converter, channel);
    if (slot != AUDIO_MAX_CHANNELS && converter.work.borrowed[slot] != 0) {
        converter.work.data[slot] = array;
    }
    return 0;
}

uint32_t presentBlock(audio_converter &converter, uint32_t samples) {
    return hasEqualRates(converter) ? lendBlock(converter, samples) : copyBlock(converter, samples);
}

void silenceBehind(const channel_input &input) {
    silenceUsed(input, input.sent + input.count, input.capacity);
}

uint32_t longestChannelInput(const audio_converter &converter) {
    uint32_t longest = 0;
    for (const channel_input &input : converter.inputs) {
        longest = std::max(longest, input.count);
    }
    return longest;
}

uint32_t compactionTemporary(const audio_converter &converter, uint32_t samples) {
    uint32_t largest = 0;
    for (const channel_input &input : converter.inputs) {
        const uint32_t remainder = samples == 0 ? 0 : remainderOf(input, samples);
        if (needsTemporary(input, remainder)) {
            largest = std::max(largest, remainder);
        }
    }
    return largest;
}

void compactChannelInputs(audio_converter &converter, uint32_t samples, int32_t *temporary) {
    for (unsigned c = 0; c < AUDIO_MAX_CHANNELS && samples != 0; ++c) {
        compact(converter.inputs[c], samples, temporary);
    }
}

void advanceChannelInputs(audio_converter &converter, uint32_t samples) {
    for (channel_input &input : converter.inputs) {
        const uint32_t taken = std::min(input.count, samples);
        input.count -= taken;
        input.sent = input.count == 0 ? 0 : input.sent + taken;
        if (input.active == 0) {
            silenceUsed(input, 0, samples);
        }
    }
}
