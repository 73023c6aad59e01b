#include "guarded_buffer.h"
#include "resampler/filter_design.h"
#include "resampler/packed_coefficients.h"
#include "resampler/resample_channel.h"
#include "resampler/resample_channels.h"
#include "resampler/resampler.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <random>
#include <string>
#include <vector>

// Every SIMD kernel of the resampler against the scalar one: the same samples for every number of
// outputs and channels, and nothing read or written beyond the arrays.

namespace {

struct rate_case {
    const char *name;
    uint32_t input_rate;
    uint32_t output_rate;
};

// Segments (L and M up to 32, or L below 8 and M up to 64), phase groups and tiles of few and many
// rows, what the scalar kernel keeps, and pairs on either side of every limit.
constexpr rate_case RATES[] = {
    {"cd_to_dat", 44100, 48000},    {"dat_to_cd", 48000, 44100},
    {"doubled", 48000, 96000},      {"halved", 96000, 48000},
    {"sixth", 48000, 8000},         {"high_to_cd", 192000, 44100},
    {"two_to_three", 2, 3},         {"step_1_31_phases", 1, 31},
    {"step_1_32_phases", 1, 32},    {"step_1_33_phases", 1, 33},
    {"step_32_31_phases", 32, 31},  {"step_32_33_phases", 32, 33},
    {"step_33_31_phases", 33, 31},  {"step_20_many_phases", 8000, 176400},
    {"step_33_7_phases", 33, 7},    {"step_48_1_phase", 384000, 8000},
    {"step_64_7_phases", 64, 7},    {"step_65_7_phases", 65, 7},
    {"rows_118", 88200, 8000},      {"rows_195", 176400, 8000},
    {"rows_284", 384000, 11025},    {"rows_320", 359, 9},
    {"rows_321", 361, 9},           {"seven_outputs_left", 441, 47},
    {"far_apart", 4800, 1},         {"not_packed_rows_apart", 5000, 9},
    {"many_phases", 8009, 8011},    {"not_packed_large", 300007, 300009},
    {"one_to_many", 1, 5000},       {"two_thousand_phases", 2039, 2049},
    {"several_windows", 5101, 367},
};

class resample_kernels : public testing::TestWithParam<rate_case> {
protected:
    void SetUp() override {
        const rate_case &rates = GetParam();
        const uint32_t divisor = greatestCommonDivisor(rates.input_rate, rates.output_rate);
        state_.up_factor = rates.output_rate / divisor;
        state_.down_factor = rates.input_rate / divisor;
        state_.filter_length = 40 * state_.up_factor + 1;
        state_.history = RESAMPLER_HISTORY;
        // A gain above 1 makes full-scale samples saturate.
        filter_.resize(state_.filter_length);
        designResamplingFilter(filter_.data(), static_cast<int32_t>(filter_.size()),
                               state_.up_factor, 9.0,
                               0.6 / std::max(state_.up_factor, state_.down_factor));
        state_.filter = filter_.data();
        pack();
    }

    void pack() {
        planPackedCoefficients(state_);
        packed_ = std::vector<char>(state_.packed_bytes);
        if (state_.packed_bytes != 0) {
            packCoefficients(state_, packed_.data());
            ASSERT_EQ(reinterpret_cast<uintptr_t>(state_.packed) % 64, 0u);
        }
    }

    // Input samples that the first n outputs span.
    uint64_t inputsFor(uint64_t n) const {
        const uint64_t last = (n - 1) * state_.down_factor;
        return n == 0 ? 0 : (last + state_.filter_length - 1) / state_.up_factor + 1;
    }

    void compare(uint32_t outputs, uint32_t channels);

    resampler_state state_ = {};
    std::vector<double> filter_;
    std::vector<char> packed_;
    std::minstd_rand random_{1};
};

// Half of the samples are extreme.
void fillSamples(std::minstd_rand &random, int32_t *samples, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        const auto value = static_cast<uint32_t>(random() * 2u);
        samples[i] = (value & 2) != 0   ? static_cast<int32_t>(value)
                     : (value & 4) != 0 ? INT32_MAX
                                        : INT32_MIN;
    }
}

