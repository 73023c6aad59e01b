#pragma once

#include <cstdint>
#include <emmintrin.h>

// Truncates towards zero; what leaves the 32-bit range, or is not a number, gives -2147483648.
inline int32_t truncateToInt32(double value) {
    return _mm_cvttsd_si32(_mm_set_sd(value));
}
