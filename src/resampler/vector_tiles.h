#pragma once

#include "resampler/vector_lanes.h"
#include "resampler/vector_packed.h"

// Shared by the SIMD kernels; internal linkage, see vector_plan.h.
//
// Many lanes: the elements of the vectors are the lanes of a tile, which share their coefficients.
//
//     row 0   lane 0, lane 1, ... lane WIDTH - 1      first sample of the window's first phase
//     row 1   lane 0, lane 1, ...
//     ...
//
// PHASES phases of a group are in flight. They walk the rows that any of them needs and load each
// row once, or, skewed, 41 rows each from their own first on.
namespace {

// One part of a group, all lanes: one row of `sums` per phase. `samples` are the group's. `parts`
// is that part or, skewed, the first of PHASES parts of one phase each, and
// its rows are as many as any of them has: only phase 0 of a period has a 41st, and packed periods
// have 8 phases or more.
template <typename V, unsigned WIDTH, unsigned PHASES, bool SKEWED>
void filterTilePart(const double *coefficients, const double *samples, const group_part *parts,
                    int32_t *sums) {
    static_assert(WIDTH % V::LANES == 0 && PHASES_PER_GROUP % PHASES == 0);
    constexpr unsigned VECTORS = WIDTH / V::LANES;
    const double *factors[PHASES];
    const double *rows[PHASES];
    typename V::vector sum[PHASES][VECTORS];
    for (unsigned p = 0; p < PHASES; ++p) {
        const size_t begin = parts[SKEWED ? p : 0].begin;
        factors[p] = coefficients + begin * PHASES_PER_GROUP + parts->phase + p;
        rows[p] = samples + begin * WIDTH;
        for (auto &vector : sum[p]) {
            vector = V::zero();
        }
    }
    const size_t count = parts->end - parts->begin;
#pragma GCC unroll 4
    for (size_t row = 0; row < count; ++row) {
        typename V::vector shared[VECTORS];
        for (unsigned v = 0; v < VECTORS; ++v) {
            shared[v] = V::load(rows[0] + row * WIDTH + v * V::LANES);
        }
        for (unsigned p = 0; p < PHASES; ++p) {
            const auto factor = V::spread(factors[p][row * PHASES_PER_GROUP]);
            for (unsigned v = 0; v < VECTORS; ++v) {
                const auto sample =
                    SKEWED ? V::load(rows[p] + row * WIDTH + v * V::LANES) : shared[v];
                sum[p][v] = V::add(sum[p][v], V::multiply(sample, factor));
            }
        }
    }
    for (unsigned p = 0; p < PHASES; ++p) {
        for (unsigned v = 0; v < VECTORS; ++v) {
            V::storeSaturated(sums + (parts->phase + p) * WIDTH + v * V::LANES, sum[p][v]);
        }
    }
}

// Whole periods of WIDTH lanes, or of those left. Returns the lanes done.
template <typename V, unsigned WIDTH>
uint64_t filterTile(const resample_job &job, const phase_plan &plan, uint64_t first_lane,
                    uint64_t left, double *scratch) {
    constexpr unsigned PHASES = SUMS_IN_FLIGHT * V::LANES / WIDTH;
    constexpr bool SKEWED = WIDTH == NARROW_TILE;
    constexpr unsigned PART = SKEWED ? 1 : PHASES;
    const auto lanes = static_cast<unsigned>(smaller(left, WIDTH));
    lane_places<WIDTH> places;
    placeLanes(job, plan, SINGLE_PERIODS, first_lane, lanes, places);
    const group_parts<PART> parts(plan);
    group_window window = {};
    while (window.end * PHASES_PER_GROUP < plan.up) {
        window = openWindow(plan, window.end, plan.up, SCRATCH_DOUBLES / WIDTH);
        gatherRows<V>(places, window.first_row, window.held_rows, scratch);
        for (uint64_t i = window.held_rows * WIDTH; i < window.rows * WIDTH; ++i) {
            scratch[i] = 0.0;
        }
        for (uint64_t group = window.group; group < window.end; ++group) {
            alignas(64) int32_t sums[PHASES_PER_GROUP * WIDTH];
            const double *samples = scratch + rowOf(plan, window, group) * WIDTH;
            for (unsigned p = 0; p < PHASES_PER_GROUP; p += PHASES) {
                filterTilePart<V, WIDTH, PHASES, SKEWED>(coefficientsOf(plan, group), samples,
                                                         parts.parts + p / PART, sums);
            }
            const uint64_t phase = group * PHASES_PER_GROUP;
            scatter<V>(sums, WIDTH, smaller(PHASES_PER_GROUP, plan.up - phase), places.destinations,
                       lanes, phase);
        }
    }
    return lanes;
}

} // namespace
