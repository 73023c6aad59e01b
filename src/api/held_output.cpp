#include "api/held_output.h"

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

void moveBackPositions(audio_converter &converter, uint32_t samples) {
    for (uint32_t &position : converter.output_position) {
        position -= std::min(position, samples);
    }
}

void dropAccepted(audio_converter &converter, channel_buffer_set &set) {
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
