// Working view of a raw correction table (see raw_table_view.h).
#include "radiometry/raw_table_view.h"

#include <cstdint>

namespace radimo::radiometry {
namespace {

// Raw word N (counting from 1).
uint16_t word(const uint16_t *raw, int n) {
    return raw[n - 1];
}

// Humidity switches forced by the tau-table format. Formats below 258 run
// version 1, format 272 version 2, formats 260, 275, 278 and 281 version 3;
// any other format keeps the header's own words 7 and 8.
void apply_format_humidity(correct_table_t *view) {
    const uint16_t format = view->tau_format;
    uint16_t version = 0;
    if (format < 258) {
        version = 1;
    } else if (format == 272) {
        version = 2;
    } else if (format == 260 || format == 275 || format == 278 || format == 281) {
        version = 3;
    } else {
        return;
    }
    view->hum_enable = 1;
    view->hum_version = version;
}

}  // namespace

bool raw_table_has_header(const uint16_t *raw) {
    return word(raw, 3) == kRawHeaderMarker && word(raw, 4) == kRawHeaderMarker;
}

correct_table_t raw_table_view(const uint16_t *raw) {
    correct_table_t view{};
    if (!raw_table_has_header(raw)) {
        // No configuration: tables off, humidity version 1, format 0.
        view.hum_enable = 1;
        view.hum_version = 1;
        view.tau_data = raw;
        return view;
    }
    view.header_id = word(raw, 1);
    view.tau_format = word(raw, 2);
    view.ems_enable = word(raw, 5);
    view.ems_version = word(raw, 6);
    view.hum_enable = word(raw, 7);
    view.hum_version = word(raw, 8);
    view.reserved_a = word(raw, 9);
    view.reserved_b = word(raw, 10);
    view.reflected_tmp_enable = word(raw, 11);
    view.reflected_tmp_version = word(raw, 12);
    view.tau_data = raw + kRawHeaderWords;
    apply_format_humidity(&view);
    return view;
}

}  // namespace radimo::radiometry
