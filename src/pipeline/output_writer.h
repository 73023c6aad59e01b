#pragma once

#include "core/instance.h"

// False while nothing can ever be written: no stream is attached to a slot of the output, the frame
// size or a stream's share of it is below one unit, or AES3 would go to separate streams.
inline bool canWrite(const audio_converter &converter) {
    return converter.output.largest_chunk != 0;
}

// Encodes the set's samples in the output format and hands them to the attached streams, each from
// its own position on, in chunks bounded by out_frame_size and by what the stream can take.
// Allocates nothing.
//
// Returns 0 when every stream has accepted all; an odd last frame of the two LPCM formats stays.
// Returns 1 when nothing can be written, a reserve gave null, or no room came for 2 seconds. What
// some stream has not accepted stays in the set.
uint32_t writeOutput(audio_converter &converter, channel_buffer_set &set);

// The same for whole frames of interleaved input that `output.direct` converts, as long as the
// stream takes them: no sample passes through `work`. What it does not take, and all as soon as an
// area overlaps the rest, is decoded into `work`, which is empty and has room for it.
uint32_t writeDirectly(audio_converter &converter, const uint8_t *frames, uint32_t samples);