void resample_kernels::compare(uint32_t outputs, uint32_t channels) {
    state_.channels = channels;
    const uint64_t inputs = inputsFor(outputs);
    std::vector<std::unique_ptr<guarded_buffer>> buffers;
    std::vector<std::vector<int32_t>> expected(channels, std::vector<int32_t>(outputs));
    const int32_t *from[AUDIO_MAX_CHANNELS];
    int32_t *to[AUDIO_MAX_CHANNELS];
    for (unsigned c = 0; c < channels; ++c) {
        buffers.push_back(std::make_unique<guarded_buffer>(inputs * sizeof(int32_t)));
        auto *samples = buffers.back()->ending<int32_t>(inputs);
        fillSamples(random_, samples, inputs);
        from[c] = samples;
        resampleChannel(state_, from[c], expected[c].data(), outputs);
    }
    for (unsigned c = 0; c < channels; ++c) {
        buffers.push_back(std::make_unique<guarded_buffer>(outputs * sizeof(int32_t)));
    }
    for (int level = CPU_SSE2; level <= detectCpuLevels().highest; ++level) {
        SCOPED_TRACE(testing::Message() << "level " << level << ", " << channels << " channels, "
                                        << outputs << " outputs");
        for (unsigned c = 0; c < channels; ++c) {
            to[c] = buffers[channels + c]->ending<int32_t>(outputs);
        }
        state_.kernel = kernelsOf(static_cast<cpu_level>(level)).resample;
        resampleChannels({&state_, from, to, outputs});
        for (unsigned c = 0; c < channels; ++c) {
            ASSERT_TRUE(std::equal(expected[c].begin(), expected[c].end(), to[c])) << "slot " << c;
            ASSERT_TRUE(buffers[channels + c]->frontIsIntact()) << "slot " << c;
        }
    }
}

// Parts of a period, as a flush asks for.
TEST_P(resample_kernels, FewOutputs) {
    for (uint32_t outputs = 0; outputs <= 67; ++outputs) {
        compare(outputs, 1 + outputs % AUDIO_MAX_CHANNELS);
    }
    compare(253, 2);
}

// Every number of lanes from one up to more than the widest tile, and a whole scratch.
TEST_P(resample_kernels, WholePeriods) {
    const uint32_t up = state_.up_factor;
    for (uint32_t channels = 1; channels <= AUDIO_MAX_CHANNELS; ++channels) {
        for (uint32_t periods = 1; periods <= 5 && periods * up < 30000; ++periods) {
            compare(periods * up, channels);
            compare(periods * up + up / 2, channels);
        }
    }
    for (uint32_t periods = 6; periods <= 69 && periods * up < 11000; ++periods) {
        compare(periods * up + up / 3, 1);
    }
    compare(std::max(1u, std::min(5300u, 20000u / up)) * up, 1);
    compare(std::max(1u, std::min(1300u, 9000u / up)) * up, 3);
}

INSTANTIATE_TEST_SUITE_P(Rates, resample_kernels, testing::ValuesIn(RATES),
                         [](const auto &row) { return std::string(row.param.name); });

// Tables of every length up to some batches of coefficients, of every kernel.
TEST(filter_design_kernels, EqualTables) {
    for (uint32_t phases = 1; phases <= 67; ++phases) {
        const size_t length = 40 * phases + 1;
        const double cutoff = (phases % 3 + 1) * 0.16 / phases;
        std::vector<double> expected(length);
        designResamplingFilter(expected.data(), static_cast<int32_t>(length), phases, 9.0, cutoff);
        for (int level = CPU_SSE2; level <= detectCpuLevels().highest; ++level) {
            guarded_buffer buffer(length * sizeof(double));
            auto *table = buffer.ending<double>(length);
            kernelsOf(static_cast<cpu_level>(level))
                .designFilter(table, static_cast<int32_t>(length), phases, 9.0, cutoff);
            ASSERT_TRUE(std::equal(expected.begin(), expected.end(), table))
                << "level " << level << ", " << phases << " phases";
            ASSERT_TRUE(buffer.frontIsIntact());
        }
    }
}

} // namespace
