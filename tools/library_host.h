// What this host gives the library: a printer that keeps the message, and output
// streams that hand their bytes to a function.
#pragma once

#include "zt_trans_audio_converter.h"

#include <exception>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

// The last message that the library printed, empty when there was none since the last call.
std::string takeLibraryMessage();

struct converter_release {
    void operator()(audio_converter *converter) const {
        audioConverterFree(converter);
    }
};
using converter_pointer = std::unique_ptr<audio_converter, converter_release>;

// Throws conversion_error with the library's message when it refuses the settings.
void checkSettings(const audio_converter_settings &settings);

// Throws conversion_error with the reason when there is no converter for the settings.
converter_pointer newConverter(const audio_converter_settings &settings);

// A record for one format on both sides: no mixing, no rate change.
audio_converter_settings plainSettings(uint8_t format, uint8_t bits, uint8_t channels);

// An output stream of the library. An exception thrown by the function stops the stream:
// the library sees it full and its call returns 1; rethrow() then lets the exception go on.
class output_stream {
public:
    using byte_function = std::function<void(std::span<const uint8_t>)>;

    output_stream(size_t area_bytes, byte_function take_bytes);
    output_stream(const output_stream &) = delete;
    output_stream &operator=(const output_stream &) = delete;

    bufstream *operations() {
        return &record.operations;
    }
    void rethrow() const {
        if (fault) {
            std::rethrow_exception(fault);
        }
    }

private:
    // The library knows the address of `operations` only, which is the address of the record.
    struct stream_record {
        bufstream operations;
        output_stream *owner;
    };

    static uint8_t *reserve(bufstream *stream, uint32_t byte_count);
    static uint32_t freeBytes(bufstream *stream);
    static void commit(bufstream *stream, uint32_t byte_count);

    stream_record record;
    std::vector<uint8_t> area;
    byte_function take_bytes;
    std::exception_ptr fault;
};
