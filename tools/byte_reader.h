// Bytes of an open file, with a look ahead for headers that come through a pipe.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

class byte_reader {
public:
    // Takes over the descriptor; standard input stays open.
    byte_reader(int descriptor, std::string name);
    ~byte_reader();
    byte_reader(const byte_reader &) = delete;
    byte_reader &operator=(const byte_reader &) = delete;

    // Fills as much of `bytes` as the file still has; fewer only at its end. Throws
    // conversion_error when the system cannot read.
    size_t read(std::span<uint8_t> bytes);

    // The first bytes not yet read, fewer only at the end of the file; a later read gives
    // them again. The span is valid until the next call.
    std::span<const uint8_t> peek(size_t byte_count);

    // Bytes from the current position to the end, for regular files.
    uint64_t remainingBytes() const;
    // Bytes at an offset from the current position of a regular file, which stays.
    size_t readAhead(uint64_t offset, std::span<uint8_t> bytes) const;
    bool isRegular() const;

    // Gives the descriptor away; nothing may have been read or peeked.
    int release();

    const std::string &name() const {
        return file_name;
    }

private:
    size_t readSome(std::span<uint8_t> bytes);

    int descriptor;
    std::string file_name;
    std::vector<uint8_t> ahead;
};

// Opens a file, or standard input for "-". Throws conversion_error.
int openForReading(const std::string &path);
