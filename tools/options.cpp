#include "options.h"

#include "errors.h"

#include <CLI/CLI.hpp>
#include <charconv>
#include <cmath>
#include <functional>
#include <iostream>
#include <map>

namespace {

constexpr const char *DESCRIPTION =
    R"(Converts uncompressed audio exactly: sample rate, depth, format and speakers.
What no option changes stays as the input has it. INPUT is any file that
libsndfile reads, or raw bytes with --raw; OUTPUT is WAV (RF64 beyond 4 GiB),
AIFF, CAF, FLAC or raw. - stands for standard input and standard output.
)";

constexpr const char *FOOTER = R"(Values:
  FORMAT    pcm, float, lpcm-paired, lpcm-be or aes3
  HZ        a rate such as 48000, 48k or 44.1k
  LAYOUT    mono stereo 2.1 3.0 3.1 quad 4.1 5.0 5.1 7.0 7.1, or speakers such
            as FL,FR,LFE
  SPEAKER   FL FR FC LFE BL BR FLC FRC; SPEAKERS is a list such as FC,FL,FR
            in the order of a frame

One channel without a named speaker is taken as the centre, which both sides of
a stereo output receive; --in-layout FL makes it the left one.

The matrix file holds one line of gains per input speaker, one gain per output
speaker, in the order FL FR FC LFE BL BR FLC FRC: 8 lines of 8, or as many as
the two layouts have. A gain is a number or decibels (-3dB); # starts a comment.

Shorter samples are truncated. --dither adds triangular noise of 2 LSB and
rounds; the same command gives the same file.

Exit status:
  0  done
  1  the conversion failed; no output file is left behind
  2  options that are wrong for every input

Examples:
  zt-audio-convert --rate 48k --bits 24 song.wav song.aiff
  zt-audio-convert --layout stereo --info film.wav film-stereo.wav
  zt-audio-convert --bits 16 --dither master.wav master.flac
  zt-audio-convert --raw lpcm-be,20,2,48000 disc.bin disc.wav
)";

const std::map<std::string, uint8_t> FORMATS{{"pcm", AUDIO_FORMAT_PCM},
                                             {"lpcm-paired", AUDIO_FORMAT_LPCM_PAIRED},
                                             {"lpcm-be", AUDIO_FORMAT_LPCM_BE},
                                             {"aes3", AUDIO_FORMAT_AES3},
                                             {"float", AUDIO_FORMAT_FLOAT}};

// Names of types, and extensions of files.
const std::map<std::string, file_type> TYPES{
    {"wav", file_type::WAV},   {"wave", file_type::WAV}, {"rf64", file_type::WAV},
    {"aiff", file_type::AIFF}, {"aif", file_type::AIFF}, {"caf", file_type::CAF},
    {"flac", file_type::FLAC}, {"raw", file_type::RAW},  {"pcm", file_type::RAW},
    {"bin", file_type::RAW},
};

template <typename Value>
Value lookUp(const std::map<std::string, Value> &table, const std::string &text,
             const char *names) {
    const auto found = table.find(text);
    if (found == table.end()) {
        throw usage_error("'" + text + "' is none of " + names);
    }
    return found->second;
}

uint8_t parseFormat(const std::string &text) {
    return lookUp(FORMATS, text, "pcm, lpcm-paired, lpcm-be, aes3, float");
}

file_type parseType(const std::string &text) {
    return lookUp(TYPES, text, "wav, aiff, caf, flac, raw");
}

// A whole number, for a rate also one with a k behind it.
uint32_t parseNumber(const std::string &text, uint32_t most, bool is_rate = false) {
    double value = 0.0;
    const char *end = text.data() + text.size();
    const bool in_thousands = is_rate && text.ends_with('k');
    const auto [stop, error] = std::from_chars(text.data(), end, value, std::chars_format::fixed);
    value *= in_thousands ? 1000.0 : 1.0;
    const double whole = std::round(value);
    const bool in_range = whole >= 1.0 && whole <= most; // "nan" is a number to from_chars
    if (error != std::errc() || stop + (in_thousands ? 1 : 0) != end || !in_range ||
        std::abs(value - whole) > 1e-6) {
        throw usage_error("'" + text + "' is not a whole number from 1 to " + std::to_string(most));
    }
    return static_cast<uint32_t>(whole);
}

uint32_t parseRate(const std::string &text) {
    return parseNumber(text, UINT32_MAX, true);
}

uint32_t parseByteCount(const std::string &text) {
    return parseNumber(text, 1u << 28);
}

