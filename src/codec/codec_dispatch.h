#pragma once

#include "codec/channel_pointers.h"
#include "cpu_level.h"

// Every decoder and every encoder of plain frames has one of these shapes.
using decode_function = void (*)(const channel_pointers &out, const uint8_t *in, uint32_t samples,
                                 uint8_t channels, uint8_t bits);
using encode_function = void (*)(const channel_pointers &in, uint8_t *out, uint32_t samples,
                                 uint8_t channels, uint8_t bits);

// The form that suits the instruction set, settled once for the channel count and the depth that it
// is then always called with. Every form gives the same result as the plain one. Format
// codes outside 1..5 count as PCM.
decode_function chooseDecoder(cpu_level level, uint8_t format, uint8_t channels, uint8_t bits);
encode_function chooseEncoder(cpu_level level, uint8_t format, uint8_t channels, uint8_t bits);
