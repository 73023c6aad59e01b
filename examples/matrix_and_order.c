/* Mixing with the host's own gains, and order maps: six channels in cinema order (left, centre,
 * right, back left, back right, low frequencies) become stereo with the right channel first. */
#include "memory_stream.h"

#include <stdio.h>

enum { FL, FR, FC, LFE, BL, BR, INPUT_CHANNELS }; /* the speakers' mask bits */

static audio_converter_settings makeSettings(void) {
    audio_converter_settings settings = {
        .input_channels = INPUT_CHANNELS,
        .input_bits_per_sample = 16,
        .input_format = AUDIO_FORMAT_PCM,
        .input_channel_mask = AUDIO_SPEAKER_FL | AUDIO_SPEAKER_FR | AUDIO_SPEAKER_FC |
                              AUDIO_SPEAKER_LFE | AUDIO_SPEAKER_BL | AUDIO_SPEAKER_BR,
        .input_sample_rate = 48000,
        .output_channels = 2,
        .output_channel_mask = AUDIO_SPEAKER_FL | AUDIO_SPEAKER_FR,
        .out_frame_size = 4096,
        .user_matrix_enabled = 1,
        .input_order_map_enabled = 1,
        .output_order_map_enabled = 1};

    /* user_matrix[from][to], both by speaker; what is not set stays silent. */
    settings.user_matrix[FL][FL] = 0.5;
    settings.user_matrix[FR][FR] = 0.5;
    settings.user_matrix[FC][FL] = settings.user_matrix[FC][FR] = 0.25;
    settings.user_matrix[BL][FL] = settings.user_matrix[BR][FR] = 0.125;

    /* order_map[speaker] = its place in a frame, counted from 1. */
    settings.input_order_map[FL] = 1;
    settings.input_order_map[FC] = 2;
    settings.input_order_map[FR] = 3;
    settings.input_order_map[BL] = 4;
    settings.input_order_map[BR] = 5;
    settings.input_order_map[LFE] = 6;
    settings.output_order_map[FR] = 1;
    settings.output_order_map[FL] = 2;
    return settings;
}

int main(void) {
    /* One frame for each place, in which that place alone sounds, and one in which all do. */
    static const char *const places[] = {"left",       "centre",          "right",    "back left",
                                         "back right", "low frequencies", "all of it"};
    enum { FRAMES = sizeof places / sizeof places[0] };
    int16_t input[FRAMES][INPUT_CHANNELS] = {{0}};
    for (int place = 0; place < INPUT_CHANNELS; ++place) {
        input[place][place] = 8000;
        input[FRAMES - 1][place] = 8000;
    }

    audio_converter_settings settings = makeSettings();
    memory_stream stream = openMemoryStream();
    audio_converter *converter = audioConverterNew(NULL, &settings);
    if (converter == NULL || audioConverterInit(converter, &stream.operations) != 0 ||
        audioConverterPutBytes(converter, (const uint8_t *)input, sizeof input) != 0 ||
        audioConverterDone(converter, 0) != 0 || stream.size != FRAMES * 2 * sizeof(int16_t)) {
        fprintf(stderr, "the conversion failed\n");
        return 1;
    }

    const int16_t *output = (const int16_t *)(const void *)stream.bytes;
    printf("%-16s  right   left\n", "8000 on");
    for (int frame = 0; frame < FRAMES; ++frame) {
        printf("%-16s %6d %6d\n", places[frame], output[2 * frame], output[2 * frame + 1]);
    }

    audioConverterFree(converter);
    free(stream.bytes);
    return 0;
}
