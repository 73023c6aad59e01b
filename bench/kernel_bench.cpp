#include "kinds.h"

#include "codec/codec_choice.h"
#include "core/instance.h"
#include "mixer/mix_matrix_design.h"
#include "mixer/mixer.h"
#include "resampler/resample_channels.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <map>
#include <memory>
#include <string>
#include <vector>

// Every kernel at every level that this machine has, beside the scalar one that it equals. The
// counter "each" is the time per sample and channel: of the output for the resampler and mixer.

namespace {

constexpr uint32_t FRAMES = 1024;
// Noise for eight channels, with the slack that a filter reads beyond a block.
struct channel_noise {
    std::vector<std::vector<int32_t>> samples;
    channel_pointers pointers;

    explicit channel_noise(size_t length) : samples(AUDIO_MAX_CHANNELS) {
        uint32_t state = 1;
        for (unsigned c = 0; c < AUDIO_MAX_CHANNELS; ++c) {
            samples[c].resize(length);
            for (int32_t &sample : samples[c]) {
                state = state * 1664525 + 1013904223;
                sample = static_cast<int32_t>(state) / 2;
            }
            pointers[c] = samples[c].data();
        }
    }
};

void reportEach(benchmark::State &state, double samples_per_iteration) {
    using benchmark::Counter;
    state.counters["each"] =
        Counter(samples_per_iteration, Counter::kIsIterationInvariantRate | Counter::kInvert);
}

void benchDecode(benchmark::State &state, sample_kind row, const kernel_set &kernels,
                 uint8_t channels) {
    channel_noise out(FRAMES);
    const std::vector<uint8_t> in(size_t{FRAMES} * channels * 4, 0x35);
    const decode_function decode = chooseCodec(kernels, row.format, channels, row.bits).decode;
    for (auto _ : state) {
        decode(out.pointers, in.data(), FRAMES, channels, row.bits);
        benchmark::ClobberMemory();
    }
    reportEach(state, FRAMES * channels);
}

void benchEncode(benchmark::State &state, sample_kind row, const kernel_set &kernels,
                 uint8_t channels) {
    const channel_noise in(FRAMES);
    std::vector<uint8_t> out(size_t{FRAMES} * channels * 4);
    const encode_function encode = chooseCodec(kernels, row.format, channels, row.bits).encode;
    for (auto _ : state) {
        encode(in.pointers, out.data(), FRAMES, channels, row.bits);
        benchmark::ClobberMemory();
    }
    reportEach(state, FRAMES * channels);
}

struct mix_row {
    const char *name;
    uint32_t input_mask;
    uint32_t output_mask;
    uint8_t inputs;
    uint8_t outputs;
};

constexpr mix_row MIXES[] = {
    {"5.1-2", 0x3f, 0x03, 6, 2},
    {"7.1-2", 0xff, 0x03, 8, 2},
    {"2-1", 0x03, 0x04, 2, 1},
    {"7.1-5.1", 0xff, 0x3f, 8, 6},
};

// What is mixed is mixed again: the time of a sum does not depend on its values.
void benchMix(benchmark::State &state, mix_row row, const kernel_set &kernels) {
    gain_matrix gains;
    uint8_t input_map[AUDIO_MAX_CHANNELS];
    uint8_t output_map[AUDIO_MAX_CHANNELS];
    designMixMatrix(gains, row.input_mask, row.output_mask, row.inputs);
    buildOrderMap(input_map, row.input_mask);
    buildOrderMap(output_map, row.output_mask);
    remapMixMatrix(gains, input_map, output_map);
    const channel_noise noise(FRAMES);
    for (auto _ : state) {
        kernels.mix(gains, noise.pointers, FRAMES, row.inputs, row.outputs);
        benchmark::ClobberMemory();
    }
    reportEach(state, FRAMES * row.outputs);
}

struct rate_row {
    const char *name;
    uint32_t input_rate;
    uint32_t output_rate;
};

constexpr rate_row RATES[] = {
    {"44.1-48", 44100, 48000}, {"48-44.1", 48000, 44100}, {"48-96", 48000, 96000},
    {"96-48", 96000, 48000},   {"48-8", 48000, 8000},     {"192-44.1", 192000, 44100},
};

// A converter lends its filter.
audio_converter *makeConverter(rate_row row, uint8_t channels) {
    audio_converter_settings settings = {};
    settings.input_channels = channels;
    settings.input_bits_per_sample = 32;
    settings.input_format = AUDIO_FORMAT_PCM;
    settings.input_sample_rate = row.input_rate;
    settings.output_sample_rate = row.output_rate;
    settings.out_frame_size = 65536;
    return audioConverterNew(nullptr, &settings);
}

void benchResample(benchmark::State &state, rate_row row, const kernel_set &kernels,
                   uint8_t channels) {
    const std::unique_ptr<audio_converter, void (*)(audio_converter *)> converter(
        makeConverter(row, channels), audioConverterFree);
    resampler_state &filter = converter->resampler;
    const uint32_t periods = FRAMES / filter.up_factor;
    const uint32_t outputs = periods * filter.up_factor;
    const channel_noise in(size_t{periods} * filter.down_factor + 64);
    channel_noise out(outputs);
    filter.kernel = kernels.resample;
    const resample_job job = {&filter, in.pointers, out.pointers, outputs};
    for (auto _ : state) {
        resampleChannels(job);
        benchmark::ClobberMemory();
    }
    reportEach(state, static_cast<double>(outputs) * channels);
}

std::string nameOf(const char *group, const char *row, unsigned channels,
                   const kernel_set &kernels) {
    return std::string(group) + "/" + row + "/" + std::to_string(channels) + "/" + kernels.name;
}

// A kernel that a level borrows from the one below is measured there. For the plain level `lower`
// has no kernels.
void registerCodecs(const kernel_set &kernels, const kernel_set &lower) {
    for (const sample_kind &row : KINDS) {
        for (const uint8_t channels : {uint8_t{2}, uint8_t{6}, uint8_t{8}}) {
            if (lower.chooseCodec != nullptr &&
                chooseCodec(kernels, row.format, channels, row.bits).decode ==
                    chooseCodec(lower, row.format, channels, row.bits).decode) {
                continue;
            }
            benchmark::RegisterBenchmark(nameOf("decode", row.name, channels, kernels).c_str(),
                                         benchDecode, row, kernels, channels);
            benchmark::RegisterBenchmark(nameOf("encode", row.name, channels, kernels).c_str(),
                                         benchEncode, row, kernels, channels);
        }
    }
}

void registerMixer(const kernel_set &kernels) {
    for (const mix_row &row : MIXES) {
        benchmark::RegisterBenchmark(nameOf("mix", row.name, row.inputs, kernels).c_str(), benchMix,
                                     row, kernels);
    }
}

void registerResampler(const kernel_set &kernels) {
    for (const rate_row &row : RATES) {
        for (const uint8_t channels : {uint8_t{1}, uint8_t{2}, uint8_t{6}, uint8_t{8}}) {
            benchmark::RegisterBenchmark(nameOf("resample", row.name, channels, kernels).c_str(),
                                         benchResample, row, kernels, channels);
        }
    }
}

// Keeps the least time of every benchmark, and says where the kernels chosen lose to the next lower
// level's.
class level_reporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run> &runs) override {
        ConsoleReporter::ReportRuns(runs);
        for (const Run &run : runs) {
            if (run.run_type == Run::RT_Iteration) {
                const auto known = least_.try_emplace(run.run_name.str(), run.GetAdjustedCPUTime());
                known.first->second = std::min(known.first->second, run.GetAdjustedCPUTime());
            }
        }
    }

    void Finalize() override {
        const cpu_level chosen = detectCpuLevels().fastest;
        const std::string name = kernelsOf(chosen).name;
        const std::string lower = kernelsOf(static_cast<cpu_level>(chosen - 1)).name;
        double worst = 0;
        std::string worst_row = "none";
        for (const auto &[row, time] : least_) {
            const size_t level = row.rfind('/') + 1;
            const auto other = least_.find(row.substr(0, level) + lower);
            if (row.substr(level) == name && other != least_.end() &&
                time / other->second > worst) {
                worst = time / other->second;
                worst_row = row;
            }
        }
        GetOutputStream() << name << " takes at most " << worst << " of the time of " << lower
                          << ": " << worst_row << "\n";
    }

private:
    std::map<std::string, double> least_;
};

} // namespace

int main(int argc, char **argv) {
    kernel_set lower = {};
    for (int level = CPU_PLAIN; level <= detectCpuLevels().highest; ++level) {
        const kernel_set &kernels = kernelsOf(static_cast<cpu_level>(level));
        registerCodecs(kernels, lower);
        if (kernels.mix != lower.mix) {
            registerMixer(kernels);
        }
        if (kernels.resample != lower.resample) {
            registerResampler(kernels);
        }
        lower = kernels;
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return EXIT_FAILURE;
    }
    level_reporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return EXIT_SUCCESS;
}
