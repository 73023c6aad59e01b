#include "byte_reader.h"

#include "errors.h"
#include "signals.h"

#include <algorithm>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace {

constexpr size_t MOST_AHEAD = 1 << 16;

} // namespace

byte_reader::byte_reader(int open_descriptor, std::string name)
    : descriptor(open_descriptor), file_name(std::move(name)) {
    struct stat status {};
    regular = fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
}

byte_reader::~byte_reader() {
    if (descriptor > STDERR_FILENO) {
        close(descriptor);
    }
}

size_t byte_reader::readSome(std::span<uint8_t> bytes) {
    for (;;) {
        const ssize_t count = ::read(descriptor, bytes.data(), bytes.size());
        if (count >= 0) {
            return static_cast<size_t>(count);
        }
        throwIfInterrupted();
        if (errno != EINTR) {
            throw systemError(file_name, "cannot read");
        }
    }
}

size_t byte_reader::read(std::span<uint8_t> bytes) {
    size_t filled = std::min(ahead.size(), bytes.size());
    std::copy_n(ahead.begin(), filled, bytes.begin());
    ahead.erase(ahead.begin(), ahead.begin() + static_cast<std::ptrdiff_t>(filled));
    while (filled < bytes.size()) {
        const size_t count = readSome(bytes.subspan(filled));
        if (count == 0) {
            break;
        }
        filled += count;
    }
    return filled;
}

std::vector<uint8_t> byte_reader::lookAt(uint64_t offset, size_t byte_count) {
    std::vector<uint8_t> bytes(byte_count);
    if (regular) {
        const off_t position = lseek(descriptor, 0, SEEK_CUR) + static_cast<off_t>(offset);
        const ssize_t count = pread(descriptor, bytes.data(), byte_count, position);
        bytes.resize(static_cast<size_t>(std::max<ssize_t>(count, 0)));
        return bytes;
    }
    const uint64_t end = std::min<uint64_t>(offset + byte_count, MOST_AHEAD);
    while (ahead.size() < end) {
        const size_t before = ahead.size();
        ahead.resize(end);
        const size_t count = readSome(std::span(ahead).subspan(before));
        ahead.resize(before + count);
        if (count == 0) {
            break;
        }
    }
    const auto shown = std::span(ahead).subspan(std::min<uint64_t>(offset, ahead.size()));
    bytes.assign(shown.begin(),
                 shown.begin() + static_cast<std::ptrdiff_t>(std::min(shown.size(), byte_count)));
    return bytes;
}

void byte_reader::skip(uint64_t byte_count) {
    if (regular) {
        lseek(descriptor, static_cast<off_t>(byte_count), SEEK_CUR);
    } else {
        ahead.erase(ahead.begin(), ahead.begin() + static_cast<std::ptrdiff_t>(byte_count));
    }
}

std::optional<uint64_t> byte_reader::remainingBytes() const {
    struct stat status {};
    if (!regular || fstat(descriptor, &status) != 0) {
        return std::nullopt;
    }
    const off_t position = lseek(descriptor, 0, SEEK_CUR);
    return static_cast<uint64_t>(std::max<off_t>(status.st_size - position, 0));
}

int byte_reader::release() {
    return std::exchange(descriptor, -1);
}

std::unique_ptr<byte_reader> openReader(const std::string &path) {
    if (path == "-") {
        return std::make_unique<byte_reader>(STDIN_FILENO, "standard input");
    }
    const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) {
        throw systemError(path, "cannot open");
    }
    auto reader = std::make_unique<byte_reader>(descriptor, path);
    struct stat status {};
    if (fstat(descriptor, &status) == 0 && S_ISDIR(status.st_mode)) {
        throw conversion_error(path + ": is a directory");
    }
    return reader;
}

std::unique_ptr<byte_reader> spoolPipe(byte_reader &pipe) {
    const char *folder = std::getenv("TMPDIR");
    std::string path = std::string(folder ? folder : "/tmp") + "/zt-audio-convert-XXXXXX";
    const int descriptor = mkstemp(path.data());
    if (descriptor < 0) {
        throw systemError(path, "cannot store the input");
    }
    unlink(path.c_str());
    auto spooled = std::make_unique<byte_reader>(descriptor, pipe.name());
    std::vector<uint8_t> bytes(MOST_AHEAD);
    while (const size_t count = pipe.read(bytes)) {
        if (write(descriptor, bytes.data(), count) != static_cast<ssize_t>(count)) {
            throw systemError(path, "cannot store the input");
        }
    }
    lseek(descriptor, 0, SEEK_SET);
    return spooled;
}
