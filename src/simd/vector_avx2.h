#pragma once

#include "simd/lanes128.h"

#include <immintrin.h>

// Internal linkage: every unit that is compiled for this instruction set owns its copy.
namespace {

// A vector of two 16-byte lanes. Shuffles and interleaving stay within the lanes.
struct avx2_vector {
    using vec = __m256i;
    static constexpr unsigned LANES128 = 2;
    static constexpr bool FUSES_STAGES = true; // see tile_codecs.h

    static vec join(const lane128 (&lanes)[LANES128]) {
        return _mm256_inserti128_si256(_mm256_castsi128_si256(lanes[0]), lanes[1], 1);
    }
    static void split(vec v, lane128 (&lanes)[LANES128]) {
        lanes[0] = _mm256_castsi256_si128(v);
        lanes[1] = _mm256_extracti128_si256(v, 1);
    }
    static vec load(const void *samples) {
        return _mm256_loadu_si256(static_cast<const __m256i *>(samples));
    }
    static void store(void *samples, vec v) {
        _mm256_storeu_si256(static_cast<__m256i *>(samples), v);
    }

    static vec everyLane(const shuffle_pattern &pattern) {
        return _mm256_broadcastsi128_si256(loadWhole<LANE128_BYTES>(pattern.from));
    }
    static vec all32(uint32_t bits) { return _mm256_set1_epi32(static_cast<int32_t>(bits)); }
    static vec all64(uint64_t bits) { return _mm256_set1_epi64x(static_cast<int64_t>(bits)); }

    static vec shuffle(vec bytes, const shuffle_pattern &pattern) {
        return _mm256_shuffle_epi8(bytes, everyLane(pattern));
    }
    // With a pattern of its own for the last lane.
    static vec shuffle(vec bytes, const shuffle_pattern &pattern, const shuffle_pattern &last) {
        return _mm256_shuffle_epi8(bytes, join({loadWhole<LANE128_BYTES>(pattern.from),
                                                loadWhole<LANE128_BYTES>(last.from)}));
    }
    // Bytes of the table at indices 0..15.
    static vec lookUp(const shuffle_pattern &table, vec indices) {
        return _mm256_shuffle_epi8(everyLane(table), indices);
    }
    static vec bitAnd(vec a, vec b) { return _mm256_and_si256(a, b); }
    static vec bitOr(vec a, vec b) { return _mm256_or_si256(a, b); }
    static vec exclusiveOr(vec a, vec b) { return _mm256_xor_si256(a, b); }
    template <unsigned Bits> static vec shiftLeft32(vec v) { return _mm256_slli_epi32(v, Bits); }
    template <unsigned Bits> static vec shiftRight32(vec v) { return _mm256_srli_epi32(v, Bits); }
    template <unsigned Bits> static vec shiftRightSigned32(vec v) {
        return _mm256_srai_epi32(v, Bits);
    }
    template <unsigned Bits> static vec shiftLeft64(vec v) { return _mm256_slli_epi64(v, Bits); }
    template <unsigned Bits> static vec shiftRight64(vec v) { return _mm256_srli_epi64(v, Bits); }
    // The even 32 bits of one, the odd of the other.
    static vec oddFrom(vec even, vec odd) { return _mm256_blend_epi32(even, odd, 0xaa); }

    static vec interleaveLow32(vec a, vec b) { return _mm256_unpacklo_epi32(a, b); }
    static vec interleaveHigh32(vec a, vec b) { return _mm256_unpackhi_epi32(a, b); }
    static vec interleaveLow64(vec a, vec b) { return _mm256_unpacklo_epi64(a, b); }
    static vec interleaveHigh64(vec a, vec b) { return _mm256_unpackhi_epi64(a, b); }
    // The low half of a lane of `a` and the high half of `b`, or the high of `a` and the low of
    // `b`.
    static vec lowHigh64(vec a, vec b) { return _mm256_blend_epi32(a, b, 0xcc); }
    static vec highLow64(vec a, vec b) {
        return _mm256_castpd_si256(
            _mm256_shuffle_pd(_mm256_castsi256_pd(a), _mm256_castsi256_pd(b), 0x5));
    }
    // The even, or the odd, 32 bits of both, those of `a` first.
    static vec evens32(vec a, vec b) {
        return _mm256_castps_si256(
            _mm256_shuffle_ps(_mm256_castsi256_ps(a), _mm256_castsi256_ps(b), 0x88));
    }
    static vec odds32(vec a, vec b) {
        return _mm256_castps_si256(
            _mm256_shuffle_ps(_mm256_castsi256_ps(a), _mm256_castsi256_ps(b), 0xdd));
    }

    // Products of singles with a scale in double precision, truncated and saturated; not-a-number
    // gives 0. No floating-point flag but the inexact one for what is finite.
    static lane128 scaleToSamples(__m128 values, double scale) {
        const __m256d scaled = _mm256_mul_pd(_mm256_cvtps_pd(values), _mm256_set1_pd(scale));
        const __m256d not_above = _mm256_min_pd(scaled, _mm256_set1_pd(INT32_MAX));
        return _mm256_cvttpd_epi32(_mm256_max_pd(not_above, _mm256_set1_pd(INT32_MIN)));
    }
    static vec fromFloat(vec bits, double scale) {
        const __m256 any = _mm256_castsi256_ps(bits);
        const __m256 values = _mm256_and_ps(any, _mm256_cmp_ps(any, any, _CMP_ORD_Q));
        return join({scaleToSamples(_mm256_castps256_ps128(values), scale),
                     scaleToSamples(_mm256_extractf128_ps(values, 1), scale)});
    }
    // Products in double precision, rounded to singles.
    static lane128 scaleToFloat(lane128 samples, double scale) {
        const __m256d products = _mm256_mul_pd(_mm256_cvtepi32_pd(samples), _mm256_set1_pd(scale));
        return _mm_castps_si128(_mm256_cvtpd_ps(products));
    }
    static vec toFloat(vec samples, double scale) {
        return join({scaleToFloat(_mm256_castsi256_si128(samples), scale),
                     scaleToFloat(_mm256_extracti128_si256(samples, 1), scale)});
    }
};

} // namespace
