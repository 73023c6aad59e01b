#pragma once

#include "simd/lanes.h"

#include <cstdint>

// How the vector forms see a format: in rows of four consecutive samples of the interleaved
// stream. A row takes BYTES bytes and is handled in 16, a lane of a vector; the lanes of a vector
// hold as many rows. unpack() turns the bytes of every lane into its four samples, pack() does the
// opposite and leaves zeros behind the bytes.
//
// The last lane may begin with IN_FRONT bytes that are not its row's.
//
// Every unit that includes this has its own instruction set, so all names are internal to it.

namespace {

// The same of a lane that begins with other bytes. What is taken from behind a lane's end plays no
// part.
constexpr lane_pattern behind(unsigned in_front, lane_pattern pattern) {
    for (int8_t &from : pattern.from) {
        from = static_cast<int8_t>(from == Z ? Z : (from + static_cast<int>(in_front)) % 16);
    }
    return pattern;
}

template <typename V, unsigned IN_FRONT, const lane_pattern &PATTERN>
typename V::vec spreadRows(typename V::vec bytes) {
    if constexpr (IN_FRONT == 0) {
        return V::shuffle(bytes, PATTERN);
    } else {
        static constexpr lane_pattern LAST = behind(IN_FRONT, PATTERN);
        return V::shuffle(bytes, PATTERN, LAST);
    }
}

// Rows that fill their lanes.
template <typename V, unsigned IN_FRONT>
typename V::vec alignRows(typename V::vec bytes) {
    static constexpr lane_pattern AS_THEY_ARE = {
        {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15}};
    if constexpr (IN_FRONT == 0) {
        return bytes;
    } else {
        return spreadRows<V, IN_FRONT, AS_THEY_ARE>(bytes);
    }
}

template <typename V>
struct pcm8_rows {
    using vec = typename V::vec;
    static constexpr unsigned BYTES = 4;
    static constexpr lane_pattern SPREAD = {{Z, Z, Z, 0, Z, Z, Z, 1, Z, Z, Z, 2, Z, Z, Z, 3}};
    static constexpr lane_pattern SQUEEZE = {{3, 7, 11, 15, Z, Z, Z, Z, Z, Z, Z, Z, Z, Z, Z, Z}};
    static constexpr uint32_t SIGN = 0x80000000;

    template <unsigned IN_FRONT>
    static vec unpack(vec bytes) {
        return V::exclusiveOr(spreadRows<V, IN_FRONT, SPREAD>(bytes), V::all32(SIGN));
    }
    static vec pack(vec samples) {
        return V::shuffle(V::exclusiveOr(samples, V::all32(SIGN)), SQUEEZE);
    }
};

// A depth whose bytes only change places.
template <typename V, typename Order>
struct shuffled_rows {
    using vec = typename V::vec;
    static constexpr unsigned BYTES = Order::BYTES;

    template <unsigned IN_FRONT>
    static vec unpack(vec bytes) {
        return spreadRows<V, IN_FRONT, Order::SPREAD>(bytes);
    }
    static vec pack(vec samples) {
        return V::shuffle(samples, Order::SQUEEZE);
    }
};

struct pcm16_order {
    static constexpr unsigned BYTES = 8;
    static constexpr lane_pattern SPREAD = {{Z, Z, 0, 1, Z, Z, 2, 3, Z, Z, 4, 5, Z, Z, 6, 7}};
    static constexpr lane_pattern SQUEEZE = {{2, 3, 6, 7, 10, 11, 14, 15, Z, Z, Z, Z, Z, Z, Z, Z}};
};

struct pcm24_order {
    static constexpr unsigned BYTES = 12;
    static constexpr lane_pattern SPREAD = {{Z, 0, 1, 2, Z, 3, 4, 5, Z, 6, 7, 8, Z, 9, 10, 11}};
    static constexpr lane_pattern SQUEEZE = {{1, 2, 3, 5, 6, 7, 9, 10, 11, 13, 14, 15, Z, Z, Z, Z}};
};

struct be16_order {
    static constexpr unsigned BYTES = 8;
    static constexpr lane_pattern SPREAD = {{Z, Z, 1, 0, Z, Z, 3, 2, Z, Z, 5, 4, Z, Z, 7, 6}};
    static constexpr lane_pattern SQUEEZE = {{3, 2, 7, 6, 11, 10, 15, 14, Z, Z, Z, Z, Z, Z, Z, Z}};
};

struct be24_order {
    static constexpr unsigned BYTES = 12;
    static constexpr lane_pattern SPREAD = {{Z, 2, 1, 0, Z, 5, 4, 3, Z, 8, 7, 6, Z, 11, 10, 9}};
    static constexpr lane_pattern SQUEEZE = {{3, 2, 1, 7, 6, 5, 11, 10, 9, 15, 14, 13, Z, Z, Z, Z}};
};

template <typename V>
struct pcm32_rows {
    using vec = typename V::vec;
    static constexpr unsigned BYTES = 16;

