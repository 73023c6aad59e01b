// What a run will do, settled from the options and the inputs before anything is written.
#pragma once

#include "audio_sink.h"
#include "options.h"

#include <optional>
#include <string>
#include <vector>

struct conversion_plan {
    audio_converter_settings settings{}; // every field given, nothing left to defaults
    // Speakers by name; the masks in the settings may carry a bit beyond them.
    uint32_t input_mask = 0;
    uint32_t output_mask = 0;
    order_map input_order{};
    order_map output_order{};
    byte_format output_bytes;
    std::vector<unsigned> split_speakers; // of each source; empty for one interleaved source
    std::vector<output_target> targets;   // one, one per output slot, or none without OUTPUT
    std::optional<uint64_t> input_frames;
    std::optional<uint64_t> output_frames;
    std::vector<std::string> notes;
};

// Throws usage_error for options that do not go together and conversion_error, with the
// library's own message, for settings that the library refuses.
conversion_plan makePlan(const tool_options &options,
                         const std::vector<source_description> &sources);

// Frames that come out of so many frames, the lone last frame of LPCM output completed.
uint64_t predictFrames(const audio_converter_settings &settings, uint64_t input_frames);

// Stands for the input of reports that need none.
source_description assumedSource(const tool_options &options);
