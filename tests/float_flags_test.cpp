#include "support/conversion.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cfenv>
#include <numeric>
#include <optional>

// A host may unmask floating-point traps: for finite input and gains up to 1, no call raises a
// flag that could trap. Inexact results are usual and not looked at.

namespace {

constexpr struct {
    int flag;
    const char *name;
} TRAPS[] = {{FE_INVALID, "invalid "},
             {FE_DIVBYZERO, "division by zero "},
             {FE_OVERFLOW, "overflow "},
             {FE_UNDERFLOW, "underflow "}};

// What a kernel might read without having written it: signalling not-a-numbers on the stack.
[[gnu::noinline]] void soilStack() {
    volatile uint64_t garbage[1 << 13];
    for (volatile uint64_t &word : garbage) {
        word = 0x7ff4000000000001;
    }
}

// The flags that a call raises, by name.
template <typename Call>
std::string flagsOf(Call call) {
    soilStack();
    feclearexcept(FE_ALL_EXCEPT);
    call();
    const int raised = fetestexcept(FE_ALL_EXCEPT);
    std::string names;
    for (const auto &trap : TRAPS) {
        names += (raised & trap.flag) != 0 ? trap.name : "";
    }
    return names;
}

// The whole life of a converter, `input` cut into blocks of `block` bytes.
void expectNoFlags(const audio_converter_settings &settings, const byte_vector &input,
                   size_t block) {
    SCOPED_TRACE(describe(settings));
    std::optional<conversion> run;
    EXPECT_EQ(flagsOf([&] { run.emplace(settings); }), "") << "creation";
    ASSERT_NE(run->converter, nullptr);
    uint32_t failures = 0;
    std::string flags;
    for (size_t at = 0; at < input.size() && flags.empty(); at += block) {
        const auto part = std::span(input).subspan(at, std::min(block, input.size() - at));
        flags = flagsOf([&] { failures += run->put(part); });
    }
    EXPECT_EQ(flags, "") << "data";
    EXPECT_EQ(flagsOf([&] { failures += run->done(); }), "") << "Done";
    EXPECT_EQ(failures, 0u);
    EXPECT_NE(run->committed(), 0u);
}

enum signal : uint8_t { LOUD, QUIET };

// LOUD: full scale, changing sign at random, so that filters overshoot at both ends. QUIET: the
// lowest bit.
std::vector<int32_t> makeSignal(signal kind, size_t count) {
    random_numbers random(count);
    std::vector<int32_t> samples(count);
    for (int32_t &sample : samples) {
        const bool negative = random.next() % 2 != 0;
        sample = kind == QUIET ? (negative ? -1 : 1) : (negative ? INT32_MIN : INT32_MAX);
    }
    return samples;
}

TEST(FloatFlags, RatePairs) {
    constexpr uint32_t PAIRS[][2] = {
        {44100, 48000}, {48000, 44100},  {48000, 96000},  {96000, 48000},  {44100, 88200},
        {88200, 44100}, {44100, 96000},  {96000, 44100},  {32000, 48000},  {48000, 32000},
        {8000, 48000},  {48000, 8000},   {16000, 44100},  {44100, 16000},  {22050, 48000},
        {11025, 48000}, {192000, 44100}, {192000, 48000}, {44056, 48000},  {5000, 9},
        {8009, 8011},   {8000, 400000},  {48000, 336000}, {96000, 192000},
    };
    for (const auto &[from, to] : PAIRS) {
        const uint32_t frames = std::max(1000u, 2 * from / std::gcd(from, to) + 200);
        for (const uint8_t channels : {1, 2, 8}) {
            for (const signal kind : {LOUD, QUIET}) {
                const byte_vector input = toBytes(makeSignal(kind, size_t{frames} * channels));
                const auto settings = makeSettings({{1, 32}, channels, from}, {{}, 0, to});
                expectNoFlags(settings, input, size_t{frames / 2 + 177} * channels * 4);
            }
        }
    }
}

// Every layout to and from float, of which some is louder than full scale and some is denormal.
TEST(FloatFlags, Formats) {
    constexpr float VALUES[] = {0.0f,   -0.0f,  1.0f,      -1.0f,       1.0000001f,
                                1.5f,   -1.5f,  -1.0e30f,  3.4e38f,     -3.4e38f,
                                1e-45f, -1e-45, 1.17e-38f, -0.9999999f, -1.0000001f};
    for (const sample_layout &layout : ALL_LAYOUTS) {
        for (const uint8_t channels : {1, 2, 3, 4, 5, 6, 7, 8}) {
            if (layout.format == AUDIO_FORMAT_AES3 && channels % 2 != 0) {
                continue;
            }
            constexpr uint32_t FRAMES = 146;
            byte_vector floats;
            for (uint32_t i = 0; i < FRAMES * channels; ++i) {
                const auto bits =
                    std::bit_cast<std::array<uint8_t, 4>>(VALUES[i % std::size(VALUES)]);
                floats.insert(floats.end(), bits.begin(), bits.end());
            }
            expectNoFlags(makeSettings({{5, 32}, channels, 48000}, {layout}), floats,
                          (FRAMES - 9) * channels * 4);
            if (layout.format != AUDIO_FORMAT_FLOAT) {
                const byte_vector input = makeInput(layout, channels, FRAMES, channels);
                expectNoFlags(makeSettings({layout, channels, 48000}, {{5, 32}}), input,
                              input.size());
            }
        }
    }
}

// Every input mask, with some of the output masks.
TEST(FloatFlags, Layouts) {
    for (uint32_t from = 1; from < 256; ++from) {
        const auto inputs = static_cast<uint8_t>(std::popcount(from));
        const byte_vector input = toBytes(makeSignal(from % 2 != 0 ? LOUD : QUIET, 67u * inputs));
        for (uint32_t to = 1 + from % 9; to < 256; to += 9) {
            const auto outputs = static_cast<uint8_t>(std::popcount(to));
            const auto settings =
                makeSettings({{1, 32}, inputs, 48000, from}, {{}, outputs, 0, to});
            expectNoFlags(settings, input, input.size());
        }
    }
}

} // namespace
