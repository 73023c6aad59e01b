// Streams that refuse, shrink, stall or disagree: nothing is written beyond the room they report,
// and no sample is lost or repeated.

#include "support/conversion.h"

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <csignal>
#include <optional>
#include <sys/time.h>

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
                stream.room = [&](uint32_t) { return room.room(random, calls++, least); };
                stream.refuses = [&] { return random.below(room.null_in) == room.null_in - 1; };
            }
            feedThrough(run, input, 700);
            endThrough(run, expected.size());
            ASSERT_TRUE(run.output() == expected);
            ASSERT_EQ(run.close(), "");
        }
    }
}

// The areas of other streams do not survive a reserve: a pool that moves.
TEST(HostileStream, AreasInAPoolThatMoves) {
    audio_converter_settings settings = makeSettings({{1, 16}, 3, 48000}, {{1, 24}}, 90);
    settings.output_separate_channels = 1;
    const byte_vector input = makeInput({1, 16}, 3, 200, 9);
    const byte_vector expected = convert(settings, input);
    conversion run(settings);
    for (recording_stream &stream : run.streams) {
        stream.refuses = [&run, &stream] {
            for (recording_stream &other : run.streams) {
                if (&other != &stream) {
                    other.guarded_area.assign(other.guarded_area.size(), 0xa5);
                }
            }
            return false;
        };
    }
    EXPECT_EQ(run.put(input), 0u);
    EXPECT_TRUE(run.output() == expected);
    EXPECT_EQ(run.close(), "");
}

// One stream in two slots receives their chunks in turn.
TEST(HostileStream, OneStreamInTwoSlots) {
    audio_converter_settings settings = makeSettings({{1, 8}, 2, 48000}, {}, 4);
    settings.output_separate_channels = 1;
    conversion run(settings);
    audioConverterInitChannel(run.converter, &run.streams[0], 1);
    EXPECT_EQ(run.put(byte_vector{1, 11, 2, 12, 3, 13}), 0u);
    EXPECT_EQ(run.streams[0].bytes, (byte_vector{1, 2, 11, 12, 3, 13}));
    EXPECT_EQ(run.close(), "");
}

// Slots go on from positions of their own: what one accepted is not written again when another was
// full, a replacement goes on where its predecessor stood, and a stream that comes late begins with
// the oldest sample that is still held.
TEST(HostileStream, SlotsHavePositionsOfTheirOwn) {
    for (const uint8_t split_input : {0, 1}) {
        audio_converter_settings settings = makeSettings({{1, 8}, 3, 48000}, {});
        settings.output_separate_channels = 1;
        settings.input_separate_channels = split_input;
        test_host host;
        recording_stream first, second, replacement, third;
        std::string journal;
        bool full = true;
        second.slot = 1;
        first.journal = second.journal = &journal;
        second.refuses = [&] { return full; };
        audio_converter *converter = audioConverterNew(host.enter(), &settings);
        const auto put = [&](uint8_t sample) {
            const uint8_t frame[] = {sample, static_cast<uint8_t>(sample + 10),
                                     static_cast<uint8_t>(sample + 20)};
            if (split_input == 0) {
                return audioConverterPutBytes(converter, frame, 3);
            }
            audioConverterPutBytesOneChannel(converter, frame, 1, 0);
            audioConverterPutBytesOneChannel(converter, frame + 1, 1, 1);
            return audioConverterPutBytesOneChannel(converter, frame + 2, 1, 2);
        };
        EXPECT_EQ(audioConverterInitChannel(converter, &first, 0), 0);
        EXPECT_EQ(audioConverterInitChannel(converter, &second, 1), 0);
        EXPECT_EQ(put(1), 1u);
        journal.clear();
        full = false;
        second.room = [&](uint32_t) { return full ? 0 : 3; }; // a share of one sample
        EXPECT_EQ(put(2), 0u);
        if (split_input == 0) {
            EXPECT_EQ(journal, "r0 f0 c0 a0 r1 f1 c1 a1 r1 f1 c1 a1 ");
        }
        full = true;
        EXPECT_EQ(put(3), 1u);
        EXPECT_EQ(put(4), 1u);
        EXPECT_EQ(audioConverterInitChannel(converter, &third, 2), 0);
        EXPECT_EQ(audioConverterInitChannel(converter, &replacement, 1), 0);
        EXPECT_EQ(put(5), 0u);
        EXPECT_EQ(first.bytes, (byte_vector{1, 2, 3, 4, 5}));
        EXPECT_EQ(second.bytes, (byte_vector{11, 12}));
        EXPECT_EQ(replacement.bytes, (byte_vector{13, 14, 15}));
        EXPECT_EQ(third.bytes, (byte_vector{23, 24, 25}));
        EXPECT_EQ(replacement.wants[0], split_input != 0 ? 2u : 3u);
        EXPECT_EQ(first.faults + second.faults, "");
        audioConverterFree(converter);
        EXPECT_EQ(host.trouble(), "");
    }
}

