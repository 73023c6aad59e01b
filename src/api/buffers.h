#pragma once

#include "api/instance.h"

// One more than the samples that any array may hold, so that byte counts fit in 32 bits.
constexpr uint64_t SAMPLE_LIMIT = uint64_t{1} << 30;

// A block of sample_count samples from the converter's malloc; null when there is no memory or
// sample_count reaches SAMPLE_LIMIT.
int32_t *allocateSamples(const audio_converter &converter, uint64_t sample_count);

// True when the set's arrays hold count + extra samples as they are: the test that every call makes
// of blocks that seldom grow.
inline bool hasRoomFor(const channel_buffer_set &set, uint64_t extra) {
    return set.count + extra <= set.capacity;
}

// Makes each of the set's first n arrays hold count + extra samples: an exact fit, or half as much
// again as before while output waits in the set, so that output refused for long is not copied by
// every call. Returns 1 when memory runs out or the need reaches SAMPLE_LIMIT: arrays already
// replaced keep their larger blocks with the samples held, counts and capacity keep their values.
//
// Borrowed positions of `work` become owned; the array they referred to is left to its owner.
uint32_t growChannelBufferSet(audio_converter &converter, channel_buffer_set &set, uint64_t extra,
                              uint32_t n);

// Makes the positions of `work` that no speaker channel lends hold sample_count samples. Nothing
// of what they hold is kept. Returns 1 when memory runs out, with capacity unchanged.
uint32_t growUnlentPositions(audio_converter &converter, uint32_t sample_count);

// Makes position `slot` of `work` refer to an array of channel_input, releasing what the set
// itself owned there.
void lendToWork(audio_converter &converter, unsigned slot, int32_t *channel_array);
