#pragma once

#include "core/resampler_state.h"

// The coefficients once more, ordered as the SIMD kernels read them: groups of eight
// phases, in each group rows of input samples, in each row one coefficient per phase.
//
//           phase 8g   8g + 1   8g + 2  ...  8g + 7
//   row 0     h         0        0             0        first input sample of phase 8g
//   row 1     h         h        0             0
//   row 2     h         h        h             0        every column holds its phase's taps
//   ...                                                 from that phase's first input on
//   last      0         0        0             h
//
// The zeros change no sum: a sum starts at +0.0, and +0.0 or -0.0 added to it leaves it alone.

constexpr uint32_t PHASES_PER_GROUP = 8;

// Rows of one group; L and M nonzero.
uint64_t packedRows(uint64_t up, uint64_t down);

// Computes packed_rows and packed_bytes from L and M.
void planPackedCoefficients(resampler_state &state);

// Fills `packed` from the filter, in packed_bytes zeroed bytes at `place`, aligned to 64 bytes.
void packCoefficients(resampler_state &state, void *place);
