// Errors of the radimo tool and their exit codes, and the bridge from the
// library's result codes and messages to them.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

namespace radimo::cli {

// Documented exit codes of every command.
enum class Exit : int {
    kOk = 0,
    kUsage = 2,    // bad arguments or bad input data (profile, frame file, coordinates)
    kLibrary = 3,  // a library call failed: its code name and message are printed
    kIo = 4,       // a file could not be read or written
};

// A failure that ends the command with one line on standard error.
class Error : public std::runtime_error {
public:
    Error(Exit exit, const std::string &message) : std::runtime_error(message), exit_(exit) {}
    Exit exit() const { return exit_; }

private:
    Exit exit_;
};

[[noreturn]] inline void fail_usage(const std::string &message) {
    throw Error(Exit::kUsage, message);
}
[[noreturn]] inline void fail_io(const std::string &message) {
    throw Error(Exit::kIo, message);
}

// Routes the library's error lines to this process through a line sink: each
// thread's are kept until its next check_library() and echoed on standard
// error when `verbose`.
void install_library_printer(bool verbose);

// Throws an Exit::kLibrary error naming the call, the code and the library's
// first message when `code` is not RADIMO_SUCCESS; forgets the messages.
void check_library(int code, std::string_view call);

}  // namespace radimo::cli
