#include "progress.h"

#include <cstdio>
#include <unistd.h>

namespace {

constexpr std::chrono::milliseconds REDRAW_INTERVAL{100};

} // namespace

progress_line::progress_line(std::optional<uint64_t> total_frames, uint32_t rate, bool quiet)
    : total(total_frames), frames_per_second(rate), visible(!quiet && isatty(STDERR_FILENO)),
      start(std::chrono::steady_clock::now()), next_draw(start) {
}

progress_line::~progress_line() {
    clear();
}

void progress_line::clear() {
    std::fputs(drawn ? "\r\033[K" : "", stderr);
    drawn = false;
}

void progress_line::update(uint64_t frames_done) {
    const auto now = std::chrono::steady_clock::now();
    if (!visible || now < next_draw) {
        return;
    }
    next_draw = now + REDRAW_INTERVAL;
    const std::chrono::duration<double> elapsed = now - start;
    const double seconds = static_cast<double>(frames_done) / frames_per_second;
    const double speed = seconds / (elapsed.count() + 1e-3);
    std::fprintf(stderr, "\r%.0f s converted, %.0f times real time", seconds, speed);
    if (total.value_or(0) > 0) {
        std::fprintf(stderr, ", %.0f%%",
                     100.0 * seconds * frames_per_second / static_cast<double>(*total));
    }
    std::fputs("\033[K", stderr);
    drawn = true;
}
