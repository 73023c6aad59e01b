// Raw output, and WAV for standard output, pipes and devices: bytes in their final order.
#include "audio_sink.h"
#include "errors.h"
#include "temporary_file.h"
#include "wav_header.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr size_t BUFFER_BYTES = 1 << 16;

class stream_sink : public audio_sink {
public:
    explicit stream_sink(const output_target &what) : target(what) {
        buffer.reserve(BUFFER_BYTES);
        open();
        if (target.type != file_type::WAV) {
            return;
        }
        start = lseek(descriptor, 0, SEEK_CUR);
        header_bytes = putHeader();
    }
    ~stream_sink() override {
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
        if (target.type == file_type::WAV && !target.frame_count) {
            patchHeader();
        }
        if (file) {
            file->close();
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
        }
    }

    std::vector<uint8_t> header() const {
        return buildWavHeader(
            {target.bytes, target.bytes.bits, waveMask(target), dataBytes(target)});
    }

    size_t putHeader() {
        const std::vector<uint8_t> bytes = header();
        put(bytes);
        return bytes.size();
    }

    // A length that turned out in the end is put in where the stream happens to be a file. A
    // longer header, as RF64 needs, has no place: then the length stays unknown.
    void patchHeader() {
        target.frame_count = data_bytes / groupBytes(target.bytes);
        const std::vector<uint8_t> bytes = header();
        const bool appends = fcntl(descriptor, F_GETFL) & O_APPEND;
        if (start < 0 || appends || bytes.size() != header_bytes) {
            return;
        }
        if (pwrite(descriptor, bytes.data(), bytes.size(), start) < 0) {
            throw systemError(name(), "cannot write");
        }
    }

    void put(std::span<const uint8_t> bytes) {
        if (buffer.size() + bytes.size() > BUFFER_BYTES) {
            flush();
        }
        if (bytes.size() >= BUFFER_BYTES) {
            writeOut(bytes);
        } else {
            buffer.insert(buffer.end(), bytes.begin(), bytes.end());
        }
    }

    void flush() {
        writeOut(buffer);
        buffer.clear();
    }

    void writeOut(std::span<const uint8_t> bytes) {
        while (!bytes.empty()) {
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
    size_t header_bytes = 0;
    uint64_t data_bytes = 0;
};

} // namespace

std::unique_ptr<audio_sink> makeStreamSink(const output_target &target) {
    return std::make_unique<stream_sink>(target);
}
