#pragma once

#include "conversion.h"

// This library, through its public header. Null when it refuses the conversion.
std::unique_ptr<stream_converter> makeOwnConverter(const conversion &wanted);

// The gains that the library mixes with: output_channels rows of input_channels gains, in the
// order of the slots, to 30 bits.
std::vector<double> measureGains(const conversion &wanted);
