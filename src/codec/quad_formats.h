#pragma once

#include "codec/codec.h"
#include "simd/lanes128.h"

#include <cstdint>

// The sample formats, for the SIMD codecs. A quad is four consecutive samples of the interleaved
// stream. It has BYTES bytes and stands in a 128-bit lane of a vector V, one quad a lane. unpack()
// turns the bytes of every lane into four samples. pack() turns them into bytes, with zeros behind.
//
// The last lane may begin with IN_FRONT bytes of another quad.
//
// Every unit that includes this has its own instruction set, so all names are internal to it.

namespace {

// The pattern of a lane that begins with `in_front` other bytes. Samples that would come from
// behind the lane's end are not used.
constexpr shuffle_pattern behind(unsigned in_front, shuffle_pattern pattern) {
    for (int8_t &from : pattern.from) {
        from = static_cast<int8_t>(from == Z ? Z : (from + static_cast<int>(in_front)) % 16);
    }
    return pattern;
}

template <typename V, unsigned IN_FRONT, const shuffle_pattern &PATTERN>
typename V::vec spreadQuads(typename V::vec bytes) {
    if constexpr (IN_FRONT == 0) {
        return V::shuffle(bytes, PATTERN);
    } else {
        static constexpr shuffle_pattern LAST = behind(IN_FRONT, PATTERN);
        return V::shuffle(bytes, PATTERN, LAST);
    }
}

// Moves the last lane's quad to its front. For quads that fill their lanes.
template <typename V, unsigned IN_FRONT>
typename V::vec alignQuads(typename V::vec bytes) {
    static constexpr shuffle_pattern AS_THEY_ARE = {
        {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15}};
    if constexpr (IN_FRONT == 0) {
        return bytes;
    } else {
        return spreadQuads<V, IN_FRONT, AS_THEY_ARE>(bytes);
    }
}

template <typename V>
struct pcm8_quads {
    using vec = typename V::vec;
    static constexpr unsigned BYTES = 4;
    static constexpr shuffle_pattern SPREAD = {{Z, Z, Z, 0, Z, Z, Z, 1, Z, Z, Z, 2, Z, Z, Z, 3}};
    static constexpr shuffle_pattern SQUEEZE = {{3, 7, 11, 15, Z, Z, Z, Z, Z, Z, Z, Z, Z, Z, Z, Z}};
    static constexpr uint32_t SIGN = 0x80000000;

    template <unsigned IN_FRONT>
    static vec unpack(vec bytes) {
        return V::exclusiveOr(spreadQuads<V, IN_FRONT, SPREAD>(bytes), V::all32(SIGN));
    }
    static vec pack(vec samples) {
        return V::shuffle(V::exclusiveOr(samples, V::all32(SIGN)), SQUEEZE);
    }
};

// Depths whose bytes only change places.
template <typename V, typename Order>
struct shuffled_quads {
    using vec = typename V::vec;
    static constexpr unsigned BYTES = Order::BYTES;

    template <unsigned IN_FRONT>
    static vec unpack(vec bytes) {
        return spreadQuads<V, IN_FRONT, Order::SPREAD>(bytes);
    }
    static vec pack(vec samples) {
        return V::shuffle(samples, Order::SQUEEZE);
    }
};

struct pcm16_order {
    static constexpr unsigned BYTES = 8;
    static constexpr shuffle_pattern SPREAD = {{Z, Z, 0, 1, Z, Z, 2, 3, Z, Z, 4, 5, Z, Z, 6, 7}};
    static constexpr shuffle_pattern SQUEEZE = {
        {2, 3, 6, 7, 10, 11, 14, 15, Z, Z, Z, Z, Z, Z, Z, Z}};
};

struct pcm24_order {
    static constexpr unsigned BYTES = 12;
    static constexpr shuffle_pattern SPREAD = {{Z, 0, 1, 2, Z, 3, 4, 5, Z, 6, 7, 8, Z, 9, 10, 11}};
    static constexpr shuffle_pattern SQUEEZE = {
        {1, 2, 3, 5, 6, 7, 9, 10, 11, 13, 14, 15, Z, Z, Z, Z}};
};

struct be16_order {
    static constexpr unsigned BYTES = 8;
    static constexpr shuffle_pattern SPREAD = {{Z, Z, 1, 0, Z, Z, 3, 2, Z, Z, 5, 4, Z, Z, 7, 6}};
    static constexpr shuffle_pattern SQUEEZE = {
        {3, 2, 7, 6, 11, 10, 15, 14, Z, Z, Z, Z, Z, Z, Z, Z}};
};

struct be24_order {
    static constexpr unsigned BYTES = 12;
    static constexpr shuffle_pattern SPREAD = {{Z, 2, 1, 0, Z, 5, 4, 3, Z, 8, 7, 6, Z, 11, 10, 9}};
    static constexpr shuffle_pattern SQUEEZE = {
        {3, 2, 1, 7, 6, 5, 11, 10, 9, 15, 14, 13, Z, Z, Z, Z}};
};

template <typename V>
struct pcm32_quads {
    using vec = typename V::vec;
    static constexpr unsigned BYTES = 16;

