// The measurements of regions as `radimo measure` reports them: one JSON
// record per frame and per region (statistics.h renders the regions), one
// text row per region, and the CSV of the records. The measure command and
// the viewer's exports print the same records.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "core/conversion.h"
#include "core/shape_regions.h"
#include "core/statistics.h"

namespace radimo::cli {

// How a frame's measured temperatures came from its samples: "centikelvin (1/100 K, given by
// --unit)", "nuc (NUC count, declared by the file), through the camera at vtemp 7200 to kelvin16",
// with the rounding to 1/16 K and the scene correction where they apply.
std::string temperatures_from(const Frame &frame, const FrameConverter &converter);
// "measured in steps of 0.001 K" for a float frame (measured on its grid), else empty.
std::string grid_note(const MeasuredFrame &measured);

// The record of one frame: {"frame": its index in its file, its size, "input_unit" and
// "input_unit_source" (the file's samples), "unit" (the measured temperatures'), "derivation"
// (temperatures_from()), "vtemp" (of a raw frame), "grid_step_k" (of a float frame)}.
nlohmann::ordered_json measured_frame_json(std::size_t index, const FrameConverter &converter,
                                           const Frame &frame, const MeasuredFrame &measured);
// "R1   rect  (2,2) 6x5      3x3 trimmed: max ...", two lines for lines and rectangles, without a
// final newline.
std::string measurement_row(const MeasuredFrame &frame, const RegionResult &m);
// The same for a region of any shape: "G1   polygon 4 vertices           3x3 trimmed: ...".
std::string shape_row(const MeasuredFrame &frame, const ShapeRegion &region, const ShapeResult &m);

// A table of JSON records as CSV: a header row of every field (nested objects joined with '.',
// arrays with their index), in order of first appearance, then one row per record; fields a record
// lacks stay empty, texts with a comma or quote are quoted.
std::string records_csv(const std::vector<nlohmann::ordered_json> &records);

}  // namespace radimo::cli
