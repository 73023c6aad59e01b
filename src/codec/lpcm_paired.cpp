#include "codec/codec.h"

#include "codec/bytes.h"

// A pair of frames of N channels, sample j = frame * N + channel:
//
//     | word 0 | word 1 | ... | word 2N-1 | high bits            |
//     | 2 bytes, big-endian, low bits     | 20 bits: N nibble pairs, 24 bits: 2N bytes |

namespace {

constexpr unsigned WORD_BYTES = 2;

void decodePair20(int32_t *const *out, const uint8_t *in, uint32_t frame, unsigned channels) {
    const uint8_t *high = in + 2 * channels * WORD_BYTES;
    for (unsigned j = 0; j < 2 * channels; ++j) {
        // The reader's order: the even sample in the low nibble.
        const uint32_t nibble = j % 2 == 0 ? high[j / 2] & 0x0fu : high[j / 2] >> 4u;
        const uint32_t value = nibble << 16 | loadBe16(in + j * WORD_BYTES);
        out[j % channels][frame + j / channels] = static_cast<int32_t>(value << 12);
    }
}

void encodePair20(int32_t *const *in, uint8_t *out, uint32_t frame, unsigned channels) {
    uint8_t *high = out + 2 * channels * WORD_BYTES;
    for (unsigned j = 0; j < 2 * channels; ++j) {
        const auto sample = static_cast<uint32_t>(in[j % channels][frame + j / channels]);
        storeBe16(out + j * WORD_BYTES, sample >> 12);
        // The writer's order: the even sample in the high nibble.
        if (j % 2 == 0) {
            high[j / 2] = static_cast<uint8_t>(sample >> 28 << 4);
        } else {
            high[j / 2] = static_cast<uint8_t>(high[j / 2] | sample >> 28);
        }
    }
}

void decodePair24(int32_t *const *out, const uint8_t *in, uint32_t frame, unsigned channels) {
    const uint8_t *high = in + 2 * channels * WORD_BYTES;
    for (unsigned j = 0; j < 2 * channels; ++j) {
        const uint32_t value = uint32_t{high[j]} << 16 | loadBe16(in + j * WORD_BYTES);
        out[j % channels][frame + j / channels] = static_cast<int32_t>(value << 8);
    }
}

void encodePair24(int32_t *const *in, uint8_t *out, uint32_t frame, unsigned channels) {
    uint8_t *high = out + 2 * channels * WORD_BYTES;
    for (unsigned j = 0; j < 2 * channels; ++j) {
        const auto sample = static_cast<uint32_t>(in[j % channels][frame + j / channels]);
        storeBe16(out + j * WORD_BYTES, sample >> 8);
        high[j] = static_cast<uint8_t>(sample >> 24);
    }
}

constexpr unsigned pairBytes(unsigned channels, unsigned bits) {
    return 2 * channels * bits / 8;
}

} // namespace

void decodeLpcmPaired(const channel_pointers &out, const uint8_t *in, uint32_t samples,
                      uint8_t channels, uint8_t bits) {
    const auto decode_pair = bits == 20 ? decodePair20 : decodePair24;
    for (uint32_t frame = 0; frame + 1 < samples; frame += 2) {
        decode_pair(out, in, frame, channels);
        in += pairBytes(channels, bits);
    }
}

void encodeLpcmPaired(const channel_pointers &in, uint8_t *out, uint32_t samples, uint8_t channels,
                      uint8_t bits) {
    const auto encode_pair = bits == 20 ? encodePair20 : encodePair24;
    for (uint32_t frame = 0; frame + 1 < samples; frame += 2) {
        encode_pair(in, out, frame, channels);
        out += pairBytes(channels, bits);
    }
}
