#include "codec/codec_choice.h"
#include "guarded_buffer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <memory>
#include <random>
#include <string>
#include <vector>

// Every vector form of every codec against the plain one: the same memory for every length and
// channel count, no byte touched outside.

namespace {

struct codec_case {
    const char *name;
    uint8_t format;
    uint8_t bits;
    bool pairs; // takes whole pairs of frames
};

constexpr codec_case CASES[] = {
    {"pcm8", AUDIO_FORMAT_PCM, 8, false},
    {"pcm16", AUDIO_FORMAT_PCM, 16, false},
    {"pcm24", AUDIO_FORMAT_PCM, 24, false},
    {"pcm32", AUDIO_FORMAT_PCM, 32, false},
    {"paired16", AUDIO_FORMAT_LPCM_PAIRED, 16, true},
    {"paired20", AUDIO_FORMAT_LPCM_PAIRED, 20, true},
    {"paired24", AUDIO_FORMAT_LPCM_PAIRED, 24, true},
    {"be16", AUDIO_FORMAT_LPCM_BE, 16, false},
    {"be20", AUDIO_FORMAT_LPCM_BE, 20, false},
    {"be24", AUDIO_FORMAT_LPCM_BE, 24, false},
    {"aes16", AUDIO_FORMAT_AES3, 16, false},
    {"aes20", AUDIO_FORMAT_AES3, 20, false},
    {"aes24", AUDIO_FORMAT_AES3, 24, false},
    {"float", AUDIO_FORMAT_FLOAT, 32, false},
};

constexpr size_t LONGEST = 4099;

// Extreme samples, and the bits of floats around every limit of the conversion.
constexpr uint32_t EXTREMES[] = {
    0x00000000, 0x80000000, 0x7fffffff, 0xffffffff, 0x00000001, 0x0000ffff, 0x00010000, 0xfffff000,
    0x3f800000, 0xbf800000, 0x3f800001, 0xbf800001, 0x3f7fffff, 0x7f800000, 0xff800000, 0x7fc00000,
    0xffc00000, 0x7f800001, 0xff800001, 0x7f7fffff, 0x80000001, 0x4f000000, 0xcf000000, 0x30000000,
};

std::string nameOf(const testing::TestParamInfo<codec_case> &info) {
    return info.param.name;
}

std::vector<cpu_level> vectorLevels() {
    std::vector<cpu_level> levels;
    for (const cpu_level level : {CPU_SSSE3, CPU_AVX2}) {
        if (level <= detectCpuLevels().highest) {
            levels.push_back(level);
        }
    }
    return levels;
}

size_t bytesOf(const codec_case &codec, uint32_t samples, uint8_t channels) {
    const uint32_t whole = codec.pairs ? samples & ~1u : samples;
    const uint32_t header = codec.format == AUDIO_FORMAT_AES3 ? 4 : 0;
    return audioConverterSamplesToBytes(whole, codec.format, channels, codec.bits) - header;
}

class codec_kernels : public testing::TestWithParam<codec_case> {
protected:
    codec_kernels() {
        for (auto &buffer : samples_) {
            buffer = std::make_unique<guarded_buffer>(LONGEST * sizeof(int32_t));
        }
    }

    // One value in four is extreme.
    void fill(uint8_t *bytes, size_t count) {
        for (size_t i = 0; i < count; i += sizeof(uint32_t)) {
            const auto draw = static_cast<uint32_t>(random_());
            const auto other = static_cast<uint32_t>(random_());
            const uint32_t value = draw % 4 == 0 ? EXTREMES[other % std::size(EXTREMES)] : other;
            memcpy(bytes + i, &value, std::min(count - i, sizeof value));
        }
    }

    void checkDecoder(cpu_level level, uint32_t samples, uint8_t channels);
    void checkEncoder(cpu_level level, uint32_t samples, uint8_t channels);

