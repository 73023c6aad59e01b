#include "options.h"

#include "errors.h"
#include "option_texts.h"

#include <CLI/CLI.hpp>
#include <iostream>

namespace {

// The options as CLI11 fills them, before their texts are understood.
struct option_texts {
    std::vector<std::string> files;
    std::vector<std::string> split_inputs;
    std::string raw, in_layout, in_order, type, format, layout, out_order, block;
    unsigned bits = 0;
    uint32_t in_rate = 0, rate = 0;
};

constexpr const char *DESCRIPTION =
    R"(Converts uncompressed audio exactly: sample rate, depth, format and speakers.
What no option changes stays as the input has it. INPUT is any file that
libsndfile reads, or raw bytes with --raw; OUTPUT is WAV (RF64 beyond 4 GiB),
AIFF, CAF or raw. - stands for standard input and standard output.
)";

constexpr const char *FOOTER = R"(Values:
  FORMAT    pcm, float, lpcm-paired, lpcm-be or aes3
  LAYOUT    mono stereo 2.1 3.0 3.1 quad 4.1 5.0 5.1 7.0 7.1, or speakers such
            as FL,FR,LFE, or a mask such as 0x3F
  SPEAKER   FL FR FC LFE BL BR FLC FRC; SPEAKERS is a list of them in the order
            of a frame, or the eight numbers of an order map
  BYTES     a number; --block also takes random:SEED

One channel without a named speaker is taken as the centre, which both sides of
a stereo output receive; --in-layout FL makes it the left one.

The matrix file holds one line of gains per input speaker, one gain per output
speaker, in the order FL FR FC LFE BL BR FLC FRC: 8 lines of 8, or as many as
the two layouts have. A gain is a number or decibels (-3dB); # starts a comment.

Exit status:
  0  done
  1  the conversion failed; no output file is left behind
  2  wrong options

Examples:
  zt-audio-convert --rate 48000 --bits 24 song.wav song.aiff
  zt-audio-convert --layout stereo --info film.wav film-stereo.wav
  zt-audio-convert --split-input FL=l.wav --split-input FR=r.wav both.wav
  zt-audio-convert --raw lpcm-be,20,2,48000 disc.bin disc.wav
)";

// Options as "-r, --rate HZ", texts in a column of their own, all within 80 columns.
class help_formatter : public CLI::Formatter {
public:
    help_formatter() {
        column_width(30);
    }
    std::string make_help(const CLI::App *app, std::string, CLI::AppFormatMode) const override {
        return usageText() + "\n" + DESCRIPTION + groupsText(app) + "\n" + FOOTER;
    }
    std::string groupsText(const CLI::App *app) const {
        std::string text;
        for (const char *group : {"Input", "Output", "Reports"}) {
            text.append("\n").append(group).append(":\n");
            for (const CLI::Option *option : app->get_options()) {
                if (option->get_group() == group) {
                    text += make_option(option, false);
                }
            }
        }
        return text;
    }
    std::string make_option(const CLI::Option *option, bool) const override {
        std::string name = option->get_name(false, true);
        const size_t comma = name.find(',');
        if (comma == std::string::npos) {
            name.insert(0, 4, ' ');
        } else {
            name.insert(comma + 1, " ");
        }
        name.append(option->get_option_text());
        const size_t room = column_width_ - 4;
        name.append(name.size() > room ? "\n" + std::string(column_width_, ' ')
                                       : std::string(room + 2 - name.size(), ' '));
        return "  " + name + option->get_description() + "\n";
    }
};

// One group of the help with short ways to add to it.
class option_group {
public:
    option_group(CLI::App &to, std::string title) : app(to), group(std::move(title)) {
    }
    template <typename Value>
    CLI::Option *value(const std::string &name, Value &target, const std::string &placeholder,
                       const std::string &description) {
        return app.add_option(name, target, description)
            ->option_text(" " + placeholder)
            ->check(CLI::Validator(refuseEmpty, ""))
            ->group(group);
    }
    void flag(const std::string &name, bool &target, const std::string &description) {
        app.add_flag(name, target, description)->group(group);
    }

private:
    static std::string refuseEmpty(std::string &text) {
        return text.empty() ? "the value is empty" : "";
    }

    CLI::App &app;
    std::string group;
};

void addInputOptions(CLI::App &app, option_texts &texts) {
    option_group group(app, "Input");
    const CLI::Range any_rate(uint32_t{1}, UINT32_MAX);
    app.add_option("files", texts.files)->expected(0, 2);
    group.value("--raw", texts.raw, "FORMAT,BITS,CHANNELS,RATE", "INPUT is raw bytes");
    group.value("--in-layout", texts.in_layout, "LAYOUT", "the speakers of the input");
    group.value("--in-order", texts.in_order, "SPEAKERS", "their order in a frame");
    group.value("--in-rate", texts.in_rate, "HZ", "its rate, whatever the file says")
        ->check(any_rate);
    group
        .value("--split-input", texts.split_inputs, "SPEAKER=FILE",
               "one mono file; repeat it, leave INPUT out")
        ->allow_extra_args(false);
}

