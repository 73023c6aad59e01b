#pragma once

#include "codec/tile_codecs.h"

// Paired LPCM of 20 and 24 bits. One and two channels have quads of their own. More take two
// stages. A pair of frames has 2 N samples, numbered as in the stream. Its quads begin at the
// samples 0, 4, .. and 2 N - 4; the last two may share samples. The words and the high bits of a
// quad are brought together in one lane:
//
//     | word 0 | ... | word 2N-1 | high bits of 0 .. 2N-1 |
//          | 4 words |                 | 4 high bits |         --> | 8 bytes | 4 or 2 bytes |
//
// The lanes of a vector hold the same quad of consecutive pairs of frames. Nothing beyond a pair is
// touched.

namespace {

template <typename V>
struct paired24 {
    static constexpr unsigned BITS = 24;
    template <unsigned Channels>
    using quads = shuffled_quads<V, paired24_order<Channels>>;
};

template <typename V>
struct paired20 {
    static constexpr unsigned BITS = 20;
    template <unsigned Channels>
    using quads = paired20_quads<V, Channels>;
};

// The pairs of frames that the lanes hold, from the pair `first` on. Lanes beyond the last pair
// repeat it.
template <typename V, typename T>
struct lane_pairs {
    T *at[V::LANES128];

    lane_pairs(T *pairs, size_t first, size_t count, size_t pair_size) {
        for (size_t i = 0; i < V::LANES128; ++i) {
            at[i] = pairs + (first + i < count ? first + i : count - 1) * pair_size;
        }
    }
};

template <typename V, typename Depth>
struct pair_stage {
    using quads = typename Depth::template quads<2>;
    static constexpr uint32_t FEWEST_SAMPLES = 0;
    static constexpr unsigned HIGH_BYTES = (Depth::BITS - 16) / 2; // of a quad

    size_t pair_samples;
    size_t pair_bytes;
    size_t quad_count;

    explicit pair_stage(unsigned channels)
        : pair_samples(2 * channels), pair_bytes(pair_samples * Depth::BITS / 8),
          quad_count((pair_samples + QUAD_SAMPLES - 1) / QUAD_SAMPLES) {
    }

    size_t bytesOf(uint32_t frames) const {
        return frames / 2 * pair_bytes;
    }
    size_t firstSample(size_t quad) const {
        return quad + 1 < quad_count ? QUAD_SAMPLES * quad : pair_samples - QUAD_SAMPLES;
    }
    static size_t wordsAt(size_t sample) {
        return 2 * sample;
    }
    size_t highAt(size_t sample) const {
        return 2 * pair_samples + sample * (Depth::BITS - 16) / 8;
    }

    void decode(int32_t *tile, const uint8_t *in, uint32_t frames) const {
        const size_t count = frames / 2;
        for (size_t g = 0; g < count; g += V::LANES128) {
            const lane_pairs<V, const uint8_t> bytes(in, g, count, pair_bytes);
            const lane_pairs<V, int32_t> samples(tile, g, count, pair_samples);
            for (size_t quad = 0; quad < quad_count; ++quad) {
                const size_t sample = firstSample(quad);
                lane128 lanes[V::LANES128];
                for (size_t i = 0; i < V::LANES128; ++i) {
                    lanes[i] = appendFew<HIGH_BYTES>(loadWhole<8>(bytes.at[i] + wordsAt(sample)),
                                                     bytes.at[i] + highAt(sample));
                }
                V::split(quads::template unpack<0>(V::join(lanes)), lanes);
                for (size_t i = 0; i < V::LANES128; ++i) {
                    storeWhole<LANE128_BYTES>(samples.at[i] + sample, lanes[i]);
                }
            }
        }
    }

    void encode(const int32_t *tile, uint8_t *out, uint32_t frames) const {
        const size_t count = frames / 2;
        for (size_t g = 0; g < count; g += V::LANES128) {
            const lane_pairs<V, const int32_t> samples(tile, g, count, pair_samples);
            const lane_pairs<V, uint8_t> bytes(out, g, count, pair_bytes);
            for (size_t quad = 0; quad < quad_count; ++quad) {
                const size_t sample = firstSample(quad);
                lane128 lanes[V::LANES128];
                for (size_t i = 0; i < V::LANES128; ++i) {
                    lanes[i] = loadWhole<LANE128_BYTES>(samples.at[i] + sample);
                }
                V::split(quads::pack(V::join(lanes)), lanes);
                for (size_t i = 0; i < V::LANES128; ++i) {
                    storeWhole<8>(bytes.at[i] + wordsAt(sample), lanes[i]);
                    storeHighFew<HIGH_BYTES>(bytes.at[i] + highAt(sample), lanes[i]);
                }
            }
        }
    }
};

template <typename V, typename Depth>
codec_pair pairedCodec(unsigned channels) {
    if (channels <= 2) {
        using mono_quads = typename Depth::template quads<1>;
        using stereo_quads = typename Depth::template quads<2>;
        return channels == 1
                   ? codecPair<
                         quad_codec<mono_quads, mono_kernel<V, mono_quads>, PLAIN_LPCM_PAIRED>>()
                   : codecPair<quad_codec<stereo_quads, stereo_kernel<V, stereo_quads>,
                                          PLAIN_LPCM_PAIRED>>();
    }
    return codecPair<tile_codec<V, pair_stage<V, Depth>, PLAIN_LPCM_PAIRED>>();
}

} // namespace
