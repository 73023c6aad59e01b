#include "pipeline/process_block.h"

#include "api/buffers.h"
#include "api/held_output.h"
#include "mixer/mixer.h"
#include "pipeline/channel_inputs.h"
#include "pipeline/output_writer.h"
#include "resampler/resampler.h"

#include <cstring>

namespace {

// With equal rates the block is mixed in `work`, whose arrays are the channels' own: `resampled`
// has to have room for what the streams do not accept of it.
uint32_t secureHeldOutput(audio_converter &converter, uint32_t samples) {
    return hasEqualRates(converter) ? growChannelBufferSet(converter, converter.resampled, samples,
                                                           converter.settings.output_channels)
                                    : 0;
}

// Appends what `work` holds from `first` on to `resampled` and empties `work`.
void holdWork(audio_converter &converter, uint32_t first) {
    channel_buffer_set &work = converter.work;
    channel_buffer_set &held = converter.resampled;
    const uint32_t samples = work.count - first;
    for (unsigned slot = 0; samples != 0 && slot < converter.settings.output_channels; ++slot) {
        memcpy(held.data[slot] + held.count, work.data[slot] + first, samples * sizeof(int32_t));
    }
    held.count += samples;
    work.count = 0;
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

uint32_t runBlock(audio_converter &converter, uint32_t samples, bool &taken) {
    taken = false;
    if (presentBlock(converter, samples) != 0 || secureHeldOutput(converter, samples) != 0) {
        return 1;
    }
    mixerRun(converter, samples);
    channel_buffer_set *set;
    if (resamplerRun(converter, &set) != 0) {
        converter.work.count -= samples;
        return 1;
    }
    taken = true;
    return hasEqualRates(converter) ? writeWork(converter) : writeOutput(converter, *set);
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
