#pragma once

#include "codec/quad_memory.h"
#include "core/channel_pointers.h"

#include <cstddef>

// The SIMD codecs' inner loops, one class for each kind of channel count. V is a vector of
// LANES128 lanes of 128 bits: one of simd/vector_*.h. Quads is a format of quad_formats.h.
//
// A class converts one step of FRAMES frames, four for every 128-bit lane. Lane i holds the frames
// 4 i .. 4 i + 3 of the step: as quads on the side of the bytes, and as four samples of one channel
// on the side of the channel arrays.
//
//     quads in lane i, 4 channels             channels in lane i
//     | f0 c0 | f0 c1 | f0 c2 | f0 c3 |      | f0 c0 | f1 c0 | f2 c0 | f3 c0 |
//     | f1 c0 | f1 c1 | f1 c2 | f1 c3 | <--> | f0 c1 | f1 c1 | f2 c1 | f3 c1 |
//     | f2 c0 | f2 c1 | f2 c2 | f2 c3 |      | f0 c2 | f1 c2 | f2 c2 | f3 c2 |
//     | f3 c0 | f3 c1 | f3 c2 | f3 c3 |      | f0 c3 | f1 c3 | f2 c3 | f3 c3 |

namespace {

// Turns four quads of every lane into four channels, and back.
template <typename V>
[[gnu::always_inline]] inline void transpose(typename V::vec (&v)[4]) {
    const typename V::vec low01 = V::interleaveLow32(v[0], v[1]);
    const typename V::vec low23 = V::interleaveLow32(v[2], v[3]);
    const typename V::vec high01 = V::interleaveHigh32(v[0], v[1]);
    const typename V::vec high23 = V::interleaveHigh32(v[2], v[3]);
    v[0] = V::interleaveLow64(low01, low23);
    v[1] = V::interleaveHigh64(low01, low23);
    v[2] = V::interleaveLow64(high01, high23);
    v[3] = V::interleaveHigh64(high01, high23);
}

// With one and two channels four frames of every lane take so few cycles that a jump after them
// shows. A step has two such halves.
constexpr unsigned HALVES = 2;

// One channel: a quad is four frames.
template <typename V, typename Quads>
class mono_kernel {
    static constexpr size_t HALF_FRAMES = 4 * V::LANES128;
    static constexpr size_t HALF_BYTES = V::LANES128 * Quads::BYTES;

public:
    static constexpr size_t FRAMES = HALVES * HALF_FRAMES;

    mono_kernel(const channel_pointers &channels, unsigned /*count*/) : samples_(channels[0]) {
    }

    [[gnu::always_inline]] void decode(size_t frame, const uint8_t *in) const {
        for (unsigned half = 0; half < HALVES; ++half) {
            V::store(samples_ + frame + half * HALF_FRAMES,
                     loadRun<V, Quads>(in + half * HALF_BYTES));
        }
    }

    [[gnu::always_inline]] void encode(size_t frame, uint8_t *out, bool ends) const {
        for (unsigned half = 0; half < HALVES; ++half) {
            storeRun<V, Quads>(out + half * HALF_BYTES,
                               Quads::pack(V::load(samples_ + frame + half * HALF_FRAMES)),
                               ends && half + 1 == HALVES);
        }
    }

private:
    int32_t *samples_;
};

// Two channels: a quad is two frames.
template <typename V, typename Quads>
class stereo_kernel {
    static constexpr size_t HALF_FRAMES = 4 * V::LANES128;
    static constexpr size_t HALF_BYTES = 2 * V::LANES128 * Quads::BYTES;

public:
    static constexpr size_t FRAMES = HALVES * HALF_FRAMES;

    stereo_kernel(const channel_pointers &channels, unsigned /*count*/)
        : left_(channels[0]), right_(channels[1]) {
    }

    [[gnu::always_inline]] void decode(size_t frame, const uint8_t *in) const {
        for (unsigned half = 0; half < HALVES; ++half) {
            const uint8_t *quads = in + half * HALF_BYTES;
            const auto first = loadQuads<V, Quads>(quads, 2 * Quads::BYTES);
            const auto second = loadQuads<V, Quads>(quads + Quads::BYTES, 2 * Quads::BYTES);
            V::store(left_ + frame + half * HALF_FRAMES, V::evens32(first, second));
            V::store(right_ + frame + half * HALF_FRAMES, V::odds32(first, second));
        }
    }

