#include "layouts.h"

#include "errors.h"

#include <algorithm>
#include <bit>
#include <sndfile.h>
#include <sstream>

namespace {

enum file_position : unsigned { BACK_LEFT = 4, SIDE_LEFT = 9, SIDE_RIGHT = 10 };

struct named_position {
    const char *name;
    int map_code;       // of libsndfile
    int other_code = 0; // with the same meaning
};

constexpr named_position POSITIONS[POSITION_COUNT] = {
    {"FL", SF_CHANNEL_MAP_LEFT, SF_CHANNEL_MAP_FRONT_LEFT},
    {"FR", SF_CHANNEL_MAP_RIGHT, SF_CHANNEL_MAP_FRONT_RIGHT},
    {"FC", SF_CHANNEL_MAP_CENTER, SF_CHANNEL_MAP_FRONT_CENTER},
    {"LFE", SF_CHANNEL_MAP_LFE},
    {"BL", SF_CHANNEL_MAP_REAR_LEFT},
    {"BR", SF_CHANNEL_MAP_REAR_RIGHT},
    {"FLC", SF_CHANNEL_MAP_FRONT_LEFT_OF_CENTER},
    {"FRC", SF_CHANNEL_MAP_FRONT_RIGHT_OF_CENTER},
    {"BC", SF_CHANNEL_MAP_REAR_CENTER},
    {"SL", SF_CHANNEL_MAP_SIDE_LEFT},
    {"SR", SF_CHANNEL_MAP_SIDE_RIGHT},
    {"TC", SF_CHANNEL_MAP_TOP_CENTER},
    {"TFL", SF_CHANNEL_MAP_TOP_FRONT_LEFT},
    {"TFC", SF_CHANNEL_MAP_TOP_FRONT_CENTER},
    {"TFR", SF_CHANNEL_MAP_TOP_FRONT_RIGHT},
    {"TBL", SF_CHANNEL_MAP_TOP_REAR_LEFT},
    {"TBC", SF_CHANNEL_MAP_TOP_REAR_CENTER},
    {"TBR", SF_CHANNEL_MAP_TOP_REAR_RIGHT},
};

struct named_layout {
    const char *name;
    uint32_t mask;
};

// The first name of a mask is the one that reports use.
constexpr named_layout NAMED_LAYOUTS[] = {
    {"mono", 0x04}, {"stereo", 0x03}, {"2.0", 0x03}, {"2.1", 0x0B}, {"3.0", 0x07}, {"3.1", 0x0F},
    {"quad", 0x33}, {"4.1", 0x3B},    {"5.0", 0x37}, {"5.1", 0x3F}, {"7.0", 0xF7}, {"7.1", 0xFF},
};

slot_positions positionsOfMask(uint32_t mask) {
    slot_positions positions;
    for (unsigned position = 0; position < 32; ++position) {
        if (mask >> position & 1) {
            positions.push_back(position);
        }
    }
    return positions;
}

std::string joinedNames(const slot_positions &positions) {
    std::string names;
    for (const unsigned position : positions) {
        names.append(names.empty() ? "" : " ").append(positionName(position));
    }
    return names;
}

} // namespace

std::vector<std::string> splitAtCommas(const std::string &text) {
    std::vector<std::string> parts;
    std::istringstream rest(text + ",");
    for (std::string part; std::getline(rest, part, ',');) {
        parts.push_back(part);
    }
    return parts;
}

std::string positionName(unsigned position) {
    return position < POSITION_COUNT ? POSITIONS[position].name : "?";
}

unsigned parseSpeaker(const std::string &text) {
    std::string upper = text;
    std::ranges::transform(upper, upper.begin(), [](unsigned char letter) {
        return static_cast<char>(std::toupper(letter));
    });
    for (unsigned speaker = 0; speaker < AUDIO_MAX_CHANNELS; ++speaker) {
        if (upper == POSITIONS[speaker].name) {
            return speaker;
        }
    }
    throw usage_error("'" + text + "' is no speaker (FL FR FC LFE BL BR FLC FRC)");
}

