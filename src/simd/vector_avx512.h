#pragma once

// g++ 12 takes the undefined vectors of its own header for mistakes.
#ifndef __clang__
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wuninitialized"
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
#include <immintrin.h>
#ifndef __clang__
#pragma GCC diagnostic pop
#endif

#include "simd/lanes128.h"

// Internal linkage: every unit that is compiled for this instruction set owns its copy.
namespace {

// A vector of four 16-byte lanes. Shuffles and interleaving stay within the lanes.
struct avx512_vector {
    using vec = __m512i;
    static constexpr unsigned LANES128 = 4;
    static constexpr bool FUSES_STAGES = true; // see tile_codecs.h

    static vec join(const lane128 (&lanes)[LANES128]) {
        const __m256i low = _mm256_inserti128_si256(_mm256_castsi128_si256(lanes[0]), lanes[1], 1);
        const __m256i high = _mm256_inserti128_si256(_mm256_castsi128_si256(lanes[2]), lanes[3], 1);
        return _mm512_inserti64x4(_mm512_castsi256_si512(low), high, 1);
    }
    static void split(vec v, lane128 (&lanes)[LANES128]) {
        lanes[0] = _mm512_castsi512_si128(v);
        lanes[1] = _mm512_extracti32x4_epi32(v, 1);
        lanes[2] = _mm512_extracti32x4_epi32(v, 2);
        lanes[3] = _mm512_extracti32x4_epi32(v, 3);
    }
    static vec load(const void *samples) { return _mm512_loadu_si512(samples); }
    static void store(void *samples, vec v) { _mm512_storeu_si512(samples, v); }

    static vec everyLane(const shuffle_pattern &pattern) {
        return _mm512_broadcast_i32x4(loadWhole<LANE128_BYTES>(pattern.from));
    }
    static vec all32(uint32_t bits) { return _mm512_set1_epi32(static_cast<int32_t>(bits)); }
    static vec all64(uint64_t bits) { return _mm512_set1_epi64(static_cast<int64_t>(bits)); }

    static vec shuffle(vec bytes, const shuffle_pattern &pattern) {
        return _mm512_shuffle_epi8(bytes, everyLane(pattern));
    }
    // With a pattern of its own for the last lane.
    static vec shuffle(vec bytes, const shuffle_pattern &pattern, const shuffle_pattern &last) {
        const lane128 from = loadWhole<LANE128_BYTES>(pattern.from);
        return _mm512_shuffle_epi8(bytes,
                                   join({from, from, from, loadWhole<LANE128_BYTES>(last.from)}));
    }
    // Bytes of the table at indices 0..15.
    static vec lookUp(const shuffle_pattern &table, vec indices) {
        return _mm512_shuffle_epi8(everyLane(table), indices);
    }
    static vec bitAnd(vec a, vec b) { return _mm512_and_si512(a, b); }
    static vec bitOr(vec a, vec b) { return _mm512_or_si512(a, b); }
    static vec exclusiveOr(vec a, vec b) { return _mm512_xor_si512(a, b); }
    template <unsigned Bits> static vec shiftLeft32(vec v) { return _mm512_slli_epi32(v, Bits); }
    template <unsigned Bits> static vec shiftRightSigned32(vec v) {
        return _mm512_srai_epi32(v, Bits);
    }
    template <unsigned Bits> static vec shiftLeft64(vec v) { return _mm512_slli_epi64(v, Bits); }
    template <unsigned Bits> static vec shiftRight64(vec v) { return _mm512_srli_epi64(v, Bits); }
    // The even 32 bits of one, the odd of the other.
    static vec oddFrom(vec even, vec odd) { return _mm512_mask_blend_epi32(0xaaaa, even, odd); }

    static vec interleaveLow32(vec a, vec b) { return _mm512_unpacklo_epi32(a, b); }
    static vec interleaveHigh32(vec a, vec b) { return _mm512_unpackhi_epi32(a, b); }
    static vec interleaveLow64(vec a, vec b) { return _mm512_unpacklo_epi64(a, b); }
    static vec interleaveHigh64(vec a, vec b) { return _mm512_unpackhi_epi64(a, b); }
    // The low half of a lane of `a` and the high half of `b`, or the high of `a` and the low of
    // `b`.
    static vec lowHigh64(vec a, vec b) { return _mm512_mask_blend_epi64(0xaa, a, b); }
    static vec highLow64(vec a, vec b) {
        return _mm512_castpd_si512(
            _mm512_shuffle_pd(_mm512_castsi512_pd(a), _mm512_castsi512_pd(b), 0x55));
    }
    // The even, or the odd, 32 bits of both, those of `a` first.
    static vec evens32(vec a, vec b) {
        return _mm512_castps_si512(
            _mm512_shuffle_ps(_mm512_castsi512_ps(a), _mm512_castsi512_ps(b), 0x88));
    }
    static vec odds32(vec a, vec b) {
        return _mm512_castps_si512(
            _mm512_shuffle_ps(_mm512_castsi512_ps(a), _mm512_castsi512_ps(b), 0xdd));
    }

    // Products of singles with a scale in double precision, truncated and saturated; not-a-number
    // gives 0. No floating-point flag but the inexact one for what is finite.
    static __m256i scaleToSamples(__m256 values, double scale) {
        const __m512d scaled = _mm512_mul_pd(_mm512_cvtps_pd(values), _mm512_set1_pd(scale));
        const __m512d not_above = _mm512_min_pd(scaled, _mm512_set1_pd(INT32_MAX));
        return _mm512_cvttpd_epi32(_mm512_max_pd(not_above, _mm512_set1_pd(INT32_MIN)));
    }
    static vec fromFloat(vec bits, double scale) {
        const __m512 any = _mm512_castsi512_ps(bits);
        const __mmask16 numbers = _mm512_cmp_ps_mask(any, any, _CMP_ORD_Q);
        const __m512 values = _mm512_maskz_mov_ps(numbers, any);
        const __m256i low = scaleToSamples(_mm512_castps512_ps256(values), scale);
        const __m256i high = scaleToSamples(_mm512_extractf32x8_ps(values, 1), scale);
        return _mm512_inserti64x4(_mm512_castsi256_si512(low), high, 1);
    }
    // Products in double precision, rounded to singles.
    static __m256i scaleToFloat(__m256i samples, double scale) {
        const __m512d products = _mm512_mul_pd(_mm512_cvtepi32_pd(samples), _mm512_set1_pd(scale));
        return _mm256_castps_si256(_mm512_cvtpd_ps(products));
    }
    static vec toFloat(vec samples, double scale) {
        const __m256i low = scaleToFloat(_mm512_castsi512_si256(samples), scale);
        const __m256i high = scaleToFloat(_mm512_extracti64x4_epi64(samples, 1), scale);
        return _mm512_inserti64x4(_mm512_castsi256_si512(low), high, 1);
    }
};

} // namespace
