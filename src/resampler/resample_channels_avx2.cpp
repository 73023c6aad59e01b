#include "resampler/vector_resampler.h"
#include "simd/doubles_avx2.h"

namespace {

struct avx2_form : avx2_doubles {
    static constexpr unsigned NARROWEST = 4;
    static constexpr unsigned PART[] = {8,8,8,8};
    static constexpr unsigned GROUPS[] = {4,2,1,1};
    static constexpr unsigned FEW_LANES = 8;
    static constexpr unsigned MOST_GROUP_ROWS = 80;
};

} // namespace

uint64_t resampleChannelsAvx2(const resample_job &job) {
    return runForm<avx2_form>(job);
}
