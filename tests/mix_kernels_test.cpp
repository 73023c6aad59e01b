#include "guarded_buffer.h"
#include "mixer/mix_apply.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <numeric>
#include <random>
#include <vector>

// Every SIMD kernel of the mixer against the scalar one: the same samples in all eight arrays for
// every number of frames and channels, and nothing read or written beyond the arrays.

namespace {

constexpr double INFINITE = std::numeric_limits<double>::infinity();
constexpr double SPECIAL_GAINS[] = {
    0.0,    -0.0, 1.0, -1.0, 1e30, INFINITE, -INFINITE, std::numeric_limits<double>::quiet_NaN(),
    5e-324, 2.0};
constexpr int32_t SPECIAL_SAMPLES[] = {0, -1, INT32_MAX, INT32_MIN};

class mix_kernels : public testing::Test {
protected:
    using samples = std::vector<int32_t>;

    mix_kernels() {
        for (auto &buffer : buffers_) {
            buffer = std::make_unique<guarded_buffer>(LONGEST * sizeof(int32_t));
        }
    }

    void fillSamples(uint32_t n) {
        for (samples &channel : input_) {
            channel.resize(n);
            for (int32_t &sample : channel) {
                sample = random_() % 2 != 0
                             ? SPECIAL_SAMPLES[random_() % std::size(SPECIAL_SAMPLES)]
                             : static_cast<int32_t>(random_() * 2u);
            }
        }
    }

    void fillGains(gain_matrix &matrix, bool special) {
        for (auto &row : matrix) {
            for (double &gain : row) {
                gain = special && random_() % 2 != 0
                           ? SPECIAL_GAINS[random_() % std::size(SPECIAL_GAINS)]
                           : std::uniform_real_distribution(-0.5, 0.5)(random_);
            }
        }
    }

    // Runs both in place on the same input and compares all that they may have written.
    template <typename Plain, typename Vector>
    void compare(uint32_t n, Plain plain, Vector vector) {
        samples expected[AUDIO_MAX_CHANNELS];
        channel_pointers wanted;
        channel_pointers mixed;
        for (unsigned c = 0; c < AUDIO_MAX_CHANNELS; ++c) {
            expected[c] = input_[c];
            wanted[c] = expected[c].data();
            mixed[c] = buffers_[c]->ending<int32_t>(n);
            std::copy(input_[c].begin(), input_[c].end(), mixed[c]);
        }
        plain(wanted);
        vector(mixed);
        for (unsigned c = 0; c < AUDIO_MAX_CHANNELS; ++c) {
            ASSERT_TRUE(std::equal(wanted[c], wanted[c] + n, mixed[c])) << "slot " << c;
            ASSERT_TRUE(buffers_[c]->frontIsIntact()) << "slot " << c;
        }
    }

    void compareMix(const gain_matrix &matrix, uint32_t n, uint8_t inputs, uint8_t outputs) {
        fillSamples(n);
        for (int level = CPU_SSE2; level <= detectCpuLevels().highest; ++level) {
            SCOPED_TRACE(testing::Message() << "level " << level << ", " << n << " frames, "
                                            << +inputs << " to " << +outputs << " channels");
            compare(
                n, [&](auto &channels) { applyMixMatrix(matrix, channels, n, inputs, outputs); },
                [&](auto &channels) {
                    kernelsOf(static_cast<cpu_level>(level))
                        .mix(matrix, channels, n, inputs, outputs);
                });
        }
    }

    static constexpr uint32_t LONGEST = 4099;

    std::minstd_rand random_{1};
    std::unique_ptr<guarded_buffer> buffers_[AUDIO_MAX_CHANNELS];
    samples input_[AUDIO_MAX_CHANNELS];
};

TEST_F(mix_kernels, EveryLengthAndChannelCount) {
    gain_matrix matrix;
    for (uint8_t inputs = 1; inputs <= AUDIO_MAX_CHANNELS; ++inputs) {
        for (uint8_t outputs = 1; outputs <= AUDIO_MAX_CHANNELS; ++outputs) {
            for (uint32_t n = 0; n <= 67; ++n) {
                fillGains(matrix, n % 2 != 0);
                compareMix(matrix, n, inputs, outputs);
            }
            compareMix(matrix, 253, inputs, outputs);
        }
    }
    compareMix(matrix, LONGEST, 8, 8);
}

// Random permutations, some of fewer channels: every cycle, and slots that stay.
TEST_F(mix_kernels, Reordering) {
    for (uint32_t n = 0; n <= 600; ++n) {
        const auto channels = static_cast<uint8_t>(1 + n % AUDIO_MAX_CHANNELS);
        uint8_t maps[2][AUDIO_MAX_CHANNELS] = {};
        for (auto &map : maps) {
            std::iota(map, map + channels, uint8_t{1});
            std::shuffle(map, map + channels, random_);
        }
        SCOPED_TRACE(testing::Message() << n << " frames, " << +channels << " channels");
        fillSamples(n);
        compare(
            n, [&](auto &slots) { reorderChannels(slots, n, maps[0], maps[1], channels); },
            [&](auto &slots) { moveChannels(slots, n, maps[0], maps[1], channels); });
    }
}

} // namespace
