// The speakers that a sound file names, and how to name them again in another file.
#pragma once

#include "layouts.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

// File positions are the bits of the WAVE_FORMAT_EXTENSIBLE channel mask: 0 to 7 are the
// library's speakers, 8 the back centre, 9 and 10 the sides.
struct file_layout {
    uint32_t mask = 0; // 0: the file names no speakers
    order_map order{};
    // The file position of every speaker bit. Differs from the bit itself where a position
    // beyond bit 7 stands in for a speaker, so that an unchanged layout keeps its names.
    std::array<uint8_t, AUDIO_MAX_CHANNELS> positions{0, 1, 2, 3, 4, 5, 6, 7};
    std::string note; // what a person should know about the above, or empty
};

// Makes a layout of the file position of every slot.
file_layout layoutFromPositions(std::vector<unsigned> positions);

// The same from a channel mask of a WAVE header; 0 gives no layout.
file_layout layoutFromWaveMask(uint32_t wave_mask, unsigned channels);

// Between file positions and libsndfile's channel map codes.
std::vector<unsigned> positionsFromMapCodes(const std::vector<int> &codes);
std::vector<int> mapCodesFromPositions(const std::vector<unsigned> &positions);
