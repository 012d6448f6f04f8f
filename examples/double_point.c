/* double_point: recalibrate a camera's KT/BT arrays from two blackbody readings.
 *
 *   double_point CAMERA_DIR K_TEMP,B_TEMP,ADDRESS_CA HIGH_C,HIGH_VTEMP,HIGH_RAW LOW_C,LOW_VTEMP,LOW_RAW
 * OUT_DIR
 *
 * Point the camera at a hot and at a cold blackbody of known temperature (HIGH_C, LOW_C in degC) filling
 * the view close up, and note for each the focal-plane reading (VTEMP) and the raw response (RAW, a NUC
 * value, best the trimmed mean of a few pixels: get_NUC_value). The recalibration rewrites every KT/BT
 * entry so that the camera reports both temperatures; the new arrays go to OUT_DIR/kt.bin and
 * OUT_DIR/bt.bin (1201 little-endian 16-bit words each), beside which the old nuc_table.bin stays valid.
 *
 * CAMERA_DIR is a camera profile directory (docs/formats.md): nuc_table.bin, kt.bin and bt.bin are read.
 * K_Temp, B_Temp and Address_CA are the camera's constants (camera.json's "ktbt" holds them); see
 * raw_to_celsius.c for why they come in as arguments.
 *
 * Build: cc double_point.c $(pkg-config --cflags --libs radimo) -o double_point
 */
#include <libradimo.h>
#include <stdio.h>
#include <stdlib.h>

enum { KTBT_LEN = 1201, NUC_LEN = 8192 };

/* Reads exactly `count` little-endian u16 words from dir/name (into `words`), or writes them. */
static int table_io(const char *dir, const char *name, uint16_t *words, size_t count, int write) {
    char path[4096];
    unsigned char b[2];
    size_t i = 0;
    FILE *f;
    snprintf(path, sizeof path, "%s/%s", dir, name);
    f = fopen(path, write ? "wb" : "rb");
    if (f != NULL && write) {
        for (; i < count; ++i) {
            b[0] = (unsigned char)(words[i] & 0xFF), b[1] = (unsigned char)(words[i] >> 8);
            if (fwrite(b, 1, 2, f) != 2) break;
        }
    } else if (f != NULL) {
        for (; i < count && fread(b, 1, 2, f) == 2; ++i) words[i] = (uint16_t)(b[0] | b[1] << 8);
        if (fgetc(f) != EOF) i = 0; /* longer than expected: not this camera's table */
    }
    if (f == NULL || fclose(f) != 0 || i != count) {
        fprintf(stderr, "%s: cannot %s %zu 16-bit words\n", path, write ? "write" : "read", count);
        return 0;
    }
    return 1;
}

/* The temperature (degC) a camera with these arrays reports for a raw response at a vtemp. */
static float reading(ktbt_correct_param_t ktbt, const uint16_t *nuc_table, uint16_t raw, uint16_t vtemp) {
    uint16_t temp = 0;
    ktbt.vtemp = vtemp;
    if (temp_measure_with_NUC_value(&ktbt, nuc_table, raw, &temp) != RADIMO_SUCCESS) return -273.15f;
    return (float)(temp * 0.0625f - 273.15);
}

int main(int argc, char **argv) {
    static uint16_t nuc_table[NUC_LEN], kt[KTBT_LEN], bt[KTBT_LEN], new_kt[KTBT_LEN], new_bt[KTBT_LEN];
    static uint16_t unused_table[1]; /* mode 8 reads no correction table, but one must be passed */
    second_cal_param_t param = {0};
    second_calib_param_t *p = &param.second_calib_param;
    ktbt_correct_param_t now = {0}, after;
    float high_c, low_c;
    unsigned high_raw, low_raw;
    int rc;

    if (argc != 6 || sscanf(argv[2], "%hd,%hd,%hu", &p->K_Temp, &p->B_Temp, &p->Address_CA) != 3 ||
        sscanf(argv[3], "%f,%hu,%u", &high_c, &p->high_vtemp, &high_raw) != 3 ||
        sscanf(argv[4], "%f,%hu,%u", &low_c, &p->low_vtemp, &low_raw) != 3 || high_raw > 16383 ||
        low_raw > 16383) {
        fprintf(stderr, "usage: %s CAMERA_DIR K_TEMP,B_TEMP,ADDRESS_CA T,VTEMP,RAW T,VTEMP,RAW OUT_DIR\n",
                argv[0]);
        return 2;
    }
    if (!table_io(argv[1], "nuc_table.bin", nuc_table, NUC_LEN, 0) ||
        !table_io(argv[1], "kt.bin", kt, KTBT_LEN, 0) || !table_io(argv[1], "bt.bin", bt, KTBT_LEN, 0))
        return 1;
    radimo_log_register(1); /* the library's error lines on standard output */

    /* What the camera reports today for each blackbody: the KT/BT correction and the NUC table. */
    now.K_Temp = p->K_Temp, now.B_Temp = p->B_Temp, now.Address_CA = p->Address_CA;
    now.kt_array = kt, now.bt_array = (const int16_t *)bt;
    p->actual_high_celsius = reading(now, nuc_table, (uint16_t)high_raw, p->high_vtemp);
    p->actual_low_celsius = reading(now, nuc_table, (uint16_t)low_raw, p->low_vtemp);
    p->target_high_celsius = high_c;
    p->target_low_celsius = low_c;
    p->ktbt_array_len = p->ktbt_index_len = KTBT_LEN;
    p->nuc_table_len = NUC_LEN;

    /* Correction mode 8: the blackbodies are seen without scene correction (emissivity 1, no air in
     * between), so param.env_correct_param is not read. Modes 0-3 would take the scene out with the
     * environment factor (pass the environment tau table), modes 4-7 with the enhanced-distance
     * correction (pass the raw correction table) -- use those when the sources are far or not black. */
    {
        const multi_point_calib_array_t arrays = {kt, (int16_t *)bt, nuc_table, unused_table, 0};
        two_point_calib_result_t result = {new_kt, (int16_t *)new_bt};
        rc = new_ktbt_recal_double_point_calculate(&param, 8, &arrays, &result);
    }
    if (rc != RADIMO_SUCCESS) {
        fprintf(stderr, "new_ktbt_recal_double_point_calculate failed with %d\n", rc);
        return 1;
    }

    after = now;
    after.kt_array = new_kt, after.bt_array = (const int16_t *)new_bt;
    printf("source   true  vtemp    raw   before    after\n");
    printf("high   %6.2f  %5u  %5u  %7.2f  %7.2f\n", high_c, p->high_vtemp, high_raw, p->actual_high_celsius,
           reading(after, nuc_table, (uint16_t)high_raw, p->high_vtemp));
    printf("low    %6.2f  %5u  %5u  %7.2f  %7.2f\n", low_c, p->low_vtemp, low_raw, p->actual_low_celsius,
           reading(after, nuc_table, (uint16_t)low_raw, p->low_vtemp));
    return table_io(argv[5], "kt.bin", new_kt, KTBT_LEN, 1) &&
                   table_io(argv[5], "bt.bin", new_bt, KTBT_LEN, 1)
               ? 0
               : 1;
}
