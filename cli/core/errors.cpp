#include "core/errors.h"

#include <cstdio>
#include <string>
#include <vector>

#include "libradimo.h"

namespace radimo::cli {
namespace {

// Library messages since the last check, of this thread's calls: the library logs on the thread
// that calls it, and the viewer's server threads convert and measure at the same time.
thread_local std::vector<std::string> g_messages;
bool g_verbose = false;

// The text after the "libradimo error [module:line/function] " prefix, without its newline.
std::string message_text(const char *formatted) {
    std::string text(formatted);
    if (const auto close = text.find("] "); text.rfind("libradimo ", 0) == 0 && close != std::string::npos)
        text.erase(0, close + 2);
    while (!text.empty() && (text.back() == '\n' || text.back() == ' ')) text.pop_back();
    return text;
}

// Receives each library error line (the tool registers for errors only).
void error_line(void *, int, const char *line) {
    if (g_verbose) std::fputs(line, stderr);
    if (g_messages.size() < 16) g_messages.push_back(message_text(line));
}

}  // namespace

void install_library_printer(bool verbose) {
    g_verbose = verbose;
    radimo_log_sink_add(error_line, nullptr, RADIMO_LOG_ERROR);
}

void check_library(int code, std::string_view call) {
    std::vector<std::string> messages;
    messages.swap(g_messages);
    if (code == RADIMO_SUCCESS) return;
    std::string line =
        std::string(call) + " failed: " + radimo_result_name(code) + " (" + std::to_string(code) + ")";
    // The innermost message says what was wrong; the callers' lines only repeat that it failed.
    if (!messages.empty()) line += ": " + messages.front();
    throw Error(Exit::kLibrary, line);
}

}  // namespace radimo::cli
