#pragma once

#include "codec/row_formats.h"
#include "core/channel_pointers.h"

#include <cstddef>
#include <cstring>

// The steps of the vector codecs, over a vector V of LANES lanes of 16 bytes: vector_avx2.h or
// vector_ssse3.h in simd/.
//
// A step takes FRAMES frames, four for every lane: lane i holds frames 4 i .. 4 i + 3 of a step, on
// the side of the bytes in rows and on the side of the samples as four samples of one channel.
//
//     rows in lane i, 4 channels         channels in lane i
//     | f0 c0 | f0 c1 | f0 c2 | f0 c3 |      | f0 c0 | f1 c0 | f2 c0 | f3 c0 |
//     | f1 c0 | f1 c1 | f1 c2 | f1 c3 | <--> | f0 c1 | f1 c1 | f2 c1 | f3 c1 |
//     | f2 c0 | f2 c1 | f2 c2 | f2 c3 |      | f0 c2 | f1 c2 | f2 c2 | f3 c2 |
//     | f3 c0 | f3 c1 | f3 c2 | f3 c3 |      | f0 c3 | f1 c3 | f2 c3 | f3 c3 |
//
// A row is loaded in 16 bytes, unless it has just 4, and stored in 4, 8 or 16. Rows are stored in
// ascending order, so that what spills over is then written anew. No step touches a byte outside:
// its last lane is loaded together with bytes in front of it, and the last row of the step that
// ENDS the bytes is stored exactly.

namespace {

constexpr unsigned ROW_SAMPLES = 4;

// A row in every lane. The last one has but BYTES bytes of the step; in front of it are those of
// another lane.
template <typename V, typename Rows, unsigned BYTES = Rows::BYTES>
inline typename V::vec loadRows(const uint8_t *bytes, size_t lane_stride) {
    constexpr unsigned LOADED = Rows::BYTES == 4 ? 4 : LANE_BYTES;
    constexpr unsigned IN_FRONT = LOADED - BYTES;
    constexpr unsigned LAST = V::LANES - 1;
    static_assert(LAST > 0);
    lane lanes[V::LANES];
    for (unsigned i = 0; i < LAST; ++i) {
        lanes[i] = loadWhole<LOADED>(bytes + i * lane_stride);
    }
    lanes[LAST] = loadWhole<LOADED>(bytes + LAST * lane_stride - IN_FRONT);
    return Rows::template unpack<IN_FRONT>(V::join(lanes));
}

// A row of BYTES bytes, the last of all or another.
template <typename Rows, unsigned BYTES = Rows::BYTES>
inline void storeRow(uint8_t *bytes, lane row, bool is_last) {
    constexpr unsigned WHOLE = wholeBytes(Rows::BYTES);
    if (BYTES < WHOLE && is_last) {
        memcpy(bytes, &row, BYTES);
    } else {
        storeWhole<WHOLE>(bytes, row);
    }
}

// Turns four rows of every lane into four channels, and back.
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

// With one and two channels, four frames of every lane take so few cycles that a jump after them
// shows: a step is two of these, its halves.
constexpr unsigned HALVES = 2;

// One channel: a row is four frames.
template <typename V, typename Rows>
class mono_kernel {
    static constexpr size_t HALF_FRAMES = 4 * V::LANES;
    static constexpr size_t HALF_BYTES = V::LANES * Rows::BYTES;

public:
    static constexpr size_t FRAMES = HALVES * HALF_FRAMES;

    mono_kernel(const channel_pointers &channels, unsigned /*count*/) : samples_(channels[0]) {
    }

    [[gnu::always_inline]] void decode(size_t frame, const uint8_t *in) const {
        for (unsigned half = 0; half < HALVES; ++half) {
            V::store(samples_ + frame + half * HALF_FRAMES,
                     loadRows<V, Rows>(in + half * HALF_BYTES, Rows::BYTES));
        }
    }

    [[gnu::always_inline]] void encode(size_t frame, uint8_t *out, bool ends) const {
        for (unsigned half = 0; half < HALVES; ++half) {
            lane lanes[V::LANES];
            V::split(Rows::pack(V::load(samples_ + frame + half * HALF_FRAMES)), lanes);
            for (unsigned at = 0; at < V::LANES; ++at) {
                storeRow<Rows>(out, lanes[at], ends && half + 1 == HALVES && at + 1 == V::LANES);
                out += Rows::BYTES;
            }
        }
    }

private:
    int32_t *samples_;
};

// Two channels: a row is two frames.
template <typename V, typename Rows>
class stereo_kernel {
    static constexpr size_t HALF_FRAMES = 4 * V::LANES;
    static constexpr size_t HALF_BYTES = 2 * V::LANES * Rows::BYTES;

public:
    static constexpr size_t FRAMES = HALVES * HALF_FRAMES;

