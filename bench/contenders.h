#pragma once

#include "conversion.h"

// A library in the race, under the name that benchmarks end in.
struct contender {
    const char *name;
    converter_maker make;
};

// This library first, then the peers whose packages were there at configuration.
std::span<const contender> contenders();
