// Output files that appear under their name only when they are complete.
#pragma once

#include <string>

// A file without a name until commit(): whatever ends the program, nothing is left behind. Where
// the file system has no such files, one beside the final one that the destructor removes.
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

    // Gives the file its final name and closes it; throws conversion_error when the system
    // reports a late write error.
    void commit();

private:
    void giveName();

    std::string shown_path;
    std::string target_path; // behind symbolic links
    std::string path;        // empty while the file has no name
    int file_descriptor = -1;
};

// Throws conversion_error when a new file could not be put in place of `path`.
void checkWritable(const std::string &path);

// Whether the path is something other than a regular file: a device, a pipe.
bool isSpecialFile(const std::string &path);
