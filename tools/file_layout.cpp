#include "file_layout.h"

#include <algorithm>
#include <iterator>
#include <sndfile.h>

namespace {

enum file_position : unsigned { BACK_LEFT = 4, FRONT_LEFT_CENTRE = 6, SIDE_LEFT = 9, UNKNOWN = 99 };

// By file position.
constexpr int MAP_CODES[] = {
    SF_CHANNEL_MAP_LEFT,
    SF_CHANNEL_MAP_RIGHT,
    SF_CHANNEL_MAP_CENTER,
    SF_CHANNEL_MAP_LFE,
    SF_CHANNEL_MAP_REAR_LEFT,
    SF_CHANNEL_MAP_REAR_RIGHT,
    SF_CHANNEL_MAP_FRONT_LEFT_OF_CENTER,
    SF_CHANNEL_MAP_FRONT_RIGHT_OF_CENTER,
    SF_CHANNEL_MAP_REAR_CENTER,
    SF_CHANNEL_MAP_SIDE_LEFT,
    SF_CHANNEL_MAP_SIDE_RIGHT,
};

// Other codes with the meaning of a position above.
int plainCode(int code) {
    switch (code) {
    case SF_CHANNEL_MAP_MONO:
    case SF_CHANNEL_MAP_FRONT_CENTER:
        return SF_CHANNEL_MAP_CENTER;
    case SF_CHANNEL_MAP_FRONT_LEFT:
        return SF_CHANNEL_MAP_LEFT;
    case SF_CHANNEL_MAP_FRONT_RIGHT:
        return SF_CHANNEL_MAP_RIGHT;
    default:
        return code;
    }
}

bool contains(const std::vector<unsigned> &positions, unsigned position) {
    return std::ranges::find(positions, position) != positions.end();
}

// The library knows no side speakers: they stand in for a pair that the file does not have.
std::string foldSides(std::vector<unsigned> &positions) {
    if (!contains(positions, SIDE_LEFT) && !contains(positions, SIDE_LEFT + 1)) {
        return {};
    }
    unsigned pair = BACK_LEFT;
    if (contains(positions, pair) || contains(positions, pair + 1)) {
        pair = FRONT_LEFT_CENTRE;
    }
    for (unsigned &position : positions) {
        if (position == SIDE_LEFT || position == SIDE_LEFT + 1) {
            position = pair + (position - SIDE_LEFT);
        }
    }
    return "the file's side speakers are taken as " + std::string(speakerName(pair)) + " and " +
           speakerName(pair + 1);
}

} // namespace

file_layout layoutFromPositions(std::vector<unsigned> positions) {
    file_layout layout;
    const std::vector<unsigned> named = positions;
    layout.note = foldSides(positions);
    for (size_t slot = 0; slot < positions.size(); ++slot) {
        const unsigned speaker = positions[slot];
        if (speaker >= AUDIO_MAX_CHANNELS || (layout.mask >> speaker & 1)) {
            file_layout unknown;
            unknown.note = "the file names speakers that have no place here; --in-layout sets them";
            return unknown;
        }
        layout.mask |= 1u << speaker;
        layout.order[speaker] = static_cast<uint8_t>(slot + 1);
        layout.positions[speaker] = static_cast<uint8_t>(named[slot]);
    }
    return layout;
}

file_layout layoutFromWaveMask(uint32_t wave_mask, unsigned channels) {
    std::vector<unsigned> positions;
    for (unsigned position = 0; position < 32; ++position) {
        if (wave_mask >> position & 1) {
            positions.push_back(position);
        }
    }
    return positions.size() == channels ? layoutFromPositions(positions) : file_layout{};
}

std::vector<unsigned> positionsFromMapCodes(const std::vector<int> &codes) {
    std::vector<unsigned> positions;
    for (const int code : codes) {
        const auto *found = std::ranges::find(MAP_CODES, plainCode(code));
        positions.push_back(found == std::end(MAP_CODES)
                                ? UNKNOWN
                                : static_cast<unsigned>(found - std::begin(MAP_CODES)));
    }
    return positions;
}

std::vector<int> mapCodesFromPositions(const std::vector<unsigned> &positions) {
    std::vector<int> codes;
    codes.reserve(positions.size());
    for (const unsigned position : positions) {
        codes.push_back(MAP_CODES[position]);
    }
    return codes;
}
