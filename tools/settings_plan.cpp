#include "settings_plan.h"

#include "errors.h"
#include "matrix_file.h"
#include "option_texts.h"

#include <algorithm>
#include <cstring>

namespace {

// A mask bit that names no speaker: it makes two masks differ, so that the library mixes.
constexpr uint32_t MIX_ANYWAY = 0x80000000;

uint8_t deepest(const std::vector<source_description> &sources) {
    uint8_t depth = 0;
    for (const source_description &source : sources) {
        depth = std::max(depth, source.depth);
    }
    return depth;
}

uint8_t outputFormat(const tool_options &options, const source_description &source) {
    if (options.format) {
        return *options.format;
    }
    const bool as_input = outputType(options) == file_type::RAW && source.raw;
    const uint8_t format = as_input || source.bytes.format == AUDIO_FORMAT_FLOAT
                               ? source.bytes.format
                               : uint8_t{AUDIO_FORMAT_PCM};
    const bool asks_for_pcm = options.bits && *options.bits != 32;
    return format == AUDIO_FORMAT_FLOAT && asks_for_pcm ? uint8_t{AUDIO_FORMAT_PCM} : format;
}

// The depth nearest to the input's that the format has; 24 for float input.
uint8_t outputBits(const tool_options &options, uint8_t format, uint8_t depth, bool from_float) {
    if (options.bits) {
        return *options.bits;
    }
    if (format == AUDIO_FORMAT_FLOAT) {
        return 32;
    }
    if (from_float) {
        return 24;
    }
    if (format == AUDIO_FORMAT_PCM) {
        return depth == 20 ? 24 : depth;
    }
    return std::clamp<uint8_t>(depth, 16, 24);
}

void settleInput(conversion_plan &plan, const tool_options &options,
                 const std::vector<source_description> &sources) {
    audio_converter_settings &settings = plan.settings;
    const byte_format &bytes = sources[0].bytes;
    settings.input_format = bytes.format;
    settings.input_bits_per_sample = bytes.bits;
    settings.input_channels = bytes.channels;
    settings.input_sample_rate = options.input_rate.value_or(uint32_t{bytes.rate});
    settings.input_separate_channels = !plan.split_speakers.empty();
    if (settings.input_separate_channels) {
        settings.input_channels = static_cast<uint8_t>(sources.size());
        for (const unsigned speaker : plan.split_speakers) {
            plan.input_mask |= 1u << speaker;
        }
        return;
    }
    const file_layout &layout = sources[0].layout;
    const bool named = layout.mask != 0 && !options.input_mask;
    plan.input_mask = options.input_mask.value_or(named ? layout.mask : usualMask(bytes.channels));
    if (options.input_order) {
        plan.input_order = *options.input_order;
    } else if (named) {
        plan.input_order = layout.order;
    }
}

void settleOutput(conversion_plan &plan, const tool_options &options,
                  const std::vector<source_description> &sources) {
    audio_converter_settings &settings = plan.settings;
    const bool from_float = settings.input_format == AUDIO_FORMAT_FLOAT;
    plan.output_mask = options.output_mask.value_or(plan.input_mask);
    byte_format &bytes = plan.output_bytes;
    bytes.format = outputFormat(options, sources[0]);
    bytes.bits = outputBits(options, bytes.format, deepest(sources), from_float);
    bytes.channels = options.output_mask ? static_cast<uint8_t>(speakerCount(plan.output_mask))
                                         : settings.input_channels;
    bytes.rate = options.rate.value_or(uint32_t{settings.input_sample_rate});
    settings.output_format = bytes.format;
    settings.output_bits_per_sample = bytes.bits;
    settings.output_channels = bytes.channels;
    settings.output_sample_rate = bytes.rate;
    settings.output_separate_channels = options.split_output;
    settings.out_frame_size = options.frame_size;
    if (options.output_order) {
        plan.output_order = *options.output_order;
    }
}

// Hands an order to the library unless it is the one that the library assumes.
void settleOrder(order_map &order, uint32_t mask, uint8_t &enabled,
                 uint8_t (&map)[AUDIO_MAX_CHANNELS]) {
    const order_map ascending = ascendingOrder(mask);
    if (order == order_map{}) {
        order = ascending;
    }
    enabled = order != ascending;
    std::ranges::copy(order, map);
}

void settleMatrix(conversion_plan &plan, const std::string &path) {
    audio_converter_settings &settings = plan.settings;
    const gain_matrix gains = readMatrixFile(path, plan.input_mask, plan.output_mask);
    std::memcpy(settings.user_matrix, gains.data(), sizeof settings.user_matrix);
    settings.user_matrix_enabled = 1;
    if (plan.input_mask == plan.output_mask) {
        settings.output_channel_mask |= MIX_ANYWAY;
    }
}

} // namespace

void settleSettings(conversion_plan &plan, const tool_options &options,
                    const std::vector<source_description> &sources) {
    audio_converter_settings &settings = plan.settings;
    settleInput(plan, options, sources);
    settleOutput(plan, options, sources);
    settings.input_channel_mask = plan.input_mask;
    settings.output_channel_mask = plan.output_mask;
    settleOrder(plan.input_order, plan.input_mask, settings.input_order_map_enabled,
                settings.input_order_map);
    settleOrder(plan.output_order, plan.output_mask, settings.output_order_map_enabled,
                settings.output_order_map);
    if (!options.matrix_path.empty()) {
        settleMatrix(plan, options.matrix_path);
    }
}
