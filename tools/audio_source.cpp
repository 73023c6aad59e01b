// Sources that hand the file's own bytes to the library: raw files and WAV.
#include "audio_source.h"

#include "errors.h"
#include "wav_file.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>

namespace {

class byte_source : public audio_source {
public:
    byte_source(std::unique_ptr<byte_reader> open_reader, source_description what,
                std::optional<uint64_t> byte_count, bool ignore)
        : reader(std::move(open_reader)), bytes_left(byte_count), ignore_length(ignore),
          group_bytes(std::max<uint64_t>(groupBytes(what.bytes), 1)) {
        description = std::move(what);
    }

    size_t read(std::span<uint8_t> bytes) override {
        uint64_t want = bytes.size() / group_bytes * group_bytes;
        want = std::min(want, bytes_left.value_or(want));
        size_t count = reader->read(bytes.first(want));
        const uint64_t torn = count % group_bytes;
        if (bytes_left) {
            *bytes_left -= count;
        }
        if (count < want && bytes_left.value_or(0) > 0) {
            reportLength(description.name, missingText(*bytes_left), ignore_length);
            bytes_left = 0;
        } else if (torn > 0) {
            reportLength(description.name,
                         "ends in the middle of a frame (" + std::to_string(torn) + " of " +
                             std::to_string(group_bytes) + " bytes)",
                         ignore_length);
        }
        count -= torn;
        if (description.is_float && !description.raw) {
            widenFloats(bytes.first(count));
        }
        return count;
    }

private:
    static void widenFloats(std::span<uint8_t> bytes) {
        for (size_t offset = 0; offset < bytes.size(); offset += sizeof(float)) {
            float value = 0;
            std::memcpy(&value, &bytes[offset], sizeof value);
            const int32_t sample = integerSample(value);
            std::memcpy(&bytes[offset], &sample, sizeof sample);
        }
    }

    std::unique_ptr<byte_reader> reader;
    std::optional<uint64_t> bytes_left;
    bool ignore_length;
    uint64_t group_bytes;
};

source_description describeBytes(const byte_reader &reader, const char *container,
                                 const byte_format &bytes) {
    source_description what;
    what.name = reader.name();
    what.kind = std::string(container) + ", " + std::to_string(bytes.bits) + "-bit " +
                formatName(bytes.format);
    what.bytes = bytes;
    what.depth = bytes.bits;
    what.is_float = bytes.format == AUDIO_FORMAT_FLOAT;
    return what;
}

// Bytes of samples to read; where the header says more and may be ignored, of whole frames.
std::optional<uint64_t> sampleBytes(const byte_reader &reader, const wav_header &header,
                                    bool ignore_length) {
    const std::optional<uint64_t> present = reader.remainingBytes();
    if (!present) {
        return header.data_bytes;
    }
    if (header.never_finished && *present > 0) {
        reportLength(reader.name(),
                     "its header says 0 bytes of samples, " + std::to_string(*present) +
                         " follow it",
                     ignore_length);
    }
    const uint64_t frame_bytes = groupBytes(header.bytes);
    const uint64_t whole = *present / frame_bytes * frame_bytes;
    const uint64_t declared = header.data_bytes.value_or(whole);
    if (declared > *present) {
        reportLength(reader.name(), missingText(declared - *present), ignore_length);
        return whole;
    }
    return declared;
}

} // namespace

const char *formatName(uint8_t format) {
    constexpr std::array<const char *, 6> NAMES{"?",       "PCM",  "LPCM paired",
                                                "LPCM BE", "AES3", "FLOAT"};
    return NAMES.at(format);
}

uint64_t groupFrames(uint8_t format) {
    return format == AUDIO_FORMAT_LPCM_PAIRED || format == AUDIO_FORMAT_LPCM_BE ? 2 : 1;
}

uint64_t groupBytes(const byte_format &bytes) {
    const auto frames = static_cast<uint32_t>(groupFrames(bytes.format));
    // The difference is without the header that the library counts once for AES3.
    return audioConverterSamplesToBytes(frames, bytes.format, bytes.channels, bytes.bits) -
           audioConverterSamplesToBytes(0, bytes.format, bytes.channels, bytes.bits);
}

uint64_t wholeFrames(const byte_format &bytes, uint64_t byte_count) {
    return byte_count / std::max<uint64_t>(groupBytes(bytes), 1) * groupFrames(bytes.format);
}

int32_t integerSample(double value) {
    constexpr double FULL_SCALE = 2147483648.0;
    // Adding 1.5 * 2^52 rounds to a whole number, which the low bits of the sum then are.
    constexpr double ROUNDER = 6755399441055744.0;
    const double known = std::isnan(value) ? 0.0 : value;
    const double scaled = std::clamp(known * FULL_SCALE, -FULL_SCALE, FULL_SCALE - 1);
    return static_cast<int32_t>(std::bit_cast<uint64_t>(scaled + ROUNDER));
}

std::string missingText(uint64_t byte_count) {
    return "ends before its header says, " + std::to_string(byte_count) + " bytes are missing";
}

void reportLength(const std::string &name, const std::string &fault, bool ignore_length) {
    if (!ignore_length) {
        throw conversion_error(name + ": " + fault + "; --ignore-length converts what is there");
    }
    warn(name + ": " + fault);
}

std::unique_ptr<audio_source> openSource(const std::string &path, const source_options &options) {
    std::unique_ptr<byte_reader> reader = openReader(path);
    if (options.raw) {
        return makeRawSource(std::move(reader), options);
    }
    if (auto source = makeWavSource(reader, options)) {
        return source;
    }
    if (!reader->remainingBytes()) {
        reader = spoolPipe(*reader);
        if (auto source = makeWavSource(reader, options)) {
            return source;
        }
    }
    return makeSoundFileSource(std::move(reader), options);
}

std::unique_ptr<audio_source> makeRawSource(std::unique_ptr<byte_reader> reader,
                                            const source_options &options) {
    source_description what = describeBytes(*reader, "raw", *options.raw);
    what.raw = true;
    if (what.bytes.format == AUDIO_FORMAT_AES3) {
        return makeAes3Source(std::move(reader), std::move(what), options.ignore_length);
    }
    if (const auto bytes = reader->remainingBytes()) {
        what.frame_count = wholeFrames(what.bytes, *bytes);
    }
    return std::make_unique<byte_source>(std::move(reader), std::move(what), std::nullopt,
                                         options.ignore_length);
}

std::unique_ptr<audio_source> makeWavSource(std::unique_ptr<byte_reader> &reader,
                                            const source_options &options) {
    const auto header = readWavHeader(*reader, options.read_texts);
    if (!header || !header->readable || options.widened) {
        return nullptr;
    }
    reader->skip(header->data_offset);
    source_description what = describeBytes(*reader, "WAV", header->bytes);
    if (what.is_float) {
        what.bytes.format = AUDIO_FORMAT_PCM; // as read() hands them out
    }
    what.layout = layoutFromWaveMask(header->wave_mask, what.bytes.channels);
    what.metadata = header->metadata;
    const std::optional<uint64_t> bytes = sampleBytes(*reader, *header, options.ignore_length);
    if (bytes) {
        what.frame_count = wholeFrames(what.bytes, *bytes);
    }
    return std::make_unique<byte_source>(std::move(reader), std::move(what), bytes,
                                         options.ignore_length);
}
