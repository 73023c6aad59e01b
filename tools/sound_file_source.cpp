// Sound files through libsndfile: integers come as 32-bit PCM, which holds every depth without
// loss, floats as FLOAT.
#include "audio_source.h"
#include "errors.h"

#include <array>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <sndfile.h>
#include <sstream>
#include <unistd.h>

namespace {

struct file_release {
    void operator()(SNDFILE *file) const {
        sf_close(file);
    }
};
using file_pointer = std::unique_ptr<SNDFILE, file_release>;

struct file_encoding {
    uint8_t depth;
    bool is_float;
    bool exact_length; // the frame count of the header can be relied upon
};

file_encoding encodingOf(int subtype) {
    switch (subtype & SF_FORMAT_SUBMASK) {
    case SF_FORMAT_PCM_S8:
    case SF_FORMAT_PCM_U8:
    case SF_FORMAT_DPCM_8:
        return {8, false, true};
    case SF_FORMAT_PCM_24:
    case SF_FORMAT_DWVW_24:
    case SF_FORMAT_ALAC_20:
    case SF_FORMAT_ALAC_24:
        return {24, false, true};
    case SF_FORMAT_PCM_32:
    case SF_FORMAT_ALAC_32:
        return {32, false, true};
    case SF_FORMAT_FLOAT:
    case SF_FORMAT_DOUBLE:
        return {32, true, true};
    case SF_FORMAT_VORBIS:
    case SF_FORMAT_OPUS:
    case SF_FORMAT_MPEG_LAYER_I:
    case SF_FORMAT_MPEG_LAYER_II:
    case SF_FORMAT_MPEG_LAYER_III:
        return {32, true, false};
    default: // 16-bit PCM and the codecs that carry as much
        return {16, false, true};
    }
}

std::string formatText(int format) {
    std::string text;
    for (const int part : {format & SF_FORMAT_TYPEMASK, format & SF_FORMAT_SUBMASK}) {
        SF_FORMAT_INFO info{};
        info.format = part;
        if (sf_command(nullptr, SFC_GET_FORMAT_INFO, &info, sizeof info) == 0 && info.name) {
            text.append(text.empty() ? "" : ", ").append(info.name);
        }
    }
    return text;
}

// libsndfile shortens a file that was cut off to what is there and mentions it in its log
// alone: "data : 12000 (should be 4888)", and for RF64 a line about the ds64 chunk. A size of
// 0xFFFFFFFF was never meant: the writer could not know the length.
bool isCutShort(SNDFILE *file) {
    std::array<char, 16384> log{};
    sf_command(file, SFC_GET_LOG_INFO, log.data(), static_cast<int>(log.size()));
    std::istringstream lines(log.data());
    for (std::string line; std::getline(lines, line);) {
        if (line.find("does not match value from 'ds64'") != std::string::npos) {
            return true;
        }
        const size_t name = line.find_first_not_of(' ');
        const size_t colon = line.find(" : ");
        const size_t actual = line.find("(should be ");
        if (colon == std::string::npos || actual == std::string::npos) {
            continue;
        }
        const std::string chunk = line.substr(name, colon - name);
        const uint64_t claimed = std::strtoull(line.c_str() + colon + 3, nullptr, 10);
        const uint64_t present = std::strtoull(line.c_str() + actual + 11, nullptr, 10);
        if ((chunk == "data" || chunk == "SSND") && claimed > present && claimed < UINT32_MAX) {
            return true;
        }
    }
    return false;
}

file_layout layoutOf(SNDFILE *file, int channels) {
    if (channels > AUDIO_MAX_CHANNELS) {
        return {};
    }
    std::vector<int> codes(static_cast<size_t>(channels));
    const int code_bytes = static_cast<int>(codes.size() * sizeof codes[0]);
    if (sf_command(file, SFC_GET_CHANNEL_MAP_INFO, codes.data(), code_bytes) == SF_FALSE) {
        return {};
    }
    return layoutFromPositions(positionsFromMapCodes(codes));
}

class sound_file_source : public audio_source {
public:
    explicit sound_file_source(std::unique_ptr<byte_reader> reader) {
        description.name = reader->name();
        const int descriptor = reader->release();
        SF_INFO info{};
        file.reset(sf_open_fd(descriptor, SFM_READ, &info, descriptor > STDERR_FILENO));
        if (!file) {
            throw conversion_error(description.name + ": " + sf_strerror(nullptr));
        }
        if (isCutShort(file.get())) {
            throw conversion_error(description.name + ": ends before its header says");
        }
        describe(info);
    }

    size_t read(std::span<uint8_t> bytes) override {
        const size_t frame_bytes = description.bytes.channels * sizeof(int32_t);
        const auto want = static_cast<sf_count_t>(bytes.size() / frame_bytes);
        const sf_count_t count = readFrames(bytes, want);
        if (sf_error(file.get()) != SF_ERR_NO_ERROR) {
            throw conversion_error(description.name + ": " + sf_strerror(file.get()));
        }
        frames_read += static_cast<uint64_t>(count);
        if (count < want && exact_length && frames_read < *description.frame_count) {
            throw conversion_error(description.name + ": ends after " +
                                   std::to_string(frames_read) + " of " +
                                   std::to_string(*description.frame_count) + " frames");
        }
        return static_cast<size_t>(count) * frame_bytes;
    }

    uint64_t framesRead() const override {
        return frames_read;
    }

private:
    void describe(const SF_INFO &info) {
        const file_encoding encoding = encodingOf(info.format);
        if (info.channels > std::numeric_limits<uint8_t>::max()) {
            throw conversion_error(description.name + ": has " + std::to_string(info.channels) +
                                   " channels");
        }
        exact_length = encoding.exact_length;
        description.kind = formatText(info.format);
        description.bytes.format = encoding.is_float ? AUDIO_FORMAT_FLOAT : AUDIO_FORMAT_PCM;
        description.bytes.bits = 32;
        description.bytes.channels = static_cast<uint8_t>(info.channels);
        description.bytes.rate = static_cast<uint32_t>(info.samplerate);
        description.depth = encoding.depth;
        if (info.frames >= 0 && info.frames < std::numeric_limits<sf_count_t>::max()) {
            description.frame_count = static_cast<uint64_t>(info.frames);
        }
        description.layout = layoutOf(file.get(), info.channels);
    }

    sf_count_t readFrames(std::span<uint8_t> bytes, sf_count_t frame_count) {
        // The buffer belongs to the caller, whose allocation is aligned for any sample.
        if (description.bytes.format == AUDIO_FORMAT_FLOAT) {
            return sf_readf_float(file.get(), reinterpret_cast<float *>(bytes.data()), frame_count);
        }
        return sf_readf_int(file.get(), reinterpret_cast<int *>(bytes.data()), frame_count);
    }

    file_pointer file;
    uint64_t frames_read = 0;
    bool exact_length = true;
};

} // namespace

std::unique_ptr<audio_source> makeSoundFileSource(std::unique_ptr<byte_reader> reader) {
    return std::make_unique<sound_file_source>(std::move(reader));
}
