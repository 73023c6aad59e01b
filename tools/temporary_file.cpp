#include "temporary_file.h"

#include "errors.h"

#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace {

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
    : shown_path(final_path), target_path(resolveLinks(final_path)) {
    checkWritable(final_path);
    file_descriptor = open(folderOf(target_path).c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
    if (file_descriptor < 0) {
        path = target_path + ".XXXXXX";
        file_descriptor = mkstemp(path.data());
        if (file_descriptor < 0) {
            throw folderError(shown_path, target_path);
        }
    }
    fchmod(file_descriptor, outputMode(target_path));
}

temporary_file::~temporary_file() {
    if (file_descriptor >= 0) {
        close(file_descriptor);
    }
    if (!path.empty()) {
        unlink(path.c_str());
    }
}

// A link cannot replace a file: then the file gets a name beside it for the time of a rename.
void temporary_file::giveName() {
    const std::string self = "/proc/self/fd/" + std::to_string(file_descriptor);
    const auto link = [&] {
        return linkat(AT_FDCWD, self.c_str(), AT_FDCWD, path.c_str(), AT_SYMLINK_FOLLOW) == 0;
    };
    path = target_path;
    if (link()) {
        return;
    }
    path.append(".").append(std::to_string(getpid()));
    if (errno != EEXIST || !link()) {
        path.clear();
        throw systemError(shown_path, "cannot write");
    }
}

void temporary_file::commit() {
    if (path.empty()) {
        giveName();
    }
    if (close(std::exchange(file_descriptor, -1)) != 0 ||
        (path != target_path && rename(path.c_str(), target_path.c_str()) != 0)) {
        throw systemError(shown_path, "cannot write");
    }
    path.clear();
}
