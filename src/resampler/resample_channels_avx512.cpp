#include "resampler/vector_resampler.h"

#include <immintrin.h>

namespace {

struct avx512_form {
    using vector = __m512d;
    static constexpr unsigned LANES = 8;
    static constexpr unsigned NARROWEST = 8;
    static constexpr unsigned GROUPS = 5;
    static constexpr unsigned FEW_LANES = 5;

    static vector zero() {
        return _mm512_setzero_pd();
    }
    static vector load(const double *values) {
        return _mm512_loadu_pd(values);
    }
    static vector broadcast(const double *value) {
        return _mm512_set1_pd(*value);
    }
    static vector multiply(vector a, vector b) {
        return _mm512_mul_pd(a, b);
    }
    static vector add(vector a, vector b) {
        return _mm512_add_pd(a, b);
    }
    static void storeDoubles(double *values, __m128i samples) {
        _mm256_storeu_pd(values, _mm256_cvtepi32_pd(samples));
    }
    // Saturates; below the range, the truncation itself gives the lowest sample. All lanes are
    // asked for by mask: g++ 12 warns about the forms without one.
    static void storeSamples(int32_t *samples, vector sums) {
        const vector bounded = _mm512_maskz_min_pd(0xff, sums, _mm512_set1_pd(2147483647.0));
        _mm256_storeu_si256(reinterpret_cast<__m256i *>(samples),
                            _mm512_maskz_cvttpd_epi32(0xff, bounded));
    }
};

} // namespace

uint64_t resampleChannelsAvx512(const resample_job &job) {
    return runForm<avx512_form>(job);
}
