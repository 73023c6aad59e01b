#include "codec/sample_conversion.h"

#include "codec/codec_choice.h"
#include "guarded_buffer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

// Every conversion in one pass against the scalar decoder and encoder of its formats, at every
// level: at all lengths around the kernels' steps, and by single bits as in codec_kernels_test.cpp.

namespace {

using byte_vector = std::vector<uint8_t>;

struct format_row {
    uint8_t format;
    uint8_t bits;
    uint8_t bytes; // of a sample; 0: not by samples
};

constexpr format_row FORMATS[] = {
    {AUDIO_FORMAT_PCM, 8, 1},          {AUDIO_FORMAT_PCM, 16, 2},
    {AUDIO_FORMAT_PCM, 24, 3},         {AUDIO_FORMAT_PCM, 32, 4},
    {AUDIO_FORMAT_LPCM_PAIRED, 16, 2}, {AUDIO_FORMAT_LPCM_BE, 16, 2},
    {AUDIO_FORMAT_LPCM_BE, 20, 3},     {AUDIO_FORMAT_LPCM_BE, 24, 3},
    {AUDIO_FORMAT_FLOAT, 32, 4},       {AUDIO_FORMAT_AES3, 24, 0},
    {AUDIO_FORMAT_LPCM_PAIRED, 20, 0}, {AUDIO_FORMAT_LPCM_PAIRED, 24, 0},
};

constexpr uint32_t LONGEST = 2100; // two tiles and a bit

byte_vector define(const format_row &from, const format_row &to, const byte_vector &in) {
    const auto samples = static_cast<uint32_t>(in.size() / from.bytes);
    std::vector<int32_t> between(samples);
    byte_vector out(size_t{samples} * to.bytes);
    const kernel_set &plain = kernelsOf(CPU_PLAIN);
    chooseCodec(plain, from.format, 1, from.bits)
        .decode({between.data()}, in.data(), samples, 1, from.bits);
    chooseCodec(plain, to.format, 1, to.bits)
        .encode({between.data()}, out.data(), samples, 1, to.bits);
    return out;
}

class conversion_pair {
public:
    conversion_pair(cpu_level level, const format_row &from, const format_row &to)
        : from_(from), to_(to) {
        audio_converter_settings settings = {};
        settings.input_format = from.format;
        settings.input_bits_per_sample = from.bits;
        settings.output_format = to.format;
        settings.output_bits_per_sample = to.bits;
        conversion_ = chooseSampleConversion(kernelsOf(level), settings);
    }

    bool exists() const {
        return conversion_.input_bytes != 0;
    }

    // Between inaccessible pages, at either end of them.
    bool agrees(const byte_vector &in) {
        const size_t samples = in.size() / from_.bytes;
        const byte_vector expected = define(from_, to_, in);
        for (uint8_t *input : {input_.starting<uint8_t>(), input_.ending<uint8_t>(in.size())}) {
            std::copy(in.begin(), in.end(), input);
            auto *output = output_.ending<uint8_t>(expected.size());
            convertSamples(conversion_, output, input, samples);
            if (!std::equal(expected.begin(), expected.end(), output) || !output_.frontIsIntact()) {
                return false;
            }
        }
        return true;
    }

private:
    const format_row &from_, &to_;
    sample_conversion conversion_;
    guarded_buffer input_{LONGEST * sizeof(int32_t)};
    guarded_buffer output_{LONGEST * sizeof(int32_t)};
};

void checkPair(conversion_pair &pair, unsigned bytes) {
    std::mt19937 random(1);
    for (uint32_t samples = 0; samples <= LONGEST; samples += samples < 132 ? 1 : 1015) {
        byte_vector in(size_t{samples} * bytes);
        std::generate(in.begin(), in.end(), [&] { return static_cast<uint8_t>(random()); });
        ASSERT_TRUE(pair.agrees(in)) << samples << " samples";
    }
    byte_vector in(size_t{66} * bytes);
    ASSERT_TRUE(pair.agrees(in));
    for (size_t bit = 0; bit < in.size() * 8; ++bit) {
        in[bit / 8] = static_cast<uint8_t>(1 << bit % 8);
        ASSERT_TRUE(pair.agrees(in)) << "bit " << bit;
        in[bit / 8] = 0;
    }
}

TEST(SampleConversion, GivesWhatDecodingAndEncodingGive) {
    for (const cpu_level level : {CPU_PLAIN, CPU_SSE2, CPU_SSSE3, CPU_AVX2, CPU_AVX512}) {
        if (level > detectCpuLevels().highest) {
            continue;
        }
        for (const format_row &from : FORMATS) {
            for (const format_row &to : FORMATS) {
                SCOPED_TRACE(testing::Message()
                             << kernelsOf(level).name << ", " << int{from.format} << "/"
                             << int{from.bits} << " to " << int{to.format} << "/" << int{to.bits});
                conversion_pair pair(level, from, to);
                ASSERT_EQ(pair.exists(), from.bytes != 0 && to.bytes != 0);
                if (pair.exists()) {
                    ASSERT_NO_FATAL_FAILURE(checkPair(pair, from.bytes));
                }
            }
        }
    }
}

} // namespace
