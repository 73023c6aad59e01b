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

// Why the library gives no converter for settings that it has not refused with a message: it
// has one for the same settings without a rate change unless memory is out.
std::string silentReason(audio_converter_settings settings) {
    const std::string rates = std::to_string(settings.input_sample_rate) + " to " +
                              std::to_string(settings.output_sample_rate) + " Hz";
    settings.output_sample_rate = settings.input_sample_rate;
    if (!converter_pointer(audioConverterNew(lookUpPrinter, &settings))) {
        return "out of memory";
    }
    return "no converter from " + rates +
           ": the rates have too little in common, their filter table would be too large";
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
    converter_pointer converter(audioConverterNew(lookUpPrinter, &settings));
    if (!converter) {
        const std::string reason = takeLibraryMessage();
        throw conversion_error(!reason.empty() ? reason : silentReason(settings));
    }
    return converter;
}

audio_converter_settings plainSettings(uint8_t format, uint8_t bits, uint8_t channels) {
    audio_converter_settings settings{};
    settings.input_format = format;
    settings.input_bits_per_sample = bits;
    settings.input_channels = channels;
    settings.input_sample_rate = 48000;
    settings.out_frame_size = 65536;
    return settings;
}

output_stream::output_stream(size_t area_bytes, byte_function take)
    : record{}, area(area_bytes), take_bytes(std::move(take)) {
    record.operations.reserve = reserve;
    record.operations.free_bytes = freeBytes;
    record.operations.commit = commit;
    record.operations.aux_info = [](bufstream *, uint32_t, uint32_t, void *, int32_t) {};
    record.owner = this;
}

uint8_t *output_stream::reserve(bufstream *stream, uint32_t) {
    output_stream *owner = reinterpret_cast<stream_record *>(stream)->owner;
    return owner->fault ? nullptr : owner->area.data();
}

uint32_t output_stream::freeBytes(bufstream *stream) {
    return static_cast<uint32_t>(reinterpret_cast<stream_record *>(stream)->owner->area.size());
}

void output_stream::commit(bufstream *stream, uint32_t byte_count) {
    output_stream *owner = reinterpret_cast<stream_record *>(stream)->owner;
    try {
        owner->take_bytes(std::span(owner->area).first(byte_count));
    } catch (...) {
        owner->fault = std::current_exception();
    }
}
