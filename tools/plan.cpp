#include "plan.h"

#include "errors.h"
#include "library_host.h"
#include "matrix_file.h"

#include <algorithm>
#include <filesystem>

namespace {

// A mask bit that names no speaker: it makes two masks differ, so that the library mixes.
constexpr uint32_t MIX_ANYWAY = 0x80000000;

// Sources of one run must agree, since they become the channels of one frame.
void checkSplitSources(const std::vector<source_description> &sources) {
    for (const source_description &source : sources) {
        if (source.bytes.channels != 1 || source.bytes.rate != sources[0].bytes.rate) {
            throw conversion_error(source.name + ": has " + std::to_string(source.bytes.channels) +
                                   " channels at " + std::to_string(source.bytes.rate) +
                                   " Hz; --split-input takes mono files of one rate");
        }
    }
}

class plan_maker {
public:
    plan_maker(const tool_options &given, const std::vector<source_description> &inputs)
        : options(given), sources(inputs), source(inputs[0]) {
    }

    conversion_plan make() {
        if (!options.split_inputs.empty()) {
            checkSplitSources(sources);
        }
        describeInput();
        describeOutput();
        placeChannels();
        if (!options.matrix_path.empty()) {
            useMatrix();
        }
        checkSettings(settings);
        countFrames();
        if (!options.output.empty()) {
            planTargets();
        }
        return std::move(plan);
    }

private:
    void describeInput() {
        const byte_format &bytes = source.bytes;
        settings.input_format = bytes.format;
        settings.input_bits_per_sample = bytes.bits;
        settings.input_channels = bytes.channels;
        settings.input_sample_rate = options.input_rate.value_or(uint32_t{bytes.rate});
        for (const split_input &split : options.split_inputs) {
            plan.split_speakers.push_back(split.speaker);
            plan.input_mask |= 1u << split.speaker;
        }
        if (!plan.split_speakers.empty()) {
            settings.input_separate_channels = 1;
            settings.input_channels = static_cast<uint8_t>(sources.size());
        } else {
            plan.input_mask = options.input_mask.value_or(
                source.layout.mask != 0 ? source.layout.mask : usualMask(bytes.channels));
        }
    }

    uint8_t outputFormat() const {
        if (options.format) {
            return *options.format;
        }
        if (source.is_float) {
            const bool for_integers = options.type == file_type::FLAC || options.dither;
            return for_integers || options.bits.value_or(32) != 32 ? AUDIO_FORMAT_PCM
                                                                   : AUDIO_FORMAT_FLOAT;
        }
        return options.type == file_type::RAW && source.raw ? options.raw->format
                                                            : uint8_t{AUDIO_FORMAT_PCM};
    }

    // The depth nearest to the input's that the output has; 24 for float input.
    uint8_t outputBits(uint8_t format) const {
        if (options.bits || format == AUDIO_FORMAT_FLOAT) {
            return options.bits.value_or(32);
        }
        uint8_t depth = 0;
        for (const source_description &each : sources) {
            depth = std::max(depth, each.is_float ? uint8_t{24} : each.depth);
        }
        const bool is_pcm = format == AUDIO_FORMAT_PCM;
        const bool is_flac = options.type == file_type::FLAC;
        const uint8_t most = is_pcm && !is_flac && !options.dither ? 32 : 24;
        return is_pcm && depth == 20 ? uint8_t{24}
                                     : std::clamp<uint8_t>(depth, is_pcm ? 8 : 16, most);
    }

    void describeOutput() {
        byte_format &bytes = plan.output_bytes;
        plan.output_mask = options.output_mask.value_or(plan.input_mask);
        bytes.format = outputFormat();
        bytes.bits = outputBits(bytes.format);
        bytes.channels = options.output_mask ? static_cast<uint8_t>(speakerCount(plan.output_mask))
                                             : settings.input_channels;
        bytes.rate = options.rate.value_or(uint32_t{settings.input_sample_rate});
        plan.write_bytes = options.frame_size;
        plan.dither = options.dither && changesSamples();
        if (options.dither && !plan.dither) {
            plan.notes.emplace_back("no sample gets shorter: no dither is added");
        }
        settings.output_format = plan.dither ? uint8_t{AUDIO_FORMAT_PCM} : bytes.format;
        settings.output_bits_per_sample = plan.dither ? uint8_t{32} : bytes.bits;
        settings.output_channels = bytes.channels;
        settings.output_sample_rate = bytes.rate;
        settings.output_separate_channels = options.split_output;
        settings.out_frame_size = plan.dither ? 65536 : plan.write_bytes;
    }

    bool isMixed() const {
        return plan.output_mask != plan.input_mask || !options.matrix_path.empty();
    }

    // Whether 32-bit samples would come out with bits below the output's.
    bool changesSamples() const {
        const bool is_deeper = std::ranges::any_of(sources, [&](const source_description &each) {
            return each.is_float || each.depth > plan.output_bytes.bits;
        });
        return is_deeper || isMixed() || plan.output_bytes.rate != settings.input_sample_rate;
    }

