#pragma once

#include "resampler/resample_channel.h"
#include "resampler/vector_lanes.h"
#include "resampler/vector_packed.h"

// Shared by the SIMD kernels; internal linkage, see vector_plan.h.
//
// Few lanes: the elements of a vector are neighbouring phases of a group. Up to four lanes share
// each row of coefficients that is read.
//
//     scratch    lane 0: x[0] x[1] x[2] ...      one run of input per lane, RUN apart
//                lane 1: x[0] x[1] x[2] ...
//
//     sums of lane l += row i of the coefficients * lane l's sample i in all elements
namespace {

// What the registers hold at once.
template <typename V, unsigned LANES>
struct group_shape {
    static constexpr unsigned ELEMENTS = SUMS_IN_FLIGHT * V::LANES / LANES; // of one lane
    static constexpr unsigned PHASES = ELEMENTS < PHASES_PER_GROUP ? 4 : PHASES_PER_GROUP;
    static constexpr unsigned VECTORS = PHASES / V::LANES;
    static constexpr unsigned FITTING = SUMS_IN_FLIGHT / VECTORS / LANES;
    static constexpr unsigned MOST = (MOST_GROUPS + LANES - 1) / LANES;
    static constexpr unsigned GROUPS = FITTING < MOST ? FITTING : MOST;
    static constexpr size_t RUN = SCRATCH_DOUBLES / LANES;
};

// Where a pass reads the coefficients and the input of its groups.
template <unsigned GROUPS>
struct group_places {
    uint64_t groups[GROUPS];
    const double *coefficients[GROUPS];
    const double *samples[GROUPS];
};

// GROUPS groups from `group` on; past the window's end, its last group again.
template <unsigned GROUPS>
group_places<GROUPS> placeGroups(const phase_plan &plan, const group_window &window,
                                 const double *scratch, uint64_t group) {
    group_places<GROUPS> places;
    for (unsigned g = 0; g < GROUPS; ++g) {
        places.groups[g] = smaller(group + g, window.end - 1);
        places.coefficients[g] = coefficientsOf(plan, places.groups[g]);
        places.samples[g] = scratch + rowOf(plan, window, places.groups[g]);
    }
    return places;
}

// The sums of a part of each group. Every sum starts at 0.0 and takes its products in input order,
// each rounded before it is added.
template <typename V, unsigned LANES, unsigned GROUPS = group_shape<V, LANES>::GROUPS>
void filterPart(const group_places<GROUPS> &places, const group_part &part,
                int32_t (&sums)[GROUPS][LANES][PHASES_PER_GROUP]) {
    using shape = group_shape<V, LANES>;
    typename V::vector sum[GROUPS][LANES][shape::VECTORS];
    for (auto &of_group : sum) {
        for (auto &of_lane : of_group) {
            for (auto &vector : of_lane) {
                vector = V::zero();
            }
        }
    }
#pragma GCC unroll 4
    for (size_t row = part.begin; row < part.end; ++row) {
        for (unsigned g = 0; g < GROUPS; ++g) {
            const double *coefficients =
                places.coefficients[g] + row * PHASES_PER_GROUP + part.phase;
            typename V::vector factors[shape::VECTORS];
            for (unsigned v = 0; v < shape::VECTORS; ++v) {
                factors[v] = V::load(coefficients + v * V::LANES);
            }
            for (unsigned lane = 0; lane < LANES; ++lane) {
                const auto sample = V::spread(places.samples[g][lane * shape::RUN + row]);
                for (unsigned v = 0; v < shape::VECTORS; ++v) {
                    sum[g][lane][v] = V::add(sum[g][lane][v], V::multiply(factors[v], sample));
                }
            }
        }
    }
    for (unsigned g = 0; g < GROUPS; ++g) {
        for (unsigned lane = 0; lane < LANES; ++lane) {
            for (unsigned v = 0; v < shape::VECTORS; ++v) {
                V::storeSaturated(sums[g][lane] + part.phase + v * V::LANES, sum[g][lane][v]);
            }
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

// The groups of a window.
template <typename V, unsigned LANES>
void filterWindow(const phase_plan &plan, const group_window &window, uint64_t phases,
                  const double *scratch, int32_t *const *outputs) {
    using shape = group_shape<V, LANES>;
    const group_parts<shape::PHASES> parts(plan);
    for (uint64_t group = window.group; group < window.end; group += shape::GROUPS) {
        const auto places = placeGroups<shape::GROUPS>(plan, window, scratch, group);
        alignas(64) int32_t sums[shape::GROUPS][LANES][PHASES_PER_GROUP];
        for (const group_part &part : parts.parts) {
            filterPart<V, LANES>(places, part, sums);
        }
        for (unsigned g = 0; g < shape::GROUPS; ++g) {
            const uint64_t phase = places.groups[g] * PHASES_PER_GROUP;
            for (unsigned lane = 0; lane < LANES; ++lane) {
                storeGroup(sums[g][lane], outputs[lane] + phase, phases - phase);
            }
        }
    }
}

// The first `phases` outputs, at most a period, of LANES lanes.
template <typename V, unsigned LANES>
void filterLanes(const resample_job &job, const phase_plan &plan, uint64_t first_lane,
                 uint64_t phases, double *scratch) {
    constexpr size_t RUN = group_shape<V, LANES>::RUN;
    lane_places<LANES> places;
    placeLanes(job, plan, SINGLE_PERIODS, first_lane, LANES, places);
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
        filterWindow<V, LANES>(plan, window, phases, scratch, places.destinations);
    }
}

template <typename V>
void filterOneLane(const resample_job &job, const phase_plan &plan, uint64_t lane, uint64_t phases,
                   double *scratch) {
    if (plan.group_rows <= MOST_ROWS_OF_ONE_LANE) {
        filterLanes<V, 1>(job, plan, lane, phases, scratch);
        return;
    }
    lane_places<1> places;
    placeLanes(job, plan, SINGLE_PERIODS, lane, 1, places);
    resampleChannel(*job.state, places.sources[0], places.destinations[0],
                    static_cast<uint32_t>(phases));
}

// The same of any number of lanes: as few passes as can be, of equal size if they can be.
template <typename V>
void filterLanesInGroups(const resample_job &job, const phase_plan &plan, uint64_t lane,
                         uint64_t end_lane, uint64_t phases, double *scratch) {
    while (lane < end_lane) {
        const uint64_t left = end_lane - lane;
        const uint64_t passes = (left + 3) / 4;
        const uint64_t lanes = (left + passes - 1) / passes;
        switch (lanes) {
        case 1:
            filterOneLane<V>(job, plan, lane, phases, scratch);
            break;
        case 2:
            filterLanes<V, 2>(job, plan, lane, phases, scratch);
            break;
        case 3:
            filterLanes<V, 3>(job, plan, lane, phases, scratch);
            break;
        default:
            filterLanes<V, 4>(job, plan, lane, phases, scratch);
            break;
        }
        lane += lanes;
    }
}

} // namespace
