#pragma once

#include "resampler/kernel_table.h"
#include "resampler/resample_channels.h"

// Shared by the vector forms. Everything has internal linkage: each instruction set's unit owns
// its copy, compiled for that set.
namespace {

constexpr unsigned TAPS = 40; // of every phase but phase 0, which has one more

// The steps from one output to the next, and where its coefficients stand.
struct phase_plan {
    uint64_t up;
    uint64_t down;
    uint64_t whole_step;        // down / up
    uint64_t part_step;         // down % up
    const double *coefficients; // the kernel table, or the filter itself
    size_t tap_stride;          // from one tap of a phase to its next
    size_t group_size;          // coefficients of a group of phases; 0: the filter itself
};

struct phase_cursor {
    uint64_t phase;       // 0 .. L - 1
    uint64_t first;       // the first input sample under its filter, from the round's start
    uint64_t offset;      // position in the filter of that sample's coefficient, below L
    uint64_t group_first; // `first` of the first phase of its group
};

phase_plan makePlan(const resample_job &job) {
    const resampler_state &state = *job.state;
    phase_plan plan = {};
    plan.up = state.up_factor;
    plan.down = state.down_factor;
    plan.whole_step = plan.down / plan.up;
    plan.part_step = plan.down % plan.up;
    if (job.kernel_table != nullptr) {
        plan.coefficients = job.kernel_table;
        plan.tap_stride = PHASES_PER_GROUP;
        plan.group_size = kernelTableRows(plan.up, plan.down) * PHASES_PER_GROUP;
    } else {
        plan.coefficients = state.filter;
        plan.tap_stride = state.up_factor;
    }
    return plan;
}

uint64_t firstSampleOf(const phase_plan &plan, uint64_t phase) {
    return (phase * plan.down + plan.up - 1) / plan.up;
}

// Input samples that the first `phases` outputs of a round span, from the round's start.
uint64_t samplesUnder(const phase_plan &plan, uint64_t phases) {
    const uint64_t end = firstSampleOf(plan, phases - 1) + TAPS;
    return end > TAPS ? end : end + 1;
}

void advance(const phase_plan &plan, phase_cursor &cursor) {
    ++cursor.phase;
    cursor.first += plan.whole_step;
    if (cursor.offset >= plan.part_step) {
        cursor.offset -= plan.part_step;
    } else {
        cursor.offset += plan.up - plan.part_step;
        ++cursor.first;
    }
    if (cursor.phase % PHASES_PER_GROUP == 0) {
        cursor.group_first = cursor.first;
    }
}

const double *coefficientsOf(const phase_plan &plan, const phase_cursor &cursor) {
    if (plan.group_size == 0) {
        return plan.coefficients + cursor.offset;
    }
    const uint64_t row = cursor.first - cursor.group_first;
    return plan.coefficients + cursor.phase / PHASES_PER_GROUP * plan.group_size +
           row * PHASES_PER_GROUP + cursor.phase % PHASES_PER_GROUP;
}

uint64_t smaller(uint64_t a, uint64_t b) {
    return a < b ? a : b;
}

} // namespace
