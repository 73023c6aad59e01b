// The buffers of input channels that have ended: silent from their count to their capacity at every
// moment.

#include "core/instance.h"
#include "support/conversion.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

void expectSilence(const conversion &run, const char *moment) {
    for (const channel_input &input : run.converter->inputs) {
        if (input.active == 0 && input.samples != nullptr) {
            EXPECT_TRUE(std::all_of(input.samples + input.sent + input.count,
                                    input.samples + input.capacity,
                                    [](int32_t sample) { return sample == 0; }))
                << moment << ", channel " << &input - run.converter->inputs;
        }
    }
}

// Channel 1 ends with samples left, channel 4 is not in the layout, and the mixer writes sums into
// the arrays that it borrows.
TEST(EndedChannels, SilentBehindTheirSamples) {
    for (const uint32_t output_rate : {48000u, 44100u}) {
        audio_converter_settings settings =
            makeSettings({{1, 32}, 2, 48000, 0x03}, {{1, 32}, 2, output_rate, 0x05});
        settings.input_separate_channels = 1;
        settings.user_matrix_enabled = 1;
        for (const unsigned speaker : {0, 2}) {
            settings.user_matrix[0][speaker] = settings.user_matrix[1][speaker] = 0.5;
        }
        conversion run(settings);
        random_numbers random(1);
        const auto put = [&](uint8_t channel, uint32_t frames) {
            const byte_vector input = makeInput({1, 32}, 1, frames, random.next());
            return run.putChannel(input, channel);
        };
        EXPECT_EQ(put(0, 100) | put(1, 100) | put(1, 70) | put(4, 90), 0u);
        EXPECT_EQ(run.end(1), 0u);
        expectSilence(run, "ended");
        for (const uint32_t frames : {30u, 30u, 100u, 250u, 10u}) {
            EXPECT_EQ(put(0, frames), 0u);
            expectSilence(run, "block written");
        }
        run.host.fail_at = run.host.sizes.size() + 2;
        put(4, 1000);
        expectSilence(run, "out of memory");
        run.host.fail_at = 0;
        EXPECT_EQ(put(0, 900), 0u);
        EXPECT_EQ(run.done(), 0u);
        expectSilence(run, "done");
        EXPECT_EQ(run.close(), "");
    }
}

// The frame that completes a pair is silence in all its 32 bits, of which no format of pairs shows
// the last.
TEST(EndedChannels, SilenceThatCompletesAPair) {
    conversion run(makeSettings({{1, 32}, 1, 48000}, {{3, 24}}));
    run.streams[0].refuses = [] { return true; };
    EXPECT_EQ(run.put(toBytes({-1})), 0u);
    EXPECT_EQ(run.done(), 0u);
    const channel_buffer_set &held = run.converter->work;
    ASSERT_EQ(held.count, 2u);
    EXPECT_EQ(held.data[0][0], -1);
    EXPECT_EQ(held.data[0][1], 0);
    EXPECT_EQ(run.close(), "");
}

} // namespace
