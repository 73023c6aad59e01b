#pragma once

#include "core/instance.h"

// The per-channel buffers of separate-channel input. The array of a channel that is not active is
// zero from its count to its capacity: a channel that has ended supplies its samples, then silence.

// The slot of a speaker channel in the input frame, or AUDIO_MAX_CHANNELS when it has none.
unsigned inputSlot(const audio_converter &converter, unsigned channel);

// Makes the array of a speaker channel hold sample_count samples, an exact fit; what it holds is
// kept. Returns 1 when memory runs out or the size limit is reached, with nothing changed.
uint32_t growChannelInput(audio_converter &converter, unsigned channel, uint64_t sample_count);

// Places the next `samples` samples of every speaker channel behind work.count, in input layout.
// With equal rates, where work.count is 0, `work` borrows the channels' own arrays; with a rate
// change they are copied behind the resampler's unconsumed input. Returns 1 when memory runs out;
// no channel has then lost a sample.
uint32_t presentBlock(audio_converter &converter, uint32_t samples);

// Zeroes the array of a speaker channel from behind its samples to its capacity.
void silenceBehind(const channel_input &input);

// The samples of the speaker channel that holds most.
uint32_t longestChannelInput(const audio_converter &converter);

// Samples of the temporary block that compactChannelInputs needs after a block of `samples`: what
// the fullest of the channels keeps that have more than half their array to move; 0 for none.
uint32_t compactionTemporary(const audio_converter &converter, uint32_t samples);

// Removes a block from every speaker channel and moves what remains to the start of its array,
// through the temporary block where that is more than half the array. Ended channels are silent
// behind it.
void compactChannelInputs(audio_converter &converter, uint32_t samples, int32_t *temporary);

// Removes a block from every speaker channel without moving anything: for the end of the stream,
// where nothing is appended any more.
void advanceChannelInputs(audio_converter &converter, uint32_t samples);
