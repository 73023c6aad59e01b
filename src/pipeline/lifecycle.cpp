#include "pipeline/lifecycle.h"

#include "codec/codec_choice.h"
#include "core/printers.h"
#include "mixer/mixer.h"
#include "pipeline/channel_inputs.h"
#include "pipeline/held_output.h"
#include "pipeline/messages.h"
#include "pipeline/output_limits.h"
#include "resampler/resampler.h"

#include <cstdlib>
#include <cstring>

namespace {

host_printer orSilence(host_printer printer) {
    return printer == nullptr ? null_printf : printer;
}

// Asks the host for everything but "malloc", in a fixed order, and fills the gaps.
void takeCallbacks(audio_converter &converter, callback_lookup lookup) {
    converter.memory.free = lookupFunction<host_free>(lookup, "free");
    converter.err_printf = orSilence(lookupFunction<host_printer>(lookup, "err_printf"));
    converter.prg_printf = orSilence(lookupFunction<host_printer>(lookup, "prg_printf"));
    converter.wrn_printf = orSilence(lookupFunction<host_printer>(lookup, "wrn_printf"));
    converter.inf_printf = orSilence(lookupFunction<host_printer>(lookup, "inf_printf"));
    if (converter.memory.free == nullptr) {
        converter.memory.free = free;
    }
}

// Every speaker with a place in the input frame is expected to deliver.
void markInputChannelsActive(audio_converter &converter) {
    for (unsigned c = 0; c < AUDIO_MAX_CHANNELS; ++c) {
        if (inputSlot(converter, c) != AUDIO_MAX_CHANNELS) {
            converter.inputs[c].active = 1;
        }
    }
}

decode_function chooseInputDecoder(const audio_converter &converter) {
    const audio_converter_settings &settings = converter.settings;
    const uint8_t channels =
        settings.input_separate_channels != 0 ? uint8_t{1} : settings.input_channels;
    return chooseCodec(*converter.kernels, settings.input_format, channels,
                       settings.input_bits_per_sample)
        .decode;
}

void releaseBlock(const audio_converter &converter, void *block) {
    if (block != nullptr) {
        converter.memory.free(block);
    }
}

} // namespace

audio_converter *createConverter(callback_lookup lookup, const audio_converter_settings &settings,
                                 const kernel_set &kernels) {
    // Copied before the host is called back, so that what was checked is what is used.
    audio_converter_settings effective = settings;
    if (checkSettings(lookup, effective) != 0) {
        return nullptr;
    }
    fillEffectiveSettings(effective);
    host_malloc allocate = lookupFunction<host_malloc>(lookup, "malloc");
    if (allocate == nullptr) {
        allocate = malloc;
    }

    // The record, and behind it the packed coefficients.
    const resampler_state resampler = planResampler(effective);
    const size_t block_bytes = sizeof(audio_converter) + resampler.packed_bytes;
    auto *converter = static_cast<audio_converter *>(allocate(block_bytes));
    if (converter == nullptr) {
        return nullptr;
    }
    memset(converter, 0, block_bytes);
    converter->memory.malloc = allocate;
    takeCallbacks(*converter, lookup);
    converter->settings = effective;
    converter->kernels = &kernels;
    converter->decode = chooseInputDecoder(*converter);
    mixerSetup(converter->mixer, converter->settings);
    converter->resampler = resampler;
    if (resamplerSetup(converter->resampler, converter->memory, kernels, converter->work,
                       converter + 1) != 0) {
        releaseConverter(*converter);
        return nullptr;
    }
    return converter;
}

int32_t attachStream(audio_converter &converter, bufstream *stream, unsigned slot, bool separate) {
    if ((converter.settings.output_separate_channels != 0) != separate) {
        converter.err_printf(MIXED_MODES_TEXT);
        return 1;
    }
    if (stream == nullptr) {
        converter.err_printf(NO_STREAM_TEXT);
        return 1;
    }
    if (converter.out_streams[slot] == nullptr) {
        converter.output_position[slot] = oldestPosition(converter);
    }
    converter.out_streams[slot] = stream;
    computeOutputLimits(converter);
    markInputChannelsActive(converter);
    return 0;
}

void releaseConverter(audio_converter &converter) {
    resamplerRelease(converter.resampler, converter.memory);
    for (unsigned slot = 0; slot < AUDIO_MAX_CHANNELS; ++slot) {
        releasePosition(converter.memory, converter.resampled, slot);
        releasePosition(converter.memory, converter.work, slot);
    }
    releaseBlock(converter, converter.carry);
    for (const channel_input &input : converter.inputs) {
        releaseBlock(converter, input.samples);
    }
    converter.memory.free(&converter);
}
