#pragma once

#include "api/instance.h"

// Encodes the set's samples in the output format and hands them to the attached streams, in chunks
// bounded by out_frame_size and by what each stream can take. Allocates nothing.
//
// Returns 0 when all were written; an odd last frame of the two LPCM formats stays, alone, at the
// start of the arrays. Returns 1 when the output refused: nothing can ever be written (no stream,
// a frame size below one frame, AES3 to separate streams), a reserve gave null, or no room came
// for 2 seconds. The samples not written are then moved to the start of the arrays and `count`
// says how many they are.
uint32_t writeOutput(audio_converter &converter, channel_buffer_set &set);
