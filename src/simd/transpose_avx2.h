#pragma once

#include "simd/vector_transpose.h"

#include <immintrin.h>

// Internal linkage: every unit that is compiled for this instruction set owns its copy.
namespace {

// As sse2_columns, eight by eight.
struct avx2_columns {
    static constexpr unsigned COLUMNS = 8;

    // Rows i and i + 4 share a vector: in both halves, four columns are transposed at once.
    static void storeColumns(const int32_t *rows, size_t row_stride, int32_t *const *destinations,
                             unsigned lanes, uint64_t first) {
        __m256i columns[COLUMNS];
        for (unsigned lane = 0; lane < COLUMNS; lane += 4) {
            __m256i pairs[4];
            for (unsigned i = 0; i < 4; ++i) {
                const int32_t *row = rows + i * row_stride + lane;
                pairs[i] = _mm256_inserti128_si256(_mm256_castsi128_si256(loadFour(row)),
                                                   loadFour(row + 4 * row_stride), 1);
            }
            const __m256i low_01 = _mm256_unpacklo_epi32(pairs[0], pairs[1]);
            const __m256i high_01 = _mm256_unpackhi_epi32(pairs[0], pairs[1]);
            const __m256i low_23 = _mm256_unpacklo_epi32(pairs[2], pairs[3]);
            const __m256i high_23 = _mm256_unpackhi_epi32(pairs[2], pairs[3]);
            columns[lane] = _mm256_unpacklo_epi64(low_01, low_23);
            columns[lane + 1] = _mm256_unpackhi_epi64(low_01, low_23);
            columns[lane + 2] = _mm256_unpacklo_epi64(high_01, high_23);
            columns[lane + 3] = _mm256_unpackhi_epi64(high_01, high_23);
        }
        for (unsigned lane = 0; lane < lanes; ++lane) {
            auto *eight = reinterpret_cast<__m256i *>(destinations[lane] + first);
            _mm256_storeu_si256(eight, columns[lane]);
        }
    }
};

} // namespace
