#include "mixer/mix_vector.h"
#include "simd/doubles_avx2.h"

void applyMixMatrixAvx2(const gain_matrix &matrix, const channel_pointers &channels, uint32_t n,
                        uint8_t input_channels, uint8_t output_channels) {
    runMix<avx2_doubles>(matrix, channels, n, input_channels, output_channels);
}
