#pragma once

#include "core/host.h"

// Samples of every channel waiting between two steps of the pipeline.
//
// All arrays share `capacity` and `count`: count <= capacity, the samples held stand at the start
// of every array, and what lies behind them is scratch. A set only grows. A borrowed array may have
// less than the capacity: it holds the block that it was lent for, and every block lends anew.
struct channel_buffer_set {
    int32_t *data[AUDIO_MAX_CHANNELS]; // one array per slot; null until first grown
    uint32_t capacity;                 // samples that every array can hold
    uint32_t count;                    // samples held in every array

    uint8_t borrowed[AUDIO_MAX_CHANNELS]; // 1: the array belongs to a speaker channel's input
    uint8_t holds_output;                 // 1: output that a stream has not accepted waits here
};

// One more than the samples that any array may hold, so that byte counts fit in 32 bits.
constexpr uint64_t SAMPLE_LIMIT = uint64_t{1} << 30;

// A block of sample_count samples; null when there is no memory or sample_count reaches
// SAMPLE_LIMIT.
int32_t *allocateSamples(const host_memory &memory, uint64_t sample_count);

// True when the set's arrays hold count + extra samples as they are: the test that every call makes
// of blocks that seldom grow.
inline bool hasRoomFor(const channel_buffer_set &set, uint64_t extra) {
    return set.count + extra <= set.capacity;
}

// Makes each of the set's first n arrays hold count + extra samples: an exact fit, or half as much
// again as before while output waits in the set, so that output held for long is not copied by
// every call. Returns 1 when memory runs out or the need reaches SAMPLE_LIMIT: arrays already
// replaced keep their larger blocks with the samples held, counts and capacity keep their values.
//
// Borrowed positions become owned; the array they referred to is left to its owner.
uint32_t growChannelBufferSet(const host_memory &memory, channel_buffer_set &set, uint64_t extra,
                              uint32_t n);

// Makes the positions that are not borrowed hold sample_count samples. Nothing of what they hold is
// kept. Returns 1 when memory runs out, with capacity unchanged.
uint32_t growOwnedPositions(const host_memory &memory, channel_buffer_set &set,
                            uint32_t sample_count);

// Makes a position refer to an array that somebody else owns, releasing what the set owned there.
void lendPosition(const host_memory &memory, channel_buffer_set &set, unsigned slot,
                  int32_t *array);

// Empties a position: releases its array if the set owns it.
void releasePosition(const host_memory &memory, channel_buffer_set &set, unsigned slot);
