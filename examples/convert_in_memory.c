/* One-shot conversion in memory: the whole input is at hand, and the size of the output is known
 * before the conversion starts, so one exact buffer takes it all. */
#include "zt_trans_audio_converter.h"

#include <stdio.h>
#include <stdlib.h>

enum { INPUT_FRAMES = 4410, INPUT_RATE = 44100, OUTPUT_RATE = 48000, CHANNELS = 2 };

typedef struct fixed_stream {
    bufstream operations; /* first, so that the library's pointer is also ours */
    uint8_t *bytes;
    uint32_t size;
    uint32_t capacity;
} fixed_stream;

static uint8_t *fixedReserve(bufstream *stream, uint32_t byte_count) {
    fixed_stream *fixed = (fixed_stream *)stream;
    (void)byte_count;
    return fixed->size < fixed->capacity ? fixed->bytes + fixed->size : NULL;
}

static uint32_t fixedFreeBytes(bufstream *stream) {
    const fixed_stream *fixed = (const fixed_stream *)stream;
    return fixed->capacity - fixed->size;
}

static void fixedCommit(bufstream *stream, uint32_t byte_count) {
    ((fixed_stream *)stream)->size += byte_count;
}

static void fixedAuxInfo(bufstream *stream, uint32_t byte_count, uint32_t code, void *pointer,
                         int32_t value) {
    (void)stream;
    (void)byte_count;
    (void)code;
    (void)pointer;
    (void)value;
}

/* A triangle of 441 Hz on the left, the same at half height and upside down on the right. */
static void makeInput(int16_t samples[][CHANNELS]) {
    for (int frame = 0; frame < INPUT_FRAMES; ++frame) {
        int phase = frame % 100;
        int height = phase < 50 ? phase - 25 : 75 - phase; /* -25 to 25 and back */
        samples[frame][0] = (int16_t)(800 * height);
        samples[frame][1] = (int16_t)(-400 * height);
    }
}

static int findPeak(const int16_t *samples, uint32_t frame_count, int channel) {
    int peak = 0;
    for (uint32_t frame = 0; frame < frame_count; ++frame) {
        int sample = abs(samples[frame * CHANNELS + (uint32_t)channel]);
        peak = sample > peak ? sample : peak;
    }
    return peak;
}

int main(void) {
    static int16_t input[INPUT_FRAMES][CHANNELS];
    makeInput(input);

    static const audio_converter_settings settings = {.input_channels = CHANNELS,
                                                      .input_bits_per_sample = 16,
                                                      .input_format = AUDIO_FORMAT_PCM,
                                                      .input_sample_rate = INPUT_RATE,
                                                      .output_sample_rate = OUTPUT_RATE,
                                                      .out_frame_size = 65536};

    /* N input frames give exactly N * L / M output frames, rounded down. */
    uint32_t expected_frames = (uint32_t)((uint64_t)INPUT_FRAMES * OUTPUT_RATE / INPUT_RATE);
    uint32_t capacity =
        audioConverterSamplesToBytes(expected_frames, AUDIO_FORMAT_PCM, CHANNELS, 16);
    fixed_stream output = {{fixedFreeBytes, fixedReserve, fixedCommit, NULL, NULL, fixedAuxInfo},
                           malloc(capacity),
                           0,
                           capacity};
    audio_converter *converter = audioConverterNew(NULL, &settings);
    if (output.bytes == NULL || converter == NULL ||
        audioConverterInit(converter, &output.operations) != 0 ||
        audioConverterPutBytes(converter, (const uint8_t *)input, sizeof input) != 0 ||
        audioConverterDone(converter, 0) != 0) {
        fprintf(stderr, "the conversion failed\n");
        return 1;
    }

    const int16_t *samples = (const int16_t *)(const void *)output.bytes;
    uint32_t frames = audioConverterBytesToSamples(output.size, AUDIO_FORMAT_PCM, CHANNELS, 16);
    printf("in:  %d frames at %d Hz, peaks %d and %d\n", INPUT_FRAMES, INPUT_RATE,
           findPeak(input[0], INPUT_FRAMES, 0), findPeak(input[0], INPUT_FRAMES, 1));
    printf("out: %u frames at %d Hz, peaks %d and %d\n", frames, OUTPUT_RATE,
           findPeak(samples, frames, 0), findPeak(samples, frames, 1));
    printf("the buffer of %u bytes is %s\n", capacity,
           output.size == capacity ? "full" : "not full");

    audioConverterFree(converter);
    free(output.bytes);
    return 0;
}
