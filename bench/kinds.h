#pragma once

#include "zt_trans_audio_converter.h"

struct sample_kind {
    const char *name;
    uint8_t format;
    uint8_t bits;
};

inline constexpr sample_kind PCM32 = {"pcm32", AUDIO_FORMAT_PCM, 32};

// Every format in every depth that it allows.
inline constexpr sample_kind KINDS[] = {
    {"pcm8", AUDIO_FORMAT_PCM, 8},
    {"pcm16", AUDIO_FORMAT_PCM, 16},
    {"pcm24", AUDIO_FORMAT_PCM, 24},
    PCM32,
    {"paired16", AUDIO_FORMAT_LPCM_PAIRED, 16},
    {"paired20", AUDIO_FORMAT_LPCM_PAIRED, 20},
    {"paired24", AUDIO_FORMAT_LPCM_PAIRED, 24},
    {"be16", AUDIO_FORMAT_LPCM_BE, 16},
    {"be20", AUDIO_FORMAT_LPCM_BE, 20},
    {"be24", AUDIO_FORMAT_LPCM_BE, 24},
    {"aes16", AUDIO_FORMAT_AES3, 16},
    {"aes20", AUDIO_FORMAT_AES3, 20},
    {"aes24", AUDIO_FORMAT_AES3, 24},
    {"float", AUDIO_FORMAT_FLOAT, 32},
};
