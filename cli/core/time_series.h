// A measurement through time: one row per frame of every region's statistics, written as CSV or
// JSON, summarised (each statistic's extreme and the frame where it happened) and drawn as a chart.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "core/shape_regions.h"

namespace radimo::cli {

struct SeriesRow {
    std::size_t frame = 0;
    std::optional<double> time;  // s, from --fps
    std::vector<ShapeResult> regions;
};

// The statistics of one region in one row, by column name (degC, K, pixels, positions).
struct SeriesValue {
    const char *name;
    double value;
};
std::vector<SeriesValue> series_values(const ShapeResult &r);

// Writes the rows to `path` (.csv or .json, atomically).
void write_series(const std::string &path, const std::vector<SeriesRow> &rows);
// Prints, for each region, the highest max, lowest min and highest and lowest mean, and their frames.
void print_series_summary(const std::vector<SeriesRow> &rows);
// Each region's max, mean and min against time (or frame) as a PNG chart.
void write_series_chart(const std::string &path, const std::vector<SeriesRow> &rows,
                        const std::string &title);

}  // namespace radimo::cli
