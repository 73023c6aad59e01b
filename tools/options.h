// The command line.
#pragma once

#include "audio_sink.h"

struct split_input {
    unsigned speaker = 0;
    std::string path;
};

struct tool_options {
    std::string input; // empty: none given
    std::string output;
    std::vector<split_input> split_inputs;
    std::optional<byte_format> raw;
    std::optional<uint32_t> input_mask;
    std::optional<order_map> input_order;
    std::optional<uint32_t> input_rate;
    bool ignore_length = false;
    std::optional<file_type> type; // of the output; given unless there is no output
    std::optional<uint8_t> format;
    std::optional<uint8_t> bits;
    std::optional<uint32_t> rate;
    std::optional<uint32_t> output_mask;
    std::optional<order_map> output_order;
    std::string matrix_path;
    bool dither = false;
    bool no_metadata = false;
    bool split_output = false;
    uint32_t frame_size = 65536;
    bool info = false;
    bool show_matrix = false;
    bool dry_run = false;
    bool stats = false;
    bool quiet = false;
};

// Throws usage_error. Nothing when --help or --version was asked for and has been printed.
std::optional<tool_options> parseOptions(int argument_count, char **arguments);

// How the tool is called, in a few lines.
std::string usageText();