    std::mt19937 random_{1};
    guarded_buffer bytes_{LONGEST * AUDIO_MAX_CHANNELS * sizeof(int32_t)};
    std::array<std::unique_ptr<guarded_buffer>, AUDIO_MAX_CHANNELS> samples_;
};

void codec_kernels::checkDecoder(cpu_level level, uint32_t samples, uint8_t channels) {
    const auto [name, format, bits, pairs] = GetParam();
    const size_t byte_count = bytesOf(GetParam(), samples, channels);
    std::vector<uint8_t> bytes(byte_count);
    fill(bytes.data(), byte_count);

    std::array<std::vector<int32_t>, AUDIO_MAX_CHANNELS> expected;
    channel_pointers plain = {};
    channel_pointers actual = {};
    for (unsigned c = 0; c < channels; ++c) {
        const auto *untouched = samples_[c]->ending<int32_t>(samples);
        expected[c].assign(untouched, untouched + samples);
        plain[c] = expected[c].data();
    }
    chooseCodec(kernelsOf(CPU_PLAIN), format, channels, bits)
        .decode(plain, bytes.data(), samples, channels, bits);
    for (uint8_t *place : {bytes_.starting<uint8_t>(), bytes_.ending<uint8_t>(byte_count)}) {
        std::copy(bytes.begin(), bytes.end(), place);
        for (unsigned c = 0; c < channels; ++c) {
            actual[c] = samples_[c]->ending<int32_t>(samples);
        }
        chooseCodec(kernelsOf(level), format, channels, bits)
            .decode(actual, place, samples, channels, bits);
        for (unsigned c = 0; c < channels; ++c) {
            const std::vector<int32_t> got(actual[c], actual[c] + samples);
            ASSERT_EQ(got, expected[c]) << "channel " << c;
            ASSERT_TRUE(samples_[c]->frontIsIntact());
        }
    }
}

void codec_kernels::checkEncoder(cpu_level level, uint32_t samples, uint8_t channels) {
    const auto [name, format, bits, pairs] = GetParam();
    channel_pointers in = {};
    for (unsigned c = 0; c < channels; ++c) {
        in[c] = samples_[c]->ending<int32_t>(samples);
        fill(reinterpret_cast<uint8_t *>(in[c]), samples * sizeof(int32_t));
    }
    const size_t byte_count = bytesOf(GetParam(), samples, channels);
    std::vector<uint8_t> expected(byte_count);
    auto *bytes = bytes_.ending<uint8_t>(byte_count);
    chooseCodec(kernelsOf(CPU_PLAIN), format, channels, bits)
        .encode(in, expected.data(), samples, channels, bits);
    chooseCodec(kernelsOf(level), format, channels, bits)
        .encode(in, bytes, samples, channels, bits);
    ASSERT_EQ(std::vector<uint8_t>(bytes, bytes + byte_count), expected);
    ASSERT_TRUE(bytes_.frontIsIntact());
}

TEST_P(codec_kernels, equal_the_plain_form) {
    std::vector<uint32_t> lengths(68);
    for (uint32_t i = 0; i < lengths.size(); ++i) {
        lengths[i] = i;
    }
    lengths.insert(lengths.end(), {253, LONGEST});
    const unsigned step = GetParam().format == AUDIO_FORMAT_AES3 ? 2 : 1;
    for (const cpu_level level : vectorLevels()) {
        for (unsigned channels = step; channels <= AUDIO_MAX_CHANNELS; channels += step) {
            for (const uint32_t samples : lengths) {
                SCOPED_TRACE(testing::Message() << "level " << int{level} << ", " << channels
                                                << " channels, " << samples << " samples");
                checkDecoder(level, samples, static_cast<uint8_t>(channels));
                checkEncoder(level, samples, static_cast<uint8_t>(channels));
                if (HasFatalFailure()) {
                    return;
                }
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(formats, codec_kernels, testing::ValuesIn(CASES), nameOf);

// Runs of consecutive values of 32 bits, as samples and as the bits of floats. All of them when
// ZT_ALL_VALUES is set in the environment, which takes minutes.
TEST(float_kernels, equal_the_plain_form_over_32_bits) {
    constexpr uint32_t RUN = 4096;
    const uint64_t stride = getenv("ZT_ALL_VALUES") != nullptr ? RUN : 509 * uint64_t{RUN} + 1024;
    std::vector<uint32_t> values(RUN);
    std::vector<uint32_t> expected(RUN);
    std::vector<uint32_t> actual(RUN);
    const auto bytes = [](std::vector<uint32_t> &of) {
        return reinterpret_cast<uint8_t *>(of.data());
    };
    const auto samples = [](std::vector<uint32_t> &of) {
        return reinterpret_cast<int32_t *>(of.data());
    };
    const channel_pointers in = {samples(values)};
    const channel_pointers plain = {samples(expected)};
    const channel_pointers vector = {samples(actual)};
    for (const cpu_level level : vectorLevels()) {
        const auto encode = chooseCodec(kernelsOf(level), AUDIO_FORMAT_FLOAT, 1, 32).encode;
        const auto decode = chooseCodec(kernelsOf(level), AUDIO_FORMAT_FLOAT, 1, 32).decode;
        for (uint64_t first = 0; first < uint64_t{1} << 32; first += stride) {
            for (uint32_t i = 0; i < RUN; ++i) {
                values[i] = static_cast<uint32_t>(first) + i;
            }
            chooseCodec(kernelsOf(CPU_PLAIN), AUDIO_FORMAT_FLOAT, 1, 32)
                .encode(in, bytes(expected), RUN, 1, 32);
            encode(in, bytes(actual), RUN, 1, 32);
            ASSERT_EQ(actual, expected) << "samples from " << first;
            chooseCodec(kernelsOf(CPU_PLAIN), AUDIO_FORMAT_FLOAT, 1, 32)
                .decode(plain, bytes(values), RUN, 1, 32);
            decode(vector, bytes(values), RUN, 1, 32);
            ASSERT_EQ(actual, expected) << "floats from " << first;
        }
    }
}

} // namespace
