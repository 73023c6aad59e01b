#pragma once

#include "resampler/vector_tile.h"

// Shared by the vector forms; internal linkage, see vector_phases.h.
//
// Forms that read the packed coefficients's rows whole, a group of eight phases at a time.
namespace {

// The groups whose input the scratch holds at once. The rows past the last output's, which no
// input need stand behind, meet coefficients of zero alone; they are zeros.
struct group_window {
    uint64_t group;     // the first
    uint64_t end;       // the group behind the last
    uint64_t first_row; // input sample, from the round's start
    uint64_t rows;
    uint64_t held_rows; // those with input
};

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

const double *tableOf(const phase_plan &plan, uint64_t group) {
    return plan.packed + group * plan.group_rows * PHASES_PER_GROUP;
}

// Rows of the window in front of a group's first.
uint64_t rowOf(const phase_plan &plan, const group_window &window, uint64_t group) {
    return firstSampleOf(plan, group * PHASES_PER_GROUP) - window.first_row;
}

// PHASES phases of a group, all lanes of a tile: one row of `sums` per phase.
template <typename V, unsigned WIDTH, unsigned PHASES>
void filterGroupPhases(const double *table, const double *samples, size_t rows, int32_t *sums) {
    constexpr unsigned VECTORS = WIDTH / V::LANES;
    typename V::vector sum[PHASES][VECTORS];
    for (unsigned p = 0; p < PHASES; ++p) {
        for (unsigned v = 0; v < VECTORS; ++v) {
            sum[p][v] = V::zero();
        }
    }
#pragma GCC unroll 4
    for (size_t row = 0; row < rows; ++row) {
        typename V::vector sample[VECTORS];
        for (unsigned v = 0; v < VECTORS; ++v) {
            sample[v] = V::load(samples + row * WIDTH + v * V::LANES);
        }
        for (unsigned p = 0; p < PHASES; ++p) {
            const typename V::vector coefficient = V::spread(table[row * PHASES_PER_GROUP + p]);
            for (unsigned v = 0; v < VECTORS; ++v) {
                sum[p][v] = V::add(sum[p][v], V::multiply(sample[v], coefficient));
            }
        }
    }
    for (unsigned p = 0; p < PHASES; ++p) {
        for (unsigned v = 0; v < VECTORS; ++v) {
            V::storeSaturated(sums + p * WIDTH + v * V::LANES, sum[p][v]);
        }
    }
}

// The rows of a group in which its phases first .. last have coefficients: in every group a phase
// starts phase * M / L rows down, rounded up or down.
struct phase_rows {
    uint64_t begin;
    uint64_t end;
};

phase_rows rowsOfPhases(const phase_plan &plan, uint64_t first, uint64_t last) {
    // Phase 0 has a tap more, which shows when it stands alone.
    const uint64_t taps = first == 0 ? TAPS_PER_PHASE + 1 : TAPS_PER_PHASE;
    return {first * plan.down / plan.up,
            smaller(firstSampleOf(plan, last) + taps, plan.group_rows)};
}

// Whole rounds; lanes are rounds and channels. The scratch holds one row of all lanes for every
// input sample.
template <typename V, unsigned WIDTH>
void filterRoundsInGroups(const resample_job &job, const phase_plan &plan, uint64_t first_lane,
                          unsigned lanes, double *scratch) {
    constexpr unsigned PHASES = SUMS_IN_FLIGHT * V::LANES / WIDTH;
    lane_places<WIDTH> places;
    placeLanes(job, plan, SINGLE_ROUNDS, first_lane, lanes, places);
    phase_rows rows[PHASES_PER_GROUP / PHASES];
    for (unsigned p = 0; p < PHASES_PER_GROUP; p += PHASES) {
        rows[p / PHASES] = rowsOfPhases(plan, p, p + PHASES - 1);
    }
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
                const auto [begin, end] = rows[p / PHASES];
                filterGroupPhases<V, WIDTH, PHASES>(
                    tableOf(plan, group) + begin * PHASES_PER_GROUP + p, samples + begin * WIDTH,
                    end - begin, sums + p * WIDTH);
            }
            const uint64_t phase = group * PHASES_PER_GROUP;
            scatter(sums, WIDTH, smaller(PHASES_PER_GROUP, plan.up - phase), places.destinations,
                    lanes, phase);
        }
    }
}

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

// One channel's GROUPS groups from `group` on, lanes being the phases; past the window's end, its
// last group again.
template <typename V, unsigned GROUPS>
void filterGroups(const phase_plan &plan, const group_window &window, const double *scratch,
                  uint64_t group, int32_t *output, uint64_t phases) {
    constexpr unsigned VECTORS = PHASES_PER_GROUP / V::LANES;
    const double *table[GROUPS];
    const double *samples[GROUPS];
    uint64_t numbers[GROUPS];
    typename V::vector sum[GROUPS][VECTORS];
    for (unsigned g = 0; g < GROUPS; ++g) {
        numbers[g] = smaller(group + g, window.end - 1);
        table[g] = tableOf(plan, numbers[g]);
        samples[g] = scratch + rowOf(plan, window, numbers[g]);
        for (unsigned v = 0; v < VECTORS; ++v) {
            sum[g][v] = V::zero();
        }
    }
#pragma GCC unroll 4
    for (size_t row = 0; row < plan.group_rows; ++row) {
        for (unsigned g = 0; g < GROUPS; ++g) {
            const typename V::vector sample = V::spread(samples[g][row]);
            const double *taps = table[g] + row * PHASES_PER_GROUP;
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
    group_window window = {};
    while (window.end * PHASES_PER_GROUP < phases) {
        window = openWindow(plan, window.end, phases, SCRATCH_DOUBLES);
        convertRun<V>(input + window.first_row, window.held_rows, scratch);
        for (uint64_t row = window.held_rows; row < window.rows; ++row) {
            scratch[row] = 0.0;
        }
        for (uint64_t group = window.group; group < window.end; group += V::GROUPS) {
            filterGroups<V, V::GROUPS>(plan, window, scratch, group, output, phases);
        }
    }
}

} // namespace
