#include "audio_source.h"
#include "errors.h"

#include <array>
#include <cstdlib>
#include <unistd.h>
#include <vector>

namespace {

// Copies a pipe to a file without a name, for the kinds of sound file that need to seek.
std::unique_ptr<byte_reader> spoolPipe(byte_reader &pipe) {
    const char *folder = std::getenv("TMPDIR");
    std::string name = std::string(folder ? folder : "/tmp") + "/zt-audio-convert-XXXXXX";
    const int descriptor = mkstemp(name.data());
    if (descriptor < 0) {
        throw systemError(name, "cannot store the input");
    }
    unlink(name.c_str());
    auto spooled = std::make_unique<byte_reader>(descriptor, pipe.name());
    std::vector<uint8_t> bytes(1 << 16);
    while (const size_t count = pipe.read(bytes)) {
        if (write(descriptor, bytes.data(), count) != static_cast<ssize_t>(count)) {
            throw systemError(name, "cannot store the input");
        }
    }
    lseek(descriptor, 0, SEEK_SET);
    return spooled;
}

} // namespace

const char *formatName(uint8_t format) {
    constexpr std::array<const char *, 6> NAMES{"?",       "PCM",  "LPCM paired",
                                                "LPCM BE", "AES3", "FLOAT"};
    return format < NAMES.size() ? NAMES[format] : NAMES[0];
}

size_t groupBytes(const byte_format &bytes) {
    switch (bytes.format) {
    case AUDIO_FORMAT_AES3:
        return 1;
    case AUDIO_FORMAT_LPCM_PAIRED:
    case AUDIO_FORMAT_LPCM_BE:
        return audioConverterSamplesToBytes(2, bytes.format, bytes.channels, bytes.bits);
    default:
        return audioConverterSamplesToBytes(1, bytes.format, bytes.channels, bytes.bits);
    }
}

uint64_t frameCount(const byte_format &bytes, uint64_t byte_count) {
    constexpr uint64_t AES3_HEADER_BYTES = 4;
    const uint64_t group = groupBytes(bytes);
    if (bytes.format == AUDIO_FORMAT_AES3) {
        return (byte_count - AES3_HEADER_BYTES) * 8 / (bytes.channels * (bytes.bits + 4u));
    }
    const bool pairs =
        bytes.format == AUDIO_FORMAT_LPCM_PAIRED || bytes.format == AUDIO_FORMAT_LPCM_BE;
    return group == 0 ? 0 : byte_count / group * (pairs ? 2 : 1);
}

std::unique_ptr<audio_source> openSource(const std::string &path,
                                         const std::optional<byte_format> &raw) {
    const std::string name = path == "-" ? "standard input" : path;
    auto reader = std::make_unique<byte_reader>(openForReading(path), name);
    if (raw) {
        return makeRawSource(std::move(reader), *raw);
    }
    if (!reader->isRegular()) {
        if (auto source = makeWavStreamSource(reader)) {
            return source;
        }
        reader = spoolPipe(*reader);
    }
    return makeSoundFileSource(std::move(reader));
}
