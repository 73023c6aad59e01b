#pragma once

#include <cstdint>

// Which kernel filters what, by the rate ratio L : M in lowest terms, and every constant that tunes
// them. A period is L outputs: M input samples make them, with the 40 that overlap the next period.
// A lane is one period of one channel.
//
//   L          M          coefficients   lanes       kernel
//   8 .. 64    1 .. 32    the filter     any         segments, vector_segments.h
//   1 .. 7     1 .. 64    the filter     4 or more   segments
//   8 .. 64    33 ..      packed         few         phase groups, vector_groups.h
//   65 ..      any                       more        tiles, vector_tiles.h
//   others                the filter     any         the scalar kernel, resample_channel.h
//
// `suitGroups` in vector_resampler.h tells few lanes from more. Others are: L below 8 with M above
// 64 or with fewer lanes; packed coefficients above MOST_PACKED_BYTES or MOST_PACKED_ROWS (segments
// still if M is up to 32); the part of a period at the end where nothing is packed. One lane of
// very many rows is scalar, too: MOST_ROWS_OF_ONE_LANE.
//
// Measured on AMD family 0x1A, in time per output sample, as new : old for what each value decides.

// With this or less, and a period this short, a call holds many periods: segments of them need no
// zeros among the coefficients. Packed, 8 : 1 takes 1.5 (AVX2) to 1.9 (AVX-512) times as long,
// 16 : 15 1.1 to 1.3; 48 : 1 0.75 to 1.3; 441 : 20 (8 to 176.4 kHz) 0.2 to 0.9.
constexpr uint32_t LARGEST_SEGMENTED_STEP = 32;
constexpr uint32_t LONGEST_SEGMENTED_PERIOD = 64;

// L below 8 leaves a group's phases empty, so that segments take larger M, too: as much as the
// scratch holds rows of, and 384 to 8 kHz (1 : 48), the only usual pair beyond 32. Fewer periods of
// all channels than four leave most lanes empty: scalar is as fast.
constexpr uint32_t LARGEST_STEP_OF_SHORT_PERIODS = 64;
constexpr uint64_t FEWEST_SHORT_PERIODS = 4;

// The cost of an output must not grow with L, so nearly every pair of rates has packed
// coefficients. Rows up to 320 are M / L up to 40; 384 to 11.025 kHz has 284.
constexpr uint64_t MOST_PACKED_BYTES = uint64_t{64} << 20;
constexpr uint64_t MOST_PACKED_ROWS = 320;

// Up to four lanes are filtered in groups. Up to twelve are if the lanes times the rows of a group
// are few: of the rows beyond 40 a group computes zeros, which a tile hardly does, but a tile
// computes its empty lanes. Tiles are as fast from 13 lanes on at 47 rows (44.1 to 48 kHz), with
// AVX2 from 8 at 71 (192 to 44.1), 7 at 101, 5 at 162; with AVX-512 later, with SSE2 sooner.
constexpr uint64_t FEWEST_TILED = 5;
constexpr uint64_t MOST_GROUPED = 12;
constexpr uint64_t MOST_GROUPED_ROWS[] = {480, 560, 720}; // for vectors of 2, 4 and 8 doubles

// One lane reads 64 bytes of coefficients a row, more than the scalar kernel waits for its sums:
// 1.1 of its time at 195 rows, 1.3 (AVX2) to 1.8 (SSE2) at 284.
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

// Groups that one lane has in flight. 44.1 to 48 kHz has 20 in a period: with eight, the last eight
// stand half empty, and it takes 1.13 of the time.
constexpr unsigned MOST_GROUPS = 5;

// Input samples of all lanes, and sums. The one scratch of a call stands in its outermost frame:
// 40 KiB, which a first-level cache holds beside the coefficients of the moment.
constexpr unsigned SCRATCH_DOUBLES = 5120;
constexpr unsigned SUMS_PER_CHUNK = 1024;
