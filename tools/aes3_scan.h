// Follows the blocks of an AES3 byte stream, to count frames and to find where the stream is
// not what it should be. The library itself falls silent there.
//
//   | header: 4 bytes | frames that hold the announced payload | header | ...
//
// The header is one big-endian word: payload bytes in bits 31..16, channel code in 15..14,
// bits code in 5..4, zeros in 3..0 (SMPTE 302M).
#pragma once

#include "audio_source.h"

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

class aes3_scan {
public:
    explicit aes3_scan(const byte_format &format);

    // Takes the next bytes; throws conversion_error at a header that does not fit.
    void take(std::span<const uint8_t> bytes, const std::string &name);

    // Throws conversion_error when the stream ends in the middle of a frame or header.
    void finish(const std::string &name) const;

    uint64_t frameCount() const;

private:
    void takeHeader(const std::string &name);

    uint32_t frame_bytes;
    uint32_t expected_codes;
    std::array<uint8_t, 4> header{};
    size_t header_bytes = 0;
    uint64_t block_bytes = 0; // of the current block still to come
    uint64_t stream_bytes = 0;
    uint64_t payload_total = 0;
};

// The frames of a regular file, by its headers alone; nothing when they do not fit.
std::optional<uint64_t> countAes3Frames(const byte_reader &reader, const byte_format &format);
