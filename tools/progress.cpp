#include "progress.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <sys/ioctl.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr std::chrono::milliseconds REDRAW_INTERVAL{100};

// Below this many columns the bar gives its place to the numbers.
constexpr size_t SHORTEST_BAR = 6;
constexpr size_t LONGEST_BAR = 50;

size_t terminalColumns() {
    winsize size{};
    if (ioctl(STDERR_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) {
        return 80;
    }
    return size.ws_col;
}

std::string formatted(const char *format, double value) {
    char text[64];
    std::snprintf(text, sizeof text, format, value);
    return text;
}

std::string barText(double fraction, size_t columns) {
    std::string bar(columns, '.');
    const auto full = static_cast<size_t>(fraction * static_cast<double>(columns - 2));
    std::fill_n(bar.begin() + 1, full, '#');
    bar.front() = '[';
    bar.back() = ']';
    return bar;
}

} // namespace

std::string clockText(double seconds, bool milliseconds) {
    const auto total = static_cast<uint64_t>(milliseconds ? std::llround(seconds * 1000.0)
                                                          : std::llround(seconds) * 1000);
    const auto whole = static_cast<unsigned long long>(total / 1000);
    char text[64];
    if (whole >= 3600) {
        std::snprintf(text, sizeof text, "%llu:%02llu:%02llu", whole / 3600, whole / 60 % 60,
                      whole % 60);
    } else {
        std::snprintf(text, sizeof text, "%llu:%02llu", whole / 60, whole % 60);
    }
    return text + (milliseconds ? formatted(".%03.0f", static_cast<double>(total % 1000)) : "");
}

std::string progressLine(const progress_state &state, size_t columns) {
    const double elapsed = std::max(state.elapsed_seconds, 1e-3);
    const double speed = state.audio_seconds / elapsed;
    const std::string speed_text = formatted(speed < 10.0 ? "  %.1fx" : "  %.0fx", speed);
    const size_t room = columns > 0 ? columns - 1 : 0;
    std::string line;
    std::vector<std::string> numbers;
    if (state.fraction) {
        const double fraction = std::clamp(*state.fraction, 0.0, 1.0);
        const double left = fraction > 0.0 ? elapsed / fraction - elapsed : 0.0;
        line = formatted("%3.0f%%", std::floor(fraction * 100.0));
        numbers = {speed_text, std::string("  ").append(clockText(left)).append(" left")};
        const size_t used = line.size() + 1 + numbers[0].size() + numbers[1].size();
        if (used + SHORTEST_BAR <= room) {
            line.append(" ").append(barText(fraction, std::min(room - used, LONGEST_BAR)));
        }
    } else {
        line = clockText(state.audio_seconds);
        numbers = {" converted", speed_text};
    }
    for (const std::string &number : numbers) {
        if (line.size() + number.size() <= room) {
            line += number;
        }
    }
    return line.size() <= room ? line : std::string();
}

progress_bar::progress_bar(std::optional<uint64_t> total_frames, uint32_t rate, bool quiet)
    : total(total_frames), frames_per_second(rate), visible(!quiet && isatty(STDERR_FILENO)),
      start(std::chrono::steady_clock::now()), next_draw(start) {
}

progress_bar::~progress_bar() {
    clear();
}

void progress_bar::clear() {
    if (drawn) {
        std::fputs("\r\033[K", stderr);
    }
    drawn = false;
}

void progress_bar::update(uint64_t frames_done) {
    if (!visible) {
        return;
    }
    const auto now = std::chrono::steady_clock::now();
    if (now < next_draw) {
        return;
    }
    next_draw = now + REDRAW_INTERVAL;
    progress_state state;
    state.audio_seconds = static_cast<double>(frames_done) / frames_per_second;
    state.elapsed_seconds = std::chrono::duration<double>(now - start).count();
    if (total && *total > 0) {
        state.fraction = static_cast<double>(frames_done) / static_cast<double>(*total);
    }
    std::fprintf(stderr, "\r%s\033[K", progressLine(state, terminalColumns()).c_str());
    drawn = true;
}
