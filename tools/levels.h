// Peak, RMS and full-scale samples of a byte stream in any of the library's formats.
#pragma once

#include "audio_source.h"

struct channel_levels {
    double peak = 0.0; // 1.0 is full scale
    double square_sum = 0.0;
    uint64_t sample_count = 0;
    uint64_t full_scale_count = 0; // samples at or beyond either limit of the depth
};

class level_meter {
public:
    // `depth`: bits of the samples, where the format has room for more.
    level_meter(const byte_format &bytes, uint8_t depth);

    // The next bytes of the stream, cut anywhere.
    void take(std::span<const uint8_t> bytes);

    // The same for bytes that the library wrote: at 20 bits, LPCM_PAIRED is written with the
    // nibbles of its last bytes the other way round than it is read.
    void takeWritten(std::span<const uint8_t> bytes);

    std::vector<channel_levels> channels;

private:
    void measure(std::span<const uint8_t> pcm_bytes);

    byte_format format;
    int32_t positive_limit; // the highest sample of the depth
    side_converter decoder;
};
