// A whole stream filtered at once, by its definition, against the converter's blocks.

#include "resampler/filter_design.h"
#include "support/conversion.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace {

struct rate_row {
    uint32_t input_rate, output_rate;
    uint32_t frames;
};

const rate_row RATE_ROWS[] = {
    {44100, 48000, 3000},  {48000, 44100, 3000},
    {48000, 96000, 700},   {96000, 48000, 900},
    {48000, 8000, 1500},   {192000, 44100, 2000},
    {8000, 48000, 200},    {24000, 48000, 333},
    {48000, 32000, 1000},  {44100, 44101, 46000},
    {44101, 44100, 46000}, {1, 7, 90},
    {7, 1, 500},           {3, 2, 41},
    {100, 99, 20},         {11025, 48000, 1},
};

// Output k is centred on upsampled position k * M; sums in input order.
std::vector<int32_t> filterAtOnce(const std::vector<int32_t> &input, uint32_t input_rate,
                                  uint32_t output_rate) {
    const int64_t divisor = greatestCommonDivisor(input_rate, output_rate);
    const int64_t up = output_rate / divisor;
    const int64_t down = input_rate / divisor;
    std::vector<double> filter(static_cast<size_t>(40 * up + 1));
    double cutoff = std::min(input_rate, output_rate) * 0.5;
    cutoff = cutoff / input_rate;
    cutoff = cutoff / static_cast<double>(up);
    designResamplingFilter(filter.data(), static_cast<int32_t>(filter.size()),
                           static_cast<uint32_t>(up), 9.0, cutoff);
    const int64_t count = static_cast<int64_t>(input.size());
    std::vector<int32_t> output;
    for (int64_t k = 0; k < count * up / down; ++k) {
        double sum = 0.0;
        for (int64_t i = std::max<int64_t>(0, k * down / up - 21);
             i < std::min(count, k * down / up + 22); ++i) {
            const int64_t tap = i * up - k * down + 20 * up;
            if (tap >= 0 && tap <= 40 * up) {
                sum += input[static_cast<size_t>(i)] * filter[static_cast<size_t>(tap)];
            }
        }
        output.push_back(static_cast<int32_t>(std::clamp(sum, -2147483648.0, 2147483647.0)));
    }
    return output;
}

// The series stops early: the value is the defined one, not the function's.
TEST(ResamplerDefinition, BesselSeries) {
    EXPECT_NEAR(besselI0(4.5), 1093.58807, 5e-6);
    EXPECT_EQ(besselI0(0.0), 1.0);
}

// The table is the Kaiser-windowed sinc of the textbooks, but for the series that stops early.
TEST(ResamplerDefinition, KaiserWindow) {
    constexpr double BETA = 9.0;
    for (const auto &[up, down] : {std::pair{1, 6}, {2, 1}, {160, 147}, {147, 160}, {147, 640}}) {
        const double cutoff = 0.5 / std::max(up, down); // cycles per position
        const int half = 20 * up;
        std::vector<double> table(static_cast<size_t>(2 * half + 1));
        designResamplingFilter(table.data(), 2 * half + 1, static_cast<uint32_t>(up), BETA, cutoff);
        for (int k = -half; k <= half; ++k) {
            const double distance = static_cast<double>(k) / half;
            const double window =
                std::cyl_bessel_i(0.0, BETA * std::sqrt(1 - distance * distance)) /
                std::cyl_bessel_i(0.0, BETA);
            const double sinc = k == 0 ? 2 * cutoff : std::sin(2 * M_PI * cutoff * k) / (M_PI * k);
            ASSERT_NEAR(table[static_cast<size_t>(half + k)], up * sinc * window, 2e-6)
                << up << "/" << down << ", " << k;
        }
    }
}

TEST(ResamplerDefinition, WholeStreams) {
    for (const rate_row &row : RATE_ROWS) {
        for (const uint8_t channels : {1, 2, 3, 6, 8}) {
            if (row.frames > 10000 && channels > 2) {
                continue;
            }
            const auto settings =
                makeSettings({{1, 32}, channels, row.input_rate}, {{}, 0, row.output_rate});
            SCOPED_TRACE(describe(settings));
            const byte_vector input = makeInput({1, 32}, channels, row.frames, channels);
            const std::vector<int32_t> samples = toSamples(input);
            const block_sizes blocks = {channels * 1024u, channels * 252u, 37, channels * 4100u};
            const std::vector<int32_t> output = toSamples(convert(settings, input, blocks));
            for (uint8_t c = 0; c < channels; ++c) {
                std::vector<int32_t> one_in, one_out;
                for (size_t j = c; j < samples.size(); j += channels) {
                    one_in.push_back(samples[j]);
                }
                for (size_t j = c; j < output.size(); j += channels) {
                    one_out.push_back(output[j]);
                }
                // Compared as a whole: a mismatch would print thousands of numbers.
                ASSERT_TRUE(filterAtOnce(one_in, row.input_rate, row.output_rate) == one_out)
                    << "channel " << int{c};
            }
        }
    }
}

} // namespace