uint8_t parseBits(const std::string &text) {
    const uint32_t bits = parseNumber(text, 32);
    if (bits % 8 != 0 && bits != 20) {
        throw usage_error("'" + text + "' is none of 8, 16, 20, 24, 32");
    }
    return static_cast<uint8_t>(bits);
}

byte_format parseRawFormat(const std::string &text) {
    const std::vector<std::string> parts = splitAtCommas(text);
    if (parts.size() != 4) {
        throw usage_error("'" + text + "' is not FORMAT,BITS,CHANNELS,RATE");
    }
    return {parseFormat(parts[0]), parseBits(parts[1]),
            static_cast<uint8_t>(parseNumber(parts[2], AUDIO_MAX_CHANNELS)), parseRate(parts[3])};
}

split_input parseSplitInput(const std::string &text) {
    const size_t equals = text.find('=');
    if (equals == std::string::npos || equals + 1 == text.size()) {
        throw usage_error("--split-input: '" + text + "' is not SPEAKER=FILE");
    }
    return {parseSpeaker(text.substr(0, equals)), text.substr(equals + 1)};
}

// The usage first, then the description.
class help_formatter : public CLI::Formatter {
public:
    help_formatter() {
        column_width(36);
        label("OPTIONS", "");
    }
    std::string make_description(const CLI::App *) const override {
        return usageText() + "\n" + DESCRIPTION;
    }
    std::string make_usage(const CLI::App *, std::string) const override {
        return "";
    }
    std::string make_option_name(const CLI::Option *option, bool) const override {
        const std::string name = option->get_name(false, true);
        const size_t comma = name.find(',');
        return comma == std::string::npos ? name
                                          : name.substr(0, comma) + ", " + name.substr(comma + 1);
    }
};

// One group of the help with short ways to add to it.
class option_group {
public:
    option_group(CLI::App &to, std::string title) : app(to), group(std::move(title)) {
    }
    // The parser's usage_error becomes one that names the option.
    template <typename Target, typename Parser>
    void add(const std::string &name, Target &target, Parser parse, const std::string &placeholder,
             const std::string &description) {
        const std::string shown = name.substr(name.find("--"));
        app.add_option_function<std::string>(
               name,
               [&target, parse, shown](const std::string &text) {
                   try {
                       target = parse(text);
                   } catch (const usage_error &error) {
                       throw CLI::ValidationError(shown, error.what());
                   }
               },
               description)
            ->option_text(placeholder)
            ->group(group);
    }
    void add(const std::string &name, bool &target, const std::string &description) {
        app.add_flag(name, target, description)->disable_flag_override()->group(group);
    }

private:
    CLI::App &app;
    std::string group;
};

void addInputOptions(CLI::App &app, tool_options &options, std::vector<std::string> &splits) {
    option_group in(app, "Input");
    in.add("--raw", options.raw, parseRawFormat, "FORMAT,BITS,CHANNELS,RATE", "INPUT is raw bytes");
    in.add("--in-layout", options.input_mask, parseLayout, "LAYOUT", "speakers of the input");
    in.add("--in-order", options.input_order, parseOrder, "SPEAKERS", "order in a frame");
    in.add("--in-rate", options.input_rate, parseRate, "HZ", "its rate, whatever the file says");
    in.add("--ignore-length", options.ignore_length, "convert what is there of a file cut off");
    app.add_option("--split-input", splits, "one mono file; repeat it, leave INPUT out")
        ->option_text("SPEAKER=FILE")
        ->allow_extra_args(false)
        ->excludes(app.get_option("--in-layout"))
        ->excludes(app.get_option("--in-order"))
        ->group("Input");
}

void addOutputOptions(CLI::App &app, tool_options &options) {
    option_group out(app, "Output");
    out.add("-t,--type", options.type, parseType, "TYPE",
            "wav, aiff, caf, flac, raw; else by name");
    out.add("-f,--format", options.format, parseFormat, "FORMAT", "sample format");
    out.add("-b,--bits", options.bits, parseBits, "N", "8, 16, 20, 24 or 32");
    out.add("-r,--rate", options.rate, parseRate, "HZ", "sample rate, 1 to 4294967295");
    out.add("-l,--layout", options.output_mask, parseLayout, "LAYOUT", "speakers of the output");
    out.add("--out-order", options.output_order, parseOrder, "SPEAKERS", "order in a frame");
    out.add("--matrix", options.matrix_path, std::identity{}, "FILE",
            "mixing gains from a text file");
    out.add("--dither", options.dither, "add noise where samples get shorter");
    out.add("--no-metadata", options.no_metadata, "leave title, artist ... behind");
    out.add("--split-output", options.split_output, "one mono file per speaker: NAME.FL.wav ...");
    out.add("--frame-size", options.frame_size, parseByteCount, "BYTES",
            "most bytes of a write (default 65536)");
}

