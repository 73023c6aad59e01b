// AIFF, CAF and FLAC files through libsndfile.
#include "audio_sink.h"
#include "errors.h"
#include "temporary_file.h"
#include "wav_file.h"

#include <sndfile.h>

namespace {

int fileFormat(const output_target &target) {
    constexpr int SUBTYPES[] = {SF_FORMAT_PCM_S8, SF_FORMAT_PCM_16, SF_FORMAT_PCM_24,
                                SF_FORMAT_PCM_32};
    const bool is_float = target.bytes.format == AUDIO_FORMAT_FLOAT;
    const int subtype = is_float ? int{SF_FORMAT_FLOAT} : SUBTYPES[target.bytes.bits / 8 - 1];
    constexpr int TYPES[] = {0, SF_FORMAT_AIFF, SF_FORMAT_CAF, SF_FORMAT_FLAC}; // by file_type
    return TYPES[static_cast<int>(target.type)] | subtype;
}

// Little-endian samples of `bytes` bytes, 8 bits unsigned, into the top of 32-bit integers.
void widenPcm(std::span<const uint8_t> samples, unsigned bytes, std::vector<int> &widened) {
    widened.resize(samples.size() / bytes);
    for (size_t k = 0; k < widened.size(); ++k) {
        uint32_t value = 0;
        std::memcpy(reinterpret_cast<uint8_t *>(&value) + 4 - bytes, &samples[k * bytes], bytes);
        widened[k] = static_cast<int>(bytes == 1 ? value ^ 0x80000000u : value);
    }
}

class sound_file_sink : public audio_sink {
public:
    explicit sound_file_sink(const output_target &what) : target(what), file(what.path) {
        SF_INFO info{};
        info.samplerate = static_cast<int>(target.bytes.rate);
        info.channels = target.bytes.channels;
        info.format = fileFormat(target);
        sound = sf_open_fd(file.descriptor(), SFM_WRITE, &info, SF_FALSE);
        if (sound == nullptr) {
            throw conversion_error(target.path + ": " + targetKind(target) +
                                   " holds no such rate, depth or channels; use --type wav");
        }
        // The chunk carries the time of writing: the same input would give different bytes.
        sf_command(sound, SFC_SET_ADD_PEAK_CHUNK, nullptr, SF_FALSE);
        std::vector<int> codes = mapCodesFromPositions(target.positions);
        if (codes.size() > 2 && target.type != file_type::FLAC) {
            const auto byte_count = static_cast<int>(codes.size() * sizeof codes[0]);
            if (!sf_command(sound, SFC_SET_CHANNEL_MAP_INFO, codes.data(), byte_count)) {
                warn(target.path + ": this type of file cannot name these speakers");
            }
        }
        writeTexts(sound, target.metadata);
    }
    ~sound_file_sink() override {
        if (sound != nullptr) {
            sf_close(sound);
        }
    }

    void write(std::span<const uint8_t> bytes) override {
        data_bytes += bytes.size();
        if (target.type == file_type::AIFF && data_bytes > RIFF_DATA_LIMIT) {
            throw conversion_error(target.path +
                                   ": AIFF cannot hold more than 4 GiB; use wav or caf");
        }
        errno = 0;
        if (!writeSamples(bytes)) {
            throw writeFault();
        }
    }

    void finish() override {
        errno = 0;
        const int status = sf_close(sound);
        sound = nullptr;
        if (status != SF_ERR_NO_ERROR) {
            throw writeFault();
        }
    }

    void commit() override {
        file.commit();
    }

private:
    bool writeSamples(std::span<const uint8_t> bytes) {
        if (target.bytes.format == AUDIO_FORMAT_FLOAT) {
            floats.resize(bytes.size() / sizeof(float));
            std::memcpy(floats.data(), bytes.data(), bytes.size());
            const auto count = static_cast<sf_count_t>(floats.size());
            return sf_write_float(sound, floats.data(), count) == count;
        }
        widenPcm(bytes, target.bytes.bits / 8u, integers);
        const auto count = static_cast<sf_count_t>(integers.size());
        return sf_write_int(sound, integers.data(), count) == count;
    }

    conversion_error writeFault() const {
        if (errno != 0) {
            return systemError(target.path, "cannot write");
        }
        return conversion_error(target.path + ": cannot write: " + sf_strerror(sound));
    }

    output_target target;
    temporary_file file;
    SNDFILE *sound = nullptr;
    std::vector<int> integers;
    std::vector<float> floats;
    uint64_t data_bytes = 0;
};

} // namespace

std::unique_ptr<audio_sink> makeSoundFileSink(const output_target &target) {
    return std::make_unique<sound_file_sink>(target);
}
