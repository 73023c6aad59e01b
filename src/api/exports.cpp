// The twelve exported functions.

#include "codec/sample_count.h"
#include "core/query.h"
#include "pipeline/end_of_stream.h"
#include "pipeline/interleaved_input.h"
#include "pipeline/lifecycle.h"
#include "pipeline/separate_input.h"
#include "simd/kernels.h"

int32_t audioConverterCheckSettings(callback_lookup lookup,
                                    const audio_converter_settings *settings) {
    return settings == nullptr ? 1 : checkSettings(lookup, *settings);
}

audio_converter *audioConverterNew(callback_lookup lookup,
                                   const audio_converter_settings *settings) {
    return settings == nullptr
               ? nullptr
               : createConverter(lookup, *settings, kernelsOf(detectCpuLevels().fastest));
}

int32_t audioConverterInit(audio_converter *converter, bufstream *stream) {
    return converter == nullptr ? 1 : attachStream(*converter, stream, 0, false);
}

int32_t audioConverterInitChannel(audio_converter *converter, bufstream *stream, int32_t channel) {
    const auto slot = static_cast<uint32_t>(channel);
    if (slot >= AUDIO_MAX_CHANNELS || converter == nullptr) {
        return 1;
    }
    return attachStream(*converter, stream, slot, true);
}

void audioConverterFree(audio_converter *converter) {
    if (converter != nullptr) {
        releaseConverter(*converter);
    }
}

uint32_t audioConverterPutBytes(audio_converter *converter, const uint8_t *bytes,
                                uint32_t byte_count) {
    return converter == nullptr ? 1 : putInterleaved(*converter, bytes, byte_count);
}

uint32_t audioConverterPutBytesOneChannel(audio_converter *converter, const uint8_t *bytes,
                                          uint32_t byte_count, uint8_t channel) {
    return converter == nullptr ? 1 : putOneChannel(*converter, bytes, byte_count, channel);
}

uint32_t audioConverterNoMoreDataInChannel(audio_converter *converter, uint32_t channel) {
    return converter == nullptr ? 1 : endChannel(*converter, channel);
}

uint32_t audioConverterDone(audio_converter *converter, uint32_t discard_tail) {
    return converter == nullptr ? 1 : endStream(*converter, discard_tail);
}

namespace {

// A host that calls through a wider prototype leaves more than a byte in the register, and some
// compilers rely on there being no more. Passing the value through an empty instruction makes
// them look at its low 8 bits alone.
uint32_t lowByte(uint32_t argument) {
    __asm__("" : "+r"(argument));
    return argument & 0xff;
}

} // namespace

uint32_t audioConverterBytesToSamples(uint32_t bytes, uint8_t format, uint8_t channels,
                                      uint8_t bits) {
    return samplesInBytes(bytes, lowByte(format), lowByte(channels), lowByte(bits));
}

uint32_t audioConverterSamplesToBytes(uint32_t samples, uint8_t format, uint8_t channels,
                                      uint8_t bits) {
    return bytesOfSamples(samples, lowByte(format), lowByte(channels), lowByte(bits));
}

audio_converter_query audioConverterGetAPIExt(int32_t id) {
    constexpr int32_t QUERY_API = 1;
    return id == QUERY_API ? audioConverterQuery : nullptr;
}
