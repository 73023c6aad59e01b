#pragma once

#include "core/instance.h"

// Output that the streams have not accepted yet waits at the start of one set. Every slot has a
// position of its own in it:
//
//   0         oldest                                 count
//   |  taken  |  slot 1 has these to write  |
//   |  taken by slot 0 too        |  new    |        <- next block is appended here
//             output_position[1]  output_position[0]
//
// A slot without a stream stands at the oldest position. What all streams have accepted is dropped
// once moving the rest costs no more than writing it did.

// The set that output waits in: `work` itself for interleaved input at equal rates.
inline channel_buffer_set &heldOutput(audio_converter &converter) {
    const bool in_work =
        hasEqualRates(converter) && converter.settings.input_separate_channels == 0;
    return in_work ? converter.work : converter.resampled;
}

// The position of the attached stream that is furthest behind; 0 without streams.
uint32_t oldestPosition(const audio_converter &converter);

// Samples of the held output that some stream has not accepted.
uint32_t waitingSamples(const audio_converter &converter, const channel_buffer_set &set);

// True when the streams could be asked to accept some of it: more than an odd frame that waits for
// its partner.
bool outputWaits(const audio_converter &converter, const channel_buffer_set &set);

// Moves every position back by `samples`, which leave the start of the held output.
void moveBackPositions(audio_converter &converter, uint32_t samples);

// Ends a call of the writer: drops what all streams have accepted from the start of the set, unless
// more than that would have to be moved, and notes whether output waits in the set.
void dropAccepted(audio_converter &converter, channel_buffer_set &set);

// Appends what `work` holds from `first` on to `resampled`, which has room for it, and empties
// `work`.
void holdWork(audio_converter &converter, uint32_t first);
