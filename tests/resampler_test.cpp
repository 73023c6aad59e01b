// Rate conversion as a host hears it: counts, worked samples, the end.

#include "support/conversion.h"

#include <gtest/gtest.h>

namespace {

using samples = std::vector<int32_t>;

audio_converter_settings mono(uint32_t input_rate, uint32_t output_rate) {
    return makeSettings({{1, 32}, 1, input_rate}, {{}, 0, output_rate});
}

struct count_row {
    uint32_t input_rate, output_rate;
    std::vector<uint32_t> blocks;  // input frames, call by call
    std::vector<uint32_t> outputs; // frames of each call, then of the end
    uint32_t discard_tail = 0;
};

const count_row COUNT_ROWS[] = {
    {24000, 48000, {100}, {158, 42}},
    {24000, 48000, {100}, {158, 0}, 1},
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
        EXPECT_EQ(run.done(row.discard_tail), 0u);
        EXPECT_EQ(run.done(), 0u); // nothing is left
        note();
        EXPECT_EQ(outputs, row.outputs) << row.input_rate << " -> " << row.output_rate;
        EXPECT_EQ(run.close(), "");
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

struct restart_row {
    side input, output;
    std::vector<uint32_t> frames; // of each block; every block is ended
};

// Input after the end is safe. The end makes room for its silence in the output channels' arrays
// alone; a block that fits those must still fit the input's.
TEST(Resampler, InputAfterTheEnd) {
    std::vector<restart_row> rows = {
        {{{1, 16}, 6, 1000, 0x3f}, {{}, 1, 1, 0x04}, {900, 935}},
    };
    for (const uint32_t frames : {1u, 19u, 20u, 21u, 41u, 500u}) {
        for (const uint8_t channels : {1, 6}) {
            rows.push_back({{{1, 16}, channels, 24000},
                            {{5, 32}, 0, 48000},
                            std::vector<uint32_t>(4, frames)});
        }
    }
    for (const restart_row &row : rows) {
        conversion run(makeSettings(row.input, row.output));
        for (const uint32_t frames : row.frames) {
            EXPECT_EQ(run.put(makeInput(row.input.layout, row.input.channels, frames, 2)), 0u);
            EXPECT_EQ(run.done(), 0u);
        }
        EXPECT_EQ(run.done(), 0u);
        EXPECT_EQ(run.close(), "") << describe(run.settings) << ", " << row.frames[0];
    }
}

// The largest table is asked for, a larger one is not; neither is built here.
TEST(Resampler, TableLimit) {
    const struct {
        uint32_t input_rate, output_rate;
        size_t largest_request;
    } rows[] = {
        {1, 838860, 8 * (40 * size_t{838860} + 1)},
        {1, 838861, 0},
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
