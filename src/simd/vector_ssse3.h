#pragma once

#include "simd/lanes128.h"

#include <tmmintrin.h>

// Internal linkage: every unit that is compiled for this instruction set owns its copy.
namespace {

// Two 16-byte lanes, a register each. Shuffles and interleaving stay within the lanes.
struct ssse3_vector {
    struct vec {
        lane128 first;
        lane128 second;
    };
    static constexpr unsigned LANES128 = 2;
    static constexpr bool FUSES_STAGES = false; // see tile_codecs.h

    static vec join(const lane128 (&lanes)[LANES128]) { return {lanes[0], lanes[1]}; }
    static void split(vec v, lane128 (&lanes)[LANES128]) {
        lanes[0] = v.first;
        lanes[1] = v.second;
    }
    static vec load(const void *samples) {
        const auto *lanes = static_cast<const lane128 *>(samples);
        return {_mm_loadu_si128(lanes), _mm_loadu_si128(lanes + 1)};
    }
    static void store(void *samples, vec v) {
        auto *lanes = static_cast<lane128 *>(samples);
        _mm_storeu_si128(lanes, v.first);
        _mm_storeu_si128(lanes + 1, v.second);
    }

    static lane128 oneLane(const shuffle_pattern &pattern) {
        return loadWhole<LANE128_BYTES>(pattern.from);
    }
    static vec everyLane(lane128 one) { return {one, one}; }
    static vec all32(uint32_t bits) {
        return everyLane(_mm_set1_epi32(static_cast<int32_t>(bits)));
    }
    static vec all64(uint64_t bits) {
        return everyLane(_mm_set1_epi64x(static_cast<int64_t>(bits)));
    }

    static vec shuffle(vec bytes, const shuffle_pattern &pattern) {
        const lane128 from = oneLane(pattern);
        return {_mm_shuffle_epi8(bytes.first, from), _mm_shuffle_epi8(bytes.second, from)};
    }
    // With a pattern of its own for the last lane.
    static vec shuffle(vec bytes, const shuffle_pattern &pattern, const shuffle_pattern &last) {
        return {_mm_shuffle_epi8(bytes.first, oneLane(pattern)),
                _mm_shuffle_epi8(bytes.second, oneLane(last))};
    }
    // Bytes of the table at indices 0..15.
    static vec lookUp(const shuffle_pattern &table, vec indices) {
        const lane128 bytes = oneLane(table);
        return {_mm_shuffle_epi8(bytes, indices.first), _mm_shuffle_epi8(bytes, indices.second)};
    }
    static vec bitAnd(vec a, vec b) {
        return {_mm_and_si128(a.first, b.first), _mm_and_si128(a.second, b.second)};
    }
    static vec bitOr(vec a, vec b) {
        return {_mm_or_si128(a.first, b.first), _mm_or_si128(a.second, b.second)};
    }
    static vec exclusiveOr(vec a, vec b) {
        return {_mm_xor_si128(a.first, b.first), _mm_xor_si128(a.second, b.second)};
    }
    template <unsigned Bits> static vec shiftLeft32(vec v) {
        return {_mm_slli_epi32(v.first, Bits), _mm_slli_epi32(v.second, Bits)};
    }
    template <unsigned Bits> static vec shiftRight32(vec v) {
        return {_mm_srli_epi32(v.first, Bits), _mm_srli_epi32(v.second, Bits)};
    }
    template <unsigned Bits> static vec shiftRightSigned32(vec v) {
        return {_mm_srai_epi32(v.first, Bits), _mm_srai_epi32(v.second, Bits)};
    }
    template <unsigned Bits> static vec shiftLeft64(vec v) {
        return {_mm_slli_epi64(v.first, Bits), _mm_slli_epi64(v.second, Bits)};
    }
    template <unsigned Bits> static vec shiftRight64(vec v) {
        return {_mm_srli_epi64(v.first, Bits), _mm_srli_epi64(v.second, Bits)};
    }
    // The even 32 bits of one, the odd of the other.
    static vec oddFrom(vec even, vec odd) {
        const vec evens = all64(0xffffffff);
        return {_mm_or_si128(_mm_and_si128(evens.first, even.first),
                             _mm_andnot_si128(evens.first, odd.first)),
                _mm_or_si128(_mm_and_si128(evens.second, even.second),
                             _mm_andnot_si128(evens.second, odd.second))};
    }

