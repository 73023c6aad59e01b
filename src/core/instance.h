#pragma once

#include "core/codec_function.h"
#include "core/mixer_state.h"
#include "core/resampler_state.h"
#include "core/sample_arrays.h"
#include "core/settings.h"

struct kernel_set;

// Separate-channel input of one speaker channel.
//
//     0          sent             sent + count         capacity
//     | written  | samples waiting | scratch; zeros while the channel is not active |
struct channel_input {
    int32_t *samples;
    uint32_t capacity; // samples
    uint32_t count;    // samples waiting
    uint32_t sent;     // samples in front of them that the end of the stream has already written
    uint8_t active;    // 1 while more input is expected
};

// How output is cut and shared out among the attached streams.
struct output_limits {
    encode_function encode;   // of what one stream carries
    sample_conversion direct; // interleaved input to the stream in one pass; input_bytes is 0 where
                              // that is not possible
    uint32_t shares;          // frame size and room are divided by it; slots below it are written
    uint32_t unit;            // frames that travel together: 2 for the LPCM formats
    uint32_t largest_block;   // samples whose bytes may be asked for at once
    uint32_t largest_chunk;   // samples that the frame size allows; 0: nothing can be written
    uint32_t frame_bits;      // of what one stream carries
    uint32_t header_bytes;    // in front of a chunk: those of AES3
    uint8_t stream_channels;  // that one stream carries
};

// One conversion. The instance owns every array it points to; all come from its `memory` and go
// back to it. Callbacks and streams are the host's.
struct audio_converter {
    audio_converter_settings settings; // effective values, both order maps present

    channel_buffer_set work;      // decoded, then mixed, at the input rate
    channel_buffer_set resampled; // at the output rate; with equal rates, what some stream has not
                                  // accepted yet of separate-channel input

    channel_input inputs[AUDIO_MAX_CHANNELS]; // separate-channel input, by speaker channel

    // Bytes of an incomplete interleaved input frame.
    uint8_t *carry;
    uint32_t carry_capacity; // bytes
    uint32_t carry_count;    // bytes

    resampler_state resampler;
    mixer_state mixer;

    int32_t aes3_frame_remaining; // payload bytes of the current input block not yet decoded

    host_printer err_printf;
    host_printer prg_printf;
    host_printer wrn_printf;
    host_printer inf_printf;
    host_memory memory;

    bufstream *out_streams[AUDIO_MAX_CHANNELS]; // slot 0 alone: interleaved output

    decode_function decode; // of what one call brings; fixed at creation
    output_limits output;   // computed anew whenever a stream is attached

    // Samples at the start of the held output (see held_output.h) that a slot's stream has
    // accepted, by output slot.
    uint32_t output_position[AUDIO_MAX_CHANNELS];
    // Samples of the largest block that separate-channel input decoded so far.
    uint32_t largest_channel_block;
    uint8_t done;      // audioConverterDone was called
    uint8_t timed_out; // the running call has timed out waiting for the streams' room

    const kernel_set *kernels; // fixed at creation
};

// True when samples leave at the rate they came in, so that `work` itself is written.
inline bool hasEqualRates(const audio_converter &converter) {
    return hasEqualRates(converter.resampler);
}
