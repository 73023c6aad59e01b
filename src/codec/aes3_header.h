#pragma once

#include <cstdint>

constexpr uint32_t AES3_HEADER_BYTES = 4;
constexpr uint32_t AES3_LARGEST_PAYLOAD = 65535;

// The fields of a block header: one big-endian 32-bit word, most significant field first.
struct aes3_header {
    uint32_t payload_size; // 16 bits: bytes that follow the header
    uint32_t channel_code; // 2 bits: 0 = 2 channels, 1 = 4, 2 = 6, 3 = 8
    uint32_t channel_id;   // 8 bits: written 0, not checked
    uint32_t bits_code;    // 2 bits: 0 = 16 bits, 1 = 20, 2 = 24
    uint32_t alignment;    // 4 bits: 0
};

// Splits the 4 bytes into the fields. Returns 4 when alignment is 0 and both codes are those of
// `bits` and `channels`; otherwise sets payload_size to 1 and returns 0. A null header returns 0
// with nothing read.
uint32_t readAes3Header(const uint8_t *bytes, aes3_header *header, uint8_t bits, uint8_t channels);

// Writes 4 bytes, with the low 16 bits of payload_size; returns 4.
uint32_t writeAes3Header(uint8_t *out, uint8_t bits, uint8_t channels, uint32_t payload_size);

// Bytes of one frame of every channel; a depth other than 20 and 24 counts as 16.
constexpr uint32_t aes3FrameBytes(uint8_t channels, uint8_t bits) {
    return bits == 20 ? 3u * channels : (bits == 24 ? 7u : 5u) * channels / 2;
}
