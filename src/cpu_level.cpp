#include "cpu_level.h"

#include <cpuid.h>

namespace {

// Register-file state that the operating system saves, as XCR0 reports it.
constexpr uint32_t XCR0_SSE_AVX = 0x06;
constexpr uint32_t XCR0_SSE_AVX_AVX512 = 0xe6;

constexpr uint32_t AVX512_SETS = bit_AVX512F | bit_AVX512BW | bit_AVX512DQ | bit_AVX512VL;

struct cpuid_leaf {
    uint32_t eax;
    uint32_t ebx;
    uint32_t ecx;
    uint32_t edx;
};

// Zeros for a leaf that the processor does not have.
cpuid_leaf readLeaf(uint32_t number) {
    cpuid_leaf leaf = {};
    __get_cpuid_count(number, 0, &leaf.eax, &leaf.ebx, &leaf.ecx, &leaf.edx);
    return leaf;
}

uint32_t readXcr0() {
    uint32_t low;
    uint32_t high;
    __asm__("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
    return low;
}

bool hasAll(uint32_t word, uint32_t bits) {
    return (word & bits) == bits;
}

} // namespace

cpu_level detectCpuLevel() {
    const cpuid_leaf basic = readLeaf(1);
    const cpuid_leaf extended = readLeaf(7);
    const uint32_t saved = hasAll(basic.ecx, bit_OSXSAVE) ? readXcr0() : 0;
    if (!hasAll(basic.ecx, bit_SSSE3)) {
        return CPU_SSE2;
    }
    if (!hasAll(saved, XCR0_SSE_AVX) || !hasAll(extended.ebx, bit_AVX2)) {
        return CPU_SSSE3;
    }
    const bool avx512 = hasAll(saved, XCR0_SSE_AVX_AVX512) && hasAll(extended.ebx, AVX512_SETS);
    return avx512 ? CPU_AVX512 : CPU_AVX2;
}
