#pragma once

#include "codec/codec_vector.h"
#include "codec/row_kernels.h"

#include <cstring>

// Whole codecs over the kernels. A codec has the shape of the plain one and gives the same result.

namespace {

template <typename Codec>
codec_pair codecPair() {
    return {Codec::decode, Codec::encode};
}

// How many of the frames the kernel can take while no row reaches beyond the bytes of them all.
template <typename Rows, typename Kernel>
size_t framesInPlace(size_t frames, unsigned channels) {
    const unsigned last_row = channels == 3 ? 3 * Rows::BYTES / 4 : Rows::BYTES;
    const size_t overrun = LANE_BYTES - last_row;
    const size_t step = Kernel::FRAMES / 4 * channels * Rows::BYTES;
    const size_t bytes = frames * channels * Rows::BYTES / 4;
    return bytes < overrun ? 0 : (bytes - overrun) / step * Kernel::FRAMES;
}

// The frames left over take a turn in memory of their own: less than a step, and those that the
// overrun covers. An 8-bit mono frame takes least, 1 byte.
template <typename Kernel>
struct tail_memory {
    static constexpr size_t CAPACITY = 3 * Kernel::FRAMES; // frames

    int32_t samples[AUDIO_MAX_CHANNELS][CAPACITY];
    uint8_t bytes[CAPACITY * AUDIO_MAX_CHANNELS * sizeof(int32_t) + LANE_BYTES];

    void point(channel_pointers &channels) {
        for (unsigned c = 0; c < AUDIO_MAX_CHANNELS; ++c) {
            channels[c] = samples[c];
        }
    }

    static size_t wholeSteps(size_t frames) {
        return (frames + Kernel::FRAMES - 1) / Kernel::FRAMES * Kernel::FRAMES;
    }
};

// A codec of interleaved rows that takes whole units of Unit frames, 1 or 2.
template <typename Rows, typename Kernel, unsigned Unit>
struct row_codec {
    static size_t bytesOf(size_t frames, unsigned channels) {
        return frames * channels * Rows::BYTES / 4;
    }

    static void decode(const channel_pointers &out, const uint8_t *in, uint32_t samples,
                       uint8_t channels, uint8_t /*bits*/) {
        const size_t frames = samples - samples % Unit;
        const size_t done = framesInPlace<Rows, Kernel>(frames, channels);
        Kernel::decode(out, in, done, channels);
        if (done != frames) {
            decodeTail(out, done, in + bytesOf(done, channels), frames - done, channels);
        }
    }

    static void encode(const channel_pointers &in, uint8_t *out, uint32_t samples, uint8_t channels,
                       uint8_t /*bits*/) {
        const size_t frames = samples - samples % Unit;
        const size_t done = framesInPlace<Rows, Kernel>(frames, channels);
        Kernel::encode(in, out, done, channels);
        if (done != frames) {
            encodeTail(in, done, out + bytesOf(done, channels), frames - done, channels);
        }
    }

    static void decodeTail(const channel_pointers &out, size_t done, const uint8_t *in,
                           size_t frames, unsigned channels) {
        tail_memory<Kernel> memory;
        channel_pointers scratch;
        memory.point(scratch);
        memcpy(memory.bytes, in, bytesOf(frames, channels));
        Kernel::decode(scratch, memory.bytes, memory.wholeSteps(frames), channels);
        for (unsigned c = 0; c < channels; ++c) {
            memcpy(out[c] + done, scratch[c], frames * sizeof(int32_t));
        }
    }

    static void encodeTail(const channel_pointers &in, size_t done, uint8_t *out, size_t frames,
                           unsigned channels) {
        tail_memory<Kernel> memory;
        channel_pointers scratch;
        memory.point(scratch);
        for (unsigned c = 0; c < channels; ++c) {
            memcpy(scratch[c], in[c] + done, frames * sizeof(int32_t));
        }
        Kernel::encode(scratch, memory.bytes, memory.wholeSteps(frames), channels);
        memcpy(out, memory.bytes, bytesOf(frames, channels));
    }
};

template <typename V, typename Rows, unsigned Unit = 1>
codec_pair rowCodec(unsigned channels) {
    switch (channels) {
    case 1:
        return codecPair<row_codec<Rows, mono_kernel<V, Rows>, Unit>>();
    case 2:
        return codecPair<row_codec<Rows, stereo_kernel<V, Rows>, Unit>>();
    case 3:
    case 4:
        return codecPair<row_codec<Rows, quad_kernel<V, Rows>, Unit>>();
    case 6:
        return codecPair<row_codec<Rows, six_kernel<V, Rows>, Unit>>();
    default:
        return codecPair<row_codec<Rows, wide_kernel<V, Rows>, Unit>>();
    }
}

} // namespace
