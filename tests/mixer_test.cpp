// Mixing and reordering as a host hears them, in 32-bit PCM.

#include "support/conversion.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>

namespace {

using samples = std::vector<int32_t>;

struct mix_row {
    const char *name;
    uint8_t in_channels;
    uint32_t in_mask;
    uint8_t out_channels;
    uint32_t out_mask;
    uint8_t in_map[8], out_map[8]; // all zeros: not given
    samples in, out;               // in stream order
};

constexpr int32_t LOW = INT32_MIN;

// clang-format off
const mix_row MIX_ROWS[] = {
    {"nothing to do", 2, 3, 2, 3, {}, {}, {1, 2, INT32_MAX, LOW}, {1, 2, INT32_MAX, LOW}},
    {"stereo exchanged", 2, 3, 2, 3, {2, 1}, {}, {1, 2, 3, 4}, {2, 1, 4, 3}},
    {"exchanged on both sides", 2, 3, 2, 3, {2, 1}, {2, 1}, {1, 2, 3, 4}, {1, 2, 3, 4}},
    {"back pair exchanged", 4, 0x33, 4, 0x33, {1, 2, 0, 0, 4, 3}, {}, {1, 2, 3, 4}, {1, 2, 4, 3}},
    {"cycle of three", 3, 7, 3, 7, {2, 3, 1}, {2, 1, 3}, {30, 10, 20}, {20, 10, 30}},
    {"masks differ above bit 7", 2, 0x103, 2, 3, {2, 1}, {}, {1, 2}, {2, 1}},
    {"stereo to centre", 2, 3, 1, 4, {}, {}, {3, 0, -3, 0, INT32_MAX, INT32_MAX, LOW, LOW}, {1, -1,
     INT32_MAX, LOW}},
    {"mono to stereo", 1, 1, 2, 3, {}, {}, {1000000000, -1000000000}, {585786437, 0, -585786437,
     0}},
    {"centre to stereo", 1, 4, 2, 3, {}, {}, {12345, -7}, {12345, 12345, -7, -7}},
    {"stereo into 5.1", 2, 3, 6, 0x3f, {}, {}, {11, 22}, {11, 22, 0, 0, 0, 0}},
    {"stereo into 5.1, order given", 2, 3, 6, 0x3f, {2, 1}, {6, 5, 4, 3, 2, 1}, {11, 22}, {0, 0, 0,
     0, 11, 22}},
    {"5.1 to stereo", 6, 0x3f, 2, 3, {}, {}, {0, 0, 1000000000, 0, 0, 0, 0, 0, 0, 0, 0, 1000000000},
     {184699031, 184699031, -184699031, 184699031}},
};
// clang-format on

TEST(Mixer, WorkedFrames) {
    for (const mix_row &row : MIX_ROWS) {
        SCOPED_TRACE(row.name);
        audio_converter_settings settings =
            makeSettings({{1, 32}, row.in_channels, 48000, row.in_mask},
                         {{}, row.out_channels, 0, row.out_mask});
        const uint8_t none[8] = {};
        settings.input_order_map_enabled = memcmp(row.in_map, none, 8) != 0;
        settings.output_order_map_enabled = memcmp(row.out_map, none, 8) != 0;
        memcpy(settings.input_order_map, row.in_map, 8);
        memcpy(settings.output_order_map, row.out_map, 8);
        // Enough frames for every SIMD kernel, one by one and all at once.
        samples in, out;
        for (int copy = 0; copy < 77; ++copy) {
            in.insert(in.end(), row.in.begin(), row.in.end());
            out.insert(out.end(), row.out.begin(), row.out.end());
        }
        EXPECT_EQ(toSamples(convert(settings, toBytes(in))), out);
        EXPECT_EQ(toSamples(convert(settings, toBytes(in), {row.in_channels * 4u})), out);
    }
}

struct gain_row {
    const char *name;
    double left, right; // gains from input left and right to the first output
    samples in;
    samples out; // first output alone
};

const double INF = std::numeric_limits<double>::infinity();
const double NOT_A_NUMBER = std::numeric_limits<double>::quiet_NaN();

// Masks 0x03 to 0x07; what leaves the range, or is not a number, is the lowest sample.
const gain_row GAIN_ROWS[] = {
    {"double", 2.0, 0.0, {1073741824, 0, 1073741823, 0, -1073741824, 0}, {LOW, 2147483646, LOW}},
    {"just beyond the low end", 2.0, 1.0, {-1073741824, -1, 0, 0}, {LOW, 0}},
    {"truncated towards zero", 0.5, 0.25, {3, 1, -3, -1, 1, 1, -1, -2}, {1, -1, 0, -1}},
    {"infinite", INF, 0.0, {1, 0, 0, 0, -1, 0}, {LOW, LOW, LOW}},
    {"infinities that cancel", INF, -INF, {1, 1, 1, -1}, {LOW, LOW}},
    {"not a number", NOT_A_NUMBER, 1.0, {0, 5}, {LOW}},
    {"negative zero", -0.0, 1.0, {5, 7, -5, -7}, {7, -7}},
    {"tiny", 5e-324, 1e-300, {INT32_MAX, LOW}, {0}},
    {"huge and cancelling", 1e300, -1e300, {1, 1, 2, 1}, {0, LOW}},
};

TEST(Mixer, UserGains) {
    for (const gain_row &row : GAIN_ROWS) {
        SCOPED_TRACE(row.name);
        audio_converter_settings settings = makeSettings({{1, 32}, 2, 48000, 3}, {{}, 3, 0, 7});
        settings.user_matrix_enabled = 200;
        for (int row_index = 0; row_index < 8; ++row_index) {
            for (int column = 0; column < 8; ++column) {
                // Rows and columns of absent speakers play no part.
                settings.user_matrix[row_index][column] = NOT_A_NUMBER;
            }
        }
        const double gains[2][3] = {{row.left, 0.0, 1.0}, {row.right, 0.0, 0.0}};
        for (int i = 0; i < 2; ++i) {
            for (int o = 0; o < 3; ++o) {
                settings.user_matrix[i][o] = gains[i][o];
            }
        }
        samples in, out;
        for (int copy = 0; copy < 77; ++copy) {
            in.insert(in.end(), row.in.begin(), row.in.end());
            for (size_t frame = 0; frame < row.out.size(); ++frame) {
                out.insert(out.end(), {row.out[frame], 0, row.in[2 * frame]});
            }
        }
        EXPECT_EQ(toSamples(convert(settings, toBytes(in))), out);
    }
}

TEST(Mixer, EqualMasksIgnoreTheUserMatrix) {
    audio_converter_settings settings = makeSettings({{1, 32}, 2, 48000}, {});
    settings.user_matrix_enabled = 1;
    settings.user_matrix[0][0] = 0.25;
    const byte_vector input = makeInput({1, 32}, 2, 20, 4);
    EXPECT_EQ(convert(settings, input), input);
}

// Each output is summed in the order of the input slots, every product rounded before it is added.
TEST(Mixer, SumsInSlotOrder) {
    random_numbers random(11);
    for (const uint8_t in_channels : {2, 3, 5, 6, 8}) {
        audio_converter_settings settings = makeSettings(
            {{1, 32}, in_channels, 48000, 0xffu >> (8 - in_channels)}, {{}, 2, 0, 0xc0});
        settings.user_matrix_enabled = 1;
        for (int i = 0; i < in_channels; ++i) {
            for (int o = 6; o < 8; ++o) {
                settings.user_matrix[i][o] = (random.next() / 4294967296.0 - 0.5) / 4;
            }
        }
        const byte_vector input = makeInput({1, 32}, in_channels, 333, in_channels);
        const samples in = toSamples(input);
        samples expected;
        for (size_t frame = 0; frame < 333; ++frame) {
            for (int o = 6; o < 8; ++o) {
                volatile double sum = 0.0;
                for (size_t i = 0; i < in_channels; ++i) {
                    const volatile double product =
                        in[frame * in_channels + i] * settings.user_matrix[i][o];
                    sum = sum + product;
                }
                expected.push_back(static_cast<int32_t>(sum));
            }
        }
        EXPECT_TRUE(toSamples(convert(settings, input)) == expected) << int{in_channels};
    }
}

} // namespace
