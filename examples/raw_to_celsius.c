/* raw_to_celsius: turn one raw sensor frame into temperatures, the way a camera does per frame.
 *
 *   raw_to_celsius CAMERA_DIR RAW WIDTH HEIGHT VTEMP K_TEMP,B_TEMP,ADDRESS_CA EMS,DIST,HUM,TA,TU
 *
 * RAW: one frame of WIDTH x HEIGHT unsigned 16-bit little-endian raw responses (NUC values), no header.
 * VTEMP: the focal-plane reading the sensor reported with this frame.
 * CAMERA_DIR: a camera profile directory as `radimo demo` and `radimo recal` write it (docs/formats.md).
 * Only its binary tables are read here: nuc_table.bin, kt.bin, bt.bin and correct_table.bin.
 *
 * Why the few numbers come in as arguments: on a camera, the tables are blobs in flash while K_Temp,
 * B_Temp and Address_CA are three constants of the factory calibration block, the vtemp is read from the
 * sensor with every frame and the scene (emissivity, distance in m, humidity 0..1, ambient and reflected
 * temperature in degC) comes from the user's settings. Take them from wherever your camera keeps them;
 * here they are copied from the profile's camera.json, which keeps this program free of a JSON parser.
 *
 * Build: cc raw_to_celsius.c $(pkg-config --cflags --libs radimo) -o raw_to_celsius
 */
#include <libradimo.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>

/* The library reports every failure through a printer; this one sends its lines to stderr. */
static void print_error(const char *format, ...) {
    va_list args;
    va_start(args, format);
    vfprintf(stderr, format, args);
    va_end(args);
}

/* Reads a whole file of little-endian u16 words; *count receives their number. NULL on failure. */
static uint16_t *read_words(const char *dir, const char *name, size_t *count) {
    char path[4096];
    FILE *f;
    long bytes = 0;
    uint16_t *words = NULL;
    size_t i;
    snprintf(path, sizeof path, "%s%s%s", dir, dir[0] ? "/" : "", name);
    if ((f = fopen(path, "rb")) != NULL && fseek(f, 0, SEEK_END) == 0 && (bytes = ftell(f)) > 0 &&
        bytes % 2 == 0 && fseek(f, 0, SEEK_SET) == 0 && (words = malloc((size_t)bytes)) != NULL &&
        fread(words, 1, (size_t)bytes, f) == (size_t)bytes) {
        const unsigned char *b = (const unsigned char *)words; /* the file's bytes, in place */
        *count = (size_t)bytes / 2;
        for (i = 0; i < *count; ++i) words[i] = (uint16_t)(b[2 * i] | b[2 * i + 1] << 8);
    } else {
        fprintf(stderr, "%s: cannot read a table of 16-bit words\n", path);
        free(words);
        words = NULL;
    }
    if (f != NULL) fclose(f);
    return words;
}

