/**
 * @file libradimo.h
 * @brief libradimo: temperature-measurement arithmetic of an uncooled infrared camera.
 *
 * The one public header of libradimo.so. Plain C99; it compiles as C and as C++. Functions and
 * variables of our own (beyond the camera's established interface) carry the radimo_ prefix.
 *
 * Every function is synchronous and keeps no state between calls. Inputs come in through the
 * arguments, outputs go out through caller-owned storage, and the return value is a result code
 * (RADIMO_SUCCESS or a negative RADIMO_ERR_*), except where a function is documented as
 * returning a value. Outputs are written only on success unless a function says otherwise. The
 * only library state is the pair of printer pointers through which every diagnostic passes (and
 * the table of line sinks a host may register, see radimo_log_sink_add()); the library is silent
 * until radimo_log_register() selects a level or a sink is registered.
 *
 * Units used throughout:
 * - frame: row-major unsigned 16-bit samples; resolution = width | height << 16.
 * - NUC value: the sensor response, 0..16383 held in 16 bits.
 * - nuc_table: temperatures in 1/16 K (entry = (T degC + 273.15) * 16); 8192 entries indexed by
 *   NUC / 2 (16384-entry tables indexed by the NUC value where stated).
 * - Q14: fixed point, 16384 = 1.0 (KT gains, KE, transmittance tau).
 * - ta, tu: ambient and reflected temperature, always degrees Celsius.
 *
 * Measuring one pixel: temp_measure_with_NUC_value() (KT/BT drift correction, then the NUC
 * table) gives the apparent temperature; enhance_distance_temp_correct() (or the environment
 * factor, calc_env_factor_with_dist_and_env_temp() with recalc_NUC_with_env_correct() before the
 * table) corrects it for the scene. docs/concepts.md explains the pipeline, docs/formats.md the
 * table layouts.
 */
#ifndef LIBRADIMO_H
#define LIBRADIMO_H

#include <stdint.h>

/* Export and printf-format annotations of the declarations below (not part of the API). */
#if defined(__GNUC__)
#define RADIMO_API __attribute__((visibility("default")))
#define RADIMO_PRINTF_FORMAT __attribute__((format(printf, 1, 2)))
#else
#define RADIMO_API
#define RADIMO_PRINTF_FORMAT
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ------------------------------------------------------------------------- */
/* Result codes                                                              */
/* ------------------------------------------------------------------------- */

enum {
    RADIMO_SUCCESS = 0,
    RADIMO_ERR_PARAM = -1100,        /**< NULL pointer, out-of-range argument, invalid data */
    RADIMO_ERR_ALLOC = -1101,        /**< working memory could not be allocated */
    RADIMO_ERR_FILE = -1102,         /**< tau file open/seek/read/write failed */
    RADIMO_ERR_SQUARE_ARRAY = -1103, /**< square neighbourhood extraction failed */
    RADIMO_ERR_AVERAGE = -1104,      /**< trimmed average failed */
    RADIMO_ERR_HORZ_NEIGHB = -1105,  /**< horizontal neighbourhood extraction failed */
    RADIMO_ERR_VERT_NEIGHB = -1106,  /**< vertical neighbourhood extraction failed */
    RADIMO_ERR_SLOPE_NEIGHB = -1107, /**< neighbourhood along a slanted line failed */
    RADIMO_ERR_POINT_SET = -1108,    /**< building a slanted line's point set failed */
    RADIMO_ERR_HORZ_LINE = -1109,    /**< horizontal line measurement failed */
    RADIMO_ERR_VERT_LINE = -1110,    /**< vertical line measurement failed */
    RADIMO_ERR_SLOPE_LINE = -1111,   /**< slanted line measurement failed */
    RADIMO_ERR_REVERSE_TEMP = -1112, /**< reverse temperature correction failed */
    RADIMO_ERR_REVERSE_NUC = -1113,  /**< temperature -> NUC reverse lookup failed */
    RADIMO_ERR_ENV_FACTOR = -1114,   /**< environment factor computation failed */
    RADIMO_ERR_KTBT_INDEX = -1115,   /**< KT/BT index from vtemp failed */
    RADIMO_ERR_KTBT_CORRECT = -1116, /**< KT/BT correction process failed */
    RADIMO_ERR_KTBT_UPDATE = -1117,  /**< updating KT/BT arrays failed */
    /** -1118 is reserved and never returned. */
    RADIMO_ERR_SITF_OFFSET = -1119,          /**< sitf/offset pair before KT/BT failed */
    RADIMO_ERR_HUM_INDEX = -1120,            /**< humidity axis index not found */
    RADIMO_ERR_TEMP_INDEX = -1121,           /**< temperature axis index not found */
    RADIMO_ERR_DIST_INDEX = -1122,           /**< distance (or emissivity) axis index not found */
    RADIMO_ERR_READ_EMS = -1123,             /**< reading a compatible emissivity failed */
    RADIMO_ERR_READ_TAU = -1124,             /**< reading a compatible tau failed */
    RADIMO_ERR_HUM_CORRECT = -1125,          /**< humidity correction of tau failed */
    RADIMO_ERR_TAU_TABLE = -1126,            /**< read_tau failed inside the environment factor */
    RADIMO_ERR_TEMP_CORRECT = -1127,         /**< forward temperature correction failed */
    RADIMO_ERR_REVERSE_TEMP_CORRECT = -1128, /**< reverse correction with environment failed */
    RADIMO_ERR_VAPOR_PRESSURE = -1129,       /**< vapour pressure computation failed */
    RADIMO_ERR_RECALC_TAU = -1130,           /**< tau recalculation failed */
    RADIMO_ERR_VERSION = -1131,              /**< the member selected by a versioned dispatcher failed */
    RADIMO_ERR_TABLE_CALC = -1132,           /**< a table computation found invalid input */
    RADIMO_ERR_REMAP = -1133                 /**< NUC value -> temperature mapping failed */
};

/* ------------------------------------------------------------------------- */
/* Records                                                                   */
/* ------------------------------------------------------------------------- */

/** A frame position, passed by value. (0, 0) is the top-left pixel. */
typedef struct point_t {
    int32_t x; /**< column, 0 .. width - 1 */
    int32_t y; /**< row, 0 .. height - 1 */
} point_t;

/** Size of a measurement rectangle, passed by value (same layout as point_t). */
typedef struct rect_size_t {
    int32_t w; /**< width in pixels */
    int32_t h; /**< height in pixels */
} rect_size_t;

/** Result of a line or rectangle measurement. */
typedef struct temp_result_t {
    uint16_t max_temp;      /**< largest sample value */
    uint16_t min_temp;      /**< smallest sample value */
    uint16_t avg_temp;      /**< rounded average of all samples */
    point_t max_temp_point; /**< where max_temp was found (last in scan order on ties) */
    point_t min_temp_point; /**< where min_temp was found (last in scan order on ties) */
} temp_result_t;

/** Alarm threshold pair, passed by value. */
typedef struct threshold_t {
    int32_t high; /**< upper threshold */
    int32_t low;  /**< lower threshold */
} threshold_t;

/** Quadratic NUC factor: NUC(T) = c0 + (c2 T^2 + c1 T) / 2^20, T in kelvin. */
typedef struct nuc_factor_t {
    int32_t c0; /**< constant term, NUC units */
    int32_t c1; /**< linear coefficient, Q20 */
    int32_t c2; /**< quadratic coefficient, Q20 */
} nuc_factor_t;

/** Environment factor: object NUC = KE * measured NUC / 16384 - BE. */
typedef struct env_factor_t {
    uint32_t KE; /**< Q14 gain 1 / (emissivity * transmittance) */
    int32_t BE;  /**< offset in NUC units */
} env_factor_t;

/** Integer scene description for the KE/BE calculators, in one of two unit systems chosen by
 * the function: "org" units (ems, tau in Q7, 128 = 1.0; ta, tu in whole kelvin) or "new" units
 * (ems, tau in Q14, 16384 = 1.0; ta, tu in 1/16 K). */
typedef struct env_param_t {
    int32_t ems; /**< emissivity, Q7 (org) or Q14 (new) */
    int32_t tau; /**< atmospheric transmittance, Q7 (org) or Q14 (new) */
    int32_t ta;  /**< ambient temperature, K (org) or 1/16 K (new) */
    int32_t tu;  /**< reflected temperature, K (org) or 1/16 K (new) */
} env_param_t;

