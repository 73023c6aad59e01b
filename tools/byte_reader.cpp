#include "byte_reader.h"

#include "errors.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

byte_reader::byte_reader(int open_descriptor, std::string name)
    : descriptor(open_descriptor), file_name(std::move(name)) {
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

std::span<const uint8_t> byte_reader::peek(size_t byte_count) {
    size_t filled = ahead.size();
    if (filled < byte_count) {
        ahead.resize(byte_count);
        size_t count = 1;
        while (filled < byte_count && count > 0) {
            count = readSome(std::span(ahead).subspan(filled));
            filled += count;
        }
        ahead.resize(filled);
    }
    return std::span<const uint8_t>(ahead).first(std::min(byte_count, ahead.size()));
}

uint64_t byte_reader::remainingBytes() const {
    struct stat status {};
    fstat(descriptor, &status);
    const off_t position = lseek(descriptor, 0, SEEK_CUR);
    return static_cast<uint64_t>(std::max<off_t>(status.st_size - position, 0)) + ahead.size();
}

size_t byte_reader::readAhead(uint64_t offset, std::span<uint8_t> bytes) const {
    const off_t position = lseek(descriptor, 0, SEEK_CUR) + static_cast<off_t>(offset);
    const ssize_t count = pread(descriptor, bytes.data(), bytes.size(), position);
    if (count < 0) {
        throw systemError(file_name, "cannot read");
    }
    return static_cast<size_t>(count);
}

bool byte_reader::isRegular() const {
    struct stat status {};
    return fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
}

int byte_reader::release() {
    return std::exchange(descriptor, -1);
}

int openForReading(const std::string &path) {
    if (path == "-") {
        return STDIN_FILENO;
    }
    const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) {
        throw systemError(path, "cannot open");
    }
    struct stat status {};
    if (fstat(descriptor, &status) == 0 && S_ISDIR(status.st_mode)) {
        close(descriptor);
        throw conversion_error(path + ": is a directory");
    }
    return descriptor;
}
