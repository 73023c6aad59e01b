#include "codec/sample_conversion.h"

#include "codec/codec_choice.h"

#include <algorithm>
#include <cstring>

namespace {

struct coding_row {
    uint8_t format;
    uint8_t bits;
    sample_coding coding;
    uint8_t bytes; // of a sample
};

constexpr coding_row CODINGS[] = {
    {AUDIO_FORMAT_PCM, 8, CODING_PCM8, 1},          {AUDIO_FORMAT_PCM, 16, CODING_PCM16, 2},
    {AUDIO_FORMAT_PCM, 24, CODING_PCM24, 3},        {AUDIO_FORMAT_PCM, 32, CODING_PCM32, 4},
    {AUDIO_FORMAT_LPCM_PAIRED, 16, CODING_BE16, 2}, {AUDIO_FORMAT_LPCM_BE, 16, CODING_BE16, 2},
    {AUDIO_FORMAT_LPCM_BE, 20, CODING_BE20, 3},     {AUDIO_FORMAT_LPCM_BE, 24, CODING_BE24, 3},
    {AUDIO_FORMAT_FLOAT, 32, CODING_FLOAT, 4},
};

const coding_row *codingOf(uint8_t format, uint8_t bits) {
    for (const coding_row &row : CODINGS) {
        if (row.format == format && row.bits == bits) {
            return &row;
        }
    }
    return nullptr;
}

// Decoding and encoding changes some values of two codings: it extends the sign of 20 bits and
// saturates floats.
bool isCopied(sample_coding coding) {
    return coding != CODING_BE20 && coding != CODING_FLOAT;
}

template <unsigned BYTES>
void copySamples(uint8_t *out, const uint8_t *in, size_t samples) {
    memcpy(out, in, samples * BYTES);
}

// The definition: by way of a tile of 32-bit samples.
void convertInStages(const sample_conversion &conversion, uint8_t *out, const uint8_t *in,
                     size_t samples) {
    constexpr size_t TILE_SAMPLES = 1024; // stays in the first-level cache
    alignas(64) int32_t tile[TILE_SAMPLES];
    while (samples != 0) {
        const auto count = static_cast<uint32_t>(std::min(samples, TILE_SAMPLES));
        conversion.decode({tile}, in, count, 1, conversion.input_bits);
        conversion.encode({tile}, out, count, 1, conversion.output_bits);
        in += size_t{count} * conversion.input_bytes;
        out += size_t{count} * conversion.output_bytes;
        samples -= count;
    }
}

constexpr convert_function COPIES[] = {nullptr, copySamples<1>, copySamples<2>, copySamples<3>,
                                       copySamples<4>};

} // namespace

sample_conversion chooseSampleConversion(const kernel_set &kernels,
                                         const audio_converter_settings &settings) {
    sample_conversion conversion = {};
    conversion.input_bits = settings.input_bits_per_sample;
    conversion.output_bits = settings.output_bits_per_sample;
    const coding_row *in = codingOf(settings.input_format, conversion.input_bits);
    const coding_row *out = codingOf(settings.output_format, conversion.output_bits);
    if (in == nullptr || out == nullptr) {
        return conversion;
    }
    conversion.decode =
        chooseCodec(kernels, settings.input_format, 1, conversion.input_bits).decode;
    conversion.encode =
        chooseCodec(kernels, settings.output_format, 1, conversion.output_bits).encode;
    conversion.input_bytes = in->bytes;
    conversion.output_bytes = out->bytes;
    if (in->coding == out->coding && isCopied(in->coding)) {
        conversion.kernel = COPIES[in->bytes];
    } else if (kernels.chooseConversion != nullptr) {
        conversion.kernel = kernels.chooseConversion(in->coding, out->coding);
    }
    return conversion;
}

void convertSamples(const sample_conversion &conversion, uint8_t *out, const uint8_t *in,
                    size_t samples) {
    if (conversion.kernel != nullptr && samples >= CONVERSION_FEWEST_SAMPLES) {
        conversion.kernel(out, in, samples);
    } else {
        convertInStages(conversion, out, in, samples);
    }
}
