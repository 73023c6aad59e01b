/* A host's own allocator and printer: all memory of a converter comes from one arena, and the
 * library's messages go where the host wants them. */
#include "memory_stream.h"

#include <stdalign.h>
#include <stdarg.h>
#include <stdio.h>
#include <string.h>

/* Hands out consecutive pieces. A released piece is not used again; once all of them are back,
 * the arena starts afresh. That suits converters, which allocate at creation and then hardly. */
static alignas(max_align_t) uint8_t arena[1 << 20];
static size_t arena_limit;
static size_t arena_used;
static int blocks_held;

static void *arenaAllocate(size_t byte_count) {
    size_t rounded =
        (byte_count + alignof(max_align_t) - 1) / alignof(max_align_t) * alignof(max_align_t);
    if (rounded < byte_count || rounded > arena_limit - arena_used) {
        return NULL;
    }
    void *block = arena + arena_used;
    arena_used += rounded;
    ++blocks_held;
    return block;
}

static void arenaRelease(void *block) {
    if (block != NULL && --blocks_held == 0) {
        arena_used = 0;
    }
}

/* The library's texts come without a line end. */
static int printError(const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    printf("    the library says: ");
    int length = vprintf(format, arguments);
    va_end(arguments);
    putchar('\n');
    return length;
}

/* Gives the library our functions by name; those we do not have stay null. */
static host_function lookUp(const char *name) {
    if (strcmp(name, "malloc") == 0) {
        return (host_function)arenaAllocate;
    }
    if (strcmp(name, "free") == 0) {
        return (host_function)arenaRelease;
    }
    if (strcmp(name, "err_printf") == 0) {
        return (host_function)printError;
    }
    return NULL;
}

static void convertWith(const char *title, size_t limit, uint8_t channels) {
    static const uint8_t silence[4800];
    audio_converter_settings settings = {.input_channels = channels,
                                         .input_bits_per_sample = 16,
                                         .input_format = AUDIO_FORMAT_PCM,
                                         .input_sample_rate = 44100,
                                         .output_sample_rate = 48000,
                                         .out_frame_size = 4096};
    arena_limit = limit;
    printf("%s\n", title);
    audio_converter *converter = audioConverterNew(lookUp, &settings);
    if (converter == NULL) {
        printf("    no converter, %d blocks left in the arena\n", blocks_held);
        return;
    }
    printf("    a converter lives in the arena: %s\n", arena_used > 0 ? "yes" : "no");
    memory_stream stream = openMemoryStream();
    if (audioConverterInit(converter, &stream.operations) == 0 &&
        audioConverterPutBytes(converter, silence, sizeof silence) == 0 &&
        audioConverterDone(converter, 0) == 0) {
        printf("    %zu bytes became %zu\n", sizeof silence, stream.size);
    }
    audioConverterFree(converter);
    printf("    released, %d blocks left in the arena\n", blocks_held);
    free(stream.bytes);
}

int main(void) {
    convertWith("One MiB, stereo:", sizeof arena, 2);
    convertWith("1000 bytes, stereo:", 1000, 2);
    convertWith("One MiB, nine channels:", sizeof arena, 9);
    return 0;
}
