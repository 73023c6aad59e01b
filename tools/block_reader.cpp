#include "block_reader.h"

#include <algorithm>
#include <cstring>

namespace {

// Bytes of one read, more than the largest group of any format.
constexpr size_t READ_BYTES = 1 << 16;

// Reads start at a multiple of this, so that a source may take the buffer for samples.
constexpr size_t ALIGNMENT = 16;

} // namespace

block_reader::block_reader(audio_source &from, size_t largest_block)
    : source(from), buffer(largest_block + 2 * READ_BYTES) {
}

std::span<const uint8_t> block_reader::next(size_t byte_count) {
    if (end - begin < byte_count) {
        fill(byte_count);
    }
    const size_t count = std::min(byte_count, end - begin);
    begin += count;
    return std::span<const uint8_t>(buffer).subspan(begin - count, count);
}

//   buffer: | unused | kept bytes | read: starts aligned ... |
void block_reader::fill(size_t byte_count) {
    const size_t kept = end - begin;
    const size_t start = (kept + ALIGNMENT - 1) / ALIGNMENT * ALIGNMENT;
    std::memmove(&buffer[start - kept], &buffer[begin], kept);
    begin = start - kept;
    end = start;
    while (!at_end && end - begin < byte_count) {
        const size_t room = std::min(buffer.size() - end, std::max(byte_count, READ_BYTES));
        const size_t count = source.read(std::span(buffer).subspan(end, room));
        at_end = count == 0;
        end += count;
        if (end % ALIGNMENT != 0 && end - begin < byte_count) {
            return fill(byte_count);
        }
    }
}
