// Validation: every message, every rule that prints nothing, and what is not checked.

#include "support/conversion.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>

namespace {

using record = audio_converter_settings;

struct validation_row {
    const char *name;
    std::function<void(record &)> apply;
    const char *message; // null: valid; empty: refused without a message
};

// 16-bit stereo at 48 kHz, the output as the input.
record plainSettings() {
    return makeSettings({{1, 16}, 2, 48000}, {}, 1024);
}

// clang-format off
const validation_row VALIDATION_ROWS[] = {
    {"input side alone", [](record &) {}, nullptr},
    {"no channels", [](record &s) { s.input_channels = 0; },
     "V01:Invalid input channels number (0), range is 1 .. 8."},
    {"nine channels", [](record &s) { s.input_channels = 9; },
     "V01:Invalid input channels number (9), range is 1 .. 8."},
    {"nine outputs", [](record &s) { s.output_channels = 9; },
     "V02:Invalid output channels number (9), range is 1 .. 8."},
    {"format 0", [](record &s) { s.input_format = 0; },
     "V03:Invalid input format (0), range is 1 .. 5."},
    {"output format 6", [](record &s) { s.output_format = 6; },
     "V04:Invalid output format (6), range is 1 .. 5."},
    {"AES3 of 3", [](record &s) { s.input_format = 4, s.input_channels = 3; },
     "V05:Invalid intput channels number (3) for AES3, range is 2, 4, 6, 8."},
    {"AES3 of 32 bits", [](record &s) { s.input_format = 4, s.input_bits_per_sample = 32; },
     "V06:Invalid intput bits per sample (32) for AES3, range is 16, 20, 24."},
    {"AES3 output of 1", [](record &s) { s.output_format = 4, s.output_channels = 1; },
     "V07:Invalid output channels number (1) for AES3, range is 2, 4, 6, 8."},
    {"8 bits to AES3", [](record &s) { s.input_bits_per_sample = 8, s.output_format = 4; },
     "V08:Invalid output bits per sample (8) for AES3, range is 16, 20, 24."},
    {"PCM of 20 bits", [](record &s) { s.input_bits_per_sample = 20; },
     "V09:Invalid intput bits per sample (20) for PCM, range is 8, 16, 24, 32."},
    {"PCM output of 12", [](record &s) { s.output_bits_per_sample = 12; },
     "V10:Invalid output bits per sample (12) for PCM, range is 8, 16, 24, 32."},
    {"float of 16", [](record &s) { s.input_format = 5; },
     "V09:Invalid intput bits per sample (16) for FLOAT, should be 32."},
    {"float output of 16", [](record &s) { s.output_format = 5; },
     "V10:Invalid output bits per sample (16) for FLOAT, should be 32."},
    {"paired of 8", [](record &s) { s.input_format = 2, s.input_bits_per_sample = 8; },
     "V11:Invalid input bits per sample (8), range is 16, 20, 24."},
    {"big-endian output of 32", [](record &s) { s.output_format = 3, s.output_bits_per_sample = 32;
     }, "V12:Invalid input bits per sample (32), range is 16, 20, 24."},
    {"rate 0", [](record &s) { s.input_sample_rate = 0, s.output_sample_rate = 1; },
     "V13:Invalid input sample rate (0)."},
    {"mask of 3 for 2", [](record &s) { s.input_channel_mask = 7; },
     "V15:Invalid channel mask (7) for (2) input channels."},
    {"mask with bit 31", [](record &s) { s.input_channel_mask = 0x80000001; },
     "V15:Invalid channel mask (-2147483647) for (2) input channels."},
    {"bits above 7 are not counted", [](record &s) { s.input_channel_mask = 0x103; }, nullptr},
    {"6 outputs, no mask", [](record &s) { s.output_channels = 6; },
     "V16:Invalid channel mask (3) for (6) output channels."},
    {"frame size 0", [](record &s) { s.out_frame_size = 0; }, "V17:Invalid out frame size (0)."},
    {"frame size 1", [](record &s) { s.out_frame_size = 1; }, nullptr},
    {"the first fault alone", [](record &s) { s.input_channels = 0, s.input_format = 0,
     s.out_frame_size = 0; }, "V01:Invalid input channels number (0), range is 1 .. 8."},
    {"PCM depth before rate", [](record &s) { s.input_bits_per_sample = 7, s.input_sample_rate = 0;
     }, "V09:Invalid intput bits per sample (7) for PCM, range is 8, 16, 24, 32."},
    {"output AES3 before input PCM", [](record &s) { s.input_bits_per_sample = 7, s.output_format =
     4; }, "V08:Invalid output bits per sample (7) for AES3, range is 16, 20, 24."},
    {"a map before the masks", [](record &s) { s.input_channel_mask = 7, s.input_order_map_enabled =
     1; }, ""},
};
// clang-format on

TEST(Settings, MessagesInOrder) {
    for (const validation_row &row : VALIDATION_ROWS) {
        SCOPED_TRACE(row.name);
        record settings = plainSettings();
        row.apply(settings);
        const record before = settings;
        test_host host;
        const int32_t result = audioConverterCheckSettings(host.enter(), &settings);
        EXPECT_EQ(result, row.message == nullptr ? 0 : 1);
        const bool prints = row.message != nullptr && *row.message != '\0';
        EXPECT_EQ(host.messages,
                  prints ? std::vector<std::string>{row.message} : std::vector<std::string>{});
        EXPECT_EQ(host.asked, std::vector<std::string>{"err_printf"});
        EXPECT_EQ(memcmp(&before, &settings, sizeof settings), 0);
    }
}

TEST(Settings, MissingPrinterMeansStandardOutput) {
    record settings = plainSettings();
    settings.input_channel_mask = 0x80000001;
    test_host host;
    host.withheld = {"err_printf"};
    for (const callback_lookup lookup : {callback_lookup{nullptr}, host.enter()}) {
        testing::internal::CaptureStdout();
        EXPECT_EQ(audioConverterCheckSettings(lookup, &settings), 1);
        fflush(stdout);
        EXPECT_EQ(testing::internal::GetCapturedStdout(),
                  "V15:Invalid channel mask (-2147483647) for (2) input channels.\n");
    }
}

TEST(Settings, NullRecordAsksAndPrintsNothing) {
    test_host host;
    EXPECT_EQ(audioConverterCheckSettings(host.enter(), nullptr), 1);
    EXPECT_EQ(audioConverterNew(host.enter(), nullptr), nullptr);
    EXPECT_TRUE(host.asked.empty());
}

struct map_row {
    const char *name;
    uint8_t channels;
    uint32_t mask;
    uint8_t map[8];
    bool valid;
};

const map_row MAP_ROWS[] = {
    {"ascending", 4, 0x33, {1, 2, 0, 0, 3, 4, 0, 0}, true},
    {"pairs exchanged", 4, 0x33, {2, 1, 0, 0, 4, 3, 0, 0}, true},
    {"bits above 7", 4, 0xff33, {2, 1, 0, 0, 4, 3, 0, 0}, true},
    {"a place used twice", 4, 0x33, {1, 2, 0, 0, 3, 3, 0, 0}, false},
    {"beyond the channels", 4, 0x33, {1, 2, 0, 0, 3, 5, 0, 0}, false},
    {"speaker not in the mask", 4, 0x33, {1, 2, 3, 0, 4, 5, 0, 0}, false},
    {"speaker of the mask left out", 4, 0x33, {1, 2, 0, 0, 3, 0, 0, 0}, false},
    {"255", 4, 0x33, {1, 2, 0, 0, 3, 255, 0, 0}, false},
    {"all eight, reversed", 8, 0xff, {8, 7, 6, 5, 4, 3, 2, 1}, true},
};

TEST(Settings, OrderMapsAreRefusedSilently) {
    for (const map_row &row : MAP_ROWS) {
        SCOPED_TRACE(row.name);
        record settings = makeSettings({{1, 16}, row.channels, 48000, row.mask}, {}, 1024);
        for (int enabled = 0; enabled < 4; ++enabled) {
            settings.input_order_map_enabled = static_cast<uint8_t>((enabled & 1) * 128);
            settings.output_order_map_enabled = static_cast<uint8_t>((enabled & 2) * 64);
            memcpy(settings.input_order_map, row.map, sizeof row.map);
            memcpy(settings.output_order_map, row.map, sizeof row.map);
            test_host host;
            const int32_t result = audioConverterCheckSettings(host.enter(), &settings);
            EXPECT_EQ(result, row.valid || enabled == 0 ? 0 : 1) << "enabled: " << enabled;
            EXPECT_TRUE(host.messages.empty());
        }
    }
}

// A zero mask means these; the count of bits alone would not tell 0xf7 from 0x7f.
TEST(Settings, DefaultMasks) {
    const uint32_t masks[] = {0x01, 0x03, 0x07, 0x33, 0x37, 0x3f, 0xf7, 0xff};
    for (uint8_t channels = 1; channels <= 8; ++channels) {
        record settings = makeSettings({{1, 16}, channels, 48000}, {}, 1024);
        settings.input_order_map_enabled = 1;
        uint8_t place = 0;
        for (unsigned k = 0; k < 8; ++k) {
            settings.input_order_map[k] = (masks[channels - 1] >> k & 1) != 0 ? ++place : 0;
        }
        EXPECT_EQ(audioConverterCheckSettings(nullptr, &settings), 0) << int{channels};
    }
}

struct size_row {
    uint32_t amount;
    uint8_t format, channels, bits;
    uint32_t result;
};

// clang-format off
const size_row BYTES_TO_SAMPLES[] = {
    {1000, 1, 2, 16, 250}, {1001, 1, 2, 16, 250}, {1000, 2, 2, 20, 200}, {1000, 3, 2, 20, 166},
    {1000, 3, 2, 24, 166}, {804, 4, 2, 16, 160}, {8, 1, 1, 24, 2}, {0, 5, 8, 32, 0},
    {7, 1, 1, 16, 3}, {9, 2, 1, 20, 2}, {5, 2, 1, 20, 2}, {4, 2, 1, 20, 0},
    {1000, 9, 2, 16, 250}, {100, 1, 0, 16, 0}, {100, 1, 2, 0, 0}, {100, 4, 2, 0, 0},
    {536870911, 1, 1, 8, 536870911}, {536870912, 1, 1, 8, 0},
};
const size_row SAMPLES_TO_BYTES[] = {
    {160, 4, 2, 16, 804}, {166, 3, 2, 20, 996}, {250, 1, 2, 16, 1000}, {3, 2, 1, 20, 7},
    {2, 2, 2, 20, 10}, {2, 3, 2, 20, 12}, {10, 4, 8, 24, 284}, {0, 4, 2, 16, 4},
    {5, 5, 3, 32, 60}, {100, 4, 0, 16, 0}, {100, 4, 2, 0, 0},
};
// clang-format on

template <size_t N>
void expectSizes(const size_row (&rows)[N], decltype(audioConverterBytesToSamples) function) {
    for (const size_row &row : rows) {
        EXPECT_EQ(function(row.amount, row.format, row.channels, row.bits), row.result)
            << row.amount << " of " << int{row.format} << "/" << int{row.bits};
    }
}

TEST(Settings, Sizes) {
    expectSizes(BYTES_TO_SAMPLES, audioConverterBytesToSamples);
    expectSizes(SAMPLES_TO_BYTES, audioConverterSamplesToBytes);
}

} // namespace
