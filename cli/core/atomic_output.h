// Outputs that appear whole or not at all.
//
// A file is written under a temporary name in its target's directory and
// renamed over the target when complete; a directory is filled under a
// temporary name beside its target and then swapped in. Until then the
// temporary is removed by the destructor (an exception, a failed write) and
// by the SIGINT/SIGTERM handler (Ctrl-C), so no half-written output is ever
// left behind.
//
// Where the output is:
//   - a symbolic link: the file it leads to is replaced (atomically, beside
//     that file) and the link stays;
//   - a device, pipe or socket (/dev/null, a FIFO, /dev/stdout on a terminal
//     or pipe): it is not replaced; the complete output is written into it
//     once it has been made (in a temporary file of the temporary directory);
//   - "-": standard output, the same way. Reports that would go to standard
//     output then go to standard error (report_stream()).
// Temporaries are named ".<name>.radimo-<host>-<pid>.<n>.tmp"; one left
// behind by a process that no longer runs (killed by SIGKILL, a power cut)
// is removed by the next write of the same output on the same host.
#pragma once

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

namespace radimo::cli {

// Installs the SIGINT/SIGTERM handler that removes pending temporaries and
// then ends the process with the signal's default action. SIGPIPE is
// ignored, so a closed pipe is a write error (exit code 4), not a silent end.
void install_interrupt_cleanup();

// Where reports (summaries, tables) go: standard output, or standard error
// once an output is written to standard output.
std::FILE *report_stream();

// Refuses (usage error) an output that is one of the command's inputs, or a
// directory that holds one (a directory output replaces everything in it).
// Inputs reached through symbolic or hard links count as the same. `option`
// names the output in the message ("-o").
void refuse_input_as_output(const std::string &option, const std::filesystem::path &output,
                            const std::vector<std::filesystem::path> &inputs);

class AtomicFile {
public:
    explicit AtomicFile(std::filesystem::path target);
    ~AtomicFile();
    AtomicFile(const AtomicFile &) = delete;
    AtomicFile &operator=(const AtomicFile &) = delete;

    // Where to write: an empty file created for this output.
    const std::filesystem::path &temp_path() const { return temp_; }
    const std::filesystem::path &target() const { return target_; }
    // Whether the target is standard output, a device, pipe or socket
    // (written into, not replaced), by the target's name.
    static bool is_stream(const std::filesystem::path &target);
    // Renames the temporary over the target (or writes it into the stream).
    void commit();

private:
    std::filesystem::path target_;    // as given, for messages
    std::filesystem::path resolved_;  // the file a symbolic link leads to, or the stream
    std::filesystem::path temp_;
    bool stream_ = false;
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
    std::filesystem::path resolved_;  // the directory a symbolic link leads to
    std::filesystem::path temp_;
    int slot_ = -1;
    bool committed_ = false;
};

}  // namespace radimo::cli
