#include "core/time_series.h"

#include <cmath>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "core/atomic_output.h"
#include "core/errors.h"
#include "picture/chart.h"

namespace radimo::cli {
namespace {

std::string number(double v) {
    char text[32];
    std::snprintf(text, sizeof text, v == std::floor(v) && std::fabs(v) < 1e9 ? "%.0f" : "%.4f", v);
    return text;
}

}  // namespace

std::vector<SeriesValue> series_values(const ShapeResult &r) {
    const PixelStatistics &p = r.stats.pixels;
    const point_t max_at = r.object ? r.object->max_point : p.hottest.at;
    const point_t min_at = r.object ? r.object->min_point : p.coldest.at;
    // Temperatures in degC ("_c"), a difference in K ("_k").
    const bool k = r.scale.difference;
    return {{k ? "max_k" : "max_c", r.max_celsius()},          {"max_x", static_cast<double>(max_at.x)},
            {"max_y", static_cast<double>(max_at.y)},          {k ? "min_k" : "min_c", r.min_celsius()},
            {"min_x", static_cast<double>(min_at.x)},          {"min_y", static_cast<double>(min_at.y)},
            {k ? "mean_k" : "mean_c", r.mean_celsius()},       {"sd_k", r.stddev_kelvin()},
            {k ? "median_k" : "median_c", r.median_celsius()}, {"pixels", static_cast<double>(p.count)}};
}

nlohmann::ordered_json series_json(const std::vector<SeriesRow> &rows) {
    nlohmann::ordered_json doc = nlohmann::ordered_json::array();
    for (const SeriesRow &row : rows) {
        nlohmann::ordered_json j = {{"frame", row.frame}};
        if (row.time) j["time_s"] = *row.time;
        j["unit"] = row.unit;
        j["unit_source"] = row.unit_source;
        for (const ShapeResult &r : row.regions) {
            nlohmann::ordered_json v;
            for (const SeriesValue &x : series_values(r)) v[x.name] = x.value;
            j["regions"][r.label] = v;
        }
        doc.push_back(j);
    }
    return doc;
}

void write_series(const std::string &path, const std::vector<SeriesRow> &rows) {
    const bool json = path.size() >= 5 && path.compare(path.size() - 5, 5, ".json") == 0;
    if (!json && !(path.size() >= 4 && path.compare(path.size() - 4, 4, ".csv") == 0))
        fail_usage(path + ": the time series is written as .csv or .json");
    std::string text;
    if (json) {
        text = series_json(rows).dump(2) + "\n";
    } else {
        text = "frame";
        if (!rows.empty() && rows[0].time) text += ",time_s";
        text += ",unit,unit_source";
        if (!rows.empty())
            for (const ShapeResult &r : rows[0].regions)
                for (const SeriesValue &x : series_values(r)) text += "," + r.label + "." + x.name;
        text += "\n";
        for (const SeriesRow &row : rows) {
            text += std::to_string(row.frame);
            if (row.time) text += "," + number(*row.time);
            text += "," + row.unit + "," + row.unit_source;
            for (const ShapeResult &r : row.regions)
                for (const SeriesValue &x : series_values(r)) text += "," + number(x.value);
            text += "\n";
        }
    }
    write_file_atomically(path, text.data(), text.size());
}

void print_series_summary(const std::vector<SeriesRow> &rows) {
    if (rows.empty()) return;
    std::printf("summary over %zu frame(s):\n", rows.size());
    for (std::size_t k = 0; k < rows[0].regions.size(); ++k) {
        struct Extreme {
            double value;
            std::size_t frame;
        };
        Extreme hottest{-INFINITY, 0}, coldest{INFINITY, 0}, mean_hi{-INFINITY, 0}, mean_lo{INFINITY, 0};
        for (const SeriesRow &row : rows) {
            const ShapeResult &r = row.regions[k];
            // Ties keep the later frame, as positions keep the later pixel.
            if (r.max_celsius() >= hottest.value) hottest = {r.max_celsius(), row.frame};
            if (r.min_celsius() <= coldest.value) coldest = {r.min_celsius(), row.frame};
            if (r.mean_celsius() >= mean_hi.value) mean_hi = {r.mean_celsius(), row.frame};
            if (r.mean_celsius() <= mean_lo.value) mean_lo = {r.mean_celsius(), row.frame};
        }
        const ValueScale &scale = rows[0].regions[k].scale;
        const auto text = [&](double v) { return reading_text(scale, v); };
        std::printf(
            "  %-8s max %10s (frame %zu)  min %10s (frame %zu)  mean %10s .. %10s (frames %zu, %zu)\n",
            rows[0].regions[k].label.c_str(), text(hottest.value).c_str(), hottest.frame,
            text(coldest.value).c_str(), coldest.frame, text(mean_lo.value).c_str(),
            text(mean_hi.value).c_str(), mean_lo.frame, mean_hi.frame);
    }
}

void write_series_chart(const std::string &path, const std::vector<SeriesRow> &rows,
                        const std::string &title) {
    if (rows.empty()) fail_usage("--plot: no frame to draw");
    Chart chart;
    chart.title = title;
    chart.x_label = rows[0].time ? "time (s)" : "frame";
    const bool difference = !rows[0].regions.empty() && rows[0].regions[0].scale.difference;
    chart.y_label = difference ? "\u0394T (K)" : "temperature (\u00b0C)";
    chart.whole_x = !rows[0].time;
    for (const SeriesRow &row : rows)
        chart.x.push_back(row.time ? *row.time : static_cast<double>(row.frame));
    const char *names[3] = {"max", "mean", "min"};
    for (std::size_t k = 0; k < rows[0].regions.size(); ++k) {
        for (int s = 0; s < 3; ++s) {
            ChartSeries series{rows[0].regions[k].label + " " + names[s], {}, static_cast<int>(k), s};
            for (const SeriesRow &row : rows) {
                const ShapeResult &r = row.regions[k];
                series.y.push_back(s == 0 ? r.max_celsius() : s == 1 ? r.mean_celsius() : r.min_celsius());
            }
            chart.series.push_back(std::move(series));
        }
    }
    std::vector<unsigned char> png;
    try {
        png = render_chart(chart);
    } catch (const std::runtime_error &e) {
        fail_usage(std::string("cannot draw the chart: ") + e.what());
    }
    write_file_atomically(path, png.data(), png.size());
}

}  // namespace radimo::cli
