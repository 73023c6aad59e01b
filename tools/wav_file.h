// Headers of WAV and RF64.
#pragma once

#include "audio_source.h"

#include <cstdint>
#include <optional>
#include <vector>

struct wav_header {
    bool readable = false; // linear PCM or 32-bit float in whole bytes
    byte_format bytes;
    uint32_t wave_mask = 0; // 0: none
    uint64_t data_offset = 0;
    // Bytes of samples. Nothing when the writer did not know, or never came back to say.
    std::optional<uint64_t> data_bytes;
    bool never_finished = false; // the header says 0 bytes, of the file and of its samples
    file_metadata metadata;
};

// Nothing when the file is no WAV, or when the samples of a pipe begin too late to be found.
std::optional<wav_header> readWavHeader(byte_reader &reader, bool read_texts);

// A RIFF header, or RF64 when the data is known to pass 4 GiB. An unknown length is written as
// 0xFFFFFFFF; `room` keeps a place in which a later header of the same size can be RF64. A mask
// makes it WAVE_FORMAT_EXTENSIBLE. `header.data_offset` is not used.
std::vector<uint8_t> buildWavHeader(const wav_header &header, bool room);

// The most data bytes that a RIFF header is trusted with; the rest is left for headers and
// further chunks.
inline constexpr uint64_t RIFF_DATA_LIMIT = 0xFFFFFFFFu - (1u << 18);
