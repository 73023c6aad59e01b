#include "option_checks.h"

#include "errors.h"
#include "option_texts.h"

namespace {

void checkInputs(const tool_options &options) {
    uint32_t split_mask = 0;
    for (const split_input &split : options.split_inputs) {
        if (split_mask >> split.speaker & 1) {
            throw usage_error(std::string("--split-input: two files for ") +
                              speakerName(split.speaker));
        }
        split_mask |= 1u << split.speaker;
    }
    if (split_mask != 0 && (options.input_mask || options.input_order)) {
        throw usage_error("--split-input names the speakers: no --in-layout, no --in-order");
    }
    const bool has_input = !options.input.empty() || split_mask != 0;
    if (!has_input && options.show_matrix && !options.input_mask && !options.raw) {
        throw usage_error("--show-matrix needs INPUT, --raw or --in-layout");
    }
    if (!has_input && options.show_filter && !options.input_rate && !options.raw) {
        throw usage_error("--show-filter needs INPUT, --raw or --in-rate");
    }
    if (!has_input && !options.show_matrix && !options.show_filter) {
        throw usage_error("no INPUT");
    }
}

void checkOutputs(const tool_options &options) {
    const bool reports_only =
        options.info || options.show_matrix || options.show_filter || options.dry_run;
    if (options.output.empty() && !reports_only) {
        throw usage_error("no OUTPUT");
    }
    if (options.split_output && options.output == "-") {
        throw usage_error("--split-output writes several files: standard output is one");
    }
    const file_type type = outputType(options);
    const uint8_t format = options.format.value_or(AUDIO_FORMAT_PCM);
    if (type != file_type::RAW && format != AUDIO_FORMAT_PCM && format != AUDIO_FORMAT_FLOAT) {
        throw usage_error("--format: sound files hold pcm or float; use --type raw");
    }
    if (format == AUDIO_FORMAT_AES3 && options.split_output) {
        throw usage_error("--split-output: aes3 holds channels in pairs only");
    }
}

// The format of the output; PCM also stands for the float that a float file may lead to.
uint8_t decidedFormat(const tool_options &options) {
    if (options.format) {
        return *options.format;
    }
    const bool as_input = options.raw && outputType(options) == file_type::RAW;
    const uint8_t format = as_input ? options.raw->format : uint8_t{AUDIO_FORMAT_PCM};
    return format == AUDIO_FORMAT_FLOAT ? uint8_t{AUDIO_FORMAT_PCM} : format;
}

// The speakers of the input; nothing when its file will tell.
std::optional<uint32_t> decidedMask(const tool_options &options) {
    uint32_t split_mask = 0;
    for (const split_input &split : options.split_inputs) {
        split_mask |= 1u << split.speaker;
    }
    if (split_mask != 0) {
        return split_mask;
    }
    if (options.input_mask || !options.raw) {
        return options.input_mask;
    }
    return usualMask(options.raw->channels);
}

void checkOrder(const char *option, const std::optional<order_map> &order,
                const std::optional<uint32_t> &mask) {
    if (!order || !mask) {
        return;
    }
    for (unsigned speaker = 0; speaker < order->size(); ++speaker) {
        if (((*order)[speaker] != 0) != ((*mask >> speaker & 1) != 0)) {
            throw usage_error(std::string(option) + ": not the speakers of the layout " +
                              layoutText(*mask));
        }
    }
}

void checkRawChannels(const tool_options &options) {
    if (!options.raw) {
        return;
    }
    const std::string but =
        ", but --raw has " + std::to_string(options.raw->channels) + " channels";
    if (!options.split_inputs.empty() && options.raw->channels != 1) {
        throw usage_error("--split-input takes mono files" + but);
    }
    if (options.input_mask && speakerCount(*options.input_mask) != options.raw->channels) {
        throw usage_error("--in-layout: " + layoutText(*options.input_mask) + but);
    }
}

void checkFormats(const tool_options &options) {
    const std::optional<uint32_t> input_mask = decidedMask(options);
    const std::optional<uint32_t> mask = options.output_mask ? options.output_mask : input_mask;
    const uint8_t format = decidedFormat(options);
    if (options.bits) {
        try {
            requireDepth(format, *options.bits);
        } catch (const usage_error &error) {
            throw usage_error(std::string("--bits: ") + error.what());
        }
    }
    if (format == AUDIO_FORMAT_AES3 && mask && speakerCount(*mask) % 2 != 0) {
        throw usage_error("--format: aes3 holds channels in pairs only, not " + layoutText(*mask));
    }
    checkOrder("--in-order", options.input_order, input_mask);
    checkOrder("--out-order", options.output_order, mask);
}

} // namespace

void checkOptions(const tool_options &options) {
    checkInputs(options);
    checkOutputs(options);
    checkRawChannels(options);
    checkFormats(options);
}
