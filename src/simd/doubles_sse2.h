#pragma once

#include <cstdint>
#include <emmintrin.h>

// Internal linkage: every unit that is compiled for this instruction set owns its copy.
namespace {

// A vector of doubles for the kernels that are written once for all instruction sets, one rounding
// to each operation. loadSamples converts as many samples as there are lanes, storeDoubles four.
// storeTruncated gives -2147483648 for what leaves the 32-bit range or is not a number, and raises
// the floating-point flag for invalid operations; storeSaturated, for numbers, gives the nearest
// limit and raises none.
struct sse2_doubles {
    using vector = __m128d;
    static constexpr unsigned LANES = 2;

    static vector zero() { return _mm_setzero_pd(); }
    static vector spread(double value) { return _mm_set1_pd(value); }
    static vector load(const double *values) { return _mm_loadu_pd(values); }
    static void store(double *values, vector a) { _mm_storeu_pd(values, a); }
    static vector add(vector a, vector b) { return _mm_add_pd(a, b); }
    static vector multiply(vector a, vector b) { return _mm_mul_pd(a, b); }
    static vector loadSamples(const int32_t *samples) {
        return _mm_cvtepi32_pd(_mm_loadl_epi64(reinterpret_cast<const __m128i *>(samples)));
    }
    static void storeDoubles(double *values, __m128i samples) {
        _mm_storeu_pd(values, _mm_cvtepi32_pd(samples));
        _mm_storeu_pd(values + 2, _mm_cvtepi32_pd(_mm_srli_si128(samples, 8)));
    }
    static void storeTruncated(int32_t *samples, vector a) {
        _mm_storel_epi64(reinterpret_cast<__m128i *>(samples), _mm_cvttpd_epi32(a));
    }
    static void storeSaturated(int32_t *samples, vector a) {
        const vector not_above = _mm_min_pd(a, spread(INT32_MAX));
        storeTruncated(samples, _mm_max_pd(not_above, spread(INT32_MIN)));
    }
};

} // namespace
