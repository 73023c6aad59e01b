#include "resampler/resampler.h"

#include "core/sample_arrays.h"
#include "resampler/resample_channels.h"

#include <cstring>

namespace {

// Outputs that `held` input samples allow: whole rounds of L, so that the next run starts at
// phase 0 again.
uint64_t countOutputs(const resampler_state &state, uint32_t held) {
    const uint64_t positions = uint64_t{held} * state.up_factor;
    if (positions <= state.filter_length) {
        return 0;
    }
    const uint64_t outputs = (positions - state.filter_length) / state.down_factor;
    return outputs / state.up_factor * state.up_factor;
}

void filterInto(audio_converter &converter, uint64_t outputs) {
    const channel_buffer_set &work = converter.work;
    channel_buffer_set &resampled = converter.resampled;
    int32_t *behind[AUDIO_MAX_CHANNELS] = {};
    for (unsigned c = 0; c < converter.resampler.channels; ++c) {
        behind[c] = resampled.data[c] + resampled.count;
    }
    const resample_job job = {&converter.resampler, converter.resampler.kernel_table, work.data,
                              behind, outputs};
    resampleChannels(job, converter.kernels->resample);
    resampled.count += static_cast<uint32_t>(outputs);
}

void dropConsumed(channel_buffer_set &work, uint32_t consumed, uint32_t channels) {
    work.count -= consumed;
    for (unsigned c = 0; c < channels; ++c) {
        memmove(work.data[c], work.data[c] + consumed, work.count * sizeof(int32_t));
    }
}

} // namespace

uint32_t resamplerReserve(audio_converter &converter, uint32_t extra) {
    if (hasEqualRates(converter)) {
        return 0;
    }
    const resampler_state &state = converter.resampler;
    const uint64_t held = uint64_t{converter.work.count} + extra;
    return growChannelBufferSet(converter.memory, converter.resampled,
                                held * state.up_factor / state.down_factor, state.channels);
}

uint32_t resamplerRun(audio_converter &converter, channel_buffer_set **out) {
    if (hasEqualRates(converter)) {
        *out = &converter.work;
        return 0;
    }
    const resampler_state &state = converter.resampler;
    const uint64_t outputs = countOutputs(state, converter.work.count);
    if (growChannelBufferSet(converter.memory, converter.resampled, outputs, state.channels) != 0) {
        return 1;
    }
    if (outputs != 0) {
        filterInto(converter, outputs);
        const uint64_t consumed = outputs / state.up_factor * state.down_factor;
        dropConsumed(converter.work, static_cast<uint32_t>(consumed), state.channels);
    }
    *out = &converter.resampled;
    return 0;
}

uint32_t resamplerFlush(audio_converter &converter, channel_buffer_set **out, uint32_t discard) {
    channel_buffer_set &work = converter.work;
    if (hasEqualRates(converter)) {
        *out = &work;
        return 0;
    }
    *out = &converter.resampled;
    const resampler_state &state = converter.resampler;
    // Fewer samples than the lead-in: input that came after an earlier flush; it has no outputs.
    if (discard != 0 || work.count < state.history) {
        work.count = 0;
        return 0;
    }
    const uint64_t outputs =
        uint64_t{work.count - state.history} * state.up_factor / state.down_factor;
    const uint32_t shared_capacity = work.capacity;
    if (growChannelBufferSet(converter.memory, converter.resampled, outputs, state.channels) != 0 ||
        growChannelBufferSet(converter.memory, work, state.history, state.channels) != 0) {
        return 1;
    }
    for (unsigned c = 0; c < state.channels; ++c) {
        memset(work.data[c] + work.count, 0, state.history * sizeof(int32_t));
    }
    filterInto(converter, outputs);
    work.count = 0;
    // Only the resampled arrays have grown; input that follows needs what all eight can hold.
    work.capacity = shared_capacity;
    return 0;
}

uint32_t resamplerRelease(audio_converter &converter) {
    if (converter.resampler.filter != nullptr) {
        converter.memory.free(converter.resampler.filter);
        converter.resampler.filter = nullptr;
    }
    return 0;
}
