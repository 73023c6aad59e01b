#include "codec/codec.h"

#include "codec/bytes.h"

namespace {

// How one sample of a depth is read and written.

struct pcm8 {
    static constexpr unsigned BYTES = 1;
    static uint32_t load(const uint8_t *bytes) {
        return (bytes[0] ^ 0x80u) << 24;
    }
    static void store(uint8_t *bytes, uint32_t sample) {
        bytes[0] = static_cast<uint8_t>(sample >> 24 ^ 0x80u);
    }
};

struct pcm16 {
    static constexpr unsigned BYTES = 2;
    static uint32_t load(const uint8_t *bytes) {
        return uint32_t{loadLe16(bytes)} << 16;
    }
    static void store(uint8_t *bytes, uint32_t sample) {
        storeLe16(bytes, sample >> 16);
    }
};

struct pcm24 {
    static constexpr unsigned BYTES = 3;
    static uint32_t load(const uint8_t *bytes) {
        return loadLe24(bytes) << 8;
    }
    static void store(uint8_t *bytes, uint32_t sample) {
        storeLe24(bytes, sample >> 8);
    }
};

struct pcm32 {
    static constexpr unsigned BYTES = 4;
    static uint32_t load(const uint8_t *bytes) {
        return loadLe32(bytes);
    }
    static void store(uint8_t *bytes, uint32_t sample) {
        storeLe32(bytes, sample);
    }
};

template <typename Depth>
void decodeFrames(const channel_pointers &out, const uint8_t *in, uint32_t samples,
                  unsigned channels) {
    for (uint32_t f = 0; f < samples; ++f) {
        for (unsigned c = 0; c < channels; ++c) {
            out[c][f] = static_cast<int32_t>(Depth::load(in));
            in += Depth::BYTES;
        }
    }
}

template <typename Depth>
void encodeFrames(const channel_pointers &in, uint8_t *out, uint32_t samples, unsigned channels) {
    for (uint32_t f = 0; f < samples; ++f) {
        for (unsigned c = 0; c < channels; ++c) {
            Depth::store(out, static_cast<uint32_t>(in[c][f]));
            out += Depth::BYTES;
        }
    }
}

} // namespace

void decodePcm(const channel_pointers &out, const uint8_t *in, uint32_t samples, uint8_t channels,
               uint8_t bits) {
    switch (bits) {
    case 8:
        return decodeFrames<pcm8>(out, in, samples, channels);
    case 24:
        return decodeFrames<pcm24>(out, in, samples, channels);
    case 32:
        return decodeFrames<pcm32>(out, in, samples, channels);
    default:
        return decodeFrames<pcm16>(out, in, samples, channels);
    }
}

void encodePcm(const channel_pointers &in, uint8_t *out, uint32_t samples, uint8_t channels,
               uint8_t bits) {
    switch (bits) {
    case 8:
        return encodeFrames<pcm8>(in, out, samples, channels);
    case 24:
        return encodeFrames<pcm24>(in, out, samples, channels);
    case 32:
        return encodeFrames<pcm32>(in, out, samples, channels);
    default:
        return encodeFrames<pcm16>(in, out, samples, channels);
    }
}
