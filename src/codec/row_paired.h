#pragma once

#include "codec/row_codecs.h"

// Paired LPCM of 20 and 24 bits. One and two channels have rows of their own. More go over a tile
// of interleaved 32-bit samples: a group of 2 N samples, numbered as in the stream, is taken in
// rows of four from 0, 4, .. and 2 N - 4 on, of which the last two may share samples. A row's words
// and its high bits are brought together into one lane:
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

    static __m128i join(__m128i words, const uint8_t *high) {
        int32_t bits;
        memcpy(&bits, high, sizeof bits);
        return _mm_unpacklo_epi64(words, _mm_cvtsi32_si128(bits));
    }
    static void storeHigh(uint8_t *high, __m128i row) {
        _mm_storeu_si32(high, _mm_unpackhi_epi64(row, row));
    }
};

template <typename V>
struct paired20 {
    static constexpr unsigned BITS = 20;
    template <unsigned Channels>
    using rows = paired20_rows<V, Channels>;

    static __m128i join(__m128i words, const uint8_t *high) {
        uint16_t bits;
        memcpy(&bits, high, sizeof bits);
        return _mm_insert_epi16(words, bits, 4);
    }
    static void storeHigh(uint8_t *high, __m128i row) {
        const auto bits = static_cast<uint16_t>(_mm_extract_epi16(row, 4));
        memcpy(high, &bits, sizeof bits);
    }
};

// Where a row of a group stands in its bytes.
template <typename Depth>
struct group_layout {
    size_t group_samples;
    size_t group_bytes;
    size_t row_count;

    explicit group_layout(unsigned channels)
        : group_samples(2 * channels), group_bytes(group_samples * Depth::BITS / 8),
          row_count((group_samples + 3) / 4) {
    }

    size_t firstSample(size_t row) const {
        return row + 1 < row_count ? 4 * row : group_samples - 4;
    }
    size_t wordsAt(size_t sample) const {
        return 2 * sample;
    }
    size_t highAt(size_t sample) const {
        return 2 * group_samples + sample * (Depth::BITS - 16) / 8;
    }
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

// Bytes of `count` groups to interleaved samples.
template <typename V, typename Depth>
void groupsToTile(int32_t *tile, const uint8_t *in, size_t count,
                  const group_layout<Depth> &layout) {
    using rows = typename Depth::template rows<2>;
    for (size_t g = 0; g < count; g += V::LANES) {
        const lane_groups<V, const uint8_t> bytes(in, g, count, layout.group_bytes);
        const lane_groups<V, int32_t> samples(tile, g, count, layout.group_samples);
        for (size_t row = 0; row < layout.row_count; ++row) {
            const size_t sample = layout.firstSample(row);
            __m128i lanes[V::LANES];
            for (size_t i = 0; i < V::LANES; ++i) {
                const uint8_t *words = bytes.at[i] + layout.wordsAt(sample);
                lanes[i] = Depth::join(_mm_loadl_epi64(reinterpret_cast<const __m128i *>(words)),
                                       bytes.at[i] + layout.highAt(sample));
            }
            V::split(rows::unpack(V::join(lanes)), lanes);
            for (size_t i = 0; i < V::LANES; ++i) {
                _mm_storeu_si128(reinterpret_cast<__m128i *>(samples.at[i] + sample), lanes[i]);
            }
        }
    }
}

// The opposite.
template <typename V, typename Depth>
void tileToGroups(const int32_t *tile, uint8_t *out, size_t count,
                  const group_layout<Depth> &layout) {
    using rows = typename Depth::template rows<2>;
    for (size_t g = 0; g < count; g += V::LANES) {
        const lane_groups<V, const int32_t> samples(tile, g, count, layout.group_samples);
        const lane_groups<V, uint8_t> bytes(out, g, count, layout.group_bytes);
        for (size_t row = 0; row < layout.row_count; ++row) {
            const size_t sample = layout.firstSample(row);
            __m128i lanes[V::LANES];
            for (size_t i = 0; i < V::LANES; ++i) {
                lanes[i] =
                    _mm_loadu_si128(reinterpret_cast<const __m128i *>(samples.at[i] + sample));
            }
            V::split(rows::pack(V::join(lanes)), lanes);
            for (size_t i = 0; i < V::LANES; ++i) {
                uint8_t *words = bytes.at[i] + layout.wordsAt(sample);
                _mm_storel_epi64(reinterpret_cast<__m128i *>(words), lanes[i]);
                Depth::storeHigh(bytes.at[i] + layout.highAt(sample), lanes[i]);
            }
        }
    }
}

constexpr uint32_t TILE_SAMPLES = 2048;

template <typename V, typename Depth>
struct tile_codec {
    // Whole steps of any kernel, and so whole pairs.
    static uint32_t tileFrames(uint32_t left, unsigned channels) {
        const uint32_t most = TILE_SAMPLES / channels / 16 * 16;
        return left < most ? left : most;
    }

    static void decode(const channel_pointers &out, const uint8_t *in, uint32_t samples,
                       uint8_t channels, uint8_t /*bits*/) {
        const decode_function deinterleave = rowCodec<V, pcm32_rows<V>, PLAIN_PCM>(channels).decode;
        const group_layout<Depth> layout(channels);
        alignas(64) int32_t tile[TILE_SAMPLES];
        channel_pointers behind;
        memcpy(behind, out, channels * sizeof *behind);
        for (uint32_t left = samples & ~1u; left != 0;) {
            const uint32_t frames = tileFrames(left, channels);
            groupsToTile<V, Depth>(tile, in, frames / 2, layout);
            deinterleave(behind, reinterpret_cast<const uint8_t *>(tile), frames, channels, 32);
            advance(behind, channels, frames);
            in += frames / 2 * layout.group_bytes;
            left -= frames;
        }
    }

    static void encode(const channel_pointers &in, uint8_t *out, uint32_t samples, uint8_t channels,
                       uint8_t /*bits*/) {
        const encode_function interleave = rowCodec<V, pcm32_rows<V>, PLAIN_PCM>(channels).encode;
        const group_layout<Depth> layout(channels);
        alignas(64) int32_t tile[TILE_SAMPLES];
        channel_pointers behind;
        memcpy(behind, in, channels * sizeof *behind);
        for (uint32_t left = samples & ~1u; left != 0;) {
            const uint32_t frames = tileFrames(left, channels);
            interleave(behind, reinterpret_cast<uint8_t *>(tile), frames, channels, 32);
            tileToGroups<V, Depth>(tile, out, frames / 2, layout);
            advance(behind, channels, frames);
            out += frames / 2 * layout.group_bytes;
            left -= frames;
        }
    }

    static void advance(channel_pointers &pointers, unsigned channels, uint32_t frames) {
        for (unsigned c = 0; c < channels; ++c) {
            pointers[c] += frames;
        }
    }
};

template <typename V, typename Depth>
codec_pair pairedCodec(unsigned channels) {
    using mono_rows = typename Depth::template rows<1>;
    using stereo_rows = typename Depth::template rows<2>;
    switch (channels) {
    case 1:
        return codecPair<row_codec<mono_rows, mono_kernel<V, mono_rows>, PLAIN_LPCM_PAIRED, 2>>();
    case 2:
        return codecPair<
            row_codec<stereo_rows, stereo_kernel<V, stereo_rows>, PLAIN_LPCM_PAIRED, 2>>();
    default:
        return codecPair<tile_codec<V, Depth>>();
    }
}

} // namespace
