#include "resampler/vector_resampler.h"
#include "simd/doubles_sse2.h"
#include "simd/vector_transpose.h"

namespace {

struct sse2_kernel : sse2_doubles, sse2_columns {};

} // namespace

uint64_t resampleChannelsSse2(const resample_job &job) {
    return runKernel<sse2_kernel>(job);
}
