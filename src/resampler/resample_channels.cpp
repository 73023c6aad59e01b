#include "resampler/resample_channels.h"

#include "resampler/resample_channel.h"

namespace {

uint64_t runVectorForm(const resample_job &job, cpu_level level) {
    switch (level) {
    case CPU_AVX512:
        return resampleChannelsAvx512(job);
    case CPU_AVX2:
        return resampleChannelsAvx2(job);
    default:
        return resampleChannelsSse2(job);
    }
}

} // namespace

void resampleChannels(const resample_job &job, cpu_level level) {
    const resampler_state &state = *job.state;
    const uint64_t done = runVectorForm(job, level);
    const auto left = static_cast<uint32_t>(job.outputs_per_channel - done);
    // Whole rounds are done, so the rest starts at phase 0 again.
    const uint64_t consumed = done / state.up_factor * state.down_factor;
    for (unsigned c = 0; left != 0 && c < state.channels; ++c) {
        resampleChannel(state, job.inputs[c] + consumed, job.outputs[c] + done, left);
    }
}
