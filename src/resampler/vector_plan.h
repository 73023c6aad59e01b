#pragma once

#include "resampler/packed_coefficients.h"
#include "resampler/resample_channels.h"
#include "resampler/strategy.h"

// Shared by the SIMD kernels. Everything has internal linkage: each instruction set's unit owns
// its copy, compiled for that set.
namespace {

// The steps from one output to the next, and where its coefficients stand.
struct phase_plan {
    uint64_t up;
    uint64_t down;
    uint64_t whole_step; // down / up
    uint64_t part_step;  // down % up
    const double *filter;
    const double *packed; // coefficients, or null
    size_t group_rows;    // of packed coefficients; 0 without
};

phase_plan makePlan(const resampler_state &state) {
    phase_plan plan = {};
    plan.up = state.up_factor;
    plan.down = state.down_factor;
    plan.whole_step = plan.down / plan.up;
    plan.part_step = plan.down % plan.up;
    plan.filter = state.filter;
    plan.packed = state.packed;
    plan.group_rows = state.packed_rows;
    return plan;
}

uint64_t smaller(uint64_t a, uint64_t b) {
    return a < b ? a : b;
}

// The first input sample under a phase's filter, from the period's start.
uint64_t firstSampleOf(const phase_plan &plan, uint64_t phase) {
    return (phase * plan.down + plan.up - 1) / plan.up;
}

// Input samples that the first `phases` outputs of a period span, from the period's start.
uint64_t samplesUnder(const phase_plan &plan, uint64_t phases) {
    const uint64_t end = firstSampleOf(plan, phases - 1) + TAPS_PER_PHASE;
    return end > TAPS_PER_PHASE ? end : end + 1; // phase 0 alone: its filter has a 41st tap
}

} // namespace
