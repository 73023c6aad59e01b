#include "codec/codec_choice.h"
#include "guarded_buffer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <memory>
#include <numeric>
#include <random>
#include <string>
#include <vector>

// Every SIMD codec against the scalar one that defines it.
//
// The integer codecs are shuffles, shifts and masks: affine over bits. Two that agree on zero and
// on every single bit of the input agree on every input, as long as what a kernel joins by `or` is
// disjoint; all bits set and one random fill show that. Floats have a test over the range of 32
// bits.

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

// Two of the widest steps and a pair of frames: every kind of step is taken.
constexpr uint32_t STEPS = 66;

std::string nameOf(const testing::TestParamInfo<codec_case> &info) {
    return info.param.name;
}

std::vector<cpu_level> simdLevels() {
    std::vector<cpu_level> levels;
    for (const cpu_level level : {CPU_SSSE3, CPU_AVX2, CPU_AVX512}) {
        if (level <= detectCpuLevels().highest) {
            levels.push_back(level);
        }
    }
    return levels;
}

size_t bytesOf(const codec_case &codec, uint32_t samples, uint8_t channels) {
    const uint32_t header = codec.format == AUDIO_FORMAT_AES3 ? 4 : 0;
    return audioConverterSamplesToBytes(samples, codec.format, channels, codec.bits) - header;
}

class codec_kernels : public testing::TestWithParam<codec_case> {
protected:
    codec_kernels() {
        for (auto &buffer : samples_) {
            buffer = std::make_unique<guarded_buffer>(LONGEST * sizeof(int32_t));
        }
    }

    void fill(uint8_t *bytes, size_t count) {
        std::generate(bytes, bytes + count, [&] { return static_cast<uint8_t>(random_()); });
    }

    // The input that the kernels disagree about, of zero, single bits, ones and a random fill; or
    // nothing. `agree` tells whether they agree about the input as it stands.
    template <typename Agree>
    std::string findDisagreement(std::vector<uint8_t> &input, Agree agree) {
        std::fill(input.begin(), input.end(), 0);
        std::string found = agree() ? "" : "zero";
        for (size_t bit = 0; bit < input.size() * 8 && found.empty(); ++bit) {
            input[bit / 8] = static_cast<uint8_t>(1 << bit % 8);
            found = agree() ? "" : "bit " + std::to_string(bit);
            input[bit / 8] = 0;
        }
        std::fill(input.begin(), input.end(), 0xff);
        found += agree() ? "" : " all ones";
        fill(input.data(), input.size());
        return found + (agree() ? "" : " random bits");
    }

