// The viewer's page: the plain HTML, CSS and JavaScript files of cli/view/page, embedded into the
// program at build time (embed_assets.cmake writes them into a generated source file).
#pragma once

#include <span>
#include <string_view>

namespace radimo::cli::view {

struct Asset {
    std::string_view name;  // "index.html", "viewer.js"...
    std::string_view content;
};

// Every embedded file, and the one of that name (nullptr when there is none).
std::span<const Asset> assets();
const Asset *find_asset(std::string_view name);
// The Content-Type of a file by its extension.
std::string_view content_type(std::string_view name);

}  // namespace radimo::cli::view
