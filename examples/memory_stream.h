/* memory_stream.h: an output stream that keeps everything in one growing buffer. */
#ifndef MEMORY_STREAM_H
#define MEMORY_STREAM_H

#include "zt_trans_audio_converter.h"

#include <stdlib.h>

typedef struct memory_stream {
    bufstream operations; /* first, so that the library's pointer is also ours */
    uint8_t *bytes;
    size_t size;
    size_t capacity;
} memory_stream;

/* Makes room for the next bytes. The buffer may move, because the library keeps no area beyond
 * its commit. With separate output streams only a share of the room is written to: the room divided
 * by the channels. Null, when memory runs out, makes the call that was writing return 1. */
static uint8_t *memoryReserve(bufstream *stream, uint32_t byte_count) {
    memory_stream *memory = (memory_stream *)stream;
    size_t wanted = (size_t)byte_count * AUDIO_MAX_CHANNELS;
    if (memory->capacity - memory->size < wanted) {
        size_t capacity = 2 * memory->capacity + wanted;
        uint8_t *bytes = realloc(memory->bytes, capacity);
        if (bytes == NULL) {
            return NULL;
        }
        memory->bytes = bytes;
        memory->capacity = capacity;
    }
    return memory->bytes + memory->size;
}

static uint32_t memoryFreeBytes(bufstream *stream) {
    const memory_stream *memory = (const memory_stream *)stream;
    size_t room = memory->capacity - memory->size;
    return room < UINT32_MAX ? (uint32_t)room : UINT32_MAX;
}

static void memoryCommit(bufstream *stream, uint32_t byte_count) {
    ((memory_stream *)stream)->size += byte_count;
}

static void memoryAuxInfo(bufstream *stream, uint32_t byte_count, uint32_t code, void *pointer,
                          int32_t value) {
    (void)stream;
    (void)byte_count;
    (void)code;
    (void)pointer;
    (void)value;
}

/* An empty stream; free(stream.bytes) when done. */
static memory_stream openMemoryStream(void) {
    memory_stream memory = {
        {memoryFreeBytes, memoryReserve, memoryCommit, NULL, NULL, memoryAuxInfo}, NULL, 0, 0};
    return memory;
}

#endif
