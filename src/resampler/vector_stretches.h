#pragma once

#include "resampler/vector_tile.h"

// Shared by the vector forms; internal linkage, see vector_phases.h.
//
// Small M: a channel's rounds are cut into stretches of equal length S, and the lanes are
// stretches.
//
//              lane 0     lane 1       lane 2    ...
//     row 0    x[0]       x[S M]       x[2 S M]        S rounds to a stretch, M samples to a round:
//     row 1    x[1]       x[S M + 1]   x[2 S M + 1]    round n of every stretch begins in row n M
//     ...
//
// The same phase of consecutive rounds shares its coefficients; each lies M rows further down.
namespace {

constexpr unsigned TILE_STRETCHES = 8; // lanes
constexpr unsigned TILE_STRETCHES_LOG2 = 3;
static_assert(TILE_STRETCHES == 1 << TILE_STRETCHES_LOG2);
constexpr uint64_t STRETCH_ROWS = SCRATCH_DOUBLES / TILE_STRETCHES;
constexpr uint64_t CHUNK_ROWS = SUMS_PER_CHUNK / TILE_STRETCHES;

// How the rounds of every channel are cut.
struct stretch_cut {
    uint64_t length;    // rounds of a stretch
    uint64_t stretches; // of one channel
};

// Input samples that a stretch spans.
uint64_t stretchRows(const phase_plan &plan, uint64_t length) {
    return (length - 1) * plan.down + samplesUnderRound(plan);
}

// The length at which the stretches of all channels fill whole tiles, if there are rounds enough,
// and are short enough for the scratch.
uint64_t lengthForTiles(const phase_plan &plan, unsigned channels, uint64_t rounds) {
    unsigned shift = TILE_STRETCHES_LOG2;
    while (shift > 0 && (channels << (shift - 1)) % TILE_STRETCHES == 0) {
        --shift;
    }
    const uint64_t length = ((rounds - 1) >> shift) + 1;
    if (stretchRows(plan, length) <= STRETCH_ROWS) {
        return length;
    }
    const uint64_t longest = (STRETCH_ROWS - samplesUnderRound(plan)) / plan.down + 1;
    const uint64_t stretches = ((length - 1) / longest + 1) << shift;
    return (rounds - 1) / stretches + 1;
}

// The length to take instead of one below V::LANES rounds, which would leave few sums in flight to
// hide the latency of an addition: a power of two, the next or a higher one if that saves a tile.
template <typename V>
uint64_t lengthForBlock(uint64_t length, unsigned channels, uint64_t rounds) {
    const auto last_tile = [&](uint64_t rounds_each) {
        return (((rounds - 1) / rounds_each + 1) * channels - 1) / TILE_STRETCHES;
    };
    uint64_t filled = 1;
    while (filled < length) {
        filled *= 2;
    }
    if (filled > rounds) {
        return length;
    }
    while (filled < V::LANES && 2 * filled <= rounds && last_tile(2 * filled) < last_tile(filled)) {
        filled *= 2;
    }
    return filled;
}

template <typename V>
stretch_cut cutRounds(const phase_plan &plan, unsigned channels, uint64_t rounds) {
    uint64_t length = lengthForTiles(plan, channels, rounds);
    if (length < V::LANES) {
        length = lengthForBlock<V>(length, channels, rounds);
    }
    return {length, (rounds - 1) / length + 1};
}

// The sums of PHASES phases, from the cursor's on, in ROUNDS rounds: the rows of a round `stride`
// sums behind those of the one before. SHARED: all phases but phase 0 start at the same input
// sample, phase 0 one earlier, as they do for M = 1.
template <typename V, unsigned ROUNDS, unsigned PHASES, bool SHARED>
void filterBlock(const phase_plan &plan, const double *samples, phase_cursor &cursor, int32_t *sums,
                 size_t stride) {
    constexpr unsigned VECTORS = TILE_STRETCHES / V::LANES;
    const size_t step = plan.down * TILE_STRETCHES;
    const size_t up = plan.up;
    const bool has_phase_0 = cursor.phase == 0;
    const double *rows[PHASES];
    const double *coefficients[PHASES];
    typename V::vector sum[PHASES][ROUNDS][VECTORS];
    for (unsigned p = 0; p < PHASES; ++p) {
        rows[p] = samples + cursor.first * TILE_STRETCHES;
        coefficients[p] = plan.filter + cursor.offset;
        for (unsigned r = 0; r < ROUNDS; ++r) {
            for (unsigned v = 0; v < VECTORS; ++v) {
                sum[p][r][v] = V::zero();
            }
        }
        advance(plan, cursor);
    }
    // 1. The one tap that phase 0 has more than the others.
    if (has_phase_0) {
        for (unsigned r = 0; r < ROUNDS; ++r) {
            addProducts<V, VECTORS>(sum[0][r], rows[0] + r * step, *coefficients[0]);
        }
        rows[0] += TILE_STRETCHES;
        coefficients[0] += up;
    }
    // 2. The 40 that all have. Unrolled, or counting the taps competes with the arithmetic.
#pragma GCC unroll 4
    for (unsigned tap = 0; tap < TAPS_PER_PHASE; ++tap) {
        typename V::vector factor[PHASES];
        for (unsigned p = 0; p < PHASES; ++p) {
            factor[p] = V::spread(coefficients[p][tap * up]);
        }
        for (unsigned r = 0; r < ROUNDS; ++r) {
            for (unsigned v = 0; v < VECTORS; ++v) {
                const size_t place = r * step + tap * TILE_STRETCHES + v * V::LANES;
                const typename V::vector shared = V::load(rows[0] + place);
                for (unsigned p = 0; p < PHASES; ++p) {
                    const typename V::vector sample = SHARED ? shared : V::load(rows[p] + place);
                    sum[p][r][v] = V::add(sum[p][r][v], V::multiply(sample, factor[p]));
                }
            }
        }
    }
    for (unsigned p = 0; p < PHASES; ++p) {
        for (unsigned r = 0; r < ROUNDS; ++r) {
            for (unsigned v = 0; v < VECTORS; ++v) {
                V::storeSaturated(sums + r * stride + p * TILE_STRETCHES + v * V::LANES,
                                  sum[p][r][v]);
            }
        }
    }
}

// `phases` phases from the cursor's on, in blocks. The sums stand in rows as the outputs in their
// arrays: phase by phase, round by round.
template <typename V, unsigned ROUNDS, bool SHARED>
void filterBlocks(const phase_plan &plan, const double *samples, phase_cursor &cursor,
                  uint64_t phases, int32_t *sums) {
    constexpr unsigned PHASES = V::LANES / ROUNDS;
    const size_t stride = phases * TILE_STRETCHES;
    uint64_t done = 0;
    for (; done + PHASES <= phases; done += PHASES) {
        filterBlock<V, ROUNDS, PHASES, SHARED>(plan, samples, cursor, sums + done * TILE_STRETCHES,
                                               stride);
    }
    for (; done < phases; ++done) {
        filterBlock<V, ROUNDS, 1, SHARED>(plan, samples, cursor, sums + done * TILE_STRETCHES,
                                          stride);
    }
}

// All rounds of a tile's stretches, at least ROUNDS, in chunks that leave through `scatter`: some
// rounds of all phases, or some phases of ROUNDS rounds. The last chunk may overlap the one before.
template <typename V, unsigned ROUNDS, bool SHARED>
void filterStretches(const phase_plan &plan, const double *samples, uint64_t length,
                     const lane_places<TILE_STRETCHES> &places, unsigned lanes) {
    alignas(64) int32_t sums[SUMS_PER_CHUNK];
    const uint64_t most_phases = smaller(plan.up, CHUNK_ROWS / ROUNDS);
    const uint64_t most_rounds = CHUNK_ROWS / most_phases / ROUNDS * ROUNDS;
    uint64_t end = 0;
    while (end < length) {
        const uint64_t left = length - end;
        const uint64_t rounds =
            left < ROUNDS ? ROUNDS : smaller(most_rounds, left / ROUNDS * ROUNDS);
        const uint64_t round = smaller(end, length - rounds);
        end = round + rounds;
        phase_cursor cursor = {};
        while (cursor.phase < plan.up) {
            const phase_cursor start = cursor;
            const uint64_t phases = smaller(most_phases, plan.up - start.phase);
            for (uint64_t r = 0; r < rounds; r += ROUNDS) {
                cursor = start;
                filterBlocks<V, ROUNDS, SHARED>(plan,
                                                samples + (round + r) * plan.down * TILE_STRETCHES,
                                                cursor, phases, sums + r * phases * TILE_STRETCHES);
            }
            // Rounds of all phases follow one another without a gap.
            const uint64_t runs = phases == plan.up ? 1 : rounds;
            const uint64_t run = rounds * phases / runs;
            for (uint64_t r = 0; r < runs; ++r) {
                scatter(sums + r * run * TILE_STRETCHES, TILE_STRETCHES, run, places.destinations,
                        lanes, (round + r) * plan.up + start.phase);
            }
        }
    }
}

// Chooses how many rounds and phases the sums in flight belong to: rounds before phases, whose
// coefficients differ, unless the stretches are too short for that or phases can share input.
template <typename V, unsigned ROUNDS>
void filterTileOfStretches(const phase_plan &plan, const double *samples, uint64_t length,
                           const lane_places<TILE_STRETCHES> &places, unsigned lanes) {
    if constexpr (ROUNDS > 1) {
        if (length < ROUNDS) {
            return filterTileOfStretches<V, ROUNDS / 2>(plan, samples, length, places, lanes);
        }
        if (plan.down == 1 && plan.up % 2 == 0) {
            return filterStretches<V, ROUNDS / 2, true>(plan, samples, length, places, lanes);
        }
    }
    filterStretches<V, ROUNDS, false>(plan, samples, length, places, lanes);
}

// The rounds of all channels. The last stretch of each may overlap the one before: both compute
// the same.
template <typename V>
void runStretches(const resample_job &job, const phase_plan &plan, uint64_t rounds,
                  double *scratch) {
    const stretch_cut cut = cutRounds<V>(plan, job.state->channels, rounds);
    const lane_numbering numbering = {cut.length, rounds - cut.length};
    const uint64_t rows = stretchRows(plan, cut.length);
    const uint64_t all = cut.stretches * job.state->channels;
    for (uint64_t lane = 0; lane < all; lane += TILE_STRETCHES) {
        const auto lanes = static_cast<unsigned>(smaller(TILE_STRETCHES, all - lane));
        lane_places<TILE_STRETCHES> places;
        placeLanes(job, plan, numbering, lane, lanes, places);
        gatherRows<V>(places, 0, rows, scratch);
        filterTileOfStretches<V, V::LANES>(plan, scratch, cut.length, places, lanes);
    }
}

} // namespace
