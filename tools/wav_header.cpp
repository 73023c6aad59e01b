#include "wav_header.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>

namespace {

constexpr uint16_t WAVE_PCM = 1;
constexpr uint16_t WAVE_FLOAT = 3;
constexpr uint16_t WAVE_EXTENSIBLE = 0xFFFE;
constexpr uint32_t UNKNOWN_SIZE = 0xFFFFFFFF;

// The last 14 bytes of every KSDATAFORMAT_SUBTYPE, behind the 2-byte format code.
constexpr std::array<uint8_t, 14> SUBTYPE_TAIL{0x00, 0x00, 0x00, 0x00, 0x10, 0x00, 0x80,
                                               0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71};

template <typename Integer>
Integer take(std::span<const uint8_t> bytes, size_t offset) {
    Integer value = 0;
    std::memcpy(&value, bytes.data() + offset, sizeof value);
    return value;
}

bool hasTag(std::span<const uint8_t> bytes, size_t offset, const char *tag) {
    return bytes.size() >= offset + 4 && std::memcmp(bytes.data() + offset, tag, 4) == 0;
}

// The fmt chunk; false when it is no format that can be streamed as it stands.
bool parseFormat(std::span<const uint8_t> chunk, wav_stream_format &format) {
    if (chunk.size() < 16) {
        return false;
    }
    auto code = take<uint16_t>(chunk, 0);
    const auto channels = take<uint16_t>(chunk, 2);
    const auto bits = take<uint16_t>(chunk, 14);
    format.depth = static_cast<uint8_t>(bits);
    if (code == WAVE_EXTENSIBLE && chunk.size() >= 40) {
        format.wave_mask = take<uint32_t>(chunk, 20);
        code = take<uint16_t>(chunk, 24);
    }
    if (channels == 0 || channels > UINT8_MAX || take<uint16_t>(chunk, 12) * 8 != channels * bits) {
        return false;
    }
    format.bytes.channels = static_cast<uint8_t>(channels);
    format.bytes.rate = take<uint32_t>(chunk, 4);
    format.bytes.bits = static_cast<uint8_t>(bits);
    format.bytes.format = code == WAVE_FLOAT ? AUDIO_FORMAT_FLOAT : AUDIO_FORMAT_PCM;
    if (code == WAVE_FLOAT) {
        return bits == 32;
    }
    return code == WAVE_PCM && (bits == 8 || bits == 16 || bits == 24 || bits == 32);
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

void putFormat(byte_writer &header, const wav_stream_format &format) {
    const byte_format &bytes = format.bytes;
    const uint16_t code = bytes.format == AUDIO_FORMAT_FLOAT ? WAVE_FLOAT : WAVE_PCM;
    const auto frame_bytes = static_cast<uint16_t>(bytes.channels * bytes.bits / 8);
    const bool extensible = format.wave_mask != 0;
    header.tag("fmt ");
    header.put<uint32_t>(extensible ? 40 : 16);
    header.put<uint16_t>(extensible ? WAVE_EXTENSIBLE : code);
    header.put<uint16_t>(bytes.channels);
    header.put<uint32_t>(bytes.rate);
    header.put<uint32_t>(static_cast<uint32_t>(uint64_t{bytes.rate} * frame_bytes));
    header.put<uint16_t>(frame_bytes);
    header.put<uint16_t>(bytes.bits);
    if (!extensible) {
        return;
    }
    header.put<uint16_t>(22); // bytes that follow
    header.put<uint16_t>(bytes.bits);
    header.put<uint32_t>(format.wave_mask);
    header.put<uint16_t>(code);
    header.array(SUBTYPE_TAIL);
}

} // namespace

std::optional<parsed_wav_header> parseWavHeader(std::span<const uint8_t> bytes) {
    if (!(hasTag(bytes, 0, "RIFF") || hasTag(bytes, 0, "RF64")) || !hasTag(bytes, 8, "WAVE")) {
        return std::nullopt;
    }
    parsed_wav_header parsed;
    bool known_format = false;
    uint64_t long_data_bytes = 0;
    for (size_t offset = 12; offset + 8 <= bytes.size();) {
        const auto size = take<uint32_t>(bytes, offset + 4);
        const size_t start = offset + 8;
        const auto chunk = bytes.subspan(start, std::min<size_t>(size, bytes.size() - start));
        if (hasTag(bytes, offset, "data")) {
            const uint64_t data = size == UNKNOWN_SIZE ? long_data_bytes : size;
            if (data != 0) {
                parsed.format.data_bytes = data;
            }
            parsed.header_bytes = start;
            return known_format ? std::optional(parsed) : std::nullopt;
        }
        if (hasTag(bytes, offset, "ds64") && chunk.size() >= 16) {
            long_data_bytes = take<uint64_t>(chunk, 8);
        }
        if (hasTag(bytes, offset, "fmt ")) {
            known_format = parseFormat(chunk, parsed.format);
        }
        offset = start + size + size % 2;
    }
    return std::nullopt;
}

std::vector<uint8_t> buildWavHeader(const wav_stream_format &format) {
    const bool known = format.data_bytes.has_value();
    const uint64_t data = format.data_bytes.value_or(0);
    const bool is_long = data > RIFF_DATA_LIMIT;
    byte_writer chunks;
    putFormat(chunks, format);
    const uint64_t riff_bytes = 4 + (is_long ? 36 : 0) + chunks.bytes.size() + 8 + data + data % 2;
    byte_writer header;
    header.tag(is_long ? "RF64" : "RIFF");
    header.put(known && !is_long ? static_cast<uint32_t>(riff_bytes) : UNKNOWN_SIZE);
    header.tag("WAVE");
    if (is_long) {
        header.tag("ds64");
        header.put<uint32_t>(28);
        header.put(riff_bytes);
        header.put(data);
        header.put(data * 8 / format.bytes.bits / format.bytes.channels);
        header.put<uint32_t>(0); // no table of further long chunks
    }
    header.array(chunks.bytes);
    header.tag("data");
    header.put(known && !is_long ? static_cast<uint32_t>(data) : UNKNOWN_SIZE);
    return header.bytes;
}
