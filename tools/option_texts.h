// Option values that are written as text of their own. Every parser throws usage_error, and
// its caller puts the option's name before the message.
#pragma once

#include "options.h"

// "FORMAT,BITS,CHANNELS,RATE".
byte_format parseRawFormat(const std::string &text);

// "SPEAKER=FILE".
split_input parseSplitInput(const std::string &text);

// A sample rate in Hz.
uint32_t parseRate(const std::string &text);

// A depth that some format has.
uint8_t parseBits(const std::string &text);

uint32_t parseByteCount(const std::string &text);

// Throws usage_error with the format's depths when `bits` is none of them.
void requireDepth(uint8_t format, unsigned bits);

// "N" or "random:SEED".
block_choice parseBlock(const std::string &text);

// AUDIO_FORMAT_* of a format's name on the command line.
uint8_t parseFormat(const std::string &text);

file_type parseType(const std::string &text);

// The type that a file name stands for; WAV without an extension.
file_type typeOfName(const std::string &path);

// The type of the output, by option or name.
file_type outputType(const tool_options &options);
