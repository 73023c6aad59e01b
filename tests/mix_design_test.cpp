// Designed gains between speaker layouts.

#include "mixer/mix_matrix_design.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <string>
#include <vector>

namespace {

enum speaker { FL, FR, FC, LFE, BL, BR, FLC, FRC };

struct cell {
    speaker from, to;
    double gain;
};

struct design_row {
    uint32_t input, output;
    std::vector<cell> cells; // all others are 0
};

// clang-format off
const design_row DESIGN_ROWS[] = {
    {0x03, 0x04, {{FL, FC, 0.5}, {FR, FC, 0.5}}},
    {0x03, 0x01, {{FL, FL, 1}}},
    {0x01, 0x03, {{FL, FL, 0.5857864376}, {FC, FL, 0.4142135624}, {FC, FR, 0.4142135624}}},
    {0x04, 0x03, {{FC, FL, 1}, {FC, FR, 1}}},
    {0x07, 0x03, {{FL, FL, 0.5857864376}, {FR, FR, 0.5857864376}, {FC, FL, 0.4142135624}, {FC, FR,
     0.4142135624}}},
    {0x3f, 0x03, {{FL, FL, 0.2612038750}, {FR, FR, 0.2612038750}, {FC, FL, 0.1846990313}, {FC, FR,
     0.1846990313}, {LFE, FL, 0.1846990313}, {LFE, FR, 0.1846990313}, {BL, FL, -0.1846990313}, {BR,
     FL, -0.1846990313}, {BL, FR, 0.1846990313}, {BR, FR, 0.1846990313}}},
    {0x3f, 0x04, {{FL, FC, 0.1348760717}, {FR, FC, 0.1348760717}, {BL, FC, 0.1348760717}, {BR, FC,
     0.1348760717}, {FC, FC, 0.2697521434}, {LFE, FC, 0.1907435698}}},
    {0x3f, 0x01, {{FL, FL, 1. / 3}, {BL, FL, 1. / 3}, {LFE, FL, 1. / 3}, {BR, FR, 1. / 3}, {LFE, FC,
     1. / 3}}},
    {0x3f, 0x33, {{FL, FL, 0.4}, {FR, FR, 0.4}, {FC, FL, 0.4}, {FC, FR, 0.4}, {BL, BL, 0.4}, {BR,
     BR, 0.4}, {LFE, FL, 0.2}, {LFE, FR, 0.2}, {LFE, BL, 0.2}, {LFE, BR, 0.2}}},
    {0xff, 0x03, {{FL, FL, 0.1907435698}, {FR, FR, 0.1907435698}, {FC, FL, 0.1348760717}, {FC, FR,
     0.1348760717}, {LFE, FL, 0.1348760717}, {LFE, FR, 0.1348760717}, {BL, FL, -0.1348760717}, {BR,
     FL, -0.1348760717}, {FLC, FL, -0.1348760717}, {FRC, FL, -0.1348760717}, {BL, FR, 0.1348760717},
     {BR, FR, 0.1348760717}, {FLC, FR, 0.1348760717}, {FRC, FR, 0.1348760717}}},
    {0xff, 0x3f, {{FL, FL, 0.5}, {FR, FR, 0.5}, {FC, FC, 0.5}, {LFE, LFE, 0.5}, {BL, BL, 0.5}, {BR,
     BR, 0.5}, {FLC, FL, 0.5}, {FRC, FR, 0.5}}},
    {0xf7, 0x04, {{FL, FC, 0.125}, {FR, FC, 0.125}, {BL, FC, 0.125}, {BR, FC, 0.125}, {FLC, FC,
     0.125}, {FRC, FC, 0.125}, {FC, FC, 0.25}}},
    {0x3b, 0x04, {{FL, FC, 0.25}, {FR, FC, 0.25}, {BL, FC, 0.25}, {BR, FC, 0.25}}},
    {0x23, 0x03, {{FL, FL, 0.5857864376}, {FR, FR, 0.5857864376}, {BL, FL, -0.4142135624}, {BL, FR,
     0.4142135624}}},
    {0x03, 0x3f, {{FL, FL, 1}, {FR, FR, 1}}},
    {0x01, 0x10, {{FL, BL, 1}}},
    {0x103, 0x03, {{FL, FL, 1}, {FR, FR, 1}}},
    {0x13, 0x33, {{FL, FL, 1}, {FR, FR, 1}, {BL, BL, 0.7071067812}, {BL, BR, 0.7071067812}}},
    {0x33, 0x13, {{FL, FL, 0.7071067812}, {FR, FR, 0.7071067812}, {BL, BL, 0.5}, {BR, BL, 0.5}}},
    {0x43, 0x13, {{FL, FL, 0.5857864376}, {FR, FR, 0.5857864376}, {FLC, FL, 0.4142135624}, {FLC, FR,
     0.4142135624}}},
};
// clang-format on

std::string pairName(uint32_t input, uint32_t output) {
    return std::to_string(input) + " -> " + std::to_string(output);
}

TEST(MixDesign, WorkedGains) {
    for (const design_row &row : DESIGN_ROWS) {
        double expected[8][8] = {};
        for (const cell &c : row.cells) {
            expected[c.from][c.to] = c.gain;
        }
        gain_matrix matrix;
        designMixMatrix(matrix, row.input, row.output,
                        static_cast<uint8_t>(std::popcount(row.input & 0xff)));
        for (unsigned r = 0; r < 8; ++r) {
            for (unsigned c = 0; c < 8; ++c) {
                EXPECT_NEAR(matrix[r][c], expected[r][c], 5e-11)
                    << pairName(row.input, row.output) << ", " << r << " to " << c;
            }
        }
    }
}

// The last place counts: the stored root of a half against one computed for two receivers.
TEST(MixDesign, ExactBits) {
    gain_matrix matrix;
    designMixMatrix(matrix, 0x0b, 0x03, 3); // column FL: 1 + 1 / sqrt(2)
    const double computed = 1.0 / std::sqrt(2.0);
    const double stored = 0.7071067811865476;
    ASSERT_NE(computed, stored);
    const double scale = 1.0 / (1.0 + computed);
    EXPECT_EQ(matrix[FL][FL], 1.0 * scale);
    EXPECT_EQ(matrix[LFE][FL], computed * scale);
    designMixMatrix(matrix, 0x07, 0x03, 3); // column FL: 1 + H
    EXPECT_EQ(matrix[FC][FL], stored * (1.0 / (1.0 + stored)));
}

// No output of any pair of layouts can exceed full scale, and some input reaches some output.
TEST(MixDesign, EveryPairOfMasks) {
    for (uint32_t input = 1; input < 256; ++input) {
        for (uint32_t output = 1; output < 256; ++output) {
            gain_matrix matrix;
            designMixMatrix(matrix, input, output, static_cast<uint8_t>(std::popcount(input)));
            double loudest = 0;
            for (unsigned c = 0; c < 8; ++c) {
                double sum = 0;
                for (unsigned r = 0; r < 8; ++r) {
                    sum += std::fabs(matrix[r][c]);
                }
                loudest = std::max(loudest, sum);
            }
            ASSERT_NEAR(loudest, 1.0, 1e-14) << pairName(input, output);
        }
    }
}

} // namespace
