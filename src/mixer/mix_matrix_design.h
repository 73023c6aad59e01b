#pragma once

#include "mixer/mixer.h"

// Designs the gains from one speaker layout to another, in speaker order: row = input speaker
// bit, column = output speaker bit. No column's absolute gains add up to more than 1, but for
// the last place. Cells of absent speakers may hold values.
//
//   input_mask, output_mask  only bits 0 to 7 count
//   input_channels           1 to 8
void designMixMatrix(gain_matrix &matrix, uint32_t input_mask, uint32_t output_mask,
                     uint8_t input_channels);
