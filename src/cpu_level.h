#pragma once

#include <cstdint>

// The instruction sets that the vector forms are written for, in ascending order: a machine of
// one level has all those below it. CPU_SSE2 is the x86-64 baseline. Only the codecs have forms
// for CPU_SSSE3; elsewhere it runs what CPU_SSE2 does.
enum cpu_level : uint8_t {
    CPU_SSE2 = 0,
    CPU_SSSE3 = 1,
    CPU_AVX2 = 2,
    CPU_AVX512 = 3,
};

// The highest level that both the processor and the operating system (which must save the wider
// registers) support. Asks the processor every time: no state is kept.
cpu_level detectCpuLevel();
