#include "codec/sample_count.h"

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
