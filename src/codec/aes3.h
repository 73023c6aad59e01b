#pragma once

#include "simd/kernels.h"

// AES3 in SMPTE 302M packing: blocks of a 4-byte header and whole frames. The functions handed in
// are the AES3 ones chosen for these channels and bits.

// Decodes the whole frames at hand and returns their count. byte_count is reduced by what was
// consumed. frame_remaining carries the payload bytes still due in the current block from call to
// call, 0 at the start of the stream.
//
// At least one frame follows every header, whatever its payload size; the next header is expected
// behind the frame that uses the payload up. A header that does not match channels and bits ends
// the call with 0: samples decoded before it in this call are not reported, it and everything
// behind it stay unconsumed, and frame_remaining is 0 or below.
uint32_t decodeAes3(const channel_pointers &out, const uint8_t *in, uint32_t &byte_count,
                    uint8_t channels, uint8_t bits, int32_t &frame_remaining,
                    decode_function decode_frames);

// Writes one block: the header, then the frames. The payload must stay below 65,536 bytes.
void encodeAes3(const channel_pointers &in, uint8_t *out, uint32_t samples, uint8_t channels,
                uint8_t bits, encode_function encode_frames);
