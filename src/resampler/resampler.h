#pragma once

#include "core/instance.h"

// Input samples on either side of an output's centre that its filter spans.
constexpr uint32_t RESAMPLER_HISTORY = 20;

// Bytes that the vector forms' own coefficients take behind the record, for effective settings;
// 0 when they need none.
size_t kernelTableBytes(const audio_converter_settings &settings);

// Settles the filter from the converter's settings and, when the rates differ, places the 20 zero
// samples in `work` that centre the first output on the first input. Returns 1 when memory runs
// out or the table would exceed 1 GiB; what was allocated stays with the converter.
uint32_t resamplerSetup(audio_converter &converter);

// Makes room in `resampled` for all that the samples `work` holds and `extra` more can yield. With
// equal rates nothing is needed. Returns 1 when memory runs out.
uint32_t resamplerReserve(audio_converter &converter, uint32_t extra);

// Filters what `work` holds into `resampled`, behind what that holds, and drops the input that no
// later output needs. `out` receives the set to write: `work` itself when the rates are equal.
// Returns 1 when memory runs out: counts unchanged, `out` not stored.
uint32_t resamplerRun(audio_converter &converter, channel_buffer_set **out);

// Ends the stream: filters the rest of `work`, continued with zeros, into `resampled`, or drops it
// when discard is nonzero. `out` as above. Returns 1 when memory runs out: counts unchanged.
uint32_t resamplerFlush(audio_converter &converter, channel_buffer_set **out, uint32_t discard);

// Releases the filter. Always returns 0.
uint32_t resamplerRelease(audio_converter &converter);
