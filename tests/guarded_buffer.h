#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <sys/mman.h>
#include <unistd.h>

// Memory between two inaccessible pages: one byte read or written outside is a fault.
class guarded_buffer {
public:
    explicit guarded_buffer(size_t capacity) {
        const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
        size_ = (capacity + FRONT_BYTES + page - 1) / page * page;
        mapped_ = page + size_ + page;
        map_ = mmap(nullptr, mapped_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        begin_ = static_cast<uint8_t *>(map_) + page;
        if (map_ == MAP_FAILED || mprotect(begin_, size_, PROT_READ | PROT_WRITE) != 0) {
            ADD_FAILURE() << "no guarded memory";
            abort();
        }
        memset(begin_, FILL, size_);
    }
    guarded_buffer(const guarded_buffer &) = delete;
    guarded_buffer &operator=(const guarded_buffer &) = delete;
    ~guarded_buffer() {
        munmap(map_, mapped_);
    }

    // Room for elements right behind the first inaccessible page.
    template <typename T>
    T *starting() {
        return reinterpret_cast<T *>(begin_);
    }

    // Room for `count` elements right before the second inaccessible page, which for bytes may
    // stand at any address. It and the bytes in front of it are filled with FILL.
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

    void *map_;
    size_t mapped_;
    uint8_t *begin_; // of the accessible bytes
    size_t size_;
    size_t used_ = 0;
};
