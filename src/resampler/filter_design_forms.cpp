#include "resampler/filter_design_forms.h"

#include "resampler/filter_design.h"

void designFilterByLevel(cpu_level level, double *table, int32_t length, uint32_t phases,
                         double beta, double cutoff) {
    switch (level) {
    case CPU_AVX512:
        return designResamplingFilterAvx512(table, length, phases, beta, cutoff);
    case CPU_AVX2:
        return designResamplingFilterAvx2(table, length, phases, beta, cutoff);
    default:
        return designResamplingFilter(table, length, phases, beta, cutoff);
    }
}
