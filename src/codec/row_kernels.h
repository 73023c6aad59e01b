#pragma once

#include "codec/channel_pointers.h"
#include "codec/row_formats.h"

#include <emmintrin.h>

#include <cstddef>

// The inner loops of the vector codecs. A step takes FRAMES frames, four for every lane of a
// vector: lane i holds frames 4 i .. 4 i + 3 of a step, on the side of the bytes in rows and on
// the side of the samples as four samples of one channel.
//
//     rows in lane i, 4 channels         channels in lane i
//     | f0 c0 | f0 c1 | f0 c2 | f0 c3 |      | f0 c0 | f1 c0 | f2 c0 | f3 c0 |
//     | f1 c0 | f1 c1 | f1 c2 | f1 c3 | <--> | f0 c1 | f1 c1 | f2 c1 | f3 c1 |
//     | f2 c0 | f2 c1 | f2 c2 | f2 c3 |      | f0 c2 | f1 c2 | f2 c2 | f3 c2 |
//     | f3 c0 | f3 c1 | f3 c2 | f3 c3 |      | f0 c3 | f1 c3 | f2 c3 | f3 c3 |
//
// A row is loaded, and most are stored, in 16 bytes. Rows are stored in ascending order, so that
// what spills over is then written anew; behind the last one there must be room for the overrun.

namespace {

constexpr unsigned LANE_BYTES = 16;
constexpr unsigned ROW_SAMPLES = 4;

// Bytes that storing a row touches.
template <typename Rows>
constexpr unsigned STORE_BYTES = Rows::BYTES == 4 || Rows::BYTES == 8 ? Rows::BYTES : LANE_BYTES;

template <typename V, typename Rows>
inline typename V::vec loadRows(const uint8_t *bytes, size_t lane_stride) {
    __m128i lanes[V::LANES];
    for (unsigned i = 0; i < V::LANES; ++i) {
        lanes[i] = _mm_loadu_si128(reinterpret_cast<const __m128i *>(bytes + i * lane_stride));
    }
    return Rows::unpack(V::join(lanes));
}

template <typename Rows>
inline void storeRow(uint8_t *bytes, __m128i row) {
    if constexpr (STORE_BYTES<Rows> == 4) {
        _mm_storeu_si32(bytes, row);
    } else if constexpr (STORE_BYTES<Rows> == 8) {
        _mm_storel_epi64(reinterpret_cast<__m128i *>(bytes), row);
    } else {
        _mm_storeu_si128(reinterpret_cast<__m128i *>(bytes), row);
    }
}

// Turns four rows of every lane into four channels, and back.
template <typename V>
inline void transpose(typename V::vec (&v)[4]) {
    const typename V::vec low01 = V::interleaveLow32(v[0], v[1]);
    const typename V::vec low23 = V::interleaveLow32(v[2], v[3]);
    const typename V::vec high01 = V::interleaveHigh32(v[0], v[1]);
    const typename V::vec high23 = V::interleaveHigh32(v[2], v[3]);
    v[0] = V::interleaveLow64(low01, low23);
    v[1] = V::interleaveHigh64(low01, low23);
    v[2] = V::interleaveLow64(high01, high23);
    v[3] = V::interleaveHigh64(high01, high23);
}

// One channel: a row is four frames.
template <typename V, typename Rows>
struct mono_kernel {
    static constexpr size_t FRAMES = 4 * V::LANES;

    static void decode(const channel_pointers &out, const uint8_t *in, size_t frames,
                       unsigned /*channels*/) {
        int32_t *const samples = out[0];
        for (size_t f = 0; f < frames; f += FRAMES) {
            V::store(samples + f, loadRows<V, Rows>(in, Rows::BYTES));
            in += V::LANES * Rows::BYTES;
        }
    }

    static void encode(const channel_pointers &in, uint8_t *out, size_t frames,
                       unsigned /*channels*/) {
        const int32_t *const samples = in[0];
        for (size_t f = 0; f < frames; f += FRAMES) {
            __m128i lanes[V::LANES];
            V::split(Rows::pack(V::load(samples + f)), lanes);
            for (const __m128i &row : lanes) {
                storeRow<Rows>(out, row);
                out += Rows::BYTES;
            }
        }
    }
};

// Two channels: a row is two frames.
template <typename V, typename Rows>
struct stereo_kernel {
    static constexpr size_t FRAMES = 4 * V::LANES;

    static void decode(const channel_pointers &out, const uint8_t *in, size_t frames,
                       unsigned /*channels*/) {
        int32_t *const left = out[0];
        int32_t *const right = out[1];
        for (size_t f = 0; f < frames; f += FRAMES) {
            const typename V::vec first = loadRows<V, Rows>(in, 2 * Rows::BYTES);
            const typename V::vec second = loadRows<V, Rows>(in + Rows::BYTES, 2 * Rows::BYTES);
            V::store(left + f, V::evens32(first, second));
            V::store(right + f, V::odds32(first, second));
            in += 2 * V::LANES * Rows::BYTES;
        }
    }

