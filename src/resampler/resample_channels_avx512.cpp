#include "resampler/vector_resampler.h"
#include "simd/doubles_avx512.h"

namespace {

struct avx512_form : avx512_doubles {
    static constexpr unsigned NARROWEST = 8;
    static constexpr unsigned PART[] = {8,8,8,8};
    static constexpr unsigned GROUPS[] = {5,4,2,2};
    static constexpr unsigned FEW_LANES = 8;
    static constexpr unsigned MOST_GROUP_ROWS = 80;
};

} // namespace

uint64_t resampleChannelsAvx512(const resample_job &job) {
    return runForm<avx512_form>(job);
}
