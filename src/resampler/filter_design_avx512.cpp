#include "doubles_avx512.h"
#include "resampler/filter_design_vector.h"

void designResamplingFilterAvx512(double *table, int32_t length, uint32_t phases, double beta,
                                  double cutoff) {
    designFilter<avx512_doubles>(table, length, phases, beta, cutoff);
}