    stereo_kernel(const channel_pointers &channels, unsigned /*count*/)
        : left_(channels[0]), right_(channels[1]) {
    }

    [[gnu::always_inline]] void decode(size_t frame, const uint8_t *in) const {
        for (unsigned half = 0; half < HALVES; ++half) {
            const uint8_t *rows = in + half * HALF_BYTES;
            const auto first = loadRows<V, Rows>(rows, 2 * Rows::BYTES);
            const auto second = loadRows<V, Rows>(rows + Rows::BYTES, 2 * Rows::BYTES);
            V::store(left_ + frame + half * HALF_FRAMES, V::evens32(first, second));
            V::store(right_ + frame + half * HALF_FRAMES, V::odds32(first, second));
        }
    }

    [[gnu::always_inline]] void encode(size_t frame, uint8_t *out, bool ends) const {
        for (unsigned half = 0; half < HALVES; ++half) {
            const auto left = V::load(left_ + frame + half * HALF_FRAMES);
            const auto right = V::load(right_ + frame + half * HALF_FRAMES);
            lane first[V::LANES];
            lane second[V::LANES];
            V::split(Rows::pack(V::interleaveLow32(left, right)), first);
            V::split(Rows::pack(V::interleaveHigh32(left, right)), second);
            for (unsigned at = 0; at < V::LANES; ++at) {
                storeRow<Rows>(out, first[at], false);
                storeRow<Rows>(out + Rows::BYTES, second[at],
                               ends && half + 1 == HALVES && at + 1 == V::LANES);
                out += 2 * Rows::BYTES;
            }
        }
    }

private:
    int32_t *left_;
    int32_t *right_;
};

// Four channels side by side, from the channel `first` on. Of fewer the last one stands in for the
// fourth.
struct quad_pointers {
    int32_t *at[4];

    quad_pointers(const channel_pointers &channels, unsigned first, unsigned count)
        : at{channels[first], channels[first + 1], channels[first + 2],
             channels[first + 3 < count ? first + 3 : count - 1]} {
    }
};

template <typename V>
inline void loadQuad(const quad_pointers &in, size_t frame, typename V::vec (&v)[4]) {
    for (unsigned i = 0; i < 4; ++i) {
        v[i] = V::load(in.at[i] + frame);
    }
}

// Descending, so that the last channel ends up with its own samples.
template <typename V>
inline void storeQuad(const quad_pointers &out, size_t frame, const typename V::vec (&v)[4]) {
    for (unsigned i = 4; i-- > 0;) {
        V::store(out.at[i] + frame, v[i]);
    }
}

// BYTES of a row belong to its frame.
template <typename V, typename Rows, unsigned BYTES>
[[gnu::always_inline]] inline void decodeQuad(const quad_pointers &out, size_t frame,
                                              const uint8_t *rows, size_t frame_bytes) {
    typename V::vec v[4];
    for (unsigned i = 0; i < 4; ++i) {
        v[i] = loadRows<V, Rows, BYTES>(rows + i * frame_bytes, 4 * frame_bytes);
    }
    transpose<V>(v);
    storeQuad<V>(out, frame, v);
}

template <typename V, typename Rows>
[[gnu::always_inline]] inline void encodeQuad(const quad_pointers &in, size_t frame,
                                              lane (&rows)[4][V::LANES]) {
    typename V::vec v[4];
    loadQuad<V>(in, frame, v);
    transpose<V>(v);
    for (unsigned i = 0; i < 4; ++i) {
        V::split(Rows::pack(v[i]), rows[i]);
    }
}

// Three or four channels: a row is one frame, and with three the next frame's first sample.
template <typename V, typename Rows, unsigned CHANNELS>
class quad_kernel {
public:
    static constexpr size_t FRAMES = 4 * V::LANES;

    quad_kernel(const channel_pointers &channels, unsigned /*count*/)
        : quad_(channels, 0, CHANNELS) {
    }

    [[gnu::always_inline]] void decode(size_t frame, const uint8_t *in) const {
        decodeQuad<V, Rows, FRAME_BYTES>(quad_, frame, in, FRAME_BYTES);
    }

    [[gnu::always_inline]] void encode(size_t frame, uint8_t *out, bool ends) const {
        lane rows[4][V::LANES];
        encodeQuad<V, Rows>(quad_, frame, rows);
        for (unsigned at = 0; at < V::LANES; ++at) {
            for (unsigned i = 0; i < 4; ++i) {
                storeRow<Rows, FRAME_BYTES>(out, rows[i][at], ends && at + 1 == V::LANES && i == 3);
                out += FRAME_BYTES;
            }
        }
    }

private:
    static constexpr unsigned FRAME_BYTES = CHANNELS * Rows::BYTES / 4;