    static void encode(const channel_pointers &in, uint8_t *out, size_t frames,
                       unsigned /*channels*/) {
        const int32_t *const left = in[0];
        const int32_t *const right = in[1];
        for (size_t f = 0; f < frames; f += FRAMES) {
            const typename V::vec l = V::load(left + f);
            const typename V::vec r = V::load(right + f);
            __m128i first[V::LANES];
            __m128i second[V::LANES];
            V::split(Rows::pack(V::interleaveLow32(l, r)), first);
            V::split(Rows::pack(V::interleaveHigh32(l, r)), second);
            for (unsigned i = 0; i < V::LANES; ++i) {
                storeRow<Rows>(out, first[i]);
                storeRow<Rows>(out + Rows::BYTES, second[i]);
                out += 2 * Rows::BYTES;
            }
        }
    }
};

// Four channels side by side, from the channel `first` on. Of fewer the last one stands in for the
// fourth.
template <typename Sample>
struct quad_pointers {
    Sample *at[4];

    quad_pointers(const channel_pointers &channels, unsigned first, unsigned count)
        : at{channels[first], channels[first + 1], channels[first + 2],
             channels[first + 3 < count ? first + 3 : count - 1]} {
    }
};

template <typename V>
inline void loadQuad(const quad_pointers<const int32_t> &in, size_t frame,
                     typename V::vec (&v)[4]) {
    for (unsigned i = 0; i < 4; ++i) {
        v[i] = V::load(in.at[i] + frame);
    }
}

// Descending, so that the last channel ends up with its own samples.
template <typename V>
inline void storeQuad(const quad_pointers<int32_t> &out, size_t frame,
                      const typename V::vec (&v)[4]) {
    for (unsigned i = 4; i-- > 0;) {
        V::store(out.at[i] + frame, v[i]);
    }
}

template <typename V, typename Rows>
inline void decodeQuad(const quad_pointers<int32_t> &out, size_t frame, const uint8_t *rows,
                       size_t frame_bytes) {
    typename V::vec v[4];
    for (unsigned i = 0; i < 4; ++i) {
        v[i] = loadRows<V, Rows>(rows + i * frame_bytes, 4 * frame_bytes);
    }
    transpose<V>(v);
    storeQuad<V>(out, frame, v);
}

template <typename V, typename Rows>
inline void encodeQuad(const quad_pointers<const int32_t> &in, size_t frame,
                       __m128i (&rows)[4][V::LANES]) {
    typename V::vec v[4];
    loadQuad<V>(in, frame, v);
    transpose<V>(v);
    for (unsigned i = 0; i < 4; ++i) {
        V::split(Rows::pack(v[i]), rows[i]);
    }
}

// Three or four channels: a row is one frame, and with three the next frame's first sample.
template <typename V, typename Rows>
struct quad_kernel {
    static constexpr size_t FRAMES = 4 * V::LANES;

    static void decode(const channel_pointers &out, const uint8_t *in, size_t frames,
                       unsigned channels) {
        const size_t frame_bytes = channels * Rows::BYTES / 4;
        const quad_pointers<int32_t> quad_out(out, 0, channels);
        for (size_t f = 0; f < frames; f += FRAMES) {
            decodeQuad<V, Rows>(quad_out, f, in, frame_bytes);
            in += FRAMES * frame_bytes;
        }
    }

    static void encode(const channel_pointers &in, uint8_t *out, size_t frames, unsigned channels) {
        const size_t frame_bytes = channels * Rows::BYTES / 4;
        const quad_pointers<const int32_t> quad_in(in, 0, channels);
        for (size_t f = 0; f < frames; f += FRAMES) {
            __m128i rows[4][V::LANES];
            encodeQuad<V, Rows>(quad_in, f, rows);
            for (unsigned lane = 0; lane < V::LANES; ++lane) {
                for (unsigned i = 0; i < 4; ++i) {
                    storeRow<Rows>(out, rows[i][lane]);
                    out += frame_bytes;
                }
            }
        }
    }
};

// Six channels: two frames are three rows. Their first four channels are a quad, whose rows the
// middle row and its neighbours complete; the last two are as in stereo.
//
//     | f0 c0 | f0 c1 | f0 c2 | f0 c3 |      | f0 c0 | f0 c1 | f0 c2 | f0 c3 |
//     | f0 c4 | f0 c5 | f1 c0 | f1 c1 | <--> | f1 c0 | f1 c1 | f1 c2 | f1 c3 |
//     | f1 c2 | f1 c3 | f1 c4 | f1 c5 |      | f0 c4 | f0 c5 | f1 c4 | f1 c5 |
template <typename V, typename Rows>
struct six_kernel {
    using vec = typename V::vec;
    static constexpr size_t FRAMES = 4 * V::LANES;
    static constexpr size_t LANE_ROWS = 6;

