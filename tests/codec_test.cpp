// The codecs: bytes worked by hand, and AES3 against the bit numbering of its standard.

#include "codec/aes3_header.h"
#include "support/conversion.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>

namespace {

using sample_vector = std::vector<int32_t>;

int32_t sampleOf(uint32_t bits) {
    return static_cast<int32_t>(bits);
}

struct codec_row {
    const char *name;
    sample_layout layout;
    uint8_t channels;
    std::vector<uint32_t> samples; // in stream order
    byte_vector bytes;
};

// The row's samples as bytes of its layout, without AES3 headers.
byte_vector encode(const codec_row &row) {
    const sample_vector samples(row.samples.begin(), row.samples.end());
    return convert(makeSettings({{1, 32}, row.channels, 48000}, {row.layout}), toBytes(samples));
}

sample_vector decode(const codec_row &row) {
    byte_vector stream = row.bytes;
    if (row.layout.format == 4) {
        const auto size = static_cast<uint32_t>(row.bytes.size());
        const auto header = aes3Header(size, row.channels, row.layout.bits);
        stream.insert(stream.begin(), header.begin(), header.end());
    }
    return toSamples(convert(makeSettings({row.layout, row.channels, 48000}, {{1, 32}}), stream));
}

// clang-format off
const codec_row ENCODE_ROWS[] = {
    {"8 bits", {1, 8}, 1, {0, 0x80000000, 0x7fffffff, 0xffffffff}, {0x80, 0x00, 0xff, 0x7f}},
    {"16 bits", {1, 16}, 1, {0xffffffff, 0x0000ffff, 0x12345678}, {0xff, 0xff, 0, 0, 0x34, 0x12}},
    {"24 bits", {1, 24}, 1, {0x12345678, 0xfffffeff}, {0x56, 0x34, 0x12, 0xfe, 0xff, 0xff}},
    {"32 bits", {1, 32}, 1, {0x12345678}, {0x78, 0x56, 0x34, 0x12}},
    {"stereo order", {1, 8}, 2, {0, 0x01000000, 0x02000000, 0x03000000}, {128, 129, 130, 131}},
    {"float half", {5, 32}, 1, {1073741823}, {0, 0, 0, 0x3f}},
    {"float extremes", {5, 32}, 1, {0x7fffffff, 0x80000000, 0}, {0, 0, 0x80, 0x3f, 0, 0, 0x80, 0xbf,
     0, 0, 0, 0}},
    {"big-endian 16", {3, 16}, 1, {0x1234abcd, 0}, {0x12, 0x34, 0, 0}},
    {"big-endian 20", {3, 20}, 1, {0xfffff000, 0x7ffff000}, {0xff, 0xff, 0xff, 0x07, 0xff, 0xff}},
    {"big-endian 24", {3, 24}, 1, {0x123456ff, 0}, {0x12, 0x34, 0x56, 0, 0, 0}},
    {"paired 24", {2, 24}, 2, {0x11223300, 0x44556600, 0x778899aa, 0xbbccddee}, {0x22, 0x33, 0x55,
     0x66, 0x88, 0x99, 0xcc, 0xdd, 0x11, 0x44, 0x77, 0xbb}},
    {"paired 20", {2, 20}, 1, {0x12345000, 0xabcde000}, {0x23, 0x45, 0xbc, 0xde, 0x1a}},
    {"paired 16", {2, 16}, 2, {0x11223344, 0x55667788, 0x99aabbcc, 0xddeeff00}, {0x11, 0x22, 0x55,
     0x66, 0x99, 0xaa, 0xdd, 0xee}},
    {"AES3 16", {4, 16}, 2, {0x00010000, 0}, {0x80, 0x00, 0x80, 0x00, 0x08}},
    {"AES3 20", {4, 20}, 2, {0x00001000, 0x80000000}, {0x80, 0, 0x08, 0, 0, 0x18}},
    {"AES3 24", {4, 24}, 2, {0x00000100, 0x80000000}, {0x80, 0, 0, 0x80, 0, 0, 0x18}},
};
// clang-format on

// clang-format off
const codec_row DECODE_ROWS[] = {
    {"8 bits", {1, 8}, 1, {0, 0x80000000, 0x7f000000}, {0x80, 0x00, 0xff}},
    {"float one", {5, 32}, 1, {2147483646}, {0, 0, 0x80, 0x3f}},
    {"float minus one", {5, 32}, 1, {0x80000002}, {0, 0, 0x80, 0xbf}},
    {"float half", {5, 32}, 1, {1073741823}, {0, 0, 0, 0x3f}},
    {"big-endian 20, either sign fill", {3, 20}, 1, {0x7ffff000, 0x7ffff000}, {0xf7, 0xff, 0xff,
     0x07, 0xff, 0xff}},
    {"paired 20, nibbles the other way", {2, 20}, 1, {0xa2345000, 0x1bcde000}, {0x23, 0x45, 0xbc,
     0xde, 0x1a}},
    {"AES3 16, extra bits ignored", {4, 16}, 2, {0x00010000, 0xffff0000}, {0x80, 0x00, 0x7f, 0xff,
     0xf5}},
};
// clang-format on

TEST(Codec, EncodedByHand) {
    for (const codec_row &row : ENCODE_ROWS) {
        EXPECT_EQ(encode(row), row.bytes) << row.name;
    }
}

TEST(Codec, DecodedByHand) {
    for (const codec_row &row : DECODE_ROWS) {
        EXPECT_EQ(decode(row), sample_vector(row.samples.begin(), row.samples.end())) << row.name;
    }
}

// Every depth and channel count: the top bits come back, the rest is dropped. The two directions
// of the paired 20-bit layout exchange the top four bits of the samples that share a byte.
TEST(Codec, RoundTrips) {
    random_numbers random(5);
    for (const sample_layout layout : ALL_LAYOUTS) {
        for (uint8_t channels = 1; channels <= 8; ++channels) {
            if (layout.format == 5 || (layout.format == 4 && channels % 2 != 0)) {
                continue;
            }
            codec_row row = {"", layout, channels, {}, {}};
            for (unsigned j = 0; j < 38u * channels; ++j) {
                row.samples.push_back(random.next());
            }
            row.bytes = encode(row);
            sample_vector expected;
            for (size_t j = 0; j < row.samples.size(); ++j) {
                uint32_t sample = row.samples[j];
                if (layout.format == 2 && layout.bits == 20) {
                    sample = (sample & 0x0fffffff) | (row.samples[j ^ 1] & 0xf0000000);
                }
                expected.push_back(sampleOf(sample & ~uint32_t{0} << (32 - layout.bits)));
            }
            EXPECT_EQ(decode(row), expected)
                << int{layout.format} << "/" << int{layout.bits} << " x" << int{channels};
        }
    }
}

// Bit k of a pair is bit 7 - k % 8 of byte k / 8; samples run from bit 0 up; the bit behind each
// is 1, the next three are 0.
TEST(Codec, Aes3BitByBit) {
    random_numbers random(9);
    for (const uint8_t bits : {16, 20, 24}) {
        codec_row row = {"", {4, bits}, 8, {}, {}};
        for (int j = 0; j < 8; ++j) {
            row.samples.push_back(random.next());
        }
        byte_vector expected(bits + 4u, 0);
        for (unsigned j = 0; j < 8; ++j) {
            const uint32_t value = row.samples[j] >> (32 - bits) | 1u << bits;
            for (unsigned b = 0; b <= bits; ++b) {
                const unsigned k = j * (bits + 4u) + b;
                expected[k / 8] |= static_cast<uint8_t>((value >> b & 1) << (7 - k % 8));
            }
        }
        EXPECT_EQ(encode(row), expected) << int{bits};
    }
}

TEST(Codec, FloatsOfEveryClass) {
    using limits = std::numeric_limits<float>;
    const struct {
        float value;
        int32_t sample;
        // clang-format off
    } rows[] = {
        {limits::infinity(), INT32_MAX}, {-limits::infinity(), INT32_MIN}, {limits::quiet_NaN(), 0},
        {-limits::quiet_NaN(), 0}, {limits::signaling_NaN(), 0}, {limits::max(), INT32_MAX},
        {limits::lowest(), INT32_MIN}, {limits::denorm_min(), 0}, {-limits::denorm_min(), 0},
        {limits::min(), 0}, {-0.0f, 0}, {0.99999994f, 2147483518},
        {std::nextafter(1.0f, 2.0f), INT32_MAX}, {std::nextafter(-1.0f, -2.0f), INT32_MIN},
        {std::nextafter(0x1p-31f, 1.0f), 1}, {0x1p-31f, 0}, {-9.3e-10f, -1},
    };
    // clang-format on
    for (const auto &row : rows) {
        const auto settings = makeSettings({{5, 32}, 1, 48000}, {{1, 32}});
        const byte_vector bytes = toBytes({std::bit_cast<int32_t>(row.value)});
        EXPECT_EQ(toSamples(convert(settings, bytes)), sample_vector{row.sample}) << row.value;
    }
}

TEST(Codec, Aes3Headers) {
    uint8_t written[4];
    EXPECT_EQ(writeAes3Header(written, 24, 8, 280 + 65536), 4u);
    EXPECT_EQ(byte_vector(written, written + 4), (byte_vector{0x01, 0x18, 0xc0, 0x20}));
    aes3_header header = {};
    EXPECT_EQ(readAes3Header(written, &header, 24, 8), 4u);
    EXPECT_EQ(header.payload_size, 280u);
    for (const uint8_t channels : {1, 3, 6}) { // refused: the rest counts as one byte
        EXPECT_EQ(readAes3Header(written, &header, 24, channels), 0u);
        EXPECT_EQ(header.payload_size, 1u);
    }
    EXPECT_EQ(readAes3Header(nullptr, nullptr, 16, 2), 0u);
}

} // namespace
