#include "resampler/vector_resampler.h"

#include <immintrin.h>

namespace {

struct avx2_form {
    using vector = __m256d;
    static constexpr unsigned LANES = 4;
    static constexpr unsigned NARROWEST = 4;
    static constexpr unsigned GROUPS = 4;
    static constexpr unsigned FEW_LANES = 2;

    static vector zero() {
        return _mm256_setzero_pd();
    }
    static vector load(const double *values) {
        return _mm256_loadu_pd(values);
    }
    static vector broadcast(const double *value) {
        return _mm256_broadcast_sd(value);
    }
    static vector multiply(vector a, vector b) {
        return _mm256_mul_pd(a, b);
    }
    static vector add(vector a, vector b) {
        return _mm256_add_pd(a, b);
    }
    static void storeDoubles(double *values, __m128i samples) {
        _mm256_storeu_pd(values, _mm256_cvtepi32_pd(samples));
    }
    // Saturates; below the range, the truncation itself gives the lowest sample.
    static void storeSamples(int32_t *samples, vector sums) {
        const vector bounded = _mm256_min_pd(sums, _mm256_set1_pd(2147483647.0));
        _mm_storeu_si128(reinterpret_cast<__m128i *>(samples), _mm256_cvttpd_epi32(bounded));
    }
};

} // namespace

uint64_t resampleChannelsAvx2(const resample_job &job) {
    return runForm<avx2_form>(job);
}
