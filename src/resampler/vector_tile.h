#pragma once

#include "resampler/vector_phases.h"
#include "resampler/vector_transpose.h"

// Shared by the vector forms; internal linkage, see vector_phases.h.
namespace {

// The one scratch of a call, in its outermost frame; 40 KiB, which a first-level cache holds.
constexpr unsigned SCRATCH_DOUBLES = 5120;
constexpr unsigned SUMS_PER_CHUNK = 1024;
constexpr unsigned SUMS_IN_FLIGHT = 8; // vectors; enough to hide the latency of an addition

// Where the lanes of a tile come from and go to. Lanes number all rounds of all channels,
// channels first: lane = round * channels + channel.
template <unsigned WIDTH>
struct lane_places {
    const int32_t *sources[WIDTH];
    int32_t *destinations[WIDTH];
};

// Lanes beyond those wanted repeat the last one; their sums are dropped.
template <unsigned WIDTH>
void placeLanes(const resample_job &job, const phase_plan &plan, uint64_t first_lane,
                unsigned lanes, lane_places<WIDTH> &places) {
    for (unsigned lane = 0; lane < WIDTH; ++lane) {
        const uint64_t number = first_lane + smaller(lane, lanes - 1);
        const uint64_t round = number / job.state->channels;
        const uint64_t channel = number % job.state->channels;
        places.sources[lane] = job.inputs[channel] + round * plan.down;
        places.destinations[lane] = job.outputs[channel] + round * plan.up;
    }
}

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
// at samples[offsets[i - first_row] + l].
struct lane_tile {
    const double *samples;
    const uint32_t *offsets;
    uint64_t first_row;
    int32_t *const *destinations; // per lane, the place of phase 0
    unsigned lanes;               // how many are wanted, of the tile's width
};

// The sums of neighbouring phases, all lanes of the tile: one row of `sums` per phase. Every sum
// starts at 0.0 and takes its products in input order, each rounded before it is added.
template <typename V, unsigned WIDTH, unsigned PHASES>
void filterPhases(const phase_plan &plan, const lane_tile &tile, phase_cursor &cursor,
                  unsigned taps, int32_t *sums) {
    constexpr unsigned VECTORS = WIDTH / V::LANES;
    const double *coefficients[PHASES];
    const uint32_t *offsets[PHASES];
    typename V::vector sum[PHASES][VECTORS];
    for (unsigned p = 0; p < PHASES; ++p) {
        coefficients[p] = plan.filter + cursor.offset;
        offsets[p] = tile.offsets + (cursor.first - tile.first_row);
        advance(plan, cursor);
        for (unsigned v = 0; v < VECTORS; ++v) {
            sum[p][v] = V::zero();
        }
    }
    for (unsigned tap = 0; tap < taps; ++tap) {
        for (unsigned p = 0; p < PHASES; ++p) {
            const typename V::vector coefficient = V::spread(coefficients[p][tap * plan.up]);
            const double *row = tile.samples + offsets[p][tap];
            for (unsigned v = 0; v < VECTORS; ++v) {
                sum[p][v] =
                    V::add(sum[p][v], V::multiply(V::load(row + v * V::LANES), coefficient));
            }
        }
    }
    for (unsigned p = 0; p < PHASES; ++p) {
        for (unsigned v = 0; v < VECTORS; ++v) {
            V::storeSaturated(sums + p * WIDTH + v * V::LANES, sum[p][v]);
        }
    }
}

// `count` phases from the cursor on, one row of `sums` each.
template <typename V, unsigned WIDTH>
void filterChunk(const phase_plan &plan, const lane_tile &tile, phase_cursor &cursor,
                 uint64_t count, int32_t *sums) {
    constexpr unsigned PHASES = SUMS_IN_FLIGHT * V::LANES / WIDTH;
    uint64_t done = 0;
    if (cursor.phase == 0) {
        filterPhases<V, WIDTH, 1>(plan, tile, cursor, TAPS + 1, sums);
        done = 1;
    }
    for (; done + PHASES <= count; done += PHASES) {
        filterPhases<V, WIDTH, PHASES>(plan, tile, cursor, TAPS, sums + done * WIDTH);
    }
    for (; done < count; ++done) {
        filterPhases<V, WIDTH, 1>(plan, tile, cursor, TAPS, sums + done * WIDTH);
    }
}

// All phases from the cursor's to `end`, in chunks that leave through `scatter`.
template <typename V, unsigned WIDTH>
void filterTile(const phase_plan &plan, const lane_tile &tile, phase_cursor &cursor, uint64_t end) {
    alignas(64) int32_t sums[SUMS_PER_CHUNK];
    while (cursor.phase < end) {
        const uint64_t phase = cursor.phase;
        const uint64_t count = smaller(SUMS_PER_CHUNK / WIDTH, end - phase);
        filterChunk<V, WIDTH>(plan, tile, cursor, count, sums);
        scatter(sums, WIDTH, count, tile.destinations, tile.lanes, phase);
    }
}

} // namespace
