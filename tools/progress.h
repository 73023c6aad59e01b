// The progress line on a terminal's standard error.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

class progress_line {
public:
    // Draws nothing when quiet or when standard error is no terminal.
    progress_line(std::optional<uint64_t> total_frames, uint32_t rate, bool quiet);
    ~progress_line();
    progress_line(const progress_line &) = delete;
    progress_line &operator=(const progress_line &) = delete;

    // Redraws a few times per second at most.
    void update(uint64_t frames_done);

    // Takes the line off the terminal.
    void clear();

private:
    std::optional<uint64_t> total;
    double frames_per_second;
    bool visible;
    bool drawn = false;
    std::chrono::steady_clock::time_point start;
    std::chrono::steady_clock::time_point next_draw;
};
