// The two ways in which a run ends badly; main turns them into exit statuses.
#pragma once

#include <cerrno>
#include <cstring>
#include <iostream>
#include <stdexcept>
#include <string>

inline constexpr const char *PROGRAM_NAME = "zt-audio-convert";

enum exit_status { EXIT_DONE = 0, EXIT_CONVERSION_FAILED = 1, EXIT_USAGE = 2 };

// The options were understood, the work could not be done.
struct conversion_error : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// The options are wrong; the message is followed by the usage line.
struct usage_error : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// "NAME: what" with the text of errno.
inline conversion_error systemError(const std::string &name, const std::string &what) {
    const int code = errno;
    return conversion_error(name + ": " + what + ": " + std::strerror(code));
}

// A line on standard error for something that did not stop the run.
inline void warn(const std::string &text) {
    std::cerr << PROGRAM_NAME << ": warning: " << text << "\n";
}
