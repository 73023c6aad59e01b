#pragma once

#include "simd/kernels.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

// Shared by the SIMD kernels. Everything has internal linkage: each instruction set's unit owns
// its copy, compiled for that set. Lanes are frames.
namespace {

// Vectors of frames in a tile: so many sums in flight hide the latency of an addition. The loops
// over them are unrolled, which keeps the sums in registers.
constexpr unsigned MIX_VECTORS = 8;

// The gains that count, output by output, inputs ascending. A gain of zero is left out: samples
// are finite, so its product is +0.0 or -0.0, which adds nothing to a sum that began at +0.0.
struct mix_term {
    unsigned input;
    double gain;
};

struct mix_plan {
    mix_term terms[AUDIO_MAX_CHANNELS][AUDIO_MAX_CHANNELS];
    unsigned term_count[AUDIO_MAX_CHANNELS];
    bool input_used[AUDIO_MAX_CHANNELS];
    unsigned inputs;
    unsigned outputs;
};

// One tile's input, as doubles: read in whole before any output of the tile is written, since
// outputs share the inputs' arrays.
template <typename V>
struct mix_tile {
    static constexpr unsigned FRAMES = MIX_VECTORS * V::LANES;
    alignas(64) double samples[AUDIO_MAX_CHANNELS][FRAMES];
};

void planMix(mix_plan &plan, const gain_matrix &matrix, unsigned inputs, unsigned outputs) {
    plan.inputs = inputs;
    plan.outputs = outputs;
    for (unsigned i = 0; i < inputs; ++i) {
        plan.input_used[i] = false;
    }
    for (unsigned o = 0; o < outputs; ++o) {
        plan.term_count[o] = 0;
        for (unsigned i = 0; i < inputs; ++i) {
            const double gain = matrix[i][o];
            if (gain != 0.0) {
                plan.terms[o][plan.term_count[o]++] = {i, gain};
                plan.input_used[i] = true;
            }
        }
    }
}

// The sums of one output, all frames of the tile.
template <typename V>
void mixOutput(const mix_plan &plan, const mix_tile<V> &tile, unsigned output, int32_t *samples) {
    typename V::vector sums[MIX_VECTORS];
#pragma GCC unroll 8
    for (unsigned v = 0; v < MIX_VECTORS; ++v) {
        sums[v] = V::zero();
    }
    for (unsigned t = 0; t < plan.term_count[output]; ++t) {
        const mix_term &term = plan.terms[output][t];
        const typename V::vector gain = V::spread(term.gain);
        const double *input = tile.samples[term.input];
#pragma GCC unroll 8
        for (unsigned v = 0; v < MIX_VECTORS; ++v) {
            sums[v] = V::add(sums[v], V::multiply(V::load(input + v * V::LANES), gain));
        }
    }
#pragma GCC unroll 8
    for (unsigned v = 0; v < MIX_VECTORS; ++v) {
        V::storeTruncated(samples + v * V::LANES, sums[v]);
    }
}

template <typename V>
void readInput(mix_tile<V> &tile, unsigned input, const int32_t *samples) {
    for (unsigned s = 0; s < tile.FRAMES; s += V::LANES) {
        V::store(tile.samples[input] + s, V::loadSamples(samples + s));
    }
}

template <typename V>
void mixWholeTile(const mix_plan &plan, mix_tile<V> &tile, const channel_pointers &channels,
                  size_t frame) {
    for (unsigned i = 0; i < plan.inputs; ++i) {
        if (plan.input_used[i]) {
            readInput<V>(tile, i, channels[i] + frame);
        }
    }
    for (unsigned o = 0; o < plan.outputs; ++o) {
        mixOutput<V>(plan, tile, o, channels[o] + frame);
    }
}

// The last frames, fewer than a tile; what the tile holds behind them is silence.
template <typename V>
void mixPartOfTile(const mix_plan &plan, mix_tile<V> &tile, const channel_pointers &channels,
                   size_t frame, size_t frames) {
    int32_t samples[mix_tile<V>::FRAMES] = {};
    for (unsigned i = 0; i < plan.inputs; ++i) {
        memcpy(samples, channels[i] + frame, frames * sizeof *samples);
        readInput<V>(tile, i, samples);
    }
    for (unsigned o = 0; o < plan.outputs; ++o) {
        mixOutput<V>(plan, tile, o, samples);
        memcpy(channels[o] + frame, samples, frames * sizeof *samples);
    }
}

// All sums of one or two outputs fit in the registers: each input is read and converted once, for
// both, and needs no tile in between. A gain of zero beside one that counts adds nothing here
// either. Returns the frames mixed: whole groups of vectors, what remains is the tiles'.
template <typename V, unsigned OUTPUTS>
size_t mixInRegisters(const mix_plan &plan, const gain_matrix &matrix,
                      const channel_pointers &channels, size_t n) {
    constexpr unsigned VECTORS = MIX_VECTORS / 2;
    size_t frame = 0;
    for (; frame + VECTORS * V::LANES <= n; frame += VECTORS * V::LANES) {
        typename V::vector sums[OUTPUTS][VECTORS];
        for (auto &of_output : sums) {
            std::fill(of_output, of_output + VECTORS, V::zero());
        }
        for (unsigned i = 0; i < plan.inputs; ++i) {
            if (!plan.input_used[i]) {
                continue;
            }
            const int32_t *samples = channels[i] + frame;
#pragma GCC unroll 4
            for (unsigned v = 0; v < VECTORS; ++v) {
                const typename V::vector input = V::loadSamples(samples + v * V::LANES);
#pragma GCC unroll 2
                for (unsigned o = 0; o < OUTPUTS; ++o) {
                    const typename V::vector product = V::multiply(input, V::spread(matrix[i][o]));
                    sums[o][v] = V::add(sums[o][v], product);
                }
            }
        }
        for (unsigned o = 0; o < OUTPUTS; ++o) {
            for (unsigned v = 0; v < VECTORS; ++v) {
                V::storeTruncated(channels[o] + frame + v * V::LANES, sums[o][v]);
            }
        }
    }
    return frame;
}

template <typename V>
void runMix(const gain_matrix &matrix, const channel_pointers &channels, size_t n, unsigned inputs,
            unsigned outputs) {
    mix_plan plan;
    planMix(plan, matrix, inputs, outputs);
    mix_tile<V> tile;
    size_t frame = outputs == 1   ? mixInRegisters<V, 1>(plan, matrix, channels, n)
                   : outputs == 2 ? mixInRegisters<V, 2>(plan, matrix, channels, n)
                                  : 0;
    for (; frame + tile.FRAMES <= n; frame += tile.FRAMES) {
        mixWholeTile<V>(plan, tile, channels, frame);
    }
    if (frame < n) {
        mixPartOfTile<V>(plan, tile, channels, frame, n - frame);
    }
}

} // namespace
