/* Streaming: input arrives in blocks cut anywhere, even inside a sample, and each call hands out
 * what is ready. The output gathers in a buffer that grows as needed. */
#include "memory_stream.h"

#include <stdio.h>

enum { INPUT_FRAMES = 3000, FRAME_BYTES = 3 };

/* 24-bit mono: a slow rise from silence, little-endian. */
static void makeInput(uint8_t *bytes) {
    for (uint32_t frame = 0; frame < INPUT_FRAMES; ++frame) {
        uint32_t sample = frame * 2000;
        bytes[frame * FRAME_BYTES] = (uint8_t)sample;
        bytes[frame * FRAME_BYTES + 1] = (uint8_t)(sample >> 8);
        bytes[frame * FRAME_BYTES + 2] = (uint8_t)(sample >> 16);
    }
}

static int sampleAt(const memory_stream *stream, size_t frame) {
    return (int16_t)(stream->bytes[2 * frame] | stream->bytes[2 * frame + 1] << 8);
}

/* Feeds the input in blocks of these sizes and shows what each call brought out. */
static int feedBlocks(audio_converter *converter, memory_stream *stream, const uint8_t *input) {
    static const uint32_t block_sizes[] = {1, 2, 50, 1000, 3001, 4946};
    for (size_t i = 0; i < sizeof block_sizes / sizeof block_sizes[0]; ++i) {
        size_t size_before = stream->size;
        if (audioConverterPutBytes(converter, input, block_sizes[i]) != 0) {
            return 1;
        }
        input += block_sizes[i];
        printf("%5u bytes in: %4zu frames out\n", block_sizes[i], (stream->size - size_before) / 2);
    }
    size_t size_before = stream->size;
    if (audioConverterDone(converter, 0) != 0) {
        return 1;
    }
    printf("  end of input: %4zu frames out\n", (stream->size - size_before) / 2);
    return 0;
}

int main(void) {
    static uint8_t input[INPUT_FRAMES * FRAME_BYTES];
    makeInput(input);

    static const audio_converter_settings settings = {.input_channels = 1,
                                                      .input_bits_per_sample = 24,
                                                      .input_format = AUDIO_FORMAT_PCM,
                                                      .input_sample_rate = 48000,
                                                      .output_bits_per_sample = 16,
                                                      .output_sample_rate = 32000,
                                                      .out_frame_size = 512};
    memory_stream stream = openMemoryStream();
    audio_converter *converter = audioConverterNew(NULL, &settings);
    if (converter == NULL || audioConverterInit(converter, &stream.operations) != 0 ||
        feedBlocks(converter, &stream, input) != 0) {
        fprintf(stderr, "the conversion failed\n");
        return 1;
    }

    /* No delay: output frame k is what the input was at the same instant. */
    printf("%d frames at 48000 Hz became %zu at 32000 Hz\n", INPUT_FRAMES, stream.size / 2);
    printf("one third of the way: %d in, %d out\n", 999 * 2000 / 256, sampleAt(&stream, 666));

    audioConverterFree(converter);
    free(stream.bytes);
    return 0;
}
