#pragma once

#include "simd/kernels.h"

// The conversion from the input's format to the output's. LPCM_PAIRED beyond 16 bits and AES3 do
// not go sample by sample.
sample_conversion chooseSampleConversion(const kernel_set &kernels,
                                         const audio_converter_settings &settings);

// Gives the bytes that decoding and encoding would give. The areas do not overlap.
void convertSamples(const sample_conversion &conversion, uint8_t *out, const uint8_t *in,
                    size_t samples);
