#pragma once

#include "codec/codec.h"
#include "codec/codec_dispatch.h"

// Both directions of a format, a vector form's settled for a channel count and a depth: it is
// called with no other.
struct codec_pair {
    decode_function decode;
    encode_function encode;
};

// The plain forms, of every channel count and depth.
inline constexpr codec_pair PLAIN_PCM = {decodePcm, encodePcm};
inline constexpr codec_pair PLAIN_LPCM_PAIRED = {decodeLpcmPaired, encodeLpcmPaired};
inline constexpr codec_pair PLAIN_LPCM_BE = {decodeLpcmBe, encodeLpcmBe};
inline constexpr codec_pair PLAIN_AES3 = {decodeAes3Frames, encodeAes3Frames};
inline constexpr codec_pair PLAIN_FLOAT = {decodeFloat, encodeFloat};

// The vector forms, for processors that have the instruction set. 1 to 8 channels, an even count
// for AES3.
codec_pair chooseCodecSsse3(uint8_t format, uint8_t channels, uint8_t bits);
codec_pair chooseCodecAvx2(uint8_t format, uint8_t channels, uint8_t bits);

// AES3 and float alone: the other formats hardly compute and gain nothing from the width.
codec_pair chooseCodecAvx512(uint8_t format, uint8_t channels, uint8_t bits);