// Slot order is priority: a null ends the call and too little room the pass, before later slots are
// served. A stream attached while output waits begins at the oldest sample held.
TEST(HostileStream, EarlierSlotsGoFirst) {
    audio_converter_settings settings = makeSettings({{1, 8}, 3, 48000}, {});
    settings.output_separate_channels = 1;
    test_host host;
    std::array<recording_stream, 3> streams;
    std::string journal;
    enum { OPEN, NO_ROOM_ONCE, FULL } state = FULL;
    streams[0].refuses = [&] { return state == FULL; };
    streams[0].room = [&](uint32_t want) {
        const bool none = state == NO_ROOM_ONCE;
        state = none ? OPEN : state;
        return none ? 2 : 3 * want;
    };
    audio_converter *converter = audioConverterNew(host.enter(), &settings);
    for (const int32_t slot : {0, 1}) {
        streams[slot].slot = slot;
        streams[slot].journal = &journal;
        EXPECT_EQ(audioConverterInitChannel(converter, &streams[slot], slot), 0);
    }
    const uint8_t frames[] = {1, 11, 21, 2, 12, 22, 3, 13, 23, 4, 14, 24, 5, 15, 25};
    EXPECT_EQ(audioConverterPutBytes(converter, frames, 3), 1u);
    EXPECT_EQ(journal, "r0 ");
    state = NO_ROOM_ONCE;
    EXPECT_EQ(audioConverterPutBytes(converter, nullptr, 0), 0u);
    EXPECT_EQ(journal, "r0 r0 f0 r0 f0 c0 a0 r1 f1 c1 a1 ");
    // Both accept one sample of four, which stays in front; the third stream begins behind it.
    streams[0].room = streams[1].room = [](uint32_t) { return 3; }; // a share of one sample
    streams[0].refuses = [&] { return streams[0].bytes.size() == 2; };
    EXPECT_EQ(audioConverterPutBytes(converter, frames + 3, 12), 1u);
    EXPECT_EQ(audioConverterInitChannel(converter, &streams[2], 2), 0);
    streams[0].refuses = nullptr;
    EXPECT_EQ(audioConverterPutBytes(converter, nullptr, 0), 0u);
    EXPECT_EQ(streams[0].bytes, (byte_vector{1, 2, 3, 4, 5}));
    EXPECT_EQ(streams[1].bytes, (byte_vector{11, 12, 13, 14, 15}));
    EXPECT_EQ(streams[2].bytes, (byte_vector{23, 24, 25}));
    audioConverterFree(converter);
    EXPECT_EQ(host.trouble(), "");
}

// Output held for long: memory grows in few steps, and a stream that accepts a little in every call
// gets every byte once.
TEST(HostileStream, HeldOutputGrowsInFewSteps) {
    for (const uint32_t rate : {48000u, 96000u}) {
        for (const uint8_t split_input : {0, 1}) {
            audio_converter_settings settings = makeSettings({{1, 16}, 1, 48000}, {{}, 0, rate});
            settings.input_separate_channels = split_input;
            const byte_vector input = makeInput({1, 16}, 1, 40000, 2);
            conversion run(settings);
            int calls = 0;
            int reserves = 0; // of one call
            run.streams[0].refuses = [&] { return calls < 200 || ++reserves > 1; };
            run.streams[0].room = [&](uint32_t) { return 100; };
            for (; calls < 400; ++calls, reserves = 0) {
                const auto block = std::span(input).subspan(static_cast<size_t>(calls) * 200, 200);
                EXPECT_EQ(split_input != 0 ? run.putChannel(block, 0) : run.put(block), 1u);
            }
            EXPECT_LT(run.host.sizes.size(), 150u); // eight arrays a step
            run.streams[0].refuses = nullptr;
            run.streams[0].room = nullptr;
            EXPECT_EQ(run.done(), 0u);
            settings.input_separate_channels = 0;
            EXPECT_TRUE(run.output() == convert(settings, input));
            EXPECT_EQ(run.close(), "");
        }
    }
}

double secondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// A timer's signals, five in a millisecond, for as long as this lives.
class signal_storm {
public:
    signal_storm() {
        signal(SIGALRM, [](int) {});
        constexpr itimerval INTERVAL = {{0, 200}, {0, 200}};
        setitimer(ITIMER_REAL, &INTERVAL, nullptr);
    }
    ~signal_storm() {
        constexpr itimerval OFF = {};
        setitimer(ITIMER_REAL, &OFF, nullptr);
    }
};

// Two seconds without room end a call, with its samples kept; signals do not shorten them.
TEST(HostileStream, NoRoomForTwoSeconds) {
    for (const bool signals : {false, true}) {
        conversion run(makeSettings({{1, 16}, 2, 48000}, {}));
        bool open = false;
        run.streams[0].room = [&](uint32_t want) { return open ? want : 3; };
        const byte_vector input = makeInput({1, 16}, 2, 50, 1);
        {
            std::optional<signal_storm> storm;
            if (signals) {
                storm.emplace();
            }
            const auto start = std::chrono::steady_clock::now();
            EXPECT_EQ(run.put(input), 1u);
            EXPECT_GE(secondsSince(start), 1.95);
            EXPECT_LT(secondsSince(start), 2.9);
        }
        EXPECT_LT(run.streams[0].wants.size(), signals ? 15000u : 3000u); // it sleeps in between
        open = true;
        EXPECT_EQ(run.put({}), 0u);
        EXPECT_EQ(run.streams[0].bytes, input);
        EXPECT_EQ(run.close(), "");
    }
}

// A call that has waited for room and got some waits again.
TEST(HostileStream, RoomThatComesAndGoes) {
    for (const uint8_t split_input : {0, 1}) {
        audio_converter_settings settings = makeSettings({{1, 16}, 1, 48000}, {});
        settings.input_separate_channels = split_input;
        conversion run(settings);
        uint32_t calls = 0;
        run.streams[0].room = [&](uint32_t) { return calls++ % 5 == 4 ? 20u : 0u; };
        const byte_vector input = makeInput({1, 16}, 1, 50, 1);
        EXPECT_EQ(split_input != 0 ? run.putChannel(input, 0) : run.put(input), 0u);
        EXPECT_EQ(run.streams[0].bytes, input);
        EXPECT_EQ(run.close(), "");
    }
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
