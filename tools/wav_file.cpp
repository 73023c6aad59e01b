#include "wav_file.h"

#include "byte_order.h"
#include "errors.h"

#include <algorithm>
#include <array>

namespace {

constexpr uint16_t WAVE_PCM = 1;
constexpr uint16_t WAVE_FLOAT = 3;
constexpr uint16_t WAVE_EXTENSIBLE = 0xFFFE;
constexpr uint32_t UNKNOWN_SIZE = 0xFFFFFFFF;
constexpr uint32_t DS64_BYTES = 28;
constexpr unsigned MOST_CHUNKS = 10000;

// The last 14 bytes of every KSDATAFORMAT_SUBTYPE, behind the 2-byte format code.
constexpr std::array<uint8_t, 14> SUBTYPE_TAIL{0x00, 0x00, 0x00, 0x00, 0x10, 0x00, 0x80,
                                               0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71};

// Walks over the chunks of a file.
class header_reader {
public:
    header_reader(byte_reader &file, bool with_texts) : reader(file), read_texts(with_texts) {
    }

    std::optional<wav_header> read() {
        const std::vector<uint8_t> start = reader.lookAt(0, 12);
        if (!(hasTag(start, 0, "RIFF") || hasTag(start, 0, "RF64")) || !hasTag(start, 8, "WAVE")) {
            return std::nullopt;
        }
        riff_bytes = takeLittle<uint32_t>(start, 4);
        const bool is_pipe = !reader.remainingBytes();
        uint64_t offset = 12;
        for (unsigned count = 0; count < MOST_CHUNKS && !isComplete(is_pipe); ++count) {
            const std::vector<uint8_t> head = reader.lookAt(offset, 8);
            if (head.size() < 8) {
                if (!head.empty() && !found_data && !is_pipe) {
                    throw conversion_error(reader.name() + ": ends within its header");
                }
                break;
            }
            const auto size = takeLittle<uint32_t>(head, 4);
            takeChunk(head, offset + 8, size);
            const uint64_t bytes =
                hasTag(head, 0, "data") ? header.data_bytes.value_or(size) : size;
            offset += 8 + bytes + bytes % 2;
        }
        return found_data ? std::optional(header) : std::nullopt;
    }

private:
    // Behind samples of unknown length, and behind those of a pipe, there is nothing to find.
    bool isComplete(bool is_pipe) const {
        return found_data && (is_pipe || !header.data_bytes);
    }

    void takeChunk(const std::vector<uint8_t> &head, uint64_t start, uint32_t size) {
        if (hasTag(head, 0, "fmt ")) {
            takeFormat(reader.lookAt(start, std::min(size, 40u)));
        } else if (hasTag(head, 0, "ds64") && size >= 16) {
            const std::vector<uint8_t> sizes = reader.lookAt(start, 16);
            long_bytes = sizes.size() < 16 ? 0 : takeLittle<uint64_t>(sizes, 8);
        } else if (hasTag(head, 0, "data") && !found_data) {
            takeData(start, size);
        } else if (hasTag(head, 0, "bext") && read_texts) {
            header.metadata.broadcast = readText(start, size);
        } else if (hasTag(head, 0, "LIST") && read_texts &&
                   hasTag(reader.lookAt(start, 4), 0, "INFO")) {
            const std::vector<uint8_t> list = readText(start, size);
            parseInfoList(list, header.metadata);
        }
    }

    std::vector<uint8_t> readText(uint64_t start, uint32_t size) {
        checkTextBytes(reader.name(), size);
        return reader.lookAt(start, size);
    }

    void takeData(uint64_t start, uint32_t size) {
        found_data = true;
        header.data_offset = start;
        header.never_finished =
            size == 0 && (riff_bytes + 8 <= start || riff_bytes == UNKNOWN_SIZE);
        const uint64_t bytes = size == UNKNOWN_SIZE ? long_bytes : size;
        if (bytes > 0 || (size == 0 && !header.never_finished)) {
            header.data_bytes = bytes;
        }
    }

