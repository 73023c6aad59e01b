// Gains that the library keeps to itself, measured from outside with a small converter.
#pragma once

#include "zt_trans_audio_converter.h"

#include <array>

// Gain from every input slot to every output slot of the settings' layouts. Not-a-number where
// a gain is out of the range that samples can show.
using slot_gains = std::array<std::array<double, AUDIO_MAX_CHANNELS>, AUDIO_MAX_CHANNELS>;
slot_gains probeMixing(const audio_converter_settings &settings);
