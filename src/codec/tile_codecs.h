#pragma once

#include "codec/quad_codecs.h"

// Codecs in two stages, over a tile of interleaved 32-bit samples:
//
//     bytes <-- the format, a Stage --> tile <-- 32-bit PCM of the channel count --> channel arrays
//
// N formats and M channel counts so need N + M kernels instead of N * M. A Stage is made for a
// channel count. It gives the bytes of a number of frames, and decodes and encodes tiles of
// FEWEST_SAMPLES or more.

namespace {

constexpr uint32_t TILE_SAMPLES = 2048;
constexpr uint32_t STEP_FRAMES = 16; // whole steps of every kernel that fills tiles

// Whole steps, and so whole pairs of frames.
inline uint32_t tileFrames(uint32_t left, unsigned channels) {
    const uint32_t most = TILE_SAMPLES / channels / STEP_FRAMES * STEP_FRAMES;
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
        const auto deinterleave = fusedCodec<V, pcm32_quads<V>, PLAIN_PCM>(channels).decode;
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
        const auto interleave = fusedCodec<V, pcm32_quads<V>, PLAIN_PCM>(channels).encode;
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

// Formats that do not care where a frame ends: all samples are taken as one channel. The depth, 0,
// is never looked at: from FEWEST_SAMPLES on the codec does without PLAIN.
template <typename V, typename Quads, const codec_pair &PLAIN>
struct quad_stage {
    using codec = quad_codec<Quads, mono_kernel<V, Quads>, PLAIN>;
    static constexpr uint32_t FEWEST_SAMPLES = mono_kernel<V, Quads>::FRAMES;

    explicit quad_stage(unsigned channel_count) : channels(channel_count) {
    }
    void decode(int32_t *tile, const uint8_t *in, uint32_t frames) const {
        codec::decode({tile}, in, frames * channels, 1, 0);
    }
    void encode(int32_t *tile, uint8_t *out, uint32_t frames) const {
        codec::encode({tile}, out, frames * channels, 1, 0);
    }
    size_t bytesOf(uint32_t frames) const {
        return size_t{frames} * channels * Quads::BYTES / QUAD_SAMPLES;
    }

    unsigned channels;
};

// One and two channels have kernels of their own at every level. More channels have them where a
// vector is one register. Vectors of two registers take two stages, for the sake of code size.
template <typename V, typename Quads, const codec_pair &PLAIN>
codec_pair quadCodec(unsigned channels) {
    switch (channels) {
    case 1:
        return codecPair<quad_codec<Quads, mono_kernel<V, Quads>, PLAIN>>();
    case 2:
        return codecPair<quad_codec<Quads, stereo_kernel<V, Quads>, PLAIN>>();
    default:
        if constexpr (V::FUSES_STAGES) {
            return fusedCodec<V, Quads, PLAIN>(channels);
        } else {
            return codecPair<tile_codec<V, quad_stage<V, Quads, PLAIN>, PLAIN>>();
        }
    }
}

} // namespace
