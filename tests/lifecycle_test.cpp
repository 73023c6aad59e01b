// Creation, attachment, refusals in the wrong mode, the query.

#include "support/conversion.h"

#include <gtest/gtest.h>

#include <cstring>
#include <map>

namespace {

using texts = std::vector<std::string>;

const texts SEVEN_NAMES = {"err_printf", "malloc",     "free",      "err_printf",
                           "prg_printf", "wrn_printf", "inf_printf"};
constexpr char MIXED_ATTACH[] = "Cannot initialize converter: mixing separate channels mode and "
                                "non-separate channels mode";
constexpr char MIXED_DATA[] = "Cannot converter data: mixing separate channels mode and "
                              "non-separate channels mode";
constexpr char MIXED_END[] = "Cannot finish converting data for a channel: mixing separate "
                             "channels mode and non-separate channels mode";
constexpr char NO_STREAM[] = "Invalid bufstream parameter";
constexpr char AES3_PAIRS[] = "Cannot convert data: AES3 input carries channel pairs";

audio_converter_settings stereo() {
    return makeSettings({{1, 16}, 2, 48000}, {}, 1024);
}

TEST(Lifecycle, SevenLookupsInOrder) {
    const audio_converter_settings settings = stereo();
    for (const char *withheld : {"", "err_printf", "prg_printf", "wrn_printf", "inf_printf"}) {
        test_host host;
        host.withheld = {withheld};
        audio_converter *converter = audioConverterNew(host.enter(), &settings);
        ASSERT_NE(converter, nullptr);
        EXPECT_EQ(host.asked, SEVEN_NAMES) << withheld;
        EXPECT_EQ(audioConverterInit(converter, nullptr), 1);
        EXPECT_EQ(host.messages.size(), std::string(withheld) == "err_printf" ? 0u : 1u);
        audioConverterFree(converter);
        EXPECT_EQ(host.asked, SEVEN_NAMES);
        EXPECT_EQ(host.trouble(), "");
    }
}

TEST(Lifecycle, LookupsEndWhereCreationFails) {
    audio_converter_settings settings = stereo();
    test_host without_memory;
    without_memory.fail_at = 1;
    EXPECT_EQ(audioConverterNew(without_memory.enter(), &settings), nullptr);
    EXPECT_EQ(without_memory.asked, (texts{"err_printf", "malloc"}));
    EXPECT_TRUE(without_memory.messages.empty());

    settings.out_frame_size = 0;
    test_host invalid;
    EXPECT_EQ(audioConverterNew(invalid.enter(), &settings), nullptr);
    EXPECT_EQ(invalid.asked, texts{"err_printf"});
    EXPECT_EQ(invalid.messages, texts{"V17:Invalid out frame size (0)."});
}

TEST(Lifecycle, WithoutAnyHost) {
    const audio_converter_settings settings = stereo();
    audio_converter *converter = audioConverterNew(nullptr, &settings);
    ASSERT_NE(converter, nullptr);
    testing::internal::CaptureStdout();
    EXPECT_EQ(audioConverterInit(converter, nullptr), 1);
    fflush(stdout);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    audioConverterFree(converter);
}

TEST(Lifecycle, NullConverter) {
    recording_stream stream;
    const uint8_t bytes[4] = {};
    EXPECT_EQ(audioConverterInit(nullptr, &stream), 1);
    for (const int32_t channel : {0, 7, 8, -1}) {
        EXPECT_EQ(audioConverterInitChannel(nullptr, &stream, channel), 1);
    }
    EXPECT_EQ(audioConverterPutBytes(nullptr, bytes, 4), 1u);
    EXPECT_EQ(audioConverterPutBytesOneChannel(nullptr, bytes, 4, 0), 1u);
    EXPECT_EQ(audioConverterNoMoreDataInChannel(nullptr, 0), 1u);
    EXPECT_EQ(audioConverterDone(nullptr, 0), 1u);
    audioConverterFree(nullptr);
}

TEST(Lifecycle, AttachmentByMode) {
    for (const uint8_t split : {0, 1, 255}) {
        audio_converter_settings settings = stereo();
        settings.output_separate_channels = split;
        test_host host;
        recording_stream stream;
        audio_converter *converter = audioConverterNew(host.enter(), &settings);
        EXPECT_EQ(audioConverterInitChannel(converter, &stream, 8), 1);
        EXPECT_EQ(audioConverterInitChannel(converter, nullptr, -1), 1);
        EXPECT_TRUE(host.messages.empty());
        EXPECT_EQ(audioConverterInit(converter, &stream), split != 0);
        EXPECT_EQ(audioConverterInitChannel(converter, &stream, 7), split == 0);
        EXPECT_EQ(host.messages, texts{MIXED_ATTACH});
        // The mode is looked at before the stream.
        EXPECT_EQ(audioConverterInit(converter, nullptr), 1);
        EXPECT_EQ(audioConverterInitChannel(converter, nullptr, 0), 1);
        EXPECT_EQ(host.messages, split != 0 ? (texts{MIXED_ATTACH, MIXED_ATTACH, NO_STREAM})
                                            : (texts{MIXED_ATTACH, NO_STREAM, MIXED_ATTACH}));
        audioConverterFree(converter);
        EXPECT_EQ(host.trouble(), "");
    }
}

TEST(Lifecycle, AttachingAgainReplaces) {
    conversion run(stereo());
    recording_stream second;
    const byte_vector block(400, 1);
    EXPECT_EQ(run.put(block), 0u);
    EXPECT_EQ(audioConverterInit(run.converter, &second), 0);
    EXPECT_EQ(audioConverterInit(run.converter, nullptr), 1);
    EXPECT_EQ(run.put(block), 0u);
    EXPECT_EQ(run.streams[0].bytes, block);
    EXPECT_EQ(second.bytes, block);
    EXPECT_EQ(run.close(), "");
}

TEST(Lifecycle, DataCallsOfTheOtherMode) {
    const uint8_t bytes[4] = {};
    conversion joined(stereo());
    EXPECT_EQ(joined.putChannel(bytes, 0), 1u);
    EXPECT_EQ(joined.end(0), 1u);
    EXPECT_EQ(joined.end(8), 1u);
    EXPECT_EQ(joined.host.messages, (texts{MIXED_DATA, MIXED_END, MIXED_END}));

    audio_converter_settings settings = stereo();
    settings.input_separate_channels = 2;
    conversion split(settings);
    EXPECT_EQ(audioConverterPutBytes(split.converter, nullptr, UINT32_MAX), 1u);
    EXPECT_EQ(split.host.messages, texts{MIXED_DATA});
    EXPECT_EQ(split.putChannel(bytes, 8), 1u);
    EXPECT_EQ(split.end(8), 1u);
    EXPECT_EQ(split.host.messages.size(), 1u);

    settings.input_format = AUDIO_FORMAT_AES3;
    conversion pairs(settings);
    const size_t allocations = pairs.host.sizes.size();
    EXPECT_EQ(pairs.putChannel(bytes, 8), 1u);
    EXPECT_EQ(audioConverterPutBytesOneChannel(pairs.converter, nullptr, 4, 0), 1u);
    EXPECT_EQ(pairs.host.messages, texts{AES3_PAIRS});
    EXPECT_EQ(pairs.host.sizes.size(), allocations);
    for (conversion *run : {&joined, &split, &pairs}) {
        EXPECT_EQ(run->close(), "");
        EXPECT_EQ(run->committed(), 0u);
    }
}

// Never read: the size alone is refused, carried bytes included, as are null bytes.
TEST(Lifecycle, RefusedBlocksTakeNothing) {
    conversion run(stereo());
    EXPECT_EQ(run.settings.output_channels, 0);       // the host's record keeps its zeros
    memset(&run.settings, 0xff, sizeof run.settings); // and is no longer looked at
    const byte_vector input = makeInput({1, 16}, 2, 10, 3);
    EXPECT_EQ(run.put(std::span(input).first(3)), 0u);
    const size_t allocations = run.host.sizes.size();
    for (const uint32_t size : {(1u << 29) - 3, 1u << 29, UINT32_MAX}) {
        EXPECT_EQ(audioConverterPutBytes(run.converter, input.data(), size), 1u) << size;
    }
    EXPECT_EQ(audioConverterPutBytes(run.converter, nullptr, 1), 1u);
    EXPECT_EQ(audioConverterPutBytes(run.converter, nullptr, 0), 0u);
    EXPECT_EQ(run.host.sizes.size(), allocations);
    EXPECT_EQ(run.put(std::span(input).subspan(3)), 0u);
    EXPECT_EQ(run.streams[0].bytes, input);
    EXPECT_EQ(run.close(), "");
}

TEST(Lifecycle, Query) {
    for (const int32_t id : {0, 2, -1, INT32_MAX, INT32_MIN}) {
        EXPECT_EQ(audioConverterGetAPIExt(id), nullptr);
    }
    const audio_converter_query query = audioConverterGetAPIExt(1);
    ASSERT_NE(query, nullptr);
    const std::map<int32_t, std::string> answers = {
        {3, {1, 0, 0, 0}}, {4, "10.5.18.1082"}, {5, "ZTPLATFORM_X64"}};
    for (const int32_t id : {3, 4, 5, 1, 2, 6, -1, 0}) {
        const std::string answer = answers.count(id) != 0 ? answers.at(id) : "";
        std::string room(32, '#');
        EXPECT_EQ(query(id, room.data()), answer.empty() ? 1 : 0) << id;
        EXPECT_EQ(room, answer + std::string(32 - answer.size(), '#')) << id;
        EXPECT_EQ(query(id, nullptr), 1) << id;
    }
}

// Buffers grow to an exact fit and a steady stream of equal blocks stops allocating.
TEST(Lifecycle, SteadyStreamAllocatesNothing) {
    for (const uint32_t rate : {44100u, 48000u}) {
        conversion run(makeSettings({{1, 24}, 2, rate}, {{5, 32}, 0, 48000}));
        const byte_vector block = makeInput({1, 24}, 2, 300, 1);
        const auto odd_block = std::span(block).first(1000); // leaves bytes to carry
        size_t allocations = 0;
        for (int i = 0; i < 640; ++i) {
            EXPECT_EQ(run.put(odd_block), 0u);
            if (i == 600) { // every phase of block and filter has been met
                allocations = run.host.sizes.size();
            }
        }
        EXPECT_EQ(run.host.sizes.size(), allocations) << rate;
        EXPECT_EQ(run.close(), "");
    }
}

} // namespace
