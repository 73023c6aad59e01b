#include "aes3_scan.h"

#include "errors.h"

#include <algorithm>

namespace {

constexpr uint32_t CODE_BITS = 0xC03F; // channel code, bits code and the zeros below it

uint32_t headerWord(const std::array<uint8_t, 4> &header) {
    return uint32_t{header[0]} << 24 | uint32_t{header[1]} << 16 | uint32_t{header[2]} << 8 |
           header[3];
}

uint32_t expectedCodes(const byte_format &format) {
    return (format.channels / 2u - 1) << 14 | (format.bits - 16u) / 4 << 4;
}

uint32_t frameBytes(const byte_format &format) {
    return std::max(1u, format.channels * (format.bits + 4u) / 8);
}

// At least one frame follows a header, and as many as its payload begins.
uint64_t bytesAfterHeader(uint32_t word, uint32_t frame_bytes) {
    const uint64_t payload = std::max(1u, word >> 16);
    return (payload + frame_bytes - 1) / frame_bytes * frame_bytes;
}

} // namespace

aes3_scan::aes3_scan(const byte_format &format)
    : frame_bytes(frameBytes(format)), expected_codes(expectedCodes(format)) {
}

void aes3_scan::takeHeader(const std::string &name) {
    const uint32_t word = headerWord(header);
    if ((word & CODE_BITS) != expected_codes) {
        throw conversion_error(name + ": no AES3 block of the given depth and channels at byte " +
                               std::to_string(stream_bytes - header.size()));
    }
    block_bytes = bytesAfterHeader(word, frame_bytes);
    header_bytes = 0;
}

void aes3_scan::take(std::span<const uint8_t> bytes, const std::string &name) {
    while (!bytes.empty()) {
        size_t count = 1;
        if (block_bytes > 0) {
            count = static_cast<size_t>(std::min<uint64_t>(block_bytes, bytes.size()));
            block_bytes -= count;
            payload_total += count;
        } else {
            header[header_bytes++] = bytes[0];
        }
        stream_bytes += count;
        bytes = bytes.subspan(count);
        if (header_bytes == header.size()) {
            takeHeader(name);
        }
    }
}

void aes3_scan::finish(const std::string &name) const {
    if (header_bytes > 0 || payload_total % frame_bytes > 0) {
        throw conversion_error(name + ": ends in the middle of a frame");
    }
    if (block_bytes > 0) {
        throw conversion_error(name + ": ends in the middle of an AES3 block");
    }
}

uint64_t aes3_scan::frameCount() const {
    return payload_total / frame_bytes;
}

std::optional<uint64_t> countAes3Frames(const byte_reader &reader, const byte_format &format) {
    const uint32_t frame_bytes = frameBytes(format);
    const uint64_t size = reader.remainingBytes();
    std::array<uint8_t, 4> header{};
    uint64_t frames = 0;
    for (uint64_t offset = 0; offset + header.size() <= size;) {
        reader.readAhead(offset, header);
        const uint32_t word = headerWord(header);
        if ((word & CODE_BITS) != expectedCodes(format)) {
            return std::nullopt;
        }
        const uint64_t block = bytesAfterHeader(word, frame_bytes);
        frames += block / frame_bytes;
        offset += header.size() + block;
    }
    return frames;
}
