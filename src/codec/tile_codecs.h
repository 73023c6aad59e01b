#pragma once

#include "codec/row_codecs.h"

// Codecs in two stages, over a tile of interleaved 32-bit samples:
//
//     bytes <-- the format, a Stage --> tile <-- 32-bit PCM of the channel count --> channel arrays
//
// A Stage knows its channel count; `bytesOf` frames, `decode` and `encode` whole tiles of at least
// FEWEST_SAMPLES. So N formats and M channel counts make N + M kernels instead of N * M.

namespace {

constexpr uint32_t TILE_SAMPLES = 2048;

// Whole steps of any kernel, and so whole pairs of frames.
inline uint32_t tileFrames(uint32_t left, unsigned channels) {
    const uint32_t most = TILE_SAMPLES / channels / 16 * 16;
    return left < most ? left : most;
}

inline void advance(channel_pointers &pointers, unsigned channels, uint32_t frames) {
    for (unsigned c = 0; c < channels; ++c) {
        pointers[c] += frames;
    }
}

// Three and more channels.
template <typename V, typename Stage, const codec_pair &PLAIN>
struct tile_codec {
    static void decode(const channel_pointers &out, const uint8_t *in, uint32_t samples,
                       uint8_t channels, uint8_t bits) {
        const auto deinterleave = fusedCodec<V, pcm32_rows<V>, PLAIN_PCM>(channels).decode;
        const Stage stage(channels);
        alignas(64) int32_t tile[TILE_SAMPLES];
        channel_pointers behind;
        memcpy(behind, out, channels * sizeof *behind);
        for (uint32_t left = samples; left != 0;) {
            const uint32_t frames = tileFrames(left, channels);
            if (frames * channels < Stage::FEWEST_SAMPLES) {
                return PLAIN.decode(behind, in, frames, channels, bits);
            }
            stage.decode(tile, in, frames);
            deinterleave(behind, reinterpret_cast<const uint8_t *>(tile), frames, channels, 32);
            advance(behind, channels, frames);
            in += stage.bytesOf(frames);
            left -= frames;
        }
    }

    static void encode(const channel_pointers &in, uint8_t *out, uint32_t samples, uint8_t channels,
                       uint8_t bits) {
        const auto interleave = fusedCodec<V, pcm32_rows<V>, PLAIN_PCM>(channels).encode;
        const Stage stage(channels);
        alignas(64) int32_t tile[TILE_SAMPLES];
        channel_pointers behind;
        memcpy(behind, in, channels * sizeof *behind);
        for (uint32_t left = samples; left != 0;) {
            const uint32_t frames = tileFrames(left, channels);
            if (frames * channels < Stage::FEWEST_SAMPLES) {
                return PLAIN.encode(behind, out, frames, channels, bits);
            }
            interleave(behind, reinterpret_cast<uint8_t *>(tile), frames, channels, 32);
            stage.encode(tile, out, frames);
            advance(behind, channels, frames);
            out += stage.bytesOf(frames);
            left -= frames;
        }
    }
};

// Rows, which do not care where a frame ends: all samples are taken as one channel.
template <typename V, typename Rows, const codec_pair &PLAIN>
struct row_stage {
    using codec = row_codec<Rows, mono_kernel<V, Rows>, PLAIN>;
    static constexpr uint32_t FEWEST_SAMPLES = mono_kernel<V, Rows>::FRAMES;

    explicit row_stage(unsigned channel_count) : channels(channel_count) {
    }
    void decode(int32_t *tile, const uint8_t *in, uint32_t frames) const {
        codec::decode({tile}, in, frames * channels, 1, 0);
    }
    void encode(int32_t *tile, uint8_t *out, uint32_t frames) const {
        codec::encode({tile}, out, frames * channels, 1, 0);
    }
    size_t bytesOf(uint32_t frames) const {
        return size_t{frames} * channels * Rows::BYTES / ROW_SAMPLES;
    }

    unsigned channels;
};

// One and two channels have kernels of their own everywhere. More have where a vector is one
// register; two registers a vector are so much code that they take two stages.
template <typename V, typename Rows, const codec_pair &PLAIN>
codec_pair rowCodec(unsigned channels) {
    switch (channels) {
    case 1:
        return codecPair<row_codec<Rows, mono_kernel<V, Rows>, PLAIN>>();
    case 2:
        return codecPair<row_codec<Rows, stereo_kernel<V, Rows>, PLAIN>>();
    default:
        if constexpr (V::FUSES_STAGES) {
            return fusedCodec<V, Rows, PLAIN>(channels);
        } else {
            return codecPair<tile_codec<V, row_stage<V, Rows, PLAIN>, PLAIN>>();
        }
    }
}

} // namespace
