#include "pipeline/held_output.h"

#include <algorithm>
#include <cstring>

uint32_t oldestPosition(const audio_converter &converter) {
    uint32_t oldest = UINT32_MAX;
    for (unsigned slot = 0; slot < converter.output.shares; ++slot) {
        if (converter.out_streams[slot] != nullptr) {
            oldest = std::min(oldest, converter.output_position[slot]);
        }
    }
    return oldest == UINT32_MAX ? 0 : oldest;
}

uint32_t waitingSamples(const audio_converter &converter, const channel_buffer_set &set) {
    return set.count - oldestPosition(converter);
}

bool outputWaits(const audio_converter &converter, const channel_buffer_set &set) {
    const uint32_t waiting = waitingSamples(converter, set);
    return waiting != 0 && waiting >= converter.output.unit;
}

void moveBackPositions(audio_converter &converter, uint32_t samples) {
    for (uint32_t &position : converter.output_position) {
        position -= std::min(position, samples);
    }
}

void dropAccepted(audio_converter &converter, channel_buffer_set &set) {
    set.holds_output = outputWaits(converter, set);
    const uint32_t accepted = oldestPosition(converter);
    const uint32_t waiting = set.count - accepted;
    if (accepted == 0 || waiting > accepted) {
        return;
    }
    for (unsigned slot = 0; waiting != 0 && slot < converter.settings.output_channels; ++slot) {
        memmove(set.data[slot], set.data[slot] + accepted, waiting * sizeof(int32_t));
    }
    set.count = waiting;
    moveBackPositions(converter, accepted);
}

void holdWork(audio_converter &converter, uint32_t first) {
    channel_buffer_set &work = converter.work;
    channel_buffer_set &held = converter.resampled;
    const uint32_t samples = work.count - first;
    for (unsigned slot = 0; samples != 0 && slot < converter.settings.output_channels; ++slot) {
        memcpy(held.data[slot] + held.count, work.data[slot] + first, samples * sizeof(int32_t));
    }
    held.count += samples;
    held.holds_output = held.holds_output != 0 || work.holds_output != 0;
    work.count = 0;
    work.holds_output = 0;
}
