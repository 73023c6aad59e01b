/* zt_trans_audio_converter.h: bit-exact, fast conversion of uncompressed audio.
 *
 * LIFE CYCLE
 *
 *     audio_converter_settings settings;
 *     memset(&settings, 0, sizeof settings); // 0 in the output: as the input
 *     settings.input_channels = 2;
 *     settings.input_bits_per_sample = 16;
 *     settings.input_format = AUDIO_FORMAT_PCM;
 *     settings.input_sample_rate = 44100;
 *     settings.output_sample_rate = 48000;
 *     settings.out_frame_size = 65536;
 *
 *     audio_converter *converter = audioConverterNew(NULL, &settings);
 *     audioConverterInit(converter, &my_stream.operations);
 *     while ((n = fread(block, 1, sizeof block, file)) > 0)
 *         audioConverterPutBytes(converter, block, (uint32_t)n);
 *     audioConverterDone(converter, 0); // flushes
 *     audioConverterFree(converter);
 *
 * All work is done inside these calls, on the caller's thread. The library
 * starts no threads, opens no files and keeps no global state. It is written
 * for C11 and C++11 hosts or later; zt_trans_audio_converter.hpp wraps it for
 * C++17.
 *
 * GLOSSARY
 *
 *   frame   one sample of every channel, all of the same instant
 *   sample  one number of one channel. A sample count is per channel, so it
 *           counts frames. Inside, every sample is a signed 32-bit integer;
 *           shorter samples are left-aligned
 *   slot    the 0-based place of a channel in a frame
 *   mask    32 bits that name the speakers of a layout: bit k is speaker k
 *           (AUDIO_SPEAKER_*). Only bits 0 to 7 are counted and mixed
 *   block   the samples that one call brings in, or that one write hands out
 *
 * COMMON QUESTIONS
 *
 * How many frames come out, and when? With equal rates every whole input frame
 * comes out in the call that completes it. LPCM_PAIRED and LPCM_BE travel in
 * pairs of frames, as input and as output: a pair comes out in the call that
 * completes it, and a single last input frame is dropped.
 *
 * With different rates let L / M be output rate / input rate in lowest terms
 * and N the input frames so far. Then L * ((N - 21) / M) frames have come out,
 * rounded down, and none while N is below 21. So the first L frames come out
 * with input frame 21 + M, and L more with every further M. audioConverterDone
 * brings the total to N * L / M, rounded down. Output frame 0 is centred on
 * input frame 0: there is no delay to compensate. Nearly coprime rates have a
 * large L and M: their output comes rarely, in large blocks.
 *
 * May input be cut anywhere? Yes, at any byte: an incomplete frame waits
 * inside. Cuts matter only around AES3 block headers that are broken or
 * announce no payload. A converter serves one stream, from creation to
 * audioConverterDone; a new stream takes a new converter.
 *
 * Surprising defaults. One channel is front left (0x01), not front centre: mono
 * to stereo then leaves the right channel silent. Set the input mask to
 * AUDIO_SPEAKER_FC to hear it on both. Four channels are 0x33 (front and back
 * pairs), and seven lack the LFE (0xF7). A zero output mask means the input's
 * mask, so a change of channel count needs an explicit output mask.
 *
 * Values out of range. Float input beyond full scale saturates; not-a-number
 * becomes 0. The resampler saturates. Designed mixing gains cannot exceed full
 * scale. A user matrix can: a sum of 2147483648.0 or more, below -2147483648.0,
 * or not a number becomes -2147483648. Narrowing truncates towards minus
 * infinity, without rounding or dither.
 *
 * Floating-point environment. The calling thread must round to nearest. Traps
 * other than inexact may be unmasked: with finite input no call raises invalid,
 * division by zero, overflow or underflow. Not-a-number input may, and so may a
 * user matrix whose sums leave 32 bits or whose products are below 1e-307.
 *
 * RESULTS AND THREADS
 *
 * Functions return 0 for success and 1 for failure unless said otherwise.
 * Different converters may be used on different threads at once. One converter
 * must not be entered by two calls at once, nor from inside its own callbacks;
 * it may move from thread to thread between calls. A data call may allocate. It
 * waits for a stream that reports no room: up to 2 seconds, and anew after
 * every chunk that went out meanwhile. audioConverterCheckSettings, the two
 * size functions, audioConverterGetAPIExt and the query touch no state and may
 * be called from any thread at any time.
 */
