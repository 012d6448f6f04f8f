#include "core/errors.h"

#include <cstdarg>
#include <cstdio>
#include <string>
#include <vector>

#include "libradimo.h"

namespace radimo::cli {
namespace {

// Library messages since the last check; the tool is single-threaded.
std::vector<std::string> g_messages;
bool g_verbose = false;

// The text after the "libradimo error [module:line/function] " prefix, without its newline.
std::string message_text(const char *formatted) {
    std::string text(formatted);
    if (const auto close = text.find("] "); text.rfind("libradimo ", 0) == 0 && close != std::string::npos)
        text.erase(0, close + 2);
    while (!text.empty() && (text.back() == '\n' || text.back() == ' ')) text.pop_back();
    return text;
}

void printer(const char *format, ...) {
    char buffer[512];
    va_list args;
    va_start(args, format);
    std::vsnprintf(buffer, sizeof buffer, format, args);
    va_end(args);
    if (g_verbose) std::fputs(buffer, stderr);
    if (g_messages.size() < 16) g_messages.push_back(message_text(buffer));
}

}  // namespace

const char *result_code_name(int code) {
    switch (code) {
        case RADIMO_SUCCESS:
            return "RADIMO_SUCCESS";
        case RADIMO_ERR_PARAM:
            return "RADIMO_ERR_PARAM";
        case RADIMO_ERR_ALLOC:
            return "RADIMO_ERR_ALLOC";
        case RADIMO_ERR_FILE:
            return "RADIMO_ERR_FILE";
        case RADIMO_ERR_SQUARE_ARRAY:
            return "RADIMO_ERR_SQUARE_ARRAY";
        case RADIMO_ERR_AVERAGE:
            return "RADIMO_ERR_AVERAGE";
        case RADIMO_ERR_HORZ_NEIGHB:
            return "RADIMO_ERR_HORZ_NEIGHB";
        case RADIMO_ERR_VERT_NEIGHB:
            return "RADIMO_ERR_VERT_NEIGHB";
        case RADIMO_ERR_SLOPE_NEIGHB:
            return "RADIMO_ERR_SLOPE_NEIGHB";
        case RADIMO_ERR_POINT_SET:
            return "RADIMO_ERR_POINT_SET";
        case RADIMO_ERR_HORZ_LINE:
            return "RADIMO_ERR_HORZ_LINE";
        case RADIMO_ERR_VERT_LINE:
            return "RADIMO_ERR_VERT_LINE";
        case RADIMO_ERR_SLOPE_LINE:
            return "RADIMO_ERR_SLOPE_LINE";
        case RADIMO_ERR_REVERSE_TEMP:
            return "RADIMO_ERR_REVERSE_TEMP";
        case RADIMO_ERR_REVERSE_NUC:
            return "RADIMO_ERR_REVERSE_NUC";
        case RADIMO_ERR_ENV_FACTOR:
            return "RADIMO_ERR_ENV_FACTOR";
        case RADIMO_ERR_KTBT_INDEX:
            return "RADIMO_ERR_KTBT_INDEX";
        case RADIMO_ERR_KTBT_CORRECT:
            return "RADIMO_ERR_KTBT_CORRECT";
        case RADIMO_ERR_KTBT_UPDATE:
            return "RADIMO_ERR_KTBT_UPDATE";
        case RADIMO_ERR_SITF_OFFSET:
            return "RADIMO_ERR_SITF_OFFSET";
        case RADIMO_ERR_HUM_INDEX:
            return "RADIMO_ERR_HUM_INDEX";
        case RADIMO_ERR_TEMP_INDEX:
            return "RADIMO_ERR_TEMP_INDEX";
        case RADIMO_ERR_DIST_INDEX:
            return "RADIMO_ERR_DIST_INDEX";
        case RADIMO_ERR_READ_EMS:
            return "RADIMO_ERR_READ_EMS";
        case RADIMO_ERR_READ_TAU:
            return "RADIMO_ERR_READ_TAU";
        case RADIMO_ERR_HUM_CORRECT:
            return "RADIMO_ERR_HUM_CORRECT";
        case RADIMO_ERR_TAU_TABLE:
            return "RADIMO_ERR_TAU_TABLE";
        case RADIMO_ERR_TEMP_CORRECT:
            return "RADIMO_ERR_TEMP_CORRECT";
        case RADIMO_ERR_REVERSE_TEMP_CORRECT:
            return "RADIMO_ERR_REVERSE_TEMP_CORRECT";
        case RADIMO_ERR_VAPOR_PRESSURE:
            return "RADIMO_ERR_VAPOR_PRESSURE";
        case RADIMO_ERR_RECALC_TAU:
            return "RADIMO_ERR_RECALC_TAU";
        case RADIMO_ERR_VERSION:
            return "RADIMO_ERR_VERSION";
        case RADIMO_ERR_TABLE_CALC:
            return "RADIMO_ERR_TABLE_CALC";
        case RADIMO_ERR_REMAP:
            return "RADIMO_ERR_REMAP";
        default:
            return "unknown result code";
    }
}

void install_library_printer(bool verbose) {
    g_verbose = verbose;
    radimo_log_register(1);  // errors on, debug off; then take the errors over
    radimo_error_print = printer;
}

void check_library(int code, std::string_view call) {
    std::vector<std::string> messages;
    messages.swap(g_messages);
    if (code == RADIMO_SUCCESS) return;
    std::string line =
        std::string(call) + " failed: " + result_code_name(code) + " (" + std::to_string(code) + ")";
    // The innermost message says what was wrong; the callers' lines only repeat that it failed.
    if (!messages.empty()) line += ": " + messages.front();
    throw Error(Exit::kLibrary, line);
}

}  // namespace radimo::cli
