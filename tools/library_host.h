// What this host gives the library: a printer that keeps the message, and output streams.
#pragma once

#include "zt_trans_audio_converter.h"

#include <exception>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

// What a stream of bytes is.
struct byte_format {
    uint8_t format = AUDIO_FORMAT_PCM;
    uint8_t bits = 16;
    uint8_t channels = 1;
    uint32_t rate = 48000;
};

// A call of the library failed without a message.
inline constexpr const char *CONVERTER_STOPPED =
    "the converter stopped: it needs more memory, or a --frame-size that holds a frame";

// The last message that the library printed, empty when there was none since the last call.
std::string takeLibraryMessage();

using converter_pointer = std::unique_ptr<audio_converter, decltype(&audioConverterFree)>;

// Throws conversion_error with the library's message when it refuses the settings.
void checkSettings(const audio_converter_settings &settings);

// Throws conversion_error with the reason when there is no converter for the settings.
converter_pointer newConverter(const audio_converter_settings &settings);

// A record for a change of format alone: channels and rate are those of `from`.
audio_converter_settings formatChange(const byte_format &from, uint8_t format, uint8_t bits);

// An output stream of the library. An exception thrown by the function stops the stream:
// the library sees it full and its call returns 1; rethrow() then lets the exception go on.
class output_stream : public bufstream {
public:
    using byte_function = std::function<void(std::span<const uint8_t>)>;

    output_stream(size_t area_bytes, byte_function take_bytes);
    output_stream(const output_stream &) = delete;
    output_stream &operator=(const output_stream &) = delete;

    void rethrow() const {
        if (fault) {
            std::rethrow_exception(fault);
        }
    }

private:
    static uint8_t *nextArea(bufstream *stream, uint32_t byte_count);
    static uint32_t areaBytes(bufstream *stream);
    static void takeChunk(bufstream *stream, uint32_t byte_count);

    std::vector<uint8_t> area;
    byte_function take_bytes;
    std::exception_ptr fault;
};

// A converter with its one output stream.
class side_converter {
public:
    side_converter(const audio_converter_settings &settings,
                   output_stream::byte_function take_bytes);

    // Throw conversion_error, or what the function threw.
    void put(std::span<const uint8_t> bytes);
    void finish();

private:
    void check(uint32_t status) const;

    output_stream stream;
    converter_pointer converter;
};
