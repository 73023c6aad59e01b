#include "mixer/mix_vector.h"

#include <immintrin.h>

namespace {

struct avx2_form {
    using vector = __m256d;
    static constexpr unsigned LANES = 4;

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
    // Truncates; what leaves the range, or is not a number, gives the lowest sample.
    static void storeSamples(int32_t *samples, vector sums) {
        _mm_storeu_si128(reinterpret_cast<__m128i *>(samples), _mm256_cvttpd_epi32(sums));
    }
};

} // namespace

void applyMixMatrixAvx2(const gain_matrix &matrix, const channel_pointers &channels, uint32_t n,
                        uint8_t input_channels, uint8_t output_channels) {
    runMix<avx2_form>(matrix, channels, n, input_channels, output_channels);
}
