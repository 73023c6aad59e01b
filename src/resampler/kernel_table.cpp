#include "resampler/kernel_table.h"

#include "resampler/filter_design.h"
#include "resampler/resampler.h"

namespace {

constexpr size_t TABLE_ALIGNMENT = 64;
constexpr uint64_t LARGEST_KERNEL_TABLE_BYTES = uint64_t{1} << 20;
constexpr uint64_t MOST_ROWS = 144; // more are mostly zeros, and slower than the plain form

constexpr uint64_t divideUp(uint64_t dividend, uint64_t divisor) {
    return (dividend + divisor - 1) / divisor;
}

} // namespace

uint64_t kernelTableRows(uint64_t up, uint64_t down) {
    return 2 * RESAMPLER_HISTORY + divideUp((PHASES_PER_GROUP - 1) * down, up);
}

size_t kernelTableBytes(const audio_converter_settings &settings) {
    if (settings.input_sample_rate == settings.output_sample_rate) {
        return 0;
    }
    const uint32_t divisor =
        greatestCommonDivisor(settings.input_sample_rate, settings.output_sample_rate);
    const uint64_t up = settings.output_sample_rate / divisor;
    const uint64_t down = settings.input_sample_rate / divisor;
    const uint64_t rows = kernelTableRows(up, down);
    const uint64_t groups = divideUp(up, PHASES_PER_GROUP);
    const uint64_t bytes = groups * rows * PHASES_PER_GROUP * sizeof(double);
    if (down <= LARGEST_STRETCHED_STEP || up < PHASES_PER_GROUP || rows > MOST_ROWS ||
        bytes > LARGEST_KERNEL_TABLE_BYTES) {
        return 0;
    }
    return bytes + TABLE_ALIGNMENT;
}

double *kernelTablePlace(audio_converter &converter) {
    const uintptr_t behind = reinterpret_cast<uintptr_t>(&converter + 1);
    const uintptr_t gap = (TABLE_ALIGNMENT - behind % TABLE_ALIGNMENT) % TABLE_ALIGNMENT;
    return reinterpret_cast<double *>(reinterpret_cast<char *>(&converter + 1) + gap);
}

void fillKernelTable(const resampler_state &state, double *table) {
    const uint64_t up = state.up_factor;
    const uint64_t down = state.down_factor;
    const uint64_t rows = kernelTableRows(up, down);
    for (uint64_t phase = 0; phase < up; ++phase) {
        const uint64_t group = phase / PHASES_PER_GROUP;
        const uint64_t group_first = divideUp(group * PHASES_PER_GROUP * down, up);
        uint64_t row = divideUp(phase * down, up) - group_first;
        double *column = table + group * rows * PHASES_PER_GROUP + phase % PHASES_PER_GROUP;
        const uint64_t first_tap = (row + group_first) * up - phase * down;
        for (uint64_t tap = first_tap; tap < state.filter_length; tap += up) {
            column[row * PHASES_PER_GROUP] = state.filter[tap];
            ++row;
        }
    }
}
