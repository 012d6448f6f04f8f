// Outputs that appear whole or not at all.
//
// A file is written under a temporary name in its target's directory and
// renamed over the target when complete; a directory is filled under a
// temporary name beside its target and then swapped in. Until then the
// temporary is removed by the destructor (an exception, a failed write) and
// by the SIGINT/SIGTERM handler (Ctrl-C), so no half-written output is ever
// left behind.
#pragma once

#include <filesystem>
#include <string>

namespace radimo::cli {

// Installs the SIGINT/SIGTERM handler that removes pending temporaries and
// then ends the process with the signal's default action.
void install_interrupt_cleanup();

class AtomicFile {
public:
    explicit AtomicFile(std::filesystem::path target);
    ~AtomicFile();
    AtomicFile(const AtomicFile &) = delete;
    AtomicFile &operator=(const AtomicFile &) = delete;

    // Where to write: an empty file created for this output.
    const std::filesystem::path &temp_path() const { return temp_; }
    const std::filesystem::path &target() const { return target_; }
    // Renames the temporary over the target.
    void commit();

private:
    std::filesystem::path target_;
    std::filesystem::path temp_;
    int slot_ = -1;
    bool committed_ = false;
};

// Writes a whole buffer through an AtomicFile.
void write_file_atomically(const std::filesystem::path &target, const void *data, std::size_t size);

class AtomicDirectory {
public:
    explicit AtomicDirectory(std::filesystem::path target);
    ~AtomicDirectory();
    AtomicDirectory(const AtomicDirectory &) = delete;
    AtomicDirectory &operator=(const AtomicDirectory &) = delete;

    // Path of a file to be created inside the new directory (registered for cleanup).
    std::filesystem::path file(const std::string &name);
    // Puts the directory in place, replacing an existing one at the target.
    void commit();

private:
    std::filesystem::path target_;
    std::filesystem::path temp_;
    int slot_ = -1;
    bool committed_ = false;
};

}  // namespace radimo::cli
