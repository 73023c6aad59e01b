// Output whose bytes are the library's own: WAV, RF64 and raw, to files and to streams.
#include "audio_sink.h"

#include "errors.h"
#include "signals.h"
#include "temporary_file.h"
#include "wav_file.h"

#include <fcntl.h>
#include <unistd.h>

namespace {

// What one write hands to the system: large and aligned, for the sake of the page cache. Streams
// get smaller pieces, sooner.
constexpr size_t FILE_WRITE_BYTES = 1 << 18;
constexpr size_t STREAM_WRITE_BYTES = 1 << 16;

bool isStream(const output_target &target) {
    return target.path == "-" || isSpecialFile(target.path);
}

// The WAVE channel mask, or 0 where a plain header says the same.
uint32_t waveMask(const output_target &target) {
    const bool is_usual = target.positions == slotSpeakers(usualMask(target.bytes.channels));
    const bool is_deep = target.bytes.format == AUDIO_FORMAT_PCM && target.bytes.bits > 16;
    const bool is_plain = is_usual && target.bytes.channels <= 2 && !is_deep;
    return is_plain ? 0 : positionMask(target.positions);
}

class byte_sink : public audio_sink {
public:
    explicit byte_sink(const output_target &what) : target(what) {
        open();
        start = lseek(descriptor, 0, SEEK_CUR);
        can_return = start >= 0 && !(fcntl(descriptor, F_GETFL) & O_APPEND);
        header_room = target.frame_count ? *dataBytes(target) > RIFF_DATA_LIMIT : can_return;
        if (target.type == file_type::WAV) {
            buffer = header();
            header_bytes = buffer.size();
        }
    }
    ~byte_sink() override {
        if (!file && descriptor > STDERR_FILENO) {
            close(descriptor);
        }
    }

    void write(std::span<const uint8_t> bytes) override {
        data_bytes += bytes.size();
        put(bytes);
    }

    void finish() override {
        constexpr uint8_t PADDING[1] = {0};
        if (target.type == file_type::WAV && data_bytes % 2 == 1) {
            put(PADDING);
        }
        flush();
        if (can_return && target.type == file_type::WAV && data_bytes != dataBytes(target)) {
            correctHeader();
        }
    }

    void commit() override {
        if (file) {
            file->commit();
        }
    }

private:
    void open() {
        if (target.path == "-") {
            descriptor = STDOUT_FILENO;
        } else if (isSpecialFile(target.path)) {
            descriptor = ::open(target.path.c_str(), O_WRONLY | O_CLOEXEC);
            if (descriptor < 0) {
                throw systemError(target.path, "cannot write");
            }
        } else {
            file = std::make_unique<temporary_file>(target.path);
            descriptor = file->descriptor();
            // The blocks of the disk at once, where the file system can; faults come with writing.
            fallocate(descriptor, FALLOC_FL_KEEP_SIZE, 0,
                      static_cast<off_t>(dataBytes(target).value_or(0)));
        }
    }

    std::vector<uint8_t> header() const {
        wav_header header;
        header.bytes = target.bytes;
        header.wave_mask = waveMask(target);
        header.data_bytes = dataBytes(target);
        header.metadata = target.metadata;
        return buildWavHeader(header, header_room);
    }

    // A length that turned out in the end is put in.
    void correctHeader() {
        target.frame_count = wholeFrames(target.bytes, data_bytes);
        const std::vector<uint8_t> bytes = header();
        if (pwrite(descriptor, bytes.data(), bytes.size(), start) !=
            static_cast<ssize_t>(header_bytes)) {
            throw systemError(name(), "cannot write");
        }
    }

    void put(std::span<const uint8_t> bytes) {
        const size_t write_bytes = file ? FILE_WRITE_BYTES : STREAM_WRITE_BYTES;
        while (buffer.size() + bytes.size() >= write_bytes) {
            const size_t count = write_bytes - buffer.size();
            buffer.insert(buffer.end(), bytes.begin(), bytes.begin() + std::ptrdiff_t(count));
            bytes = bytes.subspan(count);
            flush();
        }
        buffer.insert(buffer.end(), bytes.begin(), bytes.end());
    }

    void flush() {
        writeOut(buffer);
        buffer.clear();
    }

    void writeOut(std::span<const uint8_t> bytes) {
        while (!bytes.empty()) {
            throwIfInterrupted();
            const ssize_t count = ::write(descriptor, bytes.data(), bytes.size());
            if (count >= 0) {
                bytes = bytes.subspan(static_cast<size_t>(count));
            } else if (errno != EINTR) {
                throw systemError(name(), "cannot write");
            }
        }
    }

    std::string name() const {
        return target.path == "-" ? "standard output" : target.path;
    }

    output_target target;
    std::unique_ptr<temporary_file> file;
    int descriptor = -1;
    std::vector<uint8_t> buffer;
    off_t start = 0;
    bool can_return = false;  // the header can be written again
    bool header_room = false; // it has the room that RF64 needs
    size_t header_bytes = 0;
    uint64_t data_bytes = 0;
};

} // namespace

std::optional<uint64_t> dataBytes(const output_target &target) {
    if (!target.frame_count) {
        return std::nullopt;
    }
    return *target.frame_count / groupFrames(target.bytes.format) * groupBytes(target.bytes);
}

std::string targetKind(const output_target &target) {
    constexpr const char *NAMES[] = {"WAV", "AIFF", "CAF", "FLAC", "raw"}; // by file_type
    const bool is_long = dataBytes(target).value_or(0) > RIFF_DATA_LIMIT;
    return target.type == file_type::WAV && is_long ? "RF64" : NAMES[static_cast<int>(target.type)];
}

void checkTarget(const output_target &target) {
    const bool is_bytes = target.type == file_type::WAV || target.type == file_type::RAW;
    if (!is_bytes && isStream(target)) {
        throw conversion_error(targetKind(target) + " cannot be written to a stream; " +
                               "use --type wav or raw");
    }
    if (target.type == file_type::AIFF && dataBytes(target).value_or(0) > RIFF_DATA_LIMIT) {
        throw conversion_error(target.path + ": AIFF cannot hold more than 4 GiB; use wav or caf");
    }
    if (target.path != "-") {
        checkWritable(target.path);
    }
}

std::unique_ptr<audio_sink> openSink(const output_target &target) {
    checkTarget(target);
    if (target.type == file_type::WAV || target.type == file_type::RAW) {
        return std::make_unique<byte_sink>(target);
    }
    return makeSoundFileSink(target);
}
