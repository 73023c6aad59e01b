// Raw AES3 input, decoded to 32-bit PCM by a converter of its own: its output shows where a
// stream is not what it should be, which a converter answers with silence.
#pragma once

#include "audio_source.h"

// `what` describes the AES3 bytes.
std::unique_ptr<audio_source> makeAes3Source(std::unique_ptr<byte_reader> reader,
                                             source_description what, bool ignore_length);