    template <unsigned IN_FRONT>
    static vec unpack(vec bytes) {
        return alignQuads<V, IN_FRONT>(bytes);
    }
    static vec pack(vec samples) {
        return samples;
    }
};

// To multiply by the inverse of full scale and round to a single gives the same as to divide, for
// every sample.
template <typename V>
struct float_quads {
    using vec = typename V::vec;
    static constexpr unsigned BYTES = 16;

    template <unsigned IN_FRONT>
    static vec unpack(vec bytes) {
        return V::fromFloat(alignQuads<V, IN_FRONT>(bytes), FLOAT_FULL_SCALE);
    }
    static vec pack(vec samples) {
        return V::toFloat(samples, 1 / FLOAT_FULL_SCALE);
    }
};

// Big-endian, 20 bits sign-extended to 3 bytes.
template <typename V>
struct be20_quads {
    using vec = typename V::vec;
    static constexpr unsigned BYTES = 12;
    static constexpr shuffle_pattern SPREAD = {{2, 1, 0, Z, 5, 4, 3, Z, 8, 7, 6, Z, 11, 10, 9, Z}};
    static constexpr shuffle_pattern SQUEEZE = {
        {2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, Z, Z, Z, Z}};

    template <unsigned IN_FRONT>
    static vec unpack(vec bytes) {
        return V::template shiftLeft32<12>(spreadQuads<V, IN_FRONT, SPREAD>(bytes));
    }
    static vec pack(vec samples) {
        return V::shuffle(V::template shiftRightSigned32<12>(samples), SQUEEZE);
    }
};

// Paired LPCM. A quad is two pairs of frames of one channel, or one pair of frames of two channels.
// With more channels the words of four samples and their high bits stand apart. Brought together
// they read like a pair of frames of two channels.

template <unsigned Channels>
struct paired24_order;

template <>
struct paired24_order<1> {
    static constexpr unsigned BYTES = 12;
    static constexpr shuffle_pattern SPREAD = {{Z, 1, 0, 4, Z, 3, 2, 5, Z, 7, 6, 10, Z, 9, 8, 11}};
    static constexpr shuffle_pattern SQUEEZE = {
        {2, 1, 6, 5, 3, 7, 10, 9, 14, 13, 11, 15, Z, Z, Z, Z}};
};

template <>
struct paired24_order<2> {
    static constexpr unsigned BYTES = 12;
    static constexpr shuffle_pattern SPREAD = {{Z, 1, 0, 8, Z, 3, 2, 9, Z, 5, 4, 10, Z, 7, 6, 11}};
    static constexpr shuffle_pattern SQUEEZE = {
        {2, 1, 6, 5, 10, 9, 14, 13, 3, 7, 11, 15, Z, Z, Z, Z}};
};

// The word goes to bits 8..23, the byte that holds the high bits of two samples to the top.
template <unsigned Channels>
struct paired20_order;

template <>
struct paired20_order<1> {
    static constexpr shuffle_pattern SPREAD = {{Z, 1, 0, 4, Z, 3, 2, 4, Z, 6, 5, 9, Z, 8, 7, 9}};
    static constexpr shuffle_pattern SQUEEZE = {
        {2, 1, 6, 5, 3, 10, 9, 14, 13, 11, Z, Z, Z, Z, Z, Z}};
};

template <>
struct paired20_order<2> {
    static constexpr shuffle_pattern SPREAD = {{Z, 1, 0, 8, Z, 3, 2, 8, Z, 5, 4, 9, Z, 7, 6, 9}};
    static constexpr shuffle_pattern SQUEEZE = {
        {2, 1, 6, 5, 10, 9, 14, 13, 3, 11, Z, Z, Z, Z, Z, Z}};
};

template <typename V, unsigned Channels>
struct paired20_quads {
    using vec = typename V::vec;
    using order = paired20_order<Channels>;
    static constexpr unsigned BYTES = 10;
    static constexpr uint32_t HIGH = 0xf0000000;

