#pragma once

#include "conversion.h"

#include <string>

// One conversion to race, its name being "group/what/channels".
struct bench_row {
    std::string name;
    conversion wanted;
    // Frames in a block: where this library runs alone, and where everyone runs.
    std::vector<std::size_t> own_blocks;
    std::vector<std::size_t> race_blocks;
    std::size_t instances = 1; // converters that take turns, block by block
};

// The whole grid, or with `quick` two channels and two blocks of it.
std::vector<bench_row> makeRows(bool quick);

// A pair of rates whose set-up is timed.
struct rate_pair {
    uint32_t input;
    uint32_t output;
};
std::vector<rate_pair> creationPairs();
