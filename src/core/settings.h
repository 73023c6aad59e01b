#pragma once

#include "zt_trans_audio_converter.h"

// Speaker positions that a converter knows: the bits of a channel mask that are counted and mixed.
constexpr uint32_t KNOWN_SPEAKERS = 0xff;

// The mask that a zero input mask stands for, indexed by the channel count. Entry 0 is never
// used: validation refuses 0 channels first.
constexpr uint32_t default_channel_masks[AUDIO_MAX_CHANNELS + 1] = {0x03, 0x01, 0x03, 0x07, 0x33,
                                                                    0x37, 0x3f, 0xf7, 0xff};

// The most bytes that one block may have, carried ones included: eight times as many must fit in
// 32 bits.
constexpr uint32_t LARGEST_BLOCK_BYTES = (uint32_t{1} << 29) - 1;

// The two LPCM formats carry frames in pairs.
inline bool travelsInPairs(uint8_t format) {
    return format == AUDIO_FORMAT_LPCM_PAIRED || format == AUDIO_FORMAT_LPCM_BE;
}

// Replaces the zero mask and output fields of a record by the values they stand for. The input
// channel count may still be invalid; a default mask is then not looked up.
void fillEffectiveSettings(audio_converter_settings &settings);

// Checks the effective settings of a record that is not null, and prints the first fault through
// the host's err_printf or to standard output. Returns 0 when the record is valid, else 1.
int32_t checkSettings(callback_lookup lookup, const audio_converter_settings &settings);
