#include "resampler/filter_design.h"
#include "resampler/packed_coefficients.h"
#include "resampler/resampler.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr double KAISER_BETA = 9.0;
constexpr uint32_t FIRST_CAPACITY = 10 * RESAMPLER_HISTORY; // samples
constexpr uint64_t LARGEST_TABLE_BYTES = uint64_t{1} << 28;

uint64_t filterLength(const resampler_state &state) {
    return uint64_t{state.up_factor} * TAPS_PER_PHASE + 1;
}

// Half the lower rate, in cycles per position of the upsampled grid.
double designCutoff(const resampler_state &state) {
    double cutoff = std::min(state.input_rate, state.output_rate) * 0.5;
    cutoff = cutoff / state.input_rate;
    return cutoff / state.up_factor;
}

uint32_t designFilter(resampler_state &state, const host_memory &memory,
                      const kernel_set &kernels) {
    const uint64_t table_bytes = filterLength(state) * sizeof(double);
    if (table_bytes > LARGEST_TABLE_BYTES) {
        return 1;
    }
    state.filter = static_cast<double *>(memory.malloc(table_bytes));
    if (state.filter == nullptr) {
        return 1;
    }
    kernels.designFilter(state.filter, static_cast<int32_t>(state.filter_length), state.up_factor,
                         KAISER_BETA, designCutoff(state));
    return 0;
}

uint32_t placeHistory(const host_memory &memory, channel_buffer_set &work) {
    for (int32_t *&array : work.data) {
        array = allocateSamples(memory, FIRST_CAPACITY);
        if (array == nullptr) {
            return 1;
        }
        memset(array, 0, RESAMPLER_HISTORY * sizeof(int32_t));
    }
    work.count = RESAMPLER_HISTORY;
    work.capacity = FIRST_CAPACITY;
    return 0;
}

} // namespace

resampler_state planResampler(const audio_converter_settings &settings) {
    resampler_state state = {};
    state.channels = settings.output_channels;
    state.input_rate = settings.input_sample_rate;
    state.output_rate = settings.output_sample_rate;
    state.history = RESAMPLER_HISTORY;
    if (hasEqualRates(state)) {
        return state;
    }
    const uint32_t divisor = greatestCommonDivisor(state.input_rate, state.output_rate);
    state.up_factor = state.output_rate / divisor;
    state.down_factor = state.input_rate / divisor;
    state.filter_length = static_cast<uint32_t>(filterLength(state));
    planPackedCoefficients(state);
    return state;
}

uint32_t resamplerSetup(resampler_state &state, const host_memory &memory,
                        const kernel_set &kernels, channel_buffer_set &work, void *packed_place) {
    if (hasEqualRates(state)) {
        return 0;
    }
    state.kernel = kernels.resample;
    if (designFilter(state, memory, kernels) != 0) {
        return 1;
    }
    if (state.packed_bytes != 0) {
        packCoefficients(state, packed_place);
    }
    return placeHistory(memory, work);
}
