#include "resampler/vector_resampler.h"
#include "simd/doubles_avx512.h"
#include "simd/transpose_avx2.h"

namespace {

struct avx512_kernel : avx512_doubles, avx2_columns {};

} // namespace

uint64_t resampleChannelsAvx512(const resample_job &job) {
    return runKernel<avx512_kernel>(job);
}
