#include "resampler/vector_resampler.h"
#include "simd/doubles_avx2.h"

uint64_t resampleChannelsAvx2(const resample_job &job) {
    return runKernel<avx2_doubles>(job);
}
