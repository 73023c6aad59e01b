#include "errors.h"

#include <cerrno>
#include <cstring>

conversion_error systemError(const std::string &name, const std::string &what) {
    const int code = errno;
    return conversion_error(name + ": " + what + ": " + std::strerror(code));
}
