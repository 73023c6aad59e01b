// Races this library against its peers, one benchmark per conversion, block size and contender:
// "group/what/channels/block/contender", and "create/rates/contender" for the set-up.
//
// The counter "each" is the seconds of processor time per output sample of one channel, or per
// creation. Compare only figures of one run; bench/report.py does.

#include "contenders.h"
#include "own_converter.h"
#include "rows.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string_view>

namespace {

// Feeds enough to fill every history and buffer; false when what comes out cannot be right: its
// length is off by more than an eighth, or all bytes are alike.
bool warmUp(stream_converter &converter, const conversion &wanted, const test_block &block,
            std::size_t block_frames) {
    // Many phases bring their output in blocks of up to a second.
    const std::size_t warm_up_frames =
        wanted.output.sample_rate % 100 == 0 && wanted.input.sample_rate % 100 == 0
            ? std::size_t{65536}
            : std::size_t{10} * wanted.input.sample_rate;
    std::size_t frames_in = 0;
    std::size_t frames_out = 0;
    bool alive = false;
    while (frames_in < warm_up_frames) {
        const std::span<const uint8_t> output = converter.convert(block.bytes());
        frames_in += block_frames;
        frames_out += frameCount(wanted.output, output.size());
        alive = alive || std::any_of(output.begin(), output.end(),
                                     [&](uint8_t byte) { return byte != output[0]; });
    }
    const std::size_t due = frames_in * wanted.output.sample_rate / wanted.input.sample_rate;
    return alive && frames_out >= due - due / 8 && frames_out <= due + due / 8;
}

void runConversion(benchmark::State &state, const bench_row &row, converter_maker make,
                   std::size_t block_frames) {
    const conversion &wanted = row.wanted;
    const test_block block = makeTestBlock(wanted.input, block_frames);
    std::vector<std::unique_ptr<stream_converter>> converters(row.instances);
    for (std::unique_ptr<stream_converter> &converter : converters) {
        converter = make(wanted);
        if (converter == nullptr || !warmUp(*converter, wanted, block, block_frames)) {
            state.SkipWithError("the output is not the conversion asked for");
            return;
        }
    }
    for (auto _ : state) {
        for (const std::unique_ptr<stream_converter> &converter : converters) {
            benchmark::DoNotOptimize(converter->convert(block.bytes()).data());
        }
    }
    const double samples_in = static_cast<double>(state.iterations()) *
                              static_cast<double>(row.instances * block_frames) *
                              wanted.output.channels;
    const double ratio = static_cast<double>(wanted.output.sample_rate) / wanted.input.sample_rate;
    state.counters["each"] = benchmark::Counter(
        samples_in * ratio, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void runCreation(benchmark::State &state, const conversion &wanted, converter_maker make) {
    for (auto _ : state) {
        const std::unique_ptr<stream_converter> converter = make(wanted);
        if (converter == nullptr) {
            state.SkipWithError("not created");
            return;
        }
    }
    state.counters["each"] = benchmark::Counter(1.0, benchmark::Counter::kIsIterationInvariantRate |
                                                         benchmark::Counter::kInvert);
}

void registerBlock(const bench_row &row, const contender &who, std::size_t block_frames) {
    const std::string name = row.name + "/" + std::to_string(block_frames) + "/" + who.name;
    benchmark::RegisterBenchmark(name.c_str(),
                                 [row, make = who.make, block_frames](benchmark::State &state) {
                                     runConversion(state, row, make, block_frames);
                                 });
}

void registerRow(const bench_row &row) {
    const contender &ours = contenders().front();
    for (const std::size_t block_frames : row.own_blocks) {
        registerBlock(row, ours, block_frames);
    }
    for (const contender &who : contenders()) {
        // This library does them all: its refusal must show as a failed benchmark.
        if (who.make != ours.make && who.make(row.wanted) == nullptr) {
            continue;
        }
        for (const std::size_t block_frames : row.race_blocks) {
            registerBlock(row, who, block_frames);
        }
    }
}

void registerCreation(const rate_pair &pair) {
    constexpr uint8_t CHANNELS = 2;
    const stream_shape input{AUDIO_FORMAT_PCM, 32, CHANNELS, defaultMask(CHANNELS), pair.input};
    conversion wanted{input, input};
    wanted.output.sample_rate = pair.output;
    const std::string pair_name = std::to_string(pair.input) + "-" + std::to_string(pair.output);
    for (const contender &who : contenders()) {
        if (who.make(wanted) == nullptr && who.make != contenders().front().make) {
            continue;
        }
        const std::string name = "create/" + pair_name + "/" + who.name;
        benchmark::RegisterBenchmark(name.c_str(),
                                     [wanted, make = who.make](benchmark::State &state) {
                                         runCreation(state, wanted, make);
                                     });
    }
}

// Takes the first argument out that starts with `option`, before Google Benchmark sees it, and
// gives what follows there; null without one.
const char *takeOption(int &argc, char **argv, std::string_view option) {
    char **end = argv + argc;
    char **found = std::find_if(argv + 1, end, [option](const char *argument) {
        return std::string_view(argument).substr(0, option.size()) == option;
    });
    if (found == end) {
        return nullptr;
    }
    const char *value = *found + option.size();
    std::copy(found + 1, end, found);
    --argc;
    return value;
}

} // namespace

int main(int argc, char **argv) {
    const bool quick = takeOption(argc, argv, "--quick") != nullptr;
    const char *level = takeOption(argc, argv, "--level=");
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    if (level != nullptr && !holdToLevel(level)) {
        std::fprintf(stderr, "converter_bench: this machine has no kernels called %s\n", level);
        return 1;
    }
    benchmark::AddCustomContext("kernels", kernelName());
    for (const bench_row &row : makeRows(quick)) {
        registerRow(row);
    }
    for (const rate_pair &pair : creationPairs()) {
        registerCreation(pair);
    }
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