#ifndef ZT_TRANS_AUDIO_CONVERTER_H
#define ZT_TRANS_AUDIO_CONVERTER_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
#define ZT_STATIC_ASSERT(condition, text) static_assert(condition, text)
extern "C" {
#else
#define ZT_STATIC_ASSERT(condition, text) _Static_assert(condition, text)
#endif

/* ---- Constants ----------------------------------------------------------- */

/* Most channels in a frame, speakers in a mask, and output streams. */
#define AUDIO_MAX_CHANNELS 8

/* Sample formats.
 *
 *   PCM          little-endian linear PCM. 8 bits: one unsigned byte, 128 is
 *                silence; 16, 24, 32 bits: two's complement in 2, 3, 4 bytes. 1
 *                to 8 channels.
 *   LPCM_PAIRED  big-endian, in groups of two frames. With N channels a group
 *                has 2N words of 2 bytes, then the remaining bits: none (16
 *                bits, 4N bytes in all), N bytes of two nibbles (20 bits, 5N
 *                bytes) or 2N bytes (24 bits, 6N bytes). The words hold the low
 *                16 bits of each sample, the bytes behind them the high bits.
 *                At 20 bits the reader takes the first sample of a byte from
 *                its low nibble while the writer puts it into the high nibble.
 *                1 to 8 channels.
 *   LPCM_BE      big-endian two's complement in 2 bytes (16 bits) or 3 (20 and
 *                24 bits; 20 bits sign-extended). 1 to 8 channels. Frames
 *                travel in pairs, as in LPCM_PAIRED.
 *   AES3         AES3 audio in the packing of SMPTE 302M: blocks of a 4-byte
 *                header and up to 65,535 payload bytes; 16, 20 or 24 bits plus
 *                4 extra bits a sample, least significant bit first; 2, 4, 6 or
 *                8 channels.
 *   FLOAT        little-endian IEEE 754 single precision, 32 bits; 1.0 is
 *                sample 2147483646. 1 to 8 channels. */
enum {
    AUDIO_FORMAT_PCM = 1,
    AUDIO_FORMAT_LPCM_PAIRED = 2,
    AUDIO_FORMAT_LPCM_BE = 3,
    AUDIO_FORMAT_AES3 = 4,
    AUDIO_FORMAT_FLOAT = 5
};

/* Speaker bits of a channel mask: the first eight positions of the
 * WAVE_FORMAT_EXTENSIBLE channel mask. The number of a speaker channel is the
 * number of its bit, 0 (FL) to 7 (FRC). */
enum {
    AUDIO_SPEAKER_FL = 0x01,  /* front left */
    AUDIO_SPEAKER_FR = 0x02,  /* front right */
    AUDIO_SPEAKER_FC = 0x04,  /* front centre */
    AUDIO_SPEAKER_LFE = 0x08, /* low-frequency effects */
    AUDIO_SPEAKER_BL = 0x10,  /* back left */
    AUDIO_SPEAKER_BR = 0x20,  /* back right */
    AUDIO_SPEAKER_FLC = 0x40, /* front left of centre */
    AUDIO_SPEAKER_FRC = 0x80  /* front right of centre */
};

/* The code that bufstream.aux_info receives with every committed chunk. */
#define AUX_INFO_CHUNK 0xf0002u

/* ---- The settings record ------------------------------------------------- */

/* 4096 bytes, packed, native (little-endian) byte order: fill with zeros, then
 * set what is wanted. The library copies the record and never changes or keeps
 * the host's.
 *
 * Zero output fields stand for the input's values. Flags are true when nonzero.
 *
 * The mixing matrix is used when the two masks differ in any of their 32 bits.
 * Row = input speaker, column = output speaker, both by speaker bit:
 *
 *              to FL   FR   FC  LFE   BL   BR  FLC  FRC
 *   from FL     [0][0]  [0][1]  ...                [0][7]
 *        FR     [1][0]
 *        FC       .
 *        LFE      .            user_matrix[row][column]
 *        BL       .            = gain, any double
 *        BR       .
 *        FLC      .
 *        FRC    [7][0]                             [7][7]
 *
 * so gain 1.0 from the centre to the left output is user_matrix[2][0]. A mixed
 * sample is the sum over the input slots in order, in double precision,
 * truncated towards zero. Rows of absent input speakers and columns of absent
 * output speakers are ignored.
 *
 * An order map has one entry per speaker bit: the 1-based place of that speaker
 * in a frame, 0 where the mask lacks the speaker. Without a map the speakers of
 * the mask follow each other in ascending bit order. */
#pragma pack(push, 1)
typedef struct audio_converter_settings {
    /* Channels of an input frame, 1 to 8. */
    uint8_t input_channels;
    /* Bits of an input sample: 8, 16, 24, 32 (PCM), 16, 20, 24 (LPCM and AES3),
     * 32 (FLOAT). */
    uint8_t input_bits_per_sample;
    /* AUDIO_FORMAT_*. */
    uint8_t input_format;
    /* Speakers of the input; as many of bits 0 to 7 as channels. 0: 0x01, 0x03,
     * 0x07, 0x33, 0x37, 0x3F, 0xF7, 0xFF for 1 to 8 channels. */
    uint32_t input_channel_mask;
    /* Hz, 1 to 4294967295. */
    uint32_t input_sample_rate;
    /* Channels of an output frame, 1 to 8. 0: as the input. */
    uint8_t output_channels;
    /* Bits of an output sample. 0: as the input. */
    uint8_t output_bits_per_sample;
    /* AUDIO_FORMAT_*. 0: as the input. */
    uint8_t output_format;
    /* Speakers of the output. 0: the input's mask. */
    uint32_t output_channel_mask;
    /* Hz. 0: as the input. */
    uint32_t output_sample_rate;
    /* The most bytes that one write hands to the output, at least 1. With
     * separate output streams each has an equal share of it. Conversion needs
     * room for one frame here, for LPCM_PAIRED and LPCM_BE two. An AES3 chunk
     * adds its 4 header bytes to it. */
    uint32_t out_frame_size;
    /* Flag: mix with user_matrix instead of the designed gains. */
    uint8_t user_matrix_enabled;
    /* Gains, row = input speaker, column = output speaker; see above. */
    double user_matrix[AUDIO_MAX_CHANNELS][AUDIO_MAX_CHANNELS];
    /* Flag: input_order_map is given. */
    uint8_t input_order_map_enabled;
    uint8_t input_order_map[AUDIO_MAX_CHANNELS];
    /* Flag: output_order_map is given. */
    uint8_t output_order_map_enabled;
    uint8_t output_order_map[AUDIO_MAX_CHANNELS];
    /* Flag: input comes one channel at a time, by
     * audioConverterPutBytesOneChannel. */
    uint8_t input_separate_channels;
    /* Flag: one output stream per channel, attached by
     * audioConverterInitChannel. */
    uint8_t output_separate_channels;
    /* Copied and never interpreted. */
    uint8_t reserved[3537];
} audio_converter_settings;
#pragma pack(pop)

#define ZT_AT(field, offset)                                                                       \
    ZT_STATIC_ASSERT(offsetof(audio_converter_settings, field) == (offset), #field " has moved")
ZT_AT(input_channels, 0);
ZT_AT(input_bits_per_sample, 1);
ZT_AT(input_format, 2);
ZT_AT(input_channel_mask, 3);
ZT_AT(input_sample_rate, 7);
ZT_AT(output_channels, 11);
ZT_AT(output_bits_per_sample, 12);
ZT_AT(output_format, 13);
ZT_AT(output_channel_mask, 14);
ZT_AT(output_sample_rate, 18);
ZT_AT(out_frame_size, 22);
ZT_AT(user_matrix_enabled, 26);
ZT_AT(user_matrix, 27);
ZT_AT(input_order_map_enabled, 539);
ZT_AT(input_order_map, 540);
ZT_AT(output_order_map_enabled, 548);
ZT_AT(output_order_map, 549);
ZT_AT(input_separate_channels, 557);
ZT_AT(output_separate_channels, 558);
ZT_AT(reserved, 559);
#undef ZT_AT
ZT_STATIC_ASSERT(sizeof(audio_converter_settings) == 4096, "the settings record is 4096 bytes");

/* ---- What the host provides ---------------------------------------------- */

/* Any function of the host, to be cast from and to its own type. */
typedef void (*host_function)(void);

/* Gives the host's function of a name, or null when the host has none. The
 * library asks for "malloc", "free", "err_printf", "prg_printf", "wrn_printf"
 * and "inf_printf", during the call that receives the lookup and never
 * later. */
typedef host_function (*callback_lookup)(const char *name);

/* "malloc": byte_count bytes aligned for any type, or null. "free": releases
 * what the same converter's "malloc" gave. Supply both or neither. */
typedef void *(*host_malloc)(size_t byte_count);
typedef void (*host_free)(void *block);

/* "err_printf" and the others: printf-style printers; results are ignored.
 * Texts have no line end. The library calls err_printf alone. */
typedef int (*host_printer)(const char *format, ...);

/* An output stream of the host: a record that begins with these six pointers;
 * what follows belongs to the host. Each operation receives the record's own
 * address.
 *
 * A chunk is one reserve, one free_bytes and, when something was written, one
 * commit and one aux_info. A stream that reports too little room for one frame
 * (two frames of LPCM_PAIRED and LPCM_BE; plus 4 bytes for AES3) is asked
 * again, at first at once and then about every millisecond. After 2 seconds
 * without progress the call returns 1 (audioConverterDone: 0).
 *
 * Rings. The areas of a ring end at its wrap, where less than one frame may
 * remain; no wait makes it more. Such a stream needs a bounce area: reserve
 * hands out separate memory, and commit copies it into the ring in two parts.
 * 64 bytes are enough for every format, and for every share with separate
 * output streams. A stream that must not wait returns null from reserve when
 * that room is lacking: the samples are kept and go out first in the next call.
 *
 * Separate output streams. The room of each stream is divided by the output
 * channel count. The writer works in passes: in slot order, one chunk for each
 * stream. An area need not survive a call of another stream, so streams may
 * share one pool, and one stream may serve several slots. Slot order is
 * priority. A null from reserve ends the call, and too little room ends the
 * pass, before later slots are served: slot 0 without room holds up all slots,
 * the last slot none. Every slot has its own position in the output. What its
 * stream has not accepted waits for it alone, and each stream gets each of its
 * samples exactly once. A slot without a stream stays at the oldest sample
 * held, where a stream attached later begins. A stream that replaces another
 * continues at its position.
 *
 * Conversion in place. The area may overlap the input of the same call; the
 * result is that of two buffers. Otherwise the input must stay valid and
 * unchanged until the call returns, also in reserve and commit: with equal
 * rates and layouts it is converted straight into the area.
 *
 * Output that waits takes memory for as long as input continues. A host that
 * has lost a stream replaces it by one that discards. */
typedef struct bufstream bufstream;
struct bufstream {
    /* Bytes that the area of the last reserve can take. */
    uint32_t (*free_bytes)(bufstream *stream);
    /* A writable area for the next bytes. byte_count is all that is pending in
     * the slot, or 512 MiB of it; the area may be smaller. A chunk takes
     * settings.out_frame_size bytes at most (AES3: 4 more). With separate
     * output streams an area for byte_count bytes needs room for byte_count
     * times the output channels. Null: the stream is full, and the call that
     * was writing returns 1 (audioConverterDone goes on and returns 0). */
    uint8_t *(*reserve)(bufstream *stream, uint32_t byte_count);
    /* The first byte_count bytes of the area are written. */
    void (*commit)(bufstream *stream, uint32_t byte_count);
    /* Never called; anything may stand here. */
    void (*unused_3)(void);
    void (*unused_4)(void);
    /* Called after every commit with its byte_count, AUX_INFO_CHUNK, null and
     * 0. */
    void (*aux_info)(bufstream *stream, uint32_t byte_count, uint32_t code, void *pointer,
                     int32_t value);
};

/* A converter; its contents are the library's own. */
typedef struct audio_converter audio_converter;

#pragma GCC visibility push(default)

/* ---- Validation and creation --------------------------------------------- */

/* Checks a settings record.
 *
 *   lookup    may be null; asked once, for "err_printf"
 *   settings  4096 bytes, only read. Null: returns 1, nothing is asked or
 *             printed
 *
 * Returns 0 when the record is valid. Otherwise returns 1 and prints the first
 * fault, one message coded V01 to V17, through the host's err_printf, or with a
 * line end to standard output when there is none. A faulty order map prints
 * nothing. Not checked: the two separate-channel flags, the matrix values, the
 * pair of rates. */
int32_t audioConverterCheckSettings(callback_lookup lookup,
                                    const audio_converter_settings *settings);

/* Creates a converter.
 *
 *   lookup    may be null: the C runtime's allocator, messages dropped. Asked
 *             for "err_printf" (validation), then "malloc", "free",
 *             "err_printf", "prg_printf", "wrn_printf", "inf_printf"
 *   settings  4096 bytes, copied
 *
 * Returns the converter, to be released with audioConverterFree. Returns null,
 * with nothing left allocated, when
 *   - settings is null;
 *   - settings fails validation (with its message);
 *   - memory runs out;
 *   - the filter table, 8 * (40 * L + 1) bytes, would exceed 256 MiB: L is
 *     above 838,860, which takes nearly coprime rates above 838 kHz.
 * Creation takes well under a millisecond for usual rates and under a second
 * for the largest table. The functions found by the lookup must stay valid
 * until audioConverterFree returns. */
audio_converter *audioConverterNew(callback_lookup lookup,
                                   const audio_converter_settings *settings);

/* Attaches the one output stream of a converter whose output_separate_channels
 * is clear.
 *
 *   stream  stays the host's and must stay valid while calls may write to it;
 *           attaching again replaces it
 *
 * Attach before the first input: attaching marks every speaker channel of the
 * input as active, and a channel that has ended would be waited for again.
 * Returns 1 and changes nothing when converter is null (silently), when the
 * flag is set (with a message) or when stream is null (with a message). */
int32_t audioConverterInit(audio_converter *converter, bufstream *stream);

/* Attaches the stream of one output slot of a converter whose
 * output_separate_channels is set. As audioConverterInit, and:
 *
 *   channel  output slot, 0 to 7. Channels whose slot has no stream are
 *            dropped. With slot 0 alone attached, its stream receives all
 *            channels interleaved; with any other one, output goes by channels.
 *            A stream in a slot at or beyond the output channel count makes
 *            output go by channels too, but is never called and does not count
 *            as attached in the data calls
 *
 * Returns 1 silently for a channel outside 0 to 7, before any other check. */
int32_t audioConverterInitChannel(audio_converter *converter, bufstream *stream, int32_t channel);

/* Releases a converter and everything it allocated. Streams and callbacks are
 * not touched. Null: does nothing. */
void audioConverterFree(audio_converter *converter);

/* ---- Data ---------------------------------------------------------------- */

/* Converts a block of interleaved input.
 *
 *   bytes       only read, not kept after the call; may be null when byte_count
 *               is 0
 *   byte_count  any cut of the stream; waiting bytes plus block below 2^29
 *
 * Returns 0 when the bytes were taken and everything that could come out was
 * written. An odd last frame of LPCM_PAIRED or LPCM_BE output waits for its
 * partner.
 *
 * Returns 1 with nothing taken and nothing changed, before any stream is
 * called, when
 *   - the converter is null;
 *   - input_separate_channels is set (with a message);
 *   - bytes is null and byte_count is not 0;
 *   - nothing can ever be written and byte_count is not 0: no stream is
 *     attached to a slot of the output, out_frame_size or a stream's share of
 *     it is below one frame (two for the LPCM formats), or AES3 would go to
 *     separate streams;
 *   - the size limit above is passed;
 *   - memory ran out, or more than 2^30 - 1 samples would have to be held: the
 *     call can be retried.
 * Returns 1 with the bytes taken (do not repeat them) when the output is full,
 * which a host knows by its own streams: reserve gave null, or no room came for
 * 2 seconds. What was not written waits, in order, and goes out first in the
 * next call, which may be one of 0 bytes. No sample is lost or repeated. A call
 * of 0 bytes also returns 1 when output waits that can no longer be written.
 *
 * AES3 input whose block header does not match the settings ends the stream:
 * whole frames of the same call that precede it are dropped, nothing more comes
 * out, and calls go on returning 0. */
uint32_t audioConverterPutBytes(audio_converter *converter, const uint8_t *bytes,
                                uint32_t byte_count);

/* Converts bytes of one input channel; needs input_separate_channels.
 *
 *   bytes       samples of this channel alone, in the input format; only read.
 *               A part of a sample (of a pair, for the LPCM formats) at the end
 *               is dropped
 *   byte_count  below 2^29
 *   channel     speaker channel, 0 to 7: the speaker's bit in
 *               input_channel_mask
 *
 * The samples wait in the channel's buffer until every active channel holds at
 * least as many as the largest block of any call so far, also of one that ran
 * out of memory. Then a block of this call's length goes through. A call whose
 * block does not go through yet writes what waits and returns the result of
 * that. An odd last frame of LPCM output waits for its partner.
 *
 * Feed the channels in turn, in blocks of like size: a channel that runs far
 * ahead costs time in every call for all that it holds. A channel that the mask
 * lacks is never mixed, but counts in every other way: it drives blocks and
 * lengthens the stream.
 *
 * Returns 1 with nothing taken, before any stream is called, when
 *   - the converter is null;
 *   - the flag is clear (with a message);
 *   - channel is above 7;
 *   - the input format is AES3 (with a message);
 *   - bytes is null and byte_count is not 0;
 *   - the channel is one of the layout but has ended, and byte_count is not 0;
 *   - audioConverterDone was called;
 *   - nothing can ever be written and byte_count is not 0, as in
 *     audioConverterPutBytes;
 *   - a size limit is passed;
 *   - memory ran out: the call can be retried. The temporary block that
 *     removing a block from the channel buffers may need is asked for before
 *     all else of that block.
 * Returns 1 with the bytes taken when the output is full, as in
 * audioConverterPutBytes: what was not written waits and goes out first in the
 * next call. */
uint32_t audioConverterPutBytesOneChannel(audio_converter *converter, const uint8_t *bytes,
                                          uint32_t byte_count, uint8_t channel);

/* Ends one input channel; needs input_separate_channels.
 *
 *   channel  speaker channel, 0 to 7
 *
 * What the channel still holds goes out with the following blocks, then
 * silence; nobody waits for it any more. Writes nothing itself. Returns 1 with
 * nothing changed when the converter is null, the flag is clear (with a
 * message) or channel is above 7. */
uint32_t audioConverterNoMoreDataInChannel(audio_converter *converter, uint32_t channel);

/* Ends the stream. Writes what earlier calls could not, then what the channel
 * buffers hold (shorter channels continue with silence), then flushes the
 * resampler.
 *
 *   discard_tail  0: everything comes out, and an odd frame of LPCM output is
 *                 completed with one frame of silence. Other: what the
 *                 resampler holds is dropped, and an odd frame of LPCM output
 *                 waits for a later call with 0
 *
 * The bytes of an incomplete interleaved input frame do not come out. The next
 * call is normally audioConverterFree. Later interleaved input is safe, but no
 * new stream: nothing is reset, and with a rate change frames at the seam are
 * missing. Separate-channel input is refused.
 *
 * Returns 0 also when the output was full, which the host knows by its own
 * streams. What was not written waits, and another audioConverterDone writes
 * it. Once it has timed out, the same call waits no more until a stream makes
 * room again. Returns 1 when converter is null or memory ran out: the rest is
 * kept, and calling again continues. */
uint32_t audioConverterDone(audio_converter *converter, uint32_t discard_tail);

/* ---- Size arithmetic ----------------------------------------------------- */

/* Whole samples per channel in a number of bytes, rounded down.
 *
 *   bytes     0 to 2^29 - 1 (8 * bytes is formed in 32 bits); AES3: block
 *             headers included
 *   format    AUDIO_FORMAT_*; any other value counts as PCM
 *   channels  1 to 8; 0 gives 0
 *   bits      a depth that the format allows; 0 gives 0
 *
 * The two LPCM formats give an even count: their frames travel in pairs. */
uint32_t audioConverterBytesToSamples(uint32_t bytes, uint8_t format, uint8_t channels,
                                      uint8_t bits);

/* Bytes of a number of samples per channel, in 32-bit arithmetic.
 *
 *   samples   per channel; an odd count of LPCM_PAIRED is not rounded
 *
 * AES3: one 4-byte header included, as in every chunk that the converter
 * writes. The other parameters as above. */
uint32_t audioConverterSamplesToBytes(uint32_t samples, uint8_t format, uint8_t channels,
                                      uint8_t bits);

/* ---- Extension ----------------------------------------------------------- */

/* Answers a question about the library.
 *
 *   id   3: the 32-bit integer 1; 4: the version text, 12 characters; 5: the
 *        platform tag, 14 characters. No terminating NUL is written
 *   out  room for the answer
 *
 * Returns 0 when it wrote an answer; 1, with nothing written, for any other id
 * or a null out. */
typedef int32_t (*audio_converter_query)(int32_t id, void *out);

/* Gives a further function by number: audioConverterQuery for id 1, null for
 * any other. */
audio_converter_query audioConverterGetAPIExt(int32_t id);

#pragma GCC visibility pop

#ifdef __cplusplus
}
#endif

#endif
