#pragma once

#include "codec/codec.h"
#include "simd/kernels.h"

// The scalar codecs, for every channel count and depth; paired LPCM of 20 and 24 bits.
inline constexpr codec_pair PLAIN_PCM = {decodePcm, encodePcm};
inline constexpr codec_pair PLAIN_LPCM_PAIRED = {decodeLpcmPaired, encodeLpcmPaired};
inline constexpr codec_pair PLAIN_LPCM_BE = {decodeLpcmBe, encodeLpcmBe};
inline constexpr codec_pair PLAIN_AES3 = {decodeAes3Frames, encodeAes3Frames};
inline constexpr codec_pair PLAIN_FLOAT = {decodeFloat, encodeFloat};
