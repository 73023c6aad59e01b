#include "resampler/resample_channel.h"

#include "core/truncate.h"

void resampleChannel(const resampler_state &state, const int32_t *input, int32_t *output,
                     uint32_t outputs) {
    const uint64_t up = state.up_factor;
    for (uint64_t k = 0; k < outputs; ++k) {
        const uint64_t position = k * state.down_factor;
        const uint64_t first = (position + up - 1) / up;
        const uint64_t last = (position + state.filter_length - 1) / up;
        double sum = 0.0;
        for (uint64_t i = first; i <= last; ++i) {
            sum += input[i] * state.filter[i * up - position];
        }
        output[k] = saturateToInt32(sum);
    }
}
