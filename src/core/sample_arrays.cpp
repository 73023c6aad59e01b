#include "core/sample_arrays.h"

#include <algorithm>
#include <cstring>

namespace {

// Puts an owned array into a position.
void replaceArray(const host_memory &memory, channel_buffer_set &set, unsigned slot,
                  int32_t *array) {
    releasePosition(memory, set, slot);
    set.data[slot] = array;
}

} // namespace

int32_t *allocateSamples(const host_memory &memory, uint64_t sample_count) {
    if (sample_count >= SAMPLE_LIMIT) {
        return nullptr;
    }
    return static_cast<int32_t *>(memory.malloc(sample_count * sizeof(int32_t)));
}

uint32_t growChannelBufferSet(const host_memory &memory, channel_buffer_set &set, uint64_t extra,
                              uint32_t n) {
    if (extra >= SAMPLE_LIMIT || set.count + extra >= SAMPLE_LIMIT) {
        return 1;
    }
    if (hasRoomFor(set, extra)) {
        return 0;
    }
    uint64_t capacity = set.count + extra;
    if (set.holds_output != 0) {
        const uint64_t half_more = set.capacity + uint64_t{set.capacity} / 2;
        capacity = std::max(capacity, std::min(half_more, SAMPLE_LIMIT - 1));
    }
    for (unsigned slot = 0; slot < n; ++slot) {
        int32_t *array = allocateSamples(memory, capacity);
        if (array == nullptr) {
            return 1;
        }
        if (set.count != 0 && set.data[slot] != nullptr) {
            memcpy(array, set.data[slot], set.count * sizeof(int32_t));
        }
        replaceArray(memory, set, slot, array);
    }
    set.capacity = static_cast<uint32_t>(capacity);
    return 0;
}

uint32_t growOwnedPositions(const host_memory &memory, channel_buffer_set &set,
                            uint32_t sample_count) {
    if (set.capacity >= sample_count) {
        return 0;
    }
    for (unsigned slot = 0; slot < AUDIO_MAX_CHANNELS; ++slot) {
        if (set.borrowed[slot] != 0) {
            continue;
        }
        int32_t *array = allocateSamples(memory, sample_count);
        if (array == nullptr) {
            return 1;
        }
        replaceArray(memory, set, slot, array);
    }
    set.capacity = sample_count;
    return 0;
}

void lendPosition(const host_memory &memory, channel_buffer_set &set, unsigned slot,
                  int32_t *array) {
    replaceArray(memory, set, slot, array);
    set.borrowed[slot] = 1;
}

void releasePosition(const host_memory &memory, channel_buffer_set &set, unsigned slot) {
    if (set.borrowed[slot] == 0 && set.data[slot] != nullptr) {
        memory.free(set.data[slot]);
    }
    set.data[slot] = nullptr;
    set.borrowed[slot] = 0;
}
