/* A ring between two threads: one converts into it, the other takes what is there, cut anywhere,
 * and converts it back. Frames that the end of the ring would cut pass through a bounce area. */
#include "memory_stream.h"
#include "ring_stream.h"

#include <stdio.h>

/* Frames of 6 bytes (pairs of 12, AES3 blocks of 4 + 7n) do not divide the ring. */
enum { CHANNELS = 2, BITS = 24, FRAMES = 10000, BLOCK_BYTES = 3000 };

typedef struct reading_thread {
    ring_stream *ring;
    uint8_t format;
    memory_stream pcm; /* empty when anything failed */
} reading_thread;

static audio_converter_settings makeSettings(uint8_t input_format, uint8_t output_format) {
    audio_converter_settings settings = {.input_channels = CHANNELS,
                                         .input_bits_per_sample = BITS,
                                         .input_format = input_format,
                                         .input_sample_rate = 48000,
                                         .output_channels = CHANNELS,
                                         .output_bits_per_sample = BITS,
                                         .output_format = output_format,
                                         .out_frame_size = 4096};
    return settings;
}

static void *readRing(void *argument) {
    reading_thread *reader = argument;
    audio_converter_settings settings = makeSettings(reader->format, AUDIO_FORMAT_PCM);
    audio_converter *converter = audioConverterNew(NULL, &settings);
    int failed = audioConverterInit(converter, &reader->pcm.operations) != 0;
    uint8_t bytes[77];
    for (size_t n; (n = takeFromRing(reader->ring, bytes, sizeof bytes)) > 0;) {
        failed |= audioConverterPutBytes(converter, bytes, (uint32_t)n) != 0;
    }
    failed |= audioConverterDone(converter, 0) != 0;
    audioConverterFree(converter);
    if (failed) {
        reader->pcm.size = 0;
    }
    return NULL;
}

/* Puts a block. While the ring is full, output waits in the converter, and empty calls write it. */
static int putBlock(audio_converter *converter, ring_stream *ring, const uint8_t *bytes,
                    uint32_t byte_count) {
    ring->was_full = 0;
    uint32_t result = audioConverterPutBytes(converter, bytes, byte_count);
    while (result != 0 && ring->was_full) {
        waitForRoom(ring);
        ring->was_full = 0;
        result = audioConverterPutBytes(converter, NULL, 0);
    }
    return result != 0;
}

/* The end of the stream returns 0 even when the ring was full: it is called until it was not. */
static int putEnd(audio_converter *converter, ring_stream *ring) {
    uint32_t result;
    do {
        waitForRoom(ring);
        ring->was_full = 0;
        result = audioConverterDone(converter, 0);
    } while (result == 0 && ring->was_full);
    return result != 0;
}

static int writeRing(ring_stream *ring, const audio_converter_settings *settings,
                     const uint8_t *pcm, uint32_t byte_count) {
    audio_converter *converter = audioConverterNew(NULL, settings);
    int failed = audioConverterInit(converter, &ring->operations) != 0;
    for (uint32_t start = 0; start < byte_count && !failed; start += BLOCK_BYTES) {
        uint32_t left = byte_count - start;
        failed = putBlock(converter, ring, pcm + start, left < BLOCK_BYTES ? left : BLOCK_BYTES);
    }
    failed |= putEnd(converter, ring);
    audioConverterFree(converter);
    return failed;
}

/* PCM through the ring in this format and back. Returns 0 when it comes back unchanged. */
static int runRing(const char *name, uint8_t format, const uint8_t *pcm, uint32_t byte_count) {
    static ring_stream ring;
    audio_converter_settings settings = makeSettings(AUDIO_FORMAT_PCM, format);
    openRing(&ring, &settings);
    reading_thread reader = {&ring, format, openMemoryStream()};
    pthread_t thread;
    if (pthread_create(&thread, NULL, readRing, &reader) != 0) {
        return 1;
    }
    int failed = writeRing(&ring, &settings, pcm, byte_count);
    endRing(&ring);
    pthread_join(thread, NULL);

    int same =
        !failed && reader.pcm.size == byte_count && memcmp(reader.pcm.bytes, pcm, byte_count) == 0;
    printf("%s: %u bytes through a ring of %d come back %s; the bounce area was %s\n", name,
           byte_count, RING_BYTES, same ? "the same" : "changed",
           ring.bounced > 0 ? "used" : "not used");
    free(reader.pcm.bytes);
    closeRing(&ring);
    return !same;
}

int main(void) {
    static uint8_t pcm[FRAMES * CHANNELS * BITS / 8];
    for (size_t i = 0; i < sizeof pcm; ++i) {
        pcm[i] = (uint8_t)(i * 31 + i / 256);
    }
    return runRing("PCM", AUDIO_FORMAT_PCM, pcm, sizeof pcm) |
           runRing("LPCM", AUDIO_FORMAT_LPCM_PAIRED, pcm, sizeof pcm) |
           runRing("AES3", AUDIO_FORMAT_AES3, pcm, sizeof pcm);
}
