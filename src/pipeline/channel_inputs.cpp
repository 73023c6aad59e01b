#include "pipeline/channel_inputs.h"

#include "api/buffers.h"

#include <algorithm>
#include <cstring>

namespace {

// Makes the next `samples` samples of a channel readable, silence behind those it holds.
uint32_t supplyBlock(audio_converter &converter, unsigned channel, uint32_t samples) {
    const uint32_t count = converter.channel_input_count[channel];
    if (count >= samples) {
        return 0;
    }
    uint32_t &sent = converter.channel_input_sent[channel];
    if (sent + uint64_t{samples} > converter.channel_input_capacity[channel]) {
        int32_t *array = converter.channel_input[channel];
        memmove(array, array + sent, count * sizeof(int32_t));
        sent = 0;
        if (growChannelInput(converter, channel, samples) != 0) {
            return 1;
        }
    }
    int32_t *next = converter.channel_input[channel] + sent;
    memset(next + count, 0, (samples - count) * sizeof(int32_t));
    return 0;
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

// Moves `count` samples to the start of an array.
uint32_t moveToStart(const audio_converter &converter, unsigned channel, uint32_t from,
                     uint32_t count) {
    int32_t *array = converter.channel_input[channel];
    if (count <= converter.channel_input_capacity[channel] / 2) {
        memmove(array, array + from, count * sizeof(int32_t));
        return 0;
    }
    int32_t *temporary = allocateSamples(converter, count);
    if (temporary == nullptr) {
        return 1;
    }
    memcpy(temporary, array + from, count * sizeof(int32_t));
    memcpy(array, temporary, count * sizeof(int32_t));
    converter.free(temporary);
    return 0;
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

uint32_t compactChannelInputs(audio_converter &converter, uint32_t samples) {
    if (samples == 0) {
        return 0;
    }
    for (unsigned c = 0; c < AUDIO_MAX_CHANNELS; ++c) {
        uint32_t &count = converter.channel_input_count[c];
        count -= std::min(count, samples);
        if (count != 0 && moveToStart(converter, c, samples, count) != 0) {
            return 1;
        }
    }
    return 0;
}

void advanceChannelInputs(audio_converter &converter, uint32_t samples) {
    for (unsigned c = 0; c < AUDIO_MAX_CHANNELS; ++c) {
        uint32_t &count = converter.channel_input_count[c];
        const uint32_t taken = std::min(count, samples);
        count -= taken;
        converter.channel_input_sent[c] = count == 0 ? 0 : converter.channel_input_sent[c] + taken;
    }
}
