// Parsing of the comma-separated numeric arguments shared by the commands
// ("X,Y", "LO,HI", "WxH"), with one clear usage error naming the option.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace radimo::cli {

// Exactly `count` numbers separated by commas; otherwise a usage error naming `option`.
std::vector<double> parse_numbers(const std::string &option, const std::string &text, std::size_t count);
std::vector<long> parse_integers(const std::string &option, const std::string &text, std::size_t count);

// The temperatures in degC that a 1/16 K value can stand for.
constexpr double kColdestCelsius = -273.15;
constexpr double kHottestCelsius = 65535.0 / 16.0 - 273.15;

// `value`, given to `option`, unless it is NaN, infinite or outside lo..hi
// (then a usage error naming the option, the value and the range).
double checked_number(const std::string &option, double value, double lo, double hi, const char *unit = "");
// Exactly `count` temperatures in degC, each within kColdestCelsius..kHottestCelsius.
std::vector<double> parse_temperatures(const std::string &option, const std::string &text, std::size_t count);
// "LO,HI": two such temperatures with LO below HI (--range, --isotherm).
std::pair<float, float> parse_interval(const std::string &option, const std::string &text);

struct FrameSize {
    int width = 0;
    int height = 0;
};
// "640x512".
FrameSize parse_size(const std::string &option, const std::string &text);
// The same, or nullopt for an empty text (the option was not given).
std::optional<FrameSize> parse_optional_size(const std::string &option, const std::string &text);

}  // namespace radimo::cli
