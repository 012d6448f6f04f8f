// The measurements of regions as `radimo measure` reports them: one JSON
// record per region, one text row per region, and the CSV of the records.
// The measure command and the viewer's exports print the same records.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "core/conversion.h"
#include "core/regions.h"

namespace radimo::cli {

// The record of one frame: {"frame": its index in its file, "vtemp": the reading a raw frame used}.
nlohmann::ordered_json measured_frame_json(std::size_t index, const FrameConverter &converter,
                                           const Frame &frame);
// {"label", "kind", where it lies, then its readings (value and degC) with their positions, "alarm"}.
nlohmann::ordered_json measurement_json(const RegionResult &m);
// "P1   point (3,4)     25.31 °C" and the like, without a newline.
std::string measurement_row(const RegionResult &m);

// A table of JSON records as CSV: a header row of every field (nested objects joined with '.',
// arrays with their index), in order of first appearance, then one row per record; fields a record
// lacks stay empty, texts with a comma or quote are quoted.
std::string records_csv(const std::vector<nlohmann::ordered_json> &records);

}  // namespace radimo::cli
