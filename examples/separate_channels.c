/* Separate channels in and out: each input channel is fed on its own, and each output channel has
 * a stream of its own. Channels may have different lengths; the shorter continues in silence. */
#include "memory_stream.h"

#include <stdio.h>

enum { LEFT_SAMPLES = 600, RIGHT_SAMPLES = 400, BLOCK_SAMPLES = 200 };

/* The numbers of the speaker channels are those of their mask bits. */
enum { LEFT_CHANNEL = 0, RIGHT_CHANNEL = 1 };

static int putBlock(audio_converter *converter, const int16_t *samples, int first,
                    uint8_t channel) {
    return audioConverterPutBytesOneChannel(converter, (const uint8_t *)(samples + first),
                                            BLOCK_SAMPLES * sizeof *samples, channel) != 0;
}

/* A block goes through as soon as every channel that has not ended holds one. */
static int feedChannels(audio_converter *converter, const int16_t *left, const int16_t *right) {
    int failed = 0;
    for (int first = 0; first < LEFT_SAMPLES; first += BLOCK_SAMPLES) {
        failed |= putBlock(converter, left, first, LEFT_CHANNEL);
        if (first < RIGHT_SAMPLES) {
            failed |= putBlock(converter, right, first, RIGHT_CHANNEL);
        } else {
            failed |= audioConverterNoMoreDataInChannel(converter, RIGHT_CHANNEL) != 0;
        }
    }
    return failed | (audioConverterDone(converter, 0) != 0);
}

static void describeStream(const char *name, const memory_stream *stream) {
    const float *samples = (const float *)(const void *)stream->bytes;
    size_t count = stream->size / sizeof *samples;
    size_t sounding = 0;
    for (size_t i = 0; i < count; ++i) {
        sounding += samples[i] != 0;
    }
    printf("%s: %zu samples, of which %zu sound, the first is %.3f\n", name, count, sounding,
           (double)samples[0]);
}

int main(void) {
    static int16_t left[LEFT_SAMPLES];
    static int16_t right[RIGHT_SAMPLES];
    for (int i = 0; i < LEFT_SAMPLES; ++i) {
        left[i] = 16384;
    }
    for (int i = 0; i < RIGHT_SAMPLES; ++i) {
        right[i] = -8192;
    }

    static const audio_converter_settings settings = {.input_channels = 2,
                                                      .input_bits_per_sample = 16,
                                                      .input_format = AUDIO_FORMAT_PCM,
                                                      .input_sample_rate = 48000,
                                                      .output_bits_per_sample = 32,
                                                      .output_format = AUDIO_FORMAT_FLOAT,
                                                      .out_frame_size = 1024,
                                                      .input_separate_channels = 1,
                                                      .output_separate_channels = 1};
    memory_stream streams[2] = {openMemoryStream(), openMemoryStream()};
    audio_converter *converter = audioConverterNew(NULL, &settings);
    if (converter == NULL || audioConverterInitChannel(converter, &streams[0].operations, 0) != 0 ||
        audioConverterInitChannel(converter, &streams[1].operations, 1) != 0 ||
        feedChannels(converter, left, right) != 0) {
        fprintf(stderr, "the conversion failed\n");
        return 1;
    }
    printf("fed: %d samples of the left channel, %d of the right\n", LEFT_SAMPLES, RIGHT_SAMPLES);
    describeStream("left stream", &streams[0]);
    describeStream("right stream", &streams[1]);

    audioConverterFree(converter);
    free(streams[0].bytes);
    free(streams[1].bytes);
    return 0;
}
