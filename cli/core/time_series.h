// A measurement through time: one row per frame of every region's statistics, written as CSV or
// JSON, summarised (each statistic's extreme and the frame where it happened) and drawn as a chart.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "core/shape_regions.h"

namespace radimo::cli {

struct SeriesRow {
    std::size_t frame = 0;
    std::optional<double> time;  // s, from --fps
    std::string unit;            // of the frame measured, and where it came from (unit_source_key())
    std::string unit_source;
    std::vector<ShapeResult> regions;
};

// The statistics of one region in one row, by column name (degC, K, pixels, positions): its
// object temperatures when it has a scene of its own.
struct SeriesValue {
    const char *name;
    double value;
};
std::vector<SeriesValue> series_values(const ShapeResult &r);

// The rows as JSON records: frame, time_s, unit, unit_source and each region's values by name.
nlohmann::ordered_json series_json(const std::vector<SeriesRow> &rows);
// Writes the rows to `path` (.csv or .json, atomically).
void write_series(const std::string &path, const std::vector<SeriesRow> &rows);
// Prints, for each region, the highest max, lowest min and highest and lowest mean, and their frames.
void print_series_summary(const std::vector<SeriesRow> &rows);
// Each region's max, mean and min against time (or frame) as a PNG chart.
void write_series_chart(const std::string &path, const std::vector<SeriesRow> &rows,
                        const std::string &title);

}  // namespace radimo::cli
