// Cuts a source into the blocks of the input calls.
#pragma once

#include "audio_source.h"
#include "options.h"

#include <random>
#include <span>
#include <vector>

class block_sizes {
public:
    explicit block_sizes(const block_choice &choice)
        : largest(choice.byte_count), random(choice.seed.has_value()),
          generator(choice.seed.value_or(0)) {
    }
    size_t next() {
        return random ? generator() % largest + 1 : largest;
    }

private:
    size_t largest;
    bool random;
    std::mt19937_64 generator;
};

class block_reader {
public:
    block_reader(audio_source &from, size_t largest_block);

    // The next bytes, fewer than asked for only at the end and none after it. Valid until the
    // next call.
    std::span<const uint8_t> next(size_t byte_count);

private:
    void fill(size_t byte_count);

    audio_source &source;
    std::vector<uint8_t> buffer;
    size_t begin = 0; // of the bytes not handed out yet
    size_t end = 0;
    bool at_end = false;
};
