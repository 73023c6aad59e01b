#pragma once

#include "conversion.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

// A DVD packet starts with three bytes: frame number, depth and rate and channels, and the dynamic
// range. The samples behind them are laid out as LPCM_PAIRED, except that above 16 bits the words
// hold the high part of a sample and the bytes the low part: other values, the same work.
constexpr std::size_t DVD_HEADER_BYTES = 3;

// One opened codec with the packet and the frame that it works on. libavcodec reads the bytes of
// the caller in place and the results stay in its own buffers.
class avcodec_base : public stream_converter {
public:
    // Takes over the opened context.
    explicit avcodec_base(AVCodecContext *opened);
    ~avcodec_base() override;

    avcodec_base(const avcodec_base &) = delete;
    avcodec_base &operator=(const avcodec_base &) = delete;

protected:
    // One packet to samples and back. The results are empty on failure and valid until the next
    // call; INPUT_PADDING readable bytes follow the input.
    std::span<const uint8_t> decodePacket(std::span<const uint8_t> bytes);
    std::span<const uint8_t> encodePacket(std::span<const uint8_t> samples,
                                          std::size_t frame_count);

private:
    AVCodecContext *context;
    AVPacket *packet;
    AVFrame *frame;
};
