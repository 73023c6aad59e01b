#include "cpu_level.h"

#include <cpuid.h>

namespace {

// Register-file state that the operating system saves, as XCR0 reports it.
constexpr uint32_t XCR0_SSE_AVX = 0x06;
constexpr uint32_t XCR0_SSE_AVX_AVX512 = 0xe6;

uint32_t readXcr0() {
    uint32_t low;
    uint32_t high;
    __asm__("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
    return low;
}

} // namespace

cpu_level detectCpuLevel() {
    uint32_t eax;
    uint32_t ebx;
    uint32_t ecx;
    uint32_t edx;
    if (!__get_cpuid(1, &eax, &ebx, &ecx, &edx) || (ecx & bit_OSXSAVE) == 0) {
        return CPU_SSE2;
    }
    const uint32_t xcr0 = readXcr0();
    if ((xcr0 & XCR0_SSE_AVX) != XCR0_SSE_AVX || !__get_cpuid_count(7, 0, &eax, &ebx, &ecx, &edx) ||
        (ebx & bit_AVX2) == 0) {
        return CPU_SSE2;
    }
    constexpr uint32_t AVX512_SETS = bit_AVX512F | bit_AVX512BW | bit_AVX512DQ | bit_AVX512VL;
    const bool avx512 =
        (xcr0 & XCR0_SSE_AVX_AVX512) == XCR0_SSE_AVX_AVX512 && (ebx & AVX512_SETS) == AVX512_SETS;
    return avx512 ? CPU_AVX512 : CPU_AVX2;
}