    [[gnu::always_inline]] void encode(size_t frame, uint8_t *out, bool ends) const {
        for (unsigned half = 0; half < HALVES; ++half) {
            const auto left = V::load(left_ + frame + half * HALF_FRAMES);
            const auto right = V::load(right_ + frame + half * HALF_FRAMES);
            lane128 first[V::LANES128];
            lane128 second[V::LANES128];
            V::split(Quads::pack(V::interleaveLow32(left, right)), first);
            V::split(Quads::pack(V::interleaveHigh32(left, right)), second);
            for (unsigned at = 0; at < V::LANES128; ++at) {
                storeQuad<Quads>(out, first[at], false);
                storeQuad<Quads>(out + Quads::BYTES, second[at],
                                 ends && half + 1 == HALVES && at + 1 == V::LANES128);
                out += 2 * Quads::BYTES;
            }
        }
    }

private:
    int32_t *left_;
    int32_t *right_;
};

// The arrays of four channels, from the channel `first` on. Where there are three, the last one
// stands in for the fourth.
struct four_channels {
    int32_t *at[4];

    four_channels(const channel_pointers &channels, unsigned first, unsigned count)
        : at{channels[first], channels[first + 1], channels[first + 2],
             channels[first + 3 < count ? first + 3 : count - 1]} {
    }
};

template <typename V>
inline void loadFour(const four_channels &in, size_t frame, typename V::vec (&v)[4]) {
    for (unsigned i = 0; i < 4; ++i) {
        v[i] = V::load(in.at[i] + frame);
    }
}

// Stores in descending order, so that the last channel ends up with its own samples.
template <typename V>
inline void storeFour(const four_channels &out, size_t frame, const typename V::vec (&v)[4]) {
    for (unsigned i = 4; i-- > 0;) {
        V::store(out.at[i] + frame, v[i]);
    }
}

// Decodes four frames of every lane. BYTES bytes of a quad belong to its frame.
template <typename V, typename Quads, unsigned BYTES>
[[gnu::always_inline]] inline void decodeFour(const four_channels &out, size_t frame,
                                              const uint8_t *quads, size_t frame_bytes) {
    typename V::vec v[4];
    for (unsigned i = 0; i < 4; ++i) {
        v[i] = loadQuads<V, Quads, BYTES>(quads + i * frame_bytes, 4 * frame_bytes);
    }
    transpose<V>(v);
    storeFour<V>(out, frame, v);
}

template <typename V, typename Quads>
[[gnu::always_inline]] inline void encodeFour(const four_channels &in, size_t frame,
                                              lane128 (&quads)[4][V::LANES128]) {
    typename V::vec v[4];
    loadFour<V>(in, frame, v);
    transpose<V>(v);
    for (unsigned i = 0; i < 4; ++i) {
        V::split(Quads::pack(v[i]), quads[i]);
    }
}

// Three or four channels: a quad is one frame, and with three the next frame's first sample.
template <typename V, typename Quads, unsigned CHANNELS>
class narrow_kernel {
public:
    static constexpr size_t FRAMES = 4 * V::LANES128;

    narrow_kernel(const channel_pointers &channels, unsigned /*count*/)
        : four_(channels, 0, CHANNELS) {
    }

    [[gnu::always_inline]] void decode(size_t frame, const uint8_t *in) const {
        decodeFour<V, Quads, FRAME_BYTES>(four_, frame, in, FRAME_BYTES);
    }

    [[gnu::always_inline]] void encode(size_t frame, uint8_t *out, bool ends) const {
        lane128 quads[4][V::LANES128];
        encodeFour<V, Quads>(four_, frame, quads);
        for (unsigned at = 0; at < V::LANES128; ++at) {
            for (unsigned i = 0; i < 4; ++i) {
                storeQuad<Quads, FRAME_BYTES>(out, quads[i][at],
                                              ends && at + 1 == V::LANES128 && i == 3);
                out += FRAME_BYTES;
            }
        }
    }

private:
    static_assert(CHANNELS * Quads::BYTES % QUAD_SAMPLES == 0);
    static constexpr unsigned FRAME_BYTES = CHANNELS * Quads::BYTES / QUAD_SAMPLES;

    four_channels four_;
};

// Six channels: two frames are three quads. Halves of the middle quad complete the first four
// channels of one frame and the last two of the other.
//
//     | f0 c0 | f0 c1 | f0 c2 | f0 c3 |      | f0 c0 | f0 c1 | f0 c2 | f0 c3 |
//     | f0 c4 | f0 c5 | f1 c0 | f1 c1 | <--> | f1 c0 | f1 c1 | f1 c2 | f1 c3 |
//     | f1 c2 | f1 c3 | f1 c4 | f1 c5 |      | f0 c4 | f0 c5 | f1 c4 | f1 c5 |
template <typename V, typename Quads>
class six_kernel {
    using vec = typename V::vec;
    static constexpr size_t LANE_QUADS = 6;

public:
    static constexpr size_t FRAMES = 4 * V::LANES128;

