// Mixing matrices in text files.
//
// One row per line, gains separated by blanks or commas, '#' starts a comment. A row is an input
// speaker, a column an output speaker: 8 x 8 by speaker bit, or input x output channels in
// ascending order of the speakers. A gain is a number (0.5, -1, 1e-3) or decibels (-3dB).
#pragma once

#include "zt_trans_audio_converter.h"

#include <array>
#include <cstdint>
#include <string>

using gain_matrix = std::array<std::array<double, AUDIO_MAX_CHANNELS>, AUDIO_MAX_CHANNELS>;

// Reads a matrix for the two layouts, by speaker bit. Throws conversion_error when the file
// cannot be read, usage_error when it holds something else.
gain_matrix readMatrixFile(const std::string &path, uint32_t input_mask, uint32_t output_mask);
