#pragma once

#include "resampler/vector_lanes.h"

// Shared by the SIMD kernels; internal linkage, see vector_plan.h.
//
// Small M: a channel's periods are cut into segments of equal length S, and the lanes are
// segments.
//
//              lane 0     lane 1       lane 2    ...
//     row 0    x[0]       x[S M]       x[2 S M]        S periods to a segment, M samples to a
//     period: row 1    x[1]       x[S M + 1]   x[2 S M + 1]    period n of every segment begins in
//     row n M
//     ...
//
// The same phase of consecutive periods shares its coefficients; each lies M rows further down.
namespace {

// A place among the phases of a period.
struct phase_cursor {
    uint64_t phase;  // 0 .. L - 1
    uint64_t first;  // the first input sample under its filter, from the period's start
    uint64_t offset; // position in the filter of that sample's coefficient, below L
};

void advance(const phase_plan &plan, phase_cursor &cursor) {
    ++cursor.phase;
    cursor.first += plan.whole_step;
    if (cursor.offset >= plan.part_step) {
        cursor.offset -= plan.part_step;
    } else {
        cursor.offset += plan.up - plan.part_step;
        ++cursor.first;
    }
}

constexpr unsigned TILE_SEGMENTS = 8; // lanes
constexpr unsigned TILE_SEGMENTS_LOG2 = 3;
static_assert(TILE_SEGMENTS == 1 << TILE_SEGMENTS_LOG2);
constexpr uint64_t SEGMENT_ROWS = SCRATCH_DOUBLES / TILE_SEGMENTS;
constexpr uint64_t CHUNK_ROWS = SUMS_PER_CHUNK / TILE_SEGMENTS;

// False: the scalar kernel, for few periods are mostly empty lanes. `periods` of all channels.
bool walksSegments(const phase_plan &plan, uint64_t periods) {
    if (plan.up < PHASES_PER_GROUP) {
        return plan.down <= LARGEST_STEP_OF_FEW_PHASES && periods >= FEWEST_SHORT_PERIODS;
    }
    return plan.down <= LARGEST_SEGMENTED_STEP && periods != 0;
}

// How the periods of every channel are cut.
struct segment_cut {
    uint64_t length;   // periods of a segment
    uint64_t segments; // of one channel
};

// Input samples that a segment spans.
uint64_t segmentRows(const phase_plan &plan, uint64_t length) {
    return (length - 1) * plan.down + samplesUnder(plan, plan.up);
}

// The length at which the segments of all channels fill whole tiles, if there are periods enough,
// and are short enough for the scratch.
uint64_t lengthForTiles(const phase_plan &plan, unsigned channels, uint64_t periods) {
    unsigned shift = TILE_SEGMENTS_LOG2;
    while (shift > 0 && (channels << (shift - 1)) % TILE_SEGMENTS == 0) {
        --shift;
    }
    const uint64_t length = ((periods - 1) >> shift) + 1;
    if (segmentRows(plan, length) <= SEGMENT_ROWS) {
        return length;
    }
    const uint64_t longest = (SEGMENT_ROWS - samplesUnder(plan, plan.up)) / plan.down + 1;
    const uint64_t segments = ((length - 1) / longest + 1) << shift;
    return (periods - 1) / segments + 1;
}

// The length to take instead of one below V::LANES periods, which would leave few sums in flight to
// hide the latency of an addition: a power of two, the next or a higher one if that saves a tile.
template <typename V>
uint64_t lengthForBlock(uint64_t length, unsigned channels, uint64_t periods) {
    const auto last_tile = [&](uint64_t periods_each) {
        return (((periods - 1) / periods_each + 1) * channels - 1) / TILE_SEGMENTS;
    };
    uint64_t filled = 1;
    while (filled < length) {
        filled *= 2;
    }
    if (filled > periods) {
        return length;
    }
    while (filled < V::LANES && 2 * filled <= periods &&
           last_tile(2 * filled) < last_tile(filled)) {
        filled *= 2;
    }
    return filled;
}

template <typename V>
segment_cut cutPeriods(const phase_plan &plan, unsigned channels, uint64_t periods) {
    uint64_t length = lengthForTiles(plan, channels, periods);
    if (length < V::LANES) {
        length = lengthForBlock<V>(length, channels, periods);
    }
    return {length, (periods - 1) / length + 1};
}

// One input row, times one coefficient, onto the sums.
template <typename V, unsigned VECTORS>
void addProducts(typename V::vector (&sums)[VECTORS], const double *row, double coefficient) {
    const typename V::vector factor = V::spread(coefficient);
    for (unsigned v = 0; v < VECTORS; ++v) {
        sums[v] = V::add(sums[v], V::multiply(V::load(row + v * V::LANES), factor));
    }
}

// The sums of PHASES phases, from the cursor's on, in PERIODS periods: the rows of a period
// `stride` sums behind those of the one before. SHARED: all phases but phase 0 start at the same
// input sample, phase 0 one earlier, as they do for M = 1.
template <typename V, unsigned PERIODS, unsigned PHASES, bool SHARED>
void filterBlock(const phase_plan &plan, const double *samples, phase_cursor &cursor, int32_t *sums,
                 size_t stride) {
    constexpr unsigned VECTORS = TILE_SEGMENTS / V::LANES;
    const size_t step = plan.down * TILE_SEGMENTS;
    const size_t up = plan.up;
    const bool has_phase_0 = cursor.phase == 0;
    const double *rows[PHASES];
    const double *coefficients[PHASES];
    typename V::vector sum[PHASES][PERIODS][VECTORS];
    for (unsigned p = 0; p < PHASES; ++p) {
        rows[p] = samples + cursor.first * TILE_SEGMENTS;
        coefficients[p] = plan.filter + cursor.offset;
        for (unsigned r = 0; r < PERIODS; ++r) {
            for (unsigned v = 0; v < VECTORS; ++v) {
                sum[p][r][v] = V::zero();
            }
        }
        advance(plan, cursor);
    }
    // 1. The one tap that phase 0 has more than the others.
    if (has_phase_0) {
        for (unsigned r = 0; r < PERIODS; ++r) {
            addProducts<V, VECTORS>(sum[0][r], rows[0] + r * step, *coefficients[0]);
        }
        rows[0] += TILE_SEGMENTS;
        coefficients[0] += up;
    }
    // 2. The 40 that all have. Unrolled, or counting the taps competes with the arithmetic.
#pragma GCC unroll 4
    for (unsigned tap = 0; tap < TAPS_PER_PHASE; ++tap) {
        typename V::vector factor[PHASES];
        for (unsigned p = 0; p < PHASES; ++p) {
            factor[p] = V::spread(coefficients[p][tap * up]);
        }
        for (unsigned r = 0; r < PERIODS; ++r) {
            for (unsigned v = 0; v < VECTORS; ++v) {
                const size_t place = r * step + tap * TILE_SEGMENTS + v * V::LANES;
                const typename V::vector shared = V::load(rows[0] + place);
                for (unsigned p = 0; p < PHASES; ++p) {
                    const typename V::vector sample = SHARED ? shared : V::load(rows[p] + place);
                    sum[p][r][v] = V::add(sum[p][r][v], V::multiply(sample, factor[p]));
                }
            }
        }
    }
    for (unsigned p = 0; p < PHASES; ++p) {
        for (unsigned r = 0; r < PERIODS; ++r) {
            for (unsigned v = 0; v < VECTORS; ++v) {
                V::storeSaturated(sums + r * stride + p * TILE_SEGMENTS + v * V::LANES,
                                  sum[p][r][v]);
            }
        }
    }
}

// `phases` phases from the cursor's on, in blocks. The sums stand in rows as the outputs in their
// arrays: phase by phase, period by period.
template <typename V, unsigned PERIODS, bool SHARED>
void filterBlocks(const phase_plan &plan, const double *samples, phase_cursor &cursor,
                  uint64_t phases, int32_t *sums) {
    constexpr unsigned PHASES = V::LANES / PERIODS;
    const size_t stride = phases * TILE_SEGMENTS;
    uint64_t done = 0;
    for (; done + PHASES <= phases; done += PHASES) {
        filterBlock<V, PERIODS, PHASES, SHARED>(plan, samples, cursor, sums + done * TILE_SEGMENTS,
                                                stride);
    }
    for (; done < phases; ++done) {
        filterBlock<V, PERIODS, 1, SHARED>(plan, samples, cursor, sums + done * TILE_SEGMENTS,
                                           stride);
    }
}

// All periods of a tile's segments, at least PERIODS, in chunks that leave through `scatter`: some
// periods of all phases, or some phases of PERIODS periods. The last chunk may overlap the one
// before.
template <typename V, unsigned PERIODS, bool SHARED>
void filterSegments(const phase_plan &plan, const double *samples, uint64_t length,
                    const lane_places<TILE_SEGMENTS> &places, unsigned lanes) {
    alignas(64) int32_t sums[SUMS_PER_CHUNK];
    const uint64_t most_phases = smaller(plan.up, CHUNK_ROWS / PERIODS);
    const uint64_t most_periods = CHUNK_ROWS / most_phases / PERIODS * PERIODS;
    uint64_t end = 0;
    while (end < length) {
        const uint64_t left = length - end;
        const uint64_t periods =
            left < PERIODS ? PERIODS : smaller(most_periods, left / PERIODS * PERIODS);
        const uint64_t period = smaller(end, length - periods);
        end = period + periods;
        phase_cursor cursor = {};
        while (cursor.phase < plan.up) {
            const phase_cursor start = cursor;
            const uint64_t phases = smaller(most_phases, plan.up - start.phase);
            for (uint64_t r = 0; r < periods; r += PERIODS) {
                cursor = start;
                filterBlocks<V, PERIODS, SHARED>(plan,
                                                 samples + (period + r) * plan.down * TILE_SEGMENTS,
                                                 cursor, phases, sums + r * phases * TILE_SEGMENTS);
            }
            // Periods of all phases follow one another without a gap.
            const uint64_t runs = phases == plan.up ? 1 : periods;
            const uint64_t run = periods * phases / runs;
            for (uint64_t r = 0; r < runs; ++r) {
                scatter<V>(sums + r * run * TILE_SEGMENTS, TILE_SEGMENTS, run, places.destinations,
                           lanes, (period + r) * plan.up + start.phase);
            }
        }
    }
}

// Chooses how many periods and phases the sums in flight belong to: periods before phases, whose
// coefficients differ, unless the segments are too short for that or phases can share input.
template <typename V, unsigned PERIODS>
void filterTileOfSegments(const phase_plan &plan, const double *samples, uint64_t length,
                          const lane_places<TILE_SEGMENTS> &places, unsigned lanes) {
    if constexpr (PERIODS > 1) {
        if (length < PERIODS) {
            return filterTileOfSegments<V, PERIODS / 2>(plan, samples, length, places, lanes);
        }
        if (plan.down == 1 && plan.up % 2 == 0) {
            return filterSegments<V, PERIODS / 2, true>(plan, samples, length, places, lanes);
        }
    }
    filterSegments<V, PERIODS, false>(plan, samples, length, places, lanes);
}

// The periods of all channels. The last segment of each may overlap the one before: both compute
// the same.
template <typename V>
void runSegments(const resample_job &job, const phase_plan &plan, uint64_t periods,
                 double *scratch) {
    const segment_cut cut = cutPeriods<V>(plan, job.state->channels, periods);
    const lane_numbering numbering = {cut.length, periods - cut.length};
    const uint64_t rows = segmentRows(plan, cut.length);
    const uint64_t all = cut.segments * job.state->channels;
    for (uint64_t lane = 0; lane < all; lane += TILE_SEGMENTS) {
        const auto lanes = static_cast<unsigned>(smaller(TILE_SEGMENTS, all - lane));
        lane_places<TILE_SEGMENTS> places;
        placeLanes(job, plan, numbering, lane, lanes, places);
        gatherRows<V>(places, 0, rows, scratch);
        filterTileOfSegments<V, V::LANES>(plan, scratch, cut.length, places, lanes);
    }
}

} // namespace
