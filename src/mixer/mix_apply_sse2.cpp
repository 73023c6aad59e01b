#include "mixer/mix_vector.h"
#include "simd/doubles_sse2.h"

void applyMixMatrixSse2(const gain_matrix &matrix, const channel_pointers &channels, uint32_t n,
                        uint8_t input_channels, uint8_t output_channels) {
    runMix<sse2_doubles>(matrix, channels, n, input_channels, output_channels);
}
