#include "core/query.h"

#include <cstring>

namespace {

constexpr int32_t QUERY_PROPERTY = 3;
constexpr int32_t QUERY_VERSION = 4;
constexpr int32_t QUERY_PLATFORM = 5;

constexpr int32_t PROPERTY_VALUE = 1;
constexpr char VERSION_TEXT[] = "10.5.18.1082";
constexpr char PLATFORM_TEXT[] = "ZTPLATFORM_X64";

} // namespace

// The texts travel without their terminating NUL.
int32_t audioConverterQuery(int32_t id, void *out) {
    if (out == nullptr) {
        return 1;
    }
    switch (id) {
    case QUERY_VERSION:
        memcpy(out, VERSION_TEXT, sizeof VERSION_TEXT - 1);
        return 0;
    case QUERY_PLATFORM:
        memcpy(out, PLATFORM_TEXT, sizeof PLATFORM_TEXT - 1);
        return 0;
    case QUERY_PROPERTY:
        memcpy(out, &PROPERTY_VALUE, sizeof PROPERTY_VALUE);
        return 0;
    default:
        return 1;
    }
}
