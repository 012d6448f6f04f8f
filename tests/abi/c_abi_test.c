/* Proves the C ABI: a C99 program that loads the library, selects a log level,
 * installs its own printer and a line sink, and measures a point, a rectangle and a polygon region. */
#include <stdarg.h>
#include <stdio.h>
#include <string.h>

#include "libradimo.h"

static int messages_seen = 0;

static void count_messages(const char *format, ...) {
    va_list args;
    va_start(args, format);
    va_end(args);
    if (strncmp(format, "libradimo error [", 17) == 0) ++messages_seen;
}

/* A line sink: the last error line it received, and how many. */
static char last_line[256];
static int lines_sunk = 0;

static void sink_line(void *user, int level, const char *line) {
    if (user != &lines_sunk || level != RADIMO_LOG_ERROR) return;
    ++lines_sunk;
    snprintf(last_line, sizeof last_line, "%s", line);
}

#define CHECK(cond)                                                                  \
    do {                                                                             \
        if (!(cond)) {                                                               \
            fprintf(stderr, "%s:%d: check failed: %s\n", __FILE__, __LINE__, #cond); \
            return 1;                                                                \
        }                                                                            \
    } while (0)

int main(void) {
    enum { W = 8, H = 6 };
    uint16_t frame[W * H];
    uint32_t resolution = (uint32_t)W | ((uint32_t)H << 16);
    temp_result_t result;
    point_t origin = {2, 1};
    point_t outside = {W, 0};
    rect_size_t size = {3, 2};
    uint16_t value = 0;
    static const double triangle[6] = {0.0, 0.0, 8.0, 0.0, 0.0, 6.0};
    radimo_region_t region;
    radimo_region_stats_t stats;
    int i;

    for (i = 0; i < W * H; ++i) frame[i] = (uint16_t)(4000 + i);

    CHECK(strncmp(radimo_version(), "libradimo V", 11) == 0);
    radimo_log_register(1);
    radimo_error_print = count_messages;

    CHECK(get_point_temp(frame, resolution, origin, &value) == RADIMO_SUCCESS);
    CHECK(value == 4000 + 1 * W + 2);
    CHECK(get_rect_temp(frame, resolution, origin, size, &result) == RADIMO_SUCCESS);
    CHECK(result.max_temp >= result.avg_temp && result.avg_temp >= result.min_temp);

    memset(&region, 0, sizeof region);
    region.shape = RADIMO_REGION_POLYGON;
    region.vertices = triangle;
    region.vertex_count = 3;
    CHECK(radimo_region_stats(frame, resolution, &region, RADIMO_SAMPLE_PIXEL, 0, H, &stats) ==
          RADIMO_SUCCESS);
    CHECK(stats.max == 4000 + 5 * W + 1 && stats.min == 4000 && stats.count > 0 && stats.stddev > 0);

    CHECK(get_point_temp(frame, resolution, outside, &value) == RADIMO_ERR_PARAM);
    CHECK(messages_seen == 1);

    CHECK(radimo_log_sink_add(sink_line, &lines_sunk, RADIMO_LOG_ERROR) == RADIMO_SUCCESS);
    CHECK(get_point_temp(frame, resolution, outside, &value) == RADIMO_ERR_PARAM);
    CHECK(radimo_log_sink_remove(sink_line, &lines_sunk) == RADIMO_SUCCESS);
    CHECK(messages_seen == 2 && lines_sunk == 1);
    CHECK(strncmp(last_line, "libradimo error [src/libradimo:", 31) == 0);
    CHECK(strstr(last_line, "/get_point_temp] the point is invalid\n") != NULL);
    CHECK(strcmp(radimo_result_name(RADIMO_ERR_PARAM), "RADIMO_ERR_PARAM") == 0);

    radimo_log_register(2);
    printf("C ABI ok: rectangle max %u min %u avg %u\n", result.max_temp, result.min_temp, result.avg_temp);
    return 0;
}
