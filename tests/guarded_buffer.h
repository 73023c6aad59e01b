#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <sys/mman.h>
#include <unistd.h>

// Memory that ends at an inaccessible page: one byte read or written beyond its end is a fault.
class guarded_buffer {
public:
    explicit guarded_buffer(size_t capacity) {
        const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
        size_ = (capacity + FRONT_BYTES + page - 1) / page * page;
        mapped_ = size_ + page;
        void *memory =
            mmap(nullptr, mapped_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (memory == MAP_FAILED ||
            mprotect(static_cast<uint8_t *>(memory) + size_, page, PROT_NONE) != 0) {
            ADD_FAILURE() << "no guarded memory";
            abort();
        }
        begin_ = static_cast<uint8_t *>(memory);
        memset(begin_, FILL, size_);
    }
    guarded_buffer(const guarded_buffer &) = delete;
    guarded_buffer &operator=(const guarded_buffer &) = delete;
    ~guarded_buffer() {
        munmap(begin_, mapped_);
    }

    // Room for `count` elements right before the inaccessible page, which for bytes may stand at
    // any address. It and the bytes in front of it are filled with FILL.
    template <typename T>
    T *ending(size_t count) {
        used_ = count * sizeof(T);
        uint8_t *start = begin_ + size_ - used_;
        memset(start - FRONT_BYTES, FILL, FRONT_BYTES + used_);
        return reinterpret_cast<T *>(start);
    }

    // False when something was written in front of the room last given.
    bool frontIsIntact() const {
        const uint8_t *front = begin_ + size_ - used_ - FRONT_BYTES;
        for (size_t i = 0; i < FRONT_BYTES; ++i) {
            if (front[i] != FILL) {
                return false;
            }
        }
        return true;
    }

    static constexpr uint8_t FILL = 0xa5;

private:
    static constexpr size_t FRONT_BYTES = 64;

    uint8_t *begin_;
    size_t size_;   // accessible bytes
    size_t mapped_; // with the page behind them
    size_t used_ = 0;
};
