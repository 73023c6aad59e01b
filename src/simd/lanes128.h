#pragma once

#include <cstdint>
#include <cstring>
#include <emmintrin.h>

// Lanes of 16 bytes and quads of bytes in memory: what the vectors of vector_ssse3.h,
// vector_avx2.h and vector_avx512.h consist of. A shuffle pattern names, for every byte of a lane,
// the byte of that lane that it comes from.
//
// Internal linkage: every unit that is compiled for an instruction set owns its copy.
namespace {

using lane128 = __m128i;

constexpr unsigned LANE128_BYTES = 16;
constexpr int8_t Z = -1; // a zero byte

struct shuffle_pattern {
    int8_t from[LANE128_BYTES];
};

constexpr unsigned wholeBytes(unsigned bytes) {
    return bytes <= 4 ? 4 : bytes <= 8 ? 8 : LANE128_BYTES;
}

// 4, 8 or 16 bytes, zeros behind them.
template <unsigned BYTES> inline lane128 loadWhole(const void *bytes) {
    if constexpr (BYTES == 4) {
        return _mm_loadu_si32(bytes);
    } else if constexpr (BYTES == 8) {
        return _mm_loadl_epi64(static_cast<const lane128 *>(bytes));
    } else {
        return _mm_loadu_si128(static_cast<const lane128 *>(bytes));
    }
}

// The first 4, 8 or 16 bytes.
template <unsigned BYTES> inline void storeWhole(void *bytes, lane128 quad) {
    if constexpr (BYTES == 4) {
        _mm_storeu_si32(bytes, quad);
    } else if constexpr (BYTES == 8) {
        _mm_storel_epi64(static_cast<lane128 *>(bytes), quad);
    } else {
        _mm_storeu_si128(static_cast<lane128 *>(bytes), quad);
    }
}

// The first eight bytes of one, then those of the other.
inline lane128 joinHalves(lane128 low, lane128 high) {
    return _mm_unpacklo_epi64(low, high);
}

// Two or four bytes behind the first eight of a lane that has zeros there; and those of a lane to
// memory.
template <unsigned BYTES> inline lane128 appendFew(lane128 low, const uint8_t *bytes) {
    int32_t value = 0;
    memcpy(&value, bytes, BYTES);
    return BYTES == 2 ? _mm_insert_epi16(low, value, 4) : joinHalves(low, _mm_cvtsi32_si128(value));
}

template <unsigned BYTES> inline void storeHighFew(uint8_t *bytes, lane128 quad) {
    const int32_t value = _mm_cvtsi128_si32(_mm_unpackhi_epi64(quad, quad));
    memcpy(bytes, &value, BYTES);
}

} // namespace