/** Linear stage with Q10 scaling: result = (x * K / 1024 + B) / 1024. */
typedef struct kb_param_t {
    int32_t K; /**< Q10 gain */
    int32_t B; /**< offset in 1/1024 of the result unit */
} kb_param_t;

/** Input of the forward KT/BT correction process. */
typedef struct ktbt_correct_param_t {
    int16_t K_Temp;           /**< Q14 gain from vtemp to the focal-plane temperature */
    int16_t B_Temp;           /**< offset of the focal-plane temperature */
    uint16_t Address_CA;      /**< focal-plane temperature at which the arrays start */
    const uint16_t *kt_array; /**< Q14 gains, 1201 entries (3601 for version 3) */
    const int16_t *bt_array;  /**< offsets in NUC units, same length */
    uint16_t vtemp;           /**< current focal-plane reading */
} ktbt_correct_param_t;

/** Second-calibration parameters shared by the KT/BT index and recalibration functions. */
typedef struct second_calib_param_t {
    int16_t K_Temp;            /**< Q14 slope of the vtemp -> index mapping */
    int16_t B_Temp;            /**< offset of that mapping */
    uint16_t Address_CA;       /**< base address subtracted in that mapping */
    uint16_t ktbt_array_len;   /**< number of KT/BT entries rewritten (1201 usually) */
    uint16_t ktbt_index_len;   /**< indices are clamped to 0 .. ktbt_index_len - 1 */
    uint16_t nuc_table_len;    /**< NUC table length for the table-length lookups */
    uint16_t high_vtemp;       /**< focal-plane reading at the high source */
    uint16_t low_vtemp;        /**< focal-plane reading at the low source */
    float actual_high_celsius; /**< temperature the camera reported for the high source */
    float actual_low_celsius;  /**< temperature the camera reported for the low source */
    float target_high_celsius; /**< true high temperature (in-out: apparent in modes 4-7) */
    float target_low_celsius;  /**< true low temperature (in-out: apparent in modes 4-7) */
    uint16_t cur_vtemp;        /**< current focal-plane reading (multi-point calibration) */
} second_calib_param_t;

/** The scene as the user describes it. */
typedef struct env_correct_param_t {
    float dist; /**< object distance, m */
    float ems;  /**< emissivity, 0..1 */
    float hum;  /**< relative humidity, fraction 0..1 */
    float ta;   /**< ambient (atmosphere) temperature, degC */
    float tu;   /**< reflected temperature, degC */
} env_correct_param_t;

/** Correction-table configuration and tau data. An enable field counts only when it is 1. */
typedef struct correct_table_t {
    uint16_t header_id;             /**< first header word; not interpreted by the library */
    uint16_t tau_format;            /**< tau grid layout: <64, 64..256, >256 */
    uint16_t ems_enable;            /**< 1 = emissivity compatibility tables on */
    uint16_t ems_version;           /**< emissivity table version 1, 2 or 3 */
    uint16_t hum_enable;            /**< 1 = recalculate tau for humidity */
    uint16_t hum_version;           /**< humidity model version 1, 2 or 3 */
    uint16_t reserved_a;            /**< header word 9; not interpreted by the library */
    uint16_t reserved_b;            /**< header word 10; not interpreted by the library */
    uint16_t reflected_tmp_enable;  /**< 1 = use the separate reflected temperature tu */
    uint16_t reflected_tmp_version; /**< must be 1 when the reflected temperature is on */
    const uint16_t *tau_data;       /**< Q14 tau values in the layout chosen by tau_format */
} correct_table_t;

/** Second calibration with one scene for both reference sources. */
typedef struct second_cal_param_t {
    env_correct_param_t env_correct_param;   /**< scene of both reference sources */
    second_calib_param_t second_calib_param; /**< mapping, readings and temperatures */
} second_cal_param_t;

/** Second calibration with a scene per reference source. */
typedef struct advanced_second_cal_param_t {
    env_correct_param_t high_env_correct_param; /**< scene of the high source (of the point, multi-point) */
    env_correct_param_t low_env_correct_param;  /**< scene of the low source */
    second_calib_param_t second_calib_param;    /**< mapping, readings and temperatures */
} advanced_second_cal_param_t;

/** One line NUC = sitf * T + b_offset of the response domain and its two points. */
typedef struct second_cal_temp_param_t {
    float sitf;               /**< slope, NUC units per degC */
    float b_offset;           /**< NUC value at 0 degC */
    uint16_t object_nuc_high; /**< NUC value of the high source */
    uint16_t object_nuc_low;  /**< NUC value of the low source */
    int32_t high_ktbt_index;  /**< KT/BT index of high_vtemp */
    int32_t low_ktbt_index;   /**< KT/BT index of low_vtemp */
} second_cal_temp_param_t;

/** Calibration arrays of a camera: current KT/BT arrays, NUC table, raw correction table. */
typedef struct multi_point_calib_array_t {
    uint16_t *kt_array;         /**< Q14 gains */
    int16_t *bt_array;          /**< offsets */
    uint16_t *nuc_table;        /**< NUC table */
    uint16_t *correct_table;    /**< raw correction (tau) table */
    uint32_t correct_table_arg; /**< passed on to the enhanced-distance correction */
} multi_point_calib_array_t;

/** Calibration arrays split into three temperature ranges (index = range 0, 1, 2). */
typedef struct multi_point_calib_array_v3_t {
    uint16_t *kt_array[3];      /**< Q14 gains of each range */
    int16_t *bt_array[3];       /**< offsets of each range */
    uint16_t *nuc_table;        /**< NUC table */
    uint16_t *correct_table;    /**< raw correction (tau) table */
    uint32_t correct_table_arg; /**< passed on to the enhanced-distance correction */
} multi_point_calib_array_v3_t;

/** New KT/BT arrays written by a recalibration. */
typedef struct two_point_calib_result_t {
    uint16_t *kt_array; /**< new Q14 gains (caller's buffer) */
    int16_t *bt_array;  /**< new offsets (caller's buffer) */
} two_point_calib_result_t;

/** New KT/BT arrays of the three temperature ranges. */
typedef struct two_point_calib_result_v3_t {
    uint16_t *kt_array[3]; /**< new Q14 gains of each range */
    int16_t *bt_array[3];  /**< new offsets of each range */
} two_point_calib_result_v3_t;

/** Temperatures of one user calibration point, degC. */
typedef struct multi_point_temp_t {
    float output_temp;  /**< temperature the camera outputs for the object */
    float setting_temp; /**< temperature the user sets (in-out in enhanced-distance modes) */
} multi_point_temp_t;

/** NUC values of one user calibration point. */
typedef struct multi_point_nuc_t {
    uint16_t output_nuc;  /**< response the camera presents to the NUC table for the object */
    uint16_t setting_nuc; /**< NUC-table response of the temperature the user sets */
} multi_point_nuc_t;

/** Input of the versioned multi-point and double-point entry points. */
typedef struct multi_point_calib_param_t {
    advanced_second_cal_param_t *multi_point_param; /**< scenes and second-calibration fields */
    void *multi_point_calib_array;                  /**< multi_point_calib_array_t (versions 0, 1)
                                                       or multi_point_calib_array_v3_t (version 2) */
    multi_point_temp_t *multi_point_temp;           /**< the point's temperatures */
    multi_point_nuc_t *multi_point_nuc;             /**< the point's NUC values (written) */
    uint32_t calib_point_num;                       /**< number of calibration points */
    uint32_t reserved;                              /**< not interpreted by the library */
    uint32_t temp_area;                             /**< temperature range 0..2 (version 2) */
} multi_point_calib_param_t;

