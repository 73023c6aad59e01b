// Where input comes from: sound files, raw bytes and WAV streams, all as the bytes of one of
// the library's input formats.
#pragma once

#include "byte_reader.h"
#include "file_layout.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>

// What raw bytes are; also what any source hands out.
struct byte_format {
    uint8_t format = AUDIO_FORMAT_PCM;
    uint8_t bits = 16;
    uint8_t channels = 1;
    uint32_t rate = 0;
};

struct source_description {
    std::string name;
    std::string kind;   // "WAV, 16-bit PCM"
    byte_format bytes;  // of what read() gives
    uint8_t depth = 16; // bits of a sample in the file; bytes.bits may be more
    bool raw = false;
    std::optional<uint64_t> frame_count; // unknown for pipes
    file_layout layout;
};

class audio_source {
public:
    virtual ~audio_source() = default;

    // The next whole frames, as many as fit; 0 at the end. Throws conversion_error when the
    // file cannot be read or ends too early.
    virtual size_t read(std::span<uint8_t> bytes) = 0;

    // Whole frames that read() has given so far.
    virtual uint64_t framesRead() const = 0;

    source_description description;
};

// "PCM", "FLOAT", "LPCM paired", "LPCM BE", "AES3".
const char *formatName(uint8_t format);

// Bytes that a stream of this format may be cut into: a frame, two frames of the LPCM
// formats, 1 for AES3. 0 when the format has no such depth.
size_t groupBytes(const byte_format &bytes);

// Whole frames in so many bytes, which begin with a header if they are AES3.
uint64_t frameCount(const byte_format &bytes, uint64_t byte_count);

// Opens a path or "-" (standard input): as raw bytes when `raw` is given, else as a sound file.
std::unique_ptr<audio_source> openSource(const std::string &path,
                                         const std::optional<byte_format> &raw);

// The kinds behind openSource.
std::unique_ptr<audio_source> makeRawSource(std::unique_ptr<byte_reader> reader,
                                            const byte_format &raw);
std::unique_ptr<audio_source> makeSoundFileSource(std::unique_ptr<byte_reader> reader);
// Null when the stream is no WAV of linear PCM or float; nothing is taken from it then.
std::unique_ptr<audio_source> makeWavStreamSource(std::unique_ptr<byte_reader> &reader);
