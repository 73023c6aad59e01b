// Rate conversion as a host hears it: counts, worked samples, a tone, clipping, the end.

#include "support/conversion.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numeric>

namespace {

using samples = std::vector<int32_t>;

audio_converter_settings mono(uint32_t input_rate, uint32_t output_rate) {
    return makeSettings({{1, 32}, 1, input_rate}, {{}, 0, output_rate});
}

struct count_row {
    uint32_t input_rate, output_rate;
    std::vector<uint32_t> blocks;  // input frames, call by call
    std::vector<uint32_t> outputs; // frames of each call, then of the end
};

const count_row COUNT_ROWS[] = {
    {24000, 48000, {100}, {158, 42}},
    {24000, 48000, {21, 1}, {0, 2, 42}},
    {48000, 24000, {100}, {39, 11}},
    {44100, 48000, {4410}, {4640, 160}},
    {44100, 48000, {1000, 1000}, {960, 1120, 96}},
    {44100, 48000, {167, 1, 0}, {0, 160, 0, 22}},
    {48000, 48000, {5, 0, 7}, {5, 0, 7, 0}},
    {1, 7, {21, 1, 1}, {0, 7, 7, 147}},
    {7, 1, {27, 1}, {0, 1, 3}},
    {44100, 48000, {}, {0}},
};

TEST(Resampler, FramesOfEachCall) {
    for (const count_row &row : COUNT_ROWS) {
        conversion run(mono(row.input_rate, row.output_rate));
        std::vector<uint32_t> outputs;
        size_t before = 0;
        const auto note = [&] {
            outputs.push_back(static_cast<uint32_t>((run.committed() - before) / 4));
            before = run.committed();
        };
        for (const uint32_t frames : row.blocks) {
            EXPECT_EQ(run.put(byte_vector(frames * 4u)), 0u);
            note();
        }
        EXPECT_EQ(run.done(), 0u);
        note();
        EXPECT_EQ(outputs, row.outputs) << row.input_rate << " -> " << row.output_rate;
        EXPECT_EQ(run.close(), "");
    }
}

// N frames in, N * L / M out, whatever the rates; each call as the manual's formula says.
TEST(Resampler, ManualsFormula) {
    random_numbers random(21);
    for (int trial = 0; trial < 150; ++trial) {
        const uint32_t up = 1 + random.below(trial % 3 == 0 ? 1000 : 12);
        const uint32_t down = 1 + random.below(trial % 5 == 0 ? 1000 : 12);
        if (std::gcd(up, down) != 1 || up == down) {
            continue;
        }
        conversion run(mono(down * 100, up * 100));
        uint64_t held = 20, total = 0;
        for (int call = 0; call < 5; ++call) {
            const uint32_t frames = random.below(1500);
            held += frames;
            total += frames;
            uint64_t expected = 0;
            if (held * up > 40 * up + 1) {
                expected = (held * up - (40 * up + 1)) / down / up * up;
            }
            held -= expected / up * down;
            const size_t before = run.committed();
            ASSERT_EQ(run.put(byte_vector(frames * 4u)), 0u);
            ASSERT_EQ((run.committed() - before) / 4, expected) << up << "/" << down;
        }
        ASSERT_EQ(run.done(), 0u);
        ASSERT_EQ(run.committed() / 4, total * up / down) << up << "/" << down;
        ASSERT_EQ(run.close(), "");
    }
}

TEST(Resampler, Impulse) {
    samples impulse(100, 0);
    impulse[0] = 1 << 30;
    const samples doubled = toSamples(convert(mono(24000, 48000), toBytes(impulse)));
    const samples expected = {1073741824, 681755065, 0, -222475395, 0, 127913844};
    ASSERT_EQ(doubled.size(), 200u);
    EXPECT_EQ(samples(doubled.begin(), doubled.begin() + 6), expected);

    samples halved = toSamples(convert(mono(48000, 24000), toBytes(impulse)));
    ASSERT_EQ(halved.size(), 50u);
    EXPECT_EQ(halved[0], 536870912);
    EXPECT_EQ(samples(halved.begin() + 1, halved.begin() + 39), samples(38, 0));
}

samples tone(double frequency, uint32_t rate, size_t count) {
    samples wave(count);
    for (size_t k = 0; k < count; ++k) {
        wave[k] = static_cast<int32_t>(
            std::lrint(1.5e9 * std::sin(2 * M_PI * frequency * static_cast<double>(k) / rate)));
    }
    return wave;
}

struct tone_row {
    uint32_t input_rate, output_rate;
    double frequency;
    double floor_db; // of the difference, against the tone
};

// A tone computed at the output rate is what comes out.
TEST(Resampler, Tones) {
    const tone_row rows[] = {
        {44100, 48000, 1000, -100}, {48000, 44100, 1000, -100}, {48000, 96000, 5000, -100},
        {96000, 48000, 5000, -100}, {44100, 48000, 15000, -90}, {48000, 8000, 500, -100},
    };
    for (const tone_row &row : rows) {
        const size_t frames = row.input_rate / 5;
        const samples out =
            toSamples(convert(mono(row.input_rate, row.output_rate),
                              toBytes(tone(row.frequency, row.input_rate, frames)), {4096}));
        const samples expected = tone(row.frequency, row.output_rate, out.size());
        double error = 0, power = 0;
        const size_t edge = row.output_rate / 20; // the ends of the stream lack neighbours
        for (size_t k = edge; k + edge < out.size(); ++k) {
            error += std::pow(static_cast<double>(out[k]) - expected[k], 2);
            power += std::pow(static_cast<double>(expected[k]), 2);
        }
        EXPECT_LT(10 * std::log10(error / power), row.floor_db)
            << row.input_rate << " -> " << row.output_rate << " at " << row.frequency;
    }
}

// What the lower rate cannot carry is gone.
TEST(Resampler, StopBand) {
    const samples out =
        toSamples(convert(mono(96000, 48000), toBytes(tone(40000, 96000, 9600)), {4096}));
    double loudest = 0;
    for (size_t k = 100; k + 100 < out.size(); ++k) {
        loudest = std::max(loudest, std::fabs(static_cast<double>(out[k])));
    }
    EXPECT_LT(20 * std::log10(loudest / 1.5e9), -85);
}

// Overshoot at full-scale steps is clipped at both ends, never wrapped.
TEST(Resampler, OvershootSaturates) {
    samples steps;
    for (int k = 0; k < 400; ++k) {
        steps.push_back(k / 50 % 2 == 0 ? INT32_MAX : INT32_MIN);
    }
    const samples out = toSamples(convert(mono(24000, 48000), toBytes(steps)));
    ASSERT_EQ(out.size(), 800u);
    int highest = 0, lowest = 0;
    for (size_t k = 0; k < out.size(); ++k) {
        highest += out[k] == INT32_MAX;
        lowest += out[k] == INT32_MIN;
        if (k % 100 > 4 && k % 100 < 96) {
            ASSERT_EQ(out[k] > 0, k / 100 % 2 == 0) << k;
        }
    }
    EXPECT_GT(highest, 20);
    EXPECT_GT(lowest, 20);
}

TEST(Resampler, DiscardedTail) {
    conversion run(mono(24000, 48000));
    EXPECT_EQ(run.put(byte_vector(400)), 0u);
    EXPECT_EQ(run.committed(), 158u * 4);
    EXPECT_EQ(run.done(1), 0u);
    EXPECT_EQ(run.done(0), 0u);
    EXPECT_EQ(run.committed(), 158u * 4);
    EXPECT_EQ(run.close(), "");
}

// Input after the end is safe: nothing held, then a few samples, then many.
TEST(Resampler, InputAfterTheEnd) {
    for (const uint32_t frames : {1u, 19u, 20u, 21u, 41u, 500u}) {
        for (const uint8_t channels : {1, 6}) {
            conversion run(makeSettings({{1, 16}, channels, 24000}, {{5, 32}, 0, 48000}));
            const byte_vector block = makeInput({1, 16}, channels, frames, 2);
            for (int round = 0; round < 4; ++round) {
                EXPECT_EQ(run.put(block), 0u);
                EXPECT_EQ(run.done(), 0u);
            }
            EXPECT_EQ(run.done(), 0u);
            EXPECT_GE(run.committed(), frames * 2u * 4 * channels);
            EXPECT_EQ(run.close(), "");
        }
    }
}

// The end makes room for its silence in the output channels' arrays alone; a block that fits those
// must still fit the input's.
TEST(Resampler, LargerInputAfterTheEnd) {
    conversion run(makeSettings({{1, 16}, 6, 1000, 0x3f}, {{}, 1, 1, 0x04}));
    for (const uint32_t frames : {900u, 935u}) {
        EXPECT_EQ(run.put(byte_vector(frames * 12)), 0u);
        EXPECT_EQ(run.done(), 0u);
    }
    EXPECT_EQ(run.close(), "");
}

// The largest table is asked for, a larger one is not; neither is built here.
TEST(Resampler, TableLimit) {
    const struct {
        uint32_t input_rate, output_rate;
        size_t largest_request;
    } rows[] = {
        {1, 3355443, 8 * (40 * size_t{3355443} + 1)},
        {1, 3355444, 0},
        {1, UINT32_MAX, 0},
        {UINT32_MAX, UINT32_MAX - 1, 0},
    };
    for (const auto &row : rows) {
        const auto settings = mono(row.input_rate, row.output_rate);
        test_host host;
        host.largest_block = 16 << 20;
        EXPECT_EQ(audioConverterNew(host.enter(), &settings), nullptr);
        EXPECT_EQ(host.sizes.size(), row.largest_request != 0 ? 2u : 1u);
        EXPECT_EQ(host.sizes.back(),
                  row.largest_request != 0 ? row.largest_request : host.sizes.front());
        EXPECT_TRUE(host.messages.empty());
        EXPECT_EQ(host.trouble(), "");
    }
    // A huge step down needs a short table only.
    EXPECT_EQ(toSamples(convert(mono(UINT32_MAX, 1), toBytes(samples(5000, 1)))), samples{});
}

} // namespace
