#include "support/test_host.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

thread_local test_host *current = nullptr;

constexpr int FRESH = 0xcd; // what new blocks hold: nothing may count on zeros
constexpr int STALE = 0xdd; // what released blocks hold

// Behind every block, fresh as long as nobody writes there. The address sanitizer watches better.
#if defined(__SANITIZE_ADDRESS__) || defined(ZT_FUZZED)
constexpr size_t GUARD_BYTES = 0;
#else
constexpr size_t GUARD_BYTES = 64;
#endif

bool isFresh(const void *bytes) {
    const auto *byte = static_cast<const uint8_t *>(bytes);
    return std::all_of(byte, byte + GUARD_BYTES, [](uint8_t b) { return b == FRESH; });
}

} // namespace

test_host::~test_host() {
    for (const auto &[pointer, held] : live) {
        free(pointer);
    }
    if (current == this) {
        current = nullptr;
    }
}

callback_lookup test_host::enter() {
    current = this;
    return lookup;
}

std::string test_host::trouble() const {
    std::string text = faults;
    for (const auto &[pointer, held] : live) {
        text += "block " + std::to_string(held.number) + " of " + std::to_string(held.bytes) +
                " bytes was not given back; ";
    }
    return text;
}

host_function test_host::lookup(const char *name) {
    current->asked.emplace_back(name);
    static const std::map<std::string, host_function> functions = {
        {"malloc", reinterpret_cast<host_function>(allocate)},
        {"free", reinterpret_cast<host_function>(release)},
        {"err_printf", reinterpret_cast<host_function>(printError)},
        {"prg_printf", reinterpret_cast<host_function>(printUnexpected)},
        {"wrn_printf", reinterpret_cast<host_function>(printUnexpected)},
        {"inf_printf", reinterpret_cast<host_function>(printUnexpected)},
    };
    const auto found = functions.find(name);
    return found == functions.end() || current->withheld.count(name) != 0 ? nullptr : found->second;
}

void *test_host::allocate(size_t byte_count) {
    test_host &host = *current;
    host.sizes.push_back(byte_count);
    const uint64_t number = host.sizes.size();
    if (number == host.fail_at || byte_count > host.largest_block) {
        return nullptr;
    }
    void *pointer = malloc(byte_count + GUARD_BYTES);
    memset(pointer, FRESH, byte_count + GUARD_BYTES);
    host.live[pointer] = {byte_count, number};
    host.live_bytes += byte_count;
    host.peak_bytes = std::max(host.peak_bytes, host.live_bytes);
    return pointer;
}

void test_host::release(void *pointer) {
    test_host &host = *current;
    const auto found = host.live.find(pointer);
    if (found == host.live.end()) {
        host.faults += pointer == nullptr ? "free of null; " : "free of a block not held; ";
        return;
    }
    if (!isFresh(static_cast<char *>(pointer) + found->second.bytes)) {
        host.faults +=
            "bytes behind block " + std::to_string(found->second.number) + " were written; ";
    }
    host.live_bytes -= found->second.bytes;
    memset(pointer, STALE, found->second.bytes);
    host.live.erase(found);
    free(pointer);
}

int test_host::printError(const char *format, ...) {
    char text[512];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    current->messages.emplace_back(text);
    return 0;
}

int test_host::printUnexpected(const char *format, ...) {
    current->faults += std::string("a printer other than err_printf was called: ") + format + "; ";
    return 0;
}
