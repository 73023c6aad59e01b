#pragma once

#include "codec/tile_codecs.h"

// Paired LPCM of 20 and 24 bits. One and two channels have rows of their own. More take two stages:
// a group of 2 N samples, numbered as in the stream, is taken in rows of four from 0, 4, .. and
// 2 N - 4 on, of which the last two may share samples. A row's words and its high bits are brought
// together into one lane:
//
//     | word 0 | ... | word 2N-1 | high bits of 0 .. 2N-1 |
//          | 4 words |                 | 4 high bits |         --> | 8 bytes | 4 or 2 bytes |
//
// The lanes of a vector hold the same row of consecutive groups. Nothing reaches beyond a group.

namespace {

template <typename V>
struct paired24 {
    static constexpr unsigned BITS = 24;
    template <unsigned Channels>
    using rows = shuffled_rows<V, paired24_order<Channels>>;
};

template <typename V>
struct paired20 {
    static constexpr unsigned BITS = 20;
    template <unsigned Channels>
    using rows = paired20_rows<V, Channels>;
};

// The groups that the lanes hold, from the group `first` on. Lanes beyond the last group repeat it.
template <typename V, typename T>
struct lane_groups {
    T *at[V::LANES];

    lane_groups(T *groups, size_t first, size_t count, size_t group_size) {
        for (size_t i = 0; i < V::LANES; ++i) {
            at[i] = groups + (first + i < count ? first + i : count - 1) * group_size;
        }
    }
};

template <typename V, typename Depth>
struct group_stage {
    using rows = typename Depth::template rows<2>;
    static constexpr uint32_t FEWEST_SAMPLES = 0;
    static constexpr unsigned HIGH_BYTES = (Depth::BITS - 16) / 2; // of a row

    size_t group_samples;
    size_t group_bytes;
    size_t row_count;

    explicit group_stage(unsigned channels)
        : group_samples(2 * channels), group_bytes(group_samples * Depth::BITS / 8),
          row_count((group_samples + ROW_SAMPLES - 1) / ROW_SAMPLES) {
    }

    size_t bytesOf(uint32_t frames) const {
        return frames / 2 * group_bytes;
    }
    size_t firstSample(size_t row) const {
        return row + 1 < row_count ? ROW_SAMPLES * row : group_samples - ROW_SAMPLES;
    }
    static size_t wordsAt(size_t sample) {
        return 2 * sample;
    }
    size_t highAt(size_t sample) const {
        return 2 * group_samples + sample * (Depth::BITS - 16) / 8;
    }

    void decode(int32_t *tile, const uint8_t *in, uint32_t frames) const {
        const size_t count = frames / 2;
        for (size_t g = 0; g < count; g += V::LANES) {
            const lane_groups<V, const uint8_t> bytes(in, g, count, group_bytes);
            const lane_groups<V, int32_t> samples(tile, g, count, group_samples);
            for (size_t row = 0; row < row_count; ++row) {
                const size_t sample = firstSample(row);
                lane lanes[V::LANES];
                for (size_t i = 0; i < V::LANES; ++i) {
                    lanes[i] = appendFew<HIGH_BYTES>(loadWhole<8>(bytes.at[i] + wordsAt(sample)),
                                                     bytes.at[i] + highAt(sample));
                }
                V::split(rows::template unpack<0>(V::join(lanes)), lanes);
                for (size_t i = 0; i < V::LANES; ++i) {
                    storeWhole<LANE_BYTES>(samples.at[i] + sample, lanes[i]);
                }
            }
        }
    }

    void encode(const int32_t *tile, uint8_t *out, uint32_t frames) const {
        const size_t count = frames / 2;
        for (size_t g = 0; g < count; g += V::LANES) {
            const lane_groups<V, const int32_t> samples(tile, g, count, group_samples);
            const lane_groups<V, uint8_t> bytes(out, g, count, group_bytes);
            for (size_t row = 0; row < row_count; ++row) {
                const size_t sample = firstSample(row);
                lane lanes[V::LANES];
                for (size_t i = 0; i < V::LANES; ++i) {
                    lanes[i] = loadWhole<LANE_BYTES>(samples.at[i] + sample);
                }
                V::split(rows::pack(V::join(lanes)), lanes);
                for (size_t i = 0; i < V::LANES; ++i) {
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
        using mono_rows = typename Depth::template rows<1>;
        using stereo_rows = typename Depth::template rows<2>;
        return channels == 1
                   ? codecPair<row_codec<mono_rows, mono_kernel<V, mono_rows>, PLAIN_LPCM_PAIRED>>()
                   : codecPair<row_codec<stereo_rows, stereo_kernel<V, stereo_rows>,
                                         PLAIN_LPCM_PAIRED>>();
    }
    return codecPair<tile_codec<V, group_stage<V, Depth>, PLAIN_LPCM_PAIRED>>();
}

} // namespace
