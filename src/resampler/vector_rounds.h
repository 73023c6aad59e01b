#pragma once

#include "resampler/vector_tile.h"

// Shared by the vector forms; internal linkage, see vector_phases.h.
//
// A round is L outputs, from M input samples and the 40 that overlap the next round. The same
// phase of different rounds and channels shares its coefficients: these are the lanes.
namespace {

// Lanes of all rounds and channels, channels first: lane = round * channels + channel.
//
// 1. Gather the rows that some phases span, one input sample of every lane a row:
//
//        row 0   lane 0, lane 1, ... lane WIDTH - 1      first sample of the first phase
//        row 1   lane 0, lane 1, ...
//        ...                                             every phase walks 40 rows down
//
// 2. Filter those phases.
// 3. Go on with the next phases; the rows that both span are gathered again.
template <typename V, unsigned WIDTH>
void filterRounds(const resample_job &job, const phase_plan &plan, uint64_t first_lane,
                  unsigned lanes) {
    constexpr unsigned ROWS = SCRATCH_DOUBLES / WIDTH;
    alignas(64) double samples[SCRATCH_DOUBLES];
    uint32_t offsets[ROWS];
    const int32_t *sources[WIDTH];
    int32_t *destinations[WIDTH];
    for (unsigned lane = 0; lane < WIDTH; ++lane) {
        // Lanes beyond those wanted repeat the last one; their sums are dropped.
        const uint64_t number = first_lane + smaller(lane, lanes - 1);
        const uint64_t round = number / job.state->channels;
        const uint64_t channel = number % job.state->channels;
        sources[lane] = job.inputs[channel] + round * plan.down;
        destinations[lane] = job.outputs[channel] + round * plan.up;
    }
    for (unsigned row = 0; row < ROWS; ++row) {
        offsets[row] = row * WIDTH;
    }
    phase_cursor cursor = {};
    while (cursor.phase < plan.up) {
        const uint64_t first = cursor.first;
        const uint64_t end = smaller(plan.up, (first + ROWS - TAPS - 1) * plan.up / plan.down + 1);
        const uint64_t rows = samplesUnder(plan, end) - first;
        for (unsigned lane = 0; lane < WIDTH; lane += 4) {
            const int32_t *const from[4] = {sources[lane] + first, sources[lane + 1] + first,
                                            sources[lane + 2] + first, sources[lane + 3] + first};
            gatherFour<V>(from, rows, samples + lane, WIDTH);
        }
        const lane_tile tile = {samples, offsets, first, destinations, lanes};
        filterTile<V, WIDTH>(plan, tile, cursor, end);
    }
}

// Small M: neighbouring rounds share most of their input, so every sample is converted once.
//
//     row 0        x[0]       x[M]       x[2M]  ...      column n: round n's own M samples
//     row 1        x[1]       x[M + 1]   ...
//     row M - 1    x[M - 1]   x[2M - 1]  ...
//
// Sample i of a round stands in row i % M, i / M columns to the right. Lanes are columns.
struct neighbour_scratch {
    alignas(64) double samples[SCRATCH_DOUBLES];
    uint32_t offsets[LARGEST_NEIGHBOUR_STEP + TAPS + 1];
    size_t row_length; // columns
    uint64_t reach;    // columns to the right that a round's filters touch
};

void layOut(const phase_plan &plan, neighbour_scratch &scratch) {
    const auto down = static_cast<uint32_t>(plan.down);
    scratch.row_length = SCRATCH_DOUBLES / down;
    scratch.reach = (down + TAPS) / down;
    for (uint32_t i = 0; i < down + TAPS + 1; ++i) {
        scratch.offsets[i] = static_cast<uint32_t>(i % down * scratch.row_length) + i / down;
    }
}

// Fills `columns` columns from `count` samples, zeros behind them.
template <typename V>
void deinterleave(const int32_t *input, uint64_t count, uint64_t down, uint64_t columns,
                  neighbour_scratch &scratch) {
    double *samples = scratch.samples;
    uint64_t column = 0;
    if (down == 1) {
        convertRun<V>(input, count, samples);
        column = count;
    }
    for (; (column + 4) * down <= count; column += 4) {
        const int32_t *const source = input + column * down;
        const int32_t *const sources[4] = {source, source + down, source + 2 * down,
                                           source + 3 * down};
        gatherFour<V>(sources, down, samples + column, scratch.row_length);
    }
    for (; column < columns; ++column) {
        for (uint64_t row = 0; row < down; ++row) {
            const uint64_t i = column * down + row;
            samples[row * scratch.row_length + column] = i < count ? input[i] : 0.0;
        }
    }
}

template <typename V, unsigned WIDTH>
void filterColumns(const phase_plan &plan, const neighbour_scratch &scratch, uint64_t column,
                   uint64_t lanes, int32_t *output) {
    int32_t *destinations[WIDTH];
    for (unsigned lane = 0; lane < lanes; ++lane) {
        destinations[lane] = output + (column + lane) * plan.up;
    }
    const lane_tile tile = {scratch.samples + column, scratch.offsets, 0, destinations,
                            static_cast<unsigned>(lanes)};
    phase_cursor cursor = {};
    filterTile<V, WIDTH>(plan, tile, cursor, plan.up);
}

// Rounds of one channel, as many as the scratch holds.
template <typename V>
void filterNeighbours(const phase_plan &plan, neighbour_scratch &scratch, const int32_t *input,
                      int32_t *output, uint64_t rounds) {
    constexpr unsigned WIDEST = SUMS_IN_FLIGHT * V::LANES;
    const uint64_t count = (rounds - 1) * plan.down + samplesUnder(plan, plan.up);
    const uint64_t padded = (rounds + V::LANES - 1) / V::LANES * V::LANES;
    deinterleave<V>(input, count, plan.down, padded + scratch.reach, scratch);
    uint64_t column = 0;
    while (column < rounds) {
        const uint64_t left = rounds - column;
        uint64_t lanes = V::NARROWEST;
        if (padded - column >= WIDEST) {
            lanes = smaller(left, WIDEST);
            filterColumns<V, WIDEST>(plan, scratch, column, lanes, output);
        } else if (WIDEST > 32 && padded - column >= 32) {
            lanes = smaller(left, 32);
            filterColumns<V, WIDEST / 2>(plan, scratch, column, lanes, output);
        } else if (padded - column >= 16) {
            lanes = smaller(left, 16);
            filterColumns<V, 16>(plan, scratch, column, lanes, output);
        } else if (padded - column >= 8) {
            lanes = smaller(left, 8);
            filterColumns<V, 8>(plan, scratch, column, lanes, output);
        } else {
            lanes = smaller(left, V::NARROWEST);
            filterColumns<V, V::NARROWEST>(plan, scratch, column, lanes, output);
        }
        column += lanes;
    }
}

} // namespace
