#pragma once

#include "codec/codec_dispatch.h"
#include "cpu_level.h"
#include "zt_trans_audio_converter.h"

// Samples of every channel waiting between two steps of the pipeline.
//
// All arrays share `capacity` and `count`: count <= capacity, the samples held stand at the start
// of every array, and what lies behind them is scratch. A set only grows.
struct channel_buffer_set {
    int32_t *data[AUDIO_MAX_CHANNELS]; // one array per slot; null until first grown
    uint32_t capacity;                 // samples that every array can hold
    uint32_t count;                    // samples held in every array
};

// The rational polyphase filter: L = up_factor phases, every M-th = down_factor-th position of the
// upsampled grid taken. All zero but the first two rates, `channels` and `history` when the rates
// are equal.
struct resampler_state {
    uint32_t channels;
    uint32_t input_rate;  // Hz
    uint32_t output_rate; // Hz
    uint32_t up_factor;
    uint32_t down_factor;
    uint32_t filter_length; // 40 * up_factor + 1
    uint32_t history;       // input samples of context on either side of an output
    double *filter;         // filter_length coefficients, owned
};

// How output is cut and shared out among the attached streams.
struct output_plan {
    encode_function encode;  // of what one stream carries
    uint32_t shares;         // frame size and room are divided by it; slots below it are written
    uint32_t unit;           // frames that travel together: 2 for the LPCM formats
    uint32_t largest_block;  // samples whose bytes may be asked for at once
    uint32_t largest_chunk;  // samples that the frame size allows; 0: nothing can be written
    uint8_t stream_channels; // that one stream carries
};

// One conversion. The instance owns every array it points to; all come from its `malloc` and go
// back through its `free`. Callbacks and streams are the host's.
struct audio_converter {
    audio_converter_settings settings; // effective values, both order maps present

    channel_buffer_set work;      // decoded, then mixed, at the input rate
    channel_buffer_set resampled; // at the output rate; with equal rates, blocks of
                                  // separate-channel input that no stream has accepted yet

    // Separate-channel input, by speaker channel.
    int32_t *channel_input[AUDIO_MAX_CHANNELS];
    uint32_t channel_input_capacity[AUDIO_MAX_CHANNELS]; // samples
    uint32_t channel_input_count[AUDIO_MAX_CHANNELS];    // samples
    uint8_t channel_active[AUDIO_MAX_CHANNELS];          // 1 while more input is expected

    // Bytes of an incomplete interleaved input frame.
    uint8_t *carry;
    uint32_t carry_capacity; // bytes
    uint32_t carry_count;    // bytes

    resampler_state resampler;

    // The mixer's mode, never both set, and gains from input slot (row) to output slot (column).
    uint8_t mix_enabled;
    uint8_t reorder_enabled;
    double mix_matrix[AUDIO_MAX_CHANNELS][AUDIO_MAX_CHANNELS];

    int32_t aes3_frame_remaining; // payload bytes of the current input block not yet decoded

    host_printer err_printf;
    host_printer prg_printf;
    host_printer wrn_printf;
    host_printer inf_printf;
    host_malloc malloc;
    host_free free;

    bufstream *out_streams[AUDIO_MAX_CHANNELS]; // slot 0 alone: interleaved output

    decode_function decode; // of what one call brings; fixed at creation
    output_plan output;     // settled anew whenever a stream is attached

    // Samples at the start of the held output (see held_output.h) that a slot's stream has
    // accepted, by output slot.
    uint32_t output_position[AUDIO_MAX_CHANNELS];
    // Positions of `work` that refer to a channel_input array and do not own it.
    uint8_t work_borrowed[AUDIO_MAX_CHANNELS];
    // Samples of the largest block that separate-channel input decoded so far.
    uint32_t largest_channel_block;
    // Samples of channel_input that the end of the stream has already sent, by speaker channel.
    uint32_t channel_input_sent[AUDIO_MAX_CHANNELS];
    uint8_t done;    // audioConverterDone was called
    uint8_t stalled; // the running call has timed out waiting for the streams' room

    cpu_level level; // which vector forms run; fixed at creation
    // Coefficients as the vector forms read them, behind the record in the instance's own block;
    // null when they read `resampler.filter`.
    double *kernel_table;
};

// True when samples leave at the rate they came in, so that `work` itself is written.
inline bool hasEqualRates(const audio_converter &converter) {
    return converter.resampler.input_rate == converter.resampler.output_rate;
}

// The two LPCM formats carry frames in pairs.
inline bool travelsInPairs(uint8_t format) {
    return format == AUDIO_FORMAT_LPCM_PAIRED || format == AUDIO_FORMAT_LPCM_BE;
}
