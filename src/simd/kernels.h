#pragma once

#include "core/codec_function.h"
#include "core/mixer_state.h"
#include "core/resampler_state.h"
#include "simd/levels.h"

// The kernels of every level, by what they compute. All of a kind have one signature and give the
// same result, bit for bit: that of the scalar kernel, which is the definition.

// Both directions of a format, chosen for a channel count and a depth: called with no other. Paired
// LPCM of 20 and 24 bits is called with even counts of samples alone.
struct codec_pair {
    decode_function decode;
    encode_function encode;
};

// 1 to 8 channels, an even count for AES3.
using codec_choice = codec_pair (*)(uint8_t format, uint8_t channels, uint8_t bits);
codec_pair chooseCodecPlain(uint8_t format, uint8_t channels, uint8_t bits);
codec_pair chooseCodecSsse3(uint8_t format, uint8_t channels, uint8_t bits);
codec_pair chooseCodecAvx2(uint8_t format, uint8_t channels, uint8_t bits);
codec_pair chooseCodecAvx512(uint8_t format, uint8_t channels, uint8_t bits);

// How interleaved samples of the formats that go sample by sample are coded.
enum sample_coding : uint8_t {
    CODING_PCM8,
    CODING_PCM16,
    CODING_PCM24,
    CODING_PCM32,
    CODING_BE16,
    CODING_BE20,
    CODING_BE24,
    CODING_FLOAT,
};

using conversion_choice = convert_function (*)(sample_coding in, sample_coding out);
convert_function chooseConversionAvx2(sample_coding in, sample_coding out);
convert_function chooseConversionAvx512(sample_coding in, sample_coding out);

// As mix_apply.h says.
using mix_kernel = void (*)(const gain_matrix &matrix, const channel_pointers &channels, uint32_t n,
                            uint8_t input_channels, uint8_t output_channels);
void applyMixMatrix(const gain_matrix &matrix, const channel_pointers &channels, uint32_t n,
                    uint8_t input_channels, uint8_t output_channels);
void applyMixMatrixSse2(const gain_matrix &matrix, const channel_pointers &channels, uint32_t n,
                        uint8_t input_channels, uint8_t output_channels);
void applyMixMatrixAvx2(const gain_matrix &matrix, const channel_pointers &channels, uint32_t n,
                        uint8_t input_channels, uint8_t output_channels);
void applyMixMatrixAvx512(const gain_matrix &matrix, const channel_pointers &channels, uint32_t n,
                          uint8_t input_channels, uint8_t output_channels);

// As mix_apply.h says: the scalar kernel goes frame by frame, the other array by array.
using reorder_kernel = void (*)(const channel_pointers &channels, uint32_t n,
                                const uint8_t *input_map, const uint8_t *output_map,
                                uint8_t input_channels);
void reorderChannels(const channel_pointers &channels, uint32_t n, const uint8_t *input_map,
                     const uint8_t *output_map, uint8_t input_channels);
void moveChannels(const channel_pointers &channels, uint32_t n, const uint8_t *input_map,
                  const uint8_t *output_map, uint8_t input_channels);

// As resample_channels.h says.
uint64_t resampleChannelsPlain(const resample_job &job);
uint64_t resampleChannelsSse2(const resample_job &job);
uint64_t resampleChannelsAvx2(const resample_job &job);
uint64_t resampleChannelsAvx512(const resample_job &job);

// As filter_design.h says.
using design_kernel = void (*)(double *table, int32_t length, uint32_t phases, double beta,
                               double cutoff);
void designResamplingFilter(double *table, int32_t length, uint32_t phases, double beta,
                            double cutoff);
void designResamplingFilterAvx2(double *table, int32_t length, uint32_t phases, double beta,
                                double cutoff);

// What one level runs.
struct kernel_set {
    const char *name;
    codec_choice chooseCodec;
    conversion_choice chooseConversion; // null: by way of the codecs
    mix_kernel mix;
    reorder_kernel reorder;
    resample_kernel resample;
    design_kernel designFilter;
};

// Of a level that detectCpuLevels gives, or one below it.
const kernel_set &kernelsOf(cpu_level level);
