// Region checks and the row spans of each shape.
#include "regions/region_shape.h"

#include <algorithm>
#include <cmath>

#include "core/message.h"

namespace radimo::regions {

namespace {

constexpr const char *kLogModule = kModuleLibradimo;

bool coordinate_valid(double v) {
    return std::isfinite(v) && std::fabs(v) <= RADIMO_REGION_COORD_LIMIT;
}

bool coordinate_valid(int64_t v) {
    return v >= -static_cast<int64_t>(RADIMO_REGION_COORD_LIMIT) &&
           v <= static_cast<int64_t>(RADIMO_REGION_COORD_LIMIT);
}

int32_t clamp_row(double row, uint32_t height) {
    if (row < 0) return 0;
    if (row > height) return static_cast<int32_t>(height);
    return static_cast<int32_t>(row);
}

}  // namespace

int RegionWalker::open(const char *caller, uint32_t width, uint32_t height, const radimo_region_t &region) {
    region_ = region;
    width_ = width;
    height_ = height;
    switch (region.shape) {
        case RADIMO_REGION_RECT: {
            const int64_t x0 = region.origin.x;
            const int64_t y0 = region.origin.y;
            if (!coordinate_valid(x0) || !coordinate_valid(y0) || !coordinate_valid(x0 + region.size.w) ||
                !coordinate_valid(y0 + region.size.h)) {
                RADIMO_ERROR_FOR(caller, "region coordinates are invalid\n");
                return RADIMO_ERR_PARAM;
            }
            if (region.size.w <= 0 || region.size.h <= 0) {
                RADIMO_ERROR_FOR(caller, "region size is invalid\n");
                return RADIMO_ERR_PARAM;
            }
            row_begin_ = static_cast<int32_t>(std::clamp<int64_t>(y0, 0, height));
            row_end_ = static_cast<int32_t>(std::clamp<int64_t>(y0 + region.size.h, 0, height));
            break;
        }
        case RADIMO_REGION_ELLIPSE: {
            if (!coordinate_valid(region.cx) || !coordinate_valid(region.cy) ||
                !coordinate_valid(region.rx) || !coordinate_valid(region.ry)) {
                RADIMO_ERROR_FOR(caller, "region coordinates are invalid\n");
                return RADIMO_ERR_PARAM;
            }
            if (!(region.rx > 0) || !(region.ry > 0)) {
                RADIMO_ERROR_FOR(caller, "region size is invalid\n");
                return RADIMO_ERR_PARAM;
            }
            // One row of margin each side: the per-row test decides exactly.
            row_begin_ = clamp_row(std::floor(region.cy - region.ry) - 1, height);
            row_end_ = clamp_row(std::ceil(region.cy + region.ry) + 2, height);
            break;
        }
        case RADIMO_REGION_POLYGON: {
            if (region.vertices == nullptr) {
                RADIMO_ERROR_FOR(caller, "data is NULL\n");
                return RADIMO_ERR_PARAM;
            }
            if (region.vertex_count < 3 || region.vertex_count > RADIMO_REGION_MAX_VERTICES) {
                RADIMO_ERROR_FOR(caller, "region vertex count is invalid\n");
                return RADIMO_ERR_PARAM;
            }
            double y_min = region.vertices[1];
            double y_max = region.vertices[1];
            for (uint32_t i = 0; i < 2 * region.vertex_count; ++i) {
                const double v = region.vertices[i];
                if (!coordinate_valid(v)) {
                    RADIMO_ERROR_FOR(caller, "region coordinates are invalid\n");
                    return RADIMO_ERR_PARAM;
                }
                if (i % 2 == 1) y_min = std::min(y_min, v), y_max = std::max(y_max, v);
            }
            row_begin_ = clamp_row(std::floor(y_min), height);
            row_end_ = clamp_row(std::ceil(y_max) + 1, height);
            if (!crossings_.allocate(region.vertex_count)) {
                RADIMO_ERROR_FOR(caller, "alloc working memory failed\n");
                return RADIMO_ERR_ALLOC;
            }
            break;
        }
        case RADIMO_REGION_MASK:
            if (region.mask == nullptr) {
                RADIMO_ERROR_FOR(caller, "data is NULL\n");
                return RADIMO_ERR_PARAM;
            }
            row_begin_ = 0;
            row_end_ = static_cast<int32_t>(height);
            break;
        default:
            RADIMO_ERROR_FOR(caller, "region shape is invalid\n");
            return RADIMO_ERR_PARAM;
    }
    if (!any_pixel()) {
        RADIMO_ERROR_FOR(caller, "region has no pixel inside the frame\n");
        return RADIMO_ERR_PARAM;
    }
    return RADIMO_SUCCESS;
}

bool RegionWalker::any_pixel() const {
    bool found = false;
    for (int32_t y = row_begin_; y < row_end_ && !found; ++y) for_each_span(y, [&](Span) { found = true; });
    return found;
}

Span RegionWalker::clip(int64_t begin, int64_t end) const {
    begin = std::max<int64_t>(begin, 0);
    end = std::min<int64_t>(end, width_);
    return begin < end ? Span{static_cast<int32_t>(begin), static_cast<int32_t>(end)} : Span{0, 0};
}

bool RegionWalker::ellipse_holds(int64_t column, int32_t row) const {
    const double a = (static_cast<double>(column) - region_.cx) / region_.rx;
    const double b = (static_cast<double>(row) - region_.cy) / region_.ry;
    return a * a + b * b <= 1.0;
}

Span RegionWalker::single_span(int32_t y) const {
    if (region_.shape == RADIMO_REGION_RECT)
        return clip(region_.origin.x, int64_t{region_.origin.x} + region_.size.w);
    // The ellipse's row is one interval of columns around cx (the test grows
    // with |column - cx| even after rounding): start from the closed-form
    // estimate and move each end until the exact per-pixel test agrees.
    const double b = (static_cast<double>(y) - region_.cy) / region_.ry;
    const double half = region_.rx * std::sqrt(std::max(0.0, 1.0 - b * b));
    int64_t lo = static_cast<int64_t>(std::ceil(region_.cx - half));
    int64_t hi = static_cast<int64_t>(std::floor(region_.cx + half));
    if (lo > hi) lo = hi = static_cast<int64_t>(std::floor(region_.cx));
    if (!ellipse_holds(lo, y) && !ellipse_holds(hi, y)) {
        // Rounding left the estimate empty: the only candidates are the
        // columns next to the centre.
        const int64_t c = static_cast<int64_t>(std::floor(region_.cx));
        if (ellipse_holds(c, y))
            lo = hi = c;
        else if (ellipse_holds(c + 1, y))
            lo = hi = c + 1;
        else
            return Span{0, 0};
    }
    while (lo < hi && !ellipse_holds(lo, y)) ++lo;
    while (hi > lo && !ellipse_holds(hi, y)) --hi;
    while (ellipse_holds(lo - 1, y)) --lo;
    while (ellipse_holds(hi + 1, y)) ++hi;
    return clip(lo, hi + 1);
}

int64_t RegionWalker::crossing_column(double x) {
    // Column c lies left of the crossing (c < x) exactly when c < ceil(x).
    return static_cast<int64_t>(std::ceil(x));
}

uint32_t RegionWalker::crossings(int32_t y) const {
    const double *v = region_.vertices;
    const uint32_t n = region_.vertex_count;
    const double row = y;
    uint32_t count = 0;
    for (uint32_t i = 0, j = n - 1; i < n; j = i++) {
        const double xi = v[2 * i];
        const double yi = v[2 * i + 1];
        const double xj = v[2 * j];
        const double yj = v[2 * j + 1];
        if ((yi > row) != (yj > row)) crossings_[count++] = xj + (row - yj) * (xi - xj) / (yi - yj);
    }
    std::sort(crossings_.get(), crossings_.get() + count);
    return count;
}

}  // namespace radimo::regions
