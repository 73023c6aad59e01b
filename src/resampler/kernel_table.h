#pragma once

#include "core/instance.h"

// A private copy of the coefficients, ordered as the vector forms read them: groups of eight
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

// Up to this M the vector forms walk stretches of many rounds and read `resampler_state::filter`;
// there is no private copy.
constexpr uint32_t LARGEST_STRETCHED_STEP = 32;

// Rows of one group; L and M nonzero.
uint64_t kernelTableRows(uint64_t up, uint64_t down);

// The start of the private copy in the block of `converter`: aligned to 64 bytes.
double *kernelTablePlace(audio_converter &converter);

// Fills a zeroed table from the filter.
void fillKernelTable(const resampler_state &state, double *table);
