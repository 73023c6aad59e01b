#pragma once

#include "resampler/vector_lanes.h"
#include "resampler/vector_segment_cut.h"

// Shared by the SIMD kernels; internal linkage, see vector_plan.h.
//
// Small M: a channel's periods are cut into segments of equal length S. The lanes of a tile are
// segments.
//
//              lane 0     lane 1       lane 2    ...
//     row 0    x[0]       x[S M]       x[2 S M]
//     row 1    x[1]       x[S M + 1]   x[2 S M + 1]    S periods to a segment,
//     ...                                              M samples to a period:
//     row M    x[M]       x[S M + M]   x[2 S M + M]    period n begins in row n M
//
// The same phase of consecutive periods shares its coefficients; each lies M rows further down.
namespace {

// A place among the phases of a period.
struct phase_cursor {
    uint64_t phase;  // 0 .. L - 1
    uint64_t first;  // the first input sample under its filter, from the period's start
    uint64_t offset; // position in the filter of that sample's coefficient, below L
};

void advance(const phase_plan &plan, phase_cursor &cursor) {
    ++cursor.phase;
    cursor.first += plan.whole_step;
    if (cursor.offset >= plan.part_step) {
        cursor.offset -= plan.part_step;
    } else {
        cursor.offset += plan.up - plan.part_step;
        ++cursor.first;
    }
}

static_assert(SUMS_PER_CHUNK >= LONGEST_SEGMENTED_PERIOD * TILE_SEGMENTS * TILE_SEGMENTS,
              "room for a period of every sum in flight");

// The sums in flight of a block: PHASES phases in PERIODS periods, for all lanes.
template <typename V, unsigned PERIODS, unsigned PHASES>
using block_sums = typename V::vector[PHASES][PERIODS][TILE_SEGMENTS / V::LANES];

// Where the phases of a block read their input rows, in the first period, and their coefficients.
template <unsigned PHASES>
struct block_places {
    const double *rows[PHASES];
    const double *coefficients[PHASES];
};

// One row of each period, times the first coefficient, onto the sums of the block's first phase.
template <typename V, unsigned PERIODS, unsigned PHASES>
void addFirstTap(const block_places<PHASES> &places, size_t step,
                 block_sums<V, PERIODS, PHASES> &sums) {
    const typename V::vector factor = V::spread(*places.coefficients[0]);
    for (unsigned r = 0; r < PERIODS; ++r) {
        for (unsigned v = 0; v < TILE_SEGMENTS / V::LANES; ++v) {
            const auto sample = V::load(places.rows[0] + r * step + v * V::LANES);
            sums[0][r][v] = V::add(sums[0][r][v], V::multiply(sample, factor));
        }
    }
}

// The 40 taps that all phases have. Unrolled, or counting them competes with the arithmetic.
template <typename V, unsigned PERIODS, unsigned PHASES, bool SHARED>
void addTaps(const block_places<PHASES> &places, size_t step, size_t up,
             block_sums<V, PERIODS, PHASES> &sums) {
#pragma GCC unroll 4
    for (unsigned tap = 0; tap < TAPS_PER_PHASE; ++tap) {
        typename V::vector factor[PHASES];
        for (unsigned p = 0; p < PHASES; ++p) {
            factor[p] = V::spread(places.coefficients[p][tap * up]);
        }
        for (unsigned r = 0; r < PERIODS; ++r) {
            for (unsigned v = 0; v < TILE_SEGMENTS / V::LANES; ++v) {
                const size_t place = r * step + tap * TILE_SEGMENTS + v * V::LANES;
                const auto shared = V::load(places.rows[0] + place);
                for (unsigned p = 0; p < PHASES; ++p) {
                    const auto sample = SHARED ? shared : V::load(places.rows[p] + place);
                    sums[p][r][v] = V::add(sums[p][r][v], V::multiply(sample, factor[p]));
                }
            }
        }
    }
}

// The sums of PHASES phases, from the cursor's on, in PERIODS periods. The rows of a period stand
// `stride` sums behind those of the one before. SHARED: all phases but phase 0 start at the same
// input sample, phase 0 one earlier, as they do for M = 1.
template <typename V, unsigned PERIODS, unsigned PHASES, bool SHARED>
void filterBlock(const phase_plan &plan, const double *samples, phase_cursor &cursor, int32_t *sums,
                 size_t stride) {
    constexpr unsigned VECTORS = TILE_SEGMENTS / V::LANES;
    const size_t step = plan.down * TILE_SEGMENTS;
    const bool has_phase_0 = cursor.phase == 0;
    block_places<PHASES> places;
    block_sums<V, PERIODS, PHASES> sum;
    for (unsigned p = 0; p < PHASES; ++p) {
        places.rows[p] = samples + cursor.first * TILE_SEGMENTS;
        places.coefficients[p] = plan.filter + cursor.offset;
        for (auto &of_period : sum[p]) {
            for (auto &vector : of_period) {
                vector = V::zero();
            }
        }
        advance(plan, cursor);
    }
    if (has_phase_0) { // it has a tap more than the others
        addFirstTap<V, PERIODS, PHASES>(places, step, sum);
        places.rows[0] += TILE_SEGMENTS;
        places.coefficients[0] += plan.up;
    }
    addTaps<V, PERIODS, PHASES, SHARED>(places, step, plan.up, sum);
    for (unsigned p = 0; p < PHASES; ++p) {
        for (unsigned i = 0; i < PERIODS * VECTORS; ++i) {
            const unsigned r = i / VECTORS;
            const unsigned v = i % VECTORS;
            V::storeSaturated(sums + r * stride + p * TILE_SEGMENTS + v * V::LANES, sum[p][r][v]);
        }
    }
}

// All phases of PERIODS periods, in blocks. The sums stand in rows as the outputs in their arrays:
// phase by phase, period by period.
template <typename V, unsigned PERIODS, bool SHARED>
void filterPeriods(const phase_plan &plan, const double *samples, int32_t *sums) {
    constexpr unsigned PHASES = V::LANES / PERIODS;
    const size_t stride = plan.up * TILE_SEGMENTS;
    phase_cursor cursor = {};
    while (cursor.phase + PHASES <= plan.up) {
        filterBlock<V, PERIODS, PHASES, SHARED>(plan, samples, cursor,
                                                sums + cursor.phase * TILE_SEGMENTS, stride);
    }
    while (cursor.phase < plan.up) {
        filterBlock<V, PERIODS, 1, false>(plan, samples, cursor,
                                          sums + cursor.phase * TILE_SEGMENTS, stride);
    }
}

// Segments side by side, `length` periods each.
struct segment_tile {
    uint64_t length;
    unsigned lanes; // wanted
    lane_places<TILE_SEGMENTS> places;
    const double *samples; // the scratch
    int32_t *sums;         // SUMS_PER_CHUNK
};

// All periods of a tile, at least PERIODS. Some at a time leave through `scatter`; the last may
// overlap those before.
template <typename V, unsigned PERIODS, bool SHARED>
void filterSegments(const phase_plan &plan, const segment_tile &tile) {
    const uint64_t rows = SUMS_PER_CHUNK / TILE_SEGMENTS;
    const uint64_t most = rows / plan.up / PERIODS * PERIODS;
    uint64_t end = 0;
    while (end < tile.length) {
        const uint64_t left = (tile.length - end) / PERIODS * PERIODS;
        const uint64_t periods = left == 0 ? PERIODS : smaller(most, left);
        const uint64_t first = smaller(end, tile.length - periods);
        end = first + periods;
        const double *samples = tile.samples + first * plan.down * TILE_SEGMENTS;
        for (uint64_t i = 0; i < periods; i += PERIODS) {
            filterPeriods<V, PERIODS, SHARED>(plan, samples + i * plan.down * TILE_SEGMENTS,
                                              tile.sums + i * plan.up * TILE_SEGMENTS);
        }
        scatter<V>(tile.sums, TILE_SEGMENTS, periods * plan.up, tile.places.destinations,
                   tile.lanes, first * plan.up);
    }
}

// Chooses what the sums in flight belong to: to periods before phases, whose coefficients differ,
// unless two phases share their input or the segments are too short.
template <typename V>
void filterTileOfSegments(const phase_plan &plan, const segment_tile &tile) {
    constexpr unsigned ALL = V::LANES;
    constexpr unsigned HALF = ALL / 2;
    constexpr unsigned QUARTER = ALL > 4 ? ALL / 4 : 1;
    if (tile.length >= ALL && plan.down == 1 && plan.up % 2 == 0) {
        filterSegments<V, HALF, true>(plan, tile);
    } else if (tile.length >= ALL) {
        filterSegments<V, ALL, false>(plan, tile);
    } else if (tile.length >= HALF) {
        filterSegments<V, HALF, false>(plan, tile);
    } else if (tile.length >= QUARTER) {
        filterSegments<V, QUARTER, false>(plan, tile);
    } else {
        filterSegments<V, 1, false>(plan, tile);
    }
}

// The periods of all channels. The last segment of each may overlap the one before: both compute
// the same.
template <typename V>
void runSegments(const resample_job &job, const phase_plan &plan, uint64_t periods,
                 double *scratch) {
    alignas(64) int32_t sums[SUMS_PER_CHUNK];
    const segment_cut cut = cutPeriods<V>(plan, job.state->channels, periods);
    const lane_numbering numbering = {cut.length, periods - cut.length};
    const uint64_t rows = segmentRows(plan, cut.length);
    const uint64_t all = cut.segments * job.state->channels;
    for (uint64_t lane = 0; lane < all; lane += TILE_SEGMENTS) {
        const auto lanes = static_cast<unsigned>(smaller(TILE_SEGMENTS, all - lane));
        segment_tile tile = {cut.length, lanes, {}, scratch, sums};
        placeLanes(job, plan, numbering, lane, lanes, tile.places);
        gatherRows<V>(tile.places, 0, rows, scratch);
        filterTileOfSegments<V>(plan, tile);
    }
}

} // namespace