unsigned speakerCount(uint32_t mask) {
    return static_cast<unsigned>(std::popcount(mask & 0xFF));
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
    uint32_t mask = 0;
    for (const std::string &name : splitAtCommas(text)) {
        const uint32_t bit = 1u << parseSpeaker(name);
        if (mask & bit) {
            throw usage_error(name + " is named twice");
        }
        mask |= bit;
    }
    return mask;
}

std::string layoutText(const slot_positions &positions) {
    const uint32_t mask = positionMask(positions);
    const slot_positions ascending = positionsOfMask(mask);
    std::string text = joinedNames(ascending);
    for (const named_layout &layout : NAMED_LAYOUTS) {
        if (mask == layout.mask) {
            text = std::string(layout.name) + " (" + text + ")";
            break;
        }
    }
    return positions == ascending ? text : text + ", in the order " + joinedNames(positions);
}

order_map parseOrder(const std::string &text) {
    order_map order{};
    uint8_t place = 0;
    for (const std::string &name : splitAtCommas(text)) {
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

slot_positions slotSpeakers(uint32_t mask, const order_map &order) {
    slot_positions speakers(speakerCount(mask));
    for (unsigned speaker = 0; speaker < AUDIO_MAX_CHANNELS; ++speaker) {
        if (order[speaker] >= 1 && order[speaker] <= speakers.size()) {
            speakers[order[speaker] - 1] = speaker;
        }
    }
    return speakers;
}

slot_positions slotSpeakers(uint32_t mask) {
    return slotSpeakers(mask, ascendingOrder(mask));
}

uint32_t positionMask(const slot_positions &positions) {
    uint32_t mask = 0;
    for (const unsigned position : positions) {
        mask |= position < 32 ? 1u << position : 0;
    }
    return mask;
}

file_layout layoutFromPositions(const slot_positions &positions) {
    file_layout layout;
    layout.positions = positions;
    const bool has_backs = (positionMask(positions) >> BACK_LEFT & 3) != 0;
    uint32_t mask = 0;
    for (size_t slot = 0; slot < positions.size(); ++slot) {
        unsigned speaker = positions[slot];
        if (!has_backs && (speaker == SIDE_LEFT || speaker == SIDE_RIGHT)) {
            speaker -= SIDE_LEFT - BACK_LEFT;
        }
        if (speaker >= AUDIO_MAX_CHANNELS || (mask >> speaker & 1)) {
            return layout;
        }
        mask |= 1u << speaker;
        layout.order[speaker] = static_cast<uint8_t>(slot + 1);
    }
    layout.mask = mask;
    return layout;
}

file_layout layoutFromWaveMask(uint32_t wave_mask, unsigned channels) {
    const slot_positions positions = positionsOfMask(wave_mask);
    return positions.size() == channels ? layoutFromPositions(positions) : file_layout{};
}

slot_positions flacPositions(unsigned channels) {
    constexpr uint32_t MASKS[] = {0, 0x04, 0x03, 0x07, 0x33, 0x37, 0x3F, 0x70F, 0x63F};
    return channels < std::size(MASKS) ? positionsOfMask(MASKS[channels]) : slot_positions{};
}

slot_positions positionsFromMapCodes(const std::vector<int> &codes) {
    slot_positions positions;
    for (int code : codes) {
        code = code == SF_CHANNEL_MAP_MONO ? int{SF_CHANNEL_MAP_CENTER} : code;
        const auto *found = std::ranges::find_if(POSITIONS, [code](const named_position &position) {
            return position.map_code == code || position.other_code == code;
        });
        positions.push_back(static_cast<unsigned>(found - std::begin(POSITIONS)));
    }
    return positions;
}

std::vector<int> mapCodesFromPositions(const slot_positions &positions) {
    std::vector<int> codes;
    for (const unsigned position : positions) {
        codes.push_back(POSITIONS[position].map_code);
    }
    return codes;
}