    quad_pointers quad_;
};

// Six channels: two frames are three rows. Their first four channels are a quad, whose rows the
// middle row and its neighbours complete; the last two are as in stereo.
//
//     | f0 c0 | f0 c1 | f0 c2 | f0 c3 |      | f0 c0 | f0 c1 | f0 c2 | f0 c3 |
//     | f0 c4 | f0 c5 | f1 c0 | f1 c1 | <--> | f1 c0 | f1 c1 | f1 c2 | f1 c3 |
//     | f1 c2 | f1 c3 | f1 c4 | f1 c5 |      | f0 c4 | f0 c5 | f1 c4 | f1 c5 |
template <typename V, typename Rows>
class six_kernel {
    using vec = typename V::vec;
    static constexpr size_t LANE_ROWS = 6;

public:
    static constexpr size_t FRAMES = 4 * V::LANES;

    six_kernel(const channel_pointers &channels, unsigned /*count*/)
        : first_(channels, 0, 6), fifth_(channels[4]), sixth_(channels[5]) {
    }

    [[gnu::always_inline]] void decode(size_t frame, const uint8_t *in) const {
        vec row[LANE_ROWS];
        for (unsigned i = 0; i < LANE_ROWS; ++i) {
            row[i] = loadRows<V, Rows>(in + i * Rows::BYTES, LANE_ROWS * Rows::BYTES);
        }
        const vec last_low = V::lowHigh64(row[1], row[2]);
        const vec last_high = V::lowHigh64(row[4], row[5]);
        V::store(fifth_ + frame, V::evens32(last_low, last_high));
        V::store(sixth_ + frame, V::odds32(last_low, last_high));
        vec v[4] = {row[0], V::highLow64(row[1], row[2]), row[3], V::highLow64(row[4], row[5])};
        transpose<V>(v);
        storeQuad<V>(first_, frame, v);
    }

    [[gnu::always_inline]] void encode(size_t frame, uint8_t *out, bool ends) const {
        vec v[4];
        loadQuad<V>(first_, frame, v);
        transpose<V>(v);
        const vec fifth = V::load(fifth_ + frame);
        const vec sixth = V::load(sixth_ + frame);
        const vec last_low = V::interleaveLow32(fifth, sixth);
        const vec last_high = V::interleaveHigh32(fifth, sixth);
        const vec row[LANE_ROWS] = {
            v[0], V::interleaveLow64(last_low, v[1]),  V::interleaveHigh64(v[1], last_low),
            v[2], V::interleaveLow64(last_high, v[3]), V::interleaveHigh64(v[3], last_high)};
        lane rows[LANE_ROWS][V::LANES];
        for (unsigned i = 0; i < LANE_ROWS; ++i) {
            V::split(Rows::pack(row[i]), rows[i]);
        }
        for (unsigned at = 0; at < V::LANES; ++at) {
            for (unsigned i = 0; i < LANE_ROWS; ++i) {
                storeRow<Rows>(out, rows[i][at], ends && at + 1 == V::LANES && i + 1 == LANE_ROWS);
                out += Rows::BYTES;
            }
        }
    }

private:
    quad_pointers first_;
    int32_t *fifth_;
    int32_t *sixth_;
};

// Five, seven or eight channels: a frame is a row of its first four and a row of its last four
// samples, which share those in the middle.
template <typename V, typename Rows>
class wide_kernel {
public:
    static constexpr size_t FRAMES = 4 * V::LANES;

    wide_kernel(const channel_pointers &channels, unsigned count)
        : first_(channels, 0, count), second_(channels, count - 4, count),
          frame_bytes_(count * Rows::BYTES / 4), second_row_(frame_bytes_ - Rows::BYTES) {
    }

    [[gnu::always_inline]] void decode(size_t frame, const uint8_t *in) const {
        decodeQuad<V, Rows, Rows::BYTES>(first_, frame, in, frame_bytes_);
        decodeQuad<V, Rows, Rows::BYTES>(second_, frame, in + second_row_, frame_bytes_);
    }

    [[gnu::always_inline]] void encode(size_t frame, uint8_t *out, bool ends) const {
        lane first_rows[4][V::LANES];
        lane second_rows[4][V::LANES];
        encodeQuad<V, Rows>(first_, frame, first_rows);
        encodeQuad<V, Rows>(second_, frame, second_rows);
        for (unsigned at = 0; at < V::LANES; ++at) {
            for (unsigned i = 0; i < 4; ++i) {
                storeRow<Rows>(out, first_rows[i][at], ends && at + 1 == V::LANES && i == 3);
                storeRow<Rows>(out + second_row_, second_rows[i][at],
                               ends && at + 1 == V::LANES && i == 3);
                out += frame_bytes_;
            }
        }
    }

private:
    quad_pointers first_;
    quad_pointers second_;
    size_t frame_bytes_;
    size_t second_row_;
};

} // namespace
