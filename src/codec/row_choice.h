#pragma once

#include "codec/row_paired.h"

// The choice among the vector codecs. Depths that a format does not have count as 16 bits, format
// codes outside 1..5 as PCM.

namespace {

template <typename V>
codec_pair choosePcm(unsigned channels, unsigned bits) {
    switch (bits) {
    case 8:
        return rowCodec<V, pcm8_rows<V>, PLAIN_PCM>(channels);
    case 24:
        return rowCodec<V, shuffled_rows<V, pcm24_order>, PLAIN_PCM>(channels);
    case 32:
        return rowCodec<V, pcm32_rows<V>, PLAIN_PCM>(channels);
    default:
        return rowCodec<V, shuffled_rows<V, pcm16_order>, PLAIN_PCM>(channels);
    }
}

template <typename V>
codec_pair chooseLpcmBe(unsigned channels, unsigned bits) {
    switch (bits) {
    case 20:
        return rowCodec<V, be20_rows<V>, PLAIN_LPCM_BE>(channels);
    case 24:
        return rowCodec<V, shuffled_rows<V, be24_order>, PLAIN_LPCM_BE>(channels);
    default:
        return rowCodec<V, shuffled_rows<V, be16_order>, PLAIN_LPCM_BE>(channels);
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

template <typename V, typename Rows>
codec_pair aes3Codec(unsigned channels) {
    if (channels == 2) {
        return codecPair<row_codec<Rows, stereo_kernel<V, Rows>, PLAIN_AES3>>();
    }
    if constexpr (V::FUSES_STAGES) {
        return channels == 4   ? codecPair<row_codec<Rows, quad_kernel<V, Rows, 4>, PLAIN_AES3>>()
               : channels == 6 ? codecPair<row_codec<Rows, six_kernel<V, Rows>, PLAIN_AES3>>()
                               : codecPair<row_codec<Rows, wide_kernel<V, Rows>, PLAIN_AES3>>();
    } else {
        return codecPair<tile_codec<V, row_stage<V, Rows, PLAIN_AES3>, PLAIN_AES3>>();
    }
}

template <typename V>
codec_pair chooseAes3(unsigned channels, unsigned bits) {
    switch (bits) {
    case 20:
        return aes3Codec<V, aes3_rows<V, 20>>(channels);
    case 24:
        return aes3Codec<V, aes3_rows<V, 24>>(channels);
    default:
        return aes3Codec<V, aes3_rows<V, 16>>(channels);
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
        return rowCodec<V, float_rows<V>, PLAIN_FLOAT>(channels);
    default:
        return choosePcm<V>(channels, bits);
    }
}

} // namespace
