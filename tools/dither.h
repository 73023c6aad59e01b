// Shortens 32-bit samples with triangular noise of 2 LSB (TPDF): the error no longer depends on
// the signal. The same seed gives the same noise.
#pragma once

#include "audio_source.h"
#include "library_host.h"

class dither_stage {
public:
    // From 32-bit PCM of the same channels and rate to `target`, whose writes have at most
    // `write_bytes`.
    dither_stage(const byte_format &target, uint32_t write_bytes, uint64_t seed,
                 output_stream::byte_function take_bytes);

    // Throws conversion_error, or what the function threw.
    void take(std::span<const uint8_t> bytes);
    void finish();

private:
    int32_t noisy(int32_t sample);

    unsigned dropped_bits;
    uint64_t state;
    std::vector<int32_t> samples;
    side_converter shortener;
};
