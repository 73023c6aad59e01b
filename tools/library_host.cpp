#include "library_host.h"

#include "errors.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <utility>

namespace {

// The lookup carries no user pointer, so the message is kept per process.
std::string message;

int keepMessage(const char *format, ...) {
    char text[512];
    va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    message = text;
    return length;
}

host_function lookUpPrinter(const char *name) {
    if (std::strcmp(name, "err_printf") == 0) {
        return reinterpret_cast<host_function>(keepMessage);
    }
    return nullptr;
}

} // namespace

std::string takeLibraryMessage() {
    return std::exchange(message, std::string());
}

void checkSettings(const audio_converter_settings &settings) {
    if (audioConverterCheckSettings(lookUpPrinter, &settings) == 0) {
        return;
    }
    const std::string reason = takeLibraryMessage();
    throw conversion_error(!reason.empty() ? reason
                                           : "a channel order does not fit its layout: every "
                                             "speaker needs a place of its own in the frame");
}

converter_pointer newConverter(const audio_converter_settings &settings) {
    converter_pointer converter(audioConverterNew(lookUpPrinter, &settings), audioConverterFree);
    if (!converter) {
        const std::string reason = takeLibraryMessage();
        const std::string rates = std::to_string(settings.input_sample_rate) + " to " +
                                  std::to_string(settings.output_sample_rate) + " Hz";
        throw conversion_error(!reason.empty() ? reason
                                               : "no converter from " + rates +
                                                     ": too little in common, or no memory");
    }
    return converter;
}

audio_converter_settings formatChange(const byte_format &from, uint8_t format, uint8_t bits) {
    audio_converter_settings settings{};
    settings.input_format = from.format;
    settings.input_bits_per_sample = from.bits;
    settings.input_channels = from.channels;
    settings.input_sample_rate = from.rate;
    settings.output_format = format;
    settings.output_bits_per_sample = bits;
    settings.out_frame_size = 65536;
    return settings;
}

output_stream::output_stream(size_t area_bytes, byte_function take)
    : bufstream{areaBytes, nextArea, takeChunk,
                nullptr,   nullptr,  [](bufstream *, uint32_t, uint32_t, void *, int32_t) {}},
      area(area_bytes), take_bytes(std::move(take)) {
}

uint8_t *output_stream::nextArea(bufstream *stream, uint32_t) {
    auto *own = static_cast<output_stream *>(stream);
    return own->fault ? nullptr : own->area.data();
}

uint32_t output_stream::areaBytes(bufstream *stream) {
    return static_cast<uint32_t>(static_cast<output_stream *>(stream)->area.size());
}

void output_stream::takeChunk(bufstream *stream, uint32_t byte_count) {
    auto *own = static_cast<output_stream *>(stream);
    try {
        own->take_bytes(std::span(own->area).first(byte_count));
    } catch (...) {
        own->fault = std::current_exception();
    }
}

side_converter::side_converter(const audio_converter_settings &settings,
                               output_stream::byte_function take_bytes)
    : stream(settings.out_frame_size + 4, std::move(take_bytes)), // AES3 adds its header
      converter(newConverter(settings)) {
    audioConverterInit(converter.get(), &stream);
}

void side_converter::put(std::span<const uint8_t> bytes) {
    check(
        audioConverterPutBytes(converter.get(), bytes.data(), static_cast<uint32_t>(bytes.size())));
}

void side_converter::finish() {
    check(audioConverterDone(converter.get(), 0));
}

void side_converter::check(uint32_t status) const {
    stream.rethrow();
    if (status != 0) {
        throw conversion_error(CONVERTER_STOPPED);
    }
}
