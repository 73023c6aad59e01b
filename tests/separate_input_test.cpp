// Channels fed one by one: when blocks go out, and that the whole equals the interleaved stream.

#include "support/conversion.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using samples = std::vector<int32_t>;

audio_converter_settings splitInput(const side &input, const side &output) {
    audio_converter_settings settings = makeSettings(input, output);
    settings.input_separate_channels = 1;
    return settings;
}

// 16-bit samples of a channel that count up.
byte_vector ramp(int first, int count) {
    byte_vector bytes;
    for (int k = first; k < first + count; ++k) {
        bytes.push_back(static_cast<uint8_t>(k));
        bytes.push_back(static_cast<uint8_t>(k >> 8));
    }
    return bytes;
}

// What happens, in letters: a call, its channel, its first sample and its count.
struct step {
    char call; // 'p' put, 'e' end, 'd' done
    uint8_t channel;
    int first, count;
    uint32_t result;
    size_t frames; // committed by the end of the step, all in all
};

struct schedule_row {
    const char *name;
    sample_layout output;
    std::vector<step> steps;
    byte_vector frames; // the whole output as 16-bit PCM
};

// Frames of two ramps; a ramp from 0 is silence.
byte_vector frameRun(int left, int right, int count) {
    byte_vector frames;
    for (int k = 0; k < count; ++k) {
        for (const int sample : {left == 0 ? 0 : left + k, right == 0 ? 0 : right + k}) {
            frames.push_back(static_cast<uint8_t>(sample));
            frames.push_back(static_cast<uint8_t>(sample >> 8));
        }
    }
    return frames;
}

