#include "resampler/vector_resampler.h"
#include "simd/doubles_sse2.h"

namespace {

struct sse2_form : sse2_doubles {
    static constexpr unsigned NARROWEST = 4;
    static constexpr unsigned PART[] = {8,8,4,4};
    static constexpr unsigned GROUPS[] = {2,1,1,1};
    static constexpr unsigned FEW_LANES = 8;
    static constexpr unsigned MOST_GROUP_ROWS = 60;
};

} // namespace

uint64_t resampleChannelsSse2(const resample_job &job) {
    return runForm<sse2_form>(job);
}
