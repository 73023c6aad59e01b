// The buffers of input channels that have ended: silent from their count to their capacity at every
// moment.

#include "api/instance.h"
#include "support/conversion.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

void expectSilence(const conversion &run, const char *moment) {
    const audio_converter &converter = *run.converter;
    for (unsigned c = 0; c < AUDIO_MAX_CHANNELS; ++c) {
        const int32_t *array = converter.channel_input[c];
        const uint32_t end = converter.channel_input_sent[c] + converter.channel_input_count[c];
        if (converter.channel_active[c] == 0 && array != nullptr) {
            EXPECT_TRUE(std::all_of(array + end, array + converter.channel_input_capacity[c],
                                    [](int32_t sample) { return sample == 0; }))
                << moment << ", channel " << c;
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

} // namespace
