// WAV headers for streams that cannot seek: read before the samples, written before them.
#pragma once

#include "audio_source.h"

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

struct wav_stream_format {
    byte_format bytes;
    uint8_t depth = 0;      // valid bits
    uint32_t wave_mask = 0; // 0: none
    // Unknown when the writer did not know either.
    std::optional<uint64_t> data_bytes;
};

struct parsed_wav_header {
    wav_stream_format format;
    size_t header_bytes = 0; // up to the first sample
};

// Looks for a header of linear PCM or 32-bit float at the start of `bytes`. Nothing when it
// is something else or does not end within `bytes`.
std::optional<parsed_wav_header> parseWavHeader(std::span<const uint8_t> bytes);

// A RIFF header, or RF64 when the data is known to pass 4 GiB. An unknown length is written
// as 0xFFFFFFFF. A mask makes it WAVE_FORMAT_EXTENSIBLE.
std::vector<uint8_t> buildWavHeader(const wav_stream_format &format);

// The most data bytes that a RIFF header is trusted with; the rest is left for headers and
// further chunks.
inline constexpr uint64_t RIFF_DATA_LIMIT = 0xFFFFFFFFu - 4096u;
