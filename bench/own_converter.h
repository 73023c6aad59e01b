#pragma once

#include "conversion.h"

#include <string_view>

// Holds the converters made from now on to the kernels of a level, by its name; false when this
// machine lacks it. Without it the library chooses.
bool holdToLevel(std::string_view name);

// The name of the kernels that run.
const char *kernelName();

// This library, through its public functions. Null when it refuses the conversion.
std::unique_ptr<stream_converter> makeOwnConverter(const conversion &wanted);

// The gains that the library mixes with: output_channels rows of input_channels gains, in the
// order of the slots, to 30 bits.
std::vector<double> measureGains(const conversion &wanted);
