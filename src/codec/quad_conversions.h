#pragma once

#include "codec/quad_kernels.h"
#include "simd/kernels.h"

// Quads of one format to quads of another, without a transpose between: one kernel for each pair.

namespace {

// A step or more. What does not make up whole steps is in a first step that overlaps the next, a
// call of its own.
template <typename V, typename In, typename Out>
[[gnu::noinline]] void convertQuads(uint8_t *out, const uint8_t *in, size_t samples) {
    constexpr size_t STEP = HALVES * V::LANES128 * QUAD_SAMPLES;
    static_assert(STEP <= CONVERSION_FEWEST_SAMPLES);
    const size_t part = samples % STEP;
    if (part != 0) {
        convertQuads<V, In, Out>(out, in, STEP);
        in += part * In::BYTES / QUAD_SAMPLES;
        out += part * Out::BYTES / QUAD_SAMPLES;
    }
    for (size_t left = samples - part; left != 0; left -= STEP) {
        for (unsigned half = 0; half < HALVES; ++half) {
            storeRun<V, Out>(out, Out::pack(loadRun<V, In>(in)),
                             left == STEP && half + 1 == HALVES);
            in += V::LANES128 * In::BYTES;
            out += V::LANES128 * Out::BYTES;
        }
    }
}

// What `use` makes of the quads of a coding.
template <typename V, typename Use>
convert_function withQuads(sample_coding coding, Use use) {
    switch (coding) {
    case CODING_PCM8:
        return use(pcm8_quads<V>());
    case CODING_PCM16:
        return use(shuffled_quads<V, pcm16_order>());
    case CODING_PCM24:
        return use(shuffled_quads<V, pcm24_order>());
    case CODING_PCM32:
        return use(pcm32_quads<V>());
    case CODING_BE16:
        return use(shuffled_quads<V, be16_order>());
    case CODING_BE20:
        return use(be20_quads<V>());
    case CODING_BE24:
        return use(shuffled_quads<V, be24_order>());
    default:
        return use(float_quads<V>());
    }
}

template <typename V>
convert_function chooseConversion(sample_coding in, sample_coding out) {
    return withQuads<V>(in, [out](auto from) {
        return withQuads<V>(out, [](auto to) -> convert_function {
            return convertQuads<V, decltype(from), decltype(to)>;
        });
    });
}

// The same of a pair that has floats on one side.
template <typename V>
convert_function chooseFloatConversion(sample_coding in, sample_coding out) {
    if (in == CODING_FLOAT) {
        return withQuads<V>(out, [](auto to) -> convert_function {
            return convertQuads<V, float_quads<V>, decltype(to)>;
        });
    }
    return withQuads<V>(in, [](auto from) -> convert_function {
        return convertQuads<V, decltype(from), float_quads<V>>;
    });
}

} // namespace
