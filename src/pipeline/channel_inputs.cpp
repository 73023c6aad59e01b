#include "pipeline/channel_inputs.h"

#include "api/buffers.h"

#include <algorithm>
#include <cstring>

namespace {

// Makes the next `samples` samples of a channel readable: silence behind those it holds, for which
// the array of an ended channel may have to grow.
uint32_t supplyBlock(audio_converter &converter, unsigned channel, uint32_t samples) {
    uint32_t &sent = converter.channel_input_sent[channel];
    if (sent + uint64_t{samples} <= converter.channel_input_capacity[channel]) {
        return 0;
    }
    int32_t *array = converter.channel_input[channel];
    memmove(array, array + sent, converter.channel_input_count[channel] * sizeof(int32_t));
    sent = 0;
    const uint32_t failed = growChannelInput(converter, channel, samples);
    silenceBehind(converter, channel);
    return failed;
}

uint32_t lendBlock(audio_converter &converter, uint32_t samples) {
    for (unsigned c = 0; c < AUDIO_MAX_CHANNELS; ++c) {
        const unsigned slot = inputSlot(converter, c);
        if (slot == AUDIO_MAX_CHANNELS || converter.channel_input[c] == nullptr) {
            continue;
        }
        if (supplyBlock(converter, c, samples) != 0) {
            return 1;
        }
        lendToWork(converter, slot, converter.channel_input[c] + converter.channel_input_sent[c]);
    }
    if (growUnlentPositions(converter, samples) != 0) {
        return 1;
    }
    // A channel that never received input has nothing to lend: silence in the set's own array.
    for (unsigned c = 0; c < AUDIO_MAX_CHANNELS && samples != 0; ++c) {
        const unsigned slot = inputSlot(converter, c);
        if (slot != AUDIO_MAX_CHANNELS && converter.channel_input[c] == nullptr) {
            memset(converter.work.data[slot], 0, samples * sizeof(int32_t));
        }
    }
    return 0;
}

uint32_t copyBlock(audio_converter &converter, uint32_t samples) {
    channel_buffer_set &work = converter.work;
    if (growChannelBufferSet(converter, work, samples, AUDIO_MAX_CHANNELS) != 0) {
        return 1;
    }
    for (unsigned c = 0; c < AUDIO_MAX_CHANNELS; ++c) {
        const unsigned slot = inputSlot(converter, c);
        if (slot == AUDIO_MAX_CHANNELS) {
            continue;
        }
        const uint32_t held = std::min(converter.channel_input_count[c], samples);
        int32_t *behind = work.data[slot] + work.count;
        if (held != 0) {
            const int32_t *next = converter.channel_input[c] + converter.channel_input_sent[c];
            memcpy(behind, next, held * sizeof(int32_t));
        }
        memset(behind + held, 0, (samples - held) * sizeof(int32_t));
    }
    return 0;
}

// What a channel keeps when a block is removed from it.
uint32_t remainderOf(const audio_converter &converter, unsigned channel, uint32_t samples) {
    const uint32_t count = converter.channel_input_count[channel];
    return count - std::min(count, samples);
}

// Restores the silence of an ended channel where its samples stood or the mixer wrote in place:
// positions begin .. end - 1, as far as the array goes. Behind them it is silent already.
void silenceUsed(audio_converter &converter, unsigned channel, uint32_t begin, uint32_t end) {
    end = std::min(end, converter.channel_input_capacity[channel]);
    if (begin < end) {
        memset(converter.channel_input[channel] + begin, 0, (end - begin) * sizeof(int32_t));
    }
}

bool needsTemporary(const audio_converter &converter, unsigned channel, uint32_t remainder) {
    return remainder > converter.channel_input_capacity[channel] / 2;
}

} // namespace

unsigned inputSlot(const audio_converter &converter, unsigned channel) {
    const unsigned place = converter.settings.input_order_map[channel];
    return place >= 1 && place <= AUDIO_MAX_CHANNELS ? place - 1 : AUDIO_MAX_CHANNELS;
}

uint32_t growChannelInput(audio_converter &converter, unsigned channel, uint64_t sample_count) {
    if (sample_count <= converter.channel_input_capacity[channel]) {
        return 0;
    }
    int32_t *array = allocateSamples(converter, sample_count);
    if (array == nullptr) {
        return 1;
    }
    int32_t *&current = converter.channel_input[channel];
    if (current != nullptr) {
        memcpy(array, current, converter.channel_input_count[channel] * sizeof(int32_t));
        converter.free(current);
    }
    current = array;
    converter.channel_input_capacity[channel] = static_cast<uint32_t>(sample_count);
    const unsigned slot = inputSlot(converter, channel);
    if (slot != AUDIO_MAX_CHANNELS && converter.work_borrowed[slot] != 0) {
        converter.work.data[slot] = array;
    }
    return 0;
}

uint32_t presentBlock(audio_converter &converter, uint32_t samples) {
    return hasEqualRates(converter) ? lendBlock(converter, samples) : copyBlock(converter, samples);
}

uint32_t longestChannelInput(const audio_converter &converter) {
    return *std::max_element(converter.channel_input_count,
                             converter.channel_input_count + AUDIO_MAX_CHANNELS);
}

uint32_t compactionTemporary(const audio_converter &converter, uint32_t samples) {
    uint32_t largest = 0;
    for (unsigned c = 0; c < AUDIO_MAX_CHANNELS && samples != 0; ++c) {
        const uint32_t remainder = remainderOf(converter, c, samples);
        if (needsTemporary(converter, c, remainder)) {
            largest = std::max(largest, remainder);
        }
    }
    return largest;
}

void silenceBehind(audio_converter &converter, unsigned channel) {
    const uint32_t end =
        converter.channel_input_sent[channel] + converter.channel_input_count[channel];
    const uint32_t capacity = converter.channel_input_capacity[channel];
    if (end < capacity) {
        memset(converter.channel_input[channel] + end, 0, (capacity - end) * sizeof(int32_t));
    }
}

void compactChannelInputs(audio_converter &converter, uint32_t samples, int32_t *temporary) {
    for (unsigned c = 0; c < AUDIO_MAX_CHANNELS && samples != 0; ++c) {
        const uint32_t held = converter.channel_input_count[c];
        const uint32_t remainder = remainderOf(converter, c, samples);
        converter.channel_input_count[c] = remainder;
        int32_t *array = converter.channel_input[c];
        const size_t bytes = remainder * sizeof(int32_t);
        if (needsTemporary(converter, c, remainder)) {
            memcpy(temporary, array + samples, bytes);
            memcpy(array, temporary, bytes);
        } else if (remainder != 0) {
            memmove(array, array + samples, bytes);
        }
        if (converter.channel_active[c] == 0) {
            silenceUsed(converter, c, remainder, std::max(held, samples));
        }
    }
}

void advanceChannelInputs(audio_converter &converter, uint32_t samples) {
    for (unsigned c = 0; c < AUDIO_MAX_CHANNELS; ++c) {
        uint32_t &count = converter.channel_input_count[c];
        const uint32_t taken = std::min(count, samples);
        count -= taken;
        converter.channel_input_sent[c] = count == 0 ? 0 : converter.channel_input_sent[c] + taken;
        if (converter.channel_active[c] == 0) {
            silenceUsed(converter, c, 0, samples);
        }
    }
}
