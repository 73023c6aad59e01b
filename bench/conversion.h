#pragma once

#include "zt_trans_audio_converter.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

// One end of a conversion. The mask is the explicit one, never 0; the rate is in Hz.
struct stream_shape {
    uint8_t format; // AUDIO_FORMAT_*
    uint8_t bits;
    uint8_t channels;
    uint32_t mask;
    uint32_t sample_rate;
};

struct conversion {
    stream_shape input;
    stream_shape output;
};

// Something that converts a stream block by block: this library or a peer.
class stream_converter {
public:
    virtual ~stream_converter() = default;

    // Takes a block of whole frames and gives the output that is ready, interleaved; it belongs to
    // the converter and is valid until the next call. INPUT_PADDING readable bytes follow the
    // input.
    virtual std::span<const uint8_t> convert(std::span<const uint8_t> input) = 0;
};

using converter_maker = std::unique_ptr<stream_converter> (*)(const conversion &);

constexpr std::size_t INPUT_PADDING = 64;

bool sameRate(const conversion &wanted);
bool sameLayout(const conversion &wanted);

// Linear samples of the given depth in the machine's byte order, or float.
bool isNative(const stream_shape &shape);

// The masks that the library assumes for 1 to 8 channels.
uint32_t defaultMask(uint8_t channels);

// Frames in a number of bytes (AES3: headers included, approximately).
std::size_t frameCount(const stream_shape &shape, std::size_t byte_count);

// Bytes of one sample of one channel; not for AES3 and not for LPCM_PAIRED of 20 bits.
std::size_t sampleBytes(const stream_shape &shape);

// Room for everything that one block can release: its own output, and up to one second that a
// converter may have held back.
std::size_t outputCapacity(const conversion &wanted, std::size_t input_byte_count);

// frame_count frames of a steady sound, a different pitch in every channel, in the given shape.
// INPUT_PADDING bytes more than the returned count are allocated.
struct test_block {
    std::vector<uint8_t> storage;
    std::size_t byte_count;
    std::span<const uint8_t> bytes() const {
        return {storage.data(), byte_count};
    }
};
test_block makeTestBlock(const stream_shape &shape, std::size_t frame_count);
