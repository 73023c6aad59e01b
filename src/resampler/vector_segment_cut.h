#pragma once

#include "resampler/vector_plan.h"

// Shared by the SIMD kernels; internal linkage, see vector_plan.h.
//
// How the periods of a channel are cut into segments.
namespace {

constexpr unsigned TILE_SEGMENTS = 8; // lanes
constexpr unsigned TILE_SEGMENTS_LOG2 = 3;
static_assert(TILE_SEGMENTS == 1 << TILE_SEGMENTS_LOG2);
constexpr uint64_t SEGMENT_ROWS = SCRATCH_DOUBLES / TILE_SEGMENTS;

// A segment of one period fits into the scratch, and one of 8, which lengthForBlock may choose.
static_assert(8 * LARGEST_STEP_OF_SHORT_PERIODS + TAPS_PER_PHASE < SEGMENT_ROWS);
static_assert(LARGEST_SEGMENTED_STEP <= LARGEST_STEP_OF_SHORT_PERIODS);

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

} // namespace
