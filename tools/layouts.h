// Speakers, layouts and channel orders, as people and as sound files write them.
#pragma once

#include "zt_trans_audio_converter.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

// One entry per speaker bit: the 1-based place in a frame, 0 for an absent speaker.
using order_map = std::array<uint8_t, AUDIO_MAX_CHANNELS>;

// Where a channel of a sound file belongs: a bit number of the WAVE_FORMAT_EXTENSIBLE channel
// mask. Positions 0 to 7 are the library's speakers. One entry per slot of a frame.
using slot_positions = std::vector<unsigned>;
inline constexpr unsigned POSITION_COUNT = 18; // of those with a name

// What a sound file says about its channels.
struct file_layout {
    slot_positions positions; // empty: the file names no speakers
    // The library's speakers for them. A mask of 0 with positions: the library does not have
    // these speakers, so the channels can be carried but not mixed.
    uint32_t mask = 0;
    order_map order{};
};

// "FL" to "TBR"; "?" for a position without a name.
std::string positionName(unsigned position);

// The texts between commas, empty ones too.
std::vector<std::string> splitAtCommas(const std::string &text);

// The speaker bit of a name; throws usage_error for any other text.
unsigned parseSpeaker(const std::string &text);

// How many of the eight speakers a mask names.
unsigned speakerCount(uint32_t mask);

// The layout of a stream of so many channels when nothing names its speakers: the library's
// default, except that one channel is the centre, as sound files mean it.
uint32_t usualMask(unsigned channels);

// A layout name or a list of speakers joined by commas.
uint32_t parseLayout(const std::string &text);

// "5.1 (FL FR FC LFE BL BR)", with the order of the frame when it is not ascending.
std::string layoutText(const slot_positions &positions);

// Speakers in the order of the frame: "FC,FL,FR".
order_map parseOrder(const std::string &text);

// The speakers of a mask in ascending order.
order_map ascendingOrder(uint32_t mask);

// The speaker bit of every slot of a frame.
slot_positions slotSpeakers(uint32_t mask, const order_map &order);
slot_positions slotSpeakers(uint32_t mask);

// The mask of positions; bits beyond 31 are left out.
uint32_t positionMask(const slot_positions &positions);

file_layout layoutFromPositions(const slot_positions &positions);

// The same from the channel mask of a WAVE header; 0 gives no layout.
file_layout layoutFromWaveMask(uint32_t wave_mask, unsigned channels);

// What FLAC means by so many channels: its files carry no other layout.
slot_positions flacPositions(unsigned channels);

// Between positions and libsndfile's channel map codes.
slot_positions positionsFromMapCodes(const std::vector<int> &codes);
std::vector<int> mapCodesFromPositions(const slot_positions &positions);
