#include "resampler/filter_design.h"

#include <cmath>

uint32_t greatestCommonDivisor(uint32_t a, uint32_t b) {
    while (b != 0) {
        const uint32_t remainder = a % b;
        a = b;
        b = remainder;
    }
    return a;
}

double besselI0(double half_x) {
    double term = 1.0;
    double sum = 1.0;
    double k = 1.0;
    do {
        term = term * (half_x / k);
        k = k + 1.0;
        sum = sum + term * term;
    } while (term > sum * BESSEL_SERIES_LIMIT);
    return sum;
}

void designResamplingFilter(double *table, int32_t length, uint32_t phases, double beta,
                            double cutoff) {
    const int32_t half = length / 2;
    const double gain = phases;
    const double norm = besselI0(0.5 * beta) * PI / gain;
    const double w = TWO_PI * cutoff;
    table[half] = (cutoff + cutoff) * gain;
    for (int32_t k = 1; k <= half; ++k) {
        const double s = std::sin(w * k);
        const double r = static_cast<double>(k) / half;
        const double a = std::sqrt(1.0 - r * r);
        const double b = besselI0(a * beta * 0.5);
        const double v = s * b / (k * norm);
        table[half + k] = v;
        table[half - k] = v;
    }
}