    // Masks and orders of both sides, and the names of the slots.
    void placeChannels() {
        const file_layout &layout = source.layout;
        const bool by_file = plan.split_speakers.empty() && !options.input_mask;
        const bool is_foreign = by_file && !layout.positions.empty() && layout.mask == 0;
        if (is_foreign && (options.output_mask || options.output_order || options.input_order ||
                           !options.matrix_path.empty())) {
            throw conversion_error(source.name + ": some of its speakers (" +
                                   layoutText(layout.positions) +
                                   ") cannot be mixed or placed; --in-layout says which ones to "
                                   "take them for");
        }
        if (by_file && isMixed() && positionMask(layout.positions) != layout.mask) {
            plan.notes.emplace_back("the file's side speakers are taken as BL and BR");
        }
        const order_map named = by_file && layout.mask != 0 ? layout.order : order_map{};
        const order_map input_order = options.input_order.value_or(named);
        const order_map output_order = options.output_order.value_or(order_map{});
        settings.input_channel_mask = plan.input_mask;
        settings.output_channel_mask = plan.output_mask;
        plan.input_positions = place(input_order, plan.input_mask, settings.input_order_map_enabled,
                                     settings.input_order_map);
        plan.output_positions = place(output_order, plan.output_mask,
                                      settings.output_order_map_enabled, settings.output_order_map);
        if (is_foreign) {
            plan.input_positions = plan.output_positions = layout.positions;
        }
    }

    // Hands an order to the library unless it is the one that the library assumes.
    static slot_positions place(order_map order, uint32_t mask, uint8_t &enabled,
                                uint8_t (&map)[AUDIO_MAX_CHANNELS]) {
        const order_map ascending = ascendingOrder(mask);
        if (order == order_map{}) {
            order = ascending;
        }
        enabled = order != ascending;
        std::ranges::copy(order, map);
        return slotSpeakers(mask, order);
    }

    void useMatrix() {
        const gain_matrix gains =
            readMatrixFile(options.matrix_path, plan.input_mask, plan.output_mask);
        std::memcpy(settings.user_matrix, gains.data(), sizeof settings.user_matrix);
        settings.user_matrix_enabled = 1;
        if (plan.input_mask == plan.output_mask) {
            settings.output_channel_mask |= MIX_ANYWAY;
        }
    }

    void countFrames() {
        uint64_t longest = 0;
        for (const source_description &each : sources) {
            if (!each.frame_count) {
                return;
            }
            longest = std::max(longest, *each.frame_count);
        }
        plan.input_frames = longest;
        plan.output_frames = predictFrames(plan, longest);
    }

    void planTargets() {
        output_target target;
        target.path = options.output;
        target.type = *options.type;
        target.bytes = plan.output_bytes;
        target.frame_count = plan.output_frames;
        target.metadata = source.metadata;
        const std::string dropped = droppedTexts(target.metadata, target.type);
        if (!dropped.empty()) {
            plan.notes.push_back(dropped);
        }
        rescaleTimeReference(target.metadata, settings.input_sample_rate, target.bytes.rate);
        if (options.split_output) {
            return splitTarget(target);
        }
        target.positions = filePositions();
        // A WAVE mask lists its speakers in ascending order, FLAC has one layout a channel count.
        const bool is_told =
            target.type == file_type::FLAC
                ? target.positions == flacPositions(target.bytes.channels)
                : target.type != file_type::WAV || std::ranges::is_sorted(target.positions);
        if (!is_told || std::ranges::max(target.positions) >= POSITION_COUNT) {
            target.positions.clear();
            plan.notes.emplace_back("the output file cannot name these speakers in this order");
        }
        plan.targets.push_back(target);
    }

    // How the output file names its channels: as the input file does when the layout stays.
    slot_positions filePositions() const {
        slot_positions positions = plan.output_positions;
        const file_layout &layout = source.layout;
        if (plan.output_mask != plan.input_mask || layout.mask != plan.input_mask) {
            return positions;
        }
        for (unsigned &position : positions) {
            const uint8_t place = position < layout.order.size() ? layout.order[position] : 0;
            position = place == 0 ? position : layout.positions[place - 1u];
        }
        return positions;
    }

    // "out.wav" becomes "out.FL.wav" and so on. In /dev those would be ordinary files.
    void splitTarget(output_target target) {
        const std::filesystem::path path = options.output;
        if (std::filesystem::exists(path) && !std::filesystem::is_regular_file(path)) {
            throw conversion_error(options.output + ": is no regular file; --split-output names "
                                                    "its files after one");
        }
        target.bytes.channels = 1;
        for (const unsigned position : plan.output_positions) {
            std::filesystem::path name = path.stem();
            name.concat(".").concat(positionName(position)).concat(path.extension().string());
            target.path = (path.parent_path() / name).string();
            plan.targets.push_back(target);
        }
    }

    const tool_options &options;
    const std::vector<source_description> &sources;
    const source_description &source; // the first one
    conversion_plan plan;
    audio_converter_settings &settings = plan.settings;
};

} // namespace

conversion_plan makePlan(const tool_options &options,
                         const std::vector<source_description> &sources) {
    return plan_maker(options, sources).make();
}

uint64_t predictFrames(const conversion_plan &plan, uint64_t input_frames) {
    __extension__ using wide = unsigned __int128;
    const audio_converter_settings &settings = plan.settings;
    const auto frames = static_cast<uint64_t>(wide{input_frames} * settings.output_sample_rate /
                                              settings.input_sample_rate);
    const uint64_t group = groupFrames(plan.output_bytes.format);
    return (frames + group - 1) / group * group;
}
