// Speakers, layouts and channel orders as people write them.
#pragma once

#include "zt_trans_audio_converter.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

// One entry per speaker bit: the 1-based place in a frame, 0 for an absent speaker.
using order_map = std::array<uint8_t, AUDIO_MAX_CHANNELS>;

// "FL" to "FRC" for the speaker bits 0 to 7.
const char *speakerName(unsigned speaker);

// The texts between commas, empty ones too.
std::vector<std::string> splitAtCommas(const std::string &text);

// The speaker bit of a name; throws usage_error for any other text.
unsigned parseSpeaker(const std::string &text);

// How many of the eight speakers a mask names.
unsigned speakerCount(uint32_t mask);

// What this tool takes a stream of so many channels for when nothing names the speakers: the
// library's defaults, except that one channel is the centre, as sound files mean it.
uint32_t usualMask(unsigned channels);

// A layout name, a list of speakers joined by commas or a hexadecimal mask.
uint32_t parseLayout(const std::string &text);

// "5.1 (FL FR FC LFE BL BR)".
std::string layoutText(uint32_t mask);

// Speakers in the order of the frame ("FC,FL,FR"), or the eight numbers of an order map.
order_map parseOrder(const std::string &text);

// The speakers of a mask in ascending order.
order_map ascendingOrder(uint32_t mask);

// The speaker bit of every slot of a frame.
std::vector<unsigned> slotSpeakers(uint32_t mask, const order_map &order);
