#include "codec/aes3.h"

#include "codec/aes3_header.h"

#include <algorithm>

namespace {

// Frames until the next header is due. At least one: a header is always followed by a frame.
uint32_t framesInBlock(int32_t frame_remaining, uint32_t frame_bytes) {
    if (frame_remaining <= 0) {
        return 1;
    }
    return (static_cast<uint32_t>(frame_remaining) + frame_bytes - 1) / frame_bytes;
}

} // namespace

uint32_t decodeAes3(const channel_pointers &out, const uint8_t *in, uint32_t &byte_count,
                    uint8_t channels, uint8_t bits, int32_t &frame_remaining,
                    decode_function decode_frames) {
    const uint32_t frame_bytes = aes3FrameBytes(channels, bits);
    uint32_t decoded = 0;
    while (byte_count != 0) {
        if (frame_remaining <= 0) {
            aes3_header header;
            if (byte_count < AES3_HEADER_BYTES) {
                return decoded;
            }
            if (readAes3Header(in, &header, bits, channels) == 0) {
                return 0;
            }
            frame_remaining = static_cast<int32_t>(header.payload_size);
            in += AES3_HEADER_BYTES;
            byte_count -= AES3_HEADER_BYTES;
        }
        if (byte_count < frame_bytes) {
            return decoded;
        }
        const uint32_t frames =
            std::min(framesInBlock(frame_remaining, frame_bytes), byte_count / frame_bytes);
        channel_pointers behind;
        for (unsigned c = 0; c < channels; ++c) {
            behind[c] = out[c] + decoded;
        }
        decode_frames(behind, in, frames, channels, bits);
        decoded += frames;
        in += frames * frame_bytes;
        byte_count -= frames * frame_bytes;
        frame_remaining -= static_cast<int32_t>(frames * frame_bytes);
    }
    return decoded;
}

void encodeAes3(const channel_pointers &in, uint8_t *out, uint32_t samples, uint8_t channels,
                uint8_t bits, encode_function encode_frames) {
    const uint32_t payload = samples * aes3FrameBytes(channels, bits);
    out += writeAes3Header(out, bits, channels, payload);
    encode_frames(in, out, samples, channels, bits);
}
