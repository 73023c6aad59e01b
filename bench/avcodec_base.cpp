#include "avcodec_base.h"

extern "C" {
#include <libavutil/channel_layout.h>
}

namespace {

// Releases nothing: the bytes belong to the caller of convert.
void keepBytes(void *, uint8_t *) {
}

// A reference without which libavcodec would copy the bytes.
AVBufferRef *wrapBytes(std::span<const uint8_t> bytes) {
    return av_buffer_create(const_cast<uint8_t *>(bytes.data()), bytes.size() + INPUT_PADDING,
                            keepBytes, nullptr, AV_BUFFER_FLAG_READONLY);
}

} // namespace

avcodec_base::avcodec_base(AVCodecContext *opened)
    : context(opened), packet(av_packet_alloc()), frame(av_frame_alloc()) {
}

avcodec_base::~avcodec_base() {
    av_frame_free(&frame);
    av_packet_free(&packet);
    avcodec_free_context(&context);
}

std::span<const uint8_t> avcodec_base::decodePacket(std::span<const uint8_t> bytes) {
    packet->buf = wrapBytes(bytes);
    packet->data = const_cast<uint8_t *>(bytes.data());
    packet->size = static_cast<int>(bytes.size());
    const bool decoded =
        avcodec_send_packet(context, packet) == 0 && avcodec_receive_frame(context, frame) == 0;
    av_packet_unref(packet);
    if (!decoded) {
        return {};
    }
    const auto samples = static_cast<std::size_t>(frame->nb_samples) *
                         static_cast<std::size_t>(frame->ch_layout.nb_channels);
    const int bytes_each = av_get_bytes_per_sample(static_cast<AVSampleFormat>(frame->format));
    return {frame->data[0], samples * static_cast<std::size_t>(bytes_each)};
}

std::span<const uint8_t> avcodec_base::encodePacket(std::span<const uint8_t> samples,
                                                    std::size_t frame_count) {
    av_packet_unref(packet);
    frame->nb_samples = static_cast<int>(frame_count);
    frame->format = context->sample_fmt;
    frame->sample_rate = context->sample_rate;
    av_channel_layout_copy(&frame->ch_layout, &context->ch_layout);
    frame->buf[0] = wrapBytes(samples);
    frame->data[0] = const_cast<uint8_t *>(samples.data());
    frame->extended_data = frame->data;
    frame->linesize[0] = static_cast<int>(samples.size());
    const bool encoded =
        avcodec_send_frame(context, frame) == 0 && avcodec_receive_packet(context, packet) == 0;
    av_frame_unref(frame);
    if (!encoded) {
        return {};
    }
    return {packet->data, static_cast<std::size_t>(packet->size)};
}
