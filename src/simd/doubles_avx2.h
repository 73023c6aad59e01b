#pragma once

#include <cstdint>
#include <immintrin.h>

// Internal linkage: every unit that is compiled for this instruction set owns its copy.
namespace {

// A vector of doubles for the kernels that are written once for all instruction sets, one rounding
// to each operation. loadSamples converts as many samples as there are lanes, storeDoubles four.
// storeTruncated gives -2147483648 for what leaves the 32-bit range or is not a number, and raises
// the floating-point flag for invalid operations; storeSaturated, for numbers, gives the nearest
// limit and raises none.
struct avx2_doubles {
    using vector = __m256d;
    using mask = __m256d;
    static constexpr unsigned LANES = 4;

    static vector zero() { return _mm256_setzero_pd(); }
    static vector spread(double value) { return _mm256_set1_pd(value); }
    static vector load(const double *values) { return _mm256_loadu_pd(values); }
    static void store(double *values, vector a) { _mm256_storeu_pd(values, a); }
    static vector add(vector a, vector b) { return _mm256_add_pd(a, b); }
    static vector subtract(vector a, vector b) { return _mm256_sub_pd(a, b); }
    static vector multiply(vector a, vector b) { return _mm256_mul_pd(a, b); }
    static vector divide(vector a, vector b) { return _mm256_div_pd(a, b); }
    static vector squareRoot(vector a) { return _mm256_sqrt_pd(a); }
    static mask greater(vector a, vector b) { return _mm256_cmp_pd(a, b, _CMP_GT_OQ); }
    static mask both(mask a, mask b) { return _mm256_and_pd(a, b); }
    static bool any(mask a) { return _mm256_movemask_pd(a) != 0; }
    static vector choose(mask a, vector where_set, vector where_clear) {
        return _mm256_blendv_pd(where_clear, where_set, a);
    }
    static vector loadSamples(const int32_t *samples) {
        return _mm256_cvtepi32_pd(_mm_loadu_si128(reinterpret_cast<const __m128i *>(samples)));
    }
    static void storeDoubles(double *values, __m128i samples) {
        _mm256_storeu_pd(values, _mm256_cvtepi32_pd(samples));
    }
    static void storeTruncated(int32_t *samples, vector a) {
        _mm_storeu_si128(reinterpret_cast<__m128i *>(samples), _mm256_cvttpd_epi32(a));
    }
    static void storeSaturated(int32_t *samples, vector a) {
        const vector not_above = _mm256_min_pd(a, spread(INT32_MAX));
        storeTruncated(samples, _mm256_max_pd(not_above, spread(INT32_MIN)));
    }
};

} // namespace
