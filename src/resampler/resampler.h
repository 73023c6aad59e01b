#pragma once

#include "core/resampler_state.h"
#include "core/sample_arrays.h"
#include "simd/kernels.h"

// Where samples wait on either side of the filter.
struct resampler_sets {
    const host_memory &memory;
    channel_buffer_set &work;      // at the input rate
    channel_buffer_set &resampled; // at the output rate
};

// L, M, the length of the filter and the room for packed coefficients, for effective settings: all
// that is known before anything is allocated.
resampler_state planResampler(const audio_converter_settings &settings);

// When the rates differ: designs the filter, fills the packed coefficients in the zeroed block
// behind the instance (`packed_place`), and places the RESAMPLER_HISTORY zero samples in `work`
// that centre the first output on the first input. Returns 1 when memory runs out or the table
// would exceed 256 MiB; what was allocated stays with state and set.
uint32_t resamplerSetup(resampler_state &state, const host_memory &memory,
                        const kernel_set &kernels, channel_buffer_set &work, void *packed_place);

// Makes room in `resampled` for all that the samples `work` holds and `extra` more can yield. With
// equal rates nothing is needed. Returns 1 when memory runs out.
uint32_t resamplerReserve(const resampler_state &state, const resampler_sets &sets, uint32_t extra);

// Filters what `work` holds into `resampled`, behind what that holds, and drops the input that no
// later output needs. `out` receives the set to write: `work` itself when the rates are equal.
// Returns 1 when memory runs out: counts unchanged, `out` not stored.
uint32_t resamplerRun(const resampler_state &state, const resampler_sets &sets,
                      channel_buffer_set **out);

// Ends the stream: filters the rest of `work`, continued with zeros, into `resampled`, or drops it
// when discard is nonzero. `out` as above. Returns 1 when memory runs out: counts unchanged.
uint32_t resamplerFlush(const resampler_state &state, const resampler_sets &sets,
                        channel_buffer_set **out, uint32_t discard);

// Releases the filter. Always returns 0.
uint32_t resamplerRelease(resampler_state &state, const host_memory &memory);