/** Input and output of the multi-point KT/BT rebuild (up to 20 points). */
typedef struct multi_point_kt_param_t {
    uint8_t mode;          /**< 0: H, L fall with H > L; 1: both rise with H < L; else no check */
    uint8_t point_num;     /**< number of points minus one (0..19) */
    uint8_t ref_index;     /**< reference point of Btemp */
    uint16_t table_len;    /**< KT/BT length; 1201 or 3601 select the Ktemp scale */
    uint16_t ref_position; /**< table position assigned to the reference point */
    int16_t Ktemp;         /**< Q14 slope (output; input for other table lengths) */
    uint16_t Btemp;        /**< offset position (output) */
    uint16_t base_offset;  /**< constant added into Btemp and removed in each P */
    uint16_t H[20];        /**< high response of each point */
    uint16_t L[20];        /**< low response of each point */
    uint16_t fit_x[20];    /**< raw abscissa of each point */
    uint16_t K[20];        /**< output: Q14 gain of each point */
    int16_t B[20];         /**< output: offset of each point */
    uint16_t P[20];        /**< output: target table position of each point */
    float fit_y[20];       /**< ordinate of each point for the slope fit */
} multi_point_kt_param_t;

/** Piecewise-linear interpolation input: ascending abscissae and their ordinates. */
typedef struct linear_interp_param_t {
    float *arr_x;  /**< abscissae, ascending */
    float *arr_y;  /**< ordinates */
    uint32_t size; /**< entries of each array */
} linear_interp_param_t;

/* ------------------------------------------------------------------------- */
/* Logging and version                                                       */
/* ------------------------------------------------------------------------- */

/** A printf-style message sink. */
typedef void (*radimo_printer_t)(const char *format, ...) RADIMO_PRINTF_FORMAT;

/** Error printer; initially radimo_error_void. Hosts may store their own printer here. */
RADIMO_API extern radimo_printer_t radimo_error_print;
/** Debug printer; initially radimo_debug_void. Hosts may store their own printer here. */
RADIMO_API extern radimo_printer_t radimo_debug_print;

/** Silent debug sink. */
RADIMO_API void radimo_debug_void(const char *format, ...) RADIMO_PRINTF_FORMAT;
/** Silent error sink. */
RADIMO_API void radimo_error_void(const char *format, ...) RADIMO_PRINTF_FORMAT;
/** Formats into a 200-byte buffer (overflow aborts) and writes it to stdout, flushed. */
RADIMO_API void radimo_debug_info(const char *format, ...) RADIMO_PRINTF_FORMAT;
/** Same as radimo_debug_info: errors also go to stdout. */
RADIMO_API void radimo_error_info(const char *format, ...) RADIMO_PRINTF_FORMAT;
/** Level 0: debug and errors; 1: errors only; anything else: silent. */
RADIMO_API void radimo_log_register(int level);
/** Returns the static string "libradimo V2.4.3". */
RADIMO_API const char *radimo_version(void);

/*
 * Line sinks and result-code names: this library's own extensions.
 *
 * A line sink receives every diagnostic as one formatted line through a plain, non-variadic
 * callback, which any foreign-function interface can implement (Python ctypes, cffi, JNA,
 * P/Invoke, Rust, Go). Sinks are independent of the printer pointers: each line still goes
 * through radimo_error_print or radimo_debug_print exactly as without sinks, and then to every
 * sink registered for its level, on the thread that made the call. A host that registers no sink
 * sees no difference at all.
 *
 * State: a table of up to RADIMO_LOG_SINKS_MAX registered sinks (callback, user pointer and
 * level), empty when the library is loaded.
 *
 * Threads: a sink is called synchronously on the thread whose call emitted the line, so calls
 * running on several threads call it concurrently; it must be safe for that. Adding and removing
 * sinks is safe from any thread at any time (a line emitted meanwhile reaches the sink being
 * added or removed, or not). When radimo_log_sink_remove() returns, the sink is no longer running
 * on any thread and is not called again, so its user data may be freed. A sink must not add or
 * remove sinks itself.
 */

/** Level of a debug line, and the sink level that receives debug and error lines. */
#define RADIMO_LOG_DEBUG 0
/** Level of an error line, and the sink level that receives error lines only. */
#define RADIMO_LOG_ERROR 1
/** Number of sinks that can be registered at the same time. */
#define RADIMO_LOG_SINKS_MAX 8

/**
 * A line sink.
 * @param user  the pointer given to radimo_log_sink_add() with this sink
 * @param level RADIMO_LOG_ERROR or RADIMO_LOG_DEBUG
 * @param line  the whole line, exactly the text the printers format, prefix and final line feed
 *              included ("libradimo error [src/temp_correct:88/temp_correct] data is invalid\n");
 *              valid only during the call
 */
typedef void (*radimo_line_sink_t)(void *user, int level, const char *line);

/**
 * Registers a line sink; registering a (sink, user) pair again only changes its level.
 * @param sink  the callback
 * @param user  passed back to every call of the sink (may be NULL)
 * @param level RADIMO_LOG_ERROR (error lines) or RADIMO_LOG_DEBUG (debug and error lines)
 * @return RADIMO_SUCCESS; RADIMO_ERR_PARAM for a NULL sink ("sink is NULL") or another level
 *         ("level is invalid"); RADIMO_ERR_ALLOC when RADIMO_LOG_SINKS_MAX other sinks are
 *         registered ("sink table is full"). Failures are reported like every other failure.
 */
RADIMO_API int radimo_log_sink_add(radimo_line_sink_t sink, void *user, int level);

/**
 * Removes a line sink registered with the same pair; waits for its calls in progress on other
 * threads to return.
 * @param sink the callback given to radimo_log_sink_add()
 * @param user the user pointer given with it
 * @return RADIMO_SUCCESS, or RADIMO_ERR_PARAM when the pair is not registered ("sink is not
 *         registered")
 */
RADIMO_API int radimo_log_sink_remove(radimo_line_sink_t sink, void *user);

/**
 * The name of a result code.
 * @param code a value returned by a library function
 * @return the static string "RADIMO_SUCCESS" or "RADIMO_ERR_..." naming the code, or "unknown
 *         result code" for any other value (-1118 included: no function returns it)
 */
RADIMO_API const char *radimo_result_name(int code);

/* ------------------------------------------------------------------------- */
/* Frame measurement                                                         */
/* ------------------------------------------------------------------------- */

/** Writes the (2*half+1)^2 square around centre (half = (size & 0xFF) / 2); outside slots get the centre. */
RADIMO_API int get_pixel_square_array(const uint16_t *frame, uint32_t resolution, point_t centre,
                                      uint32_t size, uint16_t *out);
/** Writes the 2*half+1 samples of centre's row around centre; outside slots get the centre. */
RADIMO_API int get_pixel_horz_neighb_array(const uint16_t *frame, uint32_t resolution, point_t centre,
                                           uint32_t size, uint16_t *out);
/** Writes the 2*half+1 samples of centre's column around centre; outside slots get the centre. */
RADIMO_API int get_pixel_vert_neighb_array(const uint16_t *frame, uint32_t resolution, point_t centre,
                                           uint32_t size, uint16_t *out);
/** Writes 2*half+1 samples along a point list around points[index]; list ends get the centre. */
RADIMO_API int get_pixel_slope_neighb_array(const uint16_t *frame, const point_t *points, uint32_t resolution,
                                            int index, uint32_t size, uint32_t point_num, uint16_t *out);
/** Trimmed mean of num > 2 samples: one minimum and one maximum dropped, rounded half up. */
RADIMO_API int get_array_average_value(const uint16_t *data, int num, uint16_t *out);
/** Trimmed mean of the 3x3 square around a point inside the frame. */
RADIMO_API int get_point_temp(const uint16_t *frame, uint32_t resolution, point_t point, uint16_t *out);

/** Maximum, minimum and average along a line; dispatches by the line's direction. */
RADIMO_API int get_line_temp(const uint16_t *frame, uint32_t resolution, point_t start, point_t end,
                             temp_result_t *out);
/** Measures a horizontal line (same y), 5-sample neighbourhoods across x. */
RADIMO_API int get_horz_line_temp(const uint16_t *frame, uint32_t resolution, point_t start, point_t end,
                                  temp_result_t *out);
/** Measures a vertical line (same x), 5-sample neighbourhoods along y. */
RADIMO_API int get_vert_line_temp(const uint16_t *frame, uint32_t resolution, point_t start, point_t end,
                                  temp_result_t *out);
/** Measures a slanted line through its rasterised point set. */
RADIMO_API int get_slope_line_temp(const uint16_t *frame, uint32_t resolution, point_t start, point_t end,
                                   temp_result_t *out);
