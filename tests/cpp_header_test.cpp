// The C++ header as hosts use it: sinks that take parts, nothing or throw; faults; moves.
#include "zt_trans_audio_converter.hpp"

#include "support/conversion.h"

#include <gtest/gtest.h>

namespace {

// A sink that takes at most `room` bytes altogether, and at most `most` at once.
struct limited_sink {
    byte_vector bytes;
    size_t most = SIZE_MAX;
    size_t room = SIZE_MAX;

    size_t operator()(const uint8_t *offered, size_t byte_count) {
        const size_t taken = std::min({byte_count, most, room});
        bytes.insert(bytes.end(), offered, offered + taken);
        room -= taken;
        return taken;
    }
};

constexpr zt::audio CD = {zt::format::pcm, 16, zt::layout::stereo, 44100};
constexpr zt::audio OUTPUTS[] = {{zt::format::pcm, 24, zt::layout::stereo, 48000},
                                 {zt::format::lpcm_paired, 20, zt::layout::stereo, 44100},
                                 {zt::format::lpcm_be, 24, zt::layout::film_5_1, 44100},
                                 {zt::format::aes3, 24, zt::layout::stereo, 48000},
                                 {zt::format::float32, 32, zt::layout::mono, 22050}};

byte_vector cdInput(uint32_t frames = 3001) {
    return makeInput({AUDIO_FORMAT_PCM, 16}, 2, frames, 1);
}

} // namespace

TEST(CppHeader, GivesTheBytesOfTheCFunctions) {
    for (const zt::audio &output : OUTPUTS) {
        const audio_converter_settings settings = zt::makeSettings(CD, output, 1000);
        SCOPED_TRACE(describe(settings));
        conversion plain(settings);
        plain.attach();
        limited_sink whole;
        limited_sink parts;
        parts.most = 5;
        zt::converter first(settings, std::ref(whole));
        zt::converter second(settings, std::ref(parts));
        const byte_vector input = cdInput();
        ASSERT_EQ(plain.put(input), 0u);
        ASSERT_EQ(plain.done(), 0u);
        EXPECT_TRUE(first.put(input));
        EXPECT_TRUE(second.put(input));
        EXPECT_TRUE(first.finish());
        EXPECT_TRUE(second.finish());
        EXPECT_EQ(whole.bytes, plain.streams[0].bytes);
        EXPECT_EQ(parts.bytes, whole.bytes);
        EXPECT_TRUE(first.finish());
        EXPECT_EQ(whole.bytes, parts.bytes);
    }
}

// Room that comes in drops of 7 bytes: nothing is lost, repeated or out of order.
TEST(CppHeader, KeepsWhatASinkDoesNotTake) {
    for (const zt::audio &output : OUTPUTS) {
        const audio_converter_settings settings = zt::makeSettings(CD, output, 1000);
        SCOPED_TRACE(describe(settings));
        const byte_vector input = cdInput();
        limited_sink sink;
        sink.room = 0;
        zt::converter converter(settings, std::ref(sink));
        EXPECT_FALSE(converter.put(input));
        EXPECT_FALSE(converter.put(nullptr, 0));
        EXPECT_TRUE(sink.bytes.empty());
        for (int calls = 0; !converter.finish(); ++calls) {
            ASSERT_LT(calls, 20000);
            sink.room = 7;
        }
        const byte_vector expected = convert(settings, input);
        const bool is_aes3 = output.coding == zt::format::aes3;
        EXPECT_EQ(is_aes3 ? withoutHeaders(sink.bytes, 2, 24) : sink.bytes, expected);
    }
}

TEST(CppHeader, CarriesASinksExceptionPastTheLibrary) {
    const audio_converter_settings settings = zt::makeSettings(CD, CD, 1000);
    const byte_vector input = cdInput();
    limited_sink sink;
    int failing_calls = 2;
    zt::converter converter(settings, [&](const uint8_t *bytes, size_t byte_count) {
        if (sink.bytes.size() >= 2000 && failing_calls-- > 0) {
            throw std::out_of_range("disk");
        }
        return sink(bytes, byte_count);
    });
    EXPECT_THROW(converter.put(input), std::out_of_range);
    EXPECT_THROW(converter.put(nullptr, 0), std::out_of_range);
    EXPECT_TRUE(converter.finish());
    EXPECT_EQ(sink.bytes, input);
}

TEST(CppHeader, RefusesSinksThatBreakTheirRules) {
    const audio_converter_settings settings = zt::makeSettings(CD, CD, 1000);
    const byte_vector input = cdInput();
    zt::converter greedy(settings, [](const uint8_t *, size_t n) { return n + 1; });
    EXPECT_THROW(greedy.put(input), std::logic_error);
    zt::converter *self = nullptr;
    zt::converter nested(settings, [&](const uint8_t *, size_t n) { return self->put(input), n; });
    self = &nested;
    EXPECT_THROW(nested.put(input), std::logic_error);
}

TEST(CppHeader, ChainsConvertersAndMovesThem) {
    const audio_converter_settings settings = zt::makeSettings(CD, OUTPUTS[0], 1000);
    const audio_converter_settings back = zt::makeSettings(OUTPUTS[0], CD);
    const byte_vector input = cdInput();
    limited_sink sink;
    zt::converter second(back, std::ref(sink));
    const auto feedSecond = [&](const uint8_t *bytes, size_t n) { return second.put(bytes, n), n; };
    std::vector<zt::converter> moved;
    moved.emplace_back(settings, feedSecond);
    moved.back().put(input.data(), 5001);
    zt::converter first = std::move(moved.back());
    moved.clear();
    first.put(input.data() + 5001, input.size() - 5001);
    EXPECT_TRUE(first.finish());
    EXPECT_TRUE(second.finish());
    EXPECT_EQ(sink.bytes, convert(back, convert(settings, input)));
}

TEST(CppHeader, FaultsCarryTheLibrarysMessage) {
    struct {
        const char *message;
        void (*change)(audio_converter_settings &);
    } const rows[] = {
        {"V01:Invalid input channels number (9), range is 1 .. 8.",
         [](audio_converter_settings &s) { s.input_channels = 9; }},
        {"V17:Invalid out frame size (0).",
         [](audio_converter_settings &s) { s.out_frame_size = 0; }},
        {"Cannot initialize converter: mixing separate channels mode and non-separate channels "
         "mode",
         [](audio_converter_settings &s) { s.output_separate_channels = 1; }},
        {"no memory, a faulty order map or coprime rates",
         [](audio_converter_settings &s) { s.input_order_map_enabled = 1; }},
    };
    for (const auto &row : rows) {
        audio_converter_settings settings = zt::makeSettings(CD, CD);
        row.change(settings);
        try {
            zt::converter converter(settings, limited_sink());
            ADD_FAILURE() << "no fault: " << row.message;
        } catch (const zt::error &fault) {
            EXPECT_STREQ(fault.what(), row.message);
        }
    }
    zt::converter converter(zt::makeSettings(CD, CD), limited_sink());
    EXPECT_THROW(converter.put(nullptr, 4), zt::error);
    EXPECT_THROW(converter.put(&converter, size_t{1} << 32), zt::error);
    EXPECT_TRUE(converter.put(std::vector<int16_t>(10)));
}
