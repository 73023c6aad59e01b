#include "option_texts.h"

#include "errors.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <limits>
#include <sstream>

namespace {

struct named_format {
    const char *name;
    uint8_t format;
};

constexpr named_format FORMATS[] = {
    {"pcm", AUDIO_FORMAT_PCM},         {"lpcm-paired", AUDIO_FORMAT_LPCM_PAIRED},
    {"lpcm-be", AUDIO_FORMAT_LPCM_BE}, {"aes3", AUDIO_FORMAT_AES3},
    {"float", AUDIO_FORMAT_FLOAT},
};

struct named_type {
    const char *name;
    file_type type;
};

constexpr named_type TYPES[] = {
    {"wav", file_type::WAV},   {"wave", file_type::WAV}, {"rf64", file_type::WAV},
    {"aiff", file_type::AIFF}, {"aif", file_type::AIFF}, {"caf", file_type::CAF},
    {"raw", file_type::RAW},   {"pcm", file_type::RAW},  {"bin", file_type::RAW},
};

template <typename Integer>
Integer parseNumber(const std::string &text, const std::string &option, uint64_t most) {
    uint64_t value = 0;
    const char *end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || stop != end || value > most) {
        throw usage_error(option + ": '" + text + "' is not a number up to " +
                          std::to_string(most));
    }
    return static_cast<Integer>(value);
}

} // namespace

uint8_t parseFormat(const std::string &text) {
    for (const named_format &known : FORMATS) {
        if (text == known.name) {
            return known.format;
        }
    }
    throw usage_error("format '" + text + "' is none of pcm, lpcm-paired, lpcm-be, aes3, float");
}

file_type parseType(const std::string &text) {
    for (const named_type &known : TYPES) {
        if (text == known.name) {
            return known.type;
        }
    }
    throw usage_error("type '" + text + "' is none of wav, aiff, caf, raw");
}

file_type typeOfName(const std::string &path) {
    const std::string name = path.substr(path.rfind('/') + 1);
    const size_t dot = name.rfind('.');
    if (dot == std::string::npos || dot == 0) {
        return file_type::WAV;
    }
    std::string extension = name.substr(dot + 1);
    std::ranges::transform(extension, extension.begin(), [](unsigned char letter) {
        return static_cast<char>(std::tolower(letter));
    });
    try {
        return parseType(extension);
    } catch (const usage_error &) {
        throw usage_error("'" + path + "': the extension names no type that can be written; " +
                          "use --type wav, aiff, caf or raw");
    }
}

file_type outputType(const tool_options &options) {
    if (options.type) {
        return *options.type;
    }
    if (options.output.empty() || options.output == "-") {
        return file_type::WAV;
    }
    return typeOfName(options.output);
}

byte_format parseRawFormat(const std::string &text) {
    std::vector<std::string> parts;
    std::istringstream stream(text);
    for (std::string part; std::getline(stream, part, ',');) {
        parts.push_back(part);
    }
    if (parts.size() != 4) {
        throw usage_error("--raw: '" + text + "' is not FORMAT,BITS,CHANNELS,RATE");
    }
    constexpr uint64_t MOST_RATE = std::numeric_limits<uint32_t>::max();
    return {parseFormat(parts[0]), parseNumber<uint8_t>(parts[1], "--raw bits", 255),
            parseNumber<uint8_t>(parts[2], "--raw channels", 255),
            parseNumber<uint32_t>(parts[3], "--raw rate", MOST_RATE)};
}

split_input parseSplitInput(const std::string &text) {
    const size_t equals = text.find('=');
    if (equals == std::string::npos || equals + 1 == text.size()) {
        throw usage_error("--split-input: '" + text + "' is not SPEAKER=FILE");
    }
    return {parseSpeaker(text.substr(0, equals)), text.substr(equals + 1)};
}

block_choice parseBlock(const std::string &text) {
    constexpr uint64_t MOST_BYTES = 1 << 28;
    block_choice block;
    const std::string random = "random:";
    if (text.starts_with(random)) {
        block.seed = parseNumber<uint64_t>(text.substr(random.size()), "--block seed",
                                           std::numeric_limits<uint64_t>::max());
    } else {
        block.byte_count = parseNumber<uint32_t>(text, "--block", MOST_BYTES);
    }
    if (block.byte_count == 0) {
        throw usage_error("--block: a block has at least 1 byte");
    }
    return block;
}
