#include "simd/kernels.h"

namespace {

// One row a level; a row borrows from the one above what it has no better kernel for. Codecs of
// bytes gain nothing from 512 bits: they hardly compute.
constexpr kernel_set KERNEL_TABLE[CPU_LEVELS] = {
    {"plain", chooseCodecPlain, applyMixMatrix, reorderChannels, resampleChannelsPlain,
     designResamplingFilter},
    {"sse2", chooseCodecPlain, applyMixMatrixSse2, moveChannels, resampleChannelsSse2,
     designResamplingFilter},
    {"ssse3", chooseCodecSsse3, applyMixMatrixSse2, moveChannels, resampleChannelsSse2,
     designResamplingFilter},
    {"avx2", chooseCodecAvx2, applyMixMatrixAvx2, moveChannels, resampleChannelsAvx2,
     designResamplingFilterAvx2},
    {"avx512", chooseCodecAvx2, applyMixMatrixAvx512, moveChannels, resampleChannelsAvx512,
     designResamplingFilterAvx2},
};

} // namespace

const kernel_set &kernelsOf(cpu_level level) {
    return KERNEL_TABLE[level];
}