    static void decode(const channel_pointers &out, const uint8_t *in, size_t frames,
                       unsigned /*channels*/) {
        const quad_pointers<int32_t> first(out, 0, 6);
        int32_t *const fifth = out[4];
        int32_t *const sixth = out[5];
        for (size_t f = 0; f < frames; f += FRAMES) {
            vec row[LANE_ROWS];
            for (unsigned i = 0; i < LANE_ROWS; ++i) {
                row[i] = loadRows<V, Rows>(in + i * Rows::BYTES, LANE_ROWS * Rows::BYTES);
            }
            const vec last_low = V::lowHigh64(row[1], row[2]);
            const vec last_high = V::lowHigh64(row[4], row[5]);
            V::store(fifth + f, V::evens32(last_low, last_high));
            V::store(sixth + f, V::odds32(last_low, last_high));
            vec v[4] = {row[0], V::highLow64(row[1], row[2]), row[3], V::highLow64(row[4], row[5])};
            transpose<V>(v);
            storeQuad<V>(first, f, v);
            in += V::LANES * LANE_ROWS * Rows::BYTES;
        }
    }

    static void encode(const channel_pointers &in, uint8_t *out, size_t frames,
                       unsigned /*channels*/) {
        const quad_pointers<const int32_t> first(in, 0, 6);
        const int32_t *const fifth = in[4];
        const int32_t *const sixth = in[5];
        for (size_t f = 0; f < frames; f += FRAMES) {
            vec v[4];
            loadQuad<V>(first, f, v);
            transpose<V>(v);
            const vec last_low = V::interleaveLow32(V::load(fifth + f), V::load(sixth + f));
            const vec last_high = V::interleaveHigh32(V::load(fifth + f), V::load(sixth + f));
            const vec row[LANE_ROWS] = {
                v[0], V::interleaveLow64(last_low, v[1]),  V::interleaveHigh64(v[1], last_low),
                v[2], V::interleaveLow64(last_high, v[3]), V::interleaveHigh64(v[3], last_high)};
            __m128i rows[LANE_ROWS][V::LANES];
            for (unsigned i = 0; i < LANE_ROWS; ++i) {
                V::split(Rows::pack(row[i]), rows[i]);
            }
            for (unsigned lane = 0; lane < V::LANES; ++lane) {
                for (unsigned i = 0; i < LANE_ROWS; ++i) {
                    storeRow<Rows>(out, rows[i][lane]);
                    out += Rows::BYTES;
                }
            }
        }
    }
};

// Five, seven or eight channels: a frame is a row of its first four and a row of its last four
// samples, which share those in the middle.
template <typename V, typename Rows>
struct wide_kernel {
    static constexpr size_t FRAMES = 4 * V::LANES;

    static void decode(const channel_pointers &out, const uint8_t *in, size_t frames,
                       unsigned channels) {
        const size_t frame_bytes = channels * Rows::BYTES / 4;
        const size_t second_row = frame_bytes - Rows::BYTES;
        const quad_pointers<int32_t> first(out, 0, channels);
        const quad_pointers<int32_t> second(out, channels - 4, channels);
        for (size_t f = 0; f < frames; f += FRAMES) {
            decodeQuad<V, Rows>(first, f, in, frame_bytes);
            decodeQuad<V, Rows>(second, f, in + second_row, frame_bytes);
            in += FRAMES * frame_bytes;
        }
    }

    static void encode(const channel_pointers &in, uint8_t *out, size_t frames, unsigned channels) {
        const size_t frame_bytes = channels * Rows::BYTES / 4;
        const size_t second_row = frame_bytes - Rows::BYTES;
        const quad_pointers<const int32_t> first(in, 0, channels);
        const quad_pointers<const int32_t> second(in, channels - 4, channels);
        for (size_t f = 0; f < frames; f += FRAMES) {
            __m128i first_rows[4][V::LANES];
            __m128i second_rows[4][V::LANES];
            encodeQuad<V, Rows>(first, f, first_rows);
            encodeQuad<V, Rows>(second, f, second_rows);
            for (unsigned lane = 0; lane < V::LANES; ++lane) {
                for (unsigned i = 0; i < 4; ++i) {
                    storeRow<Rows>(out, first_rows[i][lane]);
                    storeRow<Rows>(out + second_row, second_rows[i][lane]);
                    out += frame_bytes;
                }
            }
        }
    }
};

} // namespace