/** Maximum, minimum and average of the 3x3 trimmed means inside a rectangle. */
RADIMO_API int get_rect_temp(const uint16_t *frame, uint32_t resolution, point_t origin, rect_size_t size,
                             temp_result_t *out);
/** Returns the single-precision slope (p1.y - p2.y) / (p1.x - p2.x). */
RADIMO_API float get_slope(point_t p1, point_t p2);
/** Returns the number of points of the rasterised line from p1 to p2. */
RADIMO_API int get_point_num(point_t p1, point_t p2);
/** Returns the point of a slanted line at step t (x for shallow, y for steep lines). */
RADIMO_API point_t select_pixel(int x0, int y0, int t, float slope);
/** Fills points[0 .. point_num-1] with the rasterised line starting at (x0, y0). */
RADIMO_API int get_point_set(uint32_t x0, uint32_t y0, int point_num, point_t *points, float slope);
/** Alarm state of a value (low 16 bits): 0 within, 1 above high, 2 below low, 3 invalid pair. */
RADIMO_API int point_over_threshold_alarm(threshold_t threshold, int value);
/** Alarm state of a line or rectangle result: 0 within, 1 above, 2 below, 3 invalid pair; -1100 if NULL. */
RADIMO_API int line_rect_over_threshold_alarm(threshold_t threshold, const temp_result_t *result);

/* ------------------------------------------------------------------------- */
/* NUC tables                                                                */
/* ------------------------------------------------------------------------- */

/** *temp = nuc_table[(nuc & 0xFFFF) >> 1] (1/16 K). */
RADIMO_API int remap_temp(const uint16_t *nuc_table, uint32_t nuc, uint16_t *temp);
/** Temperature in degC of a NUC value in a table of 8192 or 16384 entries. */
RADIMO_API int calc_temperature_with_nuc_t_table_len(const uint16_t *nuc_table, uint32_t nuc,
                                                     uint32_t nuc_table_len, float *temp);
/** Nearest NUC value (always even) of a temperature in degC in an 8192-entry table. */
RADIMO_API int reverse_calc_NUC_with_nuc_t(const uint16_t *nuc_table, uint16_t *nuc, float temp);
/** Nearest NUC value of a temperature in degC in a table of 8192 or 16384 entries. */
RADIMO_API int reverse_calc_NUC_with_nuc_t_table_len(const uint16_t *nuc_table, uint32_t nuc_table_len,
                                                     uint16_t *nuc, float temp);
/** Removes an environment factor: the NUC value before recalc_NUC_with_env_correct. */
RADIMO_API int reverse_calc_NUC_without_env_correct(const env_factor_t *env_factor, uint32_t object_nuc,
                                                    uint16_t *nuc);
/** Trimmed mean of the 5x5 square around a point of a NUC frame. */
RADIMO_API int get_NUC_value(const uint16_t *frame, uint32_t resolution, point_t point, uint16_t *nuc);
/** Moves a start/end index pair past the flat runs at the ends of a table. */
RADIMO_API int find_start_and_end_addr(const uint16_t *nuc_table, const uint16_t *addr_in, int len,
                                       uint16_t *addr_out);

/** NUC value of a temperature in degC through a quadratic NUC factor (no rounding, no cap). */
RADIMO_API int calculate_nuc_with_nuc_factor(const nuc_factor_t *nuc_factor, uint16_t *nuc, float temp);
/** Builds an 8192-entry high-gain NUC table (253 K .. 423 K) from a NUC factor. */
RADIMO_API int generate_high_gain_nuc_t(const nuc_factor_t *nuc_factor, uint16_t *nuc_table);
/** Builds an 8192-entry low-gain NUC table (273 K .. 823 K) from a NUC factor. */
RADIMO_API int generate_low_gain_nuc_t(const nuc_factor_t *nuc_factor, uint16_t *nuc_table);

/* ------------------------------------------------------------------------- */
/* Environment factors and K/B recalibration                                 */
/* ------------------------------------------------------------------------- */

/** KE/BE from org units (Q7, kelvin) through a NUC factor; gain 1 high, 0 low, else unchecked. */
RADIMO_API int calculate_KE_and_BE(const env_param_t *env_param, const nuc_factor_t *nuc_factor, int gain,
                                   env_factor_t *env_factor);
/** KE/BE from new units (Q14, 1/16 K) through a NUC factor. */
RADIMO_API int calculate_new_KE_and_BE(const env_param_t *env_param, const nuc_factor_t *nuc_factor, int gain,
                                       env_factor_t *env_factor);
/** KE/BE from org units through an 8192-entry NUC table. */
RADIMO_API int calculate_org_KE_and_BE_with_nuc_t(const env_param_t *env_param, const uint16_t *nuc_table,
                                                  int gain, env_factor_t *env_factor);
/** KE/BE from new units through an 8192-entry NUC table. */
RADIMO_API int calculate_new_KE_and_BE_with_nuc_t(const env_param_t *env_param, const uint16_t *nuc_table,
                                                  int gain, env_factor_t *env_factor);
/** Environment factor (KE, BE) of a scene (ems 0..1, hum 0..1, dist >= 0 m, ta and tu -273.15..100 degC),
 * tau read from an environment tau table (3584 entries), NUC values from an 8192-entry NUC table. */
RADIMO_API int calc_env_factor_with_dist_and_env_temp(const env_correct_param_t *env_correct_param,
                                                      const uint16_t *tau_table, const uint16_t *nuc_table,
                                                      env_factor_t *env_factor);
/** Object NUC value of a measured one: ((nuc * KE) >> 14) - BE, clamped to 0..16383. */
RADIMO_API int recalc_NUC_with_env_correct(const env_factor_t *env_factor, int nuc, uint16_t *new_nuc);
/** NUC value of a temperature in kelvin through a NUC factor, rounded and capped at 16383. */
RADIMO_API int reverse_calc_NUC_with_env_correct(const nuc_factor_t *nuc_factor, uint16_t *nuc, double temp);
/** *temp = ((k1 * x + b1) * k2 / 1024 + b2) / 1024 with x = value & 0xFFFF. */
RADIMO_API int env_temp_calculate(const kb_param_t *first, const kb_param_t *second, int value, double *temp);

/** Second stage (K, B) that maps the first stage's output at x onto target. */
RADIMO_API int single_point_recalibrate_KB(const kb_param_t *first_stage, uint32_t x, kb_param_t *new_kb,
                                           double target);
/** Second stage (K, B) through two points: x = {xa, xb}, target = {ta, tb}. */
RADIMO_API int double_point_recalibrate_KB(const kb_param_t *first_stage, const uint32_t *x,
                                           const double *target, kb_param_t *new_kb);
/** Offset B of a line through the end of a KT/BT index range (index = {start, end}); kb->K is read. */
RADIMO_API int calculate_Kn_and_Bn(const second_calib_param_t *kt_info, const uint16_t *index,
                                   const uint32_t *value, kb_param_t *kb);

/* ------------------------------------------------------------------------- */
/* KT/BT correction                                                          */
/* ------------------------------------------------------------------------- */

/** KT/BT index of a vtemp with the truncated product (lens-change form), clamped to the index range. */
RADIMO_API int calculate_ktbt_index_according_vtemp_in_change_lens(
    int vtemp, const second_calib_param_t *second_calib_param, int *ktbt_index);
/** Corrects a raw NUC value for the focal-plane temperature (1201-entry arrays). The entry used is
 * index = ((vtemp * K_Temp + 8192) >> 14) + B_Temp - Address_CA - 1, clamped to 0..1200 (the
 * focal-plane temperature before it to 0..4095); the result bt[index] + ((kt[index] * nuc + 8192) >> 14)
 * is clamped to 0..16383. */
RADIMO_API int ktbt_correct_process(const ktbt_correct_param_t *ktbt_param, uint32_t nuc, uint16_t *new_nuc);
/** Corrects a raw NUC value for the focal-plane temperature (3601-entry arrays). */
RADIMO_API int ktbt_correct_process_with_version3(const ktbt_correct_param_t *ktbt_param, uint32_t nuc,
                                                  uint16_t *new_nuc);
/** Raw NUC value that the forward correction maps onto nuc (1201-entry arrays); table is not read. */
RADIMO_API int reverse_ktbt_correct(const second_calib_param_t *ktbt_param, const uint16_t *kt_array,
                                    const int16_t *bt_array, const uint16_t *table, int vtemp, uint32_t nuc,
                                    uint16_t *new_nuc);
