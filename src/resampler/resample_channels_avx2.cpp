#include "resampler/vector_resampler.h"
#include "simd/doubles_avx2.h"
#include "simd/transpose_avx2.h"

namespace {

struct avx2_kernel : avx2_doubles, avx2_columns {};

} // namespace

uint64_t resampleChannelsAvx2(const resample_job &job) {
    return runKernel<avx2_kernel>(job);
}
