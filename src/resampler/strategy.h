#pragma once

#include <cstdint>

// Which strategy filters what, by the rate ratio L : M in lowest terms. A period is L outputs, made
// from M input samples and the 40 that overlap the next period; a lane is one period of one
// channel.
//
//   M           L        coefficients       lanes   strategy
//   1 .. 32     any      the filter         any     segments: vector_segments.h
//   33 .. 512   1 .. 7   the filter         any     segments
//   33 ..       8 ..     packed             few     phase groups: vector_groups.h
//                                           more    tiles: vector_tiles.h
//   others               the filter         any     the scalar kernel: resample_channel.h
//
// Others: L below 8 with M above 512, packed coefficients above 64 MiB, groups above 320 rows. The
// scalar kernel also filters the part of a period behind the last whole one where nothing is
// packed. `fewLanes` and `runTile` in vector_resampler.h tell few from more.
//
// The constants below hold for all instruction sets. Times are those of one output sample, measured
// on AMD family 0x1A.

// Up to this M nothing is packed: segments of many periods read the filter itself.
constexpr uint32_t LARGEST_SEGMENTED_STEP = 32;

// The same for L below the 8 phases of a group, such as 384 to 8 kHz (1 : 48).
constexpr uint32_t LARGEST_STEP_OF_FEW_PHASES = 64;

// The cost of an output must not grow with L, so nearly every pair of rates has packed
// coefficients.
constexpr uint64_t MOST_PACKED_BYTES = uint64_t{64} << 20;
constexpr uint64_t MOST_PACKED_ROWS = 320; // M / L up to 40

// The one scratch of a call, in its outermost frame; 40 KiB, which a first-level cache holds.
constexpr unsigned SCRATCH_DOUBLES = 5120;
constexpr unsigned SUMS_PER_CHUNK = 1024;

// Vectors of sums that are added to in turn, enough to hide the latency of an addition.
constexpr unsigned SUMS_IN_FLIGHT = 8;

// Groups that one lane has in flight at most: more leave too much undone at a period's end.
constexpr unsigned MOST_GROUPS = 5;

// Fewer periods than this, of all channels, are left to the scalar kernel where L is below 8.
constexpr uint64_t FEWEST_SHORT_PERIODS = 4;

constexpr uint64_t FEWEST_TILED = 5;
constexpr uint64_t MOST_GROUPED = 12;
constexpr uint64_t MOST_GROUPED_ROWS[] = {480, 560, 720}; // for vectors of 2, 4 and 8 doubles
constexpr uint64_t MOST_ROWS_OF_ONE_LANE = 200;
