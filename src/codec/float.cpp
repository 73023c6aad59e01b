#include "codec/codec.h"

#include "codec/bytes.h"
#include "core/truncate.h"

#include <bit>
#include <cmath>
#include <cstdint>

namespace {

int32_t fromFloat(float value) {
    return saturateToInt32(static_cast<double>(value) * FLOAT_FULL_SCALE);
}

} // namespace

void decodeFloat(const channel_pointers &out, const uint8_t *in, uint32_t samples, uint8_t channels,
                 uint8_t /*bits*/) {
    for (uint32_t f = 0; f < samples; ++f) {
        for (unsigned c = 0; c < channels; ++c) {
            out[c][f] = fromFloat(std::bit_cast<float>(loadLe32(in)));
            in += sizeof(float);
        }
    }
}

void encodeFloat(const channel_pointers &in, uint8_t *out, uint32_t samples, uint8_t channels,
                 uint8_t /*bits*/) {
    for (uint32_t f = 0; f < samples; ++f) {
        for (unsigned c = 0; c < channels; ++c) {
            const auto value = static_cast<float>(in[c][f] / FLOAT_FULL_SCALE);
            storeLe32(out, std::bit_cast<uint32_t>(value));
            out += sizeof(float);
        }
    }
}
