#include "avcodec_base.h"
#include "peers.h"

extern "C" {
#include <libavutil/channel_layout.h>
}

#include <algorithm>
#include <cstring>

namespace {

class avcodec_decoder final : public avcodec_base {
public:
    avcodec_decoder(AVCodecContext *opened, const stream_shape &coded)
        : avcodec_base(opened), shape(coded) {
    }

    std::span<const uint8_t> convert(std::span<const uint8_t> input) override {
        const std::span<const uint8_t> bytes =
            shape.format == AUDIO_FORMAT_LPCM_PAIRED ? addDvdHeader(input) : input;
        return decodePacket(bytes);
    }

private:
    std::span<const uint8_t> addDvdHeader(std::span<const uint8_t> input) {
        dvd_packet.resize(DVD_HEADER_BYTES + input.size() + INPUT_PADDING);
        const unsigned depth_code = (shape.bits - 16u) / 4;
        dvd_packet[1] = static_cast<uint8_t>(depth_code << 6 | (shape.channels - 1u));
        std::memcpy(dvd_packet.data() + DVD_HEADER_BYTES, input.data(), input.size());
        return {dvd_packet.data(), DVD_HEADER_BYTES + input.size()};
    }

    stream_shape shape;
    std::vector<uint8_t> dvd_packet;
};

class avcodec_encoder final : public avcodec_base {
public:
    avcodec_encoder(AVCodecContext *opened, const stream_shape &native)
        : avcodec_base(opened), frame_bytes(sampleBytes(native) * native.channels) {
    }

    std::span<const uint8_t> convert(std::span<const uint8_t> input) override {
        return encodePacket(input, input.size() / frame_bytes);
    }

private:
    std::size_t frame_bytes;
};

// The DVD encoder takes frames of its own size only: input is collected until they are full.
class dvd_encoder final : public avcodec_base {
public:
    dvd_encoder(AVCodecContext *opened, const stream_shape &native)
        : avcodec_base(opened), frame_count(static_cast<std::size_t>(opened->frame_size)),
          byte_count(frame_count * sampleBytes(native) * native.channels) {
    }

    std::span<const uint8_t> convert(std::span<const uint8_t> input) override {
        pending.resize(pending_bytes + input.size() + INPUT_PADDING);
        std::copy(input.begin(), input.end(), pending.data() + pending_bytes);
        const std::size_t end = pending_bytes + input.size();
        std::size_t start = 0;
        output.clear();
        for (; end - start >= byte_count; start += byte_count) {
            const auto encoded = encodePacket({pending.data() + start, byte_count}, frame_count);
            if (encoded.size() < DVD_HEADER_BYTES) {
                return {};
            }
            output.insert(output.end(), encoded.begin() + DVD_HEADER_BYTES, encoded.end());
        }
        std::memmove(pending.data(), pending.data() + start, end - start);
        pending_bytes = end - start;
        return output;
    }

private:
    std::size_t frame_count;
    std::size_t byte_count;
    std::vector<uint8_t> pending;
    std::size_t pending_bytes = 0;
    std::vector<uint8_t> output;
};

AVCodecID codecId(const stream_shape &shape) {
    switch (shape.format) {
    case AUDIO_FORMAT_PCM:
        return shape.bits == 24 ? AV_CODEC_ID_PCM_S24LE : AV_CODEC_ID_NONE;
    case AUDIO_FORMAT_LPCM_BE:
        if (shape.bits == 20) {
            return AV_CODEC_ID_NONE;
        }
        return shape.bits == 16 ? AV_CODEC_ID_PCM_S16BE : AV_CODEC_ID_PCM_S24BE;
    case AUDIO_FORMAT_LPCM_PAIRED:
        return AV_CODEC_ID_PCM_DVD;
    case AUDIO_FORMAT_AES3:
        return AV_CODEC_ID_S302M;
    default:
        return AV_CODEC_ID_NONE;
    }
}

AVCodecContext *allocContext(const AVCodec *codec, const stream_shape &shape) {
    if (codec == nullptr) {
        return nullptr;
    }
    AVCodecContext *context = avcodec_alloc_context3(codec);
    // Speakers do not matter to the codecs, but the DVD one knows six channels by these only.
    if (shape.channels == 6) {
        av_channel_layout_from_mask(&context->ch_layout, AV_CH_LAYOUT_5POINT1);
    } else {
        av_channel_layout_default(&context->ch_layout, shape.channels);
    }
    context->sample_rate = static_cast<int>(shape.sample_rate);
    context->time_base = {1, context->sample_rate};
    context->sample_fmt = shape.bits == 16 ? AV_SAMPLE_FMT_S16 : AV_SAMPLE_FMT_S32;
    context->bits_per_raw_sample = shape.bits;
    context->thread_count = 1;
    context->strict_std_compliance = FF_COMPLIANCE_EXPERIMENTAL;
    return context;
}

std::unique_ptr<stream_converter> makeDecoder(const conversion &wanted) {
    const AVCodec *codec = avcodec_find_decoder(codecId(wanted.input));
    AVCodecContext *context = allocContext(codec, wanted.input);
    if (context == nullptr || avcodec_open2(context, codec, nullptr) < 0) {
        avcodec_free_context(&context);
        return nullptr;
    }
    return std::make_unique<avcodec_decoder>(context, wanted.input);
}

std::unique_ptr<stream_converter> makeEncoder(const conversion &wanted) {
    const bool dvd = wanted.output.format == AUDIO_FORMAT_LPCM_PAIRED;
    // The DVD encoder would write 24 bits.
    if (dvd && wanted.output.bits == 20) {
        return nullptr;
    }
    const AVCodec *codec = avcodec_find_encoder(codecId(wanted.output));
    AVCodecContext *context = allocContext(codec, wanted.output);
    if (context == nullptr || avcodec_open2(context, codec, nullptr) < 0) {
        avcodec_free_context(&context);
        return nullptr;
    }
    if (dvd) {
        return std::make_unique<dvd_encoder>(context, wanted.input);
    }
    return std::make_unique<avcodec_encoder>(context, wanted.input);
}

bool sameSamples(const stream_shape &a, const stream_shape &b) {
    return a.format == b.format && a.bits == b.bits;
}

} // namespace

stream_shape avcodecNativeShape(const stream_shape &shape) {
    if (isNative(shape)) {
        return shape;
    }
    stream_shape native = shape;
    native.format = AUDIO_FORMAT_PCM;
    native.bits = shape.bits == 16 ? 16 : 32;
    return native;
}

std::unique_ptr<stream_converter> makeAvcodec(const conversion &wanted) {
    if (!sameRate(wanted) || !sameLayout(wanted)) {
        return nullptr;
    }
    if (!isNative(wanted.input) && sameSamples(wanted.output, avcodecNativeShape(wanted.input))) {
        return makeDecoder(wanted);
    }
    if (!isNative(wanted.output) && sameSamples(wanted.input, avcodecNativeShape(wanted.output))) {
        return makeEncoder(wanted);
    }
    return nullptr;
}
