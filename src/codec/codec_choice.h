#pragma once

#include "simd/kernels.h"

// The codec of a kernel set for a format, a channel count and a depth, which is then always called
// with these. Format codes outside 1..5 count as PCM. One channel of AES3, which makes no pair, has
// a codec that is never called.
codec_pair chooseCodec(const kernel_set &kernels, uint8_t format, uint8_t channels, uint8_t bits);
