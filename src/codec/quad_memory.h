#pragma once

#include "codec/quad_formats.h"

#include <cstddef>
#include <cstring>

// Quads between memory and the lanes of a vector V.
//
// A quad is loaded in 16 bytes, or in 4 if it has no more, and stored in 4, 8 or 16. Quads are
// stored in ascending order: what spills over is then overwritten. No step touches a byte outside
// the block. Its last lane is loaded together with the bytes in front of it, and the last step
// stores its last quad exactly.

namespace {

constexpr unsigned QUAD_SAMPLES = 4;

// Loads a quad into every 128-bit lane, one every lane_stride bytes. Of the last one only BYTES
// bytes belong to the step; what stands in front of it belongs to another lane.
template <typename V, typename Quads, unsigned BYTES = Quads::BYTES>
inline typename V::vec loadQuads(const uint8_t *bytes, size_t lane_stride) {
    constexpr unsigned LOADED = Quads::BYTES == 4 ? 4 : LANE128_BYTES;
    constexpr unsigned IN_FRONT = LOADED - BYTES;
    constexpr unsigned LAST = V::LANES128 - 1;
    static_assert(LAST > 0);
    // The bytes in front, and behind the other lanes' quads, are the step's own.
    static_assert(Quads::BYTES == 4 || Quads::BYTES >= 6);
    lane128 lanes[V::LANES128];
    for (unsigned i = 0; i < LAST; ++i) {
        lanes[i] = loadWhole<LOADED>(bytes + i * lane_stride);
    }
    lanes[LAST] = loadWhole<LOADED>(bytes + LAST * lane_stride - IN_FRONT);
    return Quads::template unpack<IN_FRONT>(V::join(lanes));
}

// Stores a quad of BYTES bytes; beyond them nothing, if it is the last of all.
template <typename Quads, unsigned BYTES = Quads::BYTES>
inline void storeQuad(uint8_t *bytes, lane128 quad, bool is_last) {
    constexpr unsigned WHOLE = wholeBytes(Quads::BYTES);
    if (BYTES < WHOLE && is_last) {
        memcpy(bytes, &quad, BYTES);
    } else {
        storeWhole<WHOLE>(bytes, quad);
    }
}

// Quads one behind the other, a lane each: V::LANES128 * Quads::BYTES bytes.
template <typename V, typename Quads>
inline typename V::vec loadRun(const uint8_t *bytes) {
    if constexpr (Quads::BYTES == LANE128_BYTES) {
        return Quads::template unpack<0>(V::load(bytes));
    } else {
        return loadQuads<V, Quads>(bytes, Quads::BYTES);
    }
}

template <typename V, typename Quads>
inline void storeRun(uint8_t *bytes, typename V::vec quads, bool is_last) {
    if constexpr (Quads::BYTES == LANE128_BYTES) {
        V::store(bytes, quads);
    } else {
        lane128 lanes[V::LANES128];
        V::split(quads, lanes);
        for (unsigned i = 0; i < V::LANES128; ++i) {
            storeQuad<Quads>(bytes + i * Quads::BYTES, lanes[i], is_last && i + 1 == V::LANES128);
        }
    }
}

} // namespace
