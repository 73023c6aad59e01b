#pragma once

#include <cstddef>
#include <cstdint>
#include <emmintrin.h>

// Between arrays of samples, one for each lane, and rows that hold a sample of every lane. Internal
// linkage: every unit that is compiled for an instruction set owns its copy.
namespace {

__m128i loadFour(const int32_t *samples) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i *>(samples));
}

void storeFour(int32_t *samples, __m128i four) {
    _mm_storeu_si128(reinterpret_cast<__m128i *>(samples), four);
}

// Turns four rows of four into four columns.
void transposeFour(__m128i (&block)[4]) {
    const __m128i low_01 = _mm_unpacklo_epi32(block[0], block[1]);
    const __m128i high_01 = _mm_unpackhi_epi32(block[0], block[1]);
    const __m128i low_23 = _mm_unpacklo_epi32(block[2], block[3]);
    const __m128i high_23 = _mm_unpackhi_epi32(block[2], block[3]);
    block[0] = _mm_unpacklo_epi64(low_01, low_23);
    block[1] = _mm_unpackhi_epi64(low_01, low_23);
    block[2] = _mm_unpacklo_epi64(high_01, high_23);
    block[3] = _mm_unpackhi_epi64(high_01, high_23);
}

__m128i loadTwo(const int32_t *samples) {
    return _mm_loadl_epi64(reinterpret_cast<const __m128i *>(samples));
}

// Four sources' samples [0, rows), as doubles, into four columns of the scratch.
template <typename V>
void gatherFour(const int32_t *const *sources, uint64_t rows, double *scratch, size_t row_stride) {
    uint64_t row = 0;
    for (; row + 4 <= rows; row += 4) {
        __m128i block[4] = {loadFour(sources[0] + row), loadFour(sources[1] + row),
                            loadFour(sources[2] + row), loadFour(sources[3] + row)};
        transposeFour(block);
        V::storeDoubles(scratch + row * row_stride, block[0]);
        V::storeDoubles(scratch + (row + 1) * row_stride, block[1]);
        V::storeDoubles(scratch + (row + 2) * row_stride, block[2]);
        V::storeDoubles(scratch + (row + 3) * row_stride, block[3]);
    }
    if (row + 2 <= rows) {
        const __m128i low =
            _mm_unpacklo_epi32(loadTwo(sources[0] + row), loadTwo(sources[1] + row));
        const __m128i high =
            _mm_unpacklo_epi32(loadTwo(sources[2] + row), loadTwo(sources[3] + row));
        V::storeDoubles(scratch + row * row_stride, _mm_unpacklo_epi64(low, high));
        V::storeDoubles(scratch + (row + 1) * row_stride, _mm_unpackhi_epi64(low, high));
        row += 2;
    }
    if (row < rows) {
        V::storeDoubles(
            scratch + row * row_stride,
            _mm_setr_epi32(sources[0][row], sources[1][row], sources[2][row], sources[3][row]));
    }
}

// Columns of `rows`, one sample of every lane to a row, go to the destinations of the lanes wanted,
// from `first` on. COLUMNS rows of COLUMNS lanes at a time.
struct sse2_columns {
    static constexpr unsigned COLUMNS = 4;

    static void storeColumns(const int32_t *rows, size_t row_stride, int32_t *const *destinations,
                             unsigned lanes, uint64_t first) {
        __m128i block[4] = {loadFour(rows), loadFour(rows + row_stride),
                            loadFour(rows + 2 * row_stride), loadFour(rows + 3 * row_stride)};
        transposeFour(block);
        for (unsigned lane = 0; lane < lanes; ++lane) {
            storeFour(destinations[lane] + first, block[lane]);
        }
    }
};

// The same of any number of rows, and of at most C::COLUMNS lanes.
template <typename C> void scatterColumns(const int32_t *rows, size_t row_stride, uint64_t count,
                                          int32_t *const *destinations, unsigned lanes,
                                          uint64_t first) {
    uint64_t row = 0;
    for (; row + C::COLUMNS <= count; row += C::COLUMNS) {
        C::storeColumns(rows + row * row_stride, row_stride, destinations, lanes, first + row);
    }
    for (; row < count; ++row) {
        for (unsigned lane = 0; lane < lanes; ++lane) {
            destinations[lane][first + row] = rows[row * row_stride + lane];
        }
    }
}

// The same of any number of lanes. The rows hold a multiple of four, those not wanted included.
template <typename C> void scatter(const int32_t *rows, size_t row_stride, uint64_t count,
                                   int32_t *const *destinations, unsigned lanes, uint64_t first) {
    unsigned lane = 0;
    for (; lane < lanes && lane + C::COLUMNS <= row_stride; lane += C::COLUMNS) {
        const unsigned wanted = lanes - lane < C::COLUMNS ? lanes - lane : C::COLUMNS;
        scatterColumns<C>(rows + lane, row_stride, count, destinations + lane, wanted, first);
    }
    if (lane < lanes) {
        scatterColumns<sse2_columns>(rows + lane, row_stride, count, destinations + lane,
                                     lanes - lane, first);
    }
}

// One array's samples as doubles.
template <typename V> void convertRun(const int32_t *samples, uint64_t count, double *scratch) {
    uint64_t i = 0;
    for (; i + 4 <= count; i += 4) {
        V::storeDoubles(scratch + i, loadFour(samples + i));
    }
    for (; i < count; ++i) {
        scratch[i] = samples[i];
    }
}

} // namespace
