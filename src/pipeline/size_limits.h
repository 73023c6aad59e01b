#pragma once

#include <cstdint>

// The most bytes that one block may have, carried ones included: eight times as many must fit in
// 32 bits.
constexpr uint32_t LARGEST_BLOCK_BYTES = (uint32_t{1} << 29) - 1;
