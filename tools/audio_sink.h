// Where output goes: sound files, raw files, and streams that cannot seek.
#pragma once

#include "audio_source.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

enum class file_type { WAV, AIFF, CAF, RAW };

struct output_target {
    std::string path; // "-": standard output
    file_type type = file_type::WAV;
    byte_format bytes;
    // The file position of every slot; empty when the file should not name its speakers.
    std::vector<unsigned> positions;
    // Whether a plain WAV header says the same as the positions do.
    bool usual_positions = true;
    std::optional<uint64_t> frame_count;
};

// Every function throws conversion_error when the system or the file type refuses.
class audio_sink {
public:
    virtual ~audio_sink() = default;

    // Bytes in the target's format, whole frames.
    virtual void write(std::span<const uint8_t> bytes) = 0;

    // Ends the file, which keeps its temporary name.
    virtual void finish() = 0;

    // Gives the finished file its name.
    virtual void commit() = 0;
};

// All that can be known about a target before anything is written.
void checkTarget(const output_target &target);

std::unique_ptr<audio_sink> openSink(const output_target &target);

// The kinds behind openSink: libsndfile writes `makeSoundFileSink`'s files.
std::unique_ptr<audio_sink> makeSoundFileSink(const output_target &target);
std::unique_ptr<audio_sink> makeStreamSink(const output_target &target);

// "WAV", "RF64", "AIFF", "CAF" or "raw", as it will be written.
std::string targetKind(const output_target &target);

// The WAVE channel mask of the positions when a WAV header should carry one, else 0.
uint32_t waveMask(const output_target &target);

// Bytes of sample data when the length is known. AES3 headers are not counted.
std::optional<uint64_t> dataBytes(const output_target &target);
