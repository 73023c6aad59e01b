#pragma once

#include "resampler/vector_groups.h"
#include "resampler/vector_segments.h"
#include "resampler/vector_tiles.h"

#include <iterator>

// Shared by the SIMD kernels; internal linkage, see vector_plan.h. strategy.h says what runs when.
namespace {

// Few lanes, or so few that the rows a group has beyond 40 cost less than a tile's empty lanes.
template <typename V>
bool suitGroups(const phase_plan &plan, uint64_t lanes) {
    static_assert(V::LANES / 4 < std::size(MOST_GROUPED_ROWS));
    return lanes < FEWEST_TILED ||
           (lanes <= MOST_GROUPED && lanes * plan.group_rows <= MOST_GROUPED_ROWS[V::LANES / 4]);
}

// Whole periods, in tiles while the lanes left are too many for groups.
template <typename V>
void runPeriods(const resample_job &job, const phase_plan &plan, uint64_t lanes, double *scratch) {
    constexpr unsigned MIDDLE = MIDDLE_TILE % V::LANES == 0 ? MIDDLE_TILE : WIDE_TILE;
    uint64_t lane = 0;
    while (!suitGroups<V>(plan, lanes - lane)) {
        const uint64_t left = lanes - lane;
        if (left <= NARROW_TILE) {
            lane += filterTile<V, NARROW_TILE>(job, plan, lane, left, scratch);
        } else if (left <= MIDDLE) {
            lane += filterTile<V, MIDDLE>(job, plan, lane, left, scratch);
        } else {
            lane += filterTile<V, WIDE_TILE>(job, plan, lane, left, scratch);
        }
    }
    filterLanesInGroups<V>(job, plan, lane, lanes, plan.up, scratch);
}

// Whether there are lanes enough, and their periods are short enough for the scratch.
bool suitSegments(const phase_plan &plan, uint64_t lanes) {
    if (plan.up < PHASES_PER_GROUP) {
        return plan.down <= LARGEST_STEP_OF_SHORT_PERIODS && lanes >= FEWEST_SHORT_LANES;
    }
    return plan.down <= LARGEST_SEGMENTED_STEP && plan.up <= LONGEST_SEGMENTED_PERIOD && lanes != 0;
}

template <typename V>
uint64_t runKernel(const resample_job &job) {
    alignas(64) double scratch[SCRATCH_DOUBLES];
    const phase_plan plan = makePlan(*job.state);
    const uint64_t periods = job.outputs_per_channel / plan.up;
    if (plan.packed != nullptr) {
        const uint64_t lanes = periods * job.state->channels;
        runPeriods<V>(job, plan, lanes, scratch);
        filterLanesInGroups<V>(job, plan, lanes, lanes + job.state->channels,
                               job.outputs_per_channel % plan.up, scratch);
        return job.outputs_per_channel;
    }
    if (!suitSegments(plan, periods * job.state->channels)) {
        return 0;
    }
    runSegments<V>(job, plan, periods, scratch);
    return periods * plan.up;
}

} // namespace
