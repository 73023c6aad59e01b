#pragma once

#include "simd/kernels.h"

constexpr double PI = 3.141592653589793;
constexpr double TWO_PI = 6.283185307179586;

// A term of besselI0 at most this share of the sum is the last.
constexpr double BESSEL_SERIES_LIMIT = 1e-4;

// The largest number that divides both, neither being 0.
uint32_t greatestCommonDivisor(uint32_t a, uint32_t b);

// The zeroth-order modified Bessel function of the first kind at 2 * half_x, by a power series
// that stops early: part of the defined result.
double besselI0(double half_x);

// designResamplingFilter fills table[0 .. length - 1] with a Kaiser-windowed sinc, symmetric about
// its centre.
//
//   length  TAPS_PER_PHASE * phases + 1
//   phases  positions of the upsampled grid per input sample; also the gain of the table
//   beta    shape of the window
//   cutoff  cycles per position of the upsampled grid
