#include "option_texts.h"

#include "errors.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <limits>

namespace {

struct named_format {
    const char *name;
    uint8_t format;
    std::array<uint8_t, 4> depths;
    const char *depths_text;
};

constexpr named_format FORMATS[] = {
    {"pcm", AUDIO_FORMAT_PCM, {8, 16, 24, 32}, "8, 16, 24 or 32"},
    {"lpcm-paired", AUDIO_FORMAT_LPCM_PAIRED, {16, 20, 24}, "16, 20 or 24"},
    {"lpcm-be", AUDIO_FORMAT_LPCM_BE, {16, 20, 24}, "16, 20 or 24"},
    {"aes3", AUDIO_FORMAT_AES3, {16, 20, 24}, "16, 20 or 24"},
    {"float", AUDIO_FORMAT_FLOAT, {32}, "32"},
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

// Decimal digits alone.
template <typename Integer>
Integer parseNumber(const std::string &text, const std::string &unit, uint64_t least,
                    uint64_t most) {
    uint64_t value = 0;
    const char *end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || stop != end || value < least || value > most) {
        throw usage_error("'" + text + "' is not a whole number" + unit + " from " +
                          std::to_string(least) + " to " + std::to_string(most));
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
    throw usage_error("'" + text + "' is none of pcm, lpcm-paired, lpcm-be, aes3, float");
}

file_type parseType(const std::string &text) {
    for (const named_type &known : TYPES) {
        if (text == known.name) {
            return known.type;
        }
    }
    throw usage_error("'" + text + "' is none of wav, aiff, caf, raw");
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

void requireDepth(uint8_t format, unsigned bits) {
    for (const named_format &known : FORMATS) {
        if (known.format == format && std::ranges::find(known.depths, bits) == known.depths.end()) {
            throw usage_error(std::string(known.name) + " samples have " + known.depths_text +
                              " bits, not " + std::to_string(bits));
        }
    }
}

byte_format parseRawFormat(const std::string &text) {
    const std::vector<std::string> parts = splitAtCommas(text);
    if (parts.size() != 4) {
        throw usage_error("'" + text + "' is not FORMAT,BITS,CHANNELS,RATE");
    }
    const byte_format bytes{parseFormat(parts[0]), parseBits(parts[1]),
                            parseNumber<uint8_t>(parts[2], " of channels", 1, AUDIO_MAX_CHANNELS),
                            parseRate(parts[3])};
    requireDepth(bytes.format, bytes.bits);
    if (bytes.format == AUDIO_FORMAT_AES3 && bytes.channels % 2 != 0) {
        throw usage_error("aes3 holds channels in pairs only");
    }
    return bytes;
}

uint32_t parseRate(const std::string &text) {
    return parseNumber<uint32_t>(text, " of Hz", 1, std::numeric_limits<uint32_t>::max());
}

uint8_t parseBits(const std::string &text) {
    for (const unsigned depth : {8, 16, 20, 24, 32}) {
        if (text == std::to_string(depth)) {
            return static_cast<uint8_t>(depth);
        }
    }
    throw usage_error("'" + text + "' is none of 8, 16, 20, 24 or 32 bits");
}

uint32_t parseByteCount(const std::string &text) {
    return parseNumber<uint32_t>(text, " of bytes", 1, 1 << 28);
}

split_input parseSplitInput(const std::string &text) {
    const size_t equals = text.find('=');
    if (equals == std::string::npos || equals + 1 == text.size()) {
        throw usage_error("'" + text + "' is not SPEAKER=FILE");
    }
    return {parseSpeaker(text.substr(0, equals)), text.substr(equals + 1)};
}

block_choice parseBlock(const std::string &text) {
    block_choice block;
    const std::string random = "random:";
    if (text.starts_with(random)) {
        constexpr uint64_t MOST = std::numeric_limits<uint64_t>::max();
        block.seed = parseNumber<uint64_t>(text.substr(random.size()), "", 0, MOST);
    } else {
        block.byte_count = parseByteCount(text);
    }
    return block;
}
