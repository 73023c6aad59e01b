#pragma once

#include "codec/row_codecs.h"

// Rows of one format to rows of another, without a transpose between: one kernel for each pair.

namespace {

// A step or more. What does not make up whole steps is in a first step that overlaps the next, a
// call of its own.
template <typename V, typename In, typename Out>
[[gnu::noinline]] void convertRows(uint8_t *out, const uint8_t *in, size_t samples) {
    constexpr size_t STEP = HALVES * V::LANES * ROW_SAMPLES;
    const size_t part = samples % STEP;
    if (part != 0) {
        convertRows<V, In, Out>(out, in, STEP);
        in += part * In::BYTES / ROW_SAMPLES;
        out += part * Out::BYTES / ROW_SAMPLES;
    }
    for (size_t left = samples - part; left != 0; left -= STEP) {
        for (unsigned half = 0; half < HALVES; ++half) {
            lane lanes[V::LANES];
            V::split(Out::pack(loadRows<V, In>(in, In::BYTES)), lanes);
            in += V::LANES * In::BYTES;
            for (unsigned i = 0; i < V::LANES; ++i) {
                storeRow<Out>(out, lanes[i],
                              left == STEP && half + 1 == HALVES && i + 1 == V::LANES);
                out += Out::BYTES;
            }
        }
    }
}

// What `use` makes of the rows of a coding.
template <typename V, typename Use>
convert_function withRows(sample_coding coding, Use use) {
    switch (coding) {
    case CODING_PCM8:
        return use(pcm8_rows<V>());
    case CODING_PCM16:
        return use(shuffled_rows<V, pcm16_order>());
    case CODING_PCM24:
        return use(shuffled_rows<V, pcm24_order>());
    case CODING_PCM32:
        return use(pcm32_rows<V>());
    case CODING_BE16:
        return use(shuffled_rows<V, be16_order>());
    case CODING_BE20:
        return use(be20_rows<V>());
    case CODING_BE24:
        return use(shuffled_rows<V, be24_order>());
    default:
        return use(float_rows<V>());
    }
}

template <typename V>
convert_function chooseConversion(sample_coding in, sample_coding out) {
    return withRows<V>(in, [out](auto from) {
        return withRows<V>(out, [](auto to) -> convert_function {
            return convertRows<V, decltype(from), decltype(to)>;
        });
    });
}

// The same of those that have floats on one side.
template <typename V>
convert_function chooseFloatConversion(sample_coding in, sample_coding out) {
    if (in == CODING_FLOAT) {
        return withRows<V>(out, [](auto to) -> convert_function {
            return convertRows<V, float_rows<V>, decltype(to)>;
        });
    }
    return withRows<V>(in, [](auto from) -> convert_function {
        return convertRows<V, decltype(from), float_rows<V>>;
    });
}

} // namespace
