#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

// Unaligned integers of fixed byte order. Copying whole integers is right on little-endian
// machines.
static_assert(std::endian::native == std::endian::little);

inline uint16_t loadLe16(const uint8_t *bytes) {
    uint16_t value;
    memcpy(&value, bytes, sizeof value);
    return value;
}

inline uint32_t loadLe24(const uint8_t *bytes) {
    return bytes[0] | uint32_t{bytes[1]} << 8 | uint32_t{bytes[2]} << 16;
}

inline uint32_t loadLe32(const uint8_t *bytes) {
    uint32_t value;
    memcpy(&value, bytes, sizeof value);
    return value;
}

inline uint32_t loadBe16(const uint8_t *bytes) {
    return uint32_t{bytes[0]} << 8 | bytes[1];
}

inline uint32_t loadBe24(const uint8_t *bytes) {
    return uint32_t{bytes[0]} << 16 | uint32_t{bytes[1]} << 8 | bytes[2];
}

inline uint32_t loadBe32(const uint8_t *bytes) {
    return __builtin_bswap32(loadLe32(bytes));
}

// The stores write the low bits of value.

inline void storeLe16(uint8_t *bytes, uint32_t value) {
    const auto low = static_cast<uint16_t>(value);
    memcpy(bytes, &low, sizeof low);
}

inline void storeLe24(uint8_t *bytes, uint32_t value) {
    bytes[0] = static_cast<uint8_t>(value);
    bytes[1] = static_cast<uint8_t>(value >> 8);
    bytes[2] = static_cast<uint8_t>(value >> 16);
}

inline void storeLe32(uint8_t *bytes, uint32_t value) {
    memcpy(bytes, &value, sizeof value);
}

inline void storeBe16(uint8_t *bytes, uint32_t value) {
    bytes[0] = static_cast<uint8_t>(value >> 8);
    bytes[1] = static_cast<uint8_t>(value);
}

inline void storeBe24(uint8_t *bytes, uint32_t value) {
    bytes[0] = static_cast<uint8_t>(value >> 16);
    bytes[1] = static_cast<uint8_t>(value >> 8);
    bytes[2] = static_cast<uint8_t>(value);
}

inline void storeBe32(uint8_t *bytes, uint32_t value) {
    storeLe32(bytes, __builtin_bswap32(value));
}
