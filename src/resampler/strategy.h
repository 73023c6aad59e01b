#pragma once

#include <cstdint>

// Which kernel filters what, by the rate ratio L : M in lowest terms, and the constants that decide
// it. A period is L outputs: M input samples make them, with the 40 that overlap the next period.
// A lane is one period of one channel.
//
//   L          M          coefficients   lanes       kernel
//   1 .. 7     1 .. 64    the filter     4 or more   segments, vector_segments.h
//   8 .. 32    1 .. 32    the filter     any         segments
//   8 .. 32    33 ..      packed         few         phase groups, vector_groups.h
//   33 ..      any                       more        tiles, vector_tiles.h
//   others                the filter     any         the scalar kernel, resample_channel.h
//
// Others are L below 8 with M above 64, or with fewer lanes; coefficients that would take too many
// bytes or rows packed; and where nothing is packed, the part of a period at the end. `suitGroups`
// in vector_resampler.h tells few lanes from more. One lane of very many rows is scalar, too.
//
// Times stand for one output sample, on AMD family 0x1A: what a value decides against to what it
// decides for.

// Short periods of small M come in great number, and segments of them need no zeros among their
// coefficients. Packed, 8 : 1 takes 1.4 (AVX2) to 2.0 (AVX-512) times as long, 32 : 31 1.02 to 1.1;
// but 48 : 1 0.75 to 1.1 and 441 : 20 (8 to 176.4 kHz) 0.15 to 1.0.
constexpr uint32_t LARGEST_SEGMENTED_STEP = 32;
constexpr uint32_t LONGEST_SEGMENTED_PERIOD = 32;

// L below 8 would leave phases of a group empty, so that segments take larger M, too: 384 to 8 kHz
// (1 : 48) is the only usual pair beyond 32. Four lanes take 0.6 to 1.1 (SSE2 0.8
// to 1.4) of the scalar kernel's time; fewer leave most of a tile empty.
constexpr uint32_t LARGEST_STEP_OF_SHORT_PERIODS = 64;
constexpr uint64_t FEWEST_SHORT_LANES = 4;

// The cost of an output must not grow with L, so nearly every pair of rates has packed
// coefficients. Rows up to 320 are M / L up to 40; 384 to 11.025 kHz has 284.
constexpr uint64_t MOST_PACKED_BYTES = uint64_t{64} << 20;
constexpr uint64_t MOST_PACKED_ROWS = 320;

// Up to four lanes run in groups. Up to twelve do if lanes times rows of a group are few: all rows
// beyond 40 meet zeros, most of which tiles leave out, but tiles compute their empty lanes. With
// AVX2 tiles are faster from 12 lanes on at 47 rows (44.1 to 48 kHz), 8 at 71 (192 to 44.1), 6 at
// 101, 5 at 162; with AVX-512 later, with SSE2 sooner.
constexpr uint64_t FEWEST_TILED = 5;
constexpr uint64_t MOST_GROUPED = 12;
constexpr uint64_t MOST_GROUPED_ROWS[] = {480, 560, 720}; // for vectors of 2, 4 and 8 doubles

// One lane reads 64 bytes of coefficients for every row. Against the scalar kernel that takes 0.75
// of the time at 162 rows (SSE2 1.05), 1.05 to 1.1 at 195 (SSE2 1.7), 1.3 to 1.8 at 284.
constexpr uint64_t MOST_ROWS_OF_ONE_LANE = 190;

// Lanes of a tile. At 12 lanes a tile of 12 takes 0.8 of the time that one of 16 does. The 8 phases
// of the narrowest each walk rows of their own, for it runs where rows are many: at 71 rows it
// takes 0.94 of the time of groups, with SSE2 0.75.
constexpr unsigned WIDE_TILE = 16;
constexpr unsigned MIDDLE_TILE = 12;
constexpr unsigned NARROW_TILE = 8;

// Vectors of sums that are added to in turn, to hide the latency of an addition: of 3 or 4 cycles,
// two a cycle. Twelve are no faster.
constexpr unsigned SUMS_IN_FLIGHT = 8;

// Groups in flight of one lane; half, rounded up, of two. 44.1 to 48 kHz has 20 in a period: with
// eight of one lane, the last eight stand half empty and it takes 1.13 of the time; with four of
// two lanes, 1.04 to 1.1.
constexpr unsigned MOST_GROUPS = 5;

// The scratch of a call, input of all lanes, in its outermost frame: 40 KiB, the size of the larger
// first-level caches.
constexpr unsigned SCRATCH_DOUBLES = 5120;

// Sums of segments that leave at once: 8 KiB. Twice as many gain nothing.
constexpr unsigned SUMS_PER_CHUNK = 2048;
