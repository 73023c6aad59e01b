#include "resampler/vector_resampler.h"
#include "simd/doubles_sse2.h"

uint64_t resampleChannelsSse2(const resample_job &job) {
    return runKernel<sse2_doubles>(job);
}
