#pragma once

#include "core/codec_function.h"
#include "cpu_level.h"

// The form that suits the instruction set, settled once for the channel count and the depth that it
// is then always called with. Every form gives the same result as the plain one. Format
// codes outside 1..5 count as PCM.
decode_function chooseDecoder(cpu_level level, uint8_t format, uint8_t channels, uint8_t bits);
encode_function chooseEncoder(cpu_level level, uint8_t format, uint8_t channels, uint8_t bits);
