#include "resampler/resample_channels.h"

#include "resampler/resample_channel.h"

uint64_t resampleChannelsPlain(const resample_job &job) {
    for (unsigned c = 0; c < job.state->channels; ++c) {
        resampleChannel(*job.state, job.inputs[c], job.outputs[c],
                        static_cast<uint32_t>(job.outputs_per_channel));
    }
    return job.outputs_per_channel;
}

void resampleChannels(const resample_job &job) {
    const resampler_state &state = *job.state;
    const uint64_t done = state.kernel(job);
    const auto left = static_cast<uint32_t>(job.outputs_per_channel - done);
    // Whole periods are done, so the rest starts at phase 0 again.
    const uint64_t consumed = done / state.up_factor * state.down_factor;
    for (unsigned c = 0; left != 0 && c < state.channels; ++c) {
        resampleChannel(state, job.inputs[c] + consumed, job.outputs[c] + done, left);
    }
}