void addReportOptions(CLI::App &app, tool_options &options) {
    option_group reports(app, "Reports");
    reports.add("-i,--info", options.info, "what was understood, with the mixing matrix");
    reports.add("--show-matrix", options.show_matrix, "the mixing matrix alone, also in dB");
    reports.add("-n,--dry-run", options.dry_run, "the same, and check all, but write nothing");
    reports.add("--stats", options.stats, "peak, RMS and full-scale samples, frames");
    reports.add("-q,--quiet", options.quiet, "no progress, no notes");
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

// INPUT and OUTPUT; with --split-input OUTPUT alone.
void placeFiles(std::vector<std::string> files, const std::vector<std::string> &splits,
                tool_options &options) {
    for (const std::string &text : splits) {
        const split_input input = parseSplitInput(text);
        if (std::ranges::count(options.split_inputs, input.speaker, &split_input::speaker) > 0) {
            throw usage_error("--split-input: '" + text + "' names a speaker again");
        }
        options.split_inputs.push_back(input);
    }
    if (!splits.empty()) {
        files.insert(files.begin(), "");
    }
    files.resize(std::max<size_t>(files.size(), 2));
    if (files.size() > 2) {
        throw usage_error("'" + files[2] + "' is one file too many" +
                          (splits.empty() ? "" : ": --split-input takes the place of INPUT"));
    }
    options.input = files[0];
    options.output = files[1];
}

// The type that a file name stands for; WAV without an extension.
file_type typeOfName(const std::string &path) {
    const std::string name = path.substr(path.rfind('/') + 1);
    const size_t dot = name.rfind('.');
    if (path == "-" || dot == std::string::npos || dot == 0) {
        return file_type::WAV;
    }
    const auto found = TYPES.find(CLI::detail::to_lower(name.substr(dot + 1)));
    if (found == TYPES.end()) {
        throw usage_error("'" + path + "': the extension names no type that can be written; " +
                          "use --type wav, aiff, caf, flac or raw");
    }
    return found->second;
}

void checkInput(const tool_options &options) {
    const bool has_input = !options.input.empty() || !options.split_inputs.empty();
    if (!has_input && !(options.show_matrix && (options.input_mask || options.raw))) {
        throw usage_error("no INPUT; --show-matrix can do with --raw or --in-layout");
    }
}

void checkOutput(const tool_options &options) {
    if (options.output.empty() && !options.info && !options.show_matrix && !options.dry_run) {
        throw usage_error("no OUTPUT");
    }
    if (options.split_output && options.output == "-") {
        throw usage_error("--split-output writes several files: standard output is one");
    }
    const uint8_t format = options.format.value_or(AUDIO_FORMAT_PCM);
    const file_type type = options.type.value_or(file_type::RAW);
    if (type != file_type::RAW && format != AUDIO_FORMAT_PCM && format != AUDIO_FORMAT_FLOAT) {
        throw usage_error("--format: sound files hold pcm or float; use --type raw");
    }
    if (type == file_type::FLAC &&
        (format == AUDIO_FORMAT_FLOAT || options.bits.value_or(16) > 24)) {
        throw usage_error("--bits: FLAC holds integers of at most 24 bits");
    }
    if (format == AUDIO_FORMAT_AES3 && options.split_output) {
        throw usage_error("--split-output: aes3 holds channels in pairs only");
    }
    if (options.dither && (format == AUDIO_FORMAT_FLOAT || options.bits.value_or(16) == 32)) {
        throw usage_error("--dither is for integers of at most 24 bits");
    }
}

} // namespace

std::string usageText() {
    return "Usage: zt-audio-convert [OPTION]... INPUT OUTPUT\n"
           "  or:  zt-audio-convert [OPTION]... --split-input SPEAKER=FILE... OUTPUT\n"
           "  or:  zt-audio-convert --info|--dry-run [OPTION]... INPUT\n"
           "  or:  zt-audio-convert --show-matrix [OPTION]... [INPUT]\n";
}

std::optional<tool_options> parseOptions(int argument_count, char **arguments) {
    CLI::App app("", PROGRAM_NAME);
    std::vector<std::string> files;
    std::vector<std::string> splits;
    tool_options options;
    app.formatter(std::make_shared<help_formatter>());
    app.footer(FOOTER);
    app.add_option("files", files)->expected(0, -1)->group("");
    addInputOptions(app, options, splits);
    addOutputOptions(app, options);
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
    placeFiles(files, splits, options);
    if (!options.type && !options.output.empty()) {
        options.type = typeOfName(options.output);
    }
    checkInput(options);
    checkOutput(options);
    return options;
}
