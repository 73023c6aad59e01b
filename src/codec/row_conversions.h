#pragma once

#include "codec/row_kernels.h"

// Rows of one format to rows of another, without a transpose between: one kernel for each pair.

namespace {

template <typename V, typename In, typename Out, bool EXACT>
[[gnu::always_inline]] inline void convertStep(uint8_t *out, const uint8_t *in) {
    for (unsigned half = 0; half < HALVES; ++half) {
        lane lanes[V::LANES];
        V::split(Out::pack(loadRows<V, In, EXACT>(in, In::BYTES)), lanes);
        in += V::LANES * In::BYTES;
        for (unsigned i = 0; i < V::LANES; ++i) {
            storeRow<V, Out, EXACT>(out, lanes[i], i);
            out += Out::BYTES;
        }
    }
}

// A step or more. What does not make up whole steps is in a first step that overlaps the next.
template <typename V, typename In, typename Out>
void convertRows(uint8_t *out, const uint8_t *in, size_t samples) {
    constexpr size_t STEP = HALVES * V::LANES * ROW_SAMPLES;
    const auto inAt = [in](size_t sample) { return in + sample * In::BYTES / ROW_SAMPLES; };
    const auto outAt = [out](size_t sample) { return out + sample * Out::BYTES / ROW_SAMPLES; };
    const size_t last = samples - STEP;
    if (samples % STEP != 0) {
        convertStep<V, In, Out, true>(out, in);
    }
    for (size_t sample = samples % STEP; sample < last; sample += STEP) {
        convertStep<V, In, Out, false>(outAt(sample), inAt(sample));
    }
    convertStep<V, In, Out, true>(outAt(last), inAt(last));
}

template <typename V, typename In>
convert_function conversionFrom(sample_coding out) {
    switch (out) {
    case CODING_PCM8:
        return convertRows<V, In, pcm8_rows<V>>;
    case CODING_PCM16:
        return convertRows<V, In, shuffled_rows<V, pcm16_order>>;
    case CODING_PCM24:
        return convertRows<V, In, shuffled_rows<V, pcm24_order>>;
    case CODING_PCM32:
        return convertRows<V, In, pcm32_rows<V>>;
    case CODING_BE16:
        return convertRows<V, In, shuffled_rows<V, be16_order>>;
    case CODING_BE20:
        return convertRows<V, In, be20_rows<V>>;
    case CODING_BE24:
        return convertRows<V, In, shuffled_rows<V, be24_order>>;
    default:
        return convertRows<V, In, float_rows<V>>;
    }
}

template <typename V>
convert_function chooseConversion(sample_coding in, sample_coding out) {
    switch (in) {
    case CODING_PCM8:
        return conversionFrom<V, pcm8_rows<V>>(out);
    case CODING_PCM16:
        return conversionFrom<V, shuffled_rows<V, pcm16_order>>(out);
    case CODING_PCM24:
        return conversionFrom<V, shuffled_rows<V, pcm24_order>>(out);
    case CODING_PCM32:
        return conversionFrom<V, pcm32_rows<V>>(out);
    case CODING_BE16:
        return conversionFrom<V, shuffled_rows<V, be16_order>>(out);
    case CODING_BE20:
        return conversionFrom<V, be20_rows<V>>(out);
    case CODING_BE24:
        return conversionFrom<V, shuffled_rows<V, be24_order>>(out);
    default:
        return conversionFrom<V, float_rows<V>>(out);
    }
}

} // namespace
