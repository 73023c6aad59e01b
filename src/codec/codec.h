#pragma once

#include "core/channel_pointers.h"

// The five sample formats, between bytes and signed 32-bit samples.
//
// One shape for all: the channel arrays (slots 0..channels-1), the bytes, the samples per channel,
// the channel count and the depth. An n-bit sample sits in the top n bits of its 32; decoders fill
// the bits below with zeros, encoders drop them (truncation towards minus infinity). Every codec
// is one pass without allocation; an encoder writes exactly
// audioConverterSamplesToBytes(samples, format, channels, bits) bytes, AES3 less its header.
//
// Unless said otherwise, a depth that the format does not have counts as 16 bits.

// Little-endian linear PCM: 8 (unsigned, 128 is silence), 16, 24 or 32 bits.
void decodePcm(const channel_pointers &out, const uint8_t *in, uint32_t samples, uint8_t channels,
               uint8_t bits);
void encodePcm(const channel_pointers &in, uint8_t *out, uint32_t samples, uint8_t channels,
               uint8_t bits);

// Big-endian LPCM in whole bytes: 16, 20 (in 3 bytes, sign-extended by the encoder) or 24 bits.
void decodeLpcmBe(const channel_pointers &out, const uint8_t *in, uint32_t samples,
                  uint8_t channels, uint8_t bits);
void encodeLpcmBe(const channel_pointers &in, uint8_t *out, uint32_t samples, uint8_t channels,
                  uint8_t bits);

// Big-endian LPCM in pairs of frames, low words before high bits: 20 bits, or 24 for any other
// depth. The sample count is even. With 16 bits the words are whole samples, frame by frame: that
// is the layout above, and its codec.
void decodeLpcmPaired(const channel_pointers &out, const uint8_t *in, uint32_t samples,
                      uint8_t channels, uint8_t bits);
void encodeLpcmPaired(const channel_pointers &in, uint8_t *out, uint32_t samples, uint8_t channels,
                      uint8_t bits);

// The sample that the float 1.0 stands for, 2^31 - 2.
constexpr double FLOAT_FULL_SCALE = 2147483646.0;

// Little-endian IEEE 754 singles; bits plays no part. The decoder saturates beyond full scale and
// reads not-a-number as 0.
void decodeFloat(const channel_pointers &out, const uint8_t *in, uint32_t samples, uint8_t channels,
                 uint8_t bits);
void encodeFloat(const channel_pointers &in, uint8_t *out, uint32_t samples, uint8_t channels,
                 uint8_t bits);

// Frames of AES3 in SMPTE 302M packing, without block headers: 16, 20 or 24 bits, 2, 4, 6 or 8
// channels.
void decodeAes3Frames(const channel_pointers &out, const uint8_t *in, uint32_t samples,
                      uint8_t channels, uint8_t bits);
void encodeAes3Frames(const channel_pointers &in, uint8_t *out, uint32_t samples, uint8_t channels,
                      uint8_t bits);
