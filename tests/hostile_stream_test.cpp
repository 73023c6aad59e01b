// Streams that refuse, shrink, stall or disagree: nothing is written beyond the room they report,
// and no sample is lost or repeated.

#include "support/conversion.h"

#include <gtest/gtest.h>

#include <chrono>

namespace {

struct stream_row {
    side input, output;
    bool split;
    uint32_t frame_size;
};

const stream_row STREAM_ROWS[] = {
    {{{1, 16}, 2, 48000}, {{1, 24}, 2, 48000}, false, 64},
    {{{1, 16}, 2, 48000}, {{1, 24}, 2, 48000}, true, 64},
    {{{1, 16}, 3, 48000}, {{3, 20}, 3, 48000}, false, 100},
    {{{1, 16}, 3, 48000}, {{2, 20}, 3, 48000}, true, 100},
    {{{1, 16}, 2, 44100}, {{2, 24}, 2, 48000}, false, 100},
    {{{1, 16}, 2, 44100}, {{5, 32}, 2, 48000}, true, 100},
    {{{1, 16}, 2, 48000}, {{4, 16}, 2, 48000}, false, 64},
    {{{4, 24}, 6, 48000}, {{4, 20}, 6, 32000}, false, 200},
};

audio_converter_settings settingsOf(const stream_row &row) {
    audio_converter_settings settings = makeSettings(row.input, row.output, row.frame_size);
    settings.output_separate_channels = row.split;
    return settings;
}

// Feeds the input in blocks; a refused call is followed by calls of nothing until one succeeds.
void feedThrough(conversion &run, const byte_vector &input, size_t block_bytes) {
    int attempts = 0;
    for (size_t at = 0; at < input.size(); at += block_bytes) {
        const auto block = std::span(input).subspan(at, std::min(block_bytes, input.size() - at));
        uint32_t result = run.put(block);
        while (result != 0 && ++attempts < 10000) {
            result = run.put({});
        }
        ASSERT_EQ(result, 0u);
    }
}

// The end writes what waits; a refusal there shows in the stream alone, another end goes on.
void endThrough(conversion &run, const size_t expected_bytes) {
    for (int attempts = 0; attempts < 200 && run.output().size() < expected_bytes; ++attempts) {
        ASSERT_EQ(run.done(), 0u);
    }
}

TEST(HostileStream, NullReserveAtEveryPosition) {
    for (const stream_row &row : STREAM_ROWS) {
        const auto settings = settingsOf(row);
        SCOPED_TRACE(describe(settings));
        const byte_vector input = makeInput(row.input.layout, row.input.channels, 230, 7);
        const byte_vector expected = convert(settings, input, {250});
        ASSERT_GT(expected.size(), 500u);
        bool reached = true;
        for (uint32_t position = 1; reached; ++position) {
            conversion run(settings);
            uint32_t reserves = 0;
            for (recording_stream &stream : run.streams) {
                stream.refuses = [&] { return ++reserves == position; };
            }
            feedThrough(run, input, 250);
            endThrough(run, expected.size());
            reached = reserves >= position;
            ASSERT_TRUE(run.output() == expected) << "null at reserve " << position;
            ASSERT_EQ(run.close(), "");
        }
    }
}

struct room_row {
    const char *name;
    uint32_t (*room)(random_numbers &random, uint32_t call, uint32_t frame_bytes);
    uint32_t null_in = UINT32_MAX; // one reserve in so many gives null
};

// `frame_bytes` is the least room that lets the output go on.
const room_row ROOM_ROWS[] = {
    {"anything", [](random_numbers &r, uint32_t, uint32_t) { return r.below(300); }},
    {"one byte short, then exact",
     [](random_numbers &, uint32_t call, uint32_t least) {
         return call % 3 == 2 ? least : least - 1;
     }},
    {"shrinking", [](random_numbers &, uint32_t call, uint32_t) { return 600 - call % 30 * 20; }},
    {"growing", [](random_numbers &, uint32_t call, uint32_t) { return call % 30 * 20; }},
    {"none for a while",
     [](random_numbers &, uint32_t call, uint32_t) { return call % 20 == 19 ? 5000u : 0u; }},
    {"more than is wanted", [](random_numbers &, uint32_t, uint32_t) { return UINT32_MAX; }},
    {"some null", [](random_numbers &r, uint32_t, uint32_t) { return 20 + r.below(99); }, 7},
};

TEST(HostileStream, Rooms) {
    for (const stream_row &row : STREAM_ROWS) {
        const auto settings = settingsOf(row);
        const byte_vector input = makeInput(row.input.layout, row.input.channels, 300, 5);
        const byte_vector expected = convert(settings, input, {700});
        const uint32_t shares = row.split ? row.output.channels : 1;
        const uint32_t least =
            unitBytes(row.output.layout, row.split ? 1 : row.output.channels) * shares +
            (row.output.layout.format == 4 ? 4 : 0);
        for (const room_row &room : ROOM_ROWS) {
            SCOPED_TRACE(describe(settings) + ", room: " + room.name);
            conversion run(settings);
            random_numbers random(3);
            uint32_t calls = 0;
            for (recording_stream &stream : run.streams) {
                stream.room = [&](uint32_t) {
                    // Streams of one pass are one call of the schedule for half the rows.
                    return room.room(random, calls++ / shares, least);
                };
                stream.refuses = [&] { return random.below(room.null_in) == room.null_in - 1; };
            }
            feedThrough(run, input, 700);
            endThrough(run, expected.size());
            ASSERT_TRUE(run.output() == expected);
            for (uint32_t slot = 1; slot < shares; ++slot) { // the tightest bounds them all
                EXPECT_EQ(run.streams[slot].chunks, run.streams[0].chunks);
            }
            ASSERT_EQ(run.close(), "");
        }
    }
}

double secondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// Two seconds without room end a call, with its samples kept.
TEST(HostileStream, NoRoomForTwoSeconds) {
    conversion run(makeSettings({{1, 16}, 2, 48000}, {}));
    bool open = false;
    run.streams[0].room = [&](uint32_t want) { return open ? want : 3; };
    const byte_vector input = makeInput({1, 16}, 2, 50, 1);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(run.put(input), 1u);
    EXPECT_GE(secondsSince(start), 1.95);
    EXPECT_LT(secondsSince(start), 4.0);
    EXPECT_LT(run.streams[0].wants.size(), 3000u); // it sleeps in between
    open = true;
    EXPECT_EQ(run.put({}), 0u);
    EXPECT_EQ(run.streams[0].bytes, input);
    EXPECT_EQ(run.close(), "");
}

// The end waits once, however many blocks it has to drain.
TEST(HostileStream, TheEndWaitsOnce) {
    audio_converter_settings settings = makeSettings({{1, 16}, 3, 48000}, {});
    settings.input_separate_channels = 1;
    conversion run(settings);
    run.streams[0].room = [](uint32_t) { return 0; };
    for (uint8_t channel = 0; channel < 3; ++channel) {
        EXPECT_EQ(run.putChannel(byte_vector(channel == 0 ? 400 : channel * 40u), channel), 0u);
    }
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(run.done(), 0u);
    EXPECT_GE(secondsSince(start), 1.95);
    EXPECT_LT(secondsSince(start), 3.5);
    EXPECT_EQ(run.close(), "");
}

} // namespace
