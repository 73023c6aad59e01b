#pragma once

#include "resampler/resample_channel.h"
#include "resampler/vector_groups.h"
#include "resampler/vector_rounds.h"
#include "resampler/vector_stretches.h"

// Shared by the vector forms; internal linkage, see vector_phases.h.
//
// A form V is a vector of doubles with NARROWEST, the lanes of the narrowest tile; GROUPS, the
// groups of phases in flight; FEW_LANES, up to which lanes run faster group by group; and
// MOST_GROUP_ROWS, beyond which the zeros among a group's taps cost more than to walk its phases
// one by one.
namespace {

// Without a packed coefficients, fewer lanes than this run faster one after the other: a tile of
// them is mostly empty, or its rounds are too short to pay for the gathering.
template <typename V>
uint64_t fewestTiled(const phase_plan &plan) {
    constexpr uint64_t FEWEST_OF_SHORT_ROUNDS = 12;
    return plan.up < PHASES_PER_GROUP ? FEWEST_OF_SHORT_ROUNDS : V::NARROWEST / 4 + 1;
}

// A tile of WIDTH lanes, or of those left; returns the lanes done.
template <typename V, unsigned WIDTH>
unsigned runTileOf(const resample_job &job, const phase_plan &plan, uint64_t lane, uint64_t left,
                   double *scratch) {
    const auto lanes = static_cast<unsigned>(smaller(left, WIDTH));
    if (plan.packed != nullptr && plan.group_rows <= V::MOST_GROUP_ROWS) {
        filterRoundsInGroups<V, WIDTH>(job, plan, lane, lanes, scratch);
    } else {
        filterRounds<V, WIDTH>(job, plan, lane, lanes, scratch);
    }
    return lanes;
}

// A tile of the width that suits the lanes left; returns the lanes done.
template <typename V>
unsigned runTile(const resample_job &job, const phase_plan &plan, uint64_t lane, uint64_t left,
                 double *scratch) {
    if (left + V::LANES > 16) {
        return runTileOf<V, 16>(job, plan, lane, left, scratch);
    }
    if (left + V::LANES > 8) {
        return runTileOf<V, 8>(job, plan, lane, left, scratch);
    }
    return runTileOf<V, V::NARROWEST>(job, plan, lane, left, scratch);
}

template <typename V>
void runRounds(const resample_job &job, const phase_plan &plan, uint64_t rounds, double *scratch) {
    const uint64_t lanes = rounds * job.state->channels;
    uint64_t lane = 0;
    while (lane < lanes) {
        const uint64_t left = lanes - lane;
        if (plan.packed != nullptr && left <= V::FEW_LANES) {
            filterFewLanes<V>(job, plan, lane, lanes, plan.up, scratch);
            return;
        }
        if (plan.packed == nullptr && left < fewestTiled<V>(plan)) {
            const uint64_t round = lane / job.state->channels;
            const uint64_t channel = lane % job.state->channels;
            resampleChannel(*job.state, job.inputs[channel] + round * plan.down,
                            job.outputs[channel] + round * plan.up, job.state->up_factor);
            ++lane;
            continue;
        }
        lane += runTile<V>(job, plan, lane, left, scratch);
    }
}

// Fewer rounds than this, of all channels, are left to the plain form: most lanes would be empty.
uint64_t fewestStretched(const phase_plan &plan) {
    constexpr uint64_t FEWEST_SHORT_ROUNDS = 4;
    return plan.up < PHASES_PER_GROUP ? FEWEST_SHORT_ROUNDS : 1;
}

template <typename V>
uint64_t runForm(const resample_job &job) {
    alignas(64) double scratch[SCRATCH_DOUBLES];
    const phase_plan plan = makePlan(job);
    const uint64_t rounds = job.outputs_per_channel / plan.up;
    const uint64_t left = job.outputs_per_channel % plan.up;
    if (plan.down <= LARGEST_SEGMENTED_STEP) {
        if (rounds * job.state->channels < fewestStretched(plan)) {
            return 0;
        }
        runStretches<V>(job, plan, rounds, scratch);
        return rounds * plan.up;
    }
    runRounds<V>(job, plan, rounds, scratch);
    if (left == 0 || plan.packed == nullptr) {
        return rounds * plan.up;
    }
    const uint64_t lane = rounds * job.state->channels;
    filterFewLanes<V>(job, plan, lane, lane + job.state->channels, left, scratch);
    return job.outputs_per_channel;
}

} // namespace
