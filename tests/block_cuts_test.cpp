// A stream may be cut anywhere: the output does not tell.

#include "support/conversion.h"

#include <gtest/gtest.h>

namespace {

// One byte, primes with calls of nothing between them, halves of frames.
const block_sizes CUTS[] = {{1}, {2, 0, 3, 5, 7, 0, 0, 11, 13}, {17, 31}, {97, 1, 0}, {256}};

struct rates {
    uint32_t input, output;
};

uint8_t channelsFor(sample_layout layout, uint8_t channels) {
    return layout.format == 4 ? static_cast<uint8_t>((channels + 1) & ~1) : channels;
}

void expectSameForEveryCut(const audio_converter_settings &settings, uint32_t frames) {
    SCOPED_TRACE(describe(settings));
    const sample_layout layout = {settings.input_format, settings.input_bits_per_sample};
    const byte_vector input = makeInput(layout, settings.input_channels, frames, frames);
    const byte_vector whole = convert(settings, input);
    // The stream has as many frames as the rates say; formats in pairs are filled up.
    const uint32_t in_frames = isPaired(layout) ? frames & ~1u : frames;
    const uint64_t out_frames =
        uint64_t{in_frames} * settings.output_sample_rate / settings.input_sample_rate;
    const sample_layout out = {settings.output_format, settings.output_bits_per_sample};
    const uint32_t unit = isPaired(out) ? 2 : 1;
    ASSERT_EQ(whole.size(),
              (out_frames + unit - 1) / unit * unitBytes(out, settings.output_channels));
    for (const block_sizes &blocks : CUTS) {
        ASSERT_TRUE(convert(settings, input, blocks) == whole)
            << "blocks from " << blocks[0] << ": " << testing::PrintToString(blocks);
    }
}

TEST(BlockCuts, EveryPairOfLayouts) {
    for (const sample_layout in : ALL_LAYOUTS) {
        for (const sample_layout out : ALL_LAYOUTS) {
            const uint8_t channels = channelsFor(in, channelsFor(out, 1));
            expectSameForEveryCut(makeSettings({in, channels, 48000}, {out, channels, 48000}), 37);
        }
    }
}

TEST(BlockCuts, RateAndLayoutChanges) {
    const rates rate_rows[] = {{44100, 48000}, {48000, 48000}, {8000, 48000}};
    for (const sample_layout in : ALL_LAYOUTS) {
        for (const rates &rate : rate_rows) {
            const sample_layout out = ALL_LAYOUTS[(in.format * 5 + in.bits / 8) % 14];
            expectSameForEveryCut(
                makeSettings({in, 6, rate.input, 0x3f}, {out, 2, rate.output, 0x03}), 401);
            expectSameForEveryCut(
                makeSettings({in, 2, rate.input, 0x03}, {out, 8, rate.output, 0xff}), 401);
            auto split = makeSettings({in, 2, rate.input}, {out, 2, rate.output}, 100);
            split.output_separate_channels = out.format != 4;
            expectSameForEveryCut(split, 301);
        }
    }
}

} // namespace
