#include "options.h"

#include "errors.h"
#include "option_checks.h"
#include "option_texts.h"

#include <CLI/CLI.hpp>
#include <iostream>
#include <span>

namespace {

// The options as CLI11 fills them, before their texts are understood.
struct option_texts {
    std::vector<std::string> files;
    std::vector<std::string> split_inputs;
    std::string raw, in_layout, in_order, type, format, layout, out_order, bits, in_rate, rate;
    std::string frame_size, block;
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
    app.add_option("files", texts.files)->expected(0, 2);
    group.value("--raw", texts.raw, "FORMAT,BITS,CHANNELS,RATE", "INPUT is raw bytes");
    group.value("--in-layout", texts.in_layout, "LAYOUT", "the speakers of the input");
    group.value("--in-order", texts.in_order, "SPEAKERS", "their order in a frame");
    group.value("--in-rate", texts.in_rate, "HZ", "its rate, whatever the file says");
    group
        .value("--split-input", texts.split_inputs, "SPEAKER=FILE",
               "one mono file; repeat it, leave INPUT out")
        ->allow_extra_args(false);
}

void addOutputOptions(CLI::App &app, option_texts &texts, tool_options &options) {
    option_group group(app, "Output");
    group.value("-t,--type", texts.type, "TYPE", "wav, aiff, caf or raw (default: by OUTPUT)");
    group.value("-f,--format", texts.format, "FORMAT", "sample format");
    group.value("-b,--bits", texts.bits, "N", "bits of a sample: 8, 16, 20, 24 or 32");
    group.value("-r,--rate", texts.rate, "HZ", "sample rate, 1 to 4294967295");
    group.value("-l,--layout", texts.layout, "LAYOUT", "the speakers of the output");
    group.value("--out-order", texts.out_order, "SPEAKERS", "their order in a frame");
    group.value("--matrix", options.matrix_path, "FILE", "mixing gains from a text file");
    group.flag("--split-output", options.split_output,
               "one mono file per speaker: NAME.FL.wav ...");
    group.value("--frame-size", texts.frame_size, "BYTES", "most bytes of a write (default 65536)");
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

// "--option=value": CLI11 takes the next word for an empty value and numbers for flags.
void checkAttachedValues(const CLI::App &app, std::span<char *> arguments) {
    for (const std::string word : arguments) {
        if (word == "--") {
            return;
        }
        const size_t equals = word.find('=');
        const std::string name = word.substr(0, equals);
        const CLI::Option *option = app.get_option_no_throw(name);
        if (!name.starts_with("--") || equals == std::string::npos || option == nullptr) {
            continue;
        }
        if (option->get_expected_min() == 0) {
            throw usage_error(name + " takes no value");
        }
        if (equals + 1 == word.size()) {
            throw usage_error(name + ": the value is empty");
        }
    }
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
void understandText(const char *option, const std::string &text, Target &target, Parser parse) {
    if (text.empty()) {
        return;
    }
    try {
        target = parse(text);
    } catch (const usage_error &error) {
        throw usage_error(std::string(option) + ": " + error.what());
    }
}

void understand(const option_texts &texts, tool_options &options) {
    placeFiles(texts, options);
    for (const std::string &text : texts.split_inputs) {
        understandText("--split-input", text, options.split_inputs.emplace_back(), parseSplitInput);
    }
    understandText("--raw", texts.raw, options.raw, parseRawFormat);
    understandText("--in-layout", texts.in_layout, options.input_mask, parseLayout);
    understandText("--in-order", texts.in_order, options.input_order, parseOrder);
    understandText("--type", texts.type, options.type, parseType);
    understandText("--format", texts.format, options.format, parseFormat);
    understandText("--layout", texts.layout, options.output_mask, parseLayout);
    understandText("--out-order", texts.out_order, options.output_order, parseOrder);
    understandText("--block", texts.block, options.block, parseBlock);
    understandText("--in-rate", texts.in_rate, options.input_rate, parseRate);
    understandText("--rate", texts.rate, options.rate, parseRate);
    understandText("--bits", texts.bits, options.bits, parseBits);
    understandText("--frame-size", texts.frame_size, options.frame_size, parseByteCount);
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
        checkAttachedValues(app, std::span(arguments, static_cast<size_t>(argument_count)));
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
    checkOptions(options);
    return options;
}
