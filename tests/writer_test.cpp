// How output is cut into chunks, and what is refused before any stream is called.

#include "support/conversion.h"

#include <gtest/gtest.h>

namespace {

using sizes = std::vector<uint32_t>;

struct chunk_row {
    const char *name;
    sample_layout output;
    uint8_t channels;
    uint32_t frame_size;
    uint32_t room; // 0: all that is wanted
    uint32_t frames;
    bool split;
    sizes chunks; // of the first stream; the last repeats until the frames are used up
    uint32_t last_chunk;
};

const chunk_row CHUNK_ROWS[] = {
    {"frame size", {1, 16}, 2, 4096, 0, 10000, false, sizes(9, 4096), 3136},
    {"room and a part of a frame", {1, 16}, 2, 4096, 1003, 1000, false, sizes(3, 1000), 1000},
    {"pairs", {2, 16}, 2, 4098, 0, 2048, false, sizes(1, 4096), 4096},
    {"big-endian 20", {3, 20}, 2, 4096, 0, 1000, false, sizes(1, 4092), 1908},
    {"split", {1, 16}, 2, 4096, 0, 3000, true, sizes(2, 2048), 1904},
    {"split, room shared", {1, 16}, 2, 4096, 1000, 1000, true, sizes(3, 500), 500},
    {"AES3 adds its header", {4, 16}, 2, 1920, 0, 1000, false, sizes(2, 1924), 1164},
    {"AES3 in little room", {4, 16}, 2, 1920, 1004, 400, false, sizes(1, 1004), 1004},
    {"AES3 one byte short", {4, 16}, 2, 1920, 1003, 300, false, sizes(1, 999), 509},
    {"AES3 payload of 65535", {4, 16}, 2, 1u << 30, 0, 13108, false, sizes(1, 65539), 9},
    {"whole stream", {5, 32}, 8, UINT32_MAX, 0, 5000, false, {}, 160000},
    {"frame by frame", {1, 8}, 1, 1, 0, 3, false, {1, 1}, 1},
};

TEST(Writer, Chunks) {
    for (const chunk_row &row : CHUNK_ROWS) {
        SCOPED_TRACE(row.name);
        audio_converter_settings settings =
            makeSettings({{1, 16}, row.channels, 48000}, {row.output}, row.frame_size);
        settings.output_separate_channels = row.split;
        conversion run(settings);
        if (row.room != 0) {
            for (recording_stream &stream : run.streams) {
                stream.room = [&](uint32_t) { return row.room; };
            }
        }
        EXPECT_EQ(run.put(makeInput({1, 16}, row.channels, row.frames, 8)), 0u);
        sizes expected = row.chunks;
        expected.push_back(row.last_chunk);
        for (int slot = 0; slot < (row.split ? row.channels : 1); ++slot) {
            EXPECT_EQ(run.streams[slot].chunks, expected) << slot;
        }
        EXPECT_EQ(run.close(), "");
    }
}

// Every pass serves the streams in slot order, each from reserve to aux_info.
TEST(Writer, OrderOfCalls) {
    audio_converter_settings settings = makeSettings({{1, 16}, 2, 48000}, {}, 8);
    std::string journal;
    for (const uint8_t split : {0, 1}) {
        settings.output_separate_channels = split;
        conversion run(settings);
        journal.clear();
        run.streams[0].journal = run.streams[1].journal = &journal;
        const byte_vector input = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
        EXPECT_EQ(run.put(input), 0u);
        EXPECT_EQ(run.put({}), 0u); // nothing pending: nobody is asked
        EXPECT_EQ(run.done(), 0u);
        EXPECT_EQ(journal, split != 0 ? "r0 f0 c0 a0 r1 f1 c1 a1 r0 f0 c0 a0 r1 f1 c1 a1 "
                                      : "r0 f0 c0 a0 r0 f0 c0 a0 ");
        EXPECT_EQ(run.streams[0].wants, split != 0 ? (sizes{6, 2}) : (sizes{12, 4}));
        const byte_vector left = {1, 2, 5, 6, 9, 10}, right = {3, 4, 7, 8, 11, 12};
        EXPECT_EQ(run.streams[0].bytes, split != 0 ? left : input);
        EXPECT_EQ(run.streams[1].bytes, split != 0 ? right : byte_vector{});
        EXPECT_EQ(run.close(), "");
    }
}

struct attach_row {
    const char *name;
    std::vector<int> slots;
    uint32_t result;
    std::vector<byte_vector> outputs; // by entry of slots
};

// Which streams are attached, not the flag, decides between joined and split output, from one call
// to the next: the same block follows every attachment.
TEST(Writer, StreamsAttached) {
    const attach_row rows[] = {
        {"first alone: joined", {0}, 0, {{1, 2, 3, 4, 5, 6, 7, 8}}},
        {"fourth alone", {3}, 0, {{4, 8}}},
        {"second and third", {1, 2}, 0, {{2, 6, 2, 6}, {3, 7}}},
        {"joined, then split", {0, 2}, 0, {{1, 2, 3, 4, 5, 6, 7, 8, 1, 5}, {3, 7}}},
        {"one beyond the layout", {6, 0}, 0, {{}, {1, 5}}},
        {"only one beyond the layout", {6}, 1, {{}}},
    };
    for (const attach_row &row : rows) {
        SCOPED_TRACE(row.name);
        audio_converter_settings settings = makeSettings({{1, 8}, 4, 48000}, {});
        settings.output_separate_channels = 1;
        test_host host;
        recording_stream streams[8];
        audio_converter *converter = audioConverterNew(host.enter(), &settings);
        const uint8_t input[] = {1, 2, 3, 4, 5, 6, 7, 8};
        uint32_t result = audioConverterPutBytes(converter, input, sizeof input);
        EXPECT_EQ(result, 1u); // nothing attached
        for (const int slot : row.slots) {
            EXPECT_EQ(audioConverterInitChannel(converter, &streams[slot], slot), 0);
            result = audioConverterPutBytes(converter, input, sizeof input);
        }
        EXPECT_EQ(result, row.result);
        for (size_t i = 0; i < row.slots.size(); ++i) {
            EXPECT_EQ(streams[row.slots[i]].bytes, row.outputs[i]);
            EXPECT_EQ(streams[row.slots[i]].faults, "");
        }
        audioConverterFree(converter);
        EXPECT_EQ(host.trouble(), "");
    }
}

// Pairs come in and frames go out: a chunk may cut a pair, and so may what a full stream leaves.
TEST(Writer, ChunksThatCutPairs) {
    for (const uint8_t channels : {1, 3}) {
        conversion run(makeSettings({{2, 16}, channels, 48000}, {{1, 16}}, 6u * channels));
        recording_stream &stream = run.streams[0];
        stream.refuses = [&] { return stream.chunks.size() == 3; };
        const byte_vector input = makeInput({2, 16}, channels, 50, 1);
        EXPECT_EQ(run.put(input), 1u);
        stream.refuses = nullptr;
        EXPECT_EQ(run.put({}), 0u);
        ASSERT_EQ(stream.bytes.size(), input.size());
        for (size_t i = 0; i < input.size(); ++i) {
            ASSERT_EQ(stream.bytes[i ^ 1], input[i]) << i;
        }
        EXPECT_EQ(run.close(), "");
    }
}

// Areas one behind the other in a block of the host's.
struct in_place_stream : bufstream {
    in_place_stream()
        : bufstream{[](bufstream *) { return 100u; },
                    [](bufstream *s, uint32_t) { return self(s).next; },
                    [](bufstream *s, uint32_t n) { self(s).next += n; },
                    nullptr,
                    nullptr,
                    [](bufstream *, uint32_t, uint32_t, void *, int32_t) {}} {
    }
    static in_place_stream &self(bufstream *stream) {
        return *static_cast<in_place_stream *>(stream);
    }
    uint8_t *next = nullptr;
};

struct refusal_row {
    const char *name;
    sample_layout output;
    uint32_t frame_size;
    bool split;
    bool refused;
};

// Output that can never hold a frame (a pair, a share of one): bytes are not taken, nobody is asked
// and no memory is used, however the input comes. A call of nothing finds nothing waiting.
TEST(Writer, RefusedBeforeAnyStream) {
    const refusal_row rows[] = {
        {"frame fits", {1, 16}, 4, false, false},
        {"frame does not fit", {1, 16}, 3, false, true},
        {"pair fits", {3, 24}, 12, false, false},
        {"pair does not fit", {3, 24}, 11, false, true},
        {"pair of 20 bits does not fit", {2, 20}, 9, false, true},
        {"share fits", {1, 16}, 4, true, false},
        {"share does not fit", {1, 16}, 3, true, true},
        {"AES3 frame fits", {4, 16}, 5, false, false},
        {"AES3 frame does not fit", {4, 16}, 4, false, true},
        {"AES3 split", {4, 16}, 4096, true, true},
    };
    for (const refusal_row &row : rows) {
        SCOPED_TRACE(row.name);
        audio_converter_settings settings =
            makeSettings({{1, 16}, 2, 48000}, {row.output}, row.frame_size);
        settings.output_separate_channels = row.split;
        for (const uint8_t split_input : {0, 1}) {
            settings.input_separate_channels = split_input;
            conversion run(settings);
            const size_t created = run.host.sizes.size();
            const byte_vector input = makeInput({1, 16}, 2, 6, 1);
            for (const uint8_t channel : {0, 1}) {
                EXPECT_EQ(split_input != 0 ? run.putChannel(input, channel) : run.put(input),
                          row.refused ? 1u : 0u);
            }
            EXPECT_EQ(run.streams[0].wants.empty(), row.refused);
            EXPECT_EQ(run.host.sizes.size() == created, row.refused);
            EXPECT_EQ(split_input != 0 ? run.putChannel({}, 0) : run.put({}), 0u);
            EXPECT_EQ(run.done(), 0u);
            EXPECT_EQ(run.close(), "");
        }
    }
}

// Joined AES3 output waits when a second stream makes it split, which AES3 cannot be.
TEST(Writer, WaitingOutputThatCanNoLongerBeWritten) {
    audio_converter_settings settings = makeSettings({{1, 16}, 2, 48000}, {{4, 16}});
    settings.output_separate_channels = 1;
    test_host host;
    recording_stream first;
    recording_stream second;
    first.refuses = [] { return true; };
    audio_converter *converter = audioConverterNew(host.enter(), &settings);
    const uint8_t frame[] = {1, 2, 3, 4};
    EXPECT_EQ(audioConverterPutBytes(converter, frame, 4), 1u); // no stream
    EXPECT_EQ(audioConverterPutBytes(converter, nullptr, 0), 0u);
    EXPECT_EQ(audioConverterInitChannel(converter, &first, 0), 0);
    EXPECT_EQ(audioConverterPutBytes(converter, frame, 4), 1u);
    EXPECT_EQ(audioConverterInitChannel(converter, &second, 1), 0);
    EXPECT_EQ(audioConverterPutBytes(converter, nullptr, 0), 1u);
    EXPECT_EQ(audioConverterPutBytes(converter, frame, 4), 1u);
    EXPECT_EQ(first.wants.size(), 1u);
    EXPECT_EQ(audioConverterDone(converter, 0), 0u);
    audioConverterFree(converter);
    EXPECT_EQ(host.trouble(), "");
}

// The reserved areas run over the host's own input block, from its start, from some chunks in front
// of it or from its middle: no input is overwritten before it is read.
TEST(Writer, ConversionInPlace) {
    for (const sample_layout output : {sample_layout{1, 16}, {1, 8}, {3, 16}, {1, 32}, {5, 32}}) {
        for (const auto &[input_at, output_at] : {std::pair{0u, 0u}, {300u, 0u}, {0u, 300u}}) {
            const byte_vector input = makeInput({1, 16}, 2, 500, 6);
            const auto settings = makeSettings({{1, 16}, 2, 48000}, {output}, 100);
            in_place_stream stream;
            audio_converter *converter = audioConverterNew(nullptr, &settings);
            EXPECT_EQ(audioConverterInit(converter, &stream), 0);
            byte_vector all;
            for (const auto &[start, end] :
                 {std::pair{0u, 1001u}, {1001u, 1003u}, {1003u, 2000u}}) {
                const uint32_t bytes = end - start;
                byte_vector block(3 * bytes + 400);
                std::copy(&input[start], &input[start] + bytes, &block[input_at]);
                stream.next = &block[output_at];
                EXPECT_EQ(audioConverterPutBytes(converter, &block[input_at], bytes), 0u);
                all.insert(all.end(), &block[output_at], stream.next);
            }
            audioConverterFree(converter);
            EXPECT_TRUE(all == convert(settings, input))
                << int{output.format} << "/" << int{output.bits} << ", output at " << output_at;
        }
    }
}

// Frames that leave in pairs: the odd one waits, and the end completes it with silence.
TEST(Writer, OddFrame) {
    const byte_vector two = {0x12, 0x34, 0x12, 0x34}, completed = {0x12, 0x34, 0, 0};
    for (const uint8_t format : {2, 3}) {
        for (const uint32_t discard : {0u, 1u}) {
            conversion run(makeSettings({{1, 16}, 1, 48000}, {{format, 16}}));
            const byte_vector frame = {0x34, 0x12};
            for (const size_t bytes : {0u, 4u, 4u}) {
                EXPECT_EQ(run.put(frame), 0u);
                EXPECT_EQ(run.put({}), 0u);
                EXPECT_EQ(run.committed(), bytes);
            }
            byte_vector expected = two;
            EXPECT_EQ(run.done(discard), 0u);
            if (discard == 0) {
                expected.insert(expected.end(), completed.begin(), completed.end());
            }
            EXPECT_EQ(run.streams[0].bytes, expected);
            EXPECT_EQ(run.close(), "");
        }
    }
}

} // namespace
