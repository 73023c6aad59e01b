#include "pipeline/room_wait.h"

#include <ctime>
#include <sched.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

constexpr uint32_t YIELDING_PASSES = 64;
constexpr uint32_t SLEEPING_PASSES = 2000; // as many milliseconds as the longest wait has
constexpr uint64_t NANOSECONDS_PER_SECOND = 1'000'000'000;
constexpr uint64_t LONGEST_WAIT = 2 * NANOSECONDS_PER_SECOND;
constexpr timespec ONE_MILLISECOND = {0, 1'000'000};

// False when the clock cannot be read. By system call: the C library's own function would tie us to
// a newer version of it.
bool readMonotonicTime(uint64_t &nanoseconds) {
    timespec now = {};
    if (syscall(SYS_clock_gettime, CLOCK_MONOTONIC, &now) != 0) {
        return false;
    }
    nanoseconds = static_cast<uint64_t>(now.tv_sec) * NANOSECONDS_PER_SECOND +
                  static_cast<uint64_t>(now.tv_nsec);
    return true;
}

// Signals cut sleeps short, so passes tell the time only where no clock does.
bool hasTimedOut(room_wait &waiting) {
    uint64_t now;
    if (!readMonotonicTime(now)) {
        return waiting.passes >= YIELDING_PASSES + SLEEPING_PASSES;
    }
    if (waiting.started == 0) {
        waiting.started = now;
    }
    return now - waiting.started >= LONGEST_WAIT;
}

} // namespace

bool waitForRoom(room_wait &waiting) {
    if (hasTimedOut(waiting)) {
        return false;
    }
    if (waiting.passes < YIELDING_PASSES) {
        sched_yield();
    } else {
        nanosleep(&ONE_MILLISECOND, nullptr);
    }
    ++waiting.passes;
    return true;
}
