/* A host in plain C: the header compiles, and a conversion runs, from big-endian to float. */

#include "zt_trans_audio_converter.h"

#include <stdio.h>
#include <string.h>

struct memory_stream {
    struct bufstream operations;
    uint8_t bytes[64];
    uint32_t count;
};

static uint32_t freeBytes(bufstream *stream) {
    const struct memory_stream *memory = (const struct memory_stream *)stream;
    return (uint32_t)sizeof memory->bytes - memory->count;
}

static uint8_t *reserve(bufstream *stream, uint32_t byte_count) {
    struct memory_stream *memory = (struct memory_stream *)stream;
    (void)byte_count;
    return memory->bytes + memory->count;
}

static void commit(bufstream *stream, uint32_t byte_count) {
    ((struct memory_stream *)stream)->count += byte_count;
}

static void auxInfo(bufstream *stream, uint32_t byte_count, uint32_t code, void *pointer,
                    int32_t value) {
    (void)stream, (void)byte_count, (void)code, (void)pointer, (void)value;
}

int main(void) {
    static const uint8_t input[4] = {0x40, 0x00, 0xc0, 0x00};
    static const float expected[2] = {0.5f, -0.5f};
    struct memory_stream memory = {{freeBytes, reserve, commit, NULL, NULL, auxInfo}, {0}, 0};
    audio_converter_settings settings;
    memset(&settings, 0, sizeof settings);
    settings.input_channels = 1;
    settings.input_bits_per_sample = 16;
    settings.input_format = AUDIO_FORMAT_LPCM_BE;
    settings.input_sample_rate = 48000;
    settings.output_format = AUDIO_FORMAT_FLOAT;
    settings.output_bits_per_sample = 32;
    settings.out_frame_size = 4096;

    audio_converter *converter = audioConverterNew(NULL, &settings);
    if (converter == NULL || audioConverterInit(converter, &memory.operations) != 0 ||
        audioConverterPutBytes(converter, input, sizeof input) != 0 ||
        audioConverterDone(converter, 0) != 0) {
        puts("a call failed");
        return 1;
    }
    audioConverterFree(converter);
    if (memory.count != sizeof expected || memcmp(memory.bytes, expected, sizeof expected) != 0) {
        puts("the output differs");
        return 1;
    }
    return 0;
}
