#include "resampler/resampler.h"

#include "resampler/resample_channels.h"

#include <cstring>

namespace {

// Outputs that `held` input samples allow: whole periods of L, so that the next run starts at
// phase 0 again.
uint64_t countOutputs(const resampler_state &state, uint32_t held) {
    const uint64_t positions = uint64_t{held} * state.up_factor;
    if (positions <= state.filter_length) {
        return 0;
    }
    const uint64_t outputs = (positions - state.filter_length) / state.down_factor;
    return outputs / state.up_factor * state.up_factor;
}

void filterInto(const resampler_state &state, const resampler_sets &sets, uint64_t outputs) {
    channel_buffer_set &resampled = sets.resampled;
    int32_t *behind[AUDIO_MAX_CHANNELS] = {};
    for (unsigned c = 0; c < state.channels; ++c) {
        behind[c] = resampled.data[c] + resampled.count;
    }
    resampleChannels({&state, sets.work.data, behind, outputs});
    resampled.count += static_cast<uint32_t>(outputs);
}

void dropConsumed(channel_buffer_set &work, uint32_t consumed, uint32_t channels) {
    work.count -= consumed;
    for (unsigned c = 0; c < channels; ++c) {
        memmove(work.data[c], work.data[c] + consumed, work.count * sizeof(int32_t));
    }
}

} // namespace

uint32_t resamplerReserve(const resampler_state &state, const resampler_sets &sets,
                          uint32_t extra) {
    if (hasEqualRates(state)) {
        return 0;
    }
    const uint64_t held = uint64_t{sets.work.count} + extra;
    return growChannelBufferSet(sets.memory, sets.resampled,
                                held * state.up_factor / state.down_factor, state.channels);
}

uint32_t resamplerRun(const resampler_state &state, const resampler_sets &sets,
                      channel_buffer_set **out) {
    if (hasEqualRates(state)) {
        *out = &sets.work;
        return 0;
    }
    const uint64_t outputs = countOutputs(state, sets.work.count);
    if (growChannelBufferSet(sets.memory, sets.resampled, outputs, state.channels) != 0) {
        return 1;
    }
    if (outputs != 0) {
        filterInto(state, sets, outputs);
        const uint64_t consumed = outputs / state.up_factor * state.down_factor;
        dropConsumed(sets.work, static_cast<uint32_t>(consumed), state.channels);
    }
    *out = &sets.resampled;
    return 0;
}

uint32_t resamplerFlush(const resampler_state &state, const resampler_sets &sets,
                        channel_buffer_set **out, uint32_t discard) {
    channel_buffer_set &work = sets.work;
    if (hasEqualRates(state)) {
        *out = &work;
        return 0;
    }
    *out = &sets.resampled;
    // Fewer samples than the history at the start: input that came after an earlier flush; it has
    // no outputs.
    if (discard != 0 || work.count < state.history) {
        work.count = 0;
        return 0;
    }
    const uint64_t outputs =
        uint64_t{work.count - state.history} * state.up_factor / state.down_factor;
    const uint32_t shared_capacity = work.capacity;
    if (growChannelBufferSet(sets.memory, sets.resampled, outputs, state.channels) != 0 ||
        growChannelBufferSet(sets.memory, work, state.history, state.channels) != 0) {
        return 1;
    }
    for (unsigned c = 0; c < state.channels; ++c) {
        memset(work.data[c] + work.count, 0, state.history * sizeof(int32_t));
    }
    filterInto(state, sets, outputs);
    work.count = 0;
    // Only the resampled arrays have grown; input that follows needs what all eight can hold.
    work.capacity = shared_capacity;
    return 0;
}

uint32_t resamplerRelease(resampler_state &state, const host_memory &memory) {
    if (state.filter != nullptr) {
        memory.free(state.filter);
        state.filter = nullptr;
    }
    return 0;
}
