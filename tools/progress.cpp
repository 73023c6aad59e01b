#include "progress.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <unistd.h>

namespace {

constexpr std::chrono::milliseconds REDRAW_INTERVAL{100};

} // namespace

std::string clockText(double seconds, bool milliseconds) {
    const auto total = static_cast<unsigned long long>(milliseconds ? std::llround(seconds * 1000.0)
                                                                    : std::llround(seconds) * 1000);
    const unsigned long long whole = total / 1000;
    char text[64];
    size_t length = 0;
    if (whole >= 3600) {
        length = static_cast<size_t>(std::snprintf(text, sizeof text, "%llu:%02llu:%02llu",
                                                   whole / 3600, whole / 60 % 60, whole % 60));
    } else {
        length = static_cast<size_t>(
            std::snprintf(text, sizeof text, "%llu:%02llu", whole / 60, whole % 60));
    }
    if (milliseconds) {
        std::snprintf(text + length, sizeof text - length, ".%03llu", total % 1000);
    }
    return text;
}

progress_line::progress_line(std::optional<uint64_t> total_frames, uint32_t rate, bool quiet)
    : total(total_frames), frames_per_second(rate), visible(!quiet && isatty(STDERR_FILENO)),
      start(std::chrono::steady_clock::now()), next_draw(start) {
}

progress_line::~progress_line() {
    clear();
}

void progress_line::clear() {
    if (drawn) {
        std::fputs("\r\033[K", stderr);
    }
    drawn = false;
}

void progress_line::update(uint64_t frames_done) {
    const auto now = std::chrono::steady_clock::now();
    if (!visible || now < next_draw) {
        return;
    }
    next_draw = now + REDRAW_INTERVAL;
    const double seconds = static_cast<double>(frames_done) / frames_per_second;
    const double elapsed = std::max(std::chrono::duration<double>(now - start).count(), 1e-3);
    const std::string done = clockText(seconds);
    std::fprintf(stderr, "\r%s converted, %.0fx", done.c_str(), seconds / elapsed);
    if (total && *total > frames_done) {
        const double fraction = static_cast<double>(frames_done) / static_cast<double>(*total);
        const std::string left = clockText(elapsed / fraction - elapsed);
        std::fprintf(stderr, ", %.0f%%, %s left", std::floor(fraction * 100.0), left.c_str());
    }
    std::fputs("\033[K", stderr);
    drawn = true;
}
