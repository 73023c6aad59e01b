// What a run will do, decided from the options and the inputs before anything is written.
#pragma once

#include "options.h"

struct conversion_plan {
    audio_converter_settings settings{}; // every field given, nothing left to defaults
    // Speakers by name; the masks in the settings may carry a bit beyond them.
    uint32_t input_mask = 0;
    uint32_t output_mask = 0;
    // What the slots of a frame are called: by the file where its speakers are not the library's.
    slot_positions input_positions;
    slot_positions output_positions;
    byte_format output_bytes;
    uint32_t write_bytes = 0;             // most bytes of a write to the output
    bool dither = false;                  // the settings end in 32-bit PCM, output_bytes follow
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
uint64_t predictFrames(const conversion_plan &plan, uint64_t input_frames);