int main(int argc, char **argv) {
    size_t nuc_len = 0, kt_len = 0, bt_len = 0, correct_len = 0, raw_len = 0, pixels, i;
    ktbt_correct_param_t ktbt = {0};
    env_correct_param_t scene = {0};
    uint32_t width, height, resolution;
    uint16_t *nuc_table, *kt, *bt, *correct_table, *raw, *temp = NULL;
    float *apparent = NULL, *object = NULL;
    int rc = -1;

    if (argc != 8 || sscanf(argv[6], "%hd,%hd,%hu", &ktbt.K_Temp, &ktbt.B_Temp, &ktbt.Address_CA) != 3 ||
        sscanf(argv[7], "%f,%f,%f,%f,%f", &scene.ems, &scene.dist, &scene.hum, &scene.ta, &scene.tu) != 5) {
        fprintf(stderr,
                "usage: %s CAMERA_DIR RAW WIDTH HEIGHT VTEMP K_TEMP,B_TEMP,ADDRESS_CA EMS,DIST,HUM,TA,TU\n",
                argv[0]);
        return 2;
    }
    width = (uint32_t)atoi(argv[3]);
    height = (uint32_t)atoi(argv[4]);
    ktbt.vtemp = (uint16_t)atoi(argv[5]);
    /* The library's frame size word, width low and height high; it refuses sizes beyond 1..32767. */
    resolution = width | height << 16;
    pixels = (size_t)width * height;
    radimo_error_print = print_error;

    /* The camera: the NUC table (1/16 K per NUC value / 2), the KT/BT drift-correction arrays (1201
     * entries, or 3601 for the version-3 correction) and the raw correction table, whose header words
     * carry the scene-correction switches (radimo writes the ones of camera.json into them). */
    nuc_table = read_words(argv[1], "nuc_table.bin", &nuc_len);
    kt = read_words(argv[1], "kt.bin", &kt_len);
    bt = read_words(argv[1], "bt.bin", &bt_len);
    correct_table = read_words(argv[1], "correct_table.bin", &correct_len);
    raw = read_words("", argv[2], &raw_len);
    if (nuc_table && kt && bt && correct_table && raw) {
        if (kt_len != bt_len) {
            fprintf(stderr, "kt.bin and bt.bin differ in length\n");
        } else if (raw_len != pixels) {
            fprintf(stderr, "%s: %zu samples, not a %ux%u frame\n", argv[2], raw_len, width, height);
        } else {
            temp = malloc(pixels * sizeof *temp);
            apparent = malloc(pixels * sizeof *apparent);
            object = malloc(pixels * sizeof *object);
            if (!(temp && apparent && object)) fprintf(stderr, "out of memory\n");
        }
    }
    if (temp && apparent && object) {
        ktbt.kt_array = kt;
        ktbt.bt_array = (const int16_t *)bt; /* bt.bin holds signed offsets */
        /* 1. Raw response -> apparent temperature (1/16 K): the KT/BT correction at this frame's vtemp,
         *    then the NUC table; per pixel exactly temp_measure_with_NUC_value(). One call covers the
         *    band of rows 0 .. height - 1; calls on disjoint bands may run on threads of your own. */
        rc = radimo_frame_temp_measure(&ktbt, (uint32_t)kt_len, nuc_table, (uint32_t)nuc_len, raw, resolution,
                                       0, height, temp);
        /* 2a. The apparent temperature in degC (what a black body through vacuum would read). */
        if (rc == RADIMO_SUCCESS)
            rc = radimo_frame_to_celsius(NULL, 0, temp, resolution, 0, height, apparent);
        /* 2b. The object temperature: emissivity, air transmittance, humidity, ambient and reflected
         *     radiation taken out with the enhanced-distance correction of the raw correction table. */
        if (rc == RADIMO_SUCCESS)
            rc = radimo_frame_scene_correct(&scene, correct_table, temp, resolution, 0, height, object);
    }
    if (rc == RADIMO_SUCCESS) {
        /* A few pixels: the centre and the middle of each quarter of the frame. */
        const uint32_t xs[5] = {width / 2, width / 4, 3 * width / 4, width / 4, 3 * width / 4};
        const uint32_t ys[5] = {height / 2, height / 4, height / 4, 3 * height / 4, 3 * height / 4};
        printf("x y apparent_c object_c\n");
        for (i = 0; i < 5; ++i) {
            const size_t at = (size_t)ys[i] * width + xs[i];
            printf("%u %u %.9g %.9g\n", xs[i], ys[i], apparent[at], object[at]);
        }
    } else if (temp && apparent && object) {
        fprintf(stderr, "conversion failed with %d\n", rc);
    }
    free(nuc_table);
    free(kt);
    free(bt);
    free(correct_table);
    free(raw);
    free(temp);
    free(apparent);
    free(object);
    return rc == RADIMO_SUCCESS ? 0 : 1;
}