    template <unsigned IN_FRONT>
    static vec unpack(vec bytes) {
        return alignRows<V, IN_FRONT>(bytes);
    }
    static vec pack(vec samples) {
        return samples;
    }
};

// The sample that 1.0 stands for, 2^31 - 2. To multiply by its inverse and round to a single gives
// the same as to divide, for every sample.
constexpr double FLOAT_FULL_SCALE = 2147483646.0;

template <typename V>
struct float_rows {
    using vec = typename V::vec;
    static constexpr unsigned BYTES = 16;

    template <unsigned IN_FRONT>
    static vec unpack(vec bytes) {
        return V::fromFloat(alignRows<V, IN_FRONT>(bytes), FLOAT_FULL_SCALE);
    }
    static vec pack(vec samples) {
        return V::toFloat(samples, 1 / FLOAT_FULL_SCALE);
    }
};

// Big-endian, 20 bits sign-extended to 3 bytes.
template <typename V>
struct be20_rows {
    using vec = typename V::vec;
    static constexpr unsigned BYTES = 12;
    static constexpr lane_pattern SPREAD = {{2, 1, 0, Z, 5, 4, 3, Z, 8, 7, 6, Z, 11, 10, 9, Z}};
    static constexpr lane_pattern SQUEEZE = {{2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, Z, Z, Z, Z}};

    template <unsigned IN_FRONT>
    static vec unpack(vec bytes) {
        return V::template shiftLeft32<12>(spreadRows<V, IN_FRONT, SPREAD>(bytes));
    }
    static vec pack(vec samples) {
        return V::shuffle(V::template shiftRightSigned32<12>(samples), SQUEEZE);
    }
};

// Paired LPCM. A row is two groups of one channel or one group of two channels. In larger groups
// the words of four samples and their high bits stand apart; brought together they read like a
// group of two channels.

template <unsigned Channels>
struct paired24_order;

template <>
struct paired24_order<1> {
    static constexpr unsigned BYTES = 12;
    static constexpr lane_pattern SPREAD = {{Z, 1, 0, 4, Z, 3, 2, 5, Z, 7, 6, 10, Z, 9, 8, 11}};
    static constexpr lane_pattern SQUEEZE = {{2, 1, 6, 5, 3, 7, 10, 9, 14, 13, 11, 15, Z, Z, Z, Z}};
};

template <>
struct paired24_order<2> {
    static constexpr unsigned BYTES = 12;
    static constexpr lane_pattern SPREAD = {{Z, 1, 0, 8, Z, 3, 2, 9, Z, 5, 4, 10, Z, 7, 6, 11}};
    static constexpr lane_pattern SQUEEZE = {{2, 1, 6, 5, 10, 9, 14, 13, 3, 7, 11, 15, Z, Z, Z, Z}};
};

// The word goes to bits 8..23, the byte that holds the high bits of two samples to the top.
template <unsigned Channels>
struct paired20_order;

template <>
struct paired20_order<1> {
    static constexpr lane_pattern SPREAD = {{Z, 1, 0, 4, Z, 3, 2, 4, Z, 6, 5, 9, Z, 8, 7, 9}};
    static constexpr lane_pattern SQUEEZE = {{2, 1, 6, 5, 3, 10, 9, 14, 13, 11, Z, Z, Z, Z, Z, Z}};
};

template <>
struct paired20_order<2> {
    static constexpr lane_pattern SPREAD = {{Z, 1, 0, 8, Z, 3, 2, 8, Z, 5, 4, 9, Z, 7, 6, 9}};
    static constexpr lane_pattern SQUEEZE = {{2, 1, 6, 5, 10, 9, 14, 13, 3, 11, Z, Z, Z, Z, Z, Z}};
};

template <typename V, unsigned Channels>
struct paired20_rows {
    using vec = typename V::vec;
    using order = paired20_order<Channels>;
    static constexpr unsigned BYTES = 10;
    static constexpr uint32_t HIGH = 0xf0000000;

