#include "support/recording_stream.h"

#include <algorithm>

namespace {

constexpr size_t GUARD_BYTES = 64;
constexpr uint8_t GUARD = 0xa5;
constexpr uint32_t AMPLE_ROOM = UINT32_MAX;

recording_stream &self(bufstream *stream) {
    return *static_cast<recording_stream *>(stream);
}

// Notes a call; `allowed` holds the calls that it may follow.
void note(recording_stream &stream, char call, const char *allowed) {
    if (std::string(allowed).find(stream.last_call) == std::string::npos) {
        stream.faults += std::string(1, call) + " follows " + stream.last_call + "; ";
    }
    stream.last_call = call;
    if (stream.journal != nullptr) {
        *stream.journal += std::string{call, static_cast<char>('0' + stream.slot), ' '};
    }
    if (!stream.guardsIntact()) {
        stream.faults += std::string("bytes around the area were written before ") + call + "; ";
        stream.guarded_area.clear();
    }
}

uint32_t freeBytesNow(bufstream *stream) {
    note(self(stream), 'f', "r");
    return self(stream).reported_room;
}

uint8_t *reserveArea(bufstream *stream, uint32_t want) {
    recording_stream &s = self(stream);
    note(s, 'r', "arf");
    s.wants.push_back(want);
    if (s.refuses && s.refuses()) {
        s.guarded_area.clear();
        return nullptr;
    }
    s.reported_room = s.room ? s.room(want) : AMPLE_ROOM;
    s.area_bytes = std::min(s.reported_room, want);
    s.guarded_area.assign(GUARD_BYTES + s.area_bytes + GUARD_BYTES, GUARD);
    return s.guarded_area.data() + GUARD_BYTES;
}

void commitArea(bufstream *stream, uint32_t byte_count) {
    recording_stream &s = self(stream);
    note(s, 'c', "f");
    s.last_commit = byte_count;
    if (byte_count == 0 || byte_count > s.area_bytes) {
        s.faults += "commit of " + std::to_string(byte_count) + " in an area of " +
                    std::to_string(s.area_bytes) + "; ";
        return;
    }
    s.chunks.push_back(byte_count);
    const auto area = s.guarded_area.begin() + GUARD_BYTES;
    s.bytes.insert(s.bytes.end(), area, area + byte_count);
}

void noteAuxInfo(bufstream *stream, uint32_t byte_count, uint32_t code, void *pointer,
                 int32_t value) {
    recording_stream &s = self(stream);
    note(s, 'a', "c");
    if (byte_count != s.last_commit || code != 0xf0002 || pointer != nullptr || value != 0) {
        s.faults += "aux_info with wrong arguments; ";
    }
}

} // namespace

recording_stream::recording_stream()
    : bufstream{freeBytesNow, reserveArea, commitArea, {}, {}, noteAuxInfo} {
}

bool recording_stream::guardsIntact() const {
    const auto is_guard = [](uint8_t byte) { return byte == GUARD; };
    return guarded_area.empty() ||
           (std::all_of(guarded_area.begin(), guarded_area.begin() + GUARD_BYTES, is_guard) &&
            std::all_of(guarded_area.end() - GUARD_BYTES, guarded_area.end(), is_guard));
}
