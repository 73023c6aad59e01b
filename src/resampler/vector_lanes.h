#pragma once

#include "resampler/vector_plan.h"
#include "simd/vector_transpose.h"

// Shared by the SIMD kernels; internal linkage, see vector_plan.h.
namespace {

// Where the lanes of a vector come from and go to.
template <unsigned WIDTH>
struct lane_places {
    const int32_t *sources[WIDTH];
    int32_t *destinations[WIDTH];
};

// Lanes number the segments of all channels, channels first: lane = segment * channels + channel.
// A segment is `length` periods; those that would begin behind `last_period` begin there.
struct lane_numbering {
    uint64_t length;
    uint64_t last_period;
};

// Every period a lane.
constexpr lane_numbering SINGLE_PERIODS = {1, UINT64_MAX};

// Lanes beyond those wanted repeat the last one; their sums are dropped.
template <unsigned WIDTH>
void placeLanes(const resample_job &job, const phase_plan &plan, const lane_numbering &numbering,
                uint64_t first_lane, unsigned lanes, lane_places<WIDTH> &places) {
    uint64_t segment = first_lane / job.state->channels;
    uint64_t channel = first_lane % job.state->channels;
    for (unsigned lane = 0; lane < WIDTH; ++lane) {
        const uint64_t period = smaller(segment * numbering.length, numbering.last_period);
        places.sources[lane] = job.inputs[channel] + period * plan.down;
        places.destinations[lane] = job.outputs[channel] + period * plan.up;
        if (lane + 1 < lanes && ++channel == job.state->channels) {
            channel = 0;
            ++segment;
        }
    }
}

// Input samples [first, first + rows) of every lane, counted from its start: one row of the
// scratch for each.
template <typename V, unsigned WIDTH>
void gatherRows(const lane_places<WIDTH> &places, uint64_t first, uint64_t rows, double *scratch) {
    for (unsigned lane = 0; lane < WIDTH; lane += 4) {
        const int32_t *const *sources = places.sources + lane;
        const int32_t *const from[4] = {sources[0] + first, sources[1] + first, sources[2] + first,
                                        sources[3] + first};
        gatherFour<V>(from, rows, scratch + lane, WIDTH);
    }
}

} // namespace
