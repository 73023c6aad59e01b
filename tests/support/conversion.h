#pragma once

#include "support/recording_stream.h"
#include "support/test_host.h"

#include <array>
#include <span>
#include <string>
#include <vector>

using byte_vector = std::vector<uint8_t>;

struct sample_layout {
    uint8_t format;
    uint8_t bits;
};

// Every depth of every format.
inline constexpr sample_layout ALL_LAYOUTS[] = {{1, 8},  {1, 16}, {1, 24}, {1, 32}, {2, 16},
                                                {2, 20}, {2, 24}, {3, 16}, {3, 20}, {3, 24},
                                                {4, 16}, {4, 20}, {4, 24}, {5, 32}};

// One side of a conversion. Zeros mean what they mean in the settings.
struct side {
    sample_layout layout = {};
    uint8_t channels = 0;
    uint32_t rate = 0;
    uint32_t mask = 0;
};

audio_converter_settings makeSettings(const side &input, const side &output,
                                      uint32_t out_frame_size = 65536);

// "1/16x2@44100 -> 5/32x6@48000"
std::string describe(const audio_converter_settings &settings);

// Repeatable numbers, the same on every machine.
class random_numbers {
public:
    explicit random_numbers(uint64_t seed) : state(seed * 2 + 1) {
    }
    uint32_t next();
    uint32_t below(uint32_t bound) {
        return next() % bound;
    }

private:
    uint64_t state;
};

// Bytes of one frame; of a pair of frames for the two LPCM formats.
uint32_t unitBytes(sample_layout layout, uint8_t channels);
bool isPaired(sample_layout layout);

// Random samples as a valid stream of the layout: whole frames (pairs), in blocks of changing
// sizes for AES3.
byte_vector makeInput(sample_layout layout, uint8_t channels, uint32_t frames, uint64_t seed);

// The header of an AES3 block.
std::array<uint8_t, 4> aes3Header(uint32_t payload_size, uint8_t channels, uint8_t bits);

// The frames of an AES3 stream without its headers. A header that is not the one expected empties
// the result.
byte_vector withoutHeaders(const byte_vector &stream, uint8_t channels, uint8_t bits);

// 32-bit samples and their bytes.
byte_vector toBytes(const std::vector<int32_t> &samples);
std::vector<int32_t> toSamples(const byte_vector &bytes);

// A converter with its host and its streams: one for each output channel when the settings say so.
class conversion {
public:
    explicit conversion(const audio_converter_settings &settings, uint64_t fail_at = 0,
                        size_t largest_block = SIZE_MAX);
    conversion(const conversion &) = delete;
    conversion &operator=(const conversion &) = delete;
    ~conversion();

    void attach();
    uint32_t put(std::span<const uint8_t> bytes);
    uint32_t putChannel(std::span<const uint8_t> bytes, uint8_t channel);
    uint32_t end(uint32_t channel);
    uint32_t done(uint32_t discard_tail = 0);

    // Everything committed so far, stream after stream, without AES3 headers.
    byte_vector output() const;
    size_t committed() const;

    // Releases the converter and tells what went wrong with memory or streams; empty when all is
    // well.
    std::string close();

    audio_converter_settings settings;
    test_host host;
    std::array<recording_stream, AUDIO_MAX_CHANNELS> streams;
    audio_converter *converter;
};

// The cuts of a stream into blocks: sizes used in turn until the bytes are used up.
using block_sizes = std::vector<uint32_t>;

// The output of a whole stream, fed in blocks. A call that fails is reported in the result's
// place, as text.
byte_vector convert(const audio_converter_settings &settings, const byte_vector &input,
                    const block_sizes &blocks = {UINT32_MAX});
