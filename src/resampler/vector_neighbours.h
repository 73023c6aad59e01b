#pragma once

#include "resampler/vector_tile.h"

// Shared by the vector forms; internal linkage, see vector_phases.h.
//
// Small M: neighbouring rounds share most of their input, so every sample is converted once.
//
//     row 0        x[0]       x[M]       x[2M]  ...      column n: round n's own M samples
//     row 1        x[1]       x[M + 1]   ...
//     row M - 1    x[M - 1]   x[2M - 1]  ...
//
// Sample i of a round stands in row i % M, i / M columns to the right. Lanes are columns.
namespace {

struct neighbour_columns {
    double *samples;
    uint32_t offsets[LARGEST_NEIGHBOUR_STEP + TAPS + 1];
    size_t row_length; // columns
    uint64_t reach;    // columns to the right that a round's filters touch
};

void layOut(const phase_plan &plan, double *scratch, neighbour_columns &columns) {
    columns.samples = scratch;
    columns.row_length = SCRATCH_DOUBLES / plan.down;
    columns.reach = (plan.down + TAPS) / plan.down;
    uint64_t row = 0;
    uint64_t column = 0;
    for (uint64_t i = 0; i < plan.down + TAPS + 1; ++i) {
        columns.offsets[i] = static_cast<uint32_t>(row * columns.row_length + column);
        if (++row == plan.down) {
            row = 0;
            ++column;
        }
    }
}

// Fills the columns before `end` from `count` samples, zeros behind them.
template <typename V>
void fillColumns(const int32_t *input, uint64_t count, uint64_t down, uint64_t end,
                 const neighbour_columns &columns) {
    // 1. The zeros, in fours: up to three too many, in the next row or behind the last.
    const uint64_t whole = count / down;
    for (uint64_t row = 0; row < down; ++row) {
        for (uint64_t column = whole; column < end; column += 4) {
            V::storeDoubles(columns.samples + row * columns.row_length + column,
                            _mm_setzero_si128());
        }
    }
    // 2. Whole columns, four at a time.
    uint64_t column = 0;
    if (down == 1) {
        convertRun<V>(input, count, columns.samples);
        column = count;
    }
    for (; column + 4 <= whole; column += 4) {
        const int32_t *const source = input + column * down;
        const int32_t *const sources[4] = {source, source + down, source + 2 * down,
                                           source + 3 * down};
        gatherFour<V>(sources, down, columns.samples + column, columns.row_length);
    }
    // 3. What is left, the last column perhaps in part.
    for (uint64_t i = column * down; i < count; ++column) {
        for (uint64_t row = 0; row < down && i < count; ++row, ++i) {
            columns.samples[row * columns.row_length + column] = input[i];
        }
    }
}

template <typename V, unsigned WIDTH>
void filterColumns(const phase_plan &plan, const neighbour_columns &columns, uint64_t column,
                   uint64_t lanes, int32_t *output) {
    int32_t *destinations[WIDTH];
    for (unsigned lane = 0; lane < lanes; ++lane) {
        destinations[lane] = output + (column + lane) * plan.up;
    }
    const lane_tile tile = {columns.samples + column, columns.offsets, 0, destinations,
                            static_cast<unsigned>(lanes)};
    phase_cursor cursor = {};
    if (plan.down == 1) {
        filterTile<V, WIDTH, true>(plan, tile, cursor, plan.up);
    } else {
        filterTile<V, WIDTH, false>(plan, tile, cursor, plan.up);
    }
}

// The widest tile of use: with M = 1 two phases share each load, so half the width fills the
// sums in flight.
template <typename V>
unsigned widestColumnTile(const phase_plan &plan) {
    return SUMS_IN_FLIGHT * V::LANES / (plan.down == 1 ? 2 : 1);
}

// The narrowest tile that holds the lanes left, or the widest; narrow ones are bound by the
// latency of their additions and gain nothing.
template <typename V>
unsigned columnTileWidth(uint64_t left, unsigned widest) {
    unsigned width = V::NARROWEST;
    while (width < left && width < widest) {
        width *= 2;
    }
    return width;
}

template <typename V>
void filterColumnTile(unsigned width, const phase_plan &plan, const neighbour_columns &columns,
                      uint64_t column, uint64_t lanes, int32_t *output) {
    constexpr unsigned WIDEST = SUMS_IN_FLIGHT * V::LANES;
    switch (width) {
    case WIDEST:
        return filterColumns<V, WIDEST>(plan, columns, column, lanes, output);
    case WIDEST / 2:
        return filterColumns<V, WIDEST / 2>(plan, columns, column, lanes, output);
    case WIDEST / 4:
        return filterColumns<V, WIDEST / 4>(plan, columns, column, lanes, output);
    default:
        return filterColumns<V, V::NARROWEST>(plan, columns, column, lanes, output);
    }
}

// Rounds of one channel that a scratch of this length holds, a multiple of every tile's width.
template <typename V>
uint64_t mostNeighbours(const neighbour_columns &columns) {
    constexpr uint64_t WIDEST = SUMS_IN_FLIGHT * V::LANES;
    constexpr uint64_t SPARE_ZEROS = 3;
    return (columns.row_length - columns.reach - SPARE_ZEROS) / WIDEST * WIDEST;
}

// Rounds of one channel, at most mostNeighbours.
template <typename V>
void filterNeighbours(const phase_plan &plan, const neighbour_columns &columns,
                      const int32_t *input, int32_t *output, uint64_t rounds) {
    const unsigned widest = widestColumnTile<V>(plan);
    const uint64_t count = (rounds - 1) * plan.down + samplesUnder(plan, plan.up);
    const uint64_t whole = rounds / widest * widest;
    const uint64_t padded =
        whole + (whole < rounds ? columnTileWidth<V>(rounds - whole, widest) : 0);
    fillColumns<V>(input, count, plan.down, padded + columns.reach, columns);
    for (uint64_t column = 0; column < rounds; column += widest) {
        const uint64_t lanes = smaller(rounds - column, widest);
        filterColumnTile<V>(columnTileWidth<V>(lanes, widest), plan, columns, column, lanes,
                            output);
    }
}

} // namespace
