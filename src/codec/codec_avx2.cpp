#include "codec/quad_choice.h"
#include "codec/quad_conversions.h"
#include "simd/vector_avx2.h"

codec_pair chooseCodecAvx2(uint8_t format, uint8_t channels, uint8_t bits) {
    return chooseCodec<avx2_vector>(format, channels, bits);
}

convert_function chooseConversionAvx2(sample_coding in, sample_coding out) {
    return chooseConversion<avx2_vector>(in, out);
}
