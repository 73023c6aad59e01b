// Gains and taps that the library keeps to itself, measured from outside with small converters.
#pragma once

#include "zt_trans_audio_converter.h"

#include <array>
#include <vector>

// Gain from every input slot to every output slot of the settings' layouts. Not-a-number where
// a gain is out of the range that samples can show.
using slot_gains = std::array<std::array<double, AUDIO_MAX_CHANNELS>, AUDIO_MAX_CHANNELS>;
slot_gains probeMixing(const audio_converter_settings &settings);

// The impulse response of a rate change.
struct filter_response {
    uint32_t up_factor = 1;   // taps per input sample
    std::vector<double> taps; // 40 * up_factor + 1, the centre in the middle
};
filter_response probeFilter(uint32_t input_rate, uint32_t output_rate);
