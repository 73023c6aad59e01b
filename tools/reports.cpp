#include "reports.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>

namespace {

// Gain from every input slot to every output slot; not-a-number where it is out of range.
using slot_gains = std::array<std::array<double, AUDIO_MAX_CHANNELS>, AUDIO_MAX_CHANNELS>;

// The level that gains are measured with: up to 32 they stay in range, and show 7 decimals.
constexpr unsigned PROBE_BITS = 26;

// The library keeps its gains to itself: they are what a frame of one sample comes out as.
slot_gains probeMixing(audio_converter_settings settings) {
    settings.input_format = settings.output_format = AUDIO_FORMAT_PCM;
    settings.input_bits_per_sample = settings.output_bits_per_sample = 32;
    settings.output_sample_rate = settings.input_sample_rate;
    settings.input_separate_channels = settings.output_separate_channels = 0;
    settings.out_frame_size = 65536;
    const size_t inputs = settings.input_channels;
    const size_t outputs = settings.output_channels;
    slot_gains gains{};
    size_t count = 0;
    side_converter converter(settings, [&](std::span<const uint8_t> bytes) {
        for (size_t offset = 0; offset < bytes.size(); offset += sizeof(int32_t), ++count) {
            int32_t sample = 0;
            std::memcpy(&sample, &bytes[offset], sizeof sample);
            const bool in_range = sample != std::numeric_limits<int32_t>::min();
            gains[count / outputs][count % outputs] =
                in_range ? std::ldexp(sample, -static_cast<int>(PROBE_BITS)) : std::nan("");
        }
    });
    // One frame per input slot, with that slot alone sounding.
    std::vector<int32_t> frames(inputs * inputs);
    for (size_t slot = 0; slot < inputs; ++slot) {
        frames[slot * inputs + slot] = int32_t{1} << PROBE_BITS;
    }
    converter.put(
        {reinterpret_cast<const uint8_t *>(frames.data()), frames.size() * sizeof(int32_t)});
    return gains;
}

std::string lengthText(const std::optional<uint64_t> &frames, uint32_t rate) {
    if (!frames) {
        return "of unknown length";
    }
    char text[64];
    std::snprintf(text, sizeof text, "%ju frames, %.3f s", uintmax_t{*frames},
                  static_cast<double>(*frames) / rate);
    return text;
}

void printSide(std::FILE *out, uint32_t rate, const slot_positions &positions) {
    std::fprintf(out, "          %u Hz, %zu channel%s: %s\n", rate, positions.size(),
                 positions.size() == 1 ? "" : "s", layoutText(positions).c_str());
}

std::string decibelText(double gain) {
    if (gain == 0.0) {
        return "-inf";
    }
    char text[32];
    std::snprintf(text, sizeof text, "%.2f%s", 20.0 * std::log10(std::abs(gain)),
                  gain < 0.0 ? " inv" : "");
    return text;
}

std::string gainText(double gain) {
    char text[32];
    if (std::isnan(gain)) {
        return "overflow";
    }
    std::snprintf(text, sizeof text, "%.6f", gain);
    return text;
}

void printTable(std::FILE *out, const conversion_plan &plan, const slot_gains &gains,
                std::string (*cell)(double)) {
    const slot_positions &rows = plan.input_positions;
    const slot_positions &columns = plan.output_positions;
    std::fprintf(out, "%6s", "");
    for (const unsigned speaker : columns) {
        std::fprintf(out, " %11s", positionName(speaker).c_str());
    }
    std::fputs("\n", out);
    for (size_t row = 0; row < rows.size(); ++row) {
        std::fprintf(out, "%6s", positionName(rows[row]).c_str());
        for (size_t column = 0; column < columns.size(); ++column) {
            std::fprintf(out, " %11s", cell(gains[row][column]).c_str());
        }
        std::fputs("\n", out);
    }
}

// One line per channel; returns the full-scale samples of all.
uint64_t printMeters(std::FILE *out, const char *side, const slot_positions &positions,
                     const std::vector<std::unique_ptr<level_meter>> &meters) {
    size_t slot = 0;
    uint64_t full_scale = 0;
    for (const auto &meter : meters) {
        for (const channel_levels &levels : meter->channels) {
            const auto count = static_cast<double>(std::max<uint64_t>(levels.sample_count, 1));
            std::fprintf(out, "%-6s %-3s  peak %7s dBFS  RMS %7s dBFS  full-scale %ju\n", side,
                         positionName(positions[slot++]).c_str(), decibelText(levels.peak).c_str(),
                         decibelText(std::sqrt(levels.square_sum / count)).c_str(),
                         uintmax_t{levels.full_scale_count});
            full_scale += levels.full_scale_count;
        }
    }
    return full_scale;
}

} // namespace

void printInfo(std::FILE *out, const conversion_plan &plan,
               const std::vector<source_description> &sources) {
    const audio_converter_settings &settings = plan.settings;
    for (const source_description &source : sources) {
        std::fprintf(out, "Input:    %s\n", source.name.c_str());
        std::fprintf(out, "          %s, %s\n", source.kind.c_str(),
                     lengthText(source.frame_count, settings.input_sample_rate).c_str());
    }
    printSide(out, settings.input_sample_rate, plan.input_positions);
    if (plan.targets.empty()) {
        std::fputs("Output:   (none named)\n", out);
    }
    for (const output_target &target : plan.targets) {
        std::fprintf(out, "Output:   %s (%s)\n", target.path.c_str(), targetKind(target).c_str());
    }
    std::fprintf(out, "          %u-bit %s%s, %s\n", plan.output_bytes.bits,
                 formatName(plan.output_bytes.format), plan.dither ? " with dither" : "",
                 lengthText(plan.output_frames, plan.output_bytes.rate).c_str());
    printSide(out, plan.output_bytes.rate, plan.output_positions);
    for (const std::string &note : plan.notes) {
        std::fprintf(out, "Note:     %s\n", note.c_str());
    }
}

void printMatrix(std::FILE *out, const conversion_plan &plan) {
    const slot_gains gains = probeMixing(plan.settings);
    std::fputs("Mixing matrix (from the speaker of the row to that of the column)\n", out);
    printTable(out, plan, gains, gainText);
    std::fputs("In dB (inv: inverted)\n", out);
    printTable(out, plan, gains, decibelText);
}

void printStats(std::FILE *out, const conversion_plan &plan, const conversion_outcome &outcome) {
    printMeters(out, "input",
                plan.split_speakers.empty() ? plan.input_positions : plan.split_speakers,
                outcome.input_meters);
    const uint64_t full_scale =
        printMeters(out, "output", plan.output_positions, outcome.output_meters);
    std::fprintf(out, "frames  %ju in, %ju out\n", uintmax_t{outcome.input_frames},
                 uintmax_t{outcome.output_frames});
    if (full_scale > 0) {
        std::fprintf(out, "warning: %ju output samples reach full scale\n", uintmax_t{full_scale});
    }
}
