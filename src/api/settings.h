#pragma once

#include "zt_trans_audio_converter.h"

// Speaker positions that a converter knows: the bits of a channel mask that are counted and mixed.
constexpr uint32_t KNOWN_SPEAKERS = 0xff;

// The mask that a zero input mask stands for, indexed by the channel count. Entry 0 is never
// used: validation refuses 0 channels first.
constexpr uint32_t default_channel_masks[AUDIO_MAX_CHANNELS + 1] = {0x03, 0x01, 0x03, 0x07, 0x33,
                                                                    0x37, 0x3f, 0xf7, 0xff};

// Replaces the zero mask and output fields of a record by the values they stand for. The input
// channel count may still be invalid; a default mask is then not looked up.
void fillEffectiveSettings(audio_converter_settings &settings);
