#include "metadata.h"

#include "byte_order.h"
#include "errors.h"

#include <algorithm>
#include <sndfile.h>

namespace {

struct text_kind {
    const char *name;
    int code;        // of libsndfile
    const char *tag; // in a WAV file's INFO list
    bool in_aiff;
};

constexpr std::array<text_kind, TEXT_KINDS> KINDS{{
    {"title", SF_STR_TITLE, "INAM", true},
    {"artist", SF_STR_ARTIST, "IART", true},
    {"date", SF_STR_DATE, "ICRD", false},
    {"comment", SF_STR_COMMENT, "ICMT", true},
    {"copyright", SF_STR_COPYRIGHT, "ICOP", true},
    {"album", SF_STR_ALBUM, "IPRD", false},
    {"track number", SF_STR_TRACKNUMBER, "ITRK", false},
    {"genre", SF_STR_GENRE, "IGNR", false},
}};

// Where the bext chunk holds its 64-bit count of samples since midnight.
constexpr size_t TIME_REFERENCE_OFFSET = 338;

void putChunk(byte_writer &out, const char *tag, std::span<const uint8_t> content) {
    out.tag(tag);
    out.put(static_cast<uint32_t>(content.size()));
    out.array(content);
    if (content.size() % 2 == 1) {
        out.put<uint8_t>(0);
    }
}

bool isHeld(const text_kind &kind, file_type type) {
    return type == file_type::AIFF ? kind.in_aiff : type != file_type::RAW;
}

} // namespace

void checkTextBytes(const std::string &name, uint64_t byte_count) {
    if (byte_count > MOST_TEXT_BYTES) {
        throw conversion_error(name + ": its texts have " + std::to_string(byte_count) +
                               " bytes, too many to carry; --no-metadata leaves them out");
    }
}

void parseInfoList(std::span<const uint8_t> list, file_metadata &metadata) {
    for (size_t offset = 4; offset + 8 <= list.size();) {
        const auto size = takeLittle<uint32_t>(list, offset + 4);
        const auto content = list.subspan(offset + 8);
        const auto text = content.first(std::min<size_t>(size, content.size()));
        for (size_t kind = 0; kind < TEXT_KINDS; ++kind) {
            if (hasTag(list, offset, KINDS[kind].tag)) {
                metadata.texts[kind].assign(text.begin(), std::ranges::find(text, 0));
            }
        }
        offset += 8 + size_t{size} + size % 2;
    }
}

std::vector<uint8_t> buildMetadataChunks(const file_metadata &metadata) {
    byte_writer chunks;
    byte_writer list;
    if (!metadata.broadcast.empty()) {
        putChunk(chunks, "bext", metadata.broadcast);
    }
    for (size_t kind = 0; kind < TEXT_KINDS; ++kind) {
        const std::string &text = metadata.texts[kind];
        if (!text.empty()) {
            const auto *start = reinterpret_cast<const uint8_t *>(text.c_str());
            putChunk(list, KINDS[kind].tag, {start, text.size() + 1}); // its NUL included
        }
    }
    if (!list.bytes.empty()) {
        byte_writer content;
        content.tag("INFO");
        content.array(list.bytes);
        putChunk(chunks, "LIST", content.bytes);
    }
    return chunks.bytes;
}

void rescaleTimeReference(file_metadata &metadata, uint32_t input_rate, uint32_t output_rate) {
    __extension__ using wide = unsigned __int128;
    std::vector<uint8_t> &chunk = metadata.broadcast;
    if (chunk.size() < TIME_REFERENCE_OFFSET + sizeof(uint64_t)) {
        return;
    }
    const auto samples = takeLittle<uint64_t>(chunk, TIME_REFERENCE_OFFSET);
    byte_writer scaled;
    scaled.put(static_cast<uint64_t>(wide{samples} * output_rate / input_rate));
    std::ranges::copy(scaled.bytes, chunk.begin() + TIME_REFERENCE_OFFSET);
}

file_metadata readTexts(SNDFILE *file, const std::string &name) {
    file_metadata metadata;
    uint64_t byte_count = 0;
    for (size_t kind = 0; kind < TEXT_KINDS; ++kind) {
        const char *text = sf_get_string(file, KINDS[kind].code);
        metadata.texts[kind] = text == nullptr ? "" : text;
        byte_count += metadata.texts[kind].size();
    }
    checkTextBytes(name, byte_count);
    return metadata;
}

void writeTexts(SNDFILE *file, const file_metadata &metadata) {
    for (size_t kind = 0; kind < TEXT_KINDS; ++kind) {
        if (!metadata.texts[kind].empty()) {
            sf_set_string(file, KINDS[kind].code, metadata.texts[kind].c_str());
        }
    }
}

std::string droppedTexts(const file_metadata &metadata, file_type type) {
    std::string names;
    for (size_t kind = 0; kind < TEXT_KINDS; ++kind) {
        if (!metadata.texts[kind].empty() && !isHeld(KINDS[kind], type)) {
            names.append(names.empty() ? "" : ", ").append(KINDS[kind].name);
        }
    }
    if (!metadata.broadcast.empty() && type != file_type::WAV) {
        names.append(names.empty() ? "" : ", ").append("broadcast chunk");
    }
    return names.empty() ? names : "the output cannot hold these, they are dropped: " + names;
}
