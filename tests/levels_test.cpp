// Which level of instructions a machine has, and which it should run.

#include "simd/levels.h"

#include "simd/kernels.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace {

// What runs is never more than what there is, and less only where AVX-512 is computed in halves.
TEST(Levels, FastestIsAtMostTheHighest) {
    const cpu_levels levels = detectCpuLevels();
    EXPECT_EQ(levels.fastest, levels.highest == CPU_AVX512 && levels.fastest != CPU_AVX512
                                  ? CPU_AVX2
                                  : levels.highest);
}

TEST(Levels, WidthOfArithmetic) {
    constexpr struct {
        const char *name;
        uint32_t signature, path;
        bool wide;
    } ROWS[] = {
        {"AMD 0x19", 0x00a60f12, 0x6, false},
        {"AMD 0x19, reported otherwise", 0x00a60f12, 0xa, false},
        {"AMD 0x1a, 512 bits", 0x00b40f40, 0xa, true},
        {"AMD 0x1a, 512 bits hidden by a hypervisor", 0x00b00f21, 0x2, true},
        {"AMD 0x1a, 256 bits", 0x00b20f40, 0x6, false},
        {"AMD 0x1a, nothing reported", 0x00b40f40, 0x0, false},
        {"Intel server, two units", 0x000806f8, 0, true},
        {"Intel client, one unit", 0x000706e5, 0, false},
        {"Intel server that slows down", 0x00050654, 0, false},
        {"somebody else", 0x00070750, 0x2, false},
    };
    for (const auto &row : ROWS) {
        EXPECT_EQ(computes512Bits(row.signature, row.path), row.wide) << row.name;
    }
}

// Names of a machine's processor are known to whoever emulates it.
TEST(Levels, AreThoseExpected) {
    const char *expected = getenv("ZT_EXPECTED_LEVEL");
    if (expected == nullptr) {
        GTEST_SKIP() << "no level is named in ZT_EXPECTED_LEVEL";
    }
    EXPECT_STREQ(kernelsOf(detectCpuLevels().highest).name, expected);
}

} // namespace
