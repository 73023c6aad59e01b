#pragma once

#include "core/channel_pointers.h"

#include <cstddef>

// Every decoder and every encoder of plain frames has one of these shapes: the channel arrays, the
// bytes, the samples per channel, the channel count and the depth.
using decode_function = void (*)(const channel_pointers &out, const uint8_t *in, uint32_t samples,
                                 uint8_t channels, uint8_t bits);
using encode_function = void (*)(const channel_pointers &in, uint8_t *out, uint32_t samples,
                                 uint8_t channels, uint8_t bits);

// Interleaved samples from one format to another, without the channel arrays between. The areas do
// not overlap.
constexpr size_t CONVERSION_FEWEST_SAMPLES = 32;
using convert_function = void (*)(uint8_t *out, const uint8_t *in, size_t samples);

// How the samples of one format become those of another, whatever channels they belong to.
struct sample_conversion {
    convert_function kernel; // null: `decode` and `encode`, as of one channel
    decode_function decode;
    encode_function encode;
    uint8_t input_bits;
    uint8_t output_bits;
    uint8_t input_bytes; // of a sample; 0: the formats do not go sample by sample
    uint8_t output_bytes;
};
