#include "peers.h"

namespace {

class converter_chain final : public stream_converter {
public:
    explicit converter_chain(std::vector<std::unique_ptr<stream_converter>> made)
        : stages(std::move(made)) {
    }

    std::span<const uint8_t> convert(std::span<const uint8_t> input) override {
        for (const auto &stage : stages) {
            input = stage->convert(input);
        }
        return input;
    }

private:
    std::vector<std::unique_ptr<stream_converter>> stages;
};

struct chain_step {
    converter_maker make;
    conversion step;
};

std::unique_ptr<stream_converter> makeChain(const std::vector<chain_step> &steps) {
    std::vector<std::unique_ptr<stream_converter>> stages;
    for (const chain_step &step : steps) {
        stages.push_back(step.make(step.step));
        if (stages.back() == nullptr) {
            return nullptr;
        }
    }
    return std::make_unique<converter_chain>(std::move(stages));
}

bool changesSamples(const conversion &wanted) {
    return wanted.input.format != wanted.output.format || wanted.input.bits != wanted.output.bits;
}

// Samples that libswresample and libsoxr can take or give, and 32 bits where the rate comes after
// the mixing.
std::vector<chain_step> middleSteps(const conversion &middle, converter_maker resample) {
    if (sameRate(middle) && sameLayout(middle) && !changesSamples(middle)) {
        return {};
    }
    if (resample == makeSwresample || sameLayout(middle)) {
        return {{resample, middle}};
    }
    stream_shape mixed = middle.output;
    mixed.sample_rate = middle.input.sample_rate;
    mixed.format = middle.input.format;
    mixed.bits = middle.input.bits;
    return {{makeSwresample, {middle.input, mixed}}, {resample, {mixed, middle.output}}};
}

std::unique_ptr<stream_converter> makeWithCodecs(const conversion &wanted,
                                                 converter_maker resample) {
    if (isNative(wanted.input) && isNative(wanted.output)) {
        return nullptr;
    }
    const conversion middle{avcodecNativeShape(wanted.input), avcodecNativeShape(wanted.output)};
    std::vector<chain_step> steps;
    if (!isNative(wanted.input)) {
        steps.push_back({makeAvcodec, {wanted.input, middle.input}});
    }
    for (const chain_step &step : middleSteps(middle, resample)) {
        steps.push_back(step);
    }
    if (!isNative(wanted.output)) {
        steps.push_back({makeAvcodec, {middle.output, wanted.output}});
    }
    return makeChain(steps);
}

} // namespace

std::unique_ptr<stream_converter> makeAvcodecSwresample(const conversion &wanted) {
    return makeWithCodecs(wanted, makeSwresample);
}

#ifdef BENCH_SOXR
std::unique_ptr<stream_converter> makeAvcodecSoxr(const conversion &wanted) {
    return sameRate(wanted) ? nullptr : makeWithCodecs(wanted, makeSoxr);
}
#endif