    static vec interleaveLow32(vec a, vec b) {
        return {_mm_unpacklo_epi32(a.first, b.first), _mm_unpacklo_epi32(a.second, b.second)};
    }
    static vec interleaveHigh32(vec a, vec b) {
        return {_mm_unpackhi_epi32(a.first, b.first), _mm_unpackhi_epi32(a.second, b.second)};
    }
    static vec interleaveLow64(vec a, vec b) {
        return {_mm_unpacklo_epi64(a.first, b.first), _mm_unpacklo_epi64(a.second, b.second)};
    }
    static vec interleaveHigh64(vec a, vec b) {
        return {_mm_unpackhi_epi64(a.first, b.first), _mm_unpackhi_epi64(a.second, b.second)};
    }
    template <int From> static lane128 choose64(lane128 a, lane128 b) {
        return _mm_castpd_si128(_mm_shuffle_pd(_mm_castsi128_pd(a), _mm_castsi128_pd(b), From));
    }
    // The low half of a lane of `a` and the high half of `b`, or the high of `a` and the low of
    // `b`.
    static vec lowHigh64(vec a, vec b) {
        return {choose64<0x2>(a.first, b.first), choose64<0x2>(a.second, b.second)};
    }
    static vec highLow64(vec a, vec b) {
        return {choose64<0x1>(a.first, b.first), choose64<0x1>(a.second, b.second)};
    }
    template <int From> static lane128 choose32(lane128 a, lane128 b) {
        return _mm_castps_si128(_mm_shuffle_ps(_mm_castsi128_ps(a), _mm_castsi128_ps(b), From));
    }
    // The even, or the odd, 32 bits of both, those of `a` first.
    static vec evens32(vec a, vec b) {
        return {choose32<0x88>(a.first, b.first), choose32<0x88>(a.second, b.second)};
    }
    static vec odds32(vec a, vec b) {
        return {choose32<0xdd>(a.first, b.first), choose32<0xdd>(a.second, b.second)};
    }

    // Of the low two values. Products with a scale in double precision, truncated and saturated;
    // not-a-number gives 0. No floating-point flag but the inexact one for what is finite.
    static lane128 scaleToSamples(__m128 values, double scale) {
        const __m128d scaled = _mm_mul_pd(_mm_cvtps_pd(values), _mm_set1_pd(scale));
        const __m128d not_above = _mm_min_pd(scaled, _mm_set1_pd(INT32_MAX));
        return _mm_cvttpd_epi32(_mm_max_pd(not_above, _mm_set1_pd(INT32_MIN)));
    }
    static lane128 laneFromFloat(lane128 bits, double scale) {
        const __m128 any = _mm_castsi128_ps(bits);
        const __m128 values = _mm_and_ps(any, _mm_cmpord_ps(any, any));
        return joinHalves(scaleToSamples(values, scale),
                          scaleToSamples(_mm_movehl_ps(values, values), scale));
    }
    static vec fromFloat(vec bits, double scale) {
        return {laneFromFloat(bits.first, scale), laneFromFloat(bits.second, scale)};
    }
    // Of the low two samples. Products in double precision, rounded to singles.
    static __m128 scaleToFloat(lane128 samples, double scale) {
        return _mm_cvtpd_ps(_mm_mul_pd(_mm_cvtepi32_pd(samples), _mm_set1_pd(scale)));
    }
    static lane128 laneToFloat(lane128 samples, double scale) {
        const lane128 high = _mm_unpackhi_epi64(samples, samples);
        return _mm_castps_si128(
            _mm_movelh_ps(scaleToFloat(samples, scale), scaleToFloat(high, scale)));
    }
    static vec toFloat(vec samples, double scale) {
        return {laneToFloat(samples.first, scale), laneToFloat(samples.second, scale)};
    }
};

} // namespace