/** Reverse correction with the index limited by ktbt_index_len; table is not read. */
RADIMO_API int reverse_ktbt_correct_with_version3(const second_calib_param_t *ktbt_param,
                                                  const uint16_t *kt_array, const int16_t *bt_array,
                                                  const uint16_t *table, int vtemp, uint32_t nuc,
                                                  uint16_t *new_nuc);
/** The per-pixel measurement: corrects a raw NUC value with ktbt_correct_process() and writes the
 * 8192-entry NUC table's temperature of the result (1/16 K: degC = temp / 16 - 273.15). */
RADIMO_API int temp_measure_with_NUC_value(const ktbt_correct_param_t *ktbt_param, const uint16_t *nuc_table,
                                           uint32_t nuc, uint16_t *temp);

/* ------------------------------------------------------------------------- */
/* Double-point KT/BT recalibration                                          */
/* ------------------------------------------------------------------------- */

/** Rewrites the KT/BT arrays from two blackbody measurements sharing one scene. */
RADIMO_API int new_ktbt_recal_double_point_calculate(second_cal_param_t *param, uint32_t correct_mode,
                                                     const multi_point_calib_array_t *multi_point_calib_array,
                                                     two_point_calib_result_t *result);
/** Rewrites the KT/BT arrays from two blackbody measurements with a scene each. */
RADIMO_API int advanced_ktbt_recal_double_point_calculate(
    advanced_second_cal_param_t *param, uint32_t correct_mode,
    const multi_point_calib_array_t *multi_point_calib_array, two_point_calib_result_t *result);
/** Writes Kc, Bc, Kd, Bd (in that order) from three fitted lines. */
RADIMO_API int KcBc_KdBd_calculate(const second_cal_temp_param_t *target_second_cal_temp_param_before_ktbt,
                                   const second_cal_temp_param_t *target_second_cal_temp_param_before_nuct,
                                   const second_cal_temp_param_t *actual_second_cal_temp_param,
                                   const second_calib_param_t *second_calib_param, const uint16_t *kt_array,
                                   const int16_t *bt_array, float *kcbc_kdbd);
/** Versioned double-point dispatcher: 0, 1 one array pair, 2 three temperature ranges. */
RADIMO_API int new_ktbt_recal_double_point_calculate_with_version(multi_point_calib_param_t *param,
                                                                  uint32_t version, void *result);
/** Double-point recalibration, version 0 (environment factor) or 1 (enhanced distance). */
RADIMO_API int advanced_ktbt_recal_double_point_calculate_with_version(multi_point_calib_param_t *param,
                                                                       uint32_t version,
                                                                       two_point_calib_result_t *result);
/** Double-point recalibration over three temperature ranges, measured on range temp_area. */
RADIMO_API int advanced_ktbt_recal_double_point_calculate_version3(multi_point_calib_param_t *param,
                                                                   two_point_calib_result_v3_t *result);
/**
 * Double-point recalibration after a lens change. The behaviour is this library's own design.
 *
 * A new lens keeps the detector, its KT/BT arrays and the NUC table, but changes the response
 * before KT/BT by a gain and an offset (transmission and the lens's own emission). Two blackbodies
 * seen through the new lens, given in param->second_calib_param as for the double-point
 * recalibration (high_vtemp, low_vtemp, actual_*_celsius reported by the camera before any scene
 * correction, target_*_celsius true), rewrite every KT/BT entry so that the camera with the new
 * lens reads both blackbodies correctly: target line, actual line, Kc/Bc and Kd/Bd, and the
 * rewrite of entries 0 .. ktbt_array_len - 1 with the same 16-bit wrapping, but with the NUC
 * table looked up over nuc_table_len entries, the KT/BT indices from the truncated product of
 * calculate_ktbt_index_according_vtemp_in_change_lens, and no scene correction of any kind.
 * The new arrays are then the "new" arrays of multi_point_calc_user_defined_nuc_in_change_lens.
 *
 * The record is a second_cal_param_t, the one multi_point_calc_user_defined_nuc_in_change_lens
 * takes, so that one record serves the whole lens-change chain; its scene block is not read,
 * and nothing in it is written (there is no correction mode: no target temperature is replaced).
 * Of multi_point_calib_array, kt_array, bt_array and nuc_table are read; correct_table may be
 * NULL. result->kt_array and result->bt_array receive ktbt_array_len entries, written only on
 * success. Returns RADIMO_ERR_PARAM for a NULL record, array or result ("handle is NULL",
 * "multi_point_calib_array is NULL", "two_point_calib_result is NULL"), a temperature that is not
 * finite, equal target temperatures, or blackbodies that determine no map (non-finite Kc, Bc, Kd
 * or Bd); RADIMO_ERR_REVERSE_NUC when a NUC lookup or the removal of KT/BT fails (e.g. a zero gain
 * or an index outside the arrays); RADIMO_ERR_KTBT_INDEX when the lens-change index fails.
 * Messages use module "src/sencond_cal".
 */
RADIMO_API int new_ktbt_recal_double_point_calculate_in_change_lens(
    const second_cal_param_t *param, const multi_point_calib_array_t *multi_point_calib_array,
    two_point_calib_result_t *result);

/* ------------------------------------------------------------------------- */
/* Radiometric correction                                                    */
/* ------------------------------------------------------------------------- */

/** Apparent -> target temperature, degC, ambient standing for the reflected temperature. */
RADIMO_API int temp_correct(uint16_t tau, float *result, float ems, float ta, float temp);
/** Apparent -> target temperature, degC, with a separate reflected temperature. */
RADIMO_API int temp_correct_with_reflected_temp(uint16_t tau, float *result, float ems, float ta, float tu,
                                                float temp);
/** Apparent -> target temperature in kelvin (ta in degC); result is not NULL-checked. */
RADIMO_API int temp_correct_kelvin(uint16_t tau, float *result, float ems, float ta, float temp);
/** Apparent -> target temperature in kelvin with reflected temperature; result is not NULL-checked. */
RADIMO_API int temp_correct_with_reflected_temp_kelvin(uint16_t tau, float *result, float ems, float ta,
                                                       float tu, float temp);
/** Target -> apparent temperature, degC. */
RADIMO_API int reverse_temp_correct(uint16_t tau, float *result, float ems, float ta, float temp);
/** Target -> apparent temperature, degC, with a separate reflected temperature. */
RADIMO_API int reverse_temp_correct_with_reflected_temp(uint16_t tau, float *result, float ems, float ta,
                                                        float tu, float temp);
/** Target -> apparent temperature in kelvin (ta in degC). */
RADIMO_API int reverse_temp_correct_kelvin(uint16_t tau, float *result, float ems, float ta, float temp);
/** Target -> apparent temperature in kelvin with reflected temperature. */
RADIMO_API int reverse_temp_correct_with_reflected_temp_kelvin(uint16_t tau, float *result, float ems,
                                                               float ta, float tu, float temp);

/** Forward kelvin correction chosen by the reflected-temperature switch of the table record. */
RADIMO_API int temp_correct_with_env_param(const correct_table_t *correct_table, uint16_t tau, float *result,
                                           float ems, float ta, float tu, float temperature);
/** Reverse kelvin correction chosen by the reflected-temperature switch of the table record. */
RADIMO_API int reverse_temp_correct_with_env_param(const correct_table_t *correct_table, uint16_t tau,
                                                   float *result, float ems, float ta, float tu,
                                                   float temperature);

/** Lower-neighbour index of a target temperature in a grid (clamped, never fails). */
RADIMO_API int get_compatible_target_temp_read_index(const double *grid, uint16_t count, uint16_t *index,
                                                     float value);
/** Lower-neighbour index of a distance in a grid (clamped, never fails). */
RADIMO_API int get_compatible_dist_read_index(const double *grid, uint16_t count, uint16_t *index,
                                              float value);
/** Target-temperature index in an emissivity table grid: mode 1 nearest, mode 2 lower neighbour. */
RADIMO_API int get_compatible_target_temp_read_index_of_ems_table(int mode, const double *grid, int count,
                                                                  uint16_t *index, float value);
