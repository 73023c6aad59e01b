#pragma once

#include "resampler/vector_tile.h"

// Shared by the vector forms; internal linkage, see vector_phases.h.
//
// Few rounds and channels: the lanes are the eight outputs of a group of phases, which read the
// kernel table's rows whole.
namespace {

// Rows of input, as doubles, that the groups of a window span.
struct group_window {
    double *samples;
    uint64_t first_row;
    uint64_t end; // the group behind the last
};

void storeGroup(const int32_t (&sums)[PHASES_PER_GROUP], int32_t *output, uint64_t phases) {
    if (phases >= PHASES_PER_GROUP) {
        storeFour(output, loadFour(sums));
        storeFour(output + 4, loadFour(sums + 4));
        return;
    }
    for (uint64_t p = 0; p < phases; ++p) {
        output[p] = sums[p];
    }
}

// GROUPS groups from `group` on; past the window's end, its last group again.
template <typename V, unsigned GROUPS>
void filterGroups(const phase_plan &plan, const group_window &window, uint64_t group,
                  int32_t *output, uint64_t phases) {
    constexpr unsigned VECTORS = PHASES_PER_GROUP / V::LANES;
    const double *coefficients[GROUPS];
    const double *samples[GROUPS];
    uint64_t numbers[GROUPS];
    typename V::vector sum[GROUPS][VECTORS];
    for (unsigned g = 0; g < GROUPS; ++g) {
        numbers[g] = smaller(group + g, window.end - 1);
        coefficients[g] = plan.coefficients + numbers[g] * plan.group_size;
        samples[g] = window.samples +
                     (firstSampleOf(plan, numbers[g] * PHASES_PER_GROUP) - window.first_row);
        for (unsigned v = 0; v < VECTORS; ++v) {
            sum[g][v] = V::zero();
        }
    }
    const size_t rows = plan.group_size / PHASES_PER_GROUP;
    for (size_t row = 0; row < rows; ++row) {
        for (unsigned g = 0; g < GROUPS; ++g) {
            const typename V::vector sample = V::spread(samples[g][row]);
            const double *taps = coefficients[g] + row * PHASES_PER_GROUP;
            for (unsigned v = 0; v < VECTORS; ++v) {
                sum[g][v] = V::add(sum[g][v], V::multiply(V::load(taps + v * V::LANES), sample));
            }
        }
    }
    for (unsigned g = 0; g < GROUPS; ++g) {
        int32_t sums[PHASES_PER_GROUP];
        for (unsigned v = 0; v < VECTORS; ++v) {
            V::storeSaturated(sums + v * V::LANES, sum[g][v]);
        }
        const uint64_t phase = numbers[g] * PHASES_PER_GROUP;
        storeGroup(sums, output + phase, phases - phase);
    }
}

// One channel's next `phases` outputs, at most a round, from phase 0 on.
template <typename V>
void filterPartOfRound(const phase_plan &plan, const int32_t *input, int32_t *output,
                       uint64_t phases, double *scratch) {
    const uint64_t group_rows = plan.group_size / PHASES_PER_GROUP;
    const uint64_t groups = (phases + PHASES_PER_GROUP - 1) / PHASES_PER_GROUP;
    const uint64_t available = samplesUnder(plan, phases);
    group_window window = {scratch, 0, 0};
    for (uint64_t group = 0; group < groups; group = window.end) {
        // 1. As many groups as the scratch holds rows for.
        const uint64_t first = firstSampleOf(plan, group * PHASES_PER_GROUP);
        const uint64_t reach = (first + SCRATCH_DOUBLES - group_rows) * plan.up / plan.down;
        window.first_row = first;
        window.end = smaller(groups, reach / PHASES_PER_GROUP + 1);
        // 2. Their input; the rows past the last output's are met by zero coefficients alone.
        const uint64_t rows =
            firstSampleOf(plan, (window.end - 1) * PHASES_PER_GROUP) + group_rows - first;
        const uint64_t held = smaller(rows, available - first);
        convertRun<V>(input + first, held, window.samples);
        for (uint64_t row = held; row < rows; ++row) {
            window.samples[row] = 0.0;
        }
        // 3. Their outputs.
        for (uint64_t g = group; g < window.end; g += V::GROUPS) {
            filterGroups<V, V::GROUPS>(plan, window, g, output, phases);
        }
    }
}

} // namespace
