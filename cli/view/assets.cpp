#include "view/assets.h"

#include <algorithm>

namespace radimo::cli::view {

const Asset *find_asset(std::string_view name) {
    for (const Asset &a : assets())
        if (a.name == name) return &a;
    return nullptr;
}

std::string_view content_type(std::string_view name) {
    static constexpr std::pair<std::string_view, std::string_view> kTypes[] = {
        {".html", "text/html; charset=utf-8"},
        {".css", "text/css; charset=utf-8"},
        {".js", "text/javascript; charset=utf-8"},
        {".svg", "image/svg+xml"},
    };
    for (const auto &[extension, type] : kTypes)
        if (name.size() > extension.size() && name.ends_with(extension)) return type;
    return "application/octet-stream";
}

}  // namespace radimo::cli::view
