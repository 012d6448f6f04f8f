// Temporary stand-in for the picture module (cli/picture), same interface.
#pragma once
#include <cstdint>
#include <span>
#include <string_view>

namespace radimo::cli {
struct Rgb {
    uint8_t r, g, b;
};
class Palette {
public:
    explicit Palette(std::string_view name) : name_(name) {}
    std::string_view name() const { return name_; }
    Rgb at(double t) const;

private:
    std::string_view name_;
};
std::span<const std::string_view> palette_names();
const Palette *find_palette(std::string_view name);
}  // namespace radimo::cli
