#pragma once

#include "api/instance.h"

// Mixes, resamples and writes the next `samples` samples of all speaker channels; they stay in the
// channel buffers. What waits from earlier calls leaves first, in the same call of the writer; what
// the streams do not accept waits in `resampled`. `taken` tells whether the block went through: one
// that memory ran out for leaves the converter as it was and calls no stream. Returns 1 then, and
// when the output is full.
uint32_t runBlock(audio_converter &converter, uint32_t samples, bool &taken);

// runBlock, then the block is removed from the channel buffers. `taken` as above.
uint32_t processBlock(audio_converter &converter, uint32_t samples, bool &taken);
