#include "codec/aes3_header.h"

#include "codec/bytes.h"

namespace {

// A code that no 2-bit field can hold: no header matches it.
constexpr uint32_t NO_CODE = 4;

uint32_t channelCode(uint8_t channels) {
    switch (channels) {
    case 2:
        return 0;
    case 4:
        return 1;
    case 6:
        return 2;
    case 8:
        return 3;
    default:
        return NO_CODE;
    }
}

uint32_t bitsCode(uint8_t bits) {
    switch (bits) {
    case 20:
        return 1;
    case 24:
        return 2;
    default:
        return 0;
    }
}

} // namespace

uint32_t readAes3Header(const uint8_t *bytes, aes3_header *header, uint8_t bits, uint8_t channels) {
    if (header == nullptr) {
        return 0;
    }
    const uint32_t word = loadBe32(bytes);
    header->payload_size = word >> 16;
    header->channel_code = word >> 14 & 0x3;
    header->channel_id = word >> 6 & 0xff;
    header->bits_code = word >> 4 & 0x3;
    header->alignment = word & 0xf;
    if (header->alignment != 0 || header->bits_code != bitsCode(bits) ||
        header->channel_code != channelCode(channels)) {
        header->payload_size = 1;
        return 0;
    }
    return AES3_HEADER_BYTES;
}

uint32_t writeAes3Header(uint8_t *out, uint8_t bits, uint8_t channels, uint32_t payload_size) {
    storeBe32(out, payload_size << 16 | channelCode(channels) << 14 | bitsCode(bits) << 4);
    return AES3_HEADER_BYTES;
}
