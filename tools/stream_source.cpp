// Sources that hand the file's own bytes to the library: raw files and WAV through a pipe.
#include "aes3_scan.h"
#include "audio_source.h"
#include "errors.h"
#include "wav_header.h"

#include <algorithm>

namespace {

// A WAV header that is not complete within this many bytes goes to libsndfile instead.
constexpr size_t LONGEST_STREAM_HEADER = 1 << 16;

class stream_source : public audio_source {
public:
    stream_source(std::unique_ptr<byte_reader> open_reader, source_description what,
                  std::optional<uint64_t> byte_count)
        : reader(std::move(open_reader)), bytes_left(byte_count), scan(what.bytes),
          group_bytes(std::max<size_t>(groupBytes(what.bytes), 1)) {
        description = std::move(what);
    }

    size_t read(std::span<uint8_t> bytes) override {
        size_t want = bytes.size() / group_bytes * group_bytes;
        if (bytes_left) {
            want = static_cast<size_t>(std::min<uint64_t>(want, *bytes_left));
        }
        const size_t count = reader->read(bytes.first(want));
        if (bytes_left) {
            *bytes_left -= count;
        }
        bytes_read += count;
        checkEnd(want, count);
        if (description.bytes.format == AUDIO_FORMAT_AES3) {
            scan.take(bytes.first(count), description.name);
            if (count == 0) {
                scan.finish(description.name);
            }
        }
        return count;
    }

    uint64_t framesRead() const override {
        const byte_format &bytes = description.bytes;
        return bytes.format == AUDIO_FORMAT_AES3 ? scan.frameCount()
                                                 : frameCount(bytes, bytes_read);
    }

private:
    void checkEnd(size_t want, size_t count) const {
        const size_t torn = count % group_bytes;
        if (torn > 0) {
            throw conversion_error(description.name + ": ends in the middle of a frame (" +
                                   std::to_string(torn) + " of " + std::to_string(group_bytes) +
                                   " bytes)");
        }
        if (bytes_left && count < want) {
            throw conversion_error(description.name + ": ends " + std::to_string(*bytes_left) +
                                   " bytes before its header says");
        }
    }

    std::unique_ptr<byte_reader> reader;
    std::optional<uint64_t> bytes_left;
    aes3_scan scan;
    size_t group_bytes;
    uint64_t bytes_read = 0;
};

std::optional<uint64_t> rawFrames(const byte_reader &reader, const byte_format &raw) {
    if (!reader.isRegular()) {
        return std::nullopt;
    }
    if (raw.format == AUDIO_FORMAT_AES3) {
        return countAes3Frames(reader, raw);
    }
    return frameCount(raw, reader.remainingBytes());
}

} // namespace

std::unique_ptr<audio_source> makeRawSource(std::unique_ptr<byte_reader> reader,
                                            const byte_format &raw) {
    source_description what;
    what.name = reader->name();
    what.kind = "raw, " + std::to_string(raw.bits) + "-bit " + formatName(raw.format);
    what.bytes = raw;
    what.depth = raw.bits;
    what.raw = true;
    what.frame_count = rawFrames(*reader, raw);
    return std::make_unique<stream_source>(std::move(reader), std::move(what), std::nullopt);
}

std::unique_ptr<audio_source> makeWavStreamSource(std::unique_ptr<byte_reader> &reader) {
    const auto parsed = parseWavHeader(reader->peek(LONGEST_STREAM_HEADER));
    if (!parsed) {
        return nullptr;
    }
    std::vector<uint8_t> header(parsed->header_bytes);
    reader->read(header);
    const wav_stream_format &format = parsed->format;
    source_description what;
    what.name = reader->name();
    what.kind =
        "WAV stream, " + std::to_string(format.depth) + "-bit " + formatName(format.bytes.format);
    what.bytes = format.bytes;
    what.depth = format.depth;
    what.layout = layoutFromWaveMask(format.wave_mask, format.bytes.channels);
    if (format.data_bytes) {
        what.frame_count = frameCount(format.bytes, *format.data_bytes);
    }
    return std::make_unique<stream_source>(std::move(reader), std::move(what), format.data_bytes);
}
