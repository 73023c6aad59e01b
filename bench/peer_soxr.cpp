#include "buffered_converter.h"
#include "peers.h"

#include <soxr.h>

namespace {

class soxr_converter final : public buffered_converter {
public:
    soxr_converter(soxr_t opened, const conversion &asked)
        : buffered_converter(asked), resampler(opened) {
    }

    ~soxr_converter() override {
        soxr_delete(resampler);
    }

    soxr_converter(const soxr_converter &) = delete;
    soxr_converter &operator=(const soxr_converter &) = delete;

private:
    std::size_t convertFrames(const uint8_t *source, std::size_t source_frames, uint8_t *target,
                              std::size_t target_frames) override {
        std::size_t taken = 0;
        std::size_t given = 0;
        const soxr_error_t error =
            soxr_process(resampler, source, source_frames, &taken, target, target_frames, &given);
        return error == nullptr && taken == source_frames ? given : 0;
    }

    soxr_t resampler;
};

soxr_datatype_t sampleType(const stream_shape &shape) {
    if (shape.format == AUDIO_FORMAT_FLOAT) {
        return SOXR_FLOAT32_I;
    }
    return shape.bits == 16 ? SOXR_INT16_I : SOXR_INT32_I;
}

bool isSupported(const stream_shape &shape) {
    return isNative(shape) && shape.bits != 8;
}

} // namespace

std::unique_ptr<stream_converter> makeSoxr(const conversion &wanted) {
    if (sameRate(wanted) || !sameLayout(wanted) || !isSupported(wanted.input) ||
        !isSupported(wanted.output)) {
        return nullptr;
    }
    const soxr_io_spec_t io = soxr_io_spec(sampleType(wanted.input), sampleType(wanted.output));
    const soxr_quality_spec_t quality = soxr_quality_spec(SOXR_HQ, 0);
    const soxr_runtime_spec_t one_thread = soxr_runtime_spec(1);
    soxr_error_t error = nullptr;
    soxr_t resampler = soxr_create(wanted.input.sample_rate, wanted.output.sample_rate,
                                   wanted.input.channels, &error, &io, &quality, &one_thread);
    if (error != nullptr) {
        return nullptr;
    }
    return std::make_unique<soxr_converter>(resampler, wanted);
}
