#include "buffered_converter.h"
#include "own_converter.h"
#include "peers.h"

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
#include <libswresample/swresample.h>
}

#include <cmath>
#include <numeric>

namespace {

constexpr int TAPS = 40;

class swresample_converter final : public buffered_converter {
public:
    swresample_converter(SwrContext *opened, const conversion &asked)
        : buffered_converter(asked), context(opened) {
    }

    ~swresample_converter() override {
        swr_free(&context);
    }

    swresample_converter(const swresample_converter &) = delete;
    swresample_converter &operator=(const swresample_converter &) = delete;

private:
    std::size_t convertFrames(const uint8_t *source, std::size_t source_frames, uint8_t *target,
                              std::size_t target_frames) override {
        const int frames = swr_convert(context, &target, static_cast<int>(target_frames), &source,
                                       static_cast<int>(source_frames));
        return frames < 0 ? 0 : static_cast<std::size_t>(frames);
    }

    SwrContext *context;
};

AVSampleFormat sampleFormat(const stream_shape &shape) {
    if (!isNative(shape)) {
        return AV_SAMPLE_FMT_NONE;
    }
    if (shape.format == AUDIO_FORMAT_FLOAT) {
        return AV_SAMPLE_FMT_FLT;
    }
    if (shape.bits == 8) {
        return AV_SAMPLE_FMT_U8;
    }
    return shape.bits == 16 ? AV_SAMPLE_FMT_S16 : AV_SAMPLE_FMT_S32;
}

SwrContext *allocContext(const conversion &wanted) {
    const AVSampleFormat input_format = sampleFormat(wanted.input);
    const AVSampleFormat output_format = sampleFormat(wanted.output);
    if (input_format == AV_SAMPLE_FMT_NONE || output_format == AV_SAMPLE_FMT_NONE) {
        return nullptr;
    }
    AVChannelLayout input_layout{};
    AVChannelLayout output_layout{};
    SwrContext *context = nullptr;
    if (av_channel_layout_from_mask(&input_layout, wanted.input.mask) < 0 ||
        av_channel_layout_from_mask(&output_layout, wanted.output.mask) < 0 ||
        swr_alloc_set_opts2(&context, &output_layout, output_format,
                            static_cast<int>(wanted.output.sample_rate), &input_layout,
                            input_format, static_cast<int>(wanted.input.sample_rate), 0,
                            nullptr) < 0) {
        return nullptr;
    }
    return context;
}

std::unique_ptr<stream_converter> startContext(SwrContext *context, const conversion &wanted) {
    if (swr_init(context) < 0) {
        swr_free(&context);
        return nullptr;
    }
    return std::make_unique<swresample_converter>(context, wanted);
}

// The exponent of the smallest power of two that holds every phase of the ratio.
int phaseShift(const conversion &wanted) {
    const uint32_t phases =
        wanted.output.sample_rate / std::gcd(wanted.input.sample_rate, wanted.output.sample_rate);
    int shift = 0;
    while ((uint64_t{1} << shift) < phases) {
        shift++;
    }
    return shift;
}

bool setAlike(SwrContext *context, const conversion &wanted, int filter_size) {
    return av_opt_set_sample_fmt(context, "internal_sample_fmt", AV_SAMPLE_FMT_DBLP, 0) >= 0 &&
           av_opt_set_int(context, "filter_type", SWR_FILTER_TYPE_KAISER, 0) >= 0 &&
           av_opt_set_double(context, "kaiser_beta", 9.0, 0) >= 0 &&
           av_opt_set_double(context, "cutoff", 1.0, 0) >= 0 &&
           av_opt_set_int(context, "exact_rational", 1, 0) >= 0 &&
           av_opt_set_int(context, "linear_interp", 0, 0) >= 0 &&
           av_opt_set_int(context, "filter_size", filter_size, 0) >= 0 &&
           av_opt_set_int(context, "phase_shift", phaseShift(wanted), 0) >= 0;
}

bool setGains(SwrContext *context, const conversion &wanted) {
    if (sameLayout(wanted)) {
        return true;
    }
    const std::vector<double> gains = measureGains(wanted);
    return swr_set_matrix(context, gains.data(), wanted.input.channels) >= 0;
}

std::unique_ptr<stream_converter> makeAlike(const conversion &wanted, int filter_size) {
    SwrContext *context = allocContext(wanted);
    if (context == nullptr) {
        return nullptr;
    }
    if (!setAlike(context, wanted, filter_size) || !setGains(context, wanted)) {
        swr_free(&context);
        return nullptr;
    }
    return startContext(context, wanted);
}

} // namespace

std::unique_ptr<stream_converter> makeSwresample(const conversion &wanted) {
    SwrContext *context = allocContext(wanted);
    return context == nullptr ? nullptr : startContext(context, wanted);
}

std::unique_ptr<stream_converter> makeSwresampleGains(const conversion &wanted) {
    SwrContext *context = sameLayout(wanted) ? nullptr : allocContext(wanted);
    if (context == nullptr) {
        return nullptr;
    }
    if (!setGains(context, wanted)) {
        swr_free(&context);
        return nullptr;
    }
    return startContext(context, wanted);
}

std::unique_ptr<stream_converter> makeSwresampleAlike(const conversion &wanted) {
    if (sameRate(wanted) && sameLayout(wanted)) {
        return nullptr;
    }
    return makeAlike(wanted, TAPS);
}

std::unique_ptr<stream_converter> makeSwresampleShort(const conversion &wanted) {
    if (wanted.output.sample_rate >= wanted.input.sample_rate) {
        return nullptr;
    }
    const double ratio = static_cast<double>(wanted.output.sample_rate) / wanted.input.sample_rate;
    return makeAlike(wanted, static_cast<int>(std::lround(TAPS * ratio)));
}
