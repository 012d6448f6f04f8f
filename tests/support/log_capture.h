// Message-capturing test support shared by every test of the library.
//
// LogCapture installs recording printers into radimo_error_print and
// radimo_debug_print for its lifetime and restores the previous printers
// afterwards. Each recorded line is split into the fields of the library's
// message prefix "libradimo <level> [<module>:<line>/<function>] <text>",
// so tests can assert exact texts, module paths and function names.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "libradimo.h"

namespace radimo::test {

struct LogLine {
    std::string printer;   // "error" or "debug": which pointer the line went through
    std::string level;     // "error" or "debug" as spelled in the prefix ("" if unparsed)
    std::string module;    // e.g. "src/temp_correct"
    int line = 0;          // source line number
    std::string function;  // emitting function's name
    std::string text;      // message after the prefix, with its line feeds
    std::string raw;       // the whole formatted line

    // "<module>/<function>: <text>", the form most assertions compare against.
    std::string where_what() const { return module + "/" + function + ": " + text; }
};

class LogCapture {
public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture &) = delete;
    LogCapture &operator=(const LogCapture &) = delete;

    const std::vector<LogLine> &lines() const { return lines_; }
    std::vector<LogLine> errors() const;
    std::vector<LogLine> debugs() const;
    // Texts only, in order.
    std::vector<std::string> error_texts() const;
    std::vector<std::string> debug_texts() const;
    // where_what() of every error line, in order.
    std::vector<std::string> error_trace() const;
    // "<printer> <where_what()>" of every line, errors and debugs, in order.
    std::vector<std::string> printed() const;
    void clear() { lines_.clear(); }

    void record(const char *printer, const std::string &formatted);

private:
    radimo_printer_t saved_error_;
    radimo_printer_t saved_debug_;
    LogCapture *saved_active_;
    std::vector<LogLine> lines_;
};

// Fixture for tests that assert on messages: a capture lives for each test.
class LoggedTest : public ::testing::Test {
protected:
    LogCapture log;
};

}  // namespace radimo::test