    six_kernel(const channel_pointers &channels, unsigned /*count*/)
        : first_(channels, 0, 6), fifth_(channels[4]), sixth_(channels[5]) {
    }

    [[gnu::always_inline]] void decode(size_t frame, const uint8_t *in) const {
        vec quad[LANE_QUADS];
        for (unsigned i = 0; i < LANE_QUADS; ++i) {
            quad[i] = loadQuads<V, Quads>(in + i * Quads::BYTES, LANE_QUADS * Quads::BYTES);
        }
        const vec last_low = V::lowHigh64(quad[1], quad[2]);
        const vec last_high = V::lowHigh64(quad[4], quad[5]);
        V::store(fifth_ + frame, V::evens32(last_low, last_high));
        V::store(sixth_ + frame, V::odds32(last_low, last_high));
        vec v[4] = {quad[0], V::highLow64(quad[1], quad[2]), quad[3],
                    V::highLow64(quad[4], quad[5])};
        transpose<V>(v);
        storeFour<V>(first_, frame, v);
    }

    [[gnu::always_inline]] void encode(size_t frame, uint8_t *out, bool ends) const {
        vec v[4];
        loadFour<V>(first_, frame, v);
        transpose<V>(v);
        const vec fifth = V::load(fifth_ + frame);
        const vec sixth = V::load(sixth_ + frame);
        const vec last_low = V::interleaveLow32(fifth, sixth);
        const vec last_high = V::interleaveHigh32(fifth, sixth);
        const vec quad[LANE_QUADS] = {
            v[0], V::interleaveLow64(last_low, v[1]),  V::interleaveHigh64(v[1], last_low),
            v[2], V::interleaveLow64(last_high, v[3]), V::interleaveHigh64(v[3], last_high)};
        lane128 quads[LANE_QUADS][V::LANES128];
        for (unsigned i = 0; i < LANE_QUADS; ++i) {
            V::split(Quads::pack(quad[i]), quads[i]);
        }
        for (unsigned at = 0; at < V::LANES128; ++at) {
            for (unsigned i = 0; i < LANE_QUADS; ++i) {
                storeQuad<Quads>(out, quads[i][at],
                                 ends && at + 1 == V::LANES128 && i + 1 == LANE_QUADS);
                out += Quads::BYTES;
            }
        }
    }

private:
    four_channels first_;
    int32_t *fifth_;
    int32_t *sixth_;
};

// Five, seven or eight channels: a frame is a quad of its first four and a quad of its last four
// samples, which share those in the middle.
template <typename V, typename Quads>
class wide_kernel {
public:
    static constexpr size_t FRAMES = 4 * V::LANES128;

    wide_kernel(const channel_pointers &channels, unsigned count)
        : first_(channels, 0, count), second_(channels, count - 4, count),
          frame_bytes_(count * Quads::BYTES / 4), second_quad_(frame_bytes_ - Quads::BYTES) {
    }

    [[gnu::always_inline]] void decode(size_t frame, const uint8_t *in) const {
        decodeFour<V, Quads, Quads::BYTES>(first_, frame, in, frame_bytes_);
        decodeFour<V, Quads, Quads::BYTES>(second_, frame, in + second_quad_, frame_bytes_);
    }

    [[gnu::always_inline]] void encode(size_t frame, uint8_t *out, bool ends) const {
        lane128 first_quads[4][V::LANES128];
        lane128 second_quads[4][V::LANES128];
        encodeFour<V, Quads>(first_, frame, first_quads);
        encodeFour<V, Quads>(second_, frame, second_quads);
        for (unsigned at = 0; at < V::LANES128; ++at) {
            for (unsigned i = 0; i < 4; ++i) {
                storeQuad<Quads>(out, first_quads[i][at], ends && at + 1 == V::LANES128 && i == 3);
                storeQuad<Quads>(out + second_quad_, second_quads[i][at],
                                 ends && at + 1 == V::LANES128 && i == 3);
                out += frame_bytes_;
            }
        }
    }

private:
    four_channels first_;
    four_channels second_;
    size_t frame_bytes_;
    size_t second_quad_;
};

} // namespace
