#include "codec/codec.h"

#include "codec/bytes.h"

// A channel pair has 2 * (Bits + 4) bits a frame, numbered from 0:
//
//     | sample A, bit 0 first | 4 extra bits | sample B, bit 0 first | 4 extra bits |
//
// Bit k of them is bit 7 - k % 8 of byte k / 8, so they are assembled as an integer with
// bit k at bit k, and every byte goes out with its bits reversed. The first extra bit, next
// to the sample's top bit, is written 1; the reader ignores all four.

namespace {

constexpr unsigned EXTRA_BITS = 4;

uint8_t reverseBits(uint64_t byte) {
    uint32_t b = byte & 0xff;
    b = (b >> 4 & 0x0f) | (b & 0x0f) << 4;
    b = (b >> 2 & 0x33) | (b & 0x33) << 2;
    b = (b >> 1 & 0x55) | (b & 0x55) << 1;
    return static_cast<uint8_t>(b);
}

template <unsigned Bits>
struct channel_pair {
    static constexpr unsigned BYTES = 2 * (Bits + EXTRA_BITS) / 8;

    static uint32_t topBits(int32_t sample) {
        return static_cast<uint32_t>(sample) >> (32 - Bits);
    }

    static void write(uint8_t *out, int32_t a, int32_t b) {
        constexpr uint64_t MARK = uint64_t{1} << Bits;
        constexpr unsigned HALF = Bits + EXTRA_BITS;
        const uint64_t bits = (topBits(a) | MARK) | (topBits(b) | MARK) << HALF;
        for (unsigned i = 0; i < BYTES; ++i) {
            out[i] = reverseBits(bits >> (8 * i));
        }
    }

    static void read(const uint8_t *in, int32_t &a, int32_t &b) {
        uint64_t bits = 0;
        for (unsigned i = 0; i < BYTES; ++i) {
            bits |= uint64_t{reverseBits(in[i])} << (8 * i);
        }
        // Shifting into the top of 32 bits drops what lies above the sample.
        a = static_cast<int32_t>(static_cast<uint32_t>(bits) << (32 - Bits));
        b = static_cast<int32_t>(static_cast<uint32_t>(bits >> (Bits + EXTRA_BITS)) << (32 - Bits));
    }
};

template <unsigned Bits>
void decodeFrames(const channel_pointers &out, const uint8_t *in, uint32_t samples,
                  unsigned channels) {
    for (uint32_t f = 0; f < samples; ++f) {
        for (unsigned c = 0; c + 1 < channels; c += 2) {
            channel_pair<Bits>::read(in, out[c][f], out[c + 1][f]);
            in += channel_pair<Bits>::BYTES;
        }
    }
}

template <unsigned Bits>
void encodeFrames(const channel_pointers &in, uint8_t *out, uint32_t samples, unsigned channels) {
    for (uint32_t f = 0; f < samples; ++f) {
        for (unsigned c = 0; c + 1 < channels; c += 2) {
            channel_pair<Bits>::write(out, in[c][f], in[c + 1][f]);
            out += channel_pair<Bits>::BYTES;
        }
    }
}

} // namespace

void decodeAes3Frames(const channel_pointers &out, const uint8_t *in, uint32_t samples,
                      uint8_t channels, uint8_t bits) {
    switch (bits) {
    case 20:
        return decodeFrames<20>(out, in, samples, channels);
    case 24:
        return decodeFrames<24>(out, in, samples, channels);
    default:
        return decodeFrames<16>(out, in, samples, channels);
    }
}

void encodeAes3Frames(const channel_pointers &in, uint8_t *out, uint32_t samples, uint8_t channels,
                      uint8_t bits) {
    switch (bits) {
    case 20:
        return encodeFrames<20>(in, out, samples, channels);
    case 24:
        return encodeFrames<24>(in, out, samples, channels);
    default:
        return encodeFrames<16>(in, out, samples, channels);
    }
}
