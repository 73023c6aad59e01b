#include "core/settings.h"

void fillEffectiveSettings(audio_converter_settings &settings) {
    if (settings.input_channel_mask == 0 && settings.input_channels <= AUDIO_MAX_CHANNELS) {
        settings.input_channel_mask = default_channel_masks[settings.input_channels];
    }
    if (settings.output_channel_mask == 0) {
        settings.output_channel_mask = settings.input_channel_mask;
    }
    if (settings.output_bits_per_sample == 0) {
        settings.output_bits_per_sample = settings.input_bits_per_sample;
    }
    if (settings.output_channels == 0) {
        settings.output_channels = settings.input_channels;
    }
    if (settings.output_format == 0) {
        settings.output_format = settings.input_format;
    }
    if (settings.output_sample_rate == 0) {
        settings.output_sample_rate = settings.input_sample_rate;
    }
}
