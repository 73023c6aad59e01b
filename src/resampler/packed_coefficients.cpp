#include "resampler/packed_coefficients.h"

#include "resampler/strategy.h"

namespace {

constexpr size_t TABLE_ALIGNMENT = 64;

constexpr uint64_t divideUp(uint64_t dividend, uint64_t divisor) {
    return (dividend + divisor - 1) / divisor;
}

double *alignedPlace(void *place) {
    const uintptr_t address = reinterpret_cast<uintptr_t>(place);
    const uintptr_t gap = (TABLE_ALIGNMENT - address % TABLE_ALIGNMENT) % TABLE_ALIGNMENT;
    return reinterpret_cast<double *>(static_cast<char *>(place) + gap);
}

} // namespace

uint64_t packedRows(uint64_t up, uint64_t down) {
    return TAPS_PER_PHASE + divideUp((PHASES_PER_GROUP - 1) * down, up);
}

void planPackedCoefficients(resampler_state &state) {
    const uint64_t rows = packedRows(state.up_factor, state.down_factor);
    const uint64_t groups = divideUp(state.up_factor, PHASES_PER_GROUP);
    const uint64_t bytes = groups * rows * PHASES_PER_GROUP * sizeof(double);
    const bool segmented =
        state.down_factor <= LARGEST_SEGMENTED_STEP && state.up_factor <= LONGEST_SEGMENTED_PERIOD;
    if (segmented || state.up_factor < PHASES_PER_GROUP || rows > MOST_PACKED_ROWS ||
        bytes > MOST_PACKED_BYTES) {
        return;
    }
    state.packed_rows = rows;
    state.packed_bytes = bytes + TABLE_ALIGNMENT;
}

void packCoefficients(resampler_state &state, void *place) {
    const uint64_t up = state.up_factor;
    const uint64_t down = state.down_factor;
    state.packed = alignedPlace(place);
    for (uint64_t phase = 0; phase < up; ++phase) {
        const uint64_t group = phase / PHASES_PER_GROUP;
        const uint64_t group_first = divideUp(group * PHASES_PER_GROUP * down, up);
        uint64_t row = divideUp(phase * down, up) - group_first;
        double *column =
            state.packed + group * state.packed_rows * PHASES_PER_GROUP + phase % PHASES_PER_GROUP;
        const uint64_t first_tap = (row + group_first) * up - phase * down;
        for (uint64_t tap = first_tap; tap < state.filter_length; tap += up) {
            column[row * PHASES_PER_GROUP] = state.filter[tap];
            ++row;
        }
    }
}
