#include "api/held_output.h"
#include "api/host_lookup.h"
#include "api/instance.h"
#include "api/printers.h"
#include "api/settings.h"
#include "mixer/mixer.h"
#include "pipeline/output_plan.h"
#include "resampler/resampler.h"

#include <cstdlib>
#include <cstring>

namespace {

constexpr char MIXED_MODES_TEXT[] = "Cannot initialize converter: mixing separate channels mode "
                                    "and non-separate channels mode";
constexpr char NO_STREAM_TEXT[] = "Invalid bufstream parameter";

host_printer orSilence(host_printer printer) {
    return printer == nullptr ? null_printf : printer;
}

// Asks the host for everything but "malloc", in a fixed order, and fills the gaps.
void takeCallbacks(audio_converter &converter, callback_lookup lookup) {
    converter.free = lookupFunction<host_free>(lookup, "free");
    converter.err_printf = orSilence(lookupFunction<host_printer>(lookup, "err_printf"));
    converter.prg_printf = orSilence(lookupFunction<host_printer>(lookup, "prg_printf"));
    converter.wrn_printf = orSilence(lookupFunction<host_printer>(lookup, "wrn_printf"));
    converter.inf_printf = orSilence(lookupFunction<host_printer>(lookup, "inf_printf"));
    if (converter.free == nullptr) {
        converter.free = free;
    }
}

// Every speaker with a place in the input frame is expected to deliver.
void markInputChannelsActive(audio_converter &converter) {
    for (unsigned c = 0; c < AUDIO_MAX_CHANNELS; ++c) {
        const uint8_t place = converter.settings.input_order_map[c];
        if (place >= 1 && place <= AUDIO_MAX_CHANNELS) {
            converter.channel_active[c] = 1;
        }
    }
}

decode_function chooseInputDecoder(const audio_converter &converter) {
    const audio_converter_settings &settings = converter.settings;
    const uint8_t channels =
        settings.input_separate_channels != 0 ? uint8_t{1} : settings.input_channels;
    return chooseDecoder(converter.level, settings.input_format, channels,
                         settings.input_bits_per_sample);
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
    planOutput(converter);
    markInputChannelsActive(converter);
    return 0;
}

void releaseBlock(const audio_converter &converter, void *block) {
    if (block != nullptr) {
        converter.free(block);
    }
}

} // namespace

audio_converter *audioConverterNew(callback_lookup lookup,
                                   const audio_converter_settings *settings) {
    if (settings == nullptr) {
        return nullptr;
    }
    // Copied before the host is called back, so that what was checked is what is used.
    audio_converter_settings effective = *settings;
    if (audioConverterCheckSettings(lookup, &effective) != 0) {
        return nullptr;
    }
    fillEffectiveSettings(effective);
    host_malloc allocate = lookupFunction<host_malloc>(lookup, "malloc");
    if (allocate == nullptr) {
        allocate = malloc;
    }

    // The record, and behind it the vector forms' own coefficients.
    const size_t block_bytes = sizeof(audio_converter) + kernelTableBytes(effective);
    auto *converter = static_cast<audio_converter *>(allocate(block_bytes));
    if (converter == nullptr) {
        return nullptr;
    }
    memset(converter, 0, block_bytes);
    converter->malloc = allocate;
    takeCallbacks(*converter, lookup);
    converter->settings = effective;
    converter->level = detectCpuLevel();
    converter->decode = chooseInputDecoder(*converter);
    mixerSetup(*converter);
    if (resamplerSetup(*converter) != 0) {
        audioConverterFree(converter);
        return nullptr;
    }
    return converter;
}

int32_t audioConverterInit(audio_converter *converter, bufstream *stream) {
    return converter == nullptr ? 1 : attachStream(*converter, stream, 0, false);
}

int32_t audioConverterInitChannel(audio_converter *converter, bufstream *stream, int32_t channel) {
    const auto slot = static_cast<uint32_t>(channel);
    if (slot >= AUDIO_MAX_CHANNELS || converter == nullptr) {
        return 1;
    }
    return attachStream(*converter, stream, slot, true);
}

void audioConverterFree(audio_converter *converter) {
    if (converter == nullptr) {
        return;
    }
    resamplerRelease(*converter);
    for (unsigned slot = 0; slot < AUDIO_MAX_CHANNELS; ++slot) {
        releaseBlock(*converter, converter->resampled.data[slot]);
        if (converter->work_borrowed[slot] == 0) {
            releaseBlock(*converter, converter->work.data[slot]);
        }
    }
    releaseBlock(*converter, converter->carry);
    for (int32_t *channel_array : converter->channel_input) {
        releaseBlock(*converter, channel_array);
    }
    converter->free(converter);
}
