#include "temporary_file.h"

#include "errors.h"

#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace {

constexpr int ENDING_SIGNALS[] = {SIGINT, SIGTERM, SIGHUP};

// What the signal handler removes. A slot is changed only while the signals are blocked, and
// is free while its text is empty.
std::array<std::array<char, PATH_MAX>, 16> unfinished_paths;

void removeUnfinished(int signal_number) {
    for (const auto &path : unfinished_paths) {
        if (path[0] != '\0') {
            unlink(path.data());
        }
    }
    // The handler is installed for one signal only: this one now ends the program.
    raise(signal_number);
}

class blocked_signals {
public:
    blocked_signals() {
        sigset_t ending;
        sigemptyset(&ending);
        for (const int signal_number : ENDING_SIGNALS) {
            sigaddset(&ending, signal_number);
        }
        sigprocmask(SIG_BLOCK, &ending, &before);
    }
    ~blocked_signals() {
        sigprocmask(SIG_SETMASK, &before, nullptr);
    }
    blocked_signals(const blocked_signals &) = delete;
    blocked_signals &operator=(const blocked_signals &) = delete;

private:
    sigset_t before;
};

int claimSlot(const std::string &path) {
    for (size_t slot = 0; slot < unfinished_paths.size(); ++slot) {
        if (unfinished_paths[slot][0] != '\0' || path.size() >= PATH_MAX) {
            continue;
        }
        std::memcpy(unfinished_paths[slot].data(), path.c_str(), path.size() + 1);
        return static_cast<int>(slot);
    }
    return -1;
}

void releaseSlot(int slot) {
    if (slot >= 0) {
        unfinished_paths[static_cast<size_t>(slot)][0] = '\0';
    }
}

std::string resolveLinks(const std::string &path) {
    char *resolved = realpath(path.c_str(), nullptr);
    std::string target = resolved ? resolved : path;
    std::free(resolved);
    return target;
}

std::string folderOf(const std::string &path) {
    const size_t slash = path.rfind('/');
    if (slash == std::string::npos) {
        return ".";
    }
    return slash == 0 ? "/" : path.substr(0, slash);
}

conversion_error folderError(const std::string &path, const std::string &target) {
    return systemError(path, "cannot write in the folder '" + folderOf(target) + "'");
}

// The permissions of the file that is replaced, or those of any new file.
mode_t outputMode(const std::string &path) {
    struct stat status {};
    if (stat(path.c_str(), &status) == 0) {
        return status.st_mode & 07777;
    }
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

} // namespace

void installSignalHandlers() {
    struct sigaction action {};
    action.sa_handler = removeUnfinished;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    for (const int signal_number : ENDING_SIGNALS) {
        struct sigaction before {};
        sigaction(signal_number, nullptr, &before);
        if (before.sa_handler != SIG_IGN) {
            sigaction(signal_number, &action, nullptr);
        }
    }
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

void checkWritable(const std::string &path) {
    struct stat status {};
    if (stat(path.c_str(), &status) == 0) {
        if (S_ISDIR(status.st_mode)) {
            throw conversion_error(path + ": is a directory");
        }
        if (access(path.c_str(), W_OK) != 0) {
            throw systemError(path, "cannot write");
        }
    }
    const std::string target = resolveLinks(path);
    if (!isSpecialFile(path) && access(folderOf(target).c_str(), W_OK | X_OK) != 0) {
        throw folderError(path, target);
    }
}

bool isSpecialFile(const std::string &path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode);
}

temporary_file::temporary_file(const std::string &final_path)
    : shown_path(final_path), target_path(resolveLinks(final_path)), path(target_path + ".XXXXXX") {
    checkWritable(final_path);
    const blocked_signals blocked;
    file_descriptor = mkstemp(path.data());
    if (file_descriptor < 0) {
        throw folderError(shown_path, target_path);
    }
    slot = claimSlot(path);
    fchmod(file_descriptor, outputMode(target_path));
}

temporary_file::~temporary_file() {
    const blocked_signals blocked;
    if (file_descriptor >= 0) {
        ::close(file_descriptor);
    }
    if (!path.empty()) {
        unlink(path.c_str());
    }
    releaseSlot(slot);
}

void temporary_file::close() {
    if (::close(std::exchange(file_descriptor, -1)) != 0) {
        throw systemError(shown_path, "cannot write");
    }
}

void temporary_file::commit() {
    const blocked_signals blocked;
    if (rename(path.c_str(), target_path.c_str()) != 0) {
        throw systemError(shown_path, "cannot write");
    }
    path.clear();
    releaseSlot(std::exchange(slot, -1));
}
