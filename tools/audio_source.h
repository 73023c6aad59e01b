// Where input comes from: sound files, raw bytes and WAV streams, all as the bytes of one of
// the library's input formats.
#pragma once

#include "byte_reader.h"
#include "layouts.h"
#include "library_host.h"
#include "metadata.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>

struct source_description {
    std::string name;
    std::string kind;      // "WAV, 16-bit PCM"
    byte_format bytes;     // of what read() gives
    uint8_t depth = 16;    // bits of a sample in the file; bytes.bits may be more
    bool is_float = false; // the file's samples are; those of bytes may be integers
    bool raw = false;
    std::optional<uint64_t> frame_count; // unknown for pipes and for AES3
    file_layout layout;
    file_metadata metadata;
};

// How sources are opened.
struct source_options {
    std::optional<byte_format> raw; // the file is raw bytes of this format
    bool ignore_length = false;     // convert what is there, whatever the header says
    bool read_texts = true;
    bool widened = false; // 32-bit PCM whatever the file has, so that several files are alike
};

class audio_source {
public:
    virtual ~audio_source() = default;

    // The next whole frames, as many as fit; 0 at the end. `bytes` is aligned for any sample.
    // Throws conversion_error when the file cannot be read or ends too early.
    virtual size_t read(std::span<uint8_t> bytes) = 0;

    source_description description;
};

// "PCM", "FLOAT", "LPCM paired", "LPCM BE", "AES3".
const char *formatName(uint8_t format);

// Frames that the format keeps together, and their bytes. Headers of AES3 are not counted.
uint64_t groupFrames(uint8_t format);
uint64_t groupBytes(const byte_format &bytes);
uint64_t wholeFrames(const byte_format &bytes, uint64_t byte_count);

// Opens a path or "-" (standard input).
std::unique_ptr<audio_source> openSource(const std::string &path, const source_options &options);

// The kinds behind openSource.
std::unique_ptr<audio_source> makeRawSource(std::unique_ptr<byte_reader> reader,
                                            const source_options &options);
std::unique_ptr<audio_source> makeAes3Source(std::unique_ptr<byte_reader> reader,
                                             source_description what, bool ignore_length);
std::unique_ptr<audio_source> makeSoundFileSource(std::unique_ptr<byte_reader> reader,
                                                  const source_options &options);
// Null when the file is no WAV of linear PCM or 32-bit float; nothing is taken from it then.
std::unique_ptr<audio_source> makeWavSource(std::unique_ptr<byte_reader> &reader,
                                            const source_options &options);

// For a file whose length is not what its header says: throws conversion_error, or warns when
// lengths are ignored.
void reportLength(const std::string &name, const std::string &fault, bool ignore_length);
std::string missingText(uint64_t byte_count);

// A float sample, 1.0 for full scale, as the nearest integer of 32 bits: saturates, and takes
// not-a-number for 0.
int32_t integerSample(double value);
