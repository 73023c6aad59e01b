#include "buffered_converter.h"
#include "peers.h"

#include <gst/audio/audio.h>

#include <array>
#include <cstdlib>

namespace {

class gstreamer_converter final : public buffered_converter {
public:
    gstreamer_converter(GstAudioConverter *opened, const conversion &asked)
        : buffered_converter(asked), converter(opened) {
    }

    ~gstreamer_converter() override {
        gst_audio_converter_free(converter);
    }

    gstreamer_converter(const gstreamer_converter &) = delete;
    gstreamer_converter &operator=(const gstreamer_converter &) = delete;

private:
    std::size_t convertFrames(const uint8_t *source, std::size_t source_frames, uint8_t *target,
                              std::size_t target_frames) override {
        const std::size_t due = gst_audio_converter_get_out_frames(converter, source_frames);
        // The input is only read: GST_AUDIO_CONVERTER_FLAG_IN_WRITABLE is not given.
        gpointer sources[] = {const_cast<uint8_t *>(source)};
        gpointer targets[] = {target};
        if (due > target_frames ||
            !gst_audio_converter_samples(converter, GST_AUDIO_CONVERTER_FLAG_NONE, sources,
                                         source_frames, targets, due)) {
            return 0;
        }
        return due;
    }

    GstAudioConverter *converter;
};

// The library alone is used: no plug-in is looked for, no helper process started.
void startGstreamer() {
    static const bool started = [] {
        setenv("GST_REGISTRY_UPDATE", "no", 1);
        setenv("GST_REGISTRY_FORK", "no", 1);
        gst_init(nullptr, nullptr);
        return true;
    }();
    (void)started;
}

GstAudioFormat sampleFormat(const stream_shape &shape) {
    const bool big_endian = shape.format == AUDIO_FORMAT_LPCM_BE;
    if (shape.format == AUDIO_FORMAT_FLOAT) {
        return GST_AUDIO_FORMAT_F32LE;
    }
    if (!big_endian && shape.format != AUDIO_FORMAT_PCM) {
        return GST_AUDIO_FORMAT_UNKNOWN;
    }
    switch (shape.bits) {
    case 8:
        return GST_AUDIO_FORMAT_U8;
    case 16:
        return big_endian ? GST_AUDIO_FORMAT_S16BE : GST_AUDIO_FORMAT_S16LE;
    case 20:
        return GST_AUDIO_FORMAT_S20BE;
    case 24:
        return big_endian ? GST_AUDIO_FORMAT_S24BE : GST_AUDIO_FORMAT_S24LE;
    default:
        return GST_AUDIO_FORMAT_S32LE;
    }
}

bool describe(const stream_shape &shape, GstAudioInfo &info) {
    const GstAudioFormat format = sampleFormat(shape);
    std::array<GstAudioChannelPosition, 64> positions{};
    positions[0] = GST_AUDIO_CHANNEL_POSITION_MONO;
    if (format == GST_AUDIO_FORMAT_UNKNOWN ||
        (shape.channels > 1 &&
         !gst_audio_channel_positions_from_mask(shape.channels, shape.mask, positions.data()))) {
        return false;
    }
    gst_audio_info_set_format(&info, format, static_cast<int>(shape.sample_rate), shape.channels,
                              positions.data());
    return true;
}

} // namespace

std::unique_ptr<stream_converter> makeGstreamer(const conversion &wanted) {
    startGstreamer();
    GstAudioInfo input;
    GstAudioInfo output;
    gst_audio_info_init(&input);
    gst_audio_info_init(&output);
    if (!describe(wanted.input, input) || !describe(wanted.output, output)) {
        return nullptr;
    }
    GstAudioConverter *converter =
        gst_audio_converter_new(GST_AUDIO_CONVERTER_FLAG_NONE, &input, &output, nullptr);
    if (converter == nullptr) {
        return nullptr;
    }
    return std::make_unique<gstreamer_converter>(converter, wanted);
}
