// The resampling filter's numbers.

#include "resampler/filter_design.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numeric>
#include <vector>

namespace {

TEST(Filter, GreatestCommonDivisor) {
    EXPECT_EQ(greatestCommonDivisor(44100, 48000), 300u);
    EXPECT_EQ(greatestCommonDivisor(1, 4294967295), 1u);
    EXPECT_EQ(greatestCommonDivisor(4294967295, 4294967290), 5u);
}

// The series stops early: the value is the defined one, not the function's.
TEST(Filter, BesselSeries) {
    EXPECT_NEAR(besselI0(4.5), 1093.58807, 5e-6);
    EXPECT_EQ(besselI0(0.0), 1.0);
}

struct filter_row {
    uint32_t input_rate, output_rate, phases;
    double centre, beside, sum;
};

TEST(Filter, WorkedTables) {
    const filter_row rows[] = {
        {24000, 48000, 2, 1.0, 0.634934, 2.0},
        {48000, 24000, 1, 0.5, 0.314950, 0.999999},
        {44100, 48000, 160, 1.0, -1, 159.9988},
        {48000, 44100, 147, 0.91875, -1, -1},
    };
    for (const filter_row &row : rows) {
        const int32_t half = static_cast<int32_t>(20 * row.phases);
        std::vector<double> table(2 * static_cast<size_t>(half) + 1);
        const double cutoff =
            std::min(row.input_rate, row.output_rate) * 0.5 / row.input_rate / row.phases;
        designResamplingFilter(table.data(), 2 * half + 1, row.phases, 9.0, cutoff);
        EXPECT_EQ(table[half], row.centre) << row.input_rate;
        EXPECT_NE(table[0], 0.0);
        for (int32_t k = 1; k <= half; ++k) {
            ASSERT_EQ(table[half - k], table[half + k]);
        }
        if (row.beside > 0) {
            EXPECT_NEAR(table[half + 1], row.beside, 5e-7) << row.input_rate;
        }
        if (row.sum > 0) {
            EXPECT_NEAR(std::accumulate(table.begin(), table.end(), 0.0), row.sum,
                        row.phases == 1 ? 5e-7 : 6e-5)
                << row.input_rate;
        }
    }
}

} // namespace
