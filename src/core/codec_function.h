#pragma once

#include "core/channel_pointers.h"

// Every decoder and every encoder of plain frames has one of these shapes: the channel arrays, the
// bytes, the samples per channel, the channel count and the depth.
using decode_function = void (*)(const channel_pointers &out, const uint8_t *in, uint32_t samples,
                                 uint8_t channels, uint8_t bits);
using encode_function = void (*)(const channel_pointers &in, uint8_t *out, uint32_t samples,
                                 uint8_t channels, uint8_t bits);