    std::string proveDecoder(cpu_level level, uint8_t channels);
    std::string proveEncoder(cpu_level level, uint8_t channels);
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

// The arrays of every channel, one behind the other.
void placeChannels(channel_pointers &channels, std::vector<int32_t> &samples) {
    for (unsigned c = 0; c < AUDIO_MAX_CHANNELS; ++c) {
        channels[c] = samples.data() + c * STEPS;
    }
}

std::string codec_kernels::proveDecoder(cpu_level level, uint8_t channels) {
    const auto [name, format, bits, pairs] = GetParam();
    std::vector<uint8_t> bytes(bytesOf(GetParam(), STEPS, channels));
    std::vector<int32_t> expected(AUDIO_MAX_CHANNELS * STEPS);
    std::vector<int32_t> actual(AUDIO_MAX_CHANNELS * STEPS);
    channel_pointers plain;
    channel_pointers simd;
    placeChannels(plain, expected);
    placeChannels(simd, actual);
    const auto define = chooseCodec(kernelsOf(CPU_PLAIN), format, channels, bits).decode;
    const auto decode = chooseCodec(kernelsOf(level), format, channels, bits).decode;
    return findDisagreement(bytes, [&, bits = bits] {
        define(plain, bytes.data(), STEPS, channels, bits);
        decode(simd, bytes.data(), STEPS, channels, bits);
        return expected == actual;
    });
}

std::string codec_kernels::proveEncoder(cpu_level level, uint8_t channels) {
    const auto [name, format, bits, pairs] = GetParam();
    std::vector<uint8_t> samples(size_t{channels} * STEPS * sizeof(int32_t));
    std::vector<uint8_t> expected(bytesOf(GetParam(), STEPS, channels));
    std::vector<uint8_t> actual(expected.size());
    channel_pointers in = {};
    for (unsigned c = 0; c < channels; ++c) {
        in[c] = reinterpret_cast<int32_t *>(samples.data()) + c * STEPS;
    }
    const auto define = chooseCodec(kernelsOf(CPU_PLAIN), format, channels, bits).encode;
    const auto encode = chooseCodec(kernelsOf(level), format, channels, bits).encode;
    return findDisagreement(samples, [&, bits = bits] {
        define(in, expected.data(), STEPS, channels, bits);
        encode(in, actual.data(), STEPS, channels, bits);
        return expected == actual;
    });
}

TEST_P(codec_kernels, AgreeOnEveryBit) {
    const unsigned step = GetParam().format == AUDIO_FORMAT_AES3 ? 2 : 1;
    for (const cpu_level level : simdLevels()) {
        for (unsigned channels = step; channels <= AUDIO_MAX_CHANNELS; channels += step) {
            SCOPED_TRACE(kernelsOf(level).name + std::string(", channels: ") +
                         std::to_string(channels));
            if (GetParam().format != AUDIO_FORMAT_FLOAT) {
                EXPECT_EQ(proveDecoder(level, static_cast<uint8_t>(channels)), "") << "decoder";
                EXPECT_EQ(proveEncoder(level, static_cast<uint8_t>(channels)), "") << "encoder";
            }
        }
    }
}

// Every length, at the ends of the memory that may be touched.
TEST_P(codec_kernels, KeepWithinTheirMemory) {
    std::vector<uint32_t> lengths(132);
    std::iota(lengths.begin(), lengths.end(), 0);
    lengths.push_back(LONGEST);
    const unsigned step = GetParam().format == AUDIO_FORMAT_AES3 ? 2 : 1;
    for (const cpu_level level : simdLevels()) {
        for (unsigned channels = step; channels <= AUDIO_MAX_CHANNELS; channels += step) {
            for (const uint32_t samples : lengths) {
                if (GetParam().pairs && samples % 2 != 0) {
                    continue;
                }
                SCOPED_TRACE(testing::Message() << kernelsOf(level).name << ", " << channels
                                                << " channels, " << samples << " samples");
                ASSERT_NO_FATAL_FAILURE(
                    checkDecoder(level, samples, static_cast<uint8_t>(channels)));
                ASSERT_NO_FATAL_FAILURE(
                    checkEncoder(level, samples, static_cast<uint8_t>(channels)));
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(formats, codec_kernels, testing::ValuesIn(CASES), nameOf);

// Where runs of consecutive values begin: all over the 32 bits, and in front of the limits of the
// conversion. Every value's turn comes when ZT_ALL_VALUES is set in the environment, which takes
// minutes.
std::vector<uint32_t> firstValues(uint32_t run) {
    constexpr uint32_t LIMITS[] = {0,          0x00800000, 0x30000000, 0x3f800000, 0x4f000000,
                                   0x7f800000, 0x7fc00000, 0x80000000, 0xb0000000, 0xbf800000,
                                   0xcf000000, 0xff800000, 0xffc00000};
    const uint64_t stride = getenv("ZT_ALL_VALUES") != nullptr ? run : 509 * uint64_t{run} + 1024;
    std::vector<uint32_t> firsts;
    for (uint64_t first = 0; first < uint64_t{1} << 32; first += stride) {
        firsts.push_back(static_cast<uint32_t>(first));
    }
    for (const uint32_t limit : LIMITS) {
        firsts.push_back(limit - run / 2);
    }
    return firsts;
}

// As samples and as the bits of floats.
TEST(float_kernels, AgreeOver32Bits) {
    constexpr uint32_t RUN = 4096;
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
    const channel_pointers simd = {samples(actual)};
    const codec_pair definition = chooseCodec(kernelsOf(CPU_PLAIN), AUDIO_FORMAT_FLOAT, 1, 32);
    for (const cpu_level level : simdLevels()) {
        const codec_pair codec = chooseCodec(kernelsOf(level), AUDIO_FORMAT_FLOAT, 1, 32);
        for (const uint32_t first : firstValues(RUN)) {
            std::iota(values.begin(), values.end(), first);
            definition.encode(in, bytes(expected), RUN, 1, 32);
            codec.encode(in, bytes(actual), RUN, 1, 32);
            ASSERT_EQ(actual, expected) << "samples from " << first;
            definition.decode(plain, bytes(values), RUN, 1, 32);
            codec.decode(simd, bytes(values), RUN, 1, 32);
            ASSERT_EQ(actual, expected) << "floats from " << first;
        }
    }
}

} // namespace