void addOutputOptions(CLI::App &app, option_texts &texts, tool_options &options) {
    option_group group(app, "Output");
    const CLI::Range any_rate(uint32_t{1}, UINT32_MAX);
    const CLI::IsMember any_depth(std::vector<unsigned>{8, 16, 20, 24, 32});
    group.value("-t,--type", texts.type, "TYPE", "wav, aiff, caf or raw (default: by OUTPUT)");
    group.value("-f,--format", texts.format, "FORMAT", "sample format");
    group.value("-b,--bits", texts.bits, "N", "bits of a sample: 8, 16, 20, 24 or 32")
        ->check(any_depth);
    group.value("-r,--rate", texts.rate, "HZ", "sample rate, 1 to 4294967295")->check(any_rate);
    group.value("-l,--layout", texts.layout, "LAYOUT", "the speakers of the output");
    group.value("--out-order", texts.out_order, "SPEAKERS", "their order in a frame");
    group.value("--matrix", options.matrix_path, "FILE", "mixing gains from a text file");
    group.flag("--split-output", options.split_output,
               "one mono file per speaker: NAME.FL.wav ...");
    group
        .value("--frame-size", options.frame_size, "BYTES", "most bytes of a write (default 65536)")
        ->check(CLI::Range(1u, 1u << 28));
    group.value("--block", texts.block, "BYTES", "bytes of an input call (default 65536)");
}

void addReportOptions(CLI::App &app, tool_options &options) {
    option_group group(app, "Reports");
    group.flag("-i,--info", options.info, "what was understood, with the mixing matrix");
    group.flag("--show-matrix", options.show_matrix, "the mixing matrix alone, also in dB");
    group.flag("--show-filter", options.show_filter, "the rate filter's response as CSV");
    group.flag("-n,--dry-run", options.dry_run, "check everything, write nothing");
    group.flag("--levels", options.levels, "peak and RMS of input and output");
    group.flag("--stats", options.stats, "frames, full-scale samples, memory, speed");
    group.flag("-q,--quiet", options.quiet, "no progress bar, no notes");
}

std::string versionText() {
    std::array<char, 13> version{};
    std::array<char, 15> platform{};
    if (const audio_converter_query query = audioConverterGetAPIExt(1)) {
        query(4, version.data());
        query(5, platform.data());
    }
    return std::string(PROGRAM_NAME) + " " + ZT_TOOL_VERSION + "\nlibrary " + version.data() +
           ", " + platform.data();
}

void placeFiles(const option_texts &texts, tool_options &options) {
    const bool split = !texts.split_inputs.empty();
    const std::vector<std::string> &files = texts.files;
    if (split && files.size() > 1) {
        throw usage_error("--split-input takes the place of INPUT: only OUTPUT may be named");
    }
    if (split && !files.empty()) {
        options.output = files[0];
    }
    if (!split && !files.empty()) {
        options.input = files[0];
    }
    if (files.size() == 2) {
        options.output = files[1];
    }
}

template <typename Target, typename Parser>
void understandText(const std::string &text, Target &target, Parser parse) {
    if (!text.empty()) {
        target = parse(text);
    }
}

void understand(const option_texts &texts, tool_options &options) {
    placeFiles(texts, options);
    for (const std::string &text : texts.split_inputs) {
        options.split_inputs.push_back(parseSplitInput(text));
    }
    understandText(texts.raw, options.raw, parseRawFormat);
    understandText(texts.in_layout, options.input_mask, parseLayout);
    understandText(texts.in_order, options.input_order, parseOrder);
    understandText(texts.type, options.type, parseType);
    understandText(texts.format, options.format, parseFormat);
    understandText(texts.layout, options.output_mask, parseLayout);
    understandText(texts.out_order, options.output_order, parseOrder);
    understandText(texts.block, options.block, parseBlock);
    if (texts.in_rate != 0) {
        options.input_rate = texts.in_rate;
    }
    if (texts.rate != 0) {
        options.rate = texts.rate;
    }
    if (texts.bits != 0) {
        options.bits = static_cast<uint8_t>(texts.bits);
    }
}

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

} // namespace

std::string usageText() {
    return "Usage: zt-audio-convert [OPTION]... INPUT OUTPUT\n"
           "  or:  zt-audio-convert [OPTION]... --split-input SPEAKER=FILE... OUTPUT\n"
           "  or:  zt-audio-convert --info|--dry-run [OPTION]... INPUT\n"
           "  or:  zt-audio-convert --show-matrix|--show-filter [OPTION]... [INPUT]\n";
}

std::optional<tool_options> parseOptions(int argument_count, char **arguments) {
    CLI::App app("", PROGRAM_NAME);
    option_texts texts;
    tool_options options;
    app.formatter(std::make_shared<help_formatter>());
    addInputOptions(app, texts);
    addOutputOptions(app, texts, options);
    addReportOptions(app, options);
    app.set_help_flag("-h,--help", "this text")->group("Reports");
    app.set_version_flag("--version", versionText(), "the version")->group("Reports");
    try {
        app.parse(argument_count, arguments);
    } catch (const CLI::CallForHelp &) {
        std::cout << app.help() << std::flush;
        return std::nullopt;
    } catch (const CLI::CallForVersion &) {
        std::cout << versionText() << "\n";
        return std::nullopt;
    } catch (const CLI::ParseError &error) {
        throw usage_error(error.what());
    }
    understand(texts, options);
    checkInputs(options);
    checkOutputs(options);
    return options;
}