    void takeFormat(const std::vector<uint8_t> &chunk) {
        if (chunk.size() < 16) {
            return;
        }
        auto code = takeLittle<uint16_t>(chunk, 0);
        const auto channels = takeLittle<uint16_t>(chunk, 2);
        const auto bits = takeLittle<uint16_t>(chunk, 14);
        if (code == WAVE_EXTENSIBLE && chunk.size() >= 40) {
            header.wave_mask = takeLittle<uint32_t>(chunk, 20);
            code = takeLittle<uint16_t>(chunk, 24);
        }
        const bool is_float = code == WAVE_FLOAT;
        const bool is_known =
            is_float ? bits == 32 : code == WAVE_PCM && bits % 8 == 0 && bits <= 32;
        header.readable = is_known && bits > 0 && channels > 0 && channels <= UINT8_MAX &&
                          takeLittle<uint16_t>(chunk, 12) * 8 == channels * bits;
        header.bytes = {static_cast<uint8_t>(is_float ? AUDIO_FORMAT_FLOAT : AUDIO_FORMAT_PCM),
                        static_cast<uint8_t>(bits), static_cast<uint8_t>(channels),
                        takeLittle<uint32_t>(chunk, 4)};
    }

    byte_reader &reader;
    bool read_texts;
    wav_header header;
    bool found_data = false;
    uint64_t riff_bytes = 0;
    uint64_t long_bytes = 0; // of the samples, by the ds64 chunk
};

void putFormat(byte_writer &out, const wav_header &header) {
    const byte_format &bytes = header.bytes;
    const uint16_t code = bytes.format == AUDIO_FORMAT_FLOAT ? WAVE_FLOAT : WAVE_PCM;
    const auto frame_bytes = static_cast<uint16_t>(bytes.channels * bytes.bits / 8);
    const bool extensible = header.wave_mask != 0;
    out.tag("fmt ");
    out.put<uint32_t>(extensible ? 40 : 16);
    out.put<uint16_t>(extensible ? WAVE_EXTENSIBLE : code);
    out.put<uint16_t>(bytes.channels);
    out.put<uint32_t>(bytes.rate);
    out.put<uint32_t>(static_cast<uint32_t>(uint64_t{bytes.rate} * frame_bytes));
    out.put<uint16_t>(frame_bytes);
    out.put<uint16_t>(bytes.bits);
    if (!extensible) {
        return;
    }
    out.put<uint16_t>(22); // bytes that follow
    out.put<uint16_t>(bytes.bits);
    out.put<uint32_t>(header.wave_mask);
    out.put<uint16_t>(code);
    out.array(SUBTYPE_TAIL);
}

} // namespace

std::optional<wav_header> readWavHeader(byte_reader &reader, bool read_texts) {
    return header_reader(reader, read_texts).read();
}

std::vector<uint8_t> buildWavHeader(const wav_header &header, bool room) {
    const uint64_t data = header.data_bytes.value_or(0);
    const bool is_long = data > RIFF_DATA_LIMIT;
    const bool sized = header.data_bytes && !is_long;
    const bool has_ds64 = is_long || room;
    const uint64_t frames = data * 8 / header.bytes.bits / header.bytes.channels;
    byte_writer chunks;
    putFormat(chunks, header);
    if (header.bytes.format == AUDIO_FORMAT_FLOAT) {
        chunks.tag("fact");
        chunks.put<uint32_t>(4);
        chunks.put(sized ? static_cast<uint32_t>(frames) : UNKNOWN_SIZE);
    }
    chunks.array(buildMetadataChunks(header.metadata));
    const uint64_t riff_bytes =
        4 + (has_ds64 ? 8 + DS64_BYTES : 0) + chunks.bytes.size() + 8 + data + data % 2;
    byte_writer out;
    out.tag(is_long ? "RF64" : "RIFF");
    out.put(sized ? static_cast<uint32_t>(riff_bytes) : UNKNOWN_SIZE);
    out.tag("WAVE");
    if (has_ds64) {
        out.tag(is_long ? "ds64" : "JUNK");
        out.put(DS64_BYTES);
        out.put(is_long ? riff_bytes : uint64_t{0});
        out.put(is_long ? data : uint64_t{0});
        out.put(is_long ? frames : uint64_t{0});
        out.put<uint32_t>(0); // no table of further long chunks
    }
    out.array(chunks.bytes);
    out.tag("data");
    out.put(sized ? static_cast<uint32_t>(data) : UNKNOWN_SIZE);
    return out.bytes;
}
