#include "resampler/filter_design_vector.h"
#include "simd/doubles_avx2.h"

void designResamplingFilterAvx2(double *table, int32_t length, uint32_t phases, double beta,
                                double cutoff) {
    designFilter<avx2_doubles>(table, length, phases, beta, cutoff);
}
