#pragma once

#include "resampler/vector_plan.h"

// Shared by the SIMD kernels; internal linkage, see vector_plan.h.
//
// Packed coefficients, and the input that a run of groups spans.
namespace {

static_assert(SCRATCH_DOUBLES / WIDE_TILE >= MOST_PACKED_ROWS, "room for the rows of a group");

// The groups whose input the scratch holds at once. Rows behind the last output's input meet
// coefficients of zero alone: zeros stand there.
struct group_window {
    uint64_t group;     // the first
    uint64_t end;       // the group behind the last
    uint64_t first_row; // input sample, from the period's start
    uint64_t rows;
    uint64_t held_rows; // those with input
};

// From `group` on, as many groups as `capacity` rows hold.
group_window openWindow(const phase_plan &plan, uint64_t group, uint64_t phases,
                        uint64_t capacity) {
    const uint64_t groups = (phases + PHASES_PER_GROUP - 1) / PHASES_PER_GROUP;
    const uint64_t first = firstSampleOf(plan, group * PHASES_PER_GROUP);
    const uint64_t reach = (first + capacity - plan.group_rows) * plan.up / plan.down;
    const uint64_t end = smaller(groups, reach / PHASES_PER_GROUP + 1);
    const uint64_t rows =
        firstSampleOf(plan, (end - 1) * PHASES_PER_GROUP) + plan.group_rows - first;
    return {group, end, first, rows, smaller(rows, samplesUnder(plan, phases) - first)};
}

// Rows of the window in front of a group's first.
uint64_t rowOf(const phase_plan &plan, const group_window &window, uint64_t group) {
    return firstSampleOf(plan, group * PHASES_PER_GROUP) - window.first_row;
}

const double *coefficientsOf(const phase_plan &plan, uint64_t group) {
    return plan.packed + group * plan.group_rows * PHASES_PER_GROUP;
}

// A part of a group: some neighbouring phases, and the rows in which they have coefficients.
struct group_part {
    unsigned phase; // the first
    size_t begin;   // row
    size_t end;
};

// In every group a phase starts phase * M / L rows down, rounded up or down.
template <unsigned PHASES>
struct group_parts {
    group_part parts[PHASES_PER_GROUP / PHASES];

    explicit group_parts(const phase_plan &plan) {
        for (unsigned first = 0; first < PHASES_PER_GROUP; first += PHASES) {
            // Phase 0 has a tap more, which shows when it stands alone.
            const uint64_t taps = first == 0 ? TAPS_PER_PHASE + 1 : TAPS_PER_PHASE;
            const uint64_t last = firstSampleOf(plan, first + PHASES - 1);
            parts[first / PHASES] = {first, first * plan.down / plan.up,
                                     smaller(last + taps, plan.group_rows)};
        }
    }
};

} // namespace
