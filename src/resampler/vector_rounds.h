#pragma once

#include "resampler/vector_tile.h"

// Shared by the vector forms; internal linkage, see vector_phases.h.
//
// A round is L outputs, from M input samples and the 40 that overlap the next round. The same
// phase of different rounds and channels shares its coefficients: these are the lanes.
namespace {

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
                  unsigned lanes, double *scratch) {
    constexpr unsigned ROWS = SCRATCH_DOUBLES / WIDTH;
    lane_places<WIDTH> places;
    placeLanes(job, plan, SINGLE_ROUNDS, first_lane, lanes, places);
    phase_cursor cursor = {};
    while (cursor.phase < plan.up) {
        const uint64_t first = cursor.first;
        const uint64_t end =
            smaller(plan.up, (first + ROWS - TAPS_PER_PHASE - 1) * plan.up / plan.down + 1);
        gatherRows<V>(places, first, samplesUnder(plan, end) - first, scratch);
        const lane_tile tile = {scratch, first, places.destinations, lanes};
        filterTile<V, WIDTH>(plan, tile, cursor, end);
    }
}

} // namespace
