#pragma once

#include "codec/plain_codecs.h"
#include "codec/quad_kernels.h"

// Whole codecs over the kernels. A codec has the shape of the plain one and gives the same result.

namespace {

template <typename Codec>
codec_pair codecPair() {
    return {Codec::decode, Codec::encode};
}

// A codec of interleaved quads, step by step. Frames that do not make up whole steps are in a first
// step that overlaps the next, a call of its own; less than a step is left to the plain codec.
template <typename Quads, typename Kernel, const codec_pair &PLAIN>
struct quad_codec {
    [[gnu::noinline]] static void decode(const channel_pointers &out, const uint8_t *in,
                                         uint32_t samples, uint8_t channels, uint8_t bits) {
        if (samples < Kernel::FRAMES) {
            return PLAIN.decode(out, in, samples, channels, bits);
        }
        size_t frame = samples % Kernel::FRAMES;
        if (frame != 0) {
            decode(out, in, Kernel::FRAMES, channels, bits);
            in += bytesOf(frame, channels);
        }
        const Kernel kernel(out, channels);
        for (; frame < samples; frame += Kernel::FRAMES) {
            kernel.decode(frame, in);
            in += bytesOf(Kernel::FRAMES, channels);
        }
    }

    [[gnu::noinline]] static void encode(const channel_pointers &in, uint8_t *out, uint32_t samples,
                                         uint8_t channels, uint8_t bits) {
        if (samples < Kernel::FRAMES) {
            return PLAIN.encode(in, out, samples, channels, bits);
        }
        size_t frame = samples % Kernel::FRAMES;
        if (frame != 0) {
            encode(in, out, Kernel::FRAMES, channels, bits);
            out += bytesOf(frame, channels);
        }
        const Kernel kernel(in, channels);
        for (; frame < samples; frame += Kernel::FRAMES) {
            kernel.encode(frame, out, frame + Kernel::FRAMES == samples);
            out += bytesOf(Kernel::FRAMES, channels);
        }
    }

private:
    static size_t bytesOf(size_t frames, size_t channels) {
        return frames * channels * Quads::BYTES / QUAD_SAMPLES;
    }
};

// The kernel of three and more channels in one stage.
template <typename V, typename Quads, const codec_pair &PLAIN>
codec_pair fusedCodec(unsigned channels) {
    switch (channels) {
    case 3:
        return codecPair<quad_codec<Quads, narrow_kernel<V, Quads, 3>, PLAIN>>();
    case 4:
        return codecPair<quad_codec<Quads, narrow_kernel<V, Quads, 4>, PLAIN>>();
    case 6:
        return codecPair<quad_codec<Quads, six_kernel<V, Quads>, PLAIN>>();
    default:
        // What is left is 5, 7 and 8: a frame is two fours that may share samples.
        static_assert(AUDIO_MAX_CHANNELS == 8);
        return codecPair<quad_codec<Quads, wide_kernel<V, Quads>, PLAIN>>();
    }
}

} // namespace