/** Emissivity index in an emissivity table grid: mode 1 nearest, mode 2 lower neighbour. */
RADIMO_API int get_compatible_ems_read_index_of_ems_table(int mode, const double *grid, int count,
                                                          uint16_t *index, float value);
/** Corrected emissivity from table v1 (nearest neighbour); target temperature in K. */
RADIMO_API int read_compatible_ems_version1(float *quant_ems, float target_temp, float org_ems);
/** Corrected emissivity from table v2 (bilinear); target temperature in K. */
RADIMO_API int read_compatible_ems_version2(float *quant_ems, float target_temp, float org_ems);
/** Corrected emissivity from table v2, extrapolated outside 0.8 .. 0.998. */
RADIMO_API int read_compatible_ems_version3(float *quant_ems, float target_temp, float org_ems);
/** Corrected emissivity chosen by the ems switches of the table record. */
RADIMO_API int read_compatible_ems_with_target_temp_and_org_ems(const correct_table_t *param,
                                                                float *quant_ems, float target_temp,
                                                                float org_ems);
/** Q14 tau from a target-temperature x distance table of the record's grid layout. */
RADIMO_API int read_compatible_tau_with_target_temp_and_dist(const correct_table_t *param, uint16_t *tau,
                                                             float target_temp, float dist);

/** Apparent -> object temperature (degC): the complete scene correction. Emissivity and tau are taken
 * at the object temperature in two passes (emissivity tables, tau by target temperature and distance,
 * tau recalculated for humidity), as the raw correction table's header selects. Scene: ems 0..1,
 * hum 0..1, dist 0..1000 m, ta and tu -273.15..100 degC. correct_table_arg is not used. */
RADIMO_API int enhance_distance_temp_correct(const env_correct_param_t *env_correct_param,
                                             const uint16_t *correct_table, uint32_t correct_table_arg,
                                             float *new_temp, float temp);
/** Object -> apparent temperature (degC): what the camera reports before scene correction for an
 * object of known temperature; the recalibrations use it. As the forward correction, without the
 * upper distance bound. */
RADIMO_API int reverse_enhance_distance_temp_correct(const env_correct_param_t *env_correct_param,
                                                     const uint16_t *correct_table,
                                                     uint32_t correct_table_arg, float *new_temp, float temp);
/** Looks a temperature in degC (-100..1000) up in a precomputed table of 0.01 degC slots from -100 degC:
 * slot roundf((temp + 100) * 100); an empty slot gives RADIMO_ERR_PARAM. */
RADIMO_API int get_precomputed_temp(float *result, const float *table, const uint8_t *valid, float temp);
/** Looks a 16-bit frame value (2271..13970) up in a precomputed table of 11700 slots. */
RADIMO_API int get_precomputed_temp_with_y14_temp(uint16_t value, float *result, const float *table,
                                                  const uint8_t *valid);
/** Number of slots of a precomputed-temperature table (-100 .. 1000 degC in 0.01 degC steps). */
#define RADIMO_PRECOMPUTED_TEMP_SLOTS 110001
/** Fills each slot whose temperature -100 + index / 100 degC lies in [lowest, highest] with the forward
 * correction at that temperature and sets its flag; stops with the code at a failing slot. */
RADIMO_API int radimo_build_precomputed_temp(const env_correct_param_t *env_correct_param,
                                             const uint16_t *correct_table, float lowest, float highest,
                                             float *table, uint8_t *valid);
/** Corrects count apparent temperatures (degC): a valid slot answers (exact at its lattice temperature,
 * lookups round to 0.01 degC), a miss is computed; table only read; new_temps partly written on failure. */
RADIMO_API int enhance_distance_temp_correct_lattice(const env_correct_param_t *env_correct_param,
                                                     const uint16_t *correct_table,
                                                     uint32_t correct_table_arg, const float *table,
                                                     const uint8_t *valid, const float *temps, uint32_t count,
                                                     float *new_temps);
/** Corrects count frame values (1/16 K, apparent = value * 0.0625 - 273.15 degC) through a per-call lattice,
 * each equal to the single-value result; new_temps may be partly written on failure. */
RADIMO_API int enhance_distance_raw_temp_correct_lattice(const env_correct_param_t *env_correct_param,
                                                         const uint16_t *correct_table,
                                                         uint32_t correct_table_arg, const uint16_t *frame,
                                                         uint32_t count, float *new_temps);

/* ------------------------------------------------------------------------- */
/* Atmospheric transmittance                                                 */
/* ------------------------------------------------------------------------- */

/** Distance of 1-based grid position x (1..64) of the first model; 0.0 when invalid. */
RADIMO_API float distance_calculate(uint16_t x);
/** Refills dist_table from distance_calculate. */
RADIMO_API void generate_distance_table(void);
/** Distance of 1-based grid position x (1..88) of the second model; 0.0 when invalid. */
RADIMO_API float new_distance_calculate(uint16_t x);
/** Refills new_dist_table from new_distance_calculate. */
RADIMO_API void generate_new_distance_table(void);
/** Q14 transmittance (a - b) / (c - d), saturated at 16384 above; no lower clamp. */
RADIMO_API int calculate_tau(uint16_t a, uint16_t b, uint16_t c, uint16_t d);

/** Humidity class 0..3 of a relative humidity 0..1. */
RADIMO_API int get_hum_index(uint16_t *index, float hum);
/** Nearest temp_table row of an ambient temperature (-5..55 degC) for writing. */
RADIMO_API int get_temp_write_index(uint16_t *index, float ta);
/** Lower temp_table row of an ambient temperature for interpolation (never fails). */
RADIMO_API int get_temp_read_index(uint16_t *index, float ta);
/** Nearest dist_table column of a distance for writing. */
RADIMO_API int get_dist_write_index(uint16_t *index, float dist);
/** Lower dist_table column of a distance for interpolation. */
RADIMO_API int get_dist_read_index(uint16_t *index, float dist);
/** Nearest target_temp_table row of a target temperature (K) for writing. */
RADIMO_API int get_target_temp_write_index(uint16_t *index, float target_temp);
/** Lower target_temp_table row of a target temperature (K) for interpolation. */
RADIMO_API int get_target_temp_read_index(uint16_t *index, float target_temp);
/** Reads element index (mod 65536) of a little-endian u16 tau file. */
RADIMO_API int tau_data_read(const char *file_name, int index, uint16_t *tau_value);
/** Writes element index (mod 65536) of an existing tau file (never creates it). */
RADIMO_API int tau_data_write(const char *file_name, int index, int tau_value);
/** Stores one value into an environment tau table (humidity x ambient x distance). */
RADIMO_API int write_tau(uint16_t *table, int tau_value, float hum, float ta, float dist);
/** Interpolated Q14 tau from an environment tau table. */
RADIMO_API int read_tau(const uint16_t *table, uint16_t *tau, float hum, float ta, float dist);
/** Stores one value into a target-temperature tau table (target temperature in degC). */
RADIMO_API int write_tau_with_target_temp_and_dist(uint16_t *table, int tau_value, float temp, float dist);
/** Interpolated Q14 tau from a target-temperature tau table (target temperature in degC). */
RADIMO_API int read_tau_with_target_temp_and_dist(const uint16_t *table, uint16_t *tau, float temp,
                                                  float dist);

/** Magnus vapour pressure (Pa) of a humidity and ambient temperature (degC), clamped by version. */
RADIMO_API int calculate_vapor_pressure(uint16_t version, float *vapor_pressure, float hum, float ta);
/** Humidity exponent coefficient of a target temperature (K); never fails. */
RADIMO_API int calculate_coef(uint16_t version, float *coef, float target_temp);
/** Rescales a Q14 tau for distance (m), coefficient and vapour pressure (Pa); never fails. */
RADIMO_API int recalc_tau(uint16_t version, uint16_t tau, uint16_t *new_tau, float dist, float coef,
                          float vapor_pressure);
/** Humidity recalculation of tau for the scene's dist, hum and ta. */
RADIMO_API int recalc_tau_with_hum_version(const env_correct_param_t *env_correct_param, uint16_t version,
                                           uint16_t tau, uint16_t *new_tau, float target_temp);
/** Humidity recalculation when the record's hum switch is 1; passes tau through otherwise. */
RADIMO_API int recalc_tau_under_influence_of_hum(const correct_table_t *correct_table,
                                                 const env_correct_param_t *env_correct_param, uint16_t tau,
                                                 uint16_t *new_tau, float target_temp);

