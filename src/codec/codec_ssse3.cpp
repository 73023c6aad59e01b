#include "codec/quad_choice.h"
#include "simd/vector_ssse3.h"

codec_pair chooseCodecSsse3(uint8_t format, uint8_t channels, uint8_t bits) {
    return chooseCodec<ssse3_vector>(format, channels, bits);
}
