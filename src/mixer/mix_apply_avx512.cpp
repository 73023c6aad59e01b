#include "mixer/mix_vector.h"

#include <immintrin.h>

namespace {

struct avx512_form {
    using vector = __m512d;
    static constexpr unsigned LANES = 8;

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
    // Truncates; what leaves the range, or is not a number, gives the lowest sample. All
    // lanes are asked for by mask: g++ 12 warns about the form without one.
    static void storeSamples(int32_t *samples, vector sums) {
        _mm256_storeu_si256(reinterpret_cast<__m256i *>(samples),
                            _mm512_maskz_cvttpd_epi32(0xff, sums));
    }
};

} // namespace

void applyMixMatrixAvx512(const gain_matrix &matrix, const channel_pointers &channels, uint32_t n,
                          uint8_t input_channels, uint8_t output_channels) {
    runMix<avx512_form>(matrix, channels, n, input_channels, output_channels);
}
