#pragma once

#include "core/instance.h"

// What became of a block of separate-channel input.
enum block_result : uint8_t {
    BLOCK_WRITTEN,
    BLOCK_HELD,   // it went through, but a stream is full: output waits
    BLOCK_FAILED, // no memory: the converter is as it was, and no stream was called
};

// Mixes, resamples and writes the next `samples` samples of all speaker channels; they stay in the
// channel buffers. What waits from earlier calls leaves first, in the same call of the writer; what
// the streams do not accept waits in `resampled`.
block_result runBlock(audio_converter &converter, uint32_t samples);

// runBlock; a block that went through is removed from the channel buffers.
block_result processBlock(audio_converter &converter, uint32_t samples);
