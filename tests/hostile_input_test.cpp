// Bytes and settings that no honest host sends.

#include "support/conversion.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstring>

namespace {

// An AES3 stream of blocks of the given payload sizes, each with the frames that its size asks
// for: at least one, the last one completed.
byte_vector aes3Stream(const std::vector<uint32_t> &payload_sizes, uint8_t channels, uint8_t bits,
                       byte_vector &frames) {
    const uint32_t frame_bytes = unitBytes({4, bits}, channels);
    random_numbers random(4);
    byte_vector stream;
    for (const uint32_t payload : payload_sizes) {
        auto header = aes3Header(payload, channels, bits);
        header[2] |= random.below(64); // the channel's number means nothing here
        header[3] |= random.below(4) << 6;
        stream.insert(stream.end(), header.begin(), header.end());
        const uint32_t count = std::max(1u, (payload + frame_bytes - 1) / frame_bytes);
        for (uint32_t i = 0; i < count * frame_bytes; ++i) {
            // The extra bits as the encoder writes them do not matter to the decoder.
            stream.push_back(static_cast<uint8_t>(random.next() >> 9));
            frames.push_back(stream.back());
        }
    }
    return stream;
}

TEST(HostileInput, Aes3PayloadSizes) {
    for (const uint8_t bits : {16, 20, 24}) {
        const uint32_t f = unitBytes({4, bits}, 2);
        byte_vector frames;
        const byte_vector stream =
            aes3Stream({1, f - 1, f, f + 1, 3 * f - 1, 2 * f + 1, 9 * f}, 2, bits, frames);
        const auto settings = makeSettings({{4, bits}, 2, 48000}, {{1, 32}});
        // One honest block of the same frames.
        byte_vector honest;
        const auto header = aes3Header(static_cast<uint32_t>(frames.size()), 2, bits);
        honest.insert(honest.end(), header.begin(), header.end());
        honest.insert(honest.end(), frames.begin(), frames.end());
        const byte_vector expected = convert(settings, honest);
        ASSERT_EQ(expected.size(), frames.size() / f * 8);
        // The largest payload that a header can name, and none, fed whole.
        byte_vector long_frames;
        const byte_vector longest = aes3Stream({65535, 0, 0, 5}, 2, bits, long_frames);
        EXPECT_EQ(convert(settings, longest).size(), long_frames.size() / f * 8);
        EXPECT_TRUE(convert(settings, stream, {1}) == expected);
        for (uint32_t cut = 0; cut <= stream.size(); ++cut) {
            ASSERT_TRUE(convert(settings, stream, {cut, UINT32_MAX}) == expected)
                << int{bits} << " bits, cut at " << cut;
        }
    }
}

// A header that fails ends the stream: later calls give nothing, succeed, and hold no more memory.
TEST(HostileInput, Aes3BrokenHeaders) {
    const auto settings = makeSettings({{4, 20}, 4, 48000}, {{1, 32}});
    const byte_vector good = makeInput({4, 20}, 4, 20, 3);
    const struct {
        const char *name;
        unsigned byte, bit;
    } rows[] = {{"channel code high", 2, 7}, {"channel code low", 2, 6}, {"bits code high", 3, 5},
                {"bits code low", 3, 4},     {"alignment 8", 3, 3},      {"alignment 1", 3, 0}};
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        byte_vector bad = good;
        bad[row.byte] ^= static_cast<uint8_t>(1 << row.bit);
        for (const size_t block : {size_t{1}, size_t{3}, good.size()}) {
            conversion run(settings);
            EXPECT_EQ(run.put(good), 0u);
            const size_t committed = run.committed();
            EXPECT_EQ(committed, 20u * 16);
            size_t held = 0;
            for (int round = 0; round < 30; ++round) {
                for (size_t at = 0; at < bad.size(); at += block) {
                    ASSERT_EQ(run.put(std::span(bad).subspan(at, std::min(block, bad.size() - at))),
                              0u);
                }
                if (round == 3) {
                    held = run.host.live_bytes;
                }
            }
            EXPECT_EQ(run.host.live_bytes, held);
            EXPECT_EQ(run.put(good), 0u);
            EXPECT_EQ(run.committed(), committed);
            EXPECT_EQ(run.done(), 0u);
            EXPECT_EQ(run.close(), "");
        }
        // Whole frames before it in the same call are dropped.
        byte_vector both = good;
        both.insert(both.end(), bad.begin(), bad.end());
        conversion run(settings);
        EXPECT_EQ(run.put(both), 0u);
        EXPECT_EQ(run.committed(), 0u);
        EXPECT_EQ(run.close(), "");
    }
}

// Random records: mostly refused; whatever is accepted converts and gives its memory back.
TEST(HostileInput, RandomSettings) {
    random_numbers random(99);
    int created = 0;
    const auto start = std::chrono::steady_clock::now();
    for (int trial = 0; trial < 6000; ++trial) {
        audio_converter_settings settings;
        for (size_t i = 0; i < sizeof settings; ++i) {
            reinterpret_cast<uint8_t *>(&settings)[i] = static_cast<uint8_t>(random.next() >> 11);
        }
        if (trial % 2 == 0) { // make it likely to pass
            const auto in = static_cast<uint8_t>(1 + random.below(8));
            const auto out = static_cast<uint8_t>(1 + random.below(8));
            const audio_converter_settings wild = settings;
            settings = makeSettings(
                {ALL_LAYOUTS[random.below(14)], in, wild.input_sample_rate, 0xffu >> (8 - in)},
                {ALL_LAYOUTS[random.below(14)], out, trial % 4 == 0 ? 0 : wild.output_sample_rate,
                 0xff & (0xffu << (8 - out))},
                wild.out_frame_size);
            settings.input_separate_channels = wild.input_separate_channels & 1;
            settings.output_separate_channels = wild.output_separate_channels & 1;
            settings.user_matrix_enabled = wild.user_matrix_enabled & 1;
            memcpy(settings.user_matrix, wild.user_matrix, sizeof settings.user_matrix);
        }
        conversion run(settings, 0, 4 << 20);
        if (run.converter == nullptr) {
            EXPECT_EQ(run.close(), "");
            continue;
        }
        ++created;
        const byte_vector noise = makeInput({1, 32}, 1, 100, random.next());
        for (int call = 0; call < 4; ++call) {
            const auto block = std::span(noise).first(random.below(400));
            settings.input_separate_channels != 0
                ? run.putChannel(block, static_cast<uint8_t>(random.below(9)))
                : run.put(block);
        }
        run.done(random.below(2));
        ASSERT_EQ(run.close(), "") << describe(settings);
    }
    EXPECT_GT(created, 500);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(40));
}

// Reserved bytes and settings that validation does not look at have no effect.
TEST(HostileInput, ReservedBytes) {
    audio_converter_settings settings = makeSettings({{1, 16}, 2, 44100}, {{3, 20}, 0, 48000});
    const byte_vector input = makeInput({1, 16}, 2, 300, 2);
    const byte_vector expected = convert(settings, input);
    memset(settings.reserved, 0xff, sizeof settings.reserved);
    memset(settings.user_matrix, 0xff, sizeof settings.user_matrix);
    memset(settings.input_order_map, 0xff, sizeof settings.input_order_map);
    EXPECT_TRUE(convert(settings, input) == expected);
}

} // namespace
