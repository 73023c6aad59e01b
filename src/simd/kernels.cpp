#include "simd/kernels.h"

#include <iterator>

namespace {

// One row a level; a row borrows from the one above what it has no better kernel for. Other
// processors than x86-64 have the first row alone.
constexpr kernel_set KERNEL_TABLE[] = {
    {"plain", chooseCodecPlain, nullptr, applyMixMatrix, reorderChannels, resampleChannelsPlain,
     designResamplingFilter},
#if defined(__x86_64__)
    {"sse2", chooseCodecPlain, nullptr, applyMixMatrixSse2, moveChannels, resampleChannelsSse2,
     designResamplingFilter},
    {"ssse3", chooseCodecSsse3, nullptr, applyMixMatrixSse2, moveChannels, resampleChannelsSse2,
     designResamplingFilter},
    {"avx2", chooseCodecAvx2, chooseConversionAvx2, applyMixMatrixAvx2, moveChannels,
     resampleChannelsAvx2, designResamplingFilterAvx2},
    {"avx512", chooseCodecAvx512, chooseConversionAvx512, applyMixMatrixAvx512, moveChannels,
     resampleChannelsAvx512, designResamplingFilterAvx2},
#endif
};
#if defined(__x86_64__)
static_assert(std::size(KERNEL_TABLE) == CPU_AVX512 + 1);
#endif

} // namespace

const kernel_set &kernelsOf(cpu_level level) {
    return KERNEL_TABLE[level < std::size(KERNEL_TABLE) ? level : CPU_PLAIN];
}
