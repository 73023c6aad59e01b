#pragma once

#include "codec/codec_dispatch.h"

// Both directions of a format, settled for a channel count and a depth.
struct codec_pair {
    decode_function decode;
    encode_function encode;
};

// The vector forms, each for processors that have its instruction set. 1 to 8 channels, an even
// count for AES3; the functions take no other channel count and depth than they were chosen for.
codec_pair chooseCodecAvx2(uint8_t format, uint8_t channels, uint8_t bits);
