#pragma once

#include "codec/quad_paired.h"

// The choice among the vector codecs. Depths that a format does not have count as 16 bits, format
// codes outside 1..5 as PCM.

namespace {

template <typename V>
codec_pair choosePcm(unsigned channels, unsigned bits) {
    switch (bits) {
    case 8:
        return quadCodec<V, pcm8_quads<V>, PLAIN_PCM>(channels);
    case 24:
        return quadCodec<V, shuffled_quads<V, pcm24_order>, PLAIN_PCM>(channels);
    case 32:
        return quadCodec<V, pcm32_quads<V>, PLAIN_PCM>(channels);
    default:
        return quadCodec<V, shuffled_quads<V, pcm16_order>, PLAIN_PCM>(channels);
    }
}

template <typename V>
codec_pair chooseLpcmBe(unsigned channels, unsigned bits) {
    switch (bits) {
    case 20:
        return quadCodec<V, be20_quads<V>, PLAIN_LPCM_BE>(channels);
    case 24:
        return quadCodec<V, shuffled_quads<V, be24_order>, PLAIN_LPCM_BE>(channels);
    default:
        return quadCodec<V, shuffled_quads<V, be16_order>, PLAIN_LPCM_BE>(channels);
    }
}

template <typename V>
codec_pair chooseLpcmPaired(unsigned channels, unsigned bits) {
    switch (bits) {
    case 20:
        return pairedCodec<V, paired20<V>>(channels);
    case 24:
        return pairedCodec<V, paired24<V>>(channels);
    default:
        return chooseLpcmBe<V>(channels, 16); // the words are the samples
    }
}

template <typename V, typename Quads>
codec_pair aes3Codec(unsigned channels) {
    if (channels == 2) {
        return codecPair<quad_codec<Quads, stereo_kernel<V, Quads>, PLAIN_AES3>>();
    }
    if constexpr (V::FUSES_STAGES) {
        return channels == 4
                   ? codecPair<quad_codec<Quads, narrow_kernel<V, Quads, 4>, PLAIN_AES3>>()
               : channels == 6 ? codecPair<quad_codec<Quads, six_kernel<V, Quads>, PLAIN_AES3>>()
                               : codecPair<quad_codec<Quads, wide_kernel<V, Quads>, PLAIN_AES3>>();
    } else {
        return codecPair<tile_codec<V, quad_stage<V, Quads, PLAIN_AES3>, PLAIN_AES3>>();
    }
}

template <typename V>
codec_pair chooseAes3(unsigned channels, unsigned bits) {
    switch (bits) {
    case 20:
        return aes3Codec<V, aes3_quads<V, 20>>(channels);
    case 24:
        return aes3Codec<V, aes3_quads<V, 24>>(channels);
    default:
        return aes3Codec<V, aes3_quads<V, 16>>(channels);
    }
}

// 1 to 8 channels, an even count for AES3.
template <typename V>
codec_pair chooseCodec(uint8_t format, unsigned channels, unsigned bits) {
    switch (format) {
    case AUDIO_FORMAT_LPCM_PAIRED:
        return chooseLpcmPaired<V>(channels, bits);
    case AUDIO_FORMAT_LPCM_BE:
        return chooseLpcmBe<V>(channels, bits);
    case AUDIO_FORMAT_AES3:
        return chooseAes3<V>(channels, bits);
    case AUDIO_FORMAT_FLOAT:
        return quadCodec<V, float_quads<V>, PLAIN_FLOAT>(channels);
    default:
        return choosePcm<V>(channels, bits);
    }
}

} // namespace
