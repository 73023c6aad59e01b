#include "library_host.h"

#include "errors.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <numeric>
#include <utility>

namespace {

// The lookup carries no user pointer, so what its functions share is kept per process.
allocation_counts counts;
std::string message;

// Room before every block for its size; keeps the block aligned for any type.
constexpr size_t SIZE_ROOM = alignof(std::max_align_t);

void *countedMalloc(size_t byte_count) {
    auto *block = static_cast<std::byte *>(std::malloc(byte_count + SIZE_ROOM));
    if (block == nullptr) {
        return nullptr;
    }
    std::memcpy(block, &byte_count, sizeof byte_count);
    ++counts.call_count;
    ++counts.live_blocks;
    counts.live_bytes += byte_count;
    counts.peak_bytes = std::max(counts.peak_bytes, counts.live_bytes);
    return block + SIZE_ROOM;
}

void countedFree(void *block) {
    if (block == nullptr) {
        return;
    }
    std::byte *start = static_cast<std::byte *>(block) - SIZE_ROOM;
    size_t byte_count = 0;
    std::memcpy(&byte_count, start, sizeof byte_count);
    --counts.live_blocks;
    counts.live_bytes -= byte_count;
    std::free(start);
}

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

host_function lookUpCounted(const char *name) {
    if (std::strcmp(name, "malloc") == 0) {
        return reinterpret_cast<host_function>(countedMalloc);
    }
    if (std::strcmp(name, "free") == 0) {
        return reinterpret_cast<host_function>(countedFree);
    }
    return lookUpPrinter(name);
}

// Why the library gives no converter for settings that it has not refused with a message.
std::string silentReason(const audio_converter_settings &settings) {
    constexpr uint64_t MOST_TABLE_BYTES = 1 << 30; // the library's own limit
    const uint32_t rates[] = {settings.input_sample_rate, settings.output_sample_rate};
    const uint64_t up_factor = rates[1] / std::max(std::gcd(rates[0], rates[1]), 1u);
    if (rates[0] == rates[1] || sizeof(double) * (40 * up_factor + 1) <= MOST_TABLE_BYTES) {
        return "out of memory";
    }
    return "no converter from " + std::to_string(rates[0]) + " to " + std::to_string(rates[1]) +
           " Hz: the rates have too little in common, their filter table would exceed the "
           "library's limit of 1 GiB";
}

converter_pointer createConverter(callback_lookup lookup,
                                  const audio_converter_settings &settings) {
    converter_pointer converter(audioConverterNew(lookup, &settings));
    if (converter) {
        return converter;
    }
    const std::string reason = takeLibraryMessage();
    throw conversion_error(!reason.empty() ? reason : silentReason(settings));
}

} // namespace

allocation_counts allocationCounts() {
    return counts;
}

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
    return createConverter(lookUpCounted, settings);
}

converter_pointer newUncountedConverter(const audio_converter_settings &settings) {
    return createConverter(lookUpPrinter, settings);
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
