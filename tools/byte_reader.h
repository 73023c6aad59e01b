// Bytes of an open file, with a look ahead for headers that come through a pipe.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
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

    // Bytes at an offset from the current position, which stays: fewer at the end of the file.
    // Of a pipe only the first 64 KiB can be seen.
    std::vector<uint8_t> lookAt(uint64_t offset, size_t byte_count);

    // Moves the current position over bytes that lookAt() has shown.
    void skip(uint64_t byte_count);

    // Bytes from the current position to the end; nothing for a pipe.
    std::optional<uint64_t> remainingBytes() const;

    // Gives the descriptor away; nothing may have been read from a pipe.
    int release();

    const std::string &name() const {
        return file_name;
    }

private:
    size_t readSome(std::span<uint8_t> bytes);

    int descriptor;
    std::string file_name;
    bool regular = false;
    std::vector<uint8_t> ahead; // of a pipe: seen but not read
};

// Opens a file, or standard input for "-". Throws conversion_error.
std::unique_ptr<byte_reader> openReader(const std::string &path);

// Copies the rest of a pipe to a file without a name, for kinds of sound file that need to seek.
std::unique_ptr<byte_reader> spoolPipe(byte_reader &pipe);
