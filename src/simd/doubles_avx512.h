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
struct avx512_doubles {
    using vector = __m512d;
    static constexpr unsigned LANES = 8;

    // Every lane is asked for by mask: g++ 12 warns about some intrinsics without one.
    static constexpr __mmask8 ALL = 0xff;

    static vector zero() { return _mm512_setzero_pd(); }
    static vector spread(double value) { return _mm512_set1_pd(value); }
    static vector load(const double *values) { return _mm512_loadu_pd(values); }
    static void store(double *values, vector a) { _mm512_storeu_pd(values, a); }
    static vector add(vector a, vector b) { return _mm512_add_pd(a, b); }
    static vector multiply(vector a, vector b) { return _mm512_mul_pd(a, b); }
    static vector loadSamples(const int32_t *samples) {
        const auto *eight = reinterpret_cast<const __m256i *>(samples);
        return _mm512_maskz_cvtepi32_pd(ALL, _mm256_loadu_si256(eight));
    }
    static void storeDoubles(double *values, __m128i samples) {
        _mm256_storeu_pd(values, _mm256_cvtepi32_pd(samples));
    }
    static void storeTruncated(int32_t *samples, vector a) {
        _mm256_storeu_si256(reinterpret_cast<__m256i *>(samples),
                            _mm512_maskz_cvttpd_epi32(ALL, a));
    }
    static void storeSaturated(int32_t *samples, vector a) {
        const vector not_above = _mm512_maskz_min_pd(ALL, a, spread(INT32_MAX));
        storeTruncated(samples, _mm512_maskz_max_pd(ALL, not_above, spread(INT32_MIN)));
    }
};

} // namespace
