/* measure_rect: measure a rectangle of a temperature frame and check it against alarm thresholds.
 *
 *   measure_rect FRAME WIDTH HEIGHT X Y W H HIGH_C LOW_C
 *
 * FRAME holds one frame of WIDTH x HEIGHT unsigned 16-bit little-endian temperatures in 1/16 K,
 * row after row, with no header: what a camera's pipeline produces once every raw pixel has gone
 * through temp_measure_with_NUC_value() (or a whole frame through radimo_frame_temp_measure(), see
 * raw_to_celsius.c). The rectangle starts at column X, row Y and is W x H pixels; the alarm fires
 * above HIGH_C or below LOW_C degrees Celsius.
 *
 * Build: cc measure_rect.c $(pkg-config --cflags --libs radimo) -lm -o measure_rect
 */
#include <libradimo.h>
#include <math.h>
#include <stdio.h>
#include <stdlib.h>

/* 1/16 K <-> degC, the unit of NUC tables and temperature frames. */
static double celsius_of(uint16_t kelvin16) {
    return kelvin16 / 16.0 - 273.15;
}
static int32_t kelvin16_of(double celsius) {
    return (int32_t)lround((celsius + 273.15) * 16.0);
}

/* Reads a headerless little-endian u16 frame of exactly width x height samples. */
static uint16_t *read_frame(const char *path, int width, int height) {
    const size_t count = (size_t)width * (size_t)height;
    uint16_t *frame = malloc(count * sizeof *frame);
    unsigned char bytes[2];
    FILE *f = fopen(path, "rb");
    size_t i;
    if (frame == NULL || f == NULL) {
        fprintf(stderr, "%s: cannot open or no memory\n", path);
        free(frame);
        if (f != NULL) fclose(f);
        return NULL;
    }
    for (i = 0; i < count && fread(bytes, 1, 2, f) == 2; ++i) frame[i] = (uint16_t)(bytes[0] | bytes[1] << 8);
    if (i < count || fgetc(f) != EOF) { /* too short or too long: the size arguments are wrong */
        fprintf(stderr, "%s: not a %dx%d frame of 16-bit samples\n", path, width, height);
        free(frame);
        frame = NULL;
    }
    fclose(f);
    return frame;
}

int main(int argc, char **argv) {
    int width, height, rc, alarm;
    point_t origin;
    rect_size_t size;
    threshold_t threshold;
    temp_result_t result;
    uint16_t *frame;
    static const char *const alarm_names[] = {"ok", "above", "below", "invalid thresholds"};

    if (argc != 10) {
        fprintf(stderr, "usage: %s FRAME WIDTH HEIGHT X Y W H HIGH_C LOW_C\n", argv[0]);
        return 2;
    }
    width = atoi(argv[2]);
    height = atoi(argv[3]);
    origin.x = atoi(argv[4]);
    origin.y = atoi(argv[5]);
    size.w = atoi(argv[6]);
    size.h = atoi(argv[7]);
    /* Thresholds are compared with frame values, so they are given in the frame's unit, 1/16 K. */
    threshold.high = kelvin16_of(atof(argv[8]));
    threshold.low = kelvin16_of(atof(argv[9]));
    if (width < 1 || height < 1 || width > 32767 || height > 32767) {
        fprintf(stderr, "WIDTH and HEIGHT must be 1..32767\n");
        return 2;
    }
    frame = read_frame(argv[1], width, height);
    if (frame == NULL) return 1;

    /* Let the library say why a call fails: level 1 prints its error lines on standard output
     * (raw_to_celsius.c shows how to send them elsewhere with a printer of your own). */
    radimo_log_register(1);

    /* The library describes a frame size as one word: width in the low, height in the high half.
     * get_rect_temp takes the 3x3 trimmed mean around every pixel of the rectangle (robust against
     * single hot or dead pixels) and reports the largest, the smallest and their average. */
    rc = get_rect_temp(frame, (uint32_t)width | (uint32_t)height << 16, origin, size, &result);
    if (rc != RADIMO_SUCCESS) {
        fprintf(stderr, "get_rect_temp failed with %d (is the rectangle inside the frame?)\n", rc);
        free(frame);
        return 1;
    }
    printf("rect %d,%d %dx%d\n", origin.x, origin.y, size.w, size.h);
    printf("max %u (%.2f degC) at %d,%d\n", result.max_temp, celsius_of(result.max_temp),
           result.max_temp_point.x, result.max_temp_point.y);
    printf("min %u (%.2f degC) at %d,%d\n", result.min_temp, celsius_of(result.min_temp),
           result.min_temp_point.x, result.min_temp_point.y);
    printf("avg %u (%.2f degC)\n", result.avg_temp, celsius_of(result.avg_temp));

    /* 0: within the thresholds, 1: the maximum is above high, 2: the minimum is below low,
     * 3: the pair is invalid (high below low). */
    alarm = line_rect_over_threshold_alarm(threshold, &result);
    if (alarm < 0 || alarm > 3) {
        fprintf(stderr, "line_rect_over_threshold_alarm failed with %d\n", alarm);
        free(frame);
        return 1;
    }
    printf("alarm %s\n", alarm_names[alarm]);
    free(frame);
    return 0;
}
