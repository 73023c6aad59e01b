#include "doubles_avx2.h"
#include "resampler/filter_design_vector.h"

void designResamplingFilterAvx2(double *table, int32_t length, uint32_t phases, double beta,
                                double cutoff) {
    designFilter<avx2_doubles>(table, length, phases, beta, cutoff);
}
