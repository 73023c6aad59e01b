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

// What the phases of GROUPS groups make of LANES lanes.
template <typename V, unsigned LANES, unsigned GROUPS, unsigned PART>
void filterGroups(const phase_plan &plan, const group_window &window, const phase_rows *parts,
                  const double *scratch, uint64_t group, int32_t *const *outputs, uint64_t phases) {
    constexpr unsigned VECTORS = PART / V::LANES;
    constexpr size_t RUN = SCRATCH_DOUBLES / LANES;
    const double *table[GROUPS];
    const double *samples[GROUPS];
    uint64_t numbers[GROUPS];
    for (unsigned g = 0; g < GROUPS; ++g) {
        numbers[g] = smaller(group + g, window.end - 1);
        table[g] = tableOf(plan, numbers[g]);
        samples[g] = scratch + rowOf(plan, window, numbers[g]);
    }
    alignas(64) int32_t sums[GROUPS][LANES][PHASES_PER_GROUP];
    for (unsigned part = 0; part < PHASES_PER_GROUP; part += PART) {
        typename V::vector sum[GROUPS][LANES][VECTORS];
        for (unsigned g = 0; g < GROUPS; ++g) {
            for (unsigned lane = 0; lane < LANES; ++lane) {
                for (unsigned v = 0; v < VECTORS; ++v) {
                    sum[g][lane][v] = V::zero();
                }
            }
        }
        const size_t end = parts[part / PART].end;
#pragma GCC unroll 4
        for (size_t row = parts[part / PART].begin; row < end; ++row) {
            for (unsigned g = 0; g < GROUPS; ++g) {
                const double *row_taps = table[g] + row * PHASES_PER_GROUP + part;
                typename V::vector taps[VECTORS];
                for (unsigned v = 0; v < VECTORS; ++v) {
                    taps[v] = V::load(row_taps + v * V::LANES);
                }
                for (unsigned lane = 0; lane < LANES; ++lane) {
                    const typename V::vector sample = V::spread(samples[g][lane * RUN + row]);
                    for (unsigned v = 0; v < VECTORS; ++v) {
                        sum[g][lane][v] = V::add(sum[g][lane][v], V::multiply(taps[v], sample));
                    }
                }
            }
        }
        for (unsigned g = 0; g < GROUPS; ++g) {
            for (unsigned lane = 0; lane < LANES; ++lane) {
                for (unsigned v = 0; v < VECTORS; ++v) {
                    V::storeSaturated(sums[g][lane] + part + v * V::LANES, sum[g][lane][v]);
                }
            }
        }
    }
    for (unsigned g = 0; g < GROUPS; ++g) {
        const uint64_t phase = numbers[g] * PHASES_PER_GROUP;
        for (unsigned lane = 0; lane < LANES; ++lane) {
            storeGroup(sums[g][lane], outputs[lane] + phase, phases - phase);
        }
    }
}

// LANES lanes' first `phases` outputs, at most a round.
template <typename V, unsigned LANES>
void filterLanes(const resample_job &job, const phase_plan &plan, uint64_t first_lane,
                 uint64_t phases, double *scratch) {
    constexpr size_t RUN = SCRATCH_DOUBLES / LANES;
    constexpr unsigned PART = V::PART[LANES - 1];
    constexpr unsigned GROUPS = V::GROUPS[LANES - 1];
    lane_places<LANES> places;
    placeLanes(job, plan, SINGLE_ROUNDS, first_lane, LANES, places);
    phase_rows parts[PHASES_PER_GROUP / PART];
    for (unsigned p = 0; p < PHASES_PER_GROUP; p += PART) {
        parts[p / PART] = rowsOfPhases(plan, p, p + PART - 1);
    }
    group_window window = {};
    while (window.end * PHASES_PER_GROUP < phases) {
        window = openWindow(plan, window.end, phases, RUN);
        for (unsigned lane = 0; lane < LANES; ++lane) {
            double *run = scratch + lane * RUN;
            convertRun<V>(places.sources[lane] + window.first_row, window.held_rows, run);
            for (uint64_t row = window.held_rows; row < window.rows; ++row) {
                run[row] = 0.0;
            }
        }
        for (uint64_t group = window.group; group < window.end; group += GROUPS) {
            filterGroups<V, LANES, GROUPS, PART>(plan, window, parts, scratch, group,
                                                 places.destinations, phases);
        }
    }
}

// Lanes first_lane .. end_lane - 1.
template <typename V>
void filterFewLanes(const resample_job &job, const phase_plan &plan, uint64_t lane,
                    uint64_t end_lane, uint64_t phases, double *scratch) {
    while (lane < end_lane) {
        const uint64_t left = end_lane - lane;
        if (left == 4 || left > 5) {
            filterLanes<V, 4>(job, plan, lane, phases, scratch);
            lane += 4;
        } else if (left >= 3) {
            filterLanes<V, 3>(job, plan, lane, phases, scratch);
            lane += 3;
        } else if (left == 2) {
            filterLanes<V, 2>(job, plan, lane, phases, scratch);
            lane += 2;
        } else {
            filterLanes<V, 1>(job, plan, lane, phases, scratch);
            ++lane;
        }
    }
}

} // namespace
