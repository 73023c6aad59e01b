#pragma once

#include "resampler/vector_phases.h"
#include "simd/vector_transpose.h"

// Shared by the vector forms; internal linkage, see vector_phases.h.
namespace {

// The one scratch of a call, in its outermost frame; 40 KiB, which a first-level cache holds.
constexpr unsigned SCRATCH_DOUBLES = 5120;
constexpr unsigned SUMS_PER_CHUNK = 1024;
constexpr unsigned SUMS_IN_FLIGHT = 8; // vectors; enough to hide the latency of an addition

// Where the lanes of a tile come from and go to.
template <unsigned WIDTH>
struct lane_places {
    const int32_t *sources[WIDTH];
    int32_t *destinations[WIDTH];
};

// Lanes number the stretches of all channels, channels first: lane = stretch * channels + channel.
// A stretch is `length` rounds; those that would begin behind `last_round` begin there.
struct lane_numbering {
    uint64_t length;
    uint64_t last_round;
};

// Lanes beyond those wanted repeat the last one; their sums are dropped.
template <unsigned WIDTH>
void placeLanes(const resample_job &job, const phase_plan &plan, const lane_numbering &numbering,
                uint64_t first_lane, unsigned lanes, lane_places<WIDTH> &places) {
    uint64_t stretch = first_lane / job.state->channels;
    uint64_t channel = first_lane % job.state->channels;
    for (unsigned lane = 0; lane < WIDTH; ++lane) {
        const uint64_t round = smaller(stretch * numbering.length, numbering.last_round);
        places.sources[lane] = job.inputs[channel] + round * plan.down;
        places.destinations[lane] = job.outputs[channel] + round * plan.up;
        if (lane + 1 < lanes && ++channel == job.state->channels) {
            channel = 0;
            ++stretch;
        }
    }
}

// Every round a lane.
constexpr lane_numbering SINGLE_ROUNDS = {1, UINT64_MAX};

// Input samples [first, first + rows) of every lane, counted from its round's start: one row of
// the scratch for each.
template <typename V, unsigned WIDTH>
void gatherRows(const lane_places<WIDTH> &places, uint64_t first, uint64_t rows, double *scratch) {
    for (unsigned lane = 0; lane < WIDTH; lane += 4) {
        const int32_t *const *sources = places.sources + lane;
        const int32_t *const from[4] = {sources[0] + first, sources[1] + first, sources[2] + first,
                                        sources[3] + first};
        gatherFour<V>(from, rows, scratch + lane, WIDTH);
    }
}

// Rounds of outputs side by side. Lane l of input row i, counted from its round's start, stands
// at samples[(i - first_row) * WIDTH + l].
struct lane_tile {
    const double *samples;
    uint64_t first_row;
    int32_t *const *destinations; // per lane, the place of phase 0
    unsigned lanes;               // how many are wanted, of the tile's width
};

// One input row, times one coefficient, onto the sums.
template <typename V, unsigned VECTORS>
void addProducts(typename V::vector (&sums)[VECTORS], const double *row, double coefficient) {
    const typename V::vector factor = V::spread(coefficient);
    for (unsigned v = 0; v < VECTORS; ++v) {
        sums[v] = V::add(sums[v], V::multiply(V::load(row + v * V::LANES), factor));
    }
}

// The sums of neighbouring phases, all lanes of the tile: one row of `sums` per phase. Every sum
// starts at 0.0 and takes its products in input order, each rounded before it is added.
template <typename V, unsigned WIDTH, unsigned PHASES>
void filterPhases(const phase_plan &plan, const lane_tile &tile, phase_cursor &cursor,
                  int32_t *sums) {
    constexpr unsigned VECTORS = WIDTH / V::LANES;
    const double *coefficients[PHASES];
    const double *rows[PHASES];
    typename V::vector sum[PHASES][VECTORS];
    for (unsigned p = 0; p < PHASES; ++p) {
        coefficients[p] = plan.filter + cursor.offset;
        rows[p] = tile.samples + (cursor.first - tile.first_row) * WIDTH;
        for (unsigned v = 0; v < VECTORS; ++v) {
            sum[p][v] = V::zero();
        }
        // 1. The one tap that phase 0 has more than the others.
        if (p == 0 && cursor.phase == 0) {
            addProducts<V, VECTORS>(sum[p], rows[p], *coefficients[p]);
            coefficients[p] += plan.up;
            rows[p] += WIDTH;
        }
        advance(plan, cursor);
    }
    // 2. The 40 that all have. Unrolled, or counting the taps competes with the arithmetic.
#pragma GCC unroll 4
    for (unsigned tap = 0; tap < TAPS_PER_PHASE; ++tap) {
        for (unsigned p = 0; p < PHASES; ++p) {
            addProducts<V, VECTORS>(sum[p], rows[p] + tap * WIDTH, coefficients[p][tap * plan.up]);
        }
    }
    for (unsigned p = 0; p < PHASES; ++p) {
        for (unsigned v = 0; v < VECTORS; ++v) {
            V::storeSaturated(sums + p * WIDTH + v * V::LANES, sum[p][v]);
        }
    }
}

// All phases from the cursor's to `end`, in chunks that leave through `scatter`.
template <typename V, unsigned WIDTH>
void filterTile(const phase_plan &plan, const lane_tile &tile, phase_cursor &cursor, uint64_t end) {
    constexpr unsigned PHASES = SUMS_IN_FLIGHT * V::LANES / WIDTH;
    alignas(64) int32_t sums[SUMS_PER_CHUNK];
    while (cursor.phase < end) {
        const uint64_t phase = cursor.phase;
        const uint64_t count = smaller(SUMS_PER_CHUNK / WIDTH, end - phase);
        uint64_t done = 0;
        for (; done + PHASES <= count; done += PHASES) {
            filterPhases<V, WIDTH, PHASES>(plan, tile, cursor, sums + done * WIDTH);
        }
        for (; done < count; ++done) {
            filterPhases<V, WIDTH, 1>(plan, tile, cursor, sums + done * WIDTH);
        }
        scatter(sums, WIDTH, count, tile.destinations, tile.lanes, phase);
    }
}

} // namespace
