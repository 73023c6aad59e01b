#pragma once

#include "api/instance.h"

// Mixes, resamples and writes the next `samples` samples of all speaker channels; they stay in the
// channel buffers. `taken` tells whether they went through: a block that memory ran out for leaves
// the converter as it was. Returns 1 then, and when the output refused; with equal rates what was
// not written is dropped, with a rate change it waits in `resampled`.
uint32_t runBlock(audio_converter &converter, uint32_t samples, bool &taken);

// runBlock, then the block is removed from the channel buffers, whether or not the output refused
// it. `taken` as above.
uint32_t processBlock(audio_converter &converter, uint32_t samples, bool &taken);