    // The even sample's high bits are the low nibble of the common byte, the odd one's the high.
    template <unsigned IN_FRONT>
    static vec unpack(vec bytes) {
        const vec raw = spreadRows<V, IN_FRONT, order::SPREAD>(bytes);
        const vec even = V::template shiftLeft32<4>(raw);
        const vec high = V::bitAnd(raw, V::all32(HIGH));
        const vec odd = V::bitOr(V::bitAnd(even, V::all32(~HIGH)), high);
        return V::oddFrom(even, odd);
    }

    // The even sample's high bits become the high nibble of the common byte, the odd one's the
    // low. The byte is formed at the top of the even sample's 32 bits.
    static vec pack(vec samples) {
        const vec low = V::template shiftRight32<4>(samples);
        const vec words = V::bitAnd(low, V::all32(0x00ffff00));
        const vec even_high = V::bitAnd(samples, V::all32(HIGH));
        const vec odd_high = V::bitAnd(V::template shiftRight64<32>(low), V::all32(HIGH >> 4));
        return V::shuffle(V::bitOr(words, V::bitOr(even_high, odd_high)), order::SQUEEZE);
    }
};

// The bit k of every byte becomes bit 7 - k.
template <typename V>
typename V::vec reverseBits(typename V::vec bytes) {
    constexpr lane_pattern TO_HIGH = {{0x00, -0x80, 0x40, -0x40, 0x20, -0x60, 0x60, -0x20, 0x10,
                                       -0x70, 0x50, -0x30, 0x30, -0x50, 0x70, -0x10}};
    constexpr lane_pattern TO_LOW = {{0, 8, 4, 12, 2, 10, 6, 14, 1, 9, 5, 13, 3, 11, 7, 15}};
    const typename V::vec nibble = V::all32(0x0f0f0f0f);
    const typename V::vec low = V::bitAnd(bytes, nibble);
    const typename V::vec high = V::bitAnd(V::template shiftRight64<4>(bytes), nibble);
    return V::bitOr(V::lookUp(TO_HIGH, low), V::lookUp(TO_LOW, high));
}

// AES3: a row is two groups, each of a pair of channels and `Bits / 4 + 1` bytes. With the bits of
// every byte reversed, a group in 64 bits is
//
//     | sample A at bit 0 | 4 extra bits | sample B at bit Bits + 4 | 4 extra bits |
template <typename V, unsigned Bits>
struct aes3_rows {
    using vec = typename V::vec;
    static constexpr unsigned GROUP = Bits / 4 + 1;
    static constexpr unsigned BYTES = 2 * GROUP;
    // From the top of A's 32 bits, and from the top of B's in the upper half, to their places.
    static constexpr unsigned A_SHIFT = 32 - Bits;
    static constexpr unsigned B_SHIFT = 60 - 2 * Bits;
    static constexpr uint64_t A_MASK = (uint64_t{1} << Bits) - 1;
    static constexpr uint64_t B_MASK = A_MASK << (Bits + 4);
    // The first extra bit of either sample.
    static constexpr uint64_t MARKS = uint64_t{1} << Bits | uint64_t{1} << (2 * Bits + 4);

    static constexpr lane_pattern spread() {
        lane_pattern pattern = {};
        for (unsigned i = 0; i < 16; ++i) {
            pattern.from[i] = i % 8 < GROUP ? static_cast<int8_t>(i / 8 * GROUP + i % 8) : Z;
        }
        return pattern;
    }

    static constexpr lane_pattern squeeze() {
        lane_pattern pattern = {};
        for (unsigned i = 0; i < 16; ++i) {
            pattern.from[i] = i < BYTES ? static_cast<int8_t>(i / GROUP * 8 + i % GROUP) : Z;
        }
        return pattern;
    }

    static constexpr lane_pattern SPREAD = spread();
    static constexpr lane_pattern SQUEEZE = squeeze();

    template <unsigned IN_FRONT>
    static vec unpack(vec bytes) {
        const vec groups = reverseBits<V>(spreadRows<V, IN_FRONT, SPREAD>(bytes));
        const vec a = V::template shiftLeft64<A_SHIFT>(groups);
        const vec b = V::template shiftLeft64<B_SHIFT>(groups);
        return V::oddFrom(a, V::bitAnd(b, V::all32(static_cast<uint32_t>(A_MASK << A_SHIFT))));
    }

    [[gnu::always_inline]] static vec pack(vec samples) {
        const vec a = V::bitAnd(V::template shiftRight64<A_SHIFT>(samples), V::all64(A_MASK));
        const vec b = V::bitAnd(V::template shiftRight64<B_SHIFT>(samples), V::all64(B_MASK));
        const vec groups = V::bitOr(V::bitOr(a, b), V::all64(MARKS));
        return V::shuffle(reverseBits<V>(groups), SQUEEZE);
    }
};

} // namespace
