#include "mixer/mix_vector.h"
#include "simd/doubles_avx512.h"

void applyMixMatrixAvx512(const gain_matrix &matrix, const channel_pointers &channels, uint32_t n,
                          uint8_t input_channels, uint8_t output_channels) {
    runMix<avx512_doubles>(matrix, channels, n, input_channels, output_channels);
}
