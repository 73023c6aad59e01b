#pragma once

#include "cpu_level.h"

#include <cstdint>

// designResamplingFilter by the form for `level`, with the same results.
void designFilterByLevel(cpu_level level, double *table, int32_t length, uint32_t phases,
                         double beta, double cutoff);

// The forms; parameters and results as designResamplingFilter.
void designResamplingFilterAvx2(double *table, int32_t length, uint32_t phases, double beta,
                                double cutoff);
void designResamplingFilterAvx512(double *table, int32_t length, uint32_t phases, double beta,
                                  double cutoff);
