#include "codec/codec_choice.h"

#include "codec/plain_codecs.h"

codec_pair chooseCodecPlain(uint8_t format, uint8_t /*channels*/, uint8_t bits) {
    switch (format) {
    case AUDIO_FORMAT_LPCM_PAIRED:
        return bits == 20 || bits == 24 ? PLAIN_LPCM_PAIRED : PLAIN_LPCM_BE;
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

codec_pair chooseCodec(const kernel_set &kernels, uint8_t format, uint8_t channels, uint8_t bits) {
    const bool makes_no_pair = format == AUDIO_FORMAT_AES3 && channels % 2 != 0;
    return makes_no_pair ? chooseCodecPlain(format, channels, bits)
                         : kernels.chooseCodec(format, channels, bits);
}
