#include "plan.h"

#include "errors.h"
#include "library_host.h"
#include "option_texts.h"
#include "settings_plan.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace {

// Sources of one run must agree, since they become the channels of one frame.
void checkSplitSources(const std::vector<source_description> &sources) {
    for (const source_description &source : sources) {
        if (source.bytes.channels != 1) {
            throw conversion_error(source.name + ": has " + std::to_string(source.bytes.channels) +
                                   " channels; --split-input takes mono files");
        }
        if (source.bytes.rate != sources[0].bytes.rate) {
            throw conversion_error(source.name + ": " + std::to_string(source.bytes.rate) +
                                   " Hz, but " + sources[0].name + " has " +
                                   std::to_string(sources[0].bytes.rate) + " Hz");
        }
        if (source.bytes.format != sources[0].bytes.format ||
            source.bytes.bits != sources[0].bytes.bits) {
            throw conversion_error(source.name + ": " + formatName(source.bytes.format) +
                                   " samples, but " + sources[0].name + " has " +
                                   formatName(sources[0].bytes.format));
        }
    }
}

std::optional<uint64_t> longest(const std::vector<source_description> &sources) {
    uint64_t frames = 0;
    for (const source_description &source : sources) {
        if (!source.frame_count) {
            return std::nullopt;
        }
        frames = std::max(frames, *source.frame_count);
    }
    return frames;
}

// "out.wav" becomes "out.FL.wav".
std::string splitPath(const std::string &path, unsigned speaker) {
    const size_t name = path.rfind('/') + 1;
    size_t dot = path.rfind('.');
    if (dot == std::string::npos || dot <= name) {
        dot = path.size();
    }
    return path.substr(0, dot) + "." + speakerName(speaker) + path.substr(dot);
}

// The names of the files derive from this one: in /dev they would be ordinary files.
void checkSplitBase(const std::string &path) {
    std::error_code ignored;
    const auto status = std::filesystem::status(path, ignored);
    if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status)) {
        throw conversion_error(path + ": is no regular file; --split-output names its files "
                                      "after one");
    }
}

// How the output file names its channels: as the input file does when the layout stays.
std::vector<unsigned> outputPositions(const conversion_plan &plan, const file_layout &layout) {
    const bool kept = plan.output_mask == plan.input_mask && layout.mask == plan.input_mask;
    std::vector<unsigned> positions = slotSpeakers(plan.output_mask, plan.output_order);
    if (kept) {
        for (unsigned &position : positions) {
            position = layout.positions[position];
        }
    }
    return positions;
}

void planTargets(conversion_plan &plan, const tool_options &options, const file_layout &layout) {
    if (options.output.empty()) {
        return;
    }
    output_target target;
    target.path = options.output;
    target.type = outputType(options);
    target.bytes = plan.output_bytes;
    target.frame_count = plan.output_frames;
    const std::vector<unsigned> slots = slotSpeakers(plan.output_mask, plan.output_order);
    if (options.split_output) {
        checkSplitBase(options.output);
        target.bytes.channels = 1;
        for (const unsigned speaker : slots) {
            target.path = splitPath(options.output, speaker);
            plan.targets.push_back(target);
        }
        return;
    }
    target.positions = outputPositions(plan, layout);
    // A WAVE mask lists the speakers in ascending order and can say nothing else.
    if (target.type == file_type::WAV && !std::ranges::is_sorted(target.positions)) {
        target.positions.clear();
        plan.notes.push_back("a WAV file cannot tell this channel order: it names no speakers");
    }
    const uint32_t usual = usualMask(target.bytes.channels);
    target.usual_positions = target.positions == slotSpeakers(usual, ascendingOrder(usual));
    plan.targets.push_back(target);
}

void checkFrameSize(const conversion_plan &plan) {
    const audio_converter_settings &settings = plan.settings;
    const bool split = settings.output_separate_channels != 0;
    byte_format bytes = plan.output_bytes;
    bytes.channels = split ? 1 : bytes.channels;
    const size_t least = bytes.format == AUDIO_FORMAT_AES3
                             ? bytes.channels * (bytes.bits + 4u) / 8
                             : groupBytes(bytes) * (split ? settings.output_channels : 1u);
    if (settings.out_frame_size < least) {
        throw usage_error("--frame-size: " + std::to_string(settings.out_frame_size) +
                          " bytes are too few, this output needs " + std::to_string(least));
    }
}

} // namespace

conversion_plan makePlan(const tool_options &options,
                         const std::vector<source_description> &sources) {
    conversion_plan plan;
    if (!options.split_inputs.empty()) {
        checkSplitSources(sources);
    }
    for (const split_input &split : options.split_inputs) {
        plan.split_speakers.push_back(split.speaker);
    }
    settleSettings(plan, options, sources);
    checkSettings(plan.settings);
    checkFrameSize(plan);
    for (const source_description &source : sources) {
        if (!source.layout.note.empty() && !options.input_mask && options.split_inputs.empty()) {
            plan.notes.push_back(source.layout.note);
        }
    }
    plan.input_frames = longest(sources);
    if (plan.input_frames) {
        plan.output_frames = predictFrames(plan.settings, *plan.input_frames);
    }
    planTargets(plan, options, sources[0].layout);
    return plan;
}

uint64_t predictFrames(const audio_converter_settings &settings, uint64_t input_frames) {
    __extension__ using wide = unsigned __int128;
    const auto frames = static_cast<uint64_t>(wide{input_frames} * settings.output_sample_rate /
                                              settings.input_sample_rate);
    const bool pairs = settings.output_format == AUDIO_FORMAT_LPCM_PAIRED ||
                       settings.output_format == AUDIO_FORMAT_LPCM_BE;
    return pairs ? frames + frames % 2 : frames;
}

source_description assumedSource(const tool_options &options) {
    source_description source;
    source.name = "no input";
    source.kind = "none";
    source.bytes.rate = 48000;
    if (options.input_mask) {
        source.bytes.channels = static_cast<uint8_t>(speakerCount(*options.input_mask));
    }
    if (options.raw) {
        source.bytes = *options.raw;
    }
    source.depth = source.bytes.bits;
    return source;
}
