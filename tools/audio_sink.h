// Where output goes: sound files, raw files, and streams that cannot seek.
#pragma once

#include "audio_source.h"

struct output_target {
    std::string path; // "-": standard output
    file_type type = file_type::WAV;
    byte_format bytes;
    // Of every slot; empty when the file should not name its speakers.
    slot_positions positions;
    std::optional<uint64_t> frame_count;
    file_metadata metadata;
};

// Every function throws conversion_error when the system or the file type refuses.
class audio_sink {
public:
    virtual ~audio_sink() = default;

    // Bytes in the target's format, whole frames.
    virtual void write(std::span<const uint8_t> bytes) = 0;

    // Ends the file, which has no name yet.
    virtual void finish() = 0;

    // Gives the finished file its name.
    virtual void commit() = 0;
};

// All that can be known about a target before anything is written.
void checkTarget(const output_target &target);

std::unique_ptr<audio_sink> openSink(const output_target &target);

// The kind behind openSink for AIFF, CAF and FLAC.
std::unique_ptr<audio_sink> makeSoundFileSink(const output_target &target);

// "WAV", "RF64", "AIFF", "CAF", "FLAC" or "raw", as it will be written.
std::string targetKind(const output_target &target);

// Bytes of sample data when the length is known. AES3 headers are not counted.
std::optional<uint64_t> dataBytes(const output_target &target);
