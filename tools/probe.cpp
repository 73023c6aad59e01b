#include "probe.h"

#include "errors.h"
#include "library_host.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <numeric>

namespace {

// Input levels, as bits of a 32-bit sample. The highest shows a gain to 9 decimals; the lower
// ones serve gains that would take it out of range.
constexpr unsigned PROBE_BITS[] = {30, 22, 14, 6};

// History of the filter to either side, in input samples.
constexpr uint64_t FILTER_REACH = 20;

constexpr double IMPULSE = 1 << 30;

void putSamples(audio_converter *converter, std::span<const int32_t> samples) {
    constexpr size_t MOST_SAMPLES = 1 << 16;
    while (!samples.empty()) {
        const size_t count = std::min(samples.size(), MOST_SAMPLES);
        if (audioConverterPutBytes(converter, reinterpret_cast<const uint8_t *>(samples.data()),
                                   static_cast<uint32_t>(count * sizeof samples[0])) != 0) {
            throw conversion_error("the library refuses to be probed: out of memory");
        }
        samples = samples.subspan(count);
    }
}

std::vector<int32_t> toSamples(std::span<const uint8_t> bytes) {
    std::vector<int32_t> samples(bytes.size() / sizeof(int32_t));
    std::memcpy(samples.data(), bytes.data(), bytes.size());
    return samples;
}

// The settings' layouts with 32-bit samples and nothing else to do.
audio_converter_settings mixingAlone(audio_converter_settings settings) {
    settings.input_format = settings.output_format = AUDIO_FORMAT_PCM;
    settings.input_bits_per_sample = settings.output_bits_per_sample = 32;
    settings.output_sample_rate = settings.input_sample_rate;
    settings.input_separate_channels = settings.output_separate_channels = 0;
    settings.out_frame_size = 65536;
    return settings;
}

// For every level one frame per input slot, with that slot alone sounding.
std::vector<int32_t> probeFrames(size_t inputs) {
    std::vector<int32_t> frames(std::size(PROBE_BITS) * inputs * inputs);
    for (size_t frame = 0; frame < std::size(PROBE_BITS) * inputs; ++frame) {
        frames[frame * inputs + frame % inputs] = int32_t{1} << PROBE_BITS[frame / inputs];
    }
    return frames;
}

std::vector<int32_t> mix(const audio_converter_settings &settings,
                         const std::vector<int32_t> &frames) {
    std::vector<int32_t> mixed;
    output_stream stream(65536, [&](std::span<const uint8_t> bytes) {
        const std::vector<int32_t> samples = toSamples(bytes);
        mixed.insert(mixed.end(), samples.begin(), samples.end());
    });
    const converter_pointer converter = newUncountedConverter(mixingAlone(settings));
    audioConverterInit(converter.get(), stream.operations());
    putSamples(converter.get(), frames);
    audioConverterDone(converter.get(), 0);
    mixed.resize(frames.size() / settings.input_channels * settings.output_channels);
    return mixed;
}

// Every tap is met by one impulse and one output. With impulses `spacing` input samples apart
// and spacing and M without a common divisor, the impulses fall on all M phases of the outputs;
// spaced wider than the filter is long, they do not touch each other.
struct probe_grid {
    uint64_t up;   // L
    uint64_t down; // M
    uint64_t spacing;

    uint64_t impulsePosition(uint64_t number) const {
        return FILTER_REACH + number * spacing;
    }
    uint64_t inputLength() const {
        return impulsePosition(down - 1) + FILTER_REACH + 2;
    }
};

probe_grid makeGrid(uint32_t input_rate, uint32_t output_rate) {
    const uint32_t divisor = std::gcd(input_rate, output_rate);
    probe_grid grid{output_rate / divisor, input_rate / divisor, 2 * FILTER_REACH + 3};
    while (std::gcd(grid.spacing, grid.down) != 1) {
        ++grid.spacing;
    }
    return grid;
}

// Output k lies at k * M of L steps per input sample; the tap it shows is its distance from the
// nearest impulse, counted from the filter's start.
void storeTap(const probe_grid &grid, uint64_t k, int32_t sample, std::vector<double> &taps) {
    const uint64_t position = k * grid.down;
    const uint64_t step = grid.spacing * grid.up;
    const uint64_t first = grid.impulsePosition(0) * grid.up;
    const uint64_t number =
        position < first ? 0 : std::min((position - first + step / 2) / step, grid.down - 1);
    const uint64_t tap = grid.impulsePosition(number) * grid.up + FILTER_REACH * grid.up - position;
    if (tap < taps.size()) { // far outputs wrap round to a huge tap
        taps[tap] = sample / IMPULSE;
    }
}

} // namespace

slot_gains probeMixing(const audio_converter_settings &settings) {
    const size_t inputs = settings.input_channels;
    const size_t outputs = settings.output_channels;
    const std::vector<int32_t> mixed = mix(settings, probeFrames(inputs));
    slot_gains gains{};
    for (size_t slot = 0; slot < inputs; ++slot) {
        for (size_t output = 0; output < outputs; ++output) {
            gains[slot][output] = std::nan("");
            // The highest level that stays in range comes last.
            for (size_t level = std::size(PROBE_BITS); level-- > 0;) {
                const int32_t sample = mixed[(level * inputs + slot) * outputs + output];
                if (sample != std::numeric_limits<int32_t>::min()) {
                    gains[slot][output] = std::ldexp(sample, -static_cast<int>(PROBE_BITS[level]));
                }
            }
        }
    }
    return gains;
}

filter_response probeFilter(uint32_t input_rate, uint32_t output_rate) {
    audio_converter_settings settings = plainSettings(AUDIO_FORMAT_PCM, 32, 1);
    settings.input_sample_rate = input_rate;
    settings.output_sample_rate = output_rate;
    const probe_grid grid = makeGrid(input_rate, output_rate);
    filter_response response;
    response.up_factor = static_cast<uint32_t>(grid.up);
    const converter_pointer converter = newUncountedConverter(settings);
    response.taps.resize(2 * FILTER_REACH * grid.up + 1);
    uint64_t output_count = 0;
    output_stream stream(65536, [&](std::span<const uint8_t> bytes) {
        for (const int32_t sample : toSamples(bytes)) {
            storeTap(grid, output_count++, sample, response.taps);
        }
    });
    audioConverterInit(converter.get(), stream.operations());
    std::vector<int32_t> input(grid.inputLength());
    for (uint64_t number = 0; number < grid.down; ++number) {
        input[grid.impulsePosition(number)] = static_cast<int32_t>(IMPULSE);
    }
    putSamples(converter.get(), input);
    audioConverterDone(converter.get(), 0);
    return response;
}
