#include "codec/codec_dispatch.h"

#include "codec/codec_vector.h"

namespace {

codec_pair choosePlain(uint8_t format) {
    switch (format) {
    case AUDIO_FORMAT_LPCM_PAIRED:
        return PLAIN_LPCM_PAIRED;
    case AUDIO_FORMAT_LPCM_BE:
        return PLAIN_LPCM_BE;
    case AUDIO_FORMAT_AES3:
        return PLAIN_AES3;
    case AUDIO_FORMAT_FLOAT:
        return PLAIN_FLOAT;
    default:
        return PLAIN_PCM;
    }
}

codec_pair choosePair(cpu_level level, uint8_t format, uint8_t channels, uint8_t bits) {
    const bool is_aes3 = format == AUDIO_FORMAT_AES3;
    const bool has_vector_form =
        channels >= 1 && channels <= AUDIO_MAX_CHANNELS && !(is_aes3 && channels % 2 != 0);
    if (level < CPU_SSSE3 || !has_vector_form) {
        return choosePlain(format);
    }
    if (level < CPU_AVX2) {
        return chooseCodecSsse3(format, channels, bits);
    }
    if (level >= CPU_AVX512 && (is_aes3 || format == AUDIO_FORMAT_FLOAT)) {
        return chooseCodecAvx512(format, channels, bits);
    }
    return chooseCodecAvx2(format, channels, bits);
}

} // namespace

decode_function chooseDecoder(cpu_level level, uint8_t format, uint8_t channels, uint8_t bits) {
    return choosePair(level, format, channels, bits).decode;
}

encode_function chooseEncoder(cpu_level level, uint8_t format, uint8_t channels, uint8_t bits) {
    return choosePair(level, format, channels, bits).encode;
}