byte_vector operator+(byte_vector a, const byte_vector &b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

// clang-format off
const schedule_row SCHEDULE_ROWS[] = {
    {"equal blocks", {1, 16}, {{'p', 0, 100, 100, 0, 0}, {'p', 1, 500, 100, 0, 100}, {'d', 0, 0, 0,
     0, 100}}, frameRun(100, 500, 100)},
    {"the largest block is waited for", {1, 16}, {{'p', 0, 100, 100, 0, 0}, {'p', 1, 500, 50, 0, 0},
     {'p', 1, 550, 50, 0, 50}, {'d', 0, 0, 0, 0, 100}}, frameRun(100, 500, 100)},
    {"an ended channel is silent", {1, 16}, {{'p', 0, 100, 10, 0, 0}, {'e', 1, 0, 0, 0, 0}, {'p', 0,
     110, 10, 0, 10}, {'p', 0, 120, 10, 0, 20}, {'d', 0, 0, 0, 0, 30}}, frameRun(100, 0, 30)},
    {"its remaining samples go first", {1, 16}, {{'p', 0, 100, 10, 0, 0}, {'p', 1, 500, 10, 0, 10},
     {'p', 1, 510, 7, 0, 10}, {'e', 1, 0, 0, 0, 10}, {'p', 0, 110, 10, 0, 20}, {'p', 0, 120, 10, 0,
     30}}, frameRun(100, 500, 17) + frameRun(117, 0, 13)},
    {"more remaining than a block", {1, 16}, {{'p', 1, 500, 10, 0, 0}, {'p', 1, 510, 10, 0, 0},
     {'p', 1, 520, 10, 0, 0}, {'e', 1, 0, 0, 0, 0}, {'p', 0, 100, 10, 0, 10}, {'p', 0, 110, 10, 0,
     20}, {'p', 0, 120, 10, 0, 30}, {'p', 0, 130, 10, 0, 40}, {'d', 0, 0, 0, 0, 40}}, frameRun(100,
     500, 30) + frameRun(130, 0, 10)},
    {"a block larger than an ended channel ever held", {1, 16}, {{'p', 1, 500, 3, 0, 0}, {'e', 1, 0,
     0, 0, 0}, {'p', 0, 100, 40, 0, 40}, {'p', 0, 140, 80, 0, 120}}, frameRun(100, 500, 3) +
     frameRun(103, 0, 117)},
    {"a channel without any input", {1, 16}, {{'p', 1, 500, 30, 0, 0}, {'d', 0, 0, 0, 0, 30}},
     frameRun(0, 500, 30)},
    {"calls of nothing", {1, 16}, {{'p', 0, 0, 0, 0, 0}, {'p', 5, 0, 0, 0, 0}, {'p', 1, 0, 0, 0, 0},
     {'p', 0, 100, 9, 0, 0}, {'p', 0, 0, 0, 0, 0}, {'p', 1, 500, 9, 0, 9}, {'d', 0, 0, 0, 0, 9}},
     frameRun(100, 500, 9)},
    {"no input at all", {1, 16}, {{'d', 0, 0, 0, 0, 0}}, {}},
    {"ended channels refuse input", {1, 16}, {{'p', 0, 100, 10, 0, 0}, {'e', 0, 0, 0, 0, 0}, {'p',
     0, 900, 10, 1, 0}, {'p', 0, 0, 0, 0, 0}, {'p', 1, 500, 10, 0, 10}, {'d', 0, 0, 0, 0, 10}, {'p', 1, 900, 10, 1, 10}},
     frameRun(100, 500, 10)},
    {"a channel that the mask lacks", {1, 16}, {{'p', 5, 900, 10, 0, 0}, {'p', 0, 100, 10, 0, 0},
     {'p', 1, 500, 10, 0, 10}, {'p', 8, 1, 1, 1, 10}, {'d', 0, 0, 0, 0, 10}}, frameRun(100, 500,
     10)},
    {"pairs: the odd sample waits", {3, 16}, {{'p', 0, 100, 5, 0, 0}, {'p', 1, 500, 5, 0, 4}, {'p',
     0, 105, 5, 0, 4}, {'p', 1, 505, 5, 0, 10}, {'d', 0, 0, 0, 0, 10}}, frameRun(100, 500, 10)},
    {"pairs: the drain goes by pairs", {3, 16}, {{'p', 0, 100, 7, 0, 0}, {'p', 1, 500, 3, 0, 0},
     {'d', 0, 0, 0, 0, 8}}, frameRun(100, 500, 3) + frameRun(103, 0, 4) + frameRun(0, 0, 1)},
    {"pairs: the end fills up", {3, 16}, {{'p', 0, 100, 5, 0, 0}, {'p', 1, 500, 5, 0, 4}, {'d', 0,
     0, 0, 0, 6}}, frameRun(100, 500, 5) + frameRun(0, 0, 1)},
    {"drain: shorter first, then silence", {1, 16}, {{'p', 0, 1000, 300, 0, 0}, {'p', 1, 2000, 100,
     0, 0}, {'d', 0, 0, 0, 0, 300}}, frameRun(1000, 2000, 100) + frameRun(1100, 0, 200)},
};
// clang-format on

TEST(SeparateInput, Schedules) {
    for (const schedule_row &row : SCHEDULE_ROWS) {
        SCOPED_TRACE(row.name);
        conversion run(splitInput({{1, 16}, 2, 48000}, {row.output}));
        int number = 0;
        for (const step &s : row.steps) {
            SCOPED_TRACE("step " + std::to_string(number++));
            const uint32_t result = s.call == 'p'
                                        ? run.putChannel(ramp(s.first, s.count), s.channel)
                                    : s.call == 'e' ? run.end(s.channel)
                                                    : run.done();
            EXPECT_EQ(result, s.result);
            EXPECT_EQ(run.committed() / 4, s.frames);
        }
        EXPECT_EQ(convert(makeSettings({row.output, 2, 48000}, {{1, 16}}), run.output()),
                  row.frames);
        EXPECT_EQ(run.close(), "");
    }
}

// Two channels that have room for 400 samples hold 300 and 100: two blocks at the end. A channel
// that never had room for more than 100 bounds the blocks.
TEST(SeparateInput, DrainBlocks) {
    conversion run(splitInput({{1, 16}, 2, 48000}, {}));
    EXPECT_EQ(run.putChannel(ramp(1, 400), 0), 0u);
    EXPECT_EQ(run.putChannel(ramp(1, 400), 1), 0u);
    EXPECT_EQ(run.putChannel(ramp(1, 300), 0), 0u);
    EXPECT_EQ(run.putChannel(ramp(1, 100), 1), 0u);
    EXPECT_EQ(run.done(), 0u);
    EXPECT_EQ(run.streams[0].chunks, (std::vector<uint32_t>{1600, 400, 800}));

    conversion small(splitInput({{1, 16}, 2, 48000}, {}));
    EXPECT_EQ(small.putChannel(ramp(1, 300), 0), 0u);
    EXPECT_EQ(small.putChannel(ramp(1, 100), 1), 0u);
    EXPECT_EQ(small.done(), 0u);
    EXPECT_EQ(small.streams[0].chunks, (std::vector<uint32_t>{400, 400, 400}));
    EXPECT_EQ(run.close() + small.close(), "");
}

TEST(SeparateInput, PartsOfSamplesAreDropped) {
    conversion run(splitInput({{1, 16}, 1, 48000}, {}));
    EXPECT_EQ(run.putChannel(byte_vector{1, 2, 3, 4, 5, 6, 7}, 0), 0u);
    EXPECT_EQ(run.putChannel(byte_vector{8}, 0), 0u);
    EXPECT_EQ(run.streams[0].bytes, (byte_vector{1, 2, 3, 4, 5, 6}));
}

TEST(SeparateInput, NothingTakenBeforeOutputIsAttached) {
    const auto settings = splitInput({{1, 16}, 2, 48000}, {});
    audio_converter *converter = audioConverterNew(nullptr, &settings);
    EXPECT_EQ(audioConverterPutBytesOneChannel(converter, ramp(1, 10).data(), 20, 0), 1u);
    EXPECT_EQ(audioConverterPutBytesOneChannel(converter, nullptr, 0, 0), 0u);
    EXPECT_EQ(audioConverterDone(converter, 0), 0u);
    audioConverterFree(converter);
}

// Speaker channels are bits of the mask; places in the frame follow the order map.
TEST(SeparateInput, SpeakersAndPlaces) {
    audio_converter_settings settings = splitInput({{1, 8}, 4, 48000, 0x33}, {});
    conversion run(settings);
    EXPECT_EQ(run.putChannel(byte_vector{1}, 5), 0u);
    EXPECT_EQ(run.putChannel(byte_vector{2}, 0), 0u);
    EXPECT_EQ(run.putChannel(byte_vector{9}, 2), 0u); // not in the layout
    EXPECT_EQ(run.putChannel(byte_vector{3}, 4), 0u);
    EXPECT_EQ(run.putChannel(byte_vector{4}, 1), 0u);
    EXPECT_EQ(run.streams[0].bytes, (byte_vector{2, 4, 3, 1}));

    settings.input_order_map_enabled = settings.output_order_map_enabled = 1;
    const uint8_t in_map[8] = {4, 3, 0, 0, 2, 1}, out_map[8] = {2, 3, 0, 0, 4, 1};
    std::copy(in_map, in_map + 8, settings.input_order_map);
    std::copy(out_map, out_map + 8, settings.output_order_map);
    conversion mapped(settings);
    for (const uint8_t speaker : {0, 1, 4, 5}) {
        EXPECT_EQ(mapped.putChannel(byte_vector{speaker}, speaker), 0u);
    }
    EXPECT_EQ(mapped.streams[0].bytes, (byte_vector{5, 0, 1, 4}));
    EXPECT_EQ(run.close() + mapped.close(), "");
}

// The same channels, silence behind the shorter ones, as one stream of frames.
byte_vector interleave(const std::vector<samples> &channels) {
    size_t longest = 0;
    for (const samples &channel : channels) {
        longest = std::max(longest, channel.size());
    }
    samples frames;
    for (size_t k = 0; k < longest; ++k) {
        for (const samples &channel : channels) {
            frames.push_back(k < channel.size() ? channel[k] : 0);
        }
    }
    return toBytes(frames);
}

samples decodeMono(sample_layout layout, const byte_vector &bytes) {
    return toSamples(convert(makeSettings({layout, 1, 48000}, {{1, 32}}), bytes));
}

struct split_row {
    side input, output;
    bool split_output;
};

void expectSameAsInterleaved(const split_row &row, uint64_t seed) {
    audio_converter_settings settings = splitInput(row.input, row.output);
    settings.output_separate_channels = row.split_output;
    SCOPED_TRACE(describe(settings) + ", seed " + std::to_string(seed));
    random_numbers random(seed);
    const uint32_t unit = unitBytes(row.input.layout, 1);
    std::vector<byte_vector> feeds;
    std::vector<samples> channels;
    for (unsigned c = 0; c < row.input.channels; ++c) {
        const uint32_t frames = 2 * random.below(random.below(5) == 0 ? 4 : 400);
        feeds.push_back(makeInput(row.input.layout, 1, frames, random.next()));
        channels.push_back(decodeMono(row.input.layout, feeds.back()));
    }
    conversion run(settings);
    const uint32_t largest = 1 + random.below(90);
    std::vector<size_t> sent(feeds.size());
    for (size_t unfinished = feeds.size(); unfinished != 0;) {
        const auto c = static_cast<uint8_t>(random.below(row.input.channels));
        if (sent[c] > feeds[c].size()) {
            continue;
        }
        const size_t block =
            std::min<size_t>(feeds[c].size() - sent[c], random.below(largest + 1) * unit);
        ASSERT_EQ(run.putChannel(std::span(feeds[c]).subspan(sent[c], block), c), 0u);
        sent[c] += block;
        if (sent[c] == feeds[c].size()) {
            ++sent[c]; // now and then told
            --unfinished;
            ASSERT_EQ(random.below(2) == 0 ? run.end(c) : 0, 0u);
        }
    }
    ASSERT_EQ(run.done(), 0u);
    side joined_input = row.input;
    joined_input.layout = {1, 32};
    audio_converter_settings joined = makeSettings(joined_input, row.output);
    joined.output_separate_channels = row.split_output;
    ASSERT_TRUE(run.output() == convert(joined, interleave(channels)));
    ASSERT_EQ(run.close(), "");
}

TEST(SeparateInput, EqualsInterleaved) {
    const side outputs[] = {
        {{1, 24}, 2, 48000, 0x03}, {{2, 20}, 2, 48000, 0x03}, {{3, 16}, 6, 48000, 0x3f},
        {{4, 20}, 6, 48000, 0x3f}, {{5, 32}, 8, 48000, 0xff}, {{1, 32}, 1, 44100, 0x04},
        {{4, 24}, 2, 96000, 0x03}, {{3, 24}, 8, 32000, 0xff}, {{2, 16}, 3, 44100, 0x07},
    };
    uint64_t seed = 0;
    for (const sample_layout in : ALL_LAYOUTS) {
        if (in.format == 4) {
            continue;
        }
        for (const side &output : outputs) {
            for (const uint8_t channels : {1, 2, 3}) {
                const uint32_t mask = (1u << channels) - 1;
                const bool split_output = output.layout.format != 4 && seed % 2 == 0;
                expectSameAsInterleaved({{in, channels, 48000, mask}, output, split_output},
                                        ++seed);
                if (HasFatalFailure()) {
                    return;
                }
            }
        }
    }
}

TEST(SeparateInput, DiscardedTail) {
    for (const uint32_t rate : {24000u, 96000u}) {
        conversion run(splitInput({{1, 16}, 2, 48000}, {{}, 0, rate}));
        EXPECT_EQ(run.putChannel(ramp(1, 300), 0), 0u);
        EXPECT_EQ(run.putChannel(ramp(1, 200), 1), 0u);
        EXPECT_EQ(run.done(1), 0u);
        // The drain goes out, 300 samples behind 20 of history; the flush does not.
        EXPECT_EQ(run.committed() / 4, rate == 24000 ? (320u - 41) / 2 : (320u * 2 - 81) / 2 * 2);
        EXPECT_EQ(run.close(), "");
    }
}

// A block that finds the output full waits, and leaves in one call of the writer with the next one;
// a call whose block does not go through yet writes what waits.
TEST(SeparateInput, FullOutput) {
    for (const uint32_t rate : {48000u, 96000u}) {
        const byte_vector whole =
            convert(makeSettings({{1, 16}, 1, 48000}, {{}, 0, rate}), ramp(1, 300));
        conversion run(splitInput({{1, 16}, 1, 48000}, {{}, 0, rate}));
        bool full = true;
        run.streams[0].refuses = [&] { return full; };
        EXPECT_EQ(run.putChannel(ramp(1, 100), 0), 1u);
        EXPECT_EQ(run.putChannel(ramp(101, 50), 0), 1u); // below the largest block: waits
        EXPECT_EQ(run.putChannel(ramp(151, 50), 0), 1u);
        EXPECT_EQ(run.committed(), 0u);
        full = false;
        EXPECT_EQ(run.putChannel({}, 0), 0u);
        EXPECT_EQ(run.streams[0].chunks.size(), 1u);
        EXPECT_GE(run.committed(), 200u);
        full = true;
        EXPECT_EQ(run.putChannel(ramp(201, 100), 0), 1u);
        EXPECT_EQ(run.done(), 0u);
        full = false;
        EXPECT_EQ(run.done(), 0u);
        EXPECT_TRUE(run.streams[0].bytes == whole);
        EXPECT_EQ(run.close(), "");
    }
}

// What waits and the room for the block behind it are one matter: without memory nothing is taken
// and no stream is called.
TEST(SeparateInput, NoRoomToHoldABlock) {
    conversion run(splitInput({{1, 16}, 1, 48000}, {}));
    bool full = true;
    run.streams[0].refuses = [&] { return full; };
    EXPECT_EQ(run.putChannel(ramp(1, 100), 0), 1u);
    run.host.fail_at = run.host.sizes.size() + 1;
    full = false;
    EXPECT_EQ(run.putChannel(ramp(101, 100), 0), 1u);
    EXPECT_EQ(run.streams[0].wants.size(), 1u);
    EXPECT_EQ(run.putChannel(ramp(101, 100), 0), 0u);
    EXPECT_EQ(run.streams[0].wants, (std::vector<uint32_t>{200, 400}));
    EXPECT_EQ(run.streams[0].bytes, ramp(1, 200));
    EXPECT_EQ(run.close(), "");
}

struct ending_row {
    const char *name;
    bool split_input;
    uint32_t rate;
};

// Both ways to end write what earlier calls could not; only one of them writes what the rate
// conversion and an odd frame still hold. The other end may follow.
TEST(SeparateInput, BothEndsWriteWhatWaits) {
    const ending_row rows[] = {{"joined", false, 48000},
                               {"joined, rate change", false, 96000},
                               {"split", true, 48000},
                               {"split, rate change", true, 96000}};
    for (const ending_row &row : rows) {
        SCOPED_TRACE(row.name);
        auto settings = makeSettings({{1, 16}, 1, 48000}, {{3, 16}, 0, row.rate});
        const byte_vector whole = convert(settings, ramp(1, 101));
        settings.input_separate_channels = row.split_input;
        conversion run(settings);
        bool full = true;
        run.streams[0].refuses = [&] { return full; };
        const byte_vector input = ramp(1, 101);
        EXPECT_EQ(row.split_input ? run.putChannel(input, 0) : run.put(input), 1u);
        EXPECT_EQ(run.done(1), 0u);
        EXPECT_EQ(run.committed(), 0u);
        full = false;
        EXPECT_EQ(run.done(1), 0u);
        const size_t held = row.rate == 48000 ? 100 : ((101 + 20) * 2 - 81) / 2 * 2;
        EXPECT_EQ(run.committed(), held * 2);
        EXPECT_EQ(run.done(0), 0u);
        EXPECT_EQ(run.committed(), row.rate == 48000 ? 204u : held * 2);
        EXPECT_TRUE(std::equal(run.streams[0].bytes.begin(), run.streams[0].bytes.end(),
                               whole.begin(), whole.begin() + static_cast<long>(run.committed())));
        EXPECT_EQ(run.close(), "");
    }
}

// In a drain that meets a full stream every allocation may fail: the end says so and goes on when
// repeated, or made do without.
TEST(SeparateInput, DrainWithoutMemory) {
    const side input = {{1, 16}, 2, 48000, 0x03};
    uint32_t made_do = 0;
    for (const uint32_t rate : {48000u, 96000u}) {
        byte_vector expected;
        size_t allocations = 1;
        for (size_t failing = 0; failing <= allocations; ++failing) {
            conversion run(splitInput(input, {{}, 0, rate}));
            EXPECT_EQ(run.putChannel(ramp(1, 300), 0), 0u);
            EXPECT_EQ(run.putChannel(ramp(7, 10), 1), 0u);
            const size_t before = run.host.sizes.size();
            run.host.fail_at = failing == 0 ? 0 : before + failing;
            run.streams[0].refuses = [&] { return run.streams[0].wants.size() == 1; };
            const uint32_t result = run.done();
            made_do += failing != 0 && result == 0 && run.host.sizes.size() >= before + failing;
            if (result != 0) {
                EXPECT_EQ(run.done(), 0u);
            }
            EXPECT_EQ(run.done(), 0u);
            if (failing == 0) {
                expected = run.output();
                allocations = run.host.sizes.size() - before;
            }
            EXPECT_TRUE(run.output() == expected) << rate << ", allocation " << failing;
            EXPECT_EQ(run.close(), "");
        }
        EXPECT_EQ(expected.size(), rate / 48000 * 1200);
    }
    EXPECT_GT(made_do, 0u);
}

// A drain of a hundred thousand blocks, all refused, keeps its output and takes no time over it.
TEST(SeparateInput, RefusedDrain) {
    constexpr int FRAMES = 100000;
    const side input = {{1, 16}, 2, 48000, 0x03};
    conversion run(splitInput(input, {{}, 0, 96000}));
    EXPECT_EQ(run.putChannel(ramp(1, FRAMES), 0), 0u);
    EXPECT_EQ(run.putChannel(ramp(7, 1), 1), 0u);
    run.streams[0].refuses = [] { return true; };
    const size_t allocations = run.host.sizes.size();
    EXPECT_EQ(run.done(), 0u);
    EXPECT_LT(run.host.sizes.size(), allocations + 50);
    EXPECT_EQ(run.committed(), 0u);
    run.streams[0].refuses = nullptr;
    EXPECT_EQ(run.done(), 0u);
    const byte_vector frames =
        interleave({decodeMono({1, 16}, ramp(1, FRAMES)), decodeMono({1, 16}, ramp(7, 1))});
    EXPECT_TRUE(run.output() ==
                convert(makeSettings({{1, 32}, 2, 48000}, {{1, 16}, 0, 96000}), frames));
    EXPECT_EQ(run.close(), "");
}

} // namespace
