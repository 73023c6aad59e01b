#include "api/buffers.h"

#include "api/held_output.h"

#include <algorithm>
#include <cstring>

namespace {

// Samples that a set shall hold which needs to hold `need`.
uint64_t grownCapacity(audio_converter &converter, const channel_buffer_set &set, uint64_t need) {
    const bool holds_output = converter.output.largest_chunk != 0 && &set == &heldOutput(converter);
    if (!holds_output || waitingSamples(converter, set) < converter.output.unit) {
        return need;
    }
    return std::max(need, std::min(set.capacity + uint64_t{set.capacity} / 2, SAMPLE_LIMIT - 1));
}

bool isBorrowed(const audio_converter &converter, const channel_buffer_set &set, unsigned slot) {
    return &set == &converter.work && converter.work_borrowed[slot] != 0;
}

// Puts an owned array into a position; what the set owned there before is released.
void replaceArray(audio_converter &converter, channel_buffer_set &set, unsigned slot,
                  int32_t *array) {
    if (isBorrowed(converter, set, slot)) {
        converter.work_borrowed[slot] = 0;
    } else if (set.data[slot] != nullptr) {
        converter.free(set.data[slot]);
    }
    set.data[slot] = array;
}

} // namespace

int32_t *allocateSamples(const audio_converter &converter, uint64_t sample_count) {
    if (sample_count >= SAMPLE_LIMIT) {
        return nullptr;
    }
    return static_cast<int32_t *>(converter.malloc(sample_count * sizeof(int32_t)));
}

uint32_t growChannelBufferSet(audio_converter &converter, channel_buffer_set &set, uint64_t extra,
                              uint32_t n) {
    if (extra >= SAMPLE_LIMIT || set.count + extra >= SAMPLE_LIMIT) {
        return 1;
    }
    if (hasRoomFor(set, extra)) {
        return 0;
    }
    const uint64_t capacity = grownCapacity(converter, set, set.count + extra);
    for (unsigned slot = 0; slot < n; ++slot) {
        int32_t *array = allocateSamples(converter, capacity);
        if (array == nullptr) {
            return 1;
        }
        if (set.count != 0 && set.data[slot] != nullptr) {
            memcpy(array, set.data[slot], set.count * sizeof(int32_t));
        }
        replaceArray(converter, set, slot, array);
    }
    set.capacity = static_cast<uint32_t>(capacity);
    return 0;
}

uint32_t growUnlentPositions(audio_converter &converter, uint32_t sample_count) {
    channel_buffer_set &work = converter.work;
    if (work.capacity >= sample_count) {
        return 0;
    }
    for (unsigned slot = 0; slot < AUDIO_MAX_CHANNELS; ++slot) {
        if (isBorrowed(converter, work, slot)) {
            continue;
        }
        int32_t *array = allocateSamples(converter, sample_count);
        if (array == nullptr) {
            return 1;
        }
        replaceArray(converter, work, slot, array);
    }
    work.capacity = sample_count;
    return 0;
}

void lendToWork(audio_converter &converter, unsigned slot, int32_t *channel_array) {
    replaceArray(converter, converter.work, slot, channel_array);
    converter.work_borrowed[slot] = 1;
}
