#include "codec/codec_dispatch.h"

#include "codec/codec.h"
#include "codec/codec_vector.h"

namespace {

// A count of channels that the plain form alone takes.
bool isPlainOnly(uint8_t format, uint8_t channels) {
    return channels == 0 || channels > AUDIO_MAX_CHANNELS ||
           (format == AUDIO_FORMAT_AES3 && channels % 2 != 0);
}

} // namespace

decode_function chooseDecoder(cpu_level level, uint8_t format, uint8_t channels, uint8_t bits) {
    if (level >= CPU_AVX2 && !isPlainOnly(format, channels)) {
        return chooseCodecAvx2(format, channels, bits).decode;
    }
    switch (format) {
    case AUDIO_FORMAT_LPCM_PAIRED:
        return decodeLpcmPaired;
    case AUDIO_FORMAT_LPCM_BE:
        return decodeLpcmBe;
    case AUDIO_FORMAT_AES3:
        return decodeAes3Frames;
    case AUDIO_FORMAT_FLOAT:
        return decodeFloat;
    default:
        return decodePcm;
    }
}

encode_function chooseEncoder(cpu_level level, uint8_t format, uint8_t channels, uint8_t bits) {
    if (level >= CPU_AVX2 && !isPlainOnly(format, channels)) {
        return chooseCodecAvx2(format, channels, bits).encode;
    }
    switch (format) {
    case AUDIO_FORMAT_LPCM_PAIRED:
        return encodeLpcmPaired;
    case AUDIO_FORMAT_LPCM_BE:
        return encodeLpcmBe;
    case AUDIO_FORMAT_AES3:
        return encodeAes3Frames;
    case AUDIO_FORMAT_FLOAT:
        return encodeFloat;
    default:
        return encodePcm;
    }
}
