// The run itself: sources through the library into sinks.
#pragma once

#include "audio_sink.h"
#include "audio_source.h"
#include "levels.h"
#include "plan.h"
#include "progress.h"

#include <memory>
#include <vector>

struct conversion_outcome {
    uint64_t input_frames = 0;
    uint64_t output_frames = 0;
    double seconds = 0.0;
    // Per source and per target; empty when nobody asked.
    std::vector<std::unique_ptr<level_meter>> input_meters;
    std::vector<std::unique_ptr<level_meter>> output_meters;
};

struct conversion_work {
    const conversion_plan &plan;
    const block_choice &block;
    std::vector<std::unique_ptr<audio_source>> &sources;
    std::vector<std::unique_ptr<audio_sink>> sinks;
    bool measure_levels = false;
    progress_bar &progress;
};

// Converts everything and finishes the sinks, which are still to be committed. Throws
// conversion_error.
conversion_outcome runConversion(conversion_work &work);
