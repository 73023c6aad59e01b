#include "resampler/vector_resampler.h"
#include "simd/doubles_avx512.h"

uint64_t resampleChannelsAvx512(const resample_job &job) {
    return runKernel<avx512_doubles>(job);
}
