// The run itself: sources through the library into sinks.
#pragma once

#include "levels.h"
#include "plan.h"
#include "progress.h"

struct conversion_outcome {
    uint64_t input_frames = 0;
    uint64_t output_frames = 0;
    // Per source and per target; empty when nobody asked.
    std::vector<std::unique_ptr<level_meter>> input_meters;
    std::vector<std::unique_ptr<level_meter>> output_meters;
};

// Converts everything and finishes the sinks, which are still to be committed. Throws
// conversion_error.
conversion_outcome runConversion(const conversion_plan &plan,
                                 std::span<const std::unique_ptr<audio_source>> sources,
                                 std::span<const std::unique_ptr<audio_sink>> sinks,
                                 bool measure_levels, progress_line &progress);
