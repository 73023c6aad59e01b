#pragma once

#include "zt_trans_audio_converter.h"

#include <cstddef>
#include <map>
#include <set>
#include <string>
#include <vector>

// The functions that a host hands to one converter: an allocator that counts, checks and fails on
// demand, and printers that record. The library's callbacks carry no context, so the host whose
// turn it is belongs to the thread: call enter() before every call on its converter.
class test_host {
public:
    test_host() = default;
    test_host(const test_host &) = delete;
    test_host &operator=(const test_host &) = delete;
    ~test_host();

    // Makes this the calling thread's host and returns its lookup.
    callback_lookup enter();

    // Blocks never given back, given back twice, never given out or written beyond their end; empty
    // when all is well.
    std::string trouble() const;

    size_t liveBlocks() const {
        return live.size();
    }

    std::set<std::string> withheld;    // names that the lookup answers with null
    std::vector<std::string> asked;    // names in the order of the lookup's calls
    std::vector<std::string> messages; // texts of err_printf
    std::vector<size_t> sizes;         // bytes asked for, by call of malloc

    uint64_t fail_at = 0;            // the call of malloc, from 1, that fails; 0: none
    size_t largest_block = SIZE_MAX; // larger requests fail
    size_t live_bytes = 0, peak_bytes = 0;

private:
    struct block {
        size_t bytes;
        uint64_t number;
    };

    static host_function lookup(const char *name);
    static void *allocate(size_t byte_count);
    static void release(void *pointer);
    static int printError(const char *format, ...) __attribute__((format(printf, 1, 2)));
    static int printUnexpected(const char *format, ...);

    std::map<void *, block> live;
    std::string faults;
};
