#pragma once

#include "codec/plain_codecs.h"
#include "codec/row_kernels.h"

// Whole codecs over the kernels. A codec has the shape of the plain one and gives the same result.

namespace {

template <typename Codec>
codec_pair codecPair() {
    return {Codec::decode, Codec::encode};
}

// A codec of interleaved rows, step by step. Frames that do not make up whole steps are in a first
// step that overlaps the next, a call of its own; less than a step is left to the plain codec.
template <typename Rows, typename Kernel, const codec_pair &PLAIN>
struct row_codec {
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
        return frames * channels * Rows::BYTES / ROW_SAMPLES;
    }
};

// The kernel of three and more channels in one stage.
template <typename V, typename Rows, const codec_pair &PLAIN>
codec_pair fusedCodec(unsigned channels) {
    switch (channels) {
    case 3:
        return codecPair<row_codec<Rows, quad_kernel<V, Rows, 3>, PLAIN>>();
    case 4:
        return codecPair<row_codec<Rows, quad_kernel<V, Rows, 4>, PLAIN>>();
    case 6:
        return codecPair<row_codec<Rows, six_kernel<V, Rows>, PLAIN>>();
    default:
        // What is left is 5, 7 and 8: a frame is two quads that may share samples.
        static_assert(AUDIO_MAX_CHANNELS == 8);
        return codecPair<row_codec<Rows, wide_kernel<V, Rows>, PLAIN>>();
    }
}

} // namespace
