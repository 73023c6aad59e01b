#include "conversion.h"

#include "own_converter.h"

#include <array>
#include <cmath>
#include <cstring>
#include <numbers>

bool sameRate(const conversion &wanted) {
    return wanted.input.sample_rate == wanted.output.sample_rate;
}

bool sameLayout(const conversion &wanted) {
    return wanted.input.mask == wanted.output.mask;
}

bool isNative(const stream_shape &shape) {
    return shape.format == AUDIO_FORMAT_FLOAT ||
           (shape.format == AUDIO_FORMAT_PCM && shape.bits != 24);
}

uint32_t defaultMask(uint8_t channels) {
    constexpr std::array<uint32_t, 9> MASKS = {0, 0x01, 0x03, 0x07, 0x33, 0x37, 0x3f, 0xf7, 0xff};
    return MASKS.at(channels);
}

std::size_t frameCount(const stream_shape &shape, std::size_t byte_count) {
    return audioConverterBytesToSamples(static_cast<uint32_t>(byte_count), shape.format,
                                        shape.channels, shape.bits);
}

std::size_t sampleBytes(const stream_shape &shape) {
    return (shape.bits + 7u) / 8u;
}

std::size_t outputCapacity(const conversion &wanted, std::size_t input_byte_count) {
    constexpr std::size_t WIDEST_SAMPLE_BYTES = 4;
    const std::size_t frames_in = frameCount(wanted.input, input_byte_count);
    const std::size_t frames_out =
        frames_in * wanted.output.sample_rate / wanted.input.sample_rate +
        wanted.output.sample_rate;
    return frames_out * wanted.output.channels * WIDEST_SAMPLE_BYTES;
}

namespace {

std::vector<uint8_t> makeTones(uint8_t channels, std::size_t frame_count) {
    constexpr double AMPLITUDE = 0.4 * 2147483647.0;
    std::vector<uint8_t> bytes(frame_count * channels * sizeof(int32_t) + INPUT_PADDING);
    uint8_t *next = bytes.data();
    for (std::size_t frame = 0; frame < frame_count; ++frame) {
        for (uint8_t channel = 0; channel < channels; ++channel) {
            const double cycles_per_frame = 0.011 + 0.004 * channel;
            const double phase =
                2.0 * std::numbers::pi * cycles_per_frame * static_cast<double>(frame + 1);
            const auto sample = static_cast<int32_t>(AMPLITUDE * std::sin(phase));
            std::memcpy(next, &sample, sizeof sample);
            next += sizeof sample;
        }
    }
    return bytes;
}

} // namespace

test_block makeTestBlock(const stream_shape &shape, std::size_t frame_count) {
    stream_shape plain = shape;
    plain.format = AUDIO_FORMAT_PCM;
    plain.bits = 32;
    test_block block{makeTones(shape.channels, frame_count),
                     frame_count * shape.channels * sizeof(int32_t)};
    if (shape.format == AUDIO_FORMAT_PCM && shape.bits == 32) {
        return block;
    }
    const auto encoder = makeOwnConverter({plain, shape});
    const auto encoded = encoder->convert(block.bytes());
    test_block result{{encoded.begin(), encoded.end()}, encoded.size()};
    result.storage.resize(encoded.size() + INPUT_PADDING);
    return result;
}
