#pragma once

#include "codec/plain_codecs.h"
#include "codec/row_kernels.h"

// Whole codecs over the kernels. A codec has the shape of the plain one and gives the same result.

namespace {

template <typename Codec>
codec_pair codecPair() {
    return {Codec::decode, Codec::encode};
}

// Bytes of frames, from one step to the next.
template <typename Rows>
size_t bytesOf(size_t frames, size_t channels) {
    return frames * channels * Rows::BYTES / ROW_SAMPLES;
}

// A codec of interleaved rows. Frames that do not make up whole steps are in a first step that
// overlaps the next; less than a step is left to the plain codec. The first and the last step are
// exact. This one has exact steps alone, which cost its rows nothing.
template <typename Rows, typename Kernel, const codec_pair &PLAIN,
          bool JUST_EXACT = Kernel::JUST_EXACT>
struct row_codec {
    static void decode(const channel_pointers &out, const uint8_t *in, uint32_t samples,
                       uint8_t channels, uint8_t bits) {
        if (samples < Kernel::FRAMES) {
            return PLAIN.decode(out, in, samples, channels, bits);
        }
        const Kernel kernel(out, channels);
        size_t step = firstStep(samples);
        for (size_t frame = 0; frame < samples; frame += step, step = Kernel::FRAMES) {
            kernel.template decode<true>(frame, in);
            in += bytesOf<Rows>(step, channels);
        }
    }

    static void encode(const channel_pointers &in, uint8_t *out, uint32_t samples, uint8_t channels,
                       uint8_t bits) {
        if (samples < Kernel::FRAMES) {
            return PLAIN.encode(in, out, samples, channels, bits);
        }
        const Kernel kernel(in, channels);
        size_t step = firstStep(samples);
        for (size_t frame = 0; frame < samples; frame += step, step = Kernel::FRAMES) {
            kernel.template encode<true>(frame, out);
            out += bytesOf<Rows>(step, channels);
        }
    }

private:
    static size_t firstStep(size_t samples) {
        const size_t part = samples % Kernel::FRAMES;
        return part != 0 ? part : Kernel::FRAMES;
    }
};

template <typename Rows, typename Kernel, const codec_pair &PLAIN>
struct row_codec<Rows, Kernel, PLAIN, false> {
    static void decode(const channel_pointers &out, const uint8_t *in, uint32_t samples,
                       uint8_t channels, uint8_t bits) {
        if (samples < Kernel::FRAMES) {
            return PLAIN.decode(out, in, samples, channels, bits);
        }
        const Kernel kernel(out, channels);
        const size_t last = samples - Kernel::FRAMES;
        size_t frame = samples % Kernel::FRAMES;
        if (frame != 0) {
            decodeExactly(out, 0, in, channels);
            in += bytesOf<Rows>(frame, channels);
        }
        for (; frame < last; frame += Kernel::FRAMES) {
            kernel.template decode<false>(frame, in);
            in += bytesOf<Rows>(Kernel::FRAMES, channels);
        }
        decodeExactly(out, last, in, channels);
    }

    static void encode(const channel_pointers &in, uint8_t *out, uint32_t samples, uint8_t channels,
                       uint8_t bits) {
        if (samples < Kernel::FRAMES) {
            return PLAIN.encode(in, out, samples, channels, bits);
        }
        const Kernel kernel(in, channels);
        const size_t last = samples - Kernel::FRAMES;
        size_t frame = samples % Kernel::FRAMES;
        if (frame != 0) {
            encodeExactly(in, 0, out, channels);
            out += bytesOf<Rows>(frame, channels);
        }
        for (; frame < last; frame += Kernel::FRAMES) {
            kernel.template encode<false>(frame, out);
            out += bytesOf<Rows>(Kernel::FRAMES, channels);
        }
        encodeExactly(in, last, out, channels);
    }

private:
    // Once in the code, however often it is used.
    [[gnu::noinline]] static void decodeExactly(const channel_pointers &out, size_t frame,
                                                const uint8_t *in, unsigned channels) {
        Kernel(out, channels).template decode<true>(frame, in);
    }
    [[gnu::noinline]] static void encodeExactly(const channel_pointers &in, size_t frame,
                                                uint8_t *out, unsigned channels) {
        Kernel(in, channels).template encode<true>(frame, out);
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
