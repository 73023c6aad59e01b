#include "mixer/mix_vector.h"

#include <emmintrin.h>

namespace {

struct sse2_form {
    using vector = __m128d;
    static constexpr unsigned LANES = 2;

    static vector zero() {
        return _mm_setzero_pd();
    }
    static vector load(const double *values) {
        return _mm_loadu_pd(values);
    }
    static vector broadcast(const double *value) {
        return _mm_set1_pd(*value);
    }
    static vector multiply(vector a, vector b) {
        return _mm_mul_pd(a, b);
    }
    static vector add(vector a, vector b) {
        return _mm_add_pd(a, b);
    }
    static void storeDoubles(double *values, __m128i samples) {
        _mm_storeu_pd(values, _mm_cvtepi32_pd(samples));
        _mm_storeu_pd(values + 2, _mm_cvtepi32_pd(_mm_srli_si128(samples, 8)));
    }
    // Truncates; what leaves the range, or is not a number, gives the lowest sample.
    static void storeSamples(int32_t *samples, vector sums) {
        _mm_storel_epi64(reinterpret_cast<__m128i *>(samples), _mm_cvttpd_epi32(sums));
    }
};

} // namespace

void applyMixMatrixSse2(const gain_matrix &matrix, const channel_pointers &channels, uint32_t n,
                        uint8_t input_channels, uint8_t output_channels) {
    runMix<sse2_form>(matrix, channels, n, input_channels, output_channels);
}