/* ------------------------------------------------------------------------- */
/* Multi-point user calibration                                              */
/* ------------------------------------------------------------------------- */

/** Output and setting NUC values of one calibration point; mode as in the double-point calibration. */
RADIMO_API int multi_point_calc_user_defined_nuc(second_cal_param_t *multi_point_param, uint32_t correct_mode,
                                                 const multi_point_calib_array_t *multi_point_calib_array,
                                                 const two_point_calib_result_t *two_point_calib_result,
                                                 multi_point_temp_t *temp,
                                                 multi_point_nuc_t *multi_point_nuc);
/** Output and setting NUC values of one point after a lens change (no environment correction). */
RADIMO_API int multi_point_calc_user_defined_nuc_in_change_lens(
    second_cal_param_t *multi_point_param, const multi_point_calib_array_t *multi_point_calib_array,
    const two_point_calib_result_t *two_point_calib_result, multi_point_temp_t *temp,
    multi_point_nuc_t *multi_point_nuc);
/** Calibration point NUC values with the environment factor on the setting side. */
RADIMO_API int multi_point_calc_user_defined_nuc_with_version1(
    advanced_second_cal_param_t *multi_point_param, const multi_point_calib_array_t *multi_point_calib_array,
    const two_point_calib_result_t *two_point_calib_result, multi_point_temp_t *temp,
    multi_point_nuc_t *multi_point_nuc);
/** Calibration point NUC values with the enhanced-distance correction (3601-entry arrays). */
RADIMO_API int multi_point_calc_user_defined_nuc_with_version2(
    advanced_second_cal_param_t *multi_point_param, const multi_point_calib_array_t *multi_point_calib_array,
    const two_point_calib_result_t *two_point_calib_result, multi_point_temp_t *temp,
    multi_point_nuc_t *multi_point_nuc);
/** Calibration point NUC values on the arrays of temperature range temp_area. */
RADIMO_API int multi_point_calc_user_defined_nuc_with_version3(
    multi_point_calib_param_t *param, const two_point_calib_result_v3_t *two_point_calib_result);
/** Dispatcher: version 0 runs ..._with_version1, 1 ..._with_version2, 2 ..._with_version3. */
RADIMO_API int multi_point_calc_user_defined_nuc_with_version(multi_point_calib_param_t *param,
                                                              uint32_t version, void *two_point_calib_result);

/** Rebuilds the KT/BT arrays from up to 20 calibration points. */
RADIMO_API int multi_point_calc_new_kt_bt(multi_point_kt_param_t *param, const uint16_t *kt_array,
                                          const int16_t *bt_array, uint16_t *new_kt_array,
                                          int16_t *new_bt_array);
/** Fills Ktemp, Btemp, K, B and P of the parameter record; the array arguments are not used. */
RADIMO_API int multi_point_calc_new_kt_bt_intermediate_param(multi_point_kt_param_t *param,
                                                             const uint16_t *kt_array,
                                                             const int16_t *bt_array, uint16_t *new_kt_array,
                                                             int16_t *new_bt_array);
/** Positions of each point's gain and offset in the old KT and BT arrays. */
RADIMO_API int calculate_new_value_index_in_orgtable(uint8_t point_num, uint16_t table_len, const uint16_t *K,
                                                     const int16_t *B, const uint16_t *kt_array,
                                                     const int16_t *bt_array, uint16_t *kt_index,
                                                     uint16_t *bt_index);
/** Sorts count u16 values ascending (bubble sort with early exit). */
RADIMO_API void sort_multi_point_kt(uint16_t *array, uint32_t count);
/** Writes new KT/BT arrays by moving each point's entries to its target position. */
RADIMO_API int new_kt_bt_table_interpolate(uint8_t point_num, uint16_t table_len, const uint16_t *kt_array,
                                           const int16_t *bt_array, const uint16_t *kt_index,
                                           const uint16_t *bt_index, const uint16_t *P,
                                           uint16_t *new_kt_array, int16_t *new_bt_array);

/** Rebuilds a 16384-entry NUC table from calibration points (half NUC units). */
RADIMO_API int multi_point_calc_new_nuc_table(uint16_t *nuc_table, multi_point_nuc_t *points, uint32_t num,
                                              uint16_t *new_nuc_table);
/** Rebuilds a 16384-entry NUC table from calibration points (full NUC units). */
RADIMO_API int multi_point_calc_new_nuc_table_with_version3(uint16_t *nuc_table, multi_point_nuc_t *points,
                                                            uint32_t num, uint16_t *new_nuc_table);
/** Rebuild dispatcher: takes the table and points from the record; version selects the array layout. */
RADIMO_API int multi_point_calc_new_nuc_table_with_version(multi_point_calib_param_t *multi_point_param,
                                                           uint32_t version, uint16_t *new_nuc_table);
/**
 * Rebuilds a NUC table after a lens change from num >= 3 calibration points (low 16 bits of num);
 * nuc_table and new_nuc_table hold 16384 entries. The behaviour is this library's own design.
 *
 * As multi_point_calc_new_nuc_table (half NUC units: the table is indexed by NUC / 2; the same
 * hot-mode handling, clamping to the old table's range and restoration of the old table), except
 * that the position map is the least-squares quadratic output = c0 + c1 * setting + c2 * setting^2
 * through the (setting_nuc, output_nuc) pairs (ordinary_least_squares) instead of piecewise-linear
 * segments, so that noisy points give a smooth table. The pairs are kept as given (not sorted
 * column by column) and the caller's points are not modified. new_nuc_table is written only on
 * success; the old table is as given after every return. Returns RADIMO_ERR_PARAM for a NULL
 * pointer or a failed allocation; RADIMO_ERR_TABLE_CALC for fewer than three points, a degenerate
 * fit, a map that does not rise strictly over the whole table (a table the camera could not use)
 * or a failed interpolation. Messages use module "src/temp_correct".
 */
RADIMO_API int multi_point_calc_new_nuc_table_in_change_lens(uint16_t *nuc_table,
                                                             const multi_point_nuc_t *points, uint32_t num,
                                                             uint16_t *new_nuc_table);
/**
 * Least-squares quadratic y = c0 + c1 * x + c2 * x^2 through the n >= 3 points (x[i], y[i]), in
 * any order, repeats allowed; writes c0, c1, c2 to coefficients[0..2], on success only. The
 * behaviour is this library's own design.
 *
 * Double precision throughout, inputs and coefficients: over NUC values up to 16383, x^2 reaches
 * 2.7e8 and the sums that carry the curvature exceed float's 24-bit mantissa many times over, so
 * a float fit would lose the slight curvature it is there to find; double keeps the coefficients
 * to float precision for callers that store what they compute from them as float. The abscissae
 * are centred on their mid-range and scaled to [-1, 1], and the fit is solved with the polynomials
 * orthogonal over the points (not the normal equations, which square the conditioning), then
 * converted to powers of x. Returns RADIMO_ERR_PARAM with a message for NULL pointers, n < 3, a
 * value that is not finite, fewer than three distinct abscissae, abscissae too close to two
 * values to determine the curvature to float precision, or coefficients that overflow: no
 * division by zero occurs and no NaN coefficient is written. Messages use "src/temp_correct".
 */
RADIMO_API int ordinary_least_squares(const double *x, const double *y, uint32_t n, double *coefficients);
/** Piecewise-linear interpolation at x, extrapolating beyond both ends. */
RADIMO_API int LinearInterp(const linear_interp_param_t *param, float *out, float x);
/** Returns 1 when a table falls over its first 8192 entries (hot mode), else 0. */
RADIMO_API int hotmode_calc(const uint16_t *nuc_table);
/** dst[i] = src[count - 1 - i]; src and dst may be the same array. */
RADIMO_API int hotmode_reverse(const uint16_t *src, uint32_t count, uint16_t *dst);
/** Sorts the output and setting columns of count points independently, ascending. */
RADIMO_API void sort_multi_point_nuc(multi_point_nuc_t *points, uint32_t count);
/** Corrects one stretch of an 8192-entry NUC table from exactly three calibration points. */
RADIMO_API int multi_point_calc_one_point_correct(uint16_t *nuc_table, multi_point_nuc_t *points,
                                                  uint16_t num, uint16_t *new_nuc_table);

