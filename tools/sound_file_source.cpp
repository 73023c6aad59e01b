// Sound files through libsndfile, as 32-bit PCM: it holds every integer depth without loss, and
// floats to within half a step.
#include "audio_source.h"
#include "byte_order.h"
#include "errors.h"
#include "wav_file.h"

#include <algorithm>
#include <array>
#include <limits>
#include <sndfile.h>
#include <unistd.h>

namespace {

struct file_encoding {
    std::array<int, 5> formats; // the rest is 0
    uint8_t depth;
    bool is_float;
    bool exact_length; // the frame count of the header can be relied upon
};

const file_encoding ENCODINGS[] = {
    {{SF_FORMAT_PCM_S8, SF_FORMAT_PCM_U8, SF_FORMAT_DPCM_8}, 8, false, true},
    {{SF_FORMAT_PCM_24, SF_FORMAT_DWVW_24, SF_FORMAT_ALAC_20, SF_FORMAT_ALAC_24}, 24, false, true},
    {{SF_FORMAT_PCM_32, SF_FORMAT_ALAC_32}, 32, false, true},
    {{SF_FORMAT_FLOAT, SF_FORMAT_DOUBLE}, 32, true, true},
    {{SF_FORMAT_VORBIS, SF_FORMAT_OPUS, SF_FORMAT_MPEG_LAYER_I, SF_FORMAT_MPEG_LAYER_II,
      SF_FORMAT_MPEG_LAYER_III},
     32,
     true,
     false},
    {{}, 16, false, true}, // 16-bit PCM and the codecs that carry as much
};

const file_encoding &encodingOf(int format) {
    return *std::ranges::find_if(ENCODINGS, [format](const file_encoding &encoding) {
        return encoding.formats[0] == 0 ||
               std::ranges::count(encoding.formats, format & SF_FORMAT_SUBMASK) > 0;
    });
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

// How many bytes the samples of an AIFF or CAF file lack. libsndfile quietly shortens the file, or
// calls it malformed when most of a CAF file is gone.
// AIFF: FORM, size, type, chunks of a 4-byte size and an even length. CAF: caff, version,
// chunks of an 8-byte size. Both big-endian.
uint64_t missingBytes(byte_reader &reader) {
    const std::vector<uint8_t> start = reader.lookAt(0, 12);
    const bool is_caf = hasTag(start, 0, "caff");
    if (!is_caf && !hasTag(start, 0, "FORM")) {
        return 0;
    }
    const uint64_t head_bytes = is_caf ? 12 : 8;
    const uint64_t end = reader.remainingBytes().value_or(0);
    for (uint64_t offset = is_caf ? 8 : 12; offset + head_bytes <= end;) {
        const std::vector<uint8_t> head = reader.lookAt(offset, head_bytes);
        const uint64_t size = takeBig(head, 4, is_caf ? 8 : 4);
        const uint64_t present = end - offset - head_bytes;
        if (hasTag(head, 0, is_caf ? "data" : "SSND")) {
            const bool is_known = size < (is_caf ? uint64_t{INT64_MAX} : UINT32_MAX);
            return is_known && size > present ? size - present : 0;
        }
        if (size > present) {
            break;
        }
        offset += head_bytes + size + (is_caf ? 0 : size % 2);
    }
    return 0;
}

file_layout layoutOf(SNDFILE *file, const SF_INFO &info) {
    if (info.channels > AUDIO_MAX_CHANNELS) {
        return {};
    }
    if ((info.format & SF_FORMAT_TYPEMASK) == SF_FORMAT_FLAC) {
        return layoutFromPositions(flacPositions(static_cast<unsigned>(info.channels)));
    }
    std::vector<int> codes(static_cast<size_t>(info.channels));
    const int code_bytes = static_cast<int>(codes.size() * sizeof codes[0]);
    if (sf_command(file, SFC_GET_CHANNEL_MAP_INFO, codes.data(), code_bytes) == SF_FALSE) {
        return {};
    }
    return layoutFromPositions(positionsFromMapCodes(codes));
}

class sound_file_source : public audio_source {
public:
    sound_file_source(std::unique_ptr<byte_reader> reader, const source_options &options)
        : ignore_length(options.ignore_length) {
        description.name = reader->name();
        const std::optional<wav_header> wav = readWavHeader(*reader, options.read_texts);
        const uint64_t end = reader->remainingBytes().value_or(0);
        uint64_t missing = missingBytes(*reader);
        if (wav && wav->data_bytes && wav->data_offset + *wav->data_bytes > end) {
            missing = wav->data_offset + *wav->data_bytes - end;
        }
        if (missing > 0) {
            reportLength(description.name, missingText(missing), ignore_length);
        }
        const int descriptor = reader->release();
        SF_INFO info{};
        file.reset(sf_open_fd(descriptor, SFM_READ, &info, descriptor > STDERR_FILENO));
        if (!file) {
            throw conversion_error(description.name + ": " + sf_strerror(nullptr));
        }
        if (wav && wav->never_finished && wav->data_offset < end) {
            reportLength(description.name, "its header says 0 bytes of samples", ignore_length);
        }
        describe(info);
        if (options.read_texts) {
            description.metadata = wav ? wav->metadata : readTexts(file.get(), description.name);
        }
    }

    size_t read(std::span<uint8_t> bytes) override {
        const size_t frame_bytes = description.bytes.channels * sizeof(int32_t);
        const auto want = static_cast<sf_count_t>(bytes.size() / frame_bytes);
        const sf_count_t count = readFrames(bytes, want);
        frames_read += static_cast<uint64_t>(count);
        if (!at_end && sf_error(file.get()) != SF_ERR_NO_ERROR) {
            endEarly(sf_strerror(file.get()));
        } else if (!at_end && count < want && exact_length &&
                   frames_read < *description.frame_count) {
            endEarly("ends after " + std::to_string(frames_read) + " of " +
                     std::to_string(*description.frame_count) + " frames");
        }
        return static_cast<size_t>(count) * frame_bytes;
    }

private:
    void describe(const SF_INFO &info) {
        const file_encoding &encoding = encodingOf(info.format);
        if (info.channels > std::numeric_limits<uint8_t>::max()) {
            throw conversion_error(description.name + ": has " + std::to_string(info.channels) +
                                   " channels");
        }
        exact_length = encoding.exact_length;
        description.kind = formatText(info.format);
        description.bytes = {AUDIO_FORMAT_PCM, 32, static_cast<uint8_t>(info.channels),
                             static_cast<uint32_t>(info.samplerate)};
        description.depth = encoding.depth;
        description.is_float = encoding.is_float;
        if (info.frames >= 0 && info.frames < std::numeric_limits<sf_count_t>::max()) {
            description.frame_count = static_cast<uint64_t>(info.frames);
        } else {
            exact_length = false;
        }
        description.layout = layoutOf(file.get(), info);
    }

    void endEarly(const std::string &fault) {
        reportLength(description.name, fault, ignore_length);
        at_end = true;
    }

    sf_count_t readFrames(std::span<uint8_t> bytes, sf_count_t frame_count) {
        int *samples = reinterpret_cast<int *>(bytes.data()); // aligned, says audio_source
        if (at_end || !description.is_float) {
            return at_end ? 0 : sf_readf_int(file.get(), samples, frame_count);
        }
        doubles.resize(static_cast<size_t>(frame_count) * description.bytes.channels);
        const sf_count_t count = sf_readf_double(file.get(), doubles.data(), frame_count);
        for (size_t k = 0; k < static_cast<size_t>(count) * description.bytes.channels; ++k) {
            samples[k] = integerSample(doubles[k]);
        }
        return count;
    }

    std::unique_ptr<SNDFILE, decltype(&sf_close)> file{nullptr, sf_close};
    std::vector<double> doubles;
    uint64_t frames_read = 0;
    bool exact_length = true;
    bool ignore_length;
    bool at_end = false;
};

} // namespace

std::unique_ptr<audio_source> makeSoundFileSource(std::unique_ptr<byte_reader> reader,
                                                  const source_options &options) {
    return std::make_unique<sound_file_source>(std::move(reader), options);
}
