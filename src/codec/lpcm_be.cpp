#include "codec/codec.h"

#include "codec/bytes.h"

namespace {

// The top Bits of a sample stand, sign-extended, in Bytes bytes.

template <unsigned Bits, unsigned Bytes>
void decodeFrames(const channel_pointers &out, const uint8_t *in, uint32_t samples,
                  unsigned channels) {
    for (uint32_t f = 0; f < samples; ++f) {
        for (unsigned c = 0; c < channels; ++c) {
            const uint32_t value = Bytes == 2 ? loadBe16(in) : loadBe24(in);
            out[c][f] = static_cast<int32_t>(value << (32 - Bits));
            in += Bytes;
        }
    }
}

template <unsigned Bits, unsigned Bytes>
void encodeFrames(const channel_pointers &in, uint8_t *out, uint32_t samples, unsigned channels) {
    for (uint32_t f = 0; f < samples; ++f) {
        for (unsigned c = 0; c < channels; ++c) {
            const auto value = static_cast<uint32_t>(in[c][f] >> (32 - Bits));
            Bytes == 2 ? storeBe16(out, value) : storeBe24(out, value);
            out += Bytes;
        }
    }
}

} // namespace

void decodeLpcmBe(const channel_pointers &out, const uint8_t *in, uint32_t samples,
                  uint8_t channels, uint8_t bits) {
    switch (bits) {
    case 20:
        return decodeFrames<20, 3>(out, in, samples, channels);
    case 24:
        return decodeFrames<24, 3>(out, in, samples, channels);
    default:
        return decodeFrames<16, 2>(out, in, samples, channels);
    }
}

void encodeLpcmBe(const channel_pointers &in, uint8_t *out, uint32_t samples, uint8_t channels,
                  uint8_t bits) {
    switch (bits) {
    case 20:
        return encodeFrames<20, 3>(in, out, samples, channels);
    case 24:
        return encodeFrames<24, 3>(in, out, samples, channels);
    default:
        return encodeFrames<16, 2>(in, out, samples, channels);
    }
}
