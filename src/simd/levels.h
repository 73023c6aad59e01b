#pragma once

#include <cstdint>

// The instruction sets that kernels are written for, in ascending order: a machine of one level
// has all those below it. CPU_PLAIN is the scalar definitions alone, CPU_SSE2 the x86-64 baseline.
enum cpu_level : uint8_t {
    CPU_PLAIN,
    CPU_SSE2,
    CPU_SSSE3,
    CPU_AVX2,
    CPU_AVX512,
};

// What a machine has and what it runs fastest. Both ask the processor every time: no state is kept.
struct cpu_levels {
    cpu_level
        highest; // that the processor and the operating system (which saves the registers) have
    cpu_level fastest; // CPU_AVX512 only where its arithmetic is 512 bits wide
};

cpu_levels detectCpuLevels();

// True when a processor with AVX-512 has arithmetic of that width; one that computes it in halves
// runs AVX2 faster. AMD reports it, Intel documents it by model; of others nothing is known.
//
//   signature  leaf 1, eax
//   path       leaf 0x8000001a, eax; of AMD processors alone
bool computes512Bits(uint32_t signature, uint32_t path);
