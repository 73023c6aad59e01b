/* AES3 in the packing of SMPTE 302M: PCM goes into blocks, each with a header of 4 bytes, and comes
 * back unchanged. */
#include "memory_stream.h"

#include <stdio.h>
#include <string.h>

enum { CHANNELS = 4, BITS = 24, FRAMES = 100, HEADER_BYTES = 4 };

/* Converts everything at once; the result is empty when anything failed. */
static memory_stream convert(uint8_t input_format, const uint8_t *bytes, size_t byte_count,
                             uint8_t output_format) {
    audio_converter_settings settings = {.input_channels = CHANNELS,
                                         .input_bits_per_sample = BITS,
                                         .input_format = input_format,
                                         .input_sample_rate = 48000,
                                         .output_format = output_format,
                                         .out_frame_size = 600}; /* payload bytes of a block */
    memory_stream stream = openMemoryStream();
    audio_converter *converter = audioConverterNew(NULL, &settings);
    if (converter == NULL || audioConverterInit(converter, &stream.operations) != 0 ||
        audioConverterPutBytes(converter, bytes, (uint32_t)byte_count) != 0 ||
        audioConverterDone(converter, 0) != 0) {
        stream.size = 0;
    }
    audioConverterFree(converter);
    return stream;
}

/* A header is one big-endian word: 16 bits of payload size, 2 of channel code, 8 of channel
 * identification, 2 of depth code, 4 of alignment. */
static void listBlocks(const memory_stream *stream) {
    size_t position = 0;
    for (int block = 0; position + HEADER_BYTES <= stream->size; ++block) {
        const uint8_t *header = stream->bytes + position;
        uint32_t payload_bytes = (uint32_t)header[0] << 8 | header[1];
        uint32_t block_bytes = HEADER_BYTES + payload_bytes;
        printf("block %d: %u payload bytes, %d channels, %d bits, %u frames\n", block,
               payload_bytes, 2 * (header[2] >> 6) + 2, 4 * (header[3] >> 4 & 3) + 16,
               audioConverterBytesToSamples(block_bytes, AUDIO_FORMAT_AES3, CHANNELS, BITS));
        position += block_bytes;
    }
}

int main(void) {
    static uint8_t pcm[FRAMES * CHANNELS * BITS / 8];
    for (size_t i = 0; i < sizeof pcm; ++i) {
        pcm[i] = (uint8_t)(i * 31);
    }

    memory_stream aes3 = convert(AUDIO_FORMAT_PCM, pcm, sizeof pcm, AUDIO_FORMAT_AES3);
    printf("%zu bytes of PCM became %zu bytes of AES3\n", sizeof pcm, aes3.size);
    listBlocks(&aes3);

    memory_stream back = convert(AUDIO_FORMAT_AES3, aes3.bytes, aes3.size, AUDIO_FORMAT_PCM);
    int same = back.size == sizeof pcm && memcmp(back.bytes, pcm, sizeof pcm) == 0;
    printf("back in PCM: %zu bytes, %s\n", back.size, same ? "the same" : "not the same");

    free(aes3.bytes);
    free(back.bytes);
    return same ? 0 : 1;
}
