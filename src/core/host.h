#pragma once

#include "zt_trans_audio_converter.h"

// The host's allocator, or the C runtime's.
struct host_memory {
    host_malloc malloc;
    host_free free;
};

// The host's function of a name, or null. The lookup may be null.
template <typename Function>
Function lookupFunction(callback_lookup lookup, const char *name) {
    return lookup == nullptr ? nullptr : reinterpret_cast<Function>(lookup(name));
}
