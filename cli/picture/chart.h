// A chart of temperatures through time: each series a line against time, with labelled axes
// (time in s or frame number, temperature in degC or a difference in K) and a legend, rendered
// with Cairo into PNG bytes in memory.
#pragma once

#include <string>
#include <vector>

namespace radimo::cli {

struct ChartSeries {
    std::string label;      // "mug max"
    std::vector<double> y;  // degC, one per x; NaN leaves a gap
    int colour = 0;         // index of the region (one hue per region)
    int style = 0;          // 0 solid (max), 1 dashed (mean), 2 dotted (min)
};

struct Chart {
    std::vector<double> x;  // seconds or frame numbers, ascending
    std::string x_label;    // "time (s)" or "frame"
    bool whole_x = false;   // x counts frames: its ticks fall on whole numbers
    std::string y_label;    // "temperature (°C)" or "ΔT (K)"
    std::string title;
    std::vector<ChartSeries> series;
    int width = 1000, height = 560;
};

// Throws std::runtime_error for an empty chart or a drawing failure.
std::vector<unsigned char> render_chart(const Chart &chart);

}  // namespace radimo::cli
