#include "layouts.h"

#include "errors.h"

#include <algorithm>
#include <bit>
#include <cctype>
#include <charconv>

namespace {

constexpr uint32_t SPEAKER_BITS = 0xFF;

constexpr std::array<const char *, AUDIO_MAX_CHANNELS> SPEAKER_NAMES{"FL", "FR", "FC",  "LFE",
                                                                     "BL", "BR", "FLC", "FRC"};

struct named_layout {
    const char *name;
    uint32_t mask;
};

// The first name of a mask is the one that reports use.
constexpr named_layout NAMED_LAYOUTS[] = {
    {"mono", 0x04}, {"stereo", 0x03}, {"2.0", 0x03}, {"2.1", 0x0B}, {"3.0", 0x07}, {"3.1", 0x0F},
    {"quad", 0x33}, {"4.1", 0x3B},    {"5.0", 0x37}, {"5.1", 0x3F}, {"7.0", 0xF7}, {"7.1", 0xFF},
};

uint32_t parseMask(const std::string &text) {
    uint32_t mask = 0;
    const char *end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data() + 2, end, mask, 16);
    if (error != std::errc() || stop != end || mask == 0 || mask > SPEAKER_BITS) {
        throw usage_error("'" + text + "': a mask is 0x1 to 0xFF, one bit per speaker");
    }
    return mask;
}

order_map parseOrderNumbers(const std::vector<std::string> &parts, const std::string &text) {
    order_map order{};
    if (parts.size() != order.size()) {
        throw usage_error("'" + text + "': an order map has eight numbers");
    }
    for (size_t k = 0; k < order.size(); ++k) {
        const char *end = parts[k].data() + parts[k].size();
        const auto [stop, error] = std::from_chars(parts[k].data(), end, order[k]);
        if (error != std::errc() || stop != end) {
            throw usage_error("'" + text + "': '" + parts[k] + "' is not a place");
        }
    }
    order_map places = order;
    std::ranges::sort(places);
    const auto first = std::ranges::find_if(places, [](uint8_t place) { return place != 0; });
    for (auto place = first; place != places.end(); ++place) {
        if (*place != place - first + 1) {
            throw usage_error("'" + text + "': places count from 1, each given once");
        }
    }
    if (first == places.end()) {
        throw usage_error("'" + text + "' gives no place");
    }
    return order;
}

} // namespace

std::vector<std::string> splitAtCommas(const std::string &text) {
    std::vector<std::string> parts(1);
    for (const char letter : text) {
        if (letter == ',') {
            parts.emplace_back();
        } else {
            parts.back() += letter;
        }
    }
    return parts;
}

const char *speakerName(unsigned speaker) {
    return SPEAKER_NAMES.at(speaker);
}

unsigned parseSpeaker(const std::string &text) {
    std::string upper;
    for (const char letter : text) {
        upper += static_cast<char>(std::toupper(static_cast<unsigned char>(letter)));
    }
    for (unsigned speaker = 0; speaker < SPEAKER_NAMES.size(); ++speaker) {
        if (upper == SPEAKER_NAMES[speaker]) {
            return speaker;
        }
    }
    throw usage_error("'" + text + "' is no speaker (FL FR FC LFE BL BR FLC FRC)");
}

unsigned speakerCount(uint32_t mask) {
    return static_cast<unsigned>(std::popcount(mask & SPEAKER_BITS));
}

uint32_t usualMask(unsigned channels) {
    constexpr uint32_t MASKS[] = {0, 0x04, 0x03, 0x07, 0x33, 0x37, 0x3F, 0xF7, 0xFF};
    return channels < std::size(MASKS) ? MASKS[channels] : 0;
}

uint32_t parseLayout(const std::string &text) {
    for (const named_layout &layout : NAMED_LAYOUTS) {
        if (text == layout.name) {
            return layout.mask;
        }
    }
    if (text.starts_with("0x") || text.starts_with("0X")) {
        return parseMask(text);
    }
    uint32_t mask = 0;
    for (const std::string &name : splitAtCommas(text)) {
        uint32_t bit = 0;
        try {
            bit = 1u << parseSpeaker(name);
        } catch (const usage_error &) {
            throw usage_error("'" + text +
                              "' is neither a name (mono stereo 2.1 3.0 3.1 "
                              "quad 4.1 5.0 5.1 7.0 7.1), nor speakers such as FL,FR,LFE, "
                              "nor a mask such as 0x3F");
        }
        if (mask & bit) {
            throw usage_error(name + " is named twice");
        }
        mask |= bit;
    }
    return mask;
}

std::string layoutText(uint32_t mask) {
    std::string speakers;
    for (unsigned speaker = 0; speaker < AUDIO_MAX_CHANNELS; ++speaker) {
        if (mask >> speaker & 1) {
            speakers.append(speakers.empty() ? "" : " ").append(speakerName(speaker));
        }
    }
    for (const named_layout &layout : NAMED_LAYOUTS) {
        if ((mask & SPEAKER_BITS) == layout.mask) {
            return std::string(layout.name) + " (" + speakers + ")";
        }
    }
    return speakers;
}

order_map parseOrder(const std::string &text) {
    const std::vector<std::string> parts = splitAtCommas(text);
    if (!text.empty() && std::isdigit(static_cast<unsigned char>(text.front()))) {
        return parseOrderNumbers(parts, text);
    }
    order_map order{};
    uint8_t place = 0;
    for (const std::string &name : parts) {
        uint8_t &entry = order[parseSpeaker(name)];
        if (entry != 0) {
            throw usage_error(name + " is named twice");
        }
        entry = ++place;
    }
    return order;
}

order_map ascendingOrder(uint32_t mask) {
    order_map order{};
    uint8_t place = 0;
    for (unsigned speaker = 0; speaker < AUDIO_MAX_CHANNELS; ++speaker) {
        if (mask >> speaker & 1) {
            order[speaker] = ++place;
        }
    }
    return order;
}

std::vector<unsigned> slotSpeakers(uint32_t mask, const order_map &order) {
    std::vector<unsigned> speakers(speakerCount(mask));
    for (unsigned speaker = 0; speaker < AUDIO_MAX_CHANNELS; ++speaker) {
        if (order[speaker] >= 1 && order[speaker] <= speakers.size()) {
            speakers[order[speaker] - 1] = speaker;
        }
    }
    return speakers;
}
