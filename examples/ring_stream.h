/* ring_stream.h: an output stream into a ring that another thread empties. It never waits inside a
 * call of the library: without room reserve returns null, and the host waits with waitForRoom. */
#ifndef RING_STREAM_H
#define RING_STREAM_H

#include "zt_trans_audio_converter.h"

#include <pthread.h>
#include <string.h>

/* BOUNCE_BYTES hold one frame, or one pair of frames, of every format. */
enum { RING_BYTES = 1000, BOUNCE_BYTES = 64 };

typedef struct ring_stream {
    bufstream operations; /* first, so that the library's pointer is also ours */

    /* The writing thread's own. */
    uint32_t unit_bytes; /* the least room that the library can use */
    uint32_t area_bytes;
    int was_full;   /* a reserve has returned null since this was cleared */
    size_t bounced; /* chunks that went through the bounce area */
    uint8_t *area;
    uint8_t bounce[BOUNCE_BYTES];

    /* Shared: byte number n of the stream is at bytes[n % RING_BYTES]. */
    pthread_mutex_t mutex;
    pthread_cond_t changed;
    size_t written;
    size_t taken;
    int ended;
    uint8_t bytes[RING_BYTES];
} ring_stream;

static size_t ringRoom(ring_stream *ring) {
    pthread_mutex_lock(&ring->mutex);
    size_t room = RING_BYTES - (ring->written - ring->taken);
    pthread_mutex_unlock(&ring->mutex);
    return room;
}

/* An area in the ring, or, where the ring wraps within the next frame, the bounce area. */
static uint8_t *ringReserve(bufstream *stream, uint32_t byte_count) {
    ring_stream *ring = (ring_stream *)stream;
    (void)byte_count;
    size_t room = ringRoom(ring);
    size_t start = ring->written % RING_BYTES;
    if (room < ring->unit_bytes) {
        ring->was_full = 1;
        return NULL;
    }
    if (RING_BYTES - start < ring->unit_bytes) {
        ring->area = ring->bounce;
        ring->area_bytes = ring->unit_bytes;
    } else {
        ring->area = ring->bytes + start;
        ring->area_bytes = (uint32_t)(room < RING_BYTES - start ? room : RING_BYTES - start);
    }
    return ring->area;
}

static uint32_t ringFreeBytes(bufstream *stream) {
    return ((const ring_stream *)stream)->area_bytes;
}

static void ringCommit(bufstream *stream, uint32_t byte_count) {
    ring_stream *ring = (ring_stream *)stream;
    if (ring->area == ring->bounce) {
        size_t start = ring->written % RING_BYTES;
        size_t to_end = byte_count < RING_BYTES - start ? byte_count : RING_BYTES - start;
        memcpy(ring->bytes + start, ring->bounce, to_end);
        memcpy(ring->bytes, ring->bounce + to_end, byte_count - to_end);
        ++ring->bounced;
    }
    pthread_mutex_lock(&ring->mutex);
    ring->written += byte_count;
    pthread_cond_signal(&ring->changed);
    pthread_mutex_unlock(&ring->mutex);
}

static void ringAuxInfo(bufstream *stream, uint32_t byte_count, uint32_t code, void *pointer,
                        int32_t value) {
    (void)stream;
    (void)byte_count;
    (void)code;
    (void)pointer;
    (void)value;
}

/* An empty ring for the output of these settings. */
static void openRing(ring_stream *ring, const audio_converter_settings *settings) {
    static const bufstream operations = {ringFreeBytes, ringReserve, ringCommit,
                                         NULL,          NULL,        ringAuxInfo};
    uint8_t format = settings->output_format;
    int in_pairs = format == AUDIO_FORMAT_LPCM_PAIRED || format == AUDIO_FORMAT_LPCM_BE;
    memset(ring, 0, sizeof *ring);
    ring->operations = operations;
    ring->unit_bytes = audioConverterSamplesToBytes(
        in_pairs ? 2 : 1, format, settings->output_channels, settings->output_bits_per_sample);
    pthread_mutex_init(&ring->mutex, NULL);
    pthread_cond_init(&ring->changed, NULL);
}

static void closeRing(ring_stream *ring) {
    pthread_cond_destroy(&ring->changed);
    pthread_mutex_destroy(&ring->mutex);
}

/* The writer's wait, outside the library: until a reserve can succeed. */
static void waitForRoom(ring_stream *ring) {
    pthread_mutex_lock(&ring->mutex);
    while (RING_BYTES - (ring->written - ring->taken) < ring->unit_bytes) {
        pthread_cond_wait(&ring->changed, &ring->mutex);
    }
    pthread_mutex_unlock(&ring->mutex);
}

static void endRing(ring_stream *ring) {
    pthread_mutex_lock(&ring->mutex);
    ring->ended = 1;
    pthread_cond_signal(&ring->changed);
    pthread_mutex_unlock(&ring->mutex);
}

/* The reader's side: waits for bytes and takes up to byte_count of them; 0 at the end. */
static size_t takeFromRing(ring_stream *ring, uint8_t *bytes, size_t byte_count) {
    pthread_mutex_lock(&ring->mutex);
    while (ring->written == ring->taken && !ring->ended) {
        pthread_cond_wait(&ring->changed, &ring->mutex);
    }
    size_t count = 0;
    for (; count < byte_count && ring->taken < ring->written; ++count) {
        bytes[count] = ring->bytes[ring->taken++ % RING_BYTES];
    }
    pthread_cond_signal(&ring->changed);
    pthread_mutex_unlock(&ring->mutex);
    return count;
}

#endif
