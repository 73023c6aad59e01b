#include "pipeline/stall.h"

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

// By system call: the C library's own function would tie us to a newer version of it.
uint64_t monotonicTime() {
    timespec now = {};
    syscall(SYS_clock_gettime, CLOCK_MONOTONIC, &now);
    return static_cast<uint64_t>(now.tv_sec) * NANOSECONDS_PER_SECOND +
           static_cast<uint64_t>(now.tv_nsec);
}

} // namespace

bool waitForRoom(stall &waiting) {
    const uint64_t now = monotonicTime();
    if (waiting.passes == 0) {
        waiting.started = now;
    }
    // The passes bound the wait even where the clock cannot be read.
    if (now - waiting.started >= LONGEST_WAIT ||
        waiting.passes >= YIELDING_PASSES + SLEEPING_PASSES) {
        return false;
    }
    if (waiting.passes++ < YIELDING_PASSES) {
        sched_yield();
    } else {
        nanosleep(&ONE_MILLISECOND, nullptr);
    }
    return true;
}
