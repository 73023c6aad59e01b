// Output files that appear under their name only when they are complete.
#pragma once

#include <string>

// Removes unfinished output files when SIGINT, SIGTERM or SIGHUP ends the program, and turns
// SIGPIPE and SIGXFSZ into ordinary write errors. Called once, before the first file.
void installSignalHandlers();

// A file beside the final one, removed unless commit() renames it. At most 16 at a time.
class temporary_file {
public:
    // Throws conversion_error when the final name could not be written.
    explicit temporary_file(const std::string &final_path);
    ~temporary_file();
    temporary_file(const temporary_file &) = delete;
    temporary_file &operator=(const temporary_file &) = delete;

    int descriptor() const {
        return file_descriptor;
    }

    // Closes the file; throws conversion_error when the system reports a late write error.
    void close();

    // Gives the closed file its final name.
    void commit();

private:
    std::string shown_path;
    std::string target_path; // behind symbolic links
    std::string path;
    int file_descriptor = -1;
    int slot = -1; // in the list that the signal handler removes
};

// Throws conversion_error when a new file could not be put in place of `path`.
void checkWritable(const std::string &path);

// Whether the path is something other than a regular file: a device, a pipe.
bool isSpecialFile(const std::string &path);
