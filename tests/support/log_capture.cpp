#include "support/log_capture.h"

#include <cstdarg>
#include <cstdio>
#include <regex>

namespace radimo::test {
namespace {

LogCapture *active_capture = nullptr;

std::string format_message(const char *format, va_list args) {
    va_list copy;
    va_copy(copy, args);
    const int length = std::vsnprintf(nullptr, 0, format, copy);
    va_end(copy);
    if (length < 0) return std::string("<unformattable: ") + format + ">";
    std::string out(static_cast<std::size_t>(length) + 1, '\0');
    std::vsnprintf(out.data(), out.size(), format, args);
    out.resize(static_cast<std::size_t>(length));
    return out;
}

constexpr char kError[] = "error", kDebug[] = "debug";

// The printer installed for one level: formats the line and hands it to the active capture.
template <const char *printer>
void capture(const char *format, ...) {
    va_list args;
    va_start(args, format);
    const std::string line = format_message(format, args);
    va_end(args);
    if (active_capture != nullptr) active_capture->record(printer, line);
}

std::vector<LogLine> select(const std::vector<LogLine> &lines, const std::string &printer) {
    std::vector<LogLine> out;
    for (const LogLine &l : lines)
        if (l.printer == printer) out.push_back(l);
    return out;
}

template <typename F>
std::vector<std::string> each(const std::vector<LogLine> &lines, F field) {
    std::vector<std::string> out;
    for (const LogLine &l : lines) out.push_back(field(l));
    return out;
}

}  // namespace

LogCapture::LogCapture()
    : saved_error_(radimo_error_print), saved_debug_(radimo_debug_print), saved_active_(active_capture) {
    active_capture = this;
    radimo_error_print = capture<kError>;
    radimo_debug_print = capture<kDebug>;
}

LogCapture::~LogCapture() {
    radimo_error_print = saved_error_;
    radimo_debug_print = saved_debug_;
    active_capture = saved_active_;
}

void LogCapture::record(const char *printer, const std::string &formatted) {
    static const std::regex prefix(R"(^libradimo (error|debug) \[([^:\]]*):(-?\d+)/([^\]]*)\] )");
    LogLine line;
    line.printer = printer;
    line.raw = formatted;
    std::smatch m;
    if (std::regex_search(formatted, m, prefix)) {
        line.level = m[1];
        line.module = m[2];
        line.line = std::stoi(m[3]);
        line.function = m[4];
        line.text = m.suffix();
    } else {
        line.text = formatted;
    }
    // A line must go through the printer its prefix names.
    EXPECT_EQ(line.level, line.printer) << "message routed through the wrong printer: " << formatted;
    lines_.push_back(std::move(line));
}

std::vector<LogLine> LogCapture::errors() const {
    return select(lines_, kError);
}
std::vector<LogLine> LogCapture::debugs() const {
    return select(lines_, kDebug);
}
std::vector<std::string> LogCapture::error_texts() const {
    return each(errors(), [](const LogLine &l) { return l.text; });
}
std::vector<std::string> LogCapture::debug_texts() const {
    return each(debugs(), [](const LogLine &l) { return l.text; });
}
std::vector<std::string> LogCapture::error_trace() const {
    return each(errors(), [](const LogLine &l) { return l.where_what(); });
}
std::vector<std::string> LogCapture::printed() const {
    return each(lines_, [](const LogLine &l) { return l.printer + " " + l.where_what(); });
}

}  // namespace radimo::test
