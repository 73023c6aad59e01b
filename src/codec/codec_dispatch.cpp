#include "codec/codec_dispatch.h"

#include "codec/codec.h"

decode_function chooseDecoder(cpu_level /*level*/, uint8_t format) {
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

encode_function chooseEncoder(cpu_level /*level*/, uint8_t format) {
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
