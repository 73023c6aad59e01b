// The progress line on a terminal's standard error.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

class progress_bar {
public:
    // Draws nothing when quiet or when standard error is no terminal.
    progress_bar(std::optional<uint64_t> total_frames, uint32_t rate, bool quiet);
    ~progress_bar();
    progress_bar(const progress_bar &) = delete;
    progress_bar &operator=(const progress_bar &) = delete;

    // Redraws a few times per second at most.
    void update(uint64_t frames_done);

    // Takes the line off the terminal.
    void clear();

private:
    std::optional<uint64_t> total;
    uint32_t frames_per_second;
    bool visible;
    bool drawn = false;
    std::chrono::steady_clock::time_point start;
    std::chrono::steady_clock::time_point next_draw;
};

struct progress_state {
    std::optional<double> fraction; // 0.0 to 1.0; unknown for a pipe
    double audio_seconds = 0.0;     // converted so far
    double elapsed_seconds = 0.0;
};

// The line for a terminal of so many columns, never longer than columns - 1.
std::string progressLine(const progress_state &state, size_t columns);

// "3:25" or "1:02:03"; with milliseconds "0:01.430".
std::string clockText(double seconds, bool milliseconds = false);
