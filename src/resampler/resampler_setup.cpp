#include "resampler/resampler.h"

#include "core/sample_arrays.h"
#include "resampler/filter_design.h"
#include "resampler/kernel_table.h"
#include "simd/kernels.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr uint32_t TAPS_PER_OUTPUT = 2 * RESAMPLER_HISTORY;
constexpr double KAISER_BETA = 9.0;
constexpr uint32_t LEAD_IN_CAPACITY = 10 * RESAMPLER_HISTORY;
constexpr uint64_t LARGEST_TABLE_BYTES = uint64_t{1} << 30;

// Half the lower rate, in cycles per position of the upsampled grid.
double designCutoff(const resampler_state &state) {
    double cutoff = std::min(state.input_rate, state.output_rate) * 0.5;
    cutoff = cutoff / state.input_rate;
    return cutoff / state.up_factor;
}

uint32_t designFilter(audio_converter &converter) {
    resampler_state &state = converter.resampler;
    const uint64_t length = uint64_t{state.up_factor} * TAPS_PER_OUTPUT + 1;
    const uint64_t table_bytes = length * sizeof(double);
    if (table_bytes > LARGEST_TABLE_BYTES) {
        return 1;
    }
    state.filter = static_cast<double *>(converter.memory.malloc(table_bytes));
    if (state.filter == nullptr) {
        return 1;
    }
    state.filter_length = static_cast<uint32_t>(length);
    converter.kernels->designFilter(state.filter, static_cast<int32_t>(length), state.up_factor,
                                    KAISER_BETA, designCutoff(state));
    return 0;
}

uint32_t placeLeadIn(audio_converter &converter) {
    for (int32_t *&array : converter.work.data) {
        array = allocateSamples(converter.memory, LEAD_IN_CAPACITY);
        if (array == nullptr) {
            return 1;
        }
        memset(array, 0, RESAMPLER_HISTORY * sizeof(int32_t));
    }
    converter.work.count = RESAMPLER_HISTORY;
    converter.work.capacity = LEAD_IN_CAPACITY;
    return 0;
}

} // namespace

uint32_t resamplerSetup(audio_converter &converter) {
    resampler_state &state = converter.resampler;
    state.channels = converter.settings.output_channels;
    state.input_rate = converter.settings.input_sample_rate;
    state.output_rate = converter.settings.output_sample_rate;
    state.history = RESAMPLER_HISTORY;
    if (state.input_rate == state.output_rate) {
        return 0;
    }
    const uint32_t divisor = greatestCommonDivisor(state.input_rate, state.output_rate);
    state.up_factor = state.output_rate / divisor;
    state.down_factor = state.input_rate / divisor;
    if (designFilter(converter) != 0) {
        return 1;
    }
    if (kernelTableBytes(converter.settings) != 0) {
        converter.resampler.kernel_table = kernelTablePlace(converter);
        fillKernelTable(state, converter.resampler.kernel_table);
    }
    return placeLeadIn(converter);
}
