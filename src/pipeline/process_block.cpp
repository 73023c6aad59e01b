#include "pipeline/process_block.h"

#include "api/buffers.h"
#include "mixer/mixer.h"
#include "pipeline/channel_inputs.h"
#include "pipeline/output_writer.h"
#include "resampler/resampler.h"

uint32_t runBlock(audio_converter &converter, uint32_t samples, bool &taken) {
    taken = false;
    if (presentBlock(converter, samples) != 0) {
        return 1;
    }
    mixerRun(converter, samples);
    channel_buffer_set *set;
    if (resamplerRun(converter, &set) != 0) {
        converter.work.count -= samples;
        return 1;
    }
    taken = true;
    const uint32_t result = writeOutput(converter, *set);
    if (hasEqualRates(converter)) {
        converter.work.count = 0;
    }
    return result;
}

uint32_t processBlock(audio_converter &converter, uint32_t samples, bool &taken) {
    // Secured first: a block that is written can then always be removed.
    const uint32_t temporary_samples = compactionTemporary(converter, samples);
    int32_t *temporary = nullptr;
    taken = false;
    if (temporary_samples != 0) {
        temporary = allocateSamples(converter, temporary_samples);
        if (temporary == nullptr) {
            return 1;
        }
    }
    const uint32_t result = runBlock(converter, samples, taken);
    if (taken) {
        compactChannelInputs(converter, samples, temporary);
    }
    if (temporary != nullptr) {
        converter.free(temporary);
    }
    return result;
}