/* ------------------------------------------------------------------------- */
/* Exported data tables (writable; initial contents are the library defaults) */
/* ------------------------------------------------------------------------- */

RADIMO_API extern double dist_table[64];                 /**< m, 0.25 .. 50, first distance model */
RADIMO_API extern double dist_table_diff[63];            /**< m, dist_table[i + 1] - dist_table[i] */
RADIMO_API extern double new_dist_table[88];             /**< m, 0.25 .. 1000, second distance model */
RADIMO_API extern double new_dist_table_diff[87];        /**< m, steps of new_dist_table */
RADIMO_API extern double dist_table_v3[88];              /**< m, same values as new_dist_table */
RADIMO_API extern double dist_table_diff_v3[87];         /**< m, same values as new_dist_table_diff */
RADIMO_API extern double temp_table[14];                 /**< degC, -5 .. 55 (55 twice) */
RADIMO_API extern double target_temp_table[56];          /**< K, 248.15 .. 1623.15 step 25 */
RADIMO_API extern double target_temp_table_diff[55];     /**< K, 25.0 throughout */
RADIMO_API extern double new_target_temp_table[42];      /**< K, 248.15 .. 1273.15 step 25 */
RADIMO_API extern double new_target_temp_table_diff[41]; /**< K, 25.0 throughout */
RADIMO_API extern double target_temp_table_v3[45]; /**< K, 248.15 .. 823.15 step 25, .. 1873.15 step 50 */
RADIMO_API extern double target_temp_table_diff_v3[44]; /**< K, 25.0 x23 then 50.0 x21 */

RADIMO_API extern double target_temp_list_of_ems_table_v1[86]; /**< K, 223.15 .. 1073.15 step 10 */
RADIMO_API extern double org_ems_list_of_ems_table_v1[20];     /**< 0.80 .. 0.99 step 0.01 */
RADIMO_API extern double ems_correct_table_v1[1720];           /**< [ti * 20 + ei] corrected emissivity */
/** K, 223.15 .. 823.15 step 10, then .. 1823.15 step 50 */
RADIMO_API extern double target_temp_list_of_ems_table_v2[81];
RADIMO_API extern double org_ems_list_of_ems_table_v2[100]; /**< 0.800 .. 0.998 step 0.002 */
RADIMO_API extern double ems_correct_table_v2[8100];        /**< [ti * 100 + ei] corrected emissivity */

/* ------------------------------------------------------------------------- */
/* Whole-frame API: this library's own extensions (prefix radimo_)            */
/* ------------------------------------------------------------------------- */
/*
 * One call per frame instead of one per pixel, with results identical, pixel
 * for pixel and code for code, to the per-call functions each names.
 *
 * Frames are row-major arrays of width x height pixels; resolution = width |
 * height << 16 with both halves 1 .. 32767. Every function except
 * radimo_frame_stats works on the band of rows first_row .. first_row +
 * row_count - 1 (row_count 0 does nothing) and writes only those rows of its
 * caller-owned output frame, which has the input's layout and must not
 * overlap it. A host splits a frame into bands to spread it over its own
 * threads: the library starts no threads, and calls on disjoint bands of the
 * same output may run concurrently.
 *
 * Refusals return RADIMO_ERR_PARAM (-1100), log one error line and write
 * nothing: a NULL pointer ("data is NULL"), a bad resolution ("resolution is
 * invalid"), a band beyond the last row ("row range is invalid"), and the
 * checks named with each function. Float inputs are validated: NaN,
 * infinities and out-of-range values are refused.
 *
 * The kernels use the widest instruction set this build and the CPU offer,
 * chosen once per process: on x86-64 AVX2, else the baseline SSE2; on 64-bit
 * ARM NEON; on 32-bit ARM NEON when the CPU reports it; scalar kernels on
 * every other processor. The environment variable
 * RADIMO_SIMD=scalar|sse2|avx2|neon, read at that moment, forces another
 * target (a target the build or the CPU lacks, or an unknown name, is
 * ignored). Every target gives the same results.
 */

/** The kernel target in use: "scalar", "sse2", "avx2" or "neon". */
RADIMO_API const char *radimo_simd_target(void);

/** temp = the 1/16 K temperature of each raw NUC value: the KT/BT correction of ktbt_param (its index from
 * vtemp, computed once) and the NUC table lookup, as temp_measure_with_NUC_value gives it. ktbt_len is the
 * length of the KT/BT arrays: 1201 (ktbt_correct_process) or 3601 (ktbt_correct_process_with_version3).
 * nuc_table_len: 8192 (indexed by NUC value / 2, as remap_temp) or 16384 (indexed by the NUC value).
 * Refused: "ktbt_len is invalid", "nuc_table_len is invalid"; NULL kt_array or bt_array is "data is NULL". */
RADIMO_API int radimo_frame_temp_measure(const ktbt_correct_param_t *ktbt_param, uint32_t ktbt_len,
                                         const uint16_t *nuc_table, uint32_t nuc_table_len,
                                         const uint16_t *raw, uint32_t resolution, uint32_t first_row,
                                         uint32_t row_count, uint16_t *temp);

/** celsius = each value in degC. With nuc_table NULL the frame holds 1/16 K temperatures (value * 0.0625 -
 * 273.15); otherwise it holds NUC values, converted through the table of nuc_table_len (8192 or 16384)
 * entries as calc_temperature_with_nuc_t_table_len converts them. */
RADIMO_API int radimo_frame_to_celsius(const uint16_t *nuc_table, uint32_t nuc_table_len,
                                       const uint16_t *frame, uint32_t resolution, uint32_t first_row,
                                       uint32_t row_count, float *celsius);

/** object = the enhanced-distance correction (degC) of each 1/16 K value, as
 * enhance_distance_raw_temp_correct_lattice gives it; each distinct value is corrected once. Scene refusals:
 * a NaN or infinite field ("<field> is not a finite number"), then the range checks and messages of the
 * single-value correction (ems and hum 0..1, dist 0..1000 m, ta and tu -273.15..100 degC). A failing
 * correction returns its code after its lines, with the pixels of the band before the failing one written.
 * Works on 320 KB of heap per call; RADIMO_ERR_ALLOC if it cannot be had. */
RADIMO_API int radimo_frame_scene_correct(const env_correct_param_t *scene, const uint16_t *correct_table,
                                          const uint16_t *frame, uint32_t resolution, uint32_t first_row,
                                          uint32_t row_count, float *object);

/** means = the 3x3 trimmed mean of every pixel: the value get_point_temp gives there (the edge rule at the
 * borders). */
RADIMO_API int radimo_frame_point_means(const uint16_t *frame, uint32_t resolution, uint32_t first_row,
                                        uint32_t row_count, uint16_t *means);

/** Statistics of the 3x3 trimmed means inside a rectangle. */
typedef struct radimo_frame_stats_t {
    uint16_t max;      /**< largest mean */
    uint16_t min;      /**< smallest mean */
    uint16_t avg;      /**< (sum + count / 2) / count */
    point_t max_point; /**< last position of max in row-major order */
    point_t min_point; /**< last position of min in row-major order */
    uint64_t sum;      /**< sum of all means, 64-bit: never wraps */
    uint64_t count;    /**< number of means */
} radimo_frame_stats_t;

/** The maximum, minimum and positions of get_rect_temp over the same rectangle (the rectangle's rows are the
 * row range). get_rect_temp sums in 32 bits, as its rule states, so a hot rectangle of more than 65537
 * pixels wraps its sum and reports a wrong average; this sum is 64-bit and its average always right: use it
 * for large rectangles and whole frames. Refused: "the rect is invalid" (empty, or not inside the frame). */
RADIMO_API int radimo_frame_stats(const uint16_t *frame, uint32_t resolution, point_t origin,
                                  rect_size_t size, radimo_frame_stats_t *stats);

/** Adds the statistics of a later part of the scan (for instance the next band of rows, measured by
 * another thread) to first: its ties take the positions, as in one scan; avg is recomputed. */
RADIMO_API int radimo_frame_stats_merge(radimo_frame_stats_t *first, const radimo_frame_stats_t *later);

#ifdef __cplusplus
}
#endif

#endif /* LIBRADIMO_H */
