// Option values that are written as text of their own.
#pragma once

#include "options.h"

// "FORMAT,BITS,CHANNELS,RATE".
byte_format parseRawFormat(const std::string &text);

// "SPEAKER=FILE".
split_input parseSplitInput(const std::string &text);

// "N" or "random:SEED".
block_choice parseBlock(const std::string &text);

// AUDIO_FORMAT_* of a format's name on the command line.
uint8_t parseFormat(const std::string &text);

file_type parseType(const std::string &text);

// The type that a file name stands for; WAV without an extension.
file_type typeOfName(const std::string &path);

// The type of the output, by option or name.
file_type outputType(const tool_options &options);
