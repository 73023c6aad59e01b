#include "reports.h"

#include "probe.h"

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>

namespace {

__attribute__((format(printf, 2, 3))) void print(std::ostream &out, const char *format, ...) {
    char text[1024];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    out << text;
}

std::string lengthText(const std::optional<uint64_t> &frames, uint32_t rate) {
    if (!frames) {
        return "of unknown length";
    }
    return std::to_string(*frames) + (*frames == 1 ? " frame, " : " frames, ") +
           clockText(static_cast<double>(*frames) / rate, true);
}

void printSide(std::ostream &out, uint32_t rate, const slot_positions &positions) {
    print(out, "          %u Hz, %zu channel%s: %s\n", rate, positions.size(),
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

void printTable(std::ostream &out, const conversion_plan &plan, const slot_gains &gains,
                std::string (*cell)(double)) {
    const slot_positions &rows = plan.input_positions;
    const slot_positions &columns = plan.output_positions;
    print(out, "%6s", "");
    for (const unsigned speaker : columns) {
        print(out, " %11s", positionName(speaker).c_str());
    }
    out << "\n";
    for (size_t row = 0; row < rows.size(); ++row) {
        print(out, "%6s", positionName(rows[row]).c_str());
        for (size_t column = 0; column < columns.size(); ++column) {
            print(out, " %11s", cell(gains[row][column]).c_str());
        }
        out << "\n";
    }
}

void printMeter(std::ostream &out, const char *side, unsigned speaker,
                const channel_levels &levels) {
    const double count = static_cast<double>(std::max<uint64_t>(levels.sample_count, 1));
    print(out, "%-6s %-3s  peak %7s dBFS  RMS %7s dBFS\n", side, positionName(speaker).c_str(),
          decibelText(levels.peak).c_str(),
          decibelText(std::sqrt(levels.square_sum / count)).c_str());
}

// Visits the channels of all meters of one side with their speakers, slot by slot.
template <typename Visit>
void visitChannels(const std::vector<std::unique_ptr<level_meter>> &meters,
                   const slot_positions &speakers, Visit visit) {
    size_t slot = 0;
    for (const auto &meter : meters) {
        for (const channel_levels &levels : meter->channels()) {
            visit(speakers[slot++], levels);
        }
    }
}

slot_positions inputSpeakers(const conversion_plan &plan) {
    return plan.split_speakers.empty() ? plan.input_positions : plan.split_speakers;
}

} // namespace

void printInfo(std::ostream &out, const conversion_plan &plan,
               const std::vector<source_description> &sources) {
    const audio_converter_settings &settings = plan.settings;
    for (const source_description &source : sources) {
        print(out, "Input:    %s\n", source.name.c_str());
        print(out, "          %s, %s\n", source.kind.c_str(),
              lengthText(source.frame_count, settings.input_sample_rate).c_str());
    }
    printSide(out, settings.input_sample_rate, plan.input_positions);
    if (plan.targets.empty()) {
        out << "Output:   (none named)\n";
    }
    for (const output_target &target : plan.targets) {
        print(out, "Output:   %s (%s)\n", target.path.c_str(), targetKind(target).c_str());
    }
    print(out, "          %u-bit %s%s, %s\n", plan.output_bytes.bits,
          formatName(plan.output_bytes.format), plan.dither ? " with dither" : "",
          lengthText(plan.output_frames, plan.output_bytes.rate).c_str());
    printSide(out, plan.output_bytes.rate, plan.output_positions);
    for (const std::string &note : plan.notes) {
        print(out, "Note:     %s\n", note.c_str());
    }
}

void printMatrix(std::ostream &out, const conversion_plan &plan, bool decibels) {
    const slot_gains gains = probeMixing(plan.settings);
    out << "Mixing matrix (from the speaker of the row to that of the column)\n";
    printTable(out, plan, gains, gainText);
    if (!decibels) {
        return;
    }
    out << "In dB (inv: inverted)\n";
    printTable(out, plan, gains, decibelText);
}

void printLevels(std::ostream &out, const conversion_plan &plan,
                 const conversion_outcome &outcome) {
    visitChannels(outcome.input_meters, inputSpeakers(plan),
                  [&](unsigned speaker, const channel_levels &levels) {
                      printMeter(out, "input", speaker, levels);
                  });
    visitChannels(outcome.output_meters, plan.output_positions,
                  [&](unsigned speaker, const channel_levels &levels) {
                      printMeter(out, "output", speaker, levels);
                  });
}

void printStats(std::ostream &out, const conversion_plan &plan, const conversion_outcome &outcome) {
    const double audio_seconds =
        static_cast<double>(outcome.input_frames) / plan.settings.input_sample_rate;
    const auto predicted = plan.output_frames ? std::to_string(*plan.output_frames) : "unknown";
    out << "frames in:        " << outcome.input_frames << "\n";
    out << "frames out:       " << outcome.output_frames << " (predicted: " << predicted << ")\n";
    uint64_t full_scale = 0;
    out << "full-scale:      ";
    visitChannels(outcome.output_meters, plan.output_positions,
                  [&](unsigned speaker, const channel_levels &levels) {
                      out << " " << positionName(speaker) << " " << levels.full_scale_count;
                      full_scale += levels.full_scale_count;
                  });
    out << "\n";
    print(out, "time:             %.3f s, %.1f times real time\n", outcome.seconds,
          audio_seconds / std::max(outcome.seconds, 1e-9));
    if (full_scale > 0) {
        out << "warning: " << full_scale
            << " output samples reach full scale; the output may be clipped\n";
    }
}

void printPrediction(std::ostream &out, const conversion_plan &plan) {
    for (const output_target &target : plan.targets) {
        const std::optional<uint64_t> bytes = dataBytes(target);
        out << "would write " << target.path << ": " << targetKind(target) << ", "
            << lengthText(target.frame_count, target.bytes.rate);
        if (bytes) {
            out << ", " << *bytes << " bytes of samples";
        }
        out << "\n";
    }
    if (plan.targets.empty()) {
        out << "would come out: " << lengthText(plan.output_frames, plan.output_bytes.rate) << "\n";
    }
}
