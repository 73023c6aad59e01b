#pragma once

#include "codec/aes3_header.h"
#include "zt_trans_audio_converter.h"

// The two size functions, for callers inside. Unsigned 32-bit arithmetic throughout: products
// wrap, every division truncates.

constexpr uint32_t AES3_EXTRA_BITS = 4;

inline uint32_t samplesInBytes(uint32_t bytes, uint32_t format, uint32_t channels, uint32_t bits) {
    if (channels == 0 || bits == 0) {
        return 0;
    }
    switch (format) {
    case AUDIO_FORMAT_LPCM_PAIRED:
        return bytes * 8 / (2 * channels * bits) * 2;
    case AUDIO_FORMAT_LPCM_BE:
        return (bits == 20 ? bytes / (6 * channels) : bytes * 8 / (2 * channels * bits)) * 2;
    case AUDIO_FORMAT_AES3:
        // A header never makes up a whole frame of 40 bits or more, so it need not be subtracted.
        return bytes * 8 / ((bits + AES3_EXTRA_BITS) * channels);
    default:
        return bytes * 8 / (channels * bits);
    }
}

inline uint32_t bytesOfSamples(uint32_t samples, uint32_t format, uint32_t channels,
                               uint32_t bits) {
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
