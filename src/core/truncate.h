#pragma once

#include <cmath>
#include <cstdint>

// Doubles to samples, truncated towards zero. What leaves the 32-bit range is not converted: the
// conversion has no defined result for it, and the processor would raise the floating-point flag
// for invalid operations.

// -2^31 itself need not count: what stands for it is the same.
inline bool fitsInt32(double value) {
    return std::fabs(value) < 2147483648.0;
}

// What leaves the range, or is not a number, gives -2147483648.
inline int32_t truncateToInt32(double value) {
    return fitsInt32(value) ? static_cast<int32_t>(value) : INT32_MIN;
}

// What leaves the range gives the nearest limit, what is not a number 0.
inline int32_t saturateToInt32(double value) {
    if (fitsInt32(value)) [[likely]] {
        return static_cast<int32_t>(value);
    }
    return value < 0.0 ? INT32_MIN : value > 0.0 ? INT32_MAX : 0;
}
