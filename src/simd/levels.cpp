#include "simd/levels.h"

#include <algorithm>
#include <iterator>

#if defined(__x86_64__)
#include <cpuid.h>
#endif

namespace {

constexpr uint32_t FAMILY_INTEL = 0x06;
constexpr uint32_t FAMILY_ZEN_4 = 0x19; // AMD; computes 512 bits in halves, as do its elders

// Server processors with two 512-bit floating-point units that run at full clock.
constexpr uint32_t WIDE_INTEL_MODELS[] = {0x6a, 0x6c, 0x8f, 0xcf, 0xad, 0xae};

// From the signature of leaf 1: base and extended parts added up.
uint32_t familyOf(uint32_t signature) {
    return (signature >> 8 & 0xf) + (signature >> 20 & 0xff);
}

uint32_t modelOf(uint32_t signature) {
    return (signature >> 4 & 0xf) + (signature >> 12 & 0xf0);
}

// AMD reports the width of the floating-point path in one bit of three. A hypervisor that does not
// know the one for 512 clears it, but leaves MOVU, which all these processors have: then the path
// is none of the narrower ones.
bool isWidePath(uint32_t path) {
    constexpr uint32_t FP128 = 1 << 0;
    constexpr uint32_t MOVU = 1 << 1;
    constexpr uint32_t FP256 = 1 << 2;
    constexpr uint32_t FP512 = 1 << 3;
    return (path & FP512) != 0 || (path & (FP128 | MOVU | FP256)) == MOVU;
}

bool reportsItsPath(uint32_t signature) {
    return familyOf(signature) > FAMILY_ZEN_4;
}

} // namespace

bool computes512Bits(uint32_t signature, uint32_t path) {
    if (familyOf(signature) == FAMILY_INTEL) {
        return std::find(std::begin(WIDE_INTEL_MODELS), std::end(WIDE_INTEL_MODELS),
                         modelOf(signature)) != std::end(WIDE_INTEL_MODELS);
    }
    return reportsItsPath(signature) && isWidePath(path);
}

#if defined(__x86_64__)

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

// Under a hypervisor each of these takes microseconds, so only leaves that decide are read.
cpuid_leaf readLeaf(uint32_t number) {
    cpuid_leaf leaf;
    __cpuid_count(number, 0, leaf.eax, leaf.ebx, leaf.ecx, leaf.edx);
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

constexpr uint32_t LEAF_PERFORMANCE = 0x8000001a; // AMD

} // namespace

cpu_levels detectCpuLevels() {
    const cpuid_leaf basic = readLeaf(1);
    if (!hasAll(basic.ecx, bit_SSSE3)) {
        return {CPU_SSE2, CPU_SSE2};
    }
    const uint32_t saved = hasAll(basic.ecx, bit_OSXSAVE | bit_AVX) ? readXcr0() : 0;
    // Every processor with AVX has leaf 7. Firmware that hides the higher leaves is not provided
    // for: to ask for the highest one costs as much as all this does.
    const uint32_t extended = hasAll(saved, XCR0_SSE_AVX) ? readLeaf(7).ebx : 0;
    if (!hasAll(extended, bit_AVX2)) {
        return {CPU_SSSE3, CPU_SSSE3};
    }
    if (!hasAll(saved, XCR0_SSE_AVX_AVX512) || !hasAll(extended, AVX512_SETS)) {
        return {CPU_AVX2, CPU_AVX2};
    }
    const uint32_t path = reportsItsPath(basic.eax) ? readLeaf(LEAF_PERFORMANCE).eax : 0;
    return {CPU_AVX512, computes512Bits(basic.eax, path) ? CPU_AVX512 : CPU_AVX2};
}

#else

cpu_levels detectCpuLevels() {
    return {CPU_PLAIN, CPU_PLAIN};
}

#endif
