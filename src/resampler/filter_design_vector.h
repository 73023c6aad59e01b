#pragma once

#include "resampler/filter_design.h"
#include "simd/kernels.h"

#include <math.h>

// Shared by the SIMD kernels. Everything has internal linkage: each instruction set's unit owns
// its copy, compiled for that set. Lanes are neighbouring coefficients.
namespace {

constexpr int32_t DESIGN_BATCH = 64;

// besselI0, lane by lane: a lane whose series has stopped keeps its sum.
template <typename V>
typename V::vector besselI0Lanes(typename V::vector half_x) {
    const typename V::vector limit = V::spread(BESSEL_SERIES_LIMIT);
    typename V::vector term = V::spread(1.0);
    typename V::vector sum = V::spread(1.0);
    typename V::mask running = V::greater(sum, V::zero());
    double k = 1.0;
    do {
        term = V::multiply(term, V::divide(half_x, V::spread(k)));
        k = k + 1.0;
        sum = V::choose(running, V::add(sum, V::multiply(term, term)), sum);
        running = V::both(running, V::greater(term, V::multiply(sum, limit)));
    } while (V::any(running));
    return sum;
}

// DESIGN_BATCH coefficients, given their distances from the centre, at most `half`, and their
// sines.
template <typename V>
void designBatch(double *values, const double *sines, const double *distances, double half,
                 double beta, double norm) {
    static_assert(DESIGN_BATCH % V::LANES == 0);
    for (int32_t i = 0; i < DESIGN_BATCH; i += static_cast<int32_t>(V::LANES)) {
        const typename V::vector k = V::load(distances + i);
        const typename V::vector r = V::divide(k, V::spread(half));
        const typename V::vector a = V::squareRoot(V::subtract(V::spread(1.0), V::multiply(r, r)));
        const typename V::vector b =
            besselI0Lanes<V>(V::multiply(V::multiply(a, V::spread(beta)), V::spread(0.5)));
        V::store(values + i,
                 V::divide(V::multiply(V::load(sines + i), b), V::multiply(k, V::spread(norm))));
    }
}

template <typename V>
void designFilter(double *table, int32_t length, uint32_t phases, double beta, double cutoff) {
    const int32_t half = length / 2;
    const double gain = phases;
    const double norm = besselI0(0.5 * beta) * PI / gain;
    const double w = TWO_PI * cutoff;
    double distances[DESIGN_BATCH];
    double sines[DESIGN_BATCH];
    double values[DESIGN_BATCH];
    table[half] = (cutoff + cutoff) * gain;
    for (int32_t k = 1; k <= half; k += DESIGN_BATCH) {
        for (int32_t i = 0; i < DESIGN_BATCH; ++i) {
            // Behind the table's end the last coefficient again: it is of no use, but there the
            // window is the square root of a negative number.
            distances[i] = k + i < half ? k + i : half;
            sines[i] = sin(w * distances[i]);
        }
        designBatch<V>(values, sines, distances, half, beta, norm);
        for (int32_t i = 0; i < DESIGN_BATCH && k + i <= half; ++i) {
            table[half + k + i] = values[i];
            table[half - k - i] = values[i];
        }
    }
}

} // namespace
