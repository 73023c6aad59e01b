#include "pipeline/block.h"

#include "mixer/mixer.h"
#include "pipeline/channel_inputs.h"
#include "pipeline/held_output.h"
#include "pipeline/output_writer.h"
#include "pipeline/resampler_sets.h"

namespace {

// With equal rates the block is mixed in `work`, whose arrays are the channels' own: `resampled`
// has to have room for what the streams do not accept of it.
uint32_t secureHeldOutput(audio_converter &converter, uint32_t samples) {
    return hasEqualRates(converter)
               ? growChannelBufferSet(converter.memory, converter.resampled, samples,
                                      converter.settings.output_channels)
               : 0;
}

// Writes a block at equal rates: from the channels' own arrays unless something waits.
uint32_t writeWork(audio_converter &converter) {
    if (converter.resampled.count != 0) {
        holdWork(converter, 0);
        return writeOutput(converter, converter.resampled);
    }
    const uint32_t result = writeOutput(converter, converter.work);
    const uint32_t accepted = oldestPosition(converter);
    holdWork(converter, accepted);
    moveBackPositions(converter, accepted);
    return result;
}

} // namespace

block_result runBlock(audio_converter &converter, uint32_t samples) {
    if (presentBlock(converter, samples) != 0 || secureHeldOutput(converter, samples) != 0) {
        return BLOCK_FAILED;
    }
    mixerRun(converter.mixer, *converter.kernels, converter.work, samples);
    channel_buffer_set *set;
    if (resamplerRun(converter.resampler, setsOf(converter), &set) != 0) {
        converter.work.count -= samples;
        return BLOCK_FAILED;
    }
    const uint32_t full =
        hasEqualRates(converter) ? writeWork(converter) : writeOutput(converter, *set);
    return full != 0 ? BLOCK_HELD : BLOCK_WRITTEN;
}

block_result processBlock(audio_converter &converter, uint32_t samples) {
    // Secured first: a block that is written can then always be removed.
    const uint32_t temporary_samples = compactionTemporary(converter, samples);
    int32_t *temporary = nullptr;
    if (temporary_samples != 0) {
        temporary = allocateSamples(converter.memory, temporary_samples);
        if (temporary == nullptr) {
            return BLOCK_FAILED;
        }
    }
    const block_result result = runBlock(converter, samples);
    if (result != BLOCK_FAILED) {
        compactChannelInputs(converter, samples, temporary);
    }
    if (temporary != nullptr) {
        converter.memory.free(temporary);
    }
    return result;
}