    // The even sample's high bits are the low nibble of the common byte, the odd one's the high.
    template <unsigned IN_FRONT>
    static vec unpack(vec bytes) {
        const vec raw = spreadQuads<V, IN_FRONT, order::SPREAD>(bytes);
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
    constexpr shuffle_pattern TO_HIGH = {{0x00, -0x80, 0x40, -0x40, 0x20, -0x60, 0x60, -0x20, 0x10,
                                          -0x70, 0x50, -0x30, 0x30, -0x50, 0x70, -0x10}};
    constexpr shuffle_pattern TO_LOW = {{0, 8, 4, 12, 2, 10, 6, 14, 1, 9, 5, 13, 3, 11, 7, 15}};
    const typename V::vec nibble = V::all32(0x0f0f0f0f);
    const typename V::vec low = V::bitAnd(bytes, nibble);
    const typename V::vec high = V::bitAnd(V::template shiftRight64<4>(bytes), nibble);
    return V::bitOr(V::lookUp(TO_HIGH, low), V::lookUp(TO_LOW, high));
}

// AES3: a quad is two frames of a channel pair, each of `Bits / 4 + 1` bytes. With the bits of
// every byte reversed, one of the two is, in 64 bits,
//
//     | sample A at bit 0 | 4 extra bits | sample B at bit Bits + 4 | 4 extra bits |
template <typename V, unsigned Bits>
struct aes3_quads {
    using vec = typename V::vec;
    static constexpr unsigned PAIR_BYTES = Bits / 4 + 1;
    static constexpr unsigned BYTES = 2 * PAIR_BYTES;
    // From the top of A's 32 bits, and from the top of B's in the upper half, to their places.
    static constexpr unsigned A_SHIFT = 32 - Bits;
    static constexpr unsigned B_SHIFT = 60 - 2 * Bits;
    static constexpr uint64_t A_MASK = (uint64_t{1} << Bits) - 1;
    static constexpr uint64_t B_MASK = A_MASK << (Bits + 4);
    // The first extra bit of either sample.
    static constexpr uint64_t MARKS = uint64_t{1} << Bits | uint64_t{1} << (2 * Bits + 4);

    static constexpr shuffle_pattern spread() {
        shuffle_pattern pattern = {};
        for (unsigned i = 0; i < 16; ++i) {
            pattern.from[i] =
                i % 8 < PAIR_BYTES ? static_cast<int8_t>(i / 8 * PAIR_BYTES + i % 8) : Z;
        }
        return pattern;
    }

    static constexpr shuffle_pattern squeeze() {
        shuffle_pattern pattern = {};
        for (unsigned i = 0; i < 16; ++i) {
            pattern.from[i] =
                i < BYTES ? static_cast<int8_t>(i / PAIR_BYTES * 8 + i % PAIR_BYTES) : Z;
        }
        return pattern;
    }

    static constexpr shuffle_pattern SPREAD = spread();
    static constexpr shuffle_pattern SQUEEZE = squeeze();

    template <unsigned IN_FRONT>
    static vec unpack(vec bytes) {
        const vec pairs = reverseBits<V>(spreadQuads<V, IN_FRONT, SPREAD>(bytes));
        const vec a = V::template shiftLeft64<A_SHIFT>(pairs);
        const vec b = V::template shiftLeft64<B_SHIFT>(pairs);
        return V::oddFrom(a, V::bitAnd(b, V::all32(static_cast<uint32_t>(A_MASK << A_SHIFT))));
    }

    [[gnu::always_inline]] static vec pack(vec samples) {
        const vec a = V::bitAnd(V::template shiftRight64<A_SHIFT>(samples), V::all64(A_MASK));
        const vec b = V::bitAnd(V::template shiftRight64<B_SHIFT>(samples), V::all64(B_MASK));
        const vec pairs = V::bitOr(V::bitOr(a, b), V::all64(MARKS));
        return V::shuffle(reverseBits<V>(pairs), SQUEEZE);
    }
};

} // namespace
