// Fields of file headers, independent of the machine's byte order.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <span>
#include <vector>

template <typename Integer>
Integer takeLittle(std::span<const uint8_t> bytes, size_t offset) {
    uint64_t value = 0;
    for (size_t k = sizeof(Integer); k-- > 0;) {
        value = value << 8 | bytes[offset + k];
    }
    return static_cast<Integer>(value);
}

inline uint64_t takeBig(std::span<const uint8_t> bytes, size_t offset, size_t count) {
    uint64_t value = 0;
    for (size_t k = 0; k < count; ++k) {
        value = value << 8 | bytes[offset + k];
    }
    return value;
}

inline bool hasTag(std::span<const uint8_t> bytes, size_t offset, const char *tag) {
    return bytes.size() >= offset + 4 && std::memcmp(bytes.data() + offset, tag, 4) == 0;
}

// Little-endian fields one after the other.
class byte_writer {
public:
    template <typename Integer>
    void put(Integer value) {
        for (size_t k = 0; k < sizeof value; ++k) {
            bytes.push_back(static_cast<uint8_t>(uint64_t{value} >> 8 * k));
        }
    }
    void tag(const char *text) {
        for (size_t k = 0; k < 4; ++k) {
            bytes.push_back(static_cast<uint8_t>(text[k]));
        }
    }
    void array(std::span<const uint8_t> more) {
        std::ranges::copy(more, std::back_inserter(bytes));
    }
    std::vector<uint8_t> bytes;
};
