#pragma once

#include <cstdint>

// How long a writer has waited without progress. All zero when it starts to wait.
struct room_wait {
    uint32_t passes;
    uint64_t started; // monotonic, nanoseconds
};

// Gives the stream time to make room: first the rest of the time slice, later a millisecond.
// Returns false once 2 seconds have passed since the wait began.
bool waitForRoom(room_wait &waiting);
