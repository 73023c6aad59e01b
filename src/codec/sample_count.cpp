#include "zt_trans_audio_converter.h"

// Unsigned 32-bit arithmetic throughout: products wrap, every division truncates.

namespace {

constexpr uint32_t AES3_HEADER_BYTES = 4;
constexpr uint32_t AES3_EXTRA_BITS = 4;

} // namespace

uint32_t audioConverterBytesToSamples(uint32_t bytes, uint8_t format, uint8_t channels,
                                      uint8_t bits) {
    if (channels == 0 || bits == 0) {
        return 0;
    }
    switch (format) {
    case AUDIO_FORMAT_LPCM_PAIRED:
        return bytes * 8 / bits / (2u * channels) * 2;
    case AUDIO_FORMAT_LPCM_BE:
        return (bits == 20 ? bytes / 3 : bytes * 8 / bits) / (2u * channels) * 2;
    case AUDIO_FORMAT_AES3:
        // A header never makes up a whole frame of 40 bits or more, so it need not be subtracted.
        return bytes * 8 / ((bits + AES3_EXTRA_BITS) * channels);
    default:
        return bytes * 8 / bits / channels;
    }
}

uint32_t audioConverterSamplesToBytes(uint32_t samples, uint8_t format, uint8_t channels,
                                      uint8_t bits) {
    if (channels == 0 || bits == 0) {
        return 0;
    }
    switch (format) {
    case AUDIO_FORMAT_LPCM_BE:
        return bits == 20 ? samples * 3 * channels : channels * samples * bits / 8;
    case AUDIO_FORMAT_AES3:
        return channels * samples * (bits + AES3_EXTRA_BITS) / 8 + AES3_HEADER_BYTES;
    default:
        return channels * samples * bits / 8;
    }
}
