/**
 * @file libradimo.h
 * @brief libradimo: temperature-measurement arithmetic of an uncooled infrared camera.
 *
 * The one public header of libradimo.so, and its API reference. Plain C99; it compiles as C and as
 * C++. Functions, variables and macros that this library adds to the camera's established
 * interface carry the radimo_ (or RADIMO_) prefix, or say "Extension of this library" in their
 * description.
 *
 * @par Calls and result codes
 * Every function is synchronous: it runs to completion in the caller's thread and starts no
 * thread. The return value is a result code, RADIMO_SUCCESS (0) or a negative RADIMO_ERR_* code,
 * except where a function is documented as returning a value. Each function lists the codes it
 * can return and the conditions that give them, in the order in which it checks them. A function
 * that fails prints one line through radimo_error_print (see "Logging and version") before it
 * returns; a function that fails because a function it called failed prints its own line after
 * the callee's, so a chain of failures reads innermost first. The quoted texts in the lists below
 * are those lines' message texts; they are part of the interface and kept exactly, historic
 * spellings included.
 *
 * @par Pointers and ownership
 * Every pointer argument is borrowed for the duration of the call: the caller owns the storage,
 * the library never frees it and keeps no pointer to it after returning. Arrays must hold at least
 * the number of entries stated with each parameter. A function allocates heap memory only for its
 * own work and releases it before it returns, on every path. Unless a parameter says otherwise,
 * output storage must not overlap input storage.
 *
 * @par Outputs on failure
 * Outputs are written only on success, unless the function's output parameters say otherwise
 * (a few functions write part of an output before a later step fails, or rewrite an in-out field
 * of their input record on purpose; each such case is stated with the parameter).
 *
 * @par Floating-point inputs
 * Range checks compare floats as written: a NaN fails every comparison and so passes a check of the
 * form "refused when below ... or above ...". Unless a function says that it refuses non-finite
 * values (the whole-frame functions do), a NaN input gives a NaN or meaningless result with
 * RADIMO_SUCCESS; validate float inputs before the call (docs/robustness.md lists them).
 *
 * @par State and thread safety
 * The library keeps no state between calls except the following, all of it process-wide:
 * - The printer pointers radimo_error_print and radimo_debug_print, read by every function that
 *   logs. Set them (radimo_log_register() or a direct store) before any other thread calls into
 *   the library, and do not change them while calls may be running: they are plain variables,
 *   read and written without synchronisation. A printer may be called from several threads at once.
 * - The exported data tables (the distance, ambient-temperature and target-temperature grids and
 *   the emissivity compatibility tables, see "Exported data tables"). They are writable variables,
 *   initialised with the library's defaults and read without synchronisation by the grid index
 *   functions, the tau readers and writers, the compatibility readers and every function built on
 *   them (environment factors, enhanced-distance correction, recalibrations). The library itself
 *   rewrites only two of them: generate_distance_table() rewrites dist_table, which every tau
 *   lookup of the environment tau table, of the target-temperature tau table and of a correction
 *   table with a tau-table format below 64 (every correction table without a header) reads; and
 *   generate_new_distance_table() rewrites new_dist_table. A host may also store into any table.
 *   Every such write must be finished before any call that reads the table starts, in any thread.
 * - The SIMD kernel target of the whole-frame functions, chosen once per process, in a
 *   thread-safe way, by the first call that needs it (see "Whole-frame API").
 * - The table of line sinks a host registers (radimo_log_sink_add(), this library's extension;
 *   empty unless a host registers one), read and written under the synchronisation described there.
 * Everything else is reentrant: calls may run concurrently from any number of threads as long as
 * no call writes storage that another call running at the same time reads or writes. In the
 * function descriptions below, "Thread safety: reentrant" means exactly this, and any exported
 * table the function reads is named there.
 *
 * @par Units used throughout
 * - frame: row-major unsigned 16-bit samples; resolution = width | height << 16.
 * - NUC value: the sensor response, 0..16383 held in 16 bits.
 * - nuc_table: temperatures in 1/16 K (entry = (T degC + 273.15) * 16); 8192 entries indexed by
 *   NUC / 2 (16384-entry tables indexed by the NUC value where stated).
 * - Q14: fixed point, 16384 = 1.0 (KT gains, KE, transmittance tau), rounded by adding 8192
 *   before an arithmetic shift right by 14.
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

/** Result codes. The numbering (contiguous from -1100, with -1118 left out) is part of the
 * interface. Each function lists the codes it can return. */
enum {
    RADIMO_SUCCESS = 0,              /**< success */
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

/** A frame position, passed by value. (0, 0) is the top-left pixel; the frame functions compare the
 * fields with the resolution as unsigned numbers, so a negative coordinate lies outside the frame. */
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
    float target_high_celsius; /**< true high temperature; in-out: replaced by its apparent temperature by the
                                  recalibrations that apply the enhanced-distance correction */
    float target_low_celsius;  /**< true low temperature; in-out like target_high_celsius */
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

/**
 * A printf-style message sink. The library calls it with a format beginning
 * "libradimo error [%s:%d/%s] " or "libradimo debug [%s:%d/%s] ", followed by the module path
 * ("src/libradimo", "src/sencond_cal" or "src/temp_correct"), a source line, the name of the
 * reporting function and the message's own arguments; every message ends with "\n".
 */
typedef void (*radimo_printer_t)(const char *format, ...) RADIMO_PRINTF_FORMAT;

/**
 * Error printer: every error line of the library is printed through it. Initially
 * radimo_error_void (silent). Set by radimo_log_register(); a host may store its own printer here
 * instead. Set it before other threads call into the library (see "State and thread safety").
 */
RADIMO_API extern radimo_printer_t radimo_error_print;
/**
 * Debug printer: every debug line of the library is printed through it. Initially
 * radimo_debug_void (silent; while it is, the library skips formatting its debug lines). Set by
 * radimo_log_register(); a host may store its own printer here instead. Set it before other
 * threads call into the library (see "State and thread safety").
 */
RADIMO_API extern radimo_printer_t radimo_debug_print;

/**
 * Silent debug sink: does nothing.
 * @param format ignored.
 * @param ... ignored.
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API void radimo_debug_void(const char *format, ...) RADIMO_PRINTF_FORMAT;
/**
 * Silent error sink: does nothing.
 * @param format ignored.
 * @param ... ignored.
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API void radimo_error_void(const char *format, ...) RADIMO_PRINTF_FORMAT;
/**
 * Debug printer of radimo_log_register(): formats the message into a 200-byte local buffer and
 * writes it to standard output, then flushes standard output. A message of 200 bytes or more
 * (terminating zero included) is a programming error: it aborts the process after a line on
 * standard error, rather than being truncated. Every message of the library is far shorter.
 * @param format printf format (not NULL).
 * @param ... the format's arguments.
 * @par Thread safety
 * Reentrant; each message is written by one call to the C library's stream output.
 */
RADIMO_API void radimo_debug_info(const char *format, ...) RADIMO_PRINTF_FORMAT;
/**
 * Error printer of radimo_log_register(): the same as radimo_debug_info(). Errors deliberately go
 * to standard output too, not to standard error.
 * @param format printf format (not NULL).
 * @param ... the format's arguments.
 * @par Thread safety
 * Reentrant; each message is written by one call to the C library's stream output.
 */
RADIMO_API void radimo_error_info(const char *format, ...) RADIMO_PRINTF_FORMAT;
/**
 * Selects what the library prints by setting both printer pointers:
 * level 0 prints debug and error lines (radimo_debug_info, radimo_error_info), level 1 error lines
 * only (radimo_debug_void, radimo_error_info), any other level nothing (both silent sinks).
 * Replaces any printer the host stored before.
 * @param level 0, 1, or any other value for silence.
 * @par Thread safety
 * Not thread-safe: it writes the two printer pointers, which every logging call reads. Call it
 * before other threads call into the library, not while calls may be running.
 */
RADIMO_API void radimo_log_register(int level);
/**
 * The library's version text: "libradimo V" followed by the version number MAJOR.MINOR.PATCH of
 * the build (the soname carries MAJOR).
 * @return a static string, the same pointer on every call; never NULL, never to be freed.
 * @par Thread safety
 * Reentrant.
 */
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
/*
 * A frame is width x height unsigned 16-bit samples, row-major (sample (x, y) at y * width + x),
 * with resolution = width | height << 16. The sample values are never interpreted (typically
 * temperatures in 1/16 K): they are only compared, added and averaged. Every value reported is the
 * trimmed mean of a small neighbourhood, never a raw pixel. A neighbourhood position outside the
 * frame is neither skipped nor clamped: its slot receives the centre sample, so the mean always
 * divides by the same count. Messages use module "src/libradimo".
 */

/**
 * The square neighbourhood of a pixel: (2 * half + 1)^2 samples, rows top to bottom, each row left
 * to right, with half = (size & 0xFF) / 2. Positions outside the frame take the centre sample.
 * @param frame the frame (width x height samples).
 * @param resolution width | height << 16; each half is read as a signed 16-bit number.
 * @param centre the centre pixel; the low 16 bits of each field are used, as signed numbers, and
 *        must lie inside the frame.
 * @param size neighbourhood size; only the low 8 bits count, and an even size behaves like the
 *        next odd one (4 gives 5; 256 gives 0, the centre alone).
 * @param[out] out receives the (2 * half + 1)^2 samples (at most 65025); written only on success.
 * @retval RADIMO_SUCCESS the samples are written.
 * @retval RADIMO_ERR_PARAM frame or out is NULL ("data is NULL"); the centre lies outside the frame
 *         ("the point is invalid").
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int get_pixel_square_array(const uint16_t *frame, uint32_t resolution, point_t centre,
                                      uint32_t size, uint16_t *out);
/**
 * The horizontal neighbourhood of a pixel: the 2 * half + 1 samples of its row from x - half to
 * x + half, half = (size & 0xFF) / 2. Positions outside the frame take the centre sample.
 * @param frame the frame (width x height samples).
 * @param resolution width | height << 16; each half is read as a signed 16-bit number.
 * @param centre the centre pixel (low 16 bits of each field, signed), inside the frame.
 * @param size neighbourhood size; only the low 8 bits count (see get_pixel_square_array()).
 * @param[out] out receives the 2 * half + 1 samples; written only on success.
 * @retval RADIMO_SUCCESS the samples are written.
 * @retval RADIMO_ERR_PARAM frame or out is NULL ("data is NULL"); the centre lies outside the frame
 *         ("the point is invalid").
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int get_pixel_horz_neighb_array(const uint16_t *frame, uint32_t resolution, point_t centre,
                                           uint32_t size, uint16_t *out);
/**
 * The vertical neighbourhood of a pixel: the 2 * half + 1 samples of its column from y - half to
 * y + half, half = (size & 0xFF) / 2. Positions outside the frame take the centre sample.
 * @param frame the frame (width x height samples).
 * @param resolution width | height << 16; each half is read as a signed 16-bit number.
 * @param centre the centre pixel (low 16 bits of each field, signed), inside the frame.
 * @param size neighbourhood size; only the low 8 bits count (see get_pixel_square_array()).
 * @param[out] out receives the 2 * half + 1 samples; written only on success.
 * @retval RADIMO_SUCCESS the samples are written.
 * @retval RADIMO_ERR_PARAM frame or out is NULL ("data is NULL"); the centre lies outside the frame
 *         ("the point is invalid").
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int get_pixel_vert_neighb_array(const uint16_t *frame, uint32_t resolution, point_t centre,
                                           uint32_t size, uint16_t *out);
/**
 * The neighbourhood of a point along a point list (a rasterised slanted line): for list positions
 * i = index - half .. index + half, half = (size & 0xFF) / 2, the sample at points[i] when
 * half <= i < point_num - half, else the sample at points[index]. So every slot of a neighbourhood
 * centred within half positions of either end of the list takes the centre sample, deliberately.
 * @param frame the frame (width x height samples).
 * @param points the list of point_num points (low 16 bits of each field used, signed).
 * @param resolution width | height << 16; each half is read as a signed 16-bit number.
 * @param index position of the centre in the list, 0 .. point_num - 1.
 * @param size neighbourhood size; only the low 8 bits count (see get_pixel_square_array()).
 * @param point_num number of points in the list.
 * @param[out] out receives the 2 * half + 1 samples; written only on success.
 * @retval RADIMO_SUCCESS the samples are written.
 * @retval RADIMO_ERR_PARAM frame, points or out is NULL ("data is NULL"); index outside the list, or
 *         the centre or a list point the neighbourhood uses outside the frame ("the point is invalid").
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int get_pixel_slope_neighb_array(const uint16_t *frame, const point_t *points, uint32_t resolution,
                                            int index, uint32_t size, uint32_t point_num, uint16_t *out);
/**
 * Trimmed mean: exactly one minimum and one maximum sample are dropped, whatever the duplicates,
 * and the rest averaged with rounding half up: (sum - min - max + (num - 2) / 2) / (num - 2), in
 * unsigned 32-bit arithmetic (the sum wraps beyond 65537 samples of 65535).
 * @param data num samples.
 * @param num number of samples, at least 3.
 * @param[out] out the mean; written only on success.
 * @retval RADIMO_SUCCESS the mean is written.
 * @retval RADIMO_ERR_PARAM data or out is NULL ("data is NULL"); num <= 2 ("num is invalid").
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int get_array_average_value(const uint16_t *data, int num, uint16_t *out);
/**
 * The value of a point: the trimmed mean (get_array_average_value()) of its 3x3 square
 * (get_pixel_square_array(), the centre sample standing in for positions outside the frame).
 * @param frame the frame (width x height samples).
 * @param resolution width | height << 16.
 * @param point the pixel; x < width and y < height, compared as unsigned numbers.
 * @param[out] out the point value; written only on success.
 * @retval RADIMO_SUCCESS the value is written.
 * @retval RADIMO_ERR_PARAM frame or out is NULL ("data is NULL"); the point lies outside the frame
 *         ("the point is invalid").
 * @retval RADIMO_ERR_SQUARE_ARRAY the square could not be extracted ("get pixel square array error"):
 *         only for a width or height of 32768 or more, which the extractor reads as negative.
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int get_point_temp(const uint16_t *frame, uint32_t resolution, point_t point, uint16_t *out);

/**
 * Maximum, minimum and average along the line from start to end, with the positions of the maximum
 * and the minimum. Checks the arguments, then logs the line's kind on the debug printer and runs
 * get_horz_line_temp() (same y), get_vert_line_temp() (same x) or get_slope_line_temp().
 * @param frame the frame (width x height samples).
 * @param resolution width | height << 16.
 * @param start first end point; inside the frame (unsigned comparison with width and height).
 * @param end second end point; inside the frame, different from start.
 * @param[out] out the result. Untouched when a check of this function fails; when the line function
 *        fails, holds what it wrote (see get_horz_line_temp()).
 * @retval RADIMO_SUCCESS the result is written.
 * @retval RADIMO_ERR_PARAM frame or out is NULL ("data is NULL"); start or end outside the frame
 *         ("line parameter is not valid"); start equals end ("this is point temperture").
 * @retval RADIMO_ERR_HORZ_LINE the horizontal line failed ("get horizontal line temperture failed").
 * @retval RADIMO_ERR_VERT_LINE the vertical line failed ("get vertical line temperture failed").
 * @retval RADIMO_ERR_SLOPE_LINE the slanted line failed ("get slope line temperture failed").
 *         After the checks, a line fails only in a frame with a width or height of 32768 or more,
 *         or when a slanted line's point set cannot be allocated.
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int get_line_temp(const uint16_t *frame, uint32_t resolution, point_t start, point_t end,
                             temp_result_t *out);
/**
 * Measures a horizontal line (start.y == end.y), from the smaller x to the larger one. Each sample
 * is the trimmed mean of the 5-sample horizontal neighbourhood (get_pixel_horz_neighb_array()).
 * Starting from max_temp 0 and min_temp 65535, a sample at or above the maximum moves the maximum
 * and its position, and a sample at or below the minimum moves the minimum and its position, so on
 * ties the last position in scan order wins; avg_temp = (sum + n / 2) / n over the n samples with
 * an unsigned 32-bit sum. The end points are not range-checked here (get_line_temp() does it).
 * @param frame the frame (width x height samples); a NULL frame fails at the first sample.
 * @param resolution width | height << 16.
 * @param start first end point.
 * @param end second end point, on start's row.
 * @param[out] out the result. Untouched when a check fails; when a sample fails, max_temp, min_temp
 *        and their positions hold the samples scanned before it (0, 65535 and the positions out
 *        held, if none) and avg_temp is untouched.
 * @retval RADIMO_SUCCESS the result is written.
 * @retval RADIMO_ERR_PARAM out is NULL ("data is NULL"); the points are not on one row or are equal
 *         ("line parameter is invalid").
 * @retval RADIMO_ERR_HORZ_NEIGHB frame is NULL or a sample lies outside the frame ("get pixel horz
 *         neighb array error", after the extractor's line).
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int get_horz_line_temp(const uint16_t *frame, uint32_t resolution, point_t start, point_t end,
                                  temp_result_t *out);
/**
 * Measures a vertical line (start.x == end.x), from the smaller y to the larger one, each sample
 * the trimmed mean of the 5-sample vertical neighbourhood (get_pixel_vert_neighb_array()); the
 * per-sample rule and the average are those of get_horz_line_temp(). The end points are not
 * range-checked here.
 * @param frame the frame (width x height samples); a NULL frame fails at the first sample.
 * @param resolution width | height << 16.
 * @param start first end point.
 * @param end second end point, on start's column.
 * @param[out] out the result; on failure as for get_horz_line_temp().
 * @retval RADIMO_SUCCESS the result is written.
 * @retval RADIMO_ERR_PARAM out is NULL ("data is NULL"); the points are not on one column or are
 *         equal ("line parameter is invalid").
 * @retval RADIMO_ERR_VERT_NEIGHB frame is NULL or a sample lies outside the frame; the message is
 *         deliberately the horizontal one ("get pixel horz neighb array error").
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int get_vert_line_temp(const uint16_t *frame, uint32_t resolution, point_t start, point_t end,
                                  temp_result_t *out);
/**
 * Measures a slanted line through its rasterised point set: the line starts at the end point with
 * the smaller x; get_slope(), get_point_num() (taken modulo 65536) and get_point_set() give its
 * points, allocated on the heap for the call and freed on every path. Each sample is the trimmed
 * mean of the 5-sample neighbourhood along the point list (get_pixel_slope_neighb_array(): within
 * two positions of either end of the list, every slot takes the point's own sample, so such a
 * sample is the pixel's value). The per-sample rule and the average are those of
 * get_horz_line_temp(). The end points are not range-checked here.
 * @param frame the frame (width x height samples); a NULL frame fails at the first sample.
 * @param resolution width | height << 16.
 * @param start first end point.
 * @param end second end point, on neither start's row nor its column.
 * @param[out] out the result; on failure as for get_horz_line_temp().
 * @retval RADIMO_SUCCESS the result is written.
 * @retval RADIMO_ERR_PARAM out is NULL ("data is NULL"); the points share a row or a column ("line
 *         parameter is invalid"); the point count is a multiple of 65536 ("the point is invalid").
 * @retval RADIMO_ERR_ALLOC the point set could not be allocated ("alloc point set memory failed").
 * @retval RADIMO_ERR_SLOPE_NEIGHB frame is NULL or a point lies outside the frame ("get pixel slope
 *         neighb array error").
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int get_slope_line_temp(const uint16_t *frame, uint32_t resolution, point_t start, point_t end,
                                   temp_result_t *out);
/**
 * Maximum, minimum and average of the 3x3 trimmed means (get_point_temp()) of every pixel of a
 * rectangle, scanned row by row, with the per-sample rule of get_horz_line_temp() (ties: last
 * position). avg_temp = (sum + n / 2) / n with an unsigned 32-bit sum, as the rule states: a hot
 * rectangle of more than 65537 pixels wraps the sum and reports a wrong average (radimo_frame_stats()
 * sums in 64 bits).
 * @param frame the frame (width x height samples).
 * @param resolution width | height << 16; each half is read as a signed 16-bit number.
 * @param origin top-left pixel of the rectangle, x >= 0 and y >= 0.
 * @param size rectangle size, w >= 1 and h >= 1, with origin.x + w <= width and origin.y + h <= height
 *        (a rectangle ending exactly at the frame edge is valid).
 * @param[out] out the result. On "the rect is invalid", max_temp is set to 0 and min_temp to 65535
 *        and the other fields are untouched; on a NULL frame it is untouched.
 * @retval RADIMO_SUCCESS the result is written.
 * @retval RADIMO_ERR_PARAM frame or out is NULL ("data is NULL"); the rectangle is empty or not
 *         inside the frame ("the rect is invalid").
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int get_rect_temp(const uint16_t *frame, uint32_t resolution, point_t origin, rect_size_t size,
                             temp_result_t *out);
/**
 * Slope of the line through two points, in single precision: ((float)p1.y - (float)p2.y) /
 * ((float)p1.x - (float)p2.x). Never fails and prints nothing.
 * @param p1 first point.
 * @param p2 second point.
 * @return the slope; an infinity or NaN when p1.x == p2.x.
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API float get_slope(point_t p1, point_t p2);
/**
 * Number of points of the rasterised line from p1 to p2: max(|dx|, |dy|) + 1, the differences taken
 * in 64 bits. Never fails and prints nothing.
 * @param p1 first point.
 * @param p2 second point.
 * @return the point count (wraps in the int for lines longer than INT_MAX points).
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int get_point_num(point_t p1, point_t p2);
/**
 * One point of a slanted line, in single precision. A shallow line (-1 <= slope <= 1) steps x: the
 * point is (t, round(y0 + slope * (t - x0))); a steep line steps y: the point is
 * (round((t - y0) / slope + x0), t). round() rounds halves upwards (floor, then up when the fraction,
 * taken in double precision, is at least 0.5). Never fails and prints nothing.
 * @param x0 x of the line's first point.
 * @param y0 y of the line's first point.
 * @param t the stepped coordinate (x for a shallow line, y for a steep one); t - x0 and t - y0 wrap
 *        in 32 bits.
 * @param slope the line's slope (get_slope()).
 * @return the point; a rounded coordinate that is NaN or beyond the int range is INT32_MIN.
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API point_t select_pixel(int x0, int y0, int t, float slope);
/**
 * The rasterised line starting at (x0, y0), its first point_num points from select_pixel(): a
 * shallow line with t = x0, x0 + 1, ...; a steep line with t = y0, y0 + 1, ..., or y0, y0 - 1, ...
 * when slope < -1 (the line starts at its smaller x, so a steep falling line walks y downwards).
 * @param x0 x of the first point (converted to int).
 * @param y0 y of the first point (converted to int).
 * @param point_num number of points to write; nothing is written when it is below 1.
 * @param[out] points receives point_num points; written only on success.
 * @param slope the line's slope (get_slope()).
 * @retval RADIMO_SUCCESS the points are written.
 * @retval RADIMO_ERR_PARAM points is NULL ("point set is NULL").
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int get_point_set(uint32_t x0, uint32_t y0, int point_num, point_t *points, float slope);
/**
 * Alarm state of one value against a threshold pair, in signed comparisons. Never fails and prints
 * nothing.
 * @param threshold the pair; high < low is an invalid pair.
 * @param value the value; only its low 16 bits count, as an unsigned number.
 * @return 3 when high < low; else 1 when the value is above high; else 2 when it is below low; else
 *         0 (within, bounds included).
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int point_over_threshold_alarm(threshold_t threshold, int value);
/**
 * Alarm state of a line or rectangle result against a threshold pair, in signed comparisons. The
 * average is tested against both thresholds too, deliberately.
 * @param threshold the pair; high < low is an invalid pair.
 * @param result the measurement (get_line_temp(), get_rect_temp()); only read.
 * @return 3 when high < low; else 1 when max_temp or avg_temp is above high; else 2 when the smaller
 *         of min_temp and avg_temp is below low; else 0; or RADIMO_ERR_PARAM (-1100) when result is
 *         NULL ("data is NULL").
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int line_rect_over_threshold_alarm(threshold_t threshold, const temp_result_t *result);

/* ------------------------------------------------------------------------- */
/* NUC tables                                                                */
/* ------------------------------------------------------------------------- */
/*
 * A NUC table maps NUC values to temperatures in 1/16 K. The standard table has 8192 entries
 * indexed by NUC value / 2; the _table_len functions also take 16384-entry tables indexed by the
 * NUC value itself. Tables may be flat at either end and may rise or fall with the index (a
 * falling table is a hot-mode table). Messages use module "src/temp_correct".
 */

/**
 * Temperature of a NUC value in an 8192-entry table: *temp = nuc_table[min(nuc & 0xFFFF, 16383) >> 1]
 * (1/16 K). NUC values 2k and 2k + 1 read the same entry.
 * @param nuc_table 8192 entries.
 * @param nuc the NUC value; only the low 16 bits count, capped at 16383.
 * @param[out] temp the entry; not NULL-checked (must not be NULL); written only on success.
 * @retval RADIMO_SUCCESS the temperature is written.
 * @retval RADIMO_ERR_PARAM nuc_table is NULL ("nuc_table is NULL").
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int remap_temp(const uint16_t *nuc_table, uint32_t nuc, uint16_t *temp);
/**
 * Temperature in degC of a NUC value: v = nuc_table[n >> 1] for an 8192-entry table or
 * nuc_table[n] for a 16384-entry one, n = min(nuc & 0xFFFF, 16383); *temp = v * 0.0625 (single
 * precision) - 273.15 (double precision), stored as float.
 * @param nuc_table nuc_table_len entries.
 * @param nuc the NUC value; only the low 16 bits count, capped at 16383.
 * @param nuc_table_len 8192 or 16384; only the low 16 bits count.
 * @param[out] temp the temperature, degC; written only on success.
 * @retval RADIMO_SUCCESS the temperature is written.
 * @retval RADIMO_ERR_PARAM nuc_table or temp is NULL ("data is invalid"); another length
 *         ("nuc_table_len is invalid").
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int calc_temperature_with_nuc_t_table_len(const uint16_t *nuc_table, uint32_t nuc,
                                                     uint32_t nuc_table_len, float *temp);
/**
 * NUC value of a temperature in an 8192-entry table, by a scan for the nearest entry. The target
 * (temp + 273.15) * 16 (double precision, kept as float) is first moved one unit inside the range
 * of the table's first and last entries; the scan then stops at the first index i whose entry
 * matches it (within 0.0001) or where it lies strictly between entries i and i + 1. An exact match
 * gives 2 i; a bracket gives 2 i when entry i + 1 lies farther above the target than entry i lies
 * below it, else 2 (i + 1): the nearer entry of a rising table (a tie goes up) and, deliberately,
 * the farther entry of a falling one. Debug lines give the table's ends, the target and the entries.
 * @param nuc_table 8192 entries.
 * @param[out] nuc the NUC value, always even. Set to 0 on "reverse calculate failed"; untouched on the
 *        other failures.
 * @param temp the temperature, degC.
 * @retval RADIMO_SUCCESS the NUC value is written.
 * @retval RADIMO_ERR_PARAM nuc_table or nuc is NULL ("data is invalid"); no entry matches or
 *         brackets the target, for instance for a NaN temp or a table whose first and last entries
 *         are equal ("reverse calculate failed").
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int reverse_calc_NUC_with_nuc_t(const uint16_t *nuc_table, uint16_t *nuc, float temp);
/**
 * NUC value of a temperature in a table of 8192 or 16384 entries: the search of
 * reverse_calc_NUC_with_nuc_t() over nuc_table_len entries. The result is the entry's index for a
 * 16384-entry table and twice the index for an 8192-entry one. One debug line closes the search.
 * @param nuc_table nuc_table_len entries.
 * @param nuc_table_len 8192 or 16384; only the low 16 bits count.
 * @param[out] nuc the NUC value. Set to 0 on "reverse calculate failed"; untouched on the other
 *        failures.
 * @param temp the temperature, degC.
 * @retval RADIMO_SUCCESS the NUC value is written.
 * @retval RADIMO_ERR_PARAM nuc_table or nuc is NULL ("data is invalid"); another length
 *         ("nuc_table_len is invalid"); the larger of the first and last entries is 0 ("NUC value is
 *         invalid"); no entry matches or brackets the target ("reverse calculate failed").
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int reverse_calc_NUC_with_nuc_t_table_len(const uint16_t *nuc_table, uint32_t nuc_table_len,
                                                     uint16_t *nuc, float temp);
/**
 * Inverse of recalc_NUC_with_env_correct(): the NUC value before the environment factor was
 * applied, q = ((BE + (object_nuc & 0xFFFF)) * 16384) / KE in unsigned 32-bit arithmetic (the sum and
 * the product wrap); its low 16 bits, capped at 16383, are written.
 * @param env_factor the factor (KE non-zero); only read.
 * @param object_nuc the environment-corrected NUC value; only the low 16 bits count.
 * @param[out] nuc the NUC value; written only on success.
 * @retval RADIMO_SUCCESS the NUC value is written.
 * @retval RADIMO_ERR_PARAM env_factor is NULL ("env_factor is NULL"); nuc is NULL ("nuc is NULL");
 *         KE is 0 ("env_factor is invalid").
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int reverse_calc_NUC_without_env_correct(const env_factor_t *env_factor, uint32_t object_nuc,
                                                    uint16_t *nuc);
/**
 * NUC value of a frame position: the trimmed mean of the 25 samples of its 5x5 square (the centre
 * sample standing in for positions outside the frame). The point is not range-checked and the
 * extraction's result is deliberately not examined: a point outside the frame gives 0, with
 * RADIMO_SUCCESS.
 * @param frame a NUC frame (width x height samples).
 * @param resolution width | height << 16.
 * @param point the pixel (see get_pixel_square_array()).
 * @param[out] nuc the NUC value; written only on success.
 * @retval RADIMO_SUCCESS the NUC value is written.
 * @retval RADIMO_ERR_PARAM frame is NULL ("src is NULL"); nuc is NULL ("nuc is NULL").
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int get_NUC_value(const uint16_t *frame, uint32_t resolution, point_t point, uint16_t *nuc);
/**
 * Moves a start/end index pair past the flat runs at the ends of a table: the start to the first
 * entry after the flat run holding it, the end to the first entry of the flat run holding it. With
 * n = len & 0xFFFF: the start moves only when addr_in[0] < n and some later entry differs from it;
 * the end moves only when addr_in[1] < n and some earlier entry differs from it; otherwise the
 * corresponding output entry is left unchanged. Example: entries 0, 0, 0, 5, 6, 7, 9, 9 with start 0
 * and end 7 give start 3 and end 6.
 * @param nuc_table n entries.
 * @param addr_in {start, end}.
 * @param len number of entries; only the low 16 bits count.
 * @param[in,out] addr_out {start, end}; each entry written only when it moves (may be addr_in).
 * @retval RADIMO_SUCCESS always, after the checks.
 * @retval RADIMO_ERR_PARAM nuc_table, addr_in or addr_out is NULL ("data is NULL").
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int find_start_and_end_addr(const uint16_t *nuc_table, const uint16_t *addr_in, int len,
                                       uint16_t *addr_out);

/**
 * NUC value of a temperature through a quadratic NUC factor: with T = temp + 273.15 (kept as float),
 * trunc((c2 T^2 + c1 T) * 2^-20 + c0), the polynomial in single precision and the rest in double; its
 * low 16 bits are written. No rounding term and no cap (unlike reverse_calc_NUC_with_env_correct()).
 * @param nuc_factor the factor; only read.
 * @param[out] nuc the NUC value; written only on success.
 * @param temp the temperature, degC.
 * @retval RADIMO_SUCCESS the NUC value is written.
 * @retval RADIMO_ERR_PARAM nuc_factor or nuc is NULL ("data is invalid").
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int calculate_nuc_with_nuc_factor(const nuc_factor_t *nuc_factor, uint16_t *nuc, float temp);
/**
 * Builds an 8192-entry high-gain NUC table from a NUC factor. Entries below the table index of
 * 253 K get 4048 (253 K); a scan over 253 K .. 423 K in 1/64 K steps writes each step's temperature
 * (1/16 K) into the entries its index reaches (the first, colder, step keeps an entry; a jump over
 * several entries fills them all with the temperature that reached the last); entries from the index
 * of 423 K upwards get 6768 (423 K). Indices are computed with 64-bit products and separately floored
 * shifts; an index outside the table is never written, and entries no write reaches keep the
 * buffer's previous contents.
 * @param nuc_factor the factor; only read.
 * @param[out] nuc_table 8192 entries; written only on success.
 * @retval RADIMO_SUCCESS the table is written.
 * @retval RADIMO_ERR_PARAM nuc_factor or nuc_table is NULL ("data is invalid").
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int generate_high_gain_nuc_t(const nuc_factor_t *nuc_factor, uint16_t *nuc_table);
/**
 * Builds an 8192-entry low-gain NUC table from a NUC factor: as generate_high_gain_nuc_t() over
 * 273 K .. 823 K in 1/8 K steps, with 4368 (273 K) below the range and 13168 (823 K) from its end up.
 * @param nuc_factor the factor; only read.
 * @param[out] nuc_table 8192 entries; written only on success.
 * @retval RADIMO_SUCCESS the table is written.
 * @retval RADIMO_ERR_PARAM nuc_factor or nuc_table is NULL ("data is invalid").
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int generate_low_gain_nuc_t(const nuc_factor_t *nuc_factor, uint16_t *nuc_table);

/* ------------------------------------------------------------------------- */
/* Environment factors and K/B recalibration                                 */
/* ------------------------------------------------------------------------- */
/*
 * The environment factor (KE, BE) models the scene linearly in the NUC domain: object NUC =
 * KE * measured NUC / 16384 - BE, with KE = 1 / (emissivity * transmittance) in Q14 and BE the
 * weighted NUC values of the reflected (Tu) and ambient (Ta) temperatures:
 * BE = (ems_term * NUC(Tu) + tau_term * NUC(Ta) + 8192) >> 14, ems_term = (1 - ems) / ems and
 * tau_term = (1 - tau) / (ems * tau), both in Q14. The integer calculators take the scene in "org"
 * or "new" units (see env_param_t) and a gain mode: its low 8 bits select high gain (1: ta and tu
 * must lie in 230 .. 430 K), low gain (0: 230 .. 873 K) or no temperature check (any other value).
 * Messages use module "src/temp_correct".
 */

/**
 * Environment factor of an org-unit scene, the NUC values of Ta and Tu from the NUC factor:
 * NUC(T) = (((c2 T + c1) T + 2^19) >> 20) + c0 in signed 64-bit arithmetic, capped at 16383, a
 * negative value counting as 0. KE = 268419072 / (ems * tau) (16383 * 16384: a perfect scene,
 * ems = tau = 128, gives KE 16383), ems_term = (128 - ems) * 16384 / ems,
 * tau_term = (128 - tau) * 2^21 / (ems * tau), signed 32-bit; BE in signed 64-bit arithmetic.
 * @param env_param the scene in org units: ems and tau in Q7 (128 = 1.0), ta and tu in whole kelvin.
 * @param nuc_factor the NUC factor; only read.
 * @param gain gain mode (low 8 bits: 1 high, 0 low, other: no temperature check).
 * @param[out] env_factor the factor; written only on success.
 * @retval RADIMO_SUCCESS the factor is written.
 * @retval RADIMO_ERR_PARAM a pointer is NULL ("data is NULL"); ems is 0 or above 128 ("EMS is
 *         invalid"; a negative ems is not refused in org units); tau outside 1 .. 128 ("TAU is
 *         invalid"); ta or tu outside the gain's range ("Ta or Tu is invalid in high gain mode", "Ta or
 *         Tu is invalid in low gain mode"); ems * tau wraps to 0 ("EMS is invalid").
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int calculate_KE_and_BE(const env_param_t *env_param, const nuc_factor_t *nuc_factor, int gain,
                                   env_factor_t *env_factor);
/**
 * Environment factor of a new-unit scene, the NUC values of Ta and Tu from the NUC factor:
 * NUC(T) = ((((c2 T T) >> 8) + ((T c1) >> 4) + 2^19) >> 20) + c0 with T in 1/16 K, each shift
 * floored, capped at 16383, a negative value counting as 0. KE = 2^42 / (ems * tau) (kept as 32
 * bits), tau_term = (16384 - tau) * 2^28 / (tau * ems) (64-bit, kept as 32 bits),
 * ems_term = (16384 - ems) * 16384 / ems; BE in signed 64-bit arithmetic.
 * @param env_param the scene in new units: ems and tau in Q14 (1 .. 16384), ta and tu in 1/16 K.
 * @param nuc_factor the NUC factor; only read.
 * @param gain gain mode (low 8 bits: 1 high, 3680 .. 6880; 0 low, 3680 .. 13968; other: no check).
 * @param[out] env_factor the factor; written only on success.
 * @retval RADIMO_SUCCESS the factor is written.
 * @retval RADIMO_ERR_PARAM a pointer is NULL ("data is NULL"); ems outside 1 .. 16384 ("new EMS is
 *         invalid"); tau outside 1 .. 16384 ("new TAU is invalid"); ta or tu outside the gain's range
 *         ("new Ta or Tu is invalid in high gain mode", "new Ta or Tu is invalid in low gain mode").
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int calculate_new_KE_and_BE(const env_param_t *env_param, const nuc_factor_t *nuc_factor, int gain,
                                       env_factor_t *env_factor);
/**
 * Environment factor of an org-unit scene, the NUC values of Ta and Tu from an 8192-entry NUC table:
 * reverse_calc_NUC_with_nuc_t() at (float)T - 273.15 degC, capped at 16384 (one above the NUC
 * range, deliberately). KE = 2^28 / (ems * tau) (a perfect scene gives 16384); ems_term and tau_term
 * as in calculate_KE_and_BE(); BE in signed 32-bit arithmetic.
 * @param env_param the scene in org units: ems and tau in Q7, ta and tu in whole kelvin.
 * @param nuc_table 8192 entries.
 * @param gain gain mode (low 8 bits: 1 high, 0 low, other: no temperature check).
 * @param[out] env_factor the factor; written only on success.
 * @retval RADIMO_SUCCESS the factor is written.
 * @retval RADIMO_ERR_PARAM a pointer is NULL (" env_param or nuc_table or env_factor is invalid", with
 *         its leading space); the scene checks of calculate_KE_and_BE(), with its messages.
 * @retval RADIMO_ERR_REVERSE_NUC a lookup failed ("reverse calculate NUC value failed").
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int calculate_org_KE_and_BE_with_nuc_t(const env_param_t *env_param, const uint16_t *nuc_table,
                                                  int gain, env_factor_t *env_factor);
/**
 * Environment factor of a new-unit scene, the NUC values of Ta and Tu from an 8192-entry NUC table:
 * reverse_calc_NUC_with_nuc_t() at (float)(T >> 4) - 273.15 degC (the 1/16 K fraction is dropped
 * before the lookup, deliberately), capped at 16384. Only the Ta lookup's failure is reported; a
 * failing Tu lookup leaves NUC(Tu) at 0 and the factor is still written, deliberately. KE, ems_term,
 * tau_term and BE as in calculate_new_KE_and_BE().
 * @param env_param the scene in new units: ems and tau in Q14, ta and tu in 1/16 K.
 * @param nuc_table 8192 entries.
 * @param gain gain mode (low 8 bits: 1 high, 0 low, other: no temperature check).
 * @param[out] env_factor the factor; written only on success.
 * @retval RADIMO_SUCCESS the factor is written.
 * @retval RADIMO_ERR_PARAM a pointer is NULL (" env_param or nuc_table or env_factor is invalid"); the
 *         scene checks of calculate_new_KE_and_BE(), with its messages.
 * @retval RADIMO_ERR_REVERSE_NUC the Ta lookup failed ("reverse calculate NUC value failed").
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int calculate_new_KE_and_BE_with_nuc_t(const env_param_t *env_param, const uint16_t *nuc_table,
                                                  int gain, env_factor_t *env_factor);
/**
 * Environment factor of a scene described in floats. quant_ems = (int)(ems * 16384) (truncated, 16
 * bits); tau = read_tau() at the scene's hum, ta and dist; NUC(Ta) and NUC(Tu) from
 * reverse_calc_NUC_with_nuc_t() at ta and tu, capped at 16383. KE = 2^42 / (quant_ems * tau) (kept
 * as 32 bits), ems_term = (16384 - quant_ems) * 16384 / quant_ems, tau_term =
 * (16384 - tau) * 2^28 / (quant_ems * tau) (64-bit); BE = (ems_term NUC(Tu) + tau_term NUC(Ta) + 8192)
 * >> 14. Logs quant_ems and the scene on the debug printer.
 * @param env_correct_param the scene: ems in (0, 1], hum 0 .. 1, dist >= 0 m (read_tau() accepts
 *        0.25 m to below 50 m only), ta and tu -273.15 .. 100 degC; only read.
 * @param tau_table environment tau table (3584 entries, see read_tau()).
 * @param nuc_table 8192 entries.
 * @param[out] env_factor the factor; written only on success.
 * @retval RADIMO_SUCCESS the factor is written.
 * @retval RADIMO_ERR_PARAM a pointer is NULL ("input param is invalid"); ems <= 0 or above 1 ("new
 *         EMS is invalid"); hum outside 0 .. 1 ("hum is out of range"); dist < 0 ("dist is invalid");
 *         ta or tu outside -273.15 .. 100 ("ta is invalid", "tu is invalid"); ems below 2^-14, which
 *         quantises to 0 ("new EMS is invalid"); the table's tau is 0 ("new TAU is invalid").
 * @retval RADIMO_ERR_TAU_TABLE read_tau() failed, for a distance outside 0.25 .. 50 m ("read_tau
 *         failed").
 * @retval RADIMO_ERR_REVERSE_NUC the Ta lookup failed ("reverse_calc_NUC_with_nuc_t failed") or the Tu
 *         lookup failed (deliberately reported as "read_tau failed").
 * @par Thread safety
 * Reentrant; reads dist_table and temp_table.
 */
RADIMO_API int calc_env_factor_with_dist_and_env_temp(const env_correct_param_t *env_correct_param,
                                                      const uint16_t *tau_table, const uint16_t *nuc_table,
                                                      env_factor_t *env_factor);
/**
 * Applies an environment factor: v = ((((nuc & 0xFFFF) * KE) mod 2^32) >> 14) - BE, kept as 16 bits;
 * a v above 32768 (a negative object NUC value) gives 0, a v above 16383 gives 16383.
 * @param env_factor the factor; only read.
 * @param nuc the measured NUC value; only the low 16 bits count.
 * @param[out] new_nuc the object NUC value, 0 .. 16383; written only on success.
 * @retval RADIMO_SUCCESS the NUC value is written.
 * @retval RADIMO_ERR_PARAM env_factor is NULL ("env_factor is NULL"); new_nuc is NULL ("data is NULL").
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int recalc_NUC_with_env_correct(const env_factor_t *env_factor, int nuc, uint16_t *new_nuc);
/**
 * NUC value of a temperature in kelvin through a NUC factor, rounded: trunc((c2 T^2 + T c1 + 2^19) *
 * 2^-20 + c0) in double precision, kept as 16 bits (a negative value wraps), then 16384 or more
 * becomes 16383.
 * @param nuc_factor the factor; only read.
 * @param[out] nuc the NUC value, 0 .. 16383; written only on success.
 * @param temp the temperature, K.
 * @retval RADIMO_SUCCESS the NUC value is written.
 * @retval RADIMO_ERR_PARAM nuc_factor is NULL ("nuc_factor is NULL"); nuc is NULL ("data is NULL").
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int reverse_calc_NUC_with_env_correct(const nuc_factor_t *nuc_factor, uint16_t *nuc, double temp);
/**
 * A reading through two linear stages with Q10 scaling, in double precision:
 * *temp = ((K1 x + B1) * K2 / 1024 + B2) / 1024 with x = value & 0xFFFF. What the stages mean (for
 * instance a sensor reading to an ambient temperature) is the caller's.
 * @param first the first stage (K1, B1); only read.
 * @param second the second stage (K2, B2); only read.
 * @param value the reading; only the low 16 bits count.
 * @param[out] temp the result; written only on success.
 * @retval RADIMO_SUCCESS the result is written.
 * @retval RADIMO_ERR_PARAM a pointer is NULL ("data is NULL").
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int env_temp_calculate(const kb_param_t *first, const kb_param_t *second, int value, double *temp);

/**
 * Second stage of env_temp_calculate() that maps the first stage's output at x onto target: with
 * y = x * K1 + B1 (wrapping 32-bit arithmetic), new K = 1024 (1.0) and new B = trunc(target * 1024 - y).
 * @param first_stage the first stage (K1, B1); only read.
 * @param x the reading.
 * @param[out] new_kb the second stage; written only on success.
 * @param target the value the two stages are to give at x.
 * @retval RADIMO_SUCCESS the stage is written.
 * @retval RADIMO_ERR_PARAM first_stage or new_kb is NULL ("data is NULL").
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int single_point_recalibrate_KB(const kb_param_t *first_stage, uint32_t x, kb_param_t *new_kb,
                                           double target);
/**
 * Second stage of env_temp_calculate() through two points: with d = (xa - xb) * K1 and
 * ya = K1 xa + B1 (wrapping 32-bit arithmetic), new K = trunc((ta - tb) * 2^20 / d) and new
 * B = trunc(ta * 1024 - (ya * K, wrapping 32-bit) / 1024), in double precision. The two stages then
 * give ta at xa and tb at xb, within truncation.
 * @param first_stage the first stage (K1, B1); only read.
 * @param x {xa, xb}, the two readings.
 * @param target {ta, tb}, the values the two stages are to give there.
 * @param[out] new_kb the second stage; written only on success.
 * @retval RADIMO_SUCCESS the stage is written.
 * @retval RADIMO_ERR_PARAM a pointer is NULL ("data is NULL"); d is 0, from equal readings or a zero
 *         K1 ("data is invalid").
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int double_point_recalibrate_KB(const kb_param_t *first_stage, const uint32_t *x,
                                           const double *target, kb_param_t *new_kb);
/**
 * Offset of a line through the end of a KT/BT index range: with v_end =
 * ((end + Address_CA + 1 - B_Temp) * 16384) / K_Temp (wrapping 32-bit product, division truncating
 * toward zero), the vtemp at which the KT/BT index reaches the end index, kb->B = value * 1024 -
 * v_end * kb->K (kept as 32 bits).
 * @param kt_info K_Temp (non-zero), B_Temp and Address_CA are read.
 * @param index {start, end} KT/BT indices; they must differ.
 * @param value the line's value at the end of the range.
 * @param[in,out] kb K is read (set it beforehand), B is written; B written only on success.
 * @retval RADIMO_SUCCESS B is written.
 * @retval RADIMO_ERR_PARAM a pointer is NULL ("data is NULL"); equal indices or a zero K_Temp
 *         ("kt_info is invalid").
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int calculate_Kn_and_Bn(const second_calib_param_t *kt_info, const uint16_t *index,
                                   const uint32_t *value, kb_param_t *kb);

/* ------------------------------------------------------------------------- */
/* KT/BT correction                                                          */
/* ------------------------------------------------------------------------- */
/*
 * The sensor's response drifts with the temperature of its focal plane, reported as the reading
 * vtemp. Two arrays indexed by the focal-plane temperature remove the drift: Q14 gains kt_array and
 * offsets bt_array. The entry of a reading: T_FPA = ((vtemp * K_Temp + 8192) >> 14) + B_Temp
 * (rounded Q14 product, signed 32-bit), index = T_FPA - Address_CA - 1, each clamped to the ranges of
 * the arrays (radimo_ktbt_index() gives it). Messages of the index functions use module
 * "src/sencond_cal", the others "src/temp_correct".
 */

/**
 * KT/BT index of a reading after a lens change: T_FPA = ((vtemp * K_Temp) >> 14) + B_Temp, the product
 * truncated rather than rounded (deliberately: the index can differ by one from that of the
 * correction), index = T_FPA - Address_CA - 1, then an index below 0 gives 0 and one at or above
 * ktbt_index_len gives ktbt_index_len - 1 (so -1 when ktbt_index_len is 0). Logs the index,
 * B_Temp, Address_CA, K_Temp and T_FPA on the debug printer.
 * @param vtemp the focal-plane reading; only the low 16 bits count, as an unsigned number.
 * @param second_calib_param K_Temp, B_Temp, Address_CA and ktbt_index_len are read.
 * @param[out] ktbt_index the index; written only on success.
 * @retval RADIMO_SUCCESS the index is written.
 * @retval RADIMO_ERR_PARAM second_calib_param or ktbt_index is NULL ("data is NULL").
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int calculate_ktbt_index_according_vtemp_in_change_lens(
    int vtemp, const second_calib_param_t *second_calib_param, int *ktbt_index);
/**
 * The KT/BT index that the forward correction uses for the record's vtemp, with the clamps of the
 * arrays' length: for 1201 entries (ktbt_correct_process()) T_FPA is clamped to 0 .. 4095 and the
 * index to 0 .. 1200, for 3601 entries (ktbt_correct_process_with_version3()) to 0 .. 16383 and
 * 0 .. 3600. Extension of this library: hosts, tools and bindings that show or plot the index ask
 * here rather than repeat the formula.
 * @param ktbt_param K_Temp, B_Temp, Address_CA and vtemp are read; the arrays are not (they may be
 *        NULL).
 * @param ktbt_len length of the KT/BT arrays: 1201 or 3601.
 * @param[out] index the index, 0 .. ktbt_len - 1; written only on success.
 * @retval RADIMO_SUCCESS the index is written.
 * @retval RADIMO_ERR_PARAM ktbt_param or index is NULL ("data is NULL"); another length ("ktbt_len is
 *         invalid").
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int radimo_ktbt_index(const ktbt_correct_param_t *ktbt_param, uint32_t ktbt_len, int32_t *index);
/**
 * Corrects a raw NUC value for the focal-plane temperature, 1201-entry arrays. The entry used is
 * index = ((vtemp * K_Temp + 8192) >> 14) + B_Temp - Address_CA - 1, clamped to 0 .. 1200 (the
 * focal-plane temperature before it to 0 .. 4095); the result bt[index] + ((kt[index] * nuc + 8192)
 * >> 14), in signed 32-bit arithmetic, is clamped to 0 .. 16383. Integer arithmetic only; no
 * division, no allocation, no logging on success.
 * @param ktbt_param the record: K_Temp, B_Temp, Address_CA, vtemp and the arrays (1201 entries each).
 * @param nuc the raw NUC value; only the low 16 bits count.
 * @param[out] new_nuc the corrected NUC value, 0 .. 16383; written only on success.
 * @retval RADIMO_SUCCESS the value is written.
 * @retval RADIMO_ERR_PARAM ktbt_param or new_nuc is NULL ("data is null"); kt_array or bt_array is
 *         NULL ("kt_array or bt_array is NULL").
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int ktbt_correct_process(const ktbt_correct_param_t *ktbt_param, uint32_t nuc, uint16_t *new_nuc);
/**
 * Corrects a raw NUC value for the focal-plane temperature, 3601-entry arrays: as
 * ktbt_correct_process(), with T_FPA clamped to 0 .. 16383 and the index to 0 .. 3600.
 * @param ktbt_param the record: K_Temp, B_Temp, Address_CA, vtemp and the arrays (3601 entries each).
 * @param nuc the raw NUC value; only the low 16 bits count.
 * @param[out] new_nuc the corrected NUC value, 0 .. 16383; written only on success.
 * @retval RADIMO_SUCCESS the value is written.
 * @retval RADIMO_ERR_PARAM ktbt_param or new_nuc is NULL ("data is null"); kt_array or bt_array is
 *         NULL ("kt_array or bt_array is NULL").
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int ktbt_correct_process_with_version3(const ktbt_correct_param_t *ktbt_param, uint32_t nuc,
                                                  uint16_t *new_nuc);
/**
 * The raw NUC value that the forward correction maps onto nuc, 1201-entry arrays. The index is that
 * of ktbt_correct_process() (computed from vtemp and the record's K_Temp, B_Temp and Address_CA);
 * then ((nuc - bt[index]) * 16384 - 8192) / kt[index], in 32-bit two's complement with an unsigned
 * division (the minus 8192 mirrors the forward rounding term, so a gain of 1.0 maps 1000 to 999); its
 * low 16 bits, capped at 16383, are written. There is no lower clamp: a value below the offset wraps
 * into a large quotient whose low 16 bits are kept, deliberately.
 * @param ktbt_param K_Temp, B_Temp and Address_CA are read.
 * @param kt_array Q14 gains, 1201 entries.
 * @param bt_array offsets, 1201 entries.
 * @param table not read (accepted for the callers' sake; may be NULL).
 * @param vtemp the focal-plane reading; only the low 16 bits count.
 * @param nuc the corrected NUC value; only the low 16 bits count.
 * @param[out] new_nuc the raw NUC value, 0 .. 16383; written only on success.
 * @retval RADIMO_SUCCESS the value is written.
 * @retval RADIMO_ERR_PARAM ktbt_param or new_nuc is NULL ("ktbt_param or new_nuc is NULL"); kt_array
 *         or bt_array is NULL ("kt_array or bt_array is NULL"); the gain at the index is 0
 *         ("kt_array is invalid").
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int reverse_ktbt_correct(const second_calib_param_t *ktbt_param, const uint16_t *kt_array,
                                    const int16_t *bt_array, const uint16_t *table, int vtemp, uint32_t nuc,
                                    uint16_t *new_nuc);
/**
 * The raw NUC value that the forward correction maps onto nuc, for arrays of ktbt_index_len entries:
 * as reverse_ktbt_correct(), with T_FPA clamped to 0 .. 16383 and the index limited by the record (below
 * 0 gives 0, at or above ktbt_index_len gives ktbt_index_len - 1).
 * @param ktbt_param K_Temp, B_Temp, Address_CA and ktbt_index_len (at least 1) are read.
 * @param kt_array Q14 gains, ktbt_index_len entries.
 * @param bt_array offsets, ktbt_index_len entries.
 * @param table not read (may be NULL).
 * @param vtemp the focal-plane reading; only the low 16 bits count.
 * @param nuc the corrected NUC value; only the low 16 bits count.
 * @param[out] new_nuc the raw NUC value, 0 .. 16383; written only on success.
 * @retval RADIMO_SUCCESS the value is written.
 * @retval RADIMO_ERR_PARAM ktbt_param or new_nuc is NULL ("ktbt_param or new_nuc is NULL"); kt_array
 *         or bt_array is NULL ("kt_array or bt_array is NULL"); ktbt_index_len is 0 ("ktbt_index_len is
 *         invalid"); the gain at the index is 0 ("kt_array is invalid").
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int reverse_ktbt_correct_with_version3(const second_calib_param_t *ktbt_param,
                                                  const uint16_t *kt_array, const int16_t *bt_array,
                                                  const uint16_t *table, int vtemp, uint32_t nuc,
                                                  uint16_t *new_nuc);
/**
 * The per-pixel measurement: corrects a raw NUC value with ktbt_correct_process() and writes the
 * 8192-entry NUC table's temperature of the result (remap_temp()). radimo_frame_temp_measure() does
 * the same for a whole frame.
 * @param ktbt_param the correction record (1201-entry arrays); only read.
 * @param nuc_table 8192 entries.
 * @param nuc the raw NUC value; only the low 16 bits count.
 * @param[out] temp the temperature in 1/16 K (degC = temp / 16 - 273.15); written only on success.
 * @retval RADIMO_SUCCESS the temperature is written.
 * @retval RADIMO_ERR_PARAM nuc_table, temp or ktbt_param is NULL ("ktbt correct param or nuc_table or
 *         temp data is in valid.").
 * @retval RADIMO_ERR_KTBT_CORRECT the correction failed: kt_array or bt_array is NULL ("ktbt correct
 *         process failed").
 * @retval RADIMO_ERR_REMAP the table lookup failed ("remap temp failed"); cannot occur after the
 *         checks.
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int temp_measure_with_NUC_value(const ktbt_correct_param_t *ktbt_param, const uint16_t *nuc_table,
                                           uint32_t nuc, uint16_t *temp);

/* ------------------------------------------------------------------------- */
/* Double-point KT/BT recalibration                                          */
/* ------------------------------------------------------------------------- */
/*
 * Two blackbodies, a high and a low one, each seen at a known focal-plane reading (high_vtemp,
 * low_vtemp), with the temperatures the camera reported (actual_*_celsius) and their true
 * temperatures (target_*_celsius), rewrite the KT/BT arrays so that the camera reports the true
 * temperatures. All float arithmetic is single precision in the order written. Four stages:
 *  1. target line: the true temperatures, after the scene correction chosen by the correction mode
 *     (0-3: the environment factor of calc_env_factor_with_dist_and_env_temp(), taken out of the
 *     target NUC values, with the correction table as environment tau table; 4-7: the target
 *     temperatures replaced by their apparent temperatures with
 *     reverse_enhance_distance_temp_correct(), the correction table being the raw correction table;
 *     8 and above: none), looked up in the NUC table; the line NUC = sitf * T + b_offset through
 *     them (before_nuct); the same NUC values with KT/BT removed at the calibration indices
 *     (((N - bt[i]) * 16384) / kt[i], signed 32-bit, low 16 bits kept) give the line before_ktbt;
 *  2. actual line: the reported temperatures through the table-length lookup (nuc_table_len
 *     entries), KT/BT removed, fitted against the target temperatures as they stand after stage 1
 *     (no scene correction on this side, whatever the mode);
 *  3. the coefficients: Kc = before_ktbt.sitf / actual.sitf, Bc = before_ktbt.b_offset -
 *     actual.b_offset * Kc; the current arrays applied at the two calibration points after that
 *     map give the line (sitf_c, b_c); Kd = before_nuct.sitf / sitf_c, Bd = before_nuct.b_offset -
 *     b_c * Kd (see KcBc_KdBd_calculate());
 *  4. every entry i of 0 .. ktbt_array_len - 1 rewritten: new_kt[i] = trunc(kt[i] * Kc * Kd),
 *     new_bt[i] = trunc(float(trunc(kt[i] * (Bc * Kd) + 8192) >> 14) + bt[i] * Kd + Bd), stored
 *     with 16-bit wrapping and no clamping.
 * The calibration indices come from the rounded index of the correction (limited by the record's
 * ktbt_index_len) and must lie inside the arrays (below ktbt_array_len, or ktbt_index_len when
 * ktbt_array_len is 0). Equal target temperatures are not refused by the established drivers: the
 * coefficients become infinite or NaN and the arrays receive their truncations. Messages use module
 * "src/sencond_cal"; debug lines trace every stage.
 */

/**
 * Double-point recalibration of one pair of KT/BT arrays from two blackbodies that share one scene
 * (stages 1 to 4 above, the 8192-entry lookup for the target temperatures).
 * @param[in,out] param the scene of both blackbodies and the second-calibration fields. In modes 4-7
 *        target_high_celsius and target_low_celsius are replaced by their apparent temperatures, also
 *        when a later step fails (a second call corrects them again).
 * @param correct_mode 0-3 environment factor, 4-7 enhanced-distance correction, 8 and above none.
 * @param multi_point_calib_array kt_array and bt_array (ktbt_array_len entries), nuc_table (8192
 *        entries, and nuc_table_len for the actual lookup), correct_table (the environment tau table
 *        in modes 0-3, the raw correction table in modes 4-7; required even when not read) and
 *        correct_table_arg (passed on); only read.
 * @param[out] result kt_array and bt_array receive ktbt_array_len entries each, written only on
 *        success (nothing when ktbt_array_len is 0).
 * @retval RADIMO_SUCCESS the new arrays are written.
 * @retval RADIMO_ERR_PARAM param, multi_point_calib_array or result is NULL ("handle is NULL"); an
 *         input array or a result array is NULL ("multi_point_calib_array is NULL", the same text for
 *         both, deliberately).
 * @retval RADIMO_ERR_SITF_OFFSET stage 1 failed ("calculate_target_sitf_and_offset_before_ktbt
 *         failed") or stage 2 failed ("calculate_actual_sitf_and_offset_before_ktbt failed"), after the
 *         stage's own line: a failed scene correction ("reverse high temp failed", "reverse low temp
 *         failed", "calc_high_temp_env_factor_with_dist_and_env_temp failed",
 *         "calc_low_temp_env_factor_with_dist_and_env_temp failed", "reverse_calc_NUC_without_env_correct
 *         failed"), a failed lookup ("reverse_calc_nuc_with_nuc_t failed", "reverse_calc_NUC_with_nuc_t
 *         failed"), or a calibration index outside the arrays ("ktbt_index is invalid") or with a zero
 *         gain ("kt_array is invalid") followed by "reverse_calc_nuc_with_ktbt failed".
 * @retval RADIMO_ERR_KTBT_UPDATE stages 3-4 failed ("update_kt_and_bt_array_double_point failed");
 *         cannot occur.
 * @par Thread safety
 * Reentrant as long as no other call uses the same param record; reads the exported grids and
 * emissivity tables in modes 0-7.
 */
RADIMO_API int new_ktbt_recal_double_point_calculate(second_cal_param_t *param, uint32_t correct_mode,
                                                     const multi_point_calib_array_t *multi_point_calib_array,
                                                     two_point_calib_result_t *result);
/**
 * Double-point recalibration with a scene per blackbody: as new_ktbt_recal_double_point_calculate(),
 * the high blackbody corrected with high_env_correct_param and the low one with
 * low_env_correct_param. Its lines name this function.
 * @param[in,out] param the two scenes and the second-calibration fields; the target temperatures are
 *        rewritten in modes 4-7 as for new_ktbt_recal_double_point_calculate().
 * @param correct_mode 0-3 environment factor, 4-7 enhanced-distance correction, 8 and above none.
 * @param multi_point_calib_array as for new_ktbt_recal_double_point_calculate(); only read.
 * @param[out] result kt_array and bt_array receive ktbt_array_len entries each, only on success.
 * @retval RADIMO_SUCCESS the new arrays are written.
 * @retval RADIMO_ERR_PARAM as new_ktbt_recal_double_point_calculate().
 * @retval RADIMO_ERR_SITF_OFFSET as new_ktbt_recal_double_point_calculate().
 * @retval RADIMO_ERR_KTBT_UPDATE cannot occur.
 * @par Thread safety
 * Reentrant as long as no other call uses the same param record; reads the exported grids and
 * emissivity tables in modes 0-7.
 */
RADIMO_API int advanced_ktbt_recal_double_point_calculate(
    advanced_second_cal_param_t *param, uint32_t correct_mode,
    const multi_point_calib_array_t *multi_point_calib_array, two_point_calib_result_t *result);
/**
 * Stage 3 alone: the coefficients Kc, Bc, Kd, Bd from the three lines of stages 1 and 2, for
 * inspection. With T = the before-KT/BT target line, A = the actual line, U = the before-NUC-table
 * target line: Kc = T.sitf / A.sitf; Bc = T.b_offset - A.b_offset * Kc;
 * Ll = ((trunc(A.object_nuc_low * Kc + Bc) * kt[T.low_ktbt_index]) >> 14) + bt[T.low_ktbt_index]
 * (signed 32-bit, no rounding term) and Lh likewise with the high values; sitf_c = (Lh - Ll) /
 * (target_high_celsius - target_low_celsius); b_c = Ll - trunc(target_low_celsius * sitf_c) (64-bit);
 * Kd = U.sitf / sitf_c; Bd = U.b_offset - b_c * Kd. Logs the lines' slopes and offsets and the
 * coefficients on the debug printer.
 * @param target_second_cal_temp_param_before_ktbt the target line before KT/BT, with its calibration
 *        indices; only read.
 * @param target_second_cal_temp_param_before_nuct the target line before the NUC table; only read.
 * @param actual_second_cal_temp_param the actual line; only read.
 * @param second_calib_param target_high_celsius, target_low_celsius, ktbt_array_len and
 *        ktbt_index_len are read.
 * @param kt_array the current Q14 gains (ktbt_array_len entries, or ktbt_index_len when it is 0).
 * @param bt_array the current offsets, as many entries.
 * @param[out] kcbc_kdbd four floats: Kc, Bc, Kd, Bd, in that order; written only on success.
 * @retval RADIMO_SUCCESS the coefficients are written.
 * @retval RADIMO_ERR_PARAM a pointer is NULL ("data is NULL"); a calibration index of the before-KT/BT
 *         line outside the arrays ("ktbt_index is invalid").
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int KcBc_KdBd_calculate(const second_cal_temp_param_t *target_second_cal_temp_param_before_ktbt,
                                   const second_cal_temp_param_t *target_second_cal_temp_param_before_nuct,
                                   const second_cal_temp_param_t *actual_second_cal_temp_param,
                                   const second_calib_param_t *second_calib_param, const uint16_t *kt_array,
                                   const int16_t *bt_array, float *kcbc_kdbd);
/**
 * Versioned double-point dispatcher: versions 0 and 1 run
 * advanced_ktbt_recal_double_point_calculate_with_version() (one pair of arrays), version 2 runs
 * advanced_ktbt_recal_double_point_calculate_version3() (three temperature ranges).
 * @param[in,out] param the record of the selected member.
 * @param version 0, 1 or 2.
 * @param[out] result a two_point_calib_result_t (versions 0 and 1) or a two_point_calib_result_v3_t
 *        (version 2), written as the member writes it.
 * @retval RADIMO_SUCCESS the member succeeded.
 * @retval RADIMO_ERR_PARAM param or result is NULL ("handle is NULL"); version above 2 ("version is
 *         invalid").
 * @retval RADIMO_ERR_KTBT_UPDATE the member failed, after its lines
 *         ("advanced_ktbt_recal_double_point_calculate failed" for versions 0 and 1,
 *         "advanced_ktbt_recal_double_point_calculate_version3 failed" for version 2).
 * @par Thread safety
 * As the selected member.
 */
RADIMO_API int new_ktbt_recal_double_point_calculate_with_version(multi_point_calib_param_t *param,
                                                                  uint32_t version, void *result);
/**
 * Double-point recalibration of one pair of arrays with a scene per blackbody, by version: version 0
 * applies the environment factor, version 1 the enhanced-distance correction (and logs the apparent
 * temperatures); the target temperatures are looked up with the table-length lookup
 * (nuc_table_len entries). Otherwise as advanced_ktbt_recal_double_point_calculate().
 * @param[in,out] param multi_point_param (the scenes and second-calibration fields; version 1 rewrites
 *        the target temperatures as modes 4-7 do) and multi_point_calib_array (a
 *        multi_point_calib_array_t) are used.
 * @param version 0 or 1.
 * @param[out] result kt_array and bt_array receive ktbt_array_len entries each, only on success.
 * @retval RADIMO_SUCCESS the new arrays are written.
 * @retval RADIMO_ERR_PARAM param, result or param->multi_point_param is NULL ("handle is NULL");
 *         param->multi_point_calib_array, an input array or a result array is NULL
 *         ("multi_point_calib_array is NULL"); version 2 or more ("version is invalid").
 * @retval RADIMO_ERR_SITF_OFFSET stage 1 failed
 *         ("calculate_target_sitf_and_offset_before_ktbt_with_version failed") or stage 2 failed
 *         ("calculate_actual_sitf_and_offset_before_ktbt failed"), after the stage's own line (see
 *         new_ktbt_recal_double_point_calculate()).
 * @retval RADIMO_ERR_KTBT_UPDATE cannot occur.
 * @par Thread safety
 * Reentrant as long as no other call uses the same records; reads the exported grids and emissivity
 * tables.
 */
RADIMO_API int advanced_ktbt_recal_double_point_calculate_with_version(multi_point_calib_param_t *param,
                                                                       uint32_t version,
                                                                       two_point_calib_result_t *result);
/**
 * Double-point recalibration over three temperature ranges: stages 1 to 3 on the arrays of range
 * temp_area, always with the enhanced-distance correction (the target temperatures are rewritten) and
 * the table-length lookup; the coefficients come from KcBc_KdBd_calculate() and are printed to
 * standard output as "Kc = %f", "Bc = %f", "Kd = %f", "Bd = %f" (one line each, whatever the log
 * level, deliberately); stage 4 then rewrites the arrays of all three ranges with them.
 * @param[in,out] param multi_point_param (scenes and second-calibration fields; the target
 *        temperatures are rewritten), multi_point_calib_array (a multi_point_calib_array_v3_t: the
 *        three kt and bt arrays, nuc_table, correct_table, all required) and temp_area (0, 1 or 2) are
 *        used.
 * @param[out] result the three new kt and bt arrays receive ktbt_array_len entries each, only on
 *        success (nothing when ktbt_array_len is 0).
 * @retval RADIMO_SUCCESS the new arrays are written.
 * @retval RADIMO_ERR_PARAM param, result or param->multi_point_param is NULL ("handle is NULL");
 *         param->multi_point_calib_array, one of its eight pointers or one of the six result arrays is
 *         NULL ("multi_point_calib_array is NULL").
 * @retval RADIMO_ERR_SITF_OFFSET stage 1 failed
 *         ("calculate_target_sitf_and_offset_before_ktbt_with_version3 failed"), also for a temp_area
 *         above 2, which selects no arrays ("data is NULL", "reverse_calc_nuc_with_ktbt failed"); or
 *         stage 2 failed ("calculate_actual_sitf_and_offset_before_ktbt failed").
 * @par Thread safety
 * Reentrant as long as no other call uses the same records; reads the exported grids and emissivity
 * tables; writes to standard output.
 */
RADIMO_API int advanced_ktbt_recal_double_point_calculate_version3(multi_point_calib_param_t *param,
                                                                   two_point_calib_result_v3_t *result);
/**
 * Double-point recalibration after a lens change. Extension of this library (its behaviour is this
 * library's own design).
 *
 * A new lens keeps the detector, its KT/BT arrays and the NUC table, but changes the response
 * before KT/BT by a gain and an offset (transmission and the lens's own emission). Two blackbodies
 * seen through the new lens, given in param->second_calib_param as for the double-point
 * recalibration (high_vtemp, low_vtemp, actual_*_celsius reported by the camera before any scene
 * correction, target_*_celsius true), rewrite every KT/BT entry so that the camera with the new
 * lens reads both blackbodies correctly: target line, actual line, Kc/Bc and Kd/Bd, and the
 * rewrite of entries 0 .. ktbt_array_len - 1 with the same 16-bit wrapping, but with the NUC
 * table looked up over nuc_table_len entries, the KT/BT indices from the truncated product of
 * calculate_ktbt_index_according_vtemp_in_change_lens(), and no scene correction of any kind.
 * The new arrays are then the "new" arrays of multi_point_calc_user_defined_nuc_in_change_lens().
 * The record is a second_cal_param_t, the one multi_point_calc_user_defined_nuc_in_change_lens()
 * takes, so that one record serves the whole lens-change chain.
 * @param param second_calib_param is read; the scene block is not read, and nothing is written (there
 *        is no correction mode: no target temperature is replaced).
 * @param multi_point_calib_array kt_array and bt_array (ktbt_array_len entries) and nuc_table
 *        (nuc_table_len entries) are read; correct_table may be NULL.
 * @param[out] result kt_array and bt_array receive ktbt_array_len entries each, written only on
 *        success.
 * @retval RADIMO_SUCCESS the new arrays are written.
 * @retval RADIMO_ERR_PARAM param, multi_point_calib_array or result is NULL ("handle is NULL"); an
 *         input array is NULL ("multi_point_calib_array is NULL"); a result array is NULL
 *         ("two_point_calib_result is NULL"); a temperature is not finite ("temperature is not
 *         finite"); the target temperatures are equal ("target_high_celsius equals
 *         target_low_celsius"); the blackbodies determine no map, Kc, Bc, Kd or Bd being infinite or
 *         NaN ("Kc, Bc, Kd or Bd is invalid").
 * @retval RADIMO_ERR_REVERSE_NUC a NUC lookup failed, or KT/BT could not be removed at a calibration
 *         index (an index outside the arrays, a zero gain), after the stage's lines and
 *         "calculate_target_sitf_and_offset_before_ktbt_in_change_lens failed" or
 *         "calculate_actual_sitf_and_offset_before_ktbt_in_change_lens failed".
 * @retval RADIMO_ERR_KTBT_INDEX the lens-change index failed; cannot occur after the checks.
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int new_ktbt_recal_double_point_calculate_in_change_lens(
    const second_cal_param_t *param, const multi_point_calib_array_t *multi_point_calib_array,
    two_point_calib_result_t *result);

/* ------------------------------------------------------------------------- */
/* Radiometric correction                                                    */
/* ------------------------------------------------------------------------- */
/*
 * The grey-body correction solves apparent^4 = t e T^4 + t (1 - e) Tu^4 + (1 - t) Ta^4 (T the target
 * temperature, e the emissivity, t = tau / 16384 the transmittance, Tu the reflected and Ta the ambient
 * temperature, all in kelvin) forward (apparent -> target) or in reverse (target -> apparent). The
 * members without a reflected temperature let Ta stand for Tu. The plain members take and give degC,
 * the _kelvin members kelvin, while ta and tu are always degC (273.15 is added in double precision).
 * Fourth powers use pow() in double precision and fourth roots the square root of the square root.
 * Every member checks, in this order and through one failure path, that result is not NULL, that
 * ems is not below 0.0001 (the float ems widened to double: the float nearest 0.0001 lies just below
 * it and is refused; a NaN ems passes) and that tau is not 0; it then returns RADIMO_ERR_PARAM, leaves
 * *result untouched and prints either the three lines "ems=%f\n\n", "tau=%d\n\n" and "data is
 * invalid" (the doubled line feeds are kept), or, for reverse_temp_correct() and
 * reverse_temp_correct_kelvin(), "data is invalid" alone. ems above 1 and tau above 16384 are not
 * refused. Messages use module "src/temp_correct".
 */

/**
 * Apparent -> target temperature, degC, the ambient temperature standing for the reflected one:
 * T^4 = max(0, M - (1 - e tau 2^-14) A) / D with M the fourth power of the apparent temperature's
 * kelvin value rounded to float, A = (ta + 273.15)^4 and D = tau * ems * 2^-14 formed in single
 * precision. A scene colder than its surroundings (a negative radicand) gives -273.15, not a failure.
 * @param tau transmittance, Q14 (16384 = 1.0), not 0.
 * @param[out] result the target temperature, degC; written only on success.
 * @param ems emissivity, 0.0001 .. 1.
 * @param ta ambient temperature, degC.
 * @param temp apparent temperature, degC.
 * @retval RADIMO_SUCCESS the result is written.
 * @retval RADIMO_ERR_PARAM result is NULL, ems below 0.0001 or tau 0 (the three lines).
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int temp_correct(uint16_t tau, float *result, float ems, float ta, float temp);
/**
 * Apparent -> target temperature, degC, with a separate reflected temperature:
 * T^4 = max(0, M - (1 - e) tau 2^-14 R - (1 - t) A) / D, R = (tu + 273.15)^4, M, A and D as in
 * temp_correct(). A negative radicand gives -273.15.
 * @param tau transmittance, Q14, not 0.
 * @param[out] result the target temperature, degC; written only on success.
 * @param ems emissivity, 0.0001 .. 1.
 * @param ta ambient temperature, degC.
 * @param tu reflected temperature, degC.
 * @param temp apparent temperature, degC.
 * @retval RADIMO_SUCCESS the result is written.
 * @retval RADIMO_ERR_PARAM result is NULL, ems below 0.0001 or tau 0 (the three lines).
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int temp_correct_with_reflected_temp(uint16_t tau, float *result, float ems, float ta, float tu,
                                                float temp);
/**
 * Apparent -> target temperature in kelvin (ta in degC): T^4 = max(0, M - (1 - D) A) / D with
 * M = temp^4 (no rounding to float) and the single-precision D of temp_correct() also in the
 * (1 - t e) factor. A negative radicand gives 0 K.
 * @param tau transmittance, Q14, not 0.
 * @param[out] result the target temperature, K; written only on success.
 * @param ems emissivity, 0.0001 .. 1.
 * @param ta ambient temperature, degC.
 * @param temp apparent temperature, K.
 * @retval RADIMO_SUCCESS the result is written.
 * @retval RADIMO_ERR_PARAM result is NULL, ems below 0.0001 or tau 0 (the three lines).
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int temp_correct_kelvin(uint16_t tau, float *result, float ems, float ta, float temp);
/**
 * Apparent -> target temperature in kelvin with a reflected temperature (ta, tu in degC): the balance
 * of temp_correct_with_reflected_temp() with M = temp^4. A negative radicand gives 0 K.
 * @param tau transmittance, Q14, not 0.
 * @param[out] result the target temperature, K; written only on success.
 * @param ems emissivity, 0.0001 .. 1.
 * @param ta ambient temperature, degC.
 * @param tu reflected temperature, degC.
 * @param temp apparent temperature, K.
 * @retval RADIMO_SUCCESS the result is written.
 * @retval RADIMO_ERR_PARAM result is NULL, ems below 0.0001 or tau 0 (the three lines).
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int temp_correct_with_reflected_temp_kelvin(uint16_t tau, float *result, float ems, float ta,
                                                       float tu, float temp);
/**
 * Target -> apparent temperature, degC: apparent^4 = (1 - e tau 2^-14) A + tau (e M) 2^-14, M the
 * fourth power of the target's kelvin value rounded to float. The radicand is used as it stands: one
 * below zero (only with ems or tau beyond their physical range) gives a NaN result.
 * @param tau transmittance, Q14, not 0.
 * @param[out] result the apparent temperature, degC; written only on success.
 * @param ems emissivity, 0.0001 .. 1.
 * @param ta ambient temperature, degC.
 * @param temp target temperature, degC.
 * @retval RADIMO_SUCCESS the result is written.
 * @retval RADIMO_ERR_PARAM result is NULL, ems below 0.0001 or tau 0 ("data is invalid" alone).
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int reverse_temp_correct(uint16_t tau, float *result, float ems, float ta, float temp);
/**
 * Target -> apparent temperature, degC, with a reflected temperature:
 * apparent^4 = M e tau 2^-14 + (1 - e) tau R 2^-14 + (1 - t) A, used as it stands (a negative radicand
 * gives NaN).
 * @param tau transmittance, Q14, not 0.
 * @param[out] result the apparent temperature, degC; written only on success.
 * @param ems emissivity, 0.0001 .. 1.
 * @param ta ambient temperature, degC.
 * @param tu reflected temperature, degC.
 * @param temp target temperature, degC.
 * @retval RADIMO_SUCCESS the result is written.
 * @retval RADIMO_ERR_PARAM result is NULL, ems below 0.0001 or tau 0 (the three lines).
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int reverse_temp_correct_with_reflected_temp(uint16_t tau, float *result, float ems, float ta,
                                                        float tu, float temp);
/**
 * Target -> apparent temperature in kelvin (ta in degC): the balance of reverse_temp_correct() with
 * M = temp^4.
 * @param tau transmittance, Q14, not 0.
 * @param[out] result the apparent temperature, K; written only on success.
 * @param ems emissivity, 0.0001 .. 1.
 * @param ta ambient temperature, degC.
 * @param temp target temperature, K.
 * @retval RADIMO_SUCCESS the result is written.
 * @retval RADIMO_ERR_PARAM result is NULL, ems below 0.0001 or tau 0 ("data is invalid" alone).
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int reverse_temp_correct_kelvin(uint16_t tau, float *result, float ems, float ta, float temp);
/**
 * Target -> apparent temperature in kelvin with a reflected temperature (ta, tu in degC): the balance
 * of reverse_temp_correct_with_reflected_temp() with M = temp^4.
 * @param tau transmittance, Q14, not 0.
 * @param[out] result the apparent temperature, K; written only on success.
 * @param ems emissivity, 0.0001 .. 1.
 * @param ta ambient temperature, degC.
 * @param tu reflected temperature, degC.
 * @param temp target temperature, K.
 * @retval RADIMO_SUCCESS the result is written.
 * @retval RADIMO_ERR_PARAM result is NULL, ems below 0.0001 or tau 0 (the three lines).
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int reverse_temp_correct_with_reflected_temp_kelvin(uint16_t tau, float *result, float ems,
                                                               float ta, float tu, float temp);

/**
 * Forward kelvin correction chosen by the reflected-temperature switch of a correction-table record:
 * reflected_tmp_enable 1 (with reflected_tmp_version 1) runs temp_correct_with_reflected_temp_kelvin(),
 * any other enable value temp_correct_kelvin() (tu ignored).
 * @param correct_table the record; only the reflected-temperature fields are read.
 * @param tau transmittance, Q14, not 0.
 * @param[out] result the target temperature, K; written only on success.
 * @param ems emissivity, 0.0001 .. 1.
 * @param ta ambient temperature, degC.
 * @param tu reflected temperature, degC.
 * @param temperature apparent temperature, K.
 * @retval RADIMO_SUCCESS the result is written.
 * @retval RADIMO_ERR_PARAM correct_table or result is NULL ("data is NULL"); enable 1 with another
 *         version ("correction table mismatch between reflected tmp enable and reflected tmp version").
 * @retval RADIMO_ERR_TEMP_CORRECT the member failed (ems below 0.0001 or tau 0), after its three lines
 *         ("temp_correct_tu failed" or "temp_correct_kelvin failed").
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int temp_correct_with_env_param(const correct_table_t *correct_table, uint16_t tau, float *result,
                                           float ems, float ta, float tu, float temperature);
/**
 * Reverse kelvin correction chosen by the reflected-temperature switch of a correction-table record:
 * reflected_tmp_enable 1 (with version 1) runs reverse_temp_correct_with_reflected_temp_kelvin(), any
 * other value reverse_temp_correct_kelvin() (tu ignored).
 * @param correct_table the record; only the reflected-temperature fields are read.
 * @param tau transmittance, Q14, not 0.
 * @param[out] result the apparent temperature, K; written only on success.
 * @param ems emissivity, 0.0001 .. 1.
 * @param ta ambient temperature, degC.
 * @param tu reflected temperature, degC.
 * @param temperature target temperature, K.
 * @retval RADIMO_SUCCESS the result is written.
 * @retval RADIMO_ERR_PARAM result or correct_table is NULL ("data is NULL"); enable 1 with another
 *         version ("correction table mismatch between reflected tmp enable and reflected tmp version").
 * @retval RADIMO_ERR_REVERSE_TEMP_CORRECT the member failed, after its lines
 *         ("reverse_temp_correct_with_reflected_temp failed" or "reverse_temp_correct failed").
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int reverse_temp_correct_with_env_param(const correct_table_t *correct_table, uint16_t tau,
                                                   float *result, float ems, float ta, float tu,
                                                   float temperature);

/**
 * Lower-neighbour index of a target temperature in a tau grid, comparisons in double precision on
 * the widened value with a tolerance of 0.0001: a value at or below grid[0] - 0.0001 gives 0, one at
 * or above grid[count - 1] gives count - 1, otherwise the first i in 1 .. count - 1 with
 * value <= grid[i] - 0.0001 gives i - 1 (count - 1 when none does).
 * @param grid count ascending values (for instance target_temp_table).
 * @param count number of grid values, at least 1.
 * @param[out] index the index; written only on success.
 * @param value the target temperature, in the grid's unit.
 * @retval RADIMO_SUCCESS the index is written.
 * @retval RADIMO_ERR_PARAM grid or index is NULL ("data is NULL"); count is 0 ("data is invalid").
 * @par Thread safety
 * Reentrant (reads only the grid passed).
 */
RADIMO_API int get_compatible_target_temp_read_index(const double *grid, uint16_t count, uint16_t *index,
                                                     float value);
/**
 * Lower-neighbour index of a distance in a tau grid: as get_compatible_target_temp_read_index(), except
 * that only a value strictly below grid[0] - 0.0001 gives 0 by the first rule.
 * @param grid count ascending distances, m (for instance dist_table).
 * @param count number of grid values, at least 1.
 * @param[out] index the index; written only on success.
 * @param value the distance, m.
 * @retval RADIMO_SUCCESS the index is written.
 * @retval RADIMO_ERR_PARAM grid or index is NULL ("data is NULL"); count is 0 ("data is invalid").
 * @par Thread safety
 * Reentrant (reads only the grid passed).
 */
RADIMO_API int get_compatible_dist_read_index(const double *grid, uint16_t count, uint16_t *index,
                                              float value);
/**
 * Target-temperature index in an emissivity-table grid. A value below grid[0] gives 0, one above
 * grid[count - 1] gives count - 1 (clamped); otherwise, with i the first index whose
 * grid[i] - 0.0001 is at or above the value (the last index when none is), mode 2 gives the lower
 * neighbour i - 1 (0 when i is 0) and mode 1 the nearest point: i when grid[i] - value is below half
 * the interval or within 1e-5 of it (ties go up), else i - 1.
 * @param mode 1 nearest point, 2 lower neighbour; any other mode writes nothing and succeeds.
 * @param grid count ascending values.
 * @param count number of grid values, at least 1.
 * @param[out] index the index; written only on success with mode 1 or 2.
 * @param value the target temperature, in the grid's unit.
 * @retval RADIMO_SUCCESS the index is written (mode 1 or 2), or nothing is (another mode).
 * @retval RADIMO_ERR_PARAM grid or index is NULL ("data is NULL"); count below 1 ("data is invalid").
 * @par Thread safety
 * Reentrant (reads only the grid passed).
 */
RADIMO_API int get_compatible_target_temp_read_index_of_ems_table(int mode, const double *grid, int count,
                                                                  uint16_t *index, float value);
/**
 * Emissivity index in an emissivity-table grid: as get_compatible_target_temp_read_index_of_ems_table(),
 * except that a value outside grid[0] .. grid[count - 1] is refused, without a message.
 * @param mode 1 nearest point, 2 lower neighbour; any other mode writes nothing and succeeds.
 * @param grid count ascending emissivities.
 * @param count number of grid values, at least 1.
 * @param[out] index the index; written only on success with mode 1 or 2.
 * @param value the emissivity.
 * @retval RADIMO_SUCCESS the index is written (mode 1 or 2), or nothing is (another mode).
 * @retval RADIMO_ERR_PARAM grid or index is NULL ("data is NULL"); count below 1 ("data is invalid");
 *         the value lies outside the grid (no message).
 * @par Thread safety
 * Reentrant (reads only the grid passed).
 */
RADIMO_API int get_compatible_ems_read_index_of_ems_table(int mode, const double *grid, int count,
                                                          uint16_t *index, float value);
/**
 * Corrected emissivity from table v1, nearest neighbour: an org_ems outside 0.8 .. 0.99 comes back
 * unchanged; otherwise the nearest row of target_temp_list_of_ems_table_v1 and the nearest column of
 * org_ems_list_of_ems_table_v1 select ems_correct_table_v1[row * 20 + column], rounded to float.
 * Example: org_ems 0.95 at 223.15 K gives 0.94.
 * @param[out] quant_ems the corrected emissivity; written only on success.
 * @param target_temp the target temperature, K.
 * @param org_ems the emissivity the user set.
 * @retval RADIMO_SUCCESS the emissivity is written.
 * @retval RADIMO_ERR_PARAM quant_ems is NULL ("data is NULL").
 * @retval RADIMO_ERR_TEMP_INDEX the temperature index failed (no message): only when the host has
 *         rewritten the axis tables.
 * @retval RADIMO_ERR_DIST_INDEX the emissivity index failed (no message): only when the host has
 *         rewritten the axis tables so that they no longer cover the value.
 * @par Thread safety
 * Reentrant; reads the v1 emissivity tables.
 */
RADIMO_API int read_compatible_ems_version1(float *quant_ems, float target_temp, float org_ems);
/**
 * Corrected emissivity from table v2, bilinear: an org_ems outside 0.8 .. 0.998 comes back unchanged;
 * otherwise the lower-neighbour row and column (target_temp_list_of_ems_table_v2,
 * org_ems_list_of_ems_table_v2) select the cell of ems_correct_table_v2 ([row * 100 + column], each
 * cell rounded to float) and the value is interpolated bilinearly, linearly along the last row or
 * column, or taken as it stands in the last corner.
 * @param[out] quant_ems the corrected emissivity; written only on success.
 * @param target_temp the target temperature, K (clamped to the table's rows).
 * @param org_ems the emissivity the user set.
 * @retval RADIMO_SUCCESS the emissivity is written.
 * @retval RADIMO_ERR_PARAM quant_ems is NULL ("data is NULL").
 * @retval RADIMO_ERR_TEMP_INDEX the temperature index failed or two neighbouring temperatures of the
 *         axis are equal (no message): only with axis tables rewritten by the host.
 * @retval RADIMO_ERR_DIST_INDEX the emissivity index failed or two neighbouring emissivities of the
 *         axis are equal (no message): only with axis tables rewritten by the host.
 * @par Thread safety
 * Reentrant; reads the v2 emissivity tables.
 */
RADIMO_API int read_compatible_ems_version2(float *quant_ems, float target_temp, float org_ems);
/**
 * Corrected emissivity from table v2, extrapolated beyond its emissivity axis: inside 0.8 .. 0.998 as
 * read_compatible_ems_version2(); above 0.998 on the straight line from (0.998, c) to (1.0, 1.0), c the
 * last column interpolated in temperature; below 0.8 on the line from (0, 0) to (0.8, c), c the first
 * column (org_ems 0.4 gives half the first column's value).
 * @param[out] quant_ems the corrected emissivity; written only on success.
 * @param target_temp the target temperature, K (clamped to the table's rows).
 * @param org_ems the emissivity the user set.
 * @retval RADIMO_SUCCESS the emissivity is written.
 * @retval RADIMO_ERR_PARAM quant_ems is NULL ("data is NULL").
 * @retval RADIMO_ERR_TEMP_INDEX as read_compatible_ems_version2().
 * @retval RADIMO_ERR_DIST_INDEX as read_compatible_ems_version2().
 * @par Thread safety
 * Reentrant; reads the v2 emissivity tables.
 */
RADIMO_API int read_compatible_ems_version3(float *quant_ems, float target_temp, float org_ems);
/**
 * Corrected emissivity chosen by the emissivity switches of a correction-table record: ems_enable
 * other than 1 gives org_ems unchanged; otherwise ems_version 1, 2 or 3 selects
 * read_compatible_ems_version1(), _version2() or _version3().
 * @param param the record; ems_enable and ems_version are read.
 * @param[out] quant_ems the emissivity; written only on success.
 * @param target_temp the target temperature, K.
 * @param org_ems the emissivity the user set.
 * @retval RADIMO_SUCCESS the emissivity is written.
 * @retval RADIMO_ERR_PARAM param or quant_ems is NULL ("data is NULL"); ems_enable 1 with another
 *         version ("correction table mismatch between ems enable and ems version").
 * @retval RADIMO_ERR_READ_EMS the reader failed ("read_compatible_ems failed").
 * @par Thread safety
 * Reentrant; reads the emissivity tables.
 */
RADIMO_API int read_compatible_ems_with_target_temp_and_org_ems(const correct_table_t *param,
                                                                float *quant_ems, float target_temp,
                                                                float org_ems);
/**
 * Q14 tau from a target-temperature x distance tau table (rows target temperatures, columns
 * distances) in the grid layout chosen by the record's tau_format: below 64 target_temp_table (56
 * rows) x dist_table (64 columns); 64 .. 256 new_target_temp_table (42) x new_dist_table (88); above
 * 256 target_temp_table_v3 (45) x dist_table_v3 (88). With the lower-neighbour indices
 * (get_compatible_target_temp_read_index(), get_compatible_dist_read_index()) and the spans taken from
 * the grids' _diff tables: inside the table bilinear, plus 0.5, truncated; on the last row or column
 * linear, truncated; at the last corner the cell itself. The result's low 16 bits are written.
 * @param param the record; tau_format and tau_data (rows x columns values) are read.
 * @param[out] tau the transmittance, Q14; written only on success.
 * @param target_temp the target temperature, K (clamped to the grid).
 * @param dist the distance, m (clamped to the grid).
 * @retval RADIMO_SUCCESS the transmittance is written.
 * @retval RADIMO_ERR_PARAM param, tau or param->tau_data is NULL ("data is NULL").
 * @retval RADIMO_ERR_TEMP_INDEX a temperature span of the grid is 0 (no message): only with grids
 *         rewritten by the host.
 * @retval RADIMO_ERR_DIST_INDEX a distance span of the grid is 0 (no message): only with grids
 *         rewritten by the host.
 * @par Thread safety
 * Reentrant; reads the grids of the selected layout.
 */
RADIMO_API int read_compatible_tau_with_target_temp_and_dist(const correct_table_t *param, uint16_t *tau,
                                                             float target_temp, float dist);

/**
 * Apparent -> object temperature (degC): the complete scene correction. Emissivity and tau are taken
 * at the object temperature in two passes: the emissivity is corrected once, at the apparent
 * temperature (read_compatible_ems_with_target_temp_and_org_ems()); tau is read at the apparent
 * temperature, a first object temperature is computed (temp_correct_with_env_param()), tau is read
 * again at it and recalculated for humidity (recalc_tau_under_influence_of_hum()), and the second pass
 * gives the result.
 *
 * The raw correction table is the table as stored, 16-bit words. When words 3 and 4 (bytes 4..7) are
 * both 0xFFFF it carries a 256-byte header (word 2 the tau-table format, words 5-6 the emissivity
 * switch and version, 7-8 humidity, 11-12 reflected temperature) and the tau data follow it; the
 * format then also selects the humidity version (below 258: 1; 272: 2; 260, 275, 278, 281: 3; others:
 * words 7-8). Otherwise the whole table is tau data in the 56 x 64 layout (format 0), with emissivity
 * tables and reflected temperature off and humidity version 1.
 * @param env_correct_param the scene: ems 0 .. 1, hum 0 .. 1, dist 0 .. 1000 m, ta and tu
 *        -273.15 .. 100 degC; only read.
 * @param correct_table the raw correction table: the header (128 words) if any, then the tau grid of
 *        its format.
 * @param correct_table_arg not used.
 * @param[out] new_temp the object temperature, degC; written only on success.
 * @param temp the apparent temperature, degC.
 * @retval RADIMO_SUCCESS the result is written.
 * @retval RADIMO_ERR_PARAM env_correct_param, correct_table or new_temp is NULL ("env_correct_param or
 *         correct_table or new_temp is invalid"); ems below 0 or above 1 ("ems is out of range"); hum
 *         below 0 or above 1 ("hum is out of range"); dist below 0 or above 1000 ("dist is invalid");
 *         ta or tu outside -273.15 .. 100 ("ta is invalid", "tu is invalid").
 * @retval RADIMO_ERR_READ_EMS the emissivity could not be read, for instance a header with emissivity
 *         on and a version other than 1 to 3 ("read_compatible_ems_with_target_temp_and_org_ems failed").
 * @retval RADIMO_ERR_READ_TAU a tau could not be read ("read_compatible_tau_with_target_temp_and_dist
 *         first failed", "... second failed"): only with grids rewritten by the host.
 * @retval RADIMO_ERR_TEMP_CORRECT a pass failed ("first temp_correct_with_env_param failed", "second
 *         temp_correct_with_env_param failed"): a reflected-temperature switch mismatch, an emissivity
 *         below 0.0001 (an ems of 0 passes the scene check) or a tau of 0 from the table.
 * @retval RADIMO_ERR_HUM_CORRECT the humidity recalculation failed ("hum correction process failed");
 *         cannot occur for a checked scene.
 * @par Thread safety
 * Reentrant; reads the grids of the table's layout and the emissivity tables.
 */
RADIMO_API int enhance_distance_temp_correct(const env_correct_param_t *env_correct_param,
                                             const uint16_t *correct_table, uint32_t correct_table_arg,
                                             float *new_temp, float temp);
/**
 * Object -> apparent temperature (degC): what the camera reports, before scene correction, for an
 * object of known temperature; the recalibrations use it. tau is read and recalculated for humidity
 * once, at the object temperature; the emissivity is corrected twice, at the object temperature and
 * at the first apparent estimate (reverse_temp_correct_with_env_param()); the asymmetry with the
 * forward function is deliberate. Debug lines trace each step. The checks are those of
 * enhance_distance_temp_correct(), without the upper distance bound (on purpose); the raw correction
 * table is read as there.
 * @param env_correct_param the scene: ems 0 .. 1, hum 0 .. 1, dist >= 0 m, ta and tu -273.15 .. 100
 *        degC; only read.
 * @param correct_table the raw correction table (see enhance_distance_temp_correct()).
 * @param correct_table_arg not used.
 * @param[out] new_temp the apparent temperature, degC; written only on success.
 * @param temp the object temperature, degC.
 * @retval RADIMO_SUCCESS the result is written.
 * @retval RADIMO_ERR_PARAM the checks of enhance_distance_temp_correct() except the 1000 m bound.
 * @retval RADIMO_ERR_READ_TAU tau could not be read ("read_compatible_tau_with_target_temp_and_dist first
 *         failed"): only with grids rewritten by the host.
 * @retval RADIMO_ERR_HUM_CORRECT the humidity recalculation failed ("hum correction process failed");
 *         cannot occur for a checked scene.
 * @retval RADIMO_ERR_READ_EMS an emissivity could not be read
 *         ("read_compatible_ems_with_target_temp_and_org_ems failed").
 * @retval RADIMO_ERR_REVERSE_TEMP_CORRECT a reverse pass failed ("reverse_temp_correct_with_env_param
 *         failed"): a reflected-temperature switch mismatch, an emissivity below 0.0001 or a tau of 0.
 * @par Thread safety
 * Reentrant; reads the grids of the table's layout and the emissivity tables.
 */
RADIMO_API int reverse_enhance_distance_temp_correct(const env_correct_param_t *env_correct_param,
                                                     const uint16_t *correct_table,
                                                     uint32_t correct_table_arg, float *new_temp, float temp);
/**
 * Looks a temperature up in a precomputed table of 0.01 degC slots from -100 degC:
 * slot roundf((temp + 100) * 100) (single precision; -100 gives slot 0, 1000 slot 110000).
 * @param[out] result the slot's value; written only on success.
 * @param table RADIMO_PRECOMPUTED_TEMP_SLOTS floats (radimo_build_precomputed_temp() fills it).
 * @param valid RADIMO_PRECOMPUTED_TEMP_SLOTS flags, non-zero for a filled slot.
 * @param temp the temperature, degC, -100 .. 1000.
 * @retval RADIMO_SUCCESS the value is written.
 * @retval RADIMO_ERR_PARAM a pointer is NULL ("data is NULL"); temp below -100 ("temp is too low\n\n");
 *         temp above 1000 or NaN ("temp is too high\n\n"); an empty slot (only the debug line
 *         "precomputed_temp[%d] is invalid").
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int get_precomputed_temp(float *result, const float *table, const uint8_t *valid, float temp);
/**
 * Looks a 16-bit frame value up in a precomputed table of 11700 slots: slot value - 2271, for frame
 * values 2271 .. 13970 (1/16 K).
 * @param value the frame value.
 * @param[out] result the slot's value; written only on success.
 * @param table 11700 floats.
 * @param valid 11700 flags, non-zero for a filled slot.
 * @retval RADIMO_SUCCESS the value is written.
 * @retval RADIMO_ERR_PARAM a pointer is NULL ("data is NULL"); value below 2271 ("temp is too
 *         low\n\n") or above 13970 ("temp is too high\n\n"); an empty slot (only the debug line
 *         "precomputed_temp[%d] is invalid").
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int get_precomputed_temp_with_y14_temp(uint16_t value, float *result, const float *table,
                                                  const uint8_t *valid);
/** Number of slots of a precomputed-temperature table (-100 .. 1000 degC in 0.01 degC steps).
 * Extension of this library. */
#define RADIMO_PRECOMPUTED_TEMP_SLOTS 110001
/**
 * Fills a precomputed-temperature table for a scene: each slot whose temperature -100 + slot / 100
 * degC lies in [lowest, highest] (the lattice is -100 .. 1000 degC) receives
 * enhance_distance_temp_correct() at that temperature and has its flag set; other slots stay as they
 * were. Extension of this library.
 * @param env_correct_param the scene, checked as enhance_distance_temp_correct() checks it; only read.
 * @param correct_table the raw correction table.
 * @param lowest lowest temperature to fill, degC.
 * @param highest highest temperature to fill, degC, at least lowest.
 * @param[out] table RADIMO_PRECOMPUTED_TEMP_SLOTS floats. On a failing slot the slots filled before it
 *        stay filled; the failing one is untouched.
 * @param[out] valid RADIMO_PRECOMPUTED_TEMP_SLOTS flags, set to 1 with each filled slot.
 * @retval RADIMO_SUCCESS the slots are filled.
 * @retval RADIMO_ERR_PARAM the scene checks of enhance_distance_temp_correct() (table standing for its
 *         result pointer); valid is NULL ("data is NULL"); lowest above highest or NaN ("lowest or
 *         highest is invalid").
 * @retval RADIMO_ERR_READ_EMS as enhance_distance_temp_correct(); the line names this function.
 * @retval RADIMO_ERR_READ_TAU as enhance_distance_temp_correct().
 * @retval RADIMO_ERR_TEMP_CORRECT as enhance_distance_temp_correct().
 * @retval RADIMO_ERR_HUM_CORRECT as enhance_distance_temp_correct(); cannot occur for a checked scene.
 * @par Thread safety
 * Reentrant; reads the grids of the table's layout and the emissivity tables.
 */
RADIMO_API int radimo_build_precomputed_temp(const env_correct_param_t *env_correct_param,
                                             const uint16_t *correct_table, float lowest, float highest,
                                             float *table, uint8_t *valid);
/**
 * Corrects count apparent temperatures (degC) through a precomputed table: a temperature from -100 to
 * 1000 degC whose slot is valid takes the slot's value (exact at the slot's lattice temperature, the
 * nearest 0.01 degC slot otherwise); any other is corrected exactly by the two-pass scheme of
 * enhance_distance_temp_correct(). The first miss of a call is noted once on the debug printer
 * ("get_precomputed_temp failed"). The table is only read, so a result never depends on earlier calls.
 * @param env_correct_param the scene, checked as enhance_distance_temp_correct() checks it; only read.
 * @param correct_table the raw correction table.
 * @param correct_table_arg not used.
 * @param table RADIMO_PRECOMPUTED_TEMP_SLOTS floats; only read.
 * @param valid RADIMO_PRECOMPUTED_TEMP_SLOTS flags; only read.
 * @param temps count apparent temperatures, degC.
 * @param count number of values; 0 succeeds at once after the checks.
 * @param[out] new_temps count object temperatures, degC. On a failure the values before the failing
 *        one are written.
 * @retval RADIMO_SUCCESS every value is written.
 * @retval RADIMO_ERR_PARAM the scene checks of enhance_distance_temp_correct() (new_temps standing for
 *         its result pointer); table, valid or temps is NULL ("data is NULL").
 * @retval RADIMO_ERR_READ_EMS as enhance_distance_temp_correct(); the line names this function.
 * @retval RADIMO_ERR_READ_TAU as enhance_distance_temp_correct().
 * @retval RADIMO_ERR_TEMP_CORRECT as enhance_distance_temp_correct().
 * @retval RADIMO_ERR_HUM_CORRECT as enhance_distance_temp_correct(); cannot occur for a checked scene.
 * @par Thread safety
 * Reentrant; reads the grids of the table's layout and the emissivity tables.
 */
RADIMO_API int enhance_distance_temp_correct_lattice(const env_correct_param_t *env_correct_param,
                                                     const uint16_t *correct_table,
                                                     uint32_t correct_table_arg, const float *table,
                                                     const uint8_t *valid, const float *temps, uint32_t count,
                                                     float *new_temps);
/**
 * Corrects count frame values (1/16 K; apparent = value * 0.0625 - 273.15 degC, single-precision
 * product, double-precision difference) with the enhanced-distance correction, each equal to the
 * single-value result. A per-call lattice of 46800 bytes (plus 11700 flag bytes) on the heap keeps
 * the result of each value 2271 .. 13970 once computed; should it not be allocated, every value is
 * computed directly, with the same results.
 * @param env_correct_param the scene, checked as enhance_distance_temp_correct() checks it; only read.
 * @param correct_table the raw correction table.
 * @param correct_table_arg not used.
 * @param frame count frame values.
 * @param count number of values; 0 succeeds at once after the checks.
 * @param[out] new_temps count object temperatures, degC. On a failure the values before the failing
 *        one are written.
 * @retval RADIMO_SUCCESS every value is written.
 * @retval RADIMO_ERR_PARAM the scene checks of enhance_distance_temp_correct() (new_temps standing for
 *         its result pointer); frame is NULL ("data is NULL").
 * @retval RADIMO_ERR_READ_EMS as enhance_distance_temp_correct(); the line names this function.
 * @retval RADIMO_ERR_READ_TAU as enhance_distance_temp_correct().
 * @retval RADIMO_ERR_TEMP_CORRECT as enhance_distance_temp_correct().
 * @retval RADIMO_ERR_HUM_CORRECT as enhance_distance_temp_correct(); cannot occur for a checked scene.
 * @par Thread safety
 * Reentrant; reads the grids of the table's layout and the emissivity tables.
 */
RADIMO_API int enhance_distance_raw_temp_correct_lattice(const env_correct_param_t *env_correct_param,
                                                         const uint16_t *correct_table,
                                                         uint32_t correct_table_arg, const uint16_t *frame,
                                                         uint32_t count, float *new_temps);

/* ------------------------------------------------------------------------- */
/* Atmospheric transmittance                                                 */
/* ------------------------------------------------------------------------- */
/*
 * Transmittance (tau, Q14) is looked up in calibration tables of unsigned 16-bit values indexed by
 * the exported grids (see "Exported data tables"). The environment tau table holds 4 humidity
 * classes x 14 ambient-temperature rows (temp_table) x 64 distance columns (dist_table), element
 * (hum * 14 + temp) * 64 + dist, 3584 values; the target-temperature tau table 56 target-temperature
 * rows (target_temp_table) x 64 distance columns, element target * 64 + dist, 3584 values. Grid
 * comparisons are made against grid[i] - 0.0001 in double precision, with the float argument
 * widened. Write indices pick the nearest grid point (a tie goes to the lower one), read indices the
 * lower end of the interpolation interval. Messages use module "src/temp_correct".
 */

/**
 * Distance of a 1-based position of the first distance model (0.25 .. 50 m): 0.05 x + 0.2 for 1..20,
 * 0.1 x - 0.8 for 21..28, 0.2 x - 3.6 for 29..38, 0.5 x - 15 for 39..46 (each in double precision,
 * rounded to float), x - 38 for 47..51, 2 x - 90 for 52..59, 5 x - 270 for 60..64.
 * @param x the position, 1 .. 64.
 * @return the distance, m; 0.0 for another position, after the error line "x is invalid".
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API float distance_calculate(uint16_t x);
/**
 * Refills dist_table from distance_calculate(): entry x - 1 receives the float distance of position
 * x, widened (0.3 becomes 0.30000001192092896; the grid lookups' tolerance absorbs the difference).
 * @par Thread safety
 * Not thread-safe: it rewrites dist_table, which every lookup of the environment tau table, of the
 * target-temperature tau table and of a correction table with a tau-table format below 64 reads. Call
 * it before other threads call into the library, or while no call that reads dist_table runs.
 */
RADIMO_API void generate_distance_table(void);
/**
 * Distance of a 1-based position of the second distance model (0.25 .. 1000 m): the first model's
 * segments with their bounds moved down by one position (1.2, 2.0, 4.0, 8 and 50 belong to the
 * following segment), continued by 10 x - 590 for 64..68, 20 x - 1280 for 69..78, 50 x - 3650 for
 * 79..82 and 100 x - 7800 for 83..88. Both models agree at positions 1..64.
 * @param x the position, 1 .. 88.
 * @return the distance, m; 0.0 for another position, after the error line "x is invalid".
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API float new_distance_calculate(uint16_t x);
/**
 * Refills new_dist_table from new_distance_calculate(), each float distance widened. dist_table_v3
 * has no generator and keeps its defaults.
 * @par Thread safety
 * Not thread-safe: it rewrites new_dist_table, which the lookups of a correction table with a
 * tau-table format of 64 to 256 read. Call it before other threads call into the library, or while no
 * such call runs.
 */
RADIMO_API void generate_new_distance_table(void);
/**
 * Q14 transmittance from two response differences: v = (a - b) / (c - d) * 16384, the differences
 * signed 32-bit and divided in double precision; above 16384 the result is 16384, otherwise v
 * truncated toward zero. There is no lower clamp: a negative ratio gives a negative result. Never
 * fails and prints nothing.
 * @param a first response of the numerator pair.
 * @param b second response of the numerator pair.
 * @param c first response of the denominator pair.
 * @param d second response of the denominator pair.
 * @return the transmittance; for c == d, 16384 when a > b and INT32_MIN when a <= b.
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int calculate_tau(uint16_t a, uint16_t b, uint16_t c, uint16_t d);

/**
 * Humidity class of a relative humidity: below 0.3 class 0, below 0.5 class 1 (this comparison in
 * single precision, the other two in double: the float nearest 0.7 stays in class 2), below 0.7
 * class 2, otherwise class 3.
 * @param[out] index the class, 0 .. 3; written only on success.
 * @param hum relative humidity as a fraction, 0 .. 1.
 * @retval RADIMO_SUCCESS the class is written.
 * @retval RADIMO_ERR_PARAM index is NULL ("data is NULL"); hum outside 0 .. 1 ("humidity is invalid").
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int get_hum_index(uint16_t *index, float hum);
/**
 * Nearest temp_table row of an ambient temperature, for writing (only the first 13 rows are searched:
 * the duplicate 55 degC row is never written).
 * @param[out] index the row, 0 .. 12; written only on success.
 * @param ta ambient temperature, degC, -5 .. 55 (single-precision comparisons).
 * @retval RADIMO_SUCCESS the row is written.
 * @retval RADIMO_ERR_PARAM index is NULL ("data is NULL"); ta outside -5 .. 55 ("d is invalid", the
 *         distance writer's text, deliberately).
 * @par Thread safety
 * Reentrant; reads temp_table.
 */
RADIMO_API int get_temp_write_index(uint16_t *index, float ta);
/**
 * Lower temp_table row of an ambient temperature, for interpolation: 55 degC (within 0.0001) reads row
 * 13; below -5 degC row 0; above 55 degC row 12; otherwise the first k in 1 .. 12 with
 * ta <= temp_table[k] - 0.0001 gives k - 1 (12 when none does).
 * @param[out] index the row, 0 .. 13; written only on success.
 * @param ta ambient temperature, degC.
 * @retval RADIMO_SUCCESS the row is written.
 * @retval RADIMO_ERR_PARAM index is NULL ("data is NULL").
 * @par Thread safety
 * Reentrant; reads temp_table.
 */
RADIMO_API int get_temp_read_index(uint16_t *index, float ta);
/**
 * Nearest dist_table column of a distance, for writing.
 * @param[out] index the column, 0 .. 63; written only on success.
 * @param dist distance, m; accepted when 0.2499 < dist < 50.0001 (double-precision comparisons).
 * @retval RADIMO_SUCCESS the column is written.
 * @retval RADIMO_ERR_PARAM index is NULL ("data is NULL"); dist out of range ("d is invalid").
 * @par Thread safety
 * Reentrant; reads dist_table.
 */
RADIMO_API int get_dist_write_index(uint16_t *index, float dist);
/**
 * Lower dist_table column of a distance, for interpolation: the first i with
 * dist <= dist_table[i] - 0.0001 gives i - 1 (0 when i is 0); 63 when none does (a distance within
 * 0.0001 below 50 m).
 * @param[out] index the column, 0 .. 63; written only on success.
 * @param dist distance, m, 0.25 to below 50 (single-precision comparisons).
 * @retval RADIMO_SUCCESS the column is written.
 * @retval RADIMO_ERR_PARAM index is NULL ("data is NULL"); dist out of range ("dist is invalid").
 * @par Thread safety
 * Reentrant; reads dist_table.
 */
RADIMO_API int get_dist_read_index(uint16_t *index, float dist);
/**
 * Nearest target_temp_table row of a target temperature, for writing.
 * @param[out] index the row, 0 .. 55; written only on success.
 * @param target_temp target temperature, K; accepted when 248.1499 < T < 1623.1501.
 * @retval RADIMO_SUCCESS the row is written.
 * @retval RADIMO_ERR_PARAM index is NULL ("data is NULL"); T out of range ("target tempperature is
 *         invalid").
 * @par Thread safety
 * Reentrant; reads target_temp_table.
 */
RADIMO_API int get_target_temp_write_index(uint16_t *index, float target_temp);
/**
 * Lower target_temp_table row of a target temperature, for interpolation: at or below
 * target_temp_table[0] - 0.0001 row 0; otherwise the first i with T <= target_temp_table[i + 1] -
 * 0.0001, and row 55 for a temperature above the last row.
 * @param[out] index the row, 0 .. 55; written only on success.
 * @param target_temp target temperature, K.
 * @retval RADIMO_SUCCESS the row is written.
 * @retval RADIMO_ERR_PARAM index is NULL ("data is NULL").
 * @par Thread safety
 * Reentrant; reads target_temp_table.
 */
RADIMO_API int get_target_temp_read_index(uint16_t *index, float target_temp);
/**
 * Reads one element of a tau table file: a headerless file of native-order (little-endian on every
 * supported target) u16 values, element i at byte offset 2 i. The file is opened and closed by the
 * call, on every path.
 * @param file_name path of the file.
 * @param index element index; used modulo 65536.
 * @param[out] tau_value the element; written only on success.
 * @retval RADIMO_SUCCESS the element is written.
 * @retval RADIMO_ERR_PARAM file_name or tau_value is NULL ("file_name or tau_value is NULL").
 * @retval RADIMO_ERR_FILE the file cannot be opened ("file open fail"), positioned ("file seek fail")
 *         or read, for instance beyond its end ("file read fail").
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int tau_data_read(const char *file_name, int index, uint16_t *tau_value);
/**
 * Writes one element of an existing tau table file (see tau_data_read()); the file is never created.
 * A write beyond the end extends the file. The write counts only once the bytes have reached the
 * file: a failing flush or close is a failed write.
 * @param file_name path of the file.
 * @param index element index; used modulo 65536.
 * @param tau_value the value; its low 16 bits are written.
 * @retval RADIMO_SUCCESS the element is written.
 * @retval RADIMO_ERR_PARAM file_name is NULL ("file_name or tau_value is NULL").
 * @retval RADIMO_ERR_FILE the file cannot be opened, also when it does not exist ("file open fail"),
 *         positioned ("file seek fail") or written ("file write fail").
 * @par Thread safety
 * Reentrant; concurrent writers of one file are the caller's concern.
 */
RADIMO_API int tau_data_write(const char *file_name, int index, int tau_value);
/**
 * Stores one value into an environment tau table, at the humidity class (get_hum_index()), the
 * nearest ambient-temperature row (get_temp_write_index()) and the nearest distance column
 * (get_dist_write_index()).
 * @param[in,out] table the environment tau table, 3584 values; one element is written on success.
 * @param tau_value the value; its low 16 bits are stored.
 * @param hum relative humidity, 0 .. 1.
 * @param ta ambient temperature, degC, -5 .. 55.
 * @param dist distance, m, 0.25 .. 50.
 * @retval RADIMO_SUCCESS the value is stored.
 * @retval RADIMO_ERR_PARAM table is NULL ("correct table is NULL").
 * @retval RADIMO_ERR_HUM_INDEX the humidity was refused (its line).
 * @retval RADIMO_ERR_TEMP_INDEX the ambient temperature was refused (its line).
 * @retval RADIMO_ERR_DIST_INDEX the distance was refused (its line).
 * @par Thread safety
 * Reentrant; reads temp_table and dist_table.
 */
RADIMO_API int write_tau(uint16_t *table, int tau_value, float hum, float ta, float dist);
/**
 * Interpolated Q14 tau from an environment tau table, at the humidity class and the lower
 * ambient-temperature and distance indices (get_temp_read_index(), get_dist_read_index()). Rows 0, 12
 * and 13 interpolate in distance only (an ambient temperature between -5 and 0 degC reads the -5 degC
 * row alone, deliberately; 55 degC reads row 13); rows 1 .. 11 interpolate bilinearly towards the next
 * row. The result is truncated toward zero.
 * @param table the environment tau table, 3584 values.
 * @param[out] tau the transmittance, Q14; written only on success.
 * @param hum relative humidity, 0 .. 1.
 * @param ta ambient temperature, degC.
 * @param dist distance, m, 0.25 to below 50.
 * @retval RADIMO_SUCCESS the transmittance is written.
 * @retval RADIMO_ERR_PARAM table or tau is NULL ("correct table is NULL").
 * @retval RADIMO_ERR_HUM_INDEX the humidity was refused (its line).
 * @retval RADIMO_ERR_DIST_INDEX the distance was refused (its line).
 * @par Thread safety
 * Reentrant; reads temp_table and dist_table.
 */
RADIMO_API int read_tau(const uint16_t *table, uint16_t *tau, float hum, float ta, float dist);
/**
 * Stores one value into a target-temperature tau table, at the nearest row of the temperature
 * (float)(temp + 273.15) K and the nearest distance column; the writer knows no header.
 * @param[in,out] table the target-temperature tau table, 3584 values; one element is written on
 *        success.
 * @param tau_value the value; its low 16 bits are stored.
 * @param temp target temperature, degC (-25 .. 1350).
 * @param dist distance, m, 0.25 .. 50.
 * @retval RADIMO_SUCCESS the value is stored.
 * @retval RADIMO_ERR_PARAM table is NULL ("correct table is NULL").
 * @retval RADIMO_ERR_TEMP_INDEX the temperature was refused (its line).
 * @retval RADIMO_ERR_DIST_INDEX the distance was refused (its line).
 * @par Thread safety
 * Reentrant; reads target_temp_table and dist_table.
 */
RADIMO_API int write_tau_with_target_temp_and_dist(uint16_t *table, int tau_value, float temp, float dist);
/**
 * Interpolated Q14 tau from a target-temperature tau table. A buffer whose bytes 4..7 are all 0xFF
 * carries a 256-byte header: its values begin 256 bytes in. Rows 1 .. 54 interpolate bilinearly and
 * round to nearest; rows 0 and 55 return their own element (interpolated with itself in distance,
 * truncated), and their last column is read from the start of the buffer without the header offset,
 * kept for table compatibility.
 * @param table the table: 3584 values, after the header if there is one.
 * @param[out] tau the transmittance, Q14; written only on success.
 * @param temp target temperature, degC.
 * @param dist distance, m, 0.25 to below 50.
 * @retval RADIMO_SUCCESS the transmittance is written.
 * @retval RADIMO_ERR_PARAM table or tau is NULL ("data is NULL").
 * @retval RADIMO_ERR_DIST_INDEX the distance was refused (its line).
 * @par Thread safety
 * Reentrant; reads target_temp_table and dist_table.
 */
RADIMO_API int read_tau_with_target_temp_and_dist(const uint16_t *table, uint16_t *tau, float temp,
                                                  float dist);

/**
 * Magnus vapour pressure of a humidity and ambient temperature: e = 611.2 exp(17.67 t / (t + 243.5))
 * hum, in double precision, rounded to float, then raised to at least 800 Pa and, for version 1,
 * limited to 3000 Pa, for versions 2 and 3 to 4000 Pa (other versions: no upper limit).
 * @param version humidity model version.
 * @param[out] vapor_pressure the vapour pressure, Pa; written only on success.
 * @param hum relative humidity, 0 .. 1.
 * @param ta ambient temperature, degC.
 * @retval RADIMO_SUCCESS the pressure is written.
 * @retval RADIMO_ERR_PARAM vapor_pressure is NULL ("data is NULL"); hum outside 0 .. 1 ("x is invalid",
 *         the distance models' text, deliberately).
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int calculate_vapor_pressure(uint16_t version, float *vapor_pressure, float hum, float ta);
/**
 * Humidity exponent coefficient of a target temperature T (widened to double): 0 below 273.15 K;
 * ((410.15 / T)^4 - 1) * 0.01 - 0.04 up to 410.15 K; ((T / 410.15)^4 - 1) * -0.003 - 0.04 up to
 * 1273.1501 K; 0 above. Rounded to float, then multiplied by 0.6 for version 2 and by 0.3 for
 * version 3.
 * @param version humidity model version.
 * @param[out] coef the coefficient; written only on success.
 * @param target_temp target temperature, K.
 * @retval RADIMO_SUCCESS the coefficient is written.
 * @retval RADIMO_ERR_PARAM coef is NULL ("data is NULL").
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int calculate_coef(uint16_t version, float *coef, float target_temp);
/**
 * Rescales a Q14 tau for the water vapour of the air: with the distance raised to at least 1 m (and,
 * for versions 2 and 3, limited to 10 m), p = pow(e / 1425 (single precision), 1.4427 ln(dist) coef)
 * and the result tau * p in single precision, truncated and kept as 16 bits.
 * @param version humidity model version.
 * @param tau the table's transmittance, Q14.
 * @param[out] new_tau the rescaled transmittance, Q14; written only on success.
 * @param dist distance, m.
 * @param coef the coefficient of calculate_coef().
 * @param vapor_pressure the vapour pressure of calculate_vapor_pressure(), Pa.
 * @retval RADIMO_SUCCESS the transmittance is written.
 * @retval RADIMO_ERR_PARAM new_tau is NULL ("data is NULL").
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int recalc_tau(uint16_t version, uint16_t tau, uint16_t *new_tau, float dist, float coef,
                          float vapor_pressure);
/**
 * Humidity recalculation of tau for a scene: calculate_vapor_pressure() at the scene's hum and ta,
 * calculate_coef() at the target temperature, then recalc_tau() at the scene's dist.
 * @param env_correct_param the scene; dist, hum and ta are read.
 * @param version humidity model version.
 * @param tau the table's transmittance, Q14.
 * @param[out] new_tau the recalculated transmittance, Q14; written only on success.
 * @param target_temp target temperature, K.
 * @retval RADIMO_SUCCESS the transmittance is written.
 * @retval RADIMO_ERR_PARAM env_correct_param or new_tau is NULL ("data is NULL").
 * @retval RADIMO_ERR_VAPOR_PRESSURE the vapour pressure failed, hum outside 0 .. 1
 *         ("calculate_vapor_pressure failed").
 * @retval RADIMO_ERR_RECALC_TAU the coefficient failed; cannot occur.
 * @retval RADIMO_ERR_HUM_CORRECT the rescaling failed ("recalc tau failed"); cannot occur.
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int recalc_tau_with_hum_version(const env_correct_param_t *env_correct_param, uint16_t version,
                                           uint16_t tau, uint16_t *new_tau, float target_temp);
/**
 * Humidity recalculation of tau when the record's humidity switch is on: hum_enable 1 runs
 * recalc_tau_with_hum_version() with hum_version; any other value passes tau through unchanged,
 * without reading the scene.
 * @param correct_table the record; hum_enable and hum_version are read.
 * @param env_correct_param the scene (may be NULL when the switch is off); only read.
 * @param tau the table's transmittance, Q14.
 * @param[out] new_tau the transmittance, Q14; written only on success.
 * @param target_temp target temperature, K.
 * @retval RADIMO_SUCCESS the transmittance is written.
 * @retval RADIMO_ERR_PARAM correct_table or new_tau is NULL ("data is NULL").
 * @retval RADIMO_ERR_HUM_CORRECT the recalculation failed, for a NULL scene or a humidity outside
 *         0 .. 1 ("recalc_tau_with_hum_version failed").
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int recalc_tau_under_influence_of_hum(const correct_table_t *correct_table,
                                                 const env_correct_param_t *env_correct_param, uint16_t tau,
                                                 uint16_t *new_tau, float target_temp);

/* ------------------------------------------------------------------------- */
/* Multi-point user calibration                                              */
/* ------------------------------------------------------------------------- */
/*
 * A user calibration point pairs the temperature the camera outputs for an object (output_temp) with
 * the temperature the user says it has (setting_temp). The point functions turn one point into NUC
 * values (output_nuc: the response the camera presents to the NUC table once the new KT/BT arrays are
 * in force; setting_nuc: the NUC-table response of the set temperature with the scene removed); the
 * rebuild functions make new KT/BT arrays or a new NUC table from several points. Messages use module
 * "src/temp_correct".
 */

/**
 * Output and setting NUC values of one calibration point. Output side: output_temp looked up in the
 * 8192-entry NUC table, KT/BT removed with reverse_ktbt_correct() under the old arrays at cur_vtemp
 * (its result deliberately not examined: on failure the looked-up value goes on), then
 * ktbt_correct_process() with the new arrays at cur_vtemp. Setting side, by correction mode: 4-7
 * replace setting_temp by its apparent temperature (reverse_enhance_distance_temp_correct(), the
 * correction table being the raw correction table) before the lookup; 0-3 take the environment factor
 * (calc_env_factor_with_dist_and_env_temp(), the correction table being the environment tau table)
 * out of the looked-up value; 8 and above look it up only.
 * @param multi_point_param the scene and the second-calibration fields (K_Temp, B_Temp, Address_CA,
 *        cur_vtemp are read); only read.
 * @param correct_mode 0-3 environment factor, 4-7 enhanced-distance correction, 8 and above none.
 * @param multi_point_calib_array the old kt_array and bt_array (1201 entries), nuc_table (8192),
 *        correct_table (required even when not read) and correct_table_arg; only read.
 * @param two_point_calib_result the new kt_array and bt_array (1201 entries); only read.
 * @param[in,out] temp the point's temperatures, degC. In modes 4-7 setting_temp is replaced by its
 *        apparent temperature, also when a later step fails (a second call corrects it again).
 * @param[out] multi_point_nuc the point's NUC values. output_nuc is written step by step (0 after a
 *        failed output lookup, a partial value after a later failure); setting_nuc only on success.
 * @retval RADIMO_SUCCESS both NUC values are written.
 * @retval RADIMO_ERR_PARAM a pointer argument is NULL ("input param is invalid"); a calibration array
 *         or a result array is NULL ("multi_point_calib_array is invalid", for both deliberately).
 * @retval RADIMO_ERR_REVERSE_NUC the output lookup failed ("reverse calc output_temp nuc failed"), the
 *         setting lookup failed ("reverse calc setting_temp nuc failed") or the environment factor
 *         could not be removed ("reverse_calc_NUC_without_env_correct failed").
 * @retval RADIMO_ERR_KTBT_CORRECT the forward correction failed ("ktbt_correct_process failed");
 *         cannot occur after the checks.
 * @retval RADIMO_ERR_REVERSE_TEMP the enhanced-distance correction failed ("reverse setting temp
 *         failed").
 * @retval RADIMO_ERR_ENV_FACTOR the environment factor failed
 *         ("calc_env_factor_with_dist_and_env_temp failed").
 * @par Thread safety
 * Reentrant as long as no other call writes the same temp or multi_point_nuc; reads the exported grids
 * and emissivity tables in modes 0-7.
 */
RADIMO_API int multi_point_calc_user_defined_nuc(second_cal_param_t *multi_point_param, uint32_t correct_mode,
                                                 const multi_point_calib_array_t *multi_point_calib_array,
                                                 const two_point_calib_result_t *two_point_calib_result,
                                                 multi_point_temp_t *temp,
                                                 multi_point_nuc_t *multi_point_nuc);
/**
 * Output and setting NUC values of one point after a lens change, with no scene correction of any
 * kind. output_nuc: output_temp through the table-length lookup; the old index i from
 * calculate_ktbt_index_according_vtemp_in_change_lens() at cur_vtemp; TNR = float((output_nuc -
 * old_bt[i]) * 16384) / float(old_kt[i]); the new index j = (cur_vtemp * K_Temp) / 16384 (truncating
 * division) + B_Temp - Address_CA - 1, neither rounded nor clamped (deliberately); output_nuc =
 * trunc(new_kt[j] * TNR * 2^-14 + new_bt[j]). setting_nuc: setting_temp through the table-length
 * lookup. Debug lines trace the indices and values.
 * @param multi_point_param the second-calibration fields (K_Temp, B_Temp, Address_CA, ktbt_index_len,
 *        ktbt_array_len, nuc_table_len, cur_vtemp) are read; the scene is not.
 * @param multi_point_calib_array the old kt_array and bt_array (ktbt_array_len entries), nuc_table
 *        (nuc_table_len entries) and correct_table (required, not read); only read.
 * @param two_point_calib_result the new kt_array and bt_array (ktbt_array_len entries), for instance
 *        from new_ktbt_recal_double_point_calculate_in_change_lens(); only read.
 * @param temp the point's temperatures, degC; only read.
 * @param[out] multi_point_nuc the point's NUC values; output_nuc is written step by step (as for
 *        multi_point_calc_user_defined_nuc()), setting_nuc only on success.
 * @retval RADIMO_SUCCESS both NUC values are written.
 * @retval RADIMO_ERR_PARAM a pointer argument is NULL ("input param is invalid"); a calibration array
 *         or a result array is NULL ("multi_point_calib_array is invalid"); the old index lies outside
 *         the arrays ("default_ktbt_index is invalid"); the old gain there is 0 ("default_kt_array is
 *         invalid"); the new index lies outside the arrays ("new_ktbt_index is invalid").
 * @retval RADIMO_ERR_REVERSE_NUC the output lookup failed ("reverse calc output_temp nuc failed") or the
 *         setting lookup failed ("reverse calc setting_temp nuc failed").
 * @retval RADIMO_ERR_KTBT_INDEX the lens-change index failed
 *         ("calculate_ktbt_index_according_vtemp_in_change_lens failed"); cannot occur after the checks.
 * @par Thread safety
 * Reentrant as long as no other call writes the same multi_point_nuc.
 */
RADIMO_API int multi_point_calc_user_defined_nuc_in_change_lens(
    second_cal_param_t *multi_point_param, const multi_point_calib_array_t *multi_point_calib_array,
    const two_point_calib_result_t *two_point_calib_result, multi_point_temp_t *temp,
    multi_point_nuc_t *multi_point_nuc);
/**
 * Output and setting NUC values of one point, version 1 (dispatcher version 0): as
 * multi_point_calc_user_defined_nuc() in modes 0-3, always with the environment factor of the first
 * scene (high_env_correct_param), never the enhanced-distance correction.
 * @param multi_point_param the scenes (the first is used) and the second-calibration fields; only read.
 * @param multi_point_calib_array as for multi_point_calc_user_defined_nuc() (correct_table: the
 *        environment tau table); only read.
 * @param two_point_calib_result the new kt_array and bt_array (1201 entries); only read.
 * @param temp the point's temperatures, degC; only read.
 * @param[out] multi_point_nuc the point's NUC values, written as by
 *        multi_point_calc_user_defined_nuc().
 * @retval RADIMO_SUCCESS both NUC values are written.
 * @retval RADIMO_ERR_PARAM a pointer argument is NULL ("input param is invalid"); a calibration array
 *         is NULL ("multi_point_calib_array is invalid"); a result array is NULL
 *         ("two_point_calib_result is invalid").
 * @retval RADIMO_ERR_REVERSE_NUC as multi_point_calc_user_defined_nuc().
 * @retval RADIMO_ERR_KTBT_CORRECT cannot occur after the checks.
 * @retval RADIMO_ERR_ENV_FACTOR the environment factor failed
 *         ("calc_env_factor_with_dist_and_env_temp failed").
 * @par Thread safety
 * Reentrant as long as no other call writes the same multi_point_nuc; reads dist_table and temp_table.
 */
RADIMO_API int multi_point_calc_user_defined_nuc_with_version1(
    advanced_second_cal_param_t *multi_point_param, const multi_point_calib_array_t *multi_point_calib_array,
    const two_point_calib_result_t *two_point_calib_result, multi_point_temp_t *temp,
    multi_point_nuc_t *multi_point_nuc);
/**
 * Output and setting NUC values of one point, version 2 (dispatcher version 1): long arrays and
 * table-length lookups (nuc_table_len entries); the output side uses
 * reverse_ktbt_correct_with_version3() (index limited by ktbt_index_len) and
 * ktbt_correct_process_with_version3(); the setting side always applies the enhanced-distance
 * correction of the first scene to setting_temp, never the environment factor.
 * @param multi_point_param the scenes (the first is used) and the second-calibration fields; only read.
 * @param multi_point_calib_array the old kt_array and bt_array (3601 entries), nuc_table (nuc_table_len
 *        entries), correct_table (the raw correction table) and correct_table_arg; only read.
 * @param two_point_calib_result the new kt_array and bt_array (3601 entries); only read.
 * @param[in,out] temp the point's temperatures, degC; setting_temp is replaced by its apparent
 *        temperature, also when a later step fails.
 * @param[out] multi_point_nuc the point's NUC values, written as by
 *        multi_point_calc_user_defined_nuc().
 * @retval RADIMO_SUCCESS both NUC values are written.
 * @retval RADIMO_ERR_PARAM as multi_point_calc_user_defined_nuc_with_version1().
 * @retval RADIMO_ERR_REVERSE_NUC the output or setting lookup failed (see
 *         multi_point_calc_user_defined_nuc()).
 * @retval RADIMO_ERR_KTBT_CORRECT cannot occur after the checks.
 * @retval RADIMO_ERR_REVERSE_TEMP the enhanced-distance correction failed ("reverse setting temp
 *         failed").
 * @par Thread safety
 * Reentrant as long as no other call writes the same temp or multi_point_nuc; reads the exported grids
 * and emissivity tables.
 */
RADIMO_API int multi_point_calc_user_defined_nuc_with_version2(
    advanced_second_cal_param_t *multi_point_param, const multi_point_calib_array_t *multi_point_calib_array,
    const two_point_calib_result_t *two_point_calib_result, multi_point_temp_t *temp,
    multi_point_nuc_t *multi_point_nuc);
/**
 * Output and setting NUC values of one point, version 3 (dispatcher version 2): as
 * multi_point_calc_user_defined_nuc_with_version2() on the old and new arrays of temperature range
 * temp_area. After the reverse KT/BT step it prints "multi_point_nuc->output_nuc = %d" to standard
 * output, whatever the log level (deliberately).
 * @param[in,out] param multi_point_param (scenes and second-calibration fields), multi_point_calib_array
 *        (a multi_point_calib_array_v3_t: all eight pointers required), multi_point_temp (setting_temp
 *        rewritten as by version 2), multi_point_nuc (written as by
 *        multi_point_calc_user_defined_nuc()) and temp_area (0, 1 or 2) are used.
 * @param two_point_calib_result the new arrays of the three ranges (all six required); only read.
 * @retval RADIMO_SUCCESS both NUC values are written.
 * @retval RADIMO_ERR_PARAM param, two_point_calib_result, multi_point_param, multi_point_temp or
 *         multi_point_nuc is NULL ("input param is invalid"); temp_area above 2 ("temp_area is
 *         invalid"); multi_point_calib_array or one of its pointers is NULL
 *         ("multi_point_calib_input_param is invalid"); a result array is NULL ("two_point_calib_result
 *         is invalid").
 * @retval RADIMO_ERR_REVERSE_NUC the output lookup failed (reported with the lookup's own name,
 *         "reverse_calc_nuc_with_nuc_t failed") or the setting lookup failed ("reverse calc setting_temp
 *         nuc failed").
 * @retval RADIMO_ERR_KTBT_CORRECT cannot occur after the checks.
 * @retval RADIMO_ERR_REVERSE_TEMP the enhanced-distance correction failed ("reverse setting temp
 *         failed").
 * @par Thread safety
 * Reentrant as long as no other call uses the same records; reads the exported grids and emissivity
 * tables; writes to standard output.
 */
RADIMO_API int multi_point_calc_user_defined_nuc_with_version3(
    multi_point_calib_param_t *param, const two_point_calib_result_v3_t *two_point_calib_result);
/**
 * Versioned calibration-point dispatcher, numbered as the interface has it: version 0 runs
 * multi_point_calc_user_defined_nuc_with_version1(), 1 runs ..._with_version2() (both with the
 * record's multi_point_param, multi_point_calib_array as a multi_point_calib_array_t, multi_point_temp
 * and multi_point_nuc) and 2 runs ..._with_version3().
 * @param[in,out] param the record of the selected member.
 * @param version 0, 1 or 2.
 * @param two_point_calib_result a two_point_calib_result_t (versions 0 and 1) or a
 *        two_point_calib_result_v3_t (version 2); only read.
 * @retval RADIMO_SUCCESS the member succeeded.
 * @retval RADIMO_ERR_PARAM param or two_point_calib_result is NULL ("handle is NULL"); version above 2
 *         ("version is wrong").
 * @retval RADIMO_ERR_VERSION the member failed, after its lines ("multi_point_calc_user_defined_nuc
 *         failed" for versions 0 and 1, "multi_point_calc_user_defined_nuc_with_version3 failed" for 2).
 * @par Thread safety
 * As the selected member.
 */
RADIMO_API int multi_point_calc_user_defined_nuc_with_version(multi_point_calib_param_t *param,
                                                              uint32_t version, void *two_point_calib_result);

/**
 * Rebuilds the KT/BT arrays from 2 to 20 calibration points:
 * multi_point_calc_new_kt_bt_intermediate_param() (its result deliberately ignored: points that break
 * the ordering rule go on with the K, B and P the record holds), then the positions of each point's
 * gain and offset in the old arrays (calculate_new_value_index_in_orgtable()), sorted, then
 * new_kt_bt_table_interpolate().
 * @param[in,out] param the points; Ktemp, Btemp, K, B and P are written as by
 *        multi_point_calc_new_kt_bt_intermediate_param().
 * @param kt_array the old Q14 gains, param->table_len entries.
 * @param bt_array the old offsets, param->table_len entries.
 * @param[out] new_kt_array param->table_len entries; written only on success.
 * @param[out] new_bt_array param->table_len entries; written only on success.
 * @retval RADIMO_SUCCESS the new arrays are written (nothing when table_len is 0).
 * @retval RADIMO_ERR_PARAM a pointer is NULL ("input param is NULL"); point_num is 0 or above 19 ("the
 *         number of calib point is out of range"); a point's gain or offset lies outside the old
 *         arrays, or the interpolation failed ("calculate_new_value_index_in_orgtable failed", the same
 *         text for both, deliberately).
 * @par Thread safety
 * Reentrant as long as no other call uses the same param; writes to standard output.
 */
RADIMO_API int multi_point_calc_new_kt_bt(multi_point_kt_param_t *param, const uint16_t *kt_array,
                                          const int16_t *bt_array, uint16_t *new_kt_array,
                                          int16_t *new_bt_array);
/**
 * The per-point values of the KT/BT rebuild. With n = point_num + 1 points: the ordering rule of mode
 * (0: H and L fall from point to point with H above L; 1: both rise with H below L; other: no check);
 * the least-squares slope of fit_y over fit_x in single precision; Ktemp = trunc(slope * 163840) for
 * table_len 1201, trunc(slope * 163840 * 3) for 3601 (any other length keeps the given Ktemp);
 * Btemp = base_offset + ref_position - (fit_x[ref_index] * Ktemp) / 16384; for each point
 * K[i] = trunc((H[1] - L[1]) / (H[i] - L[i]) * 16384 + 0.5) (always relative to point 1, whatever
 * ref_index says, deliberately), B[i] = trunc(H[1] - H[i] * K[i] / 16384) and
 * P[i] = Btemp - base_offset + (fit_x[i] * Ktemp) / 16384. Ktemp, Btemp and each K, B, P are logged
 * and also printed to standard output ("Ktemp = %d", "Btemp = %d", "K[%d] = %d", "B[%d] = %d",
 * "P[%d] = %d"), whatever the log level, deliberately.
 * @param[in,out] param the points; Ktemp, Btemp, K, B and P are written only on success.
 * @param kt_array not used.
 * @param bt_array not used.
 * @param new_kt_array not used.
 * @param new_bt_array not used.
 * @retval RADIMO_SUCCESS the values are written.
 * @retval RADIMO_ERR_PARAM param is NULL ("input param is NULL"); point_num or ref_index above 19 ("the
 *         number of calib point is out of range"); the ordering rule is broken ("H or L is invalid",
 *         "H is invalid" or "L is invalid", at the first offending point).
 * @par Thread safety
 * Reentrant as long as no other call uses the same param; writes to standard output.
 */
RADIMO_API int multi_point_calc_new_kt_bt_intermediate_param(multi_point_kt_param_t *param,
                                                             const uint16_t *kt_array,
                                                             const int16_t *bt_array, uint16_t *new_kt_array,
                                                             int16_t *new_bt_array);
/**
 * Positions of each point's gain K[i] in kt_array and offset B[i] in bt_array: the first j whose entry
 * equals the value, or where the value lies strictly between entries j and j + 1 (then the nearer of
 * the two; a tie keeps j). A value found nowhere leaves its index entry unwritten.
 * @param point_num number of points minus one.
 * @param table_len entries of kt_array and bt_array.
 * @param K point_num + 1 gains.
 * @param B point_num + 1 offsets.
 * @param kt_array table_len gains.
 * @param bt_array table_len offsets.
 * @param[out] kt_index point_num + 1 positions in kt_array (entries of values not found untouched).
 * @param[out] bt_index point_num + 1 positions in bt_array (likewise).
 * @retval RADIMO_SUCCESS always, after the check.
 * @retval RADIMO_ERR_PARAM a pointer is NULL ("input param is NULL").
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int calculate_new_value_index_in_orgtable(uint8_t point_num, uint16_t table_len, const uint16_t *K,
                                                     const int16_t *B, const uint16_t *kt_array,
                                                     const int16_t *bt_array, uint16_t *kt_index,
                                                     uint16_t *bt_index);
/**
 * Sorts count u16 values ascending (bubble sort with early exit). Nothing happens for a NULL array or a
 * count below 2.
 * @param[in,out] array count values.
 * @param count number of values.
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API void sort_multi_point_kt(uint16_t *array, uint32_t count);
/**
 * New KT/BT arrays: each point's old entry (at kt_index[s] and bt_index[s]) is moved to its target
 * position P[s], and the entries between are interpolated. For each array a position map is built
 * segment by segment (entry j moves to (j - idx[s]) * (P[s + 1] - P[s]) / (idx[s + 1] - idx[s]) + P[s],
 * the first and last segments continued to the ends), and entry j of the new array is the old array
 * interpolated at j over that map (LinearInterp()), truncated and clamped to the old array's range
 * (unsigned compares for kt: a negative value wraps and ends at the maximum, deliberately).
 * @param point_num number of segments (points minus one), at least 1.
 * @param table_len entries of every array.
 * @param kt_array the old gains.
 * @param bt_array the old offsets.
 * @param kt_index point_num + 1 ascending positions in kt_array, the last at most table_len.
 * @param bt_index point_num + 1 ascending positions in bt_array, the last at most table_len.
 * @param P point_num + 1 target positions.
 * @param[out] new_kt_array table_len entries; written only on success.
 * @param[out] new_bt_array table_len entries; written only on success.
 * @retval RADIMO_SUCCESS the new arrays are written (nothing when table_len is 0).
 * @retval RADIMO_ERR_PARAM a pointer is NULL, or the working memory (4 table_len floats) cannot be
 *         allocated ("input param is NULL").
 * @retval RADIMO_ERR_TABLE_CALC point_num is 0 ("the number of calib point is out of range"); the
 *         indices do not ascend or reach beyond the arrays ("calculate_new_value_index_in_orgtable
 *         failed"); the interpolation failed (a table_len of 1, with LinearInterp()'s line).
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int new_kt_bt_table_interpolate(uint8_t point_num, uint16_t table_len, const uint16_t *kt_array,
                                           const int16_t *bt_array, const uint16_t *kt_index,
                                           const uint16_t *bt_index, const uint16_t *P,
                                           uint16_t *new_kt_array, int16_t *new_bt_array);

/**
 * Rebuilds a NUC table from calibration points, so that the new table at an output position holds what
 * the old table held at the matching setting position, linear between points and continuing the first
 * and last segments beyond them. In half NUC units (the table index is NUC >> 1). Steps: hot mode
 * (hotmode_calc()) mirrors the points (16384 - v) and reverses the old table in place; the points are
 * sorted column by column (sort_multi_point_nuc()); each segment's slope k and halved intercept b give
 * the position map entries (setting >> 1 onwards) j * k + b; each new entry is the old table
 * interpolated over that map (LinearInterp()), truncated, its low 16 bits clamped to the old table's
 * maximum, then minimum (a negative value wraps and ends at the maximum, deliberately); hot mode
 * reverses the new table and restores the old one. Debug lines give the range, the points and the
 * segments.
 * @param[in,out] nuc_table the old table, 16384 entries; reversed during the call in hot mode and
 *        restored before a successful return.
 * @param[in,out] points num points; left mirrored (hot mode) and sorted on success, untouched after a
 *        refusal.
 * @param num number of points, at least 2; only the low 16 bits count.
 * @param[out] new_nuc_table 16384 entries; written only on success.
 * @retval RADIMO_SUCCESS the new table is written.
 * @retval RADIMO_ERR_PARAM a pointer is NULL, fewer than 2 points, a setting whose position lies beyond
 *         the 16384-entry map (32770 or more), or no working memory ("input param is invalid").
 * @retval RADIMO_ERR_TABLE_CALC the interpolation failed; cannot occur after the checks.
 * @par Thread safety
 * Reentrant as long as no other call uses the same nuc_table or points.
 */
RADIMO_API int multi_point_calc_new_nuc_table(uint16_t *nuc_table, multi_point_nuc_t *points, uint32_t num,
                                              uint16_t *new_nuc_table);
/**
 * Rebuilds a NUC table from calibration points in full NUC units: as multi_point_calc_new_nuc_table(),
 * with the position map indexed by the setting itself and the intercepts not halved; a setting above
 * 16384 is refused.
 * @param[in,out] nuc_table the old table, 16384 entries; reversed and restored in hot mode.
 * @param[in,out] points num points; left mirrored (hot mode) and sorted on success.
 * @param num number of points, at least 2; only the low 16 bits count.
 * @param[out] new_nuc_table 16384 entries; written only on success.
 * @retval RADIMO_SUCCESS the new table is written.
 * @retval RADIMO_ERR_PARAM as multi_point_calc_new_nuc_table() ("input param is invalid").
 * @retval RADIMO_ERR_TABLE_CALC cannot occur after the checks.
 * @par Thread safety
 * Reentrant as long as no other call uses the same nuc_table or points.
 */
RADIMO_API int multi_point_calc_new_nuc_table_with_version3(uint16_t *nuc_table, multi_point_nuc_t *points,
                                                            uint32_t num, uint16_t *new_nuc_table);
/**
 * Rebuild dispatcher: always runs multi_point_calc_new_nuc_table_with_version3() on the record's
 * nuc_table, multi_point_nuc and the low 16 bits of calib_point_num; the version only says which array
 * record multi_point_calib_array is (version 2 a multi_point_calib_array_v3_t, versions 0 and 1 a
 * multi_point_calib_array_t).
 * @param[in,out] multi_point_param the record; the table and the points are used as the rebuild uses
 *        them.
 * @param version 0, 1 or 2.
 * @param[out] new_nuc_table 16384 entries; written only on success.
 * @retval RADIMO_SUCCESS the new table is written.
 * @retval RADIMO_ERR_PARAM multi_point_param, new_nuc_table or multi_point_calib_array is NULL ("input
 *         param is invalid"); version above 2 ("version is invalid").
 * @retval RADIMO_ERR_VERSION the rebuild failed ("multi_point_calc_new_nuc_table_with_version failed").
 * @par Thread safety
 * Reentrant as long as no other call uses the same records.
 */
RADIMO_API int multi_point_calc_new_nuc_table_with_version(multi_point_calib_param_t *multi_point_param,
                                                           uint32_t version, uint16_t *new_nuc_table);
/**
 * Rebuilds a NUC table after a lens change. Extension of this library (its behaviour is this library's
 * own design).
 *
 * As multi_point_calc_new_nuc_table() (half NUC units: the table is indexed by NUC / 2; the same
 * hot-mode handling, clamping to the old table's range and restoration of the old table), except
 * that the position map is the least-squares quadratic output = c0 + c1 * setting + c2 * setting^2
 * through the (setting_nuc, output_nuc) pairs (ordinary_least_squares()) instead of piecewise-linear
 * segments, so that noisy points give a smooth table. The pairs are kept as given (not sorted
 * column by column) and the caller's points are not modified.
 * @param[in,out] nuc_table the old table, 16384 entries; reversed during the call in hot mode and
 *        as given again after every return.
 * @param points num points; only read.
 * @param num number of points, at least 3; only the low 16 bits count.
 * @param[out] new_nuc_table 16384 entries; written only on success.
 * @retval RADIMO_SUCCESS the new table is written.
 * @retval RADIMO_ERR_PARAM a pointer is NULL ("input param is invalid"); no working memory ("memory
 *         allocation failed").
 * @retval RADIMO_ERR_TABLE_CALC fewer than three points ("the number of calib point is out of range");
 *         a degenerate fit ("ordinary_least_squares failed", after its line); a map that does not rise
 *         strictly over the whole table, a table the camera could not use ("position map is not
 *         monotonic"); a failed interpolation ("LinearInterp failed").
 * @par Thread safety
 * Reentrant as long as no other call uses the same nuc_table.
 */
RADIMO_API int multi_point_calc_new_nuc_table_in_change_lens(uint16_t *nuc_table,
                                                             const multi_point_nuc_t *points, uint32_t num,
                                                             uint16_t *new_nuc_table);
/**
 * Least-squares quadratic y = c0 + c1 * x + c2 * x^2 through n points (x[i], y[i]), in any order,
 * repeats allowed. Extension of this library (its behaviour is this library's own design).
 *
 * Double precision throughout, inputs and coefficients: over NUC values up to 16383, x^2 reaches
 * 2.7e8 and the sums that carry the curvature exceed float's 24-bit mantissa many times over, so
 * a float fit would lose the slight curvature it is there to find; double keeps the coefficients
 * to float precision for callers that store what they compute from them as float. The abscissae
 * are centred on their mid-range and scaled to [-1, 1], and the fit is solved with the polynomials
 * orthogonal over the points (not the normal equations, which square the conditioning), then
 * converted to powers of x. No division by zero occurs and no NaN coefficient is written.
 * @param x n abscissae, finite.
 * @param y n ordinates, finite.
 * @param n number of points, at least 3.
 * @param[out] coefficients c0, c1, c2; written only on success.
 * @retval RADIMO_SUCCESS the coefficients are written.
 * @retval RADIMO_ERR_PARAM a pointer is NULL ("input param is invalid"); n below 3 ("the number of points
 *         is invalid"); a value is not finite ("x or y is not finite"); fewer than three distinct
 *         abscissae ("fewer than three distinct x"); abscissae too close to two values to determine the
 *         curvature to float precision ("x is too close to two values"); coefficients that overflow
 *         ("coefficients are not finite").
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int ordinary_least_squares(const double *x, const double *y, uint32_t n, double *coefficients);
/**
 * Piecewise-linear interpolation at x over ascending abscissae, in single precision: a binary search
 * picks the segment [s, s + 1] (the first segment for x below arr_x[0], the last one for x beyond the
 * last abscissa, so both ends extrapolate), and *out = y0 + ((x - x0) * (y1 - y0)) / (x1 - x0), in that
 * order. Equal abscissae are not guarded: the quotient is then an infinity or NaN.
 * @param param the abscissae, ordinates and their count (at least 2); only read.
 * @param[out] out the interpolated value; written only on success.
 * @param x the abscissa to interpolate at.
 * @retval RADIMO_SUCCESS the value is written.
 * @retval RADIMO_ERR_PARAM param or out is NULL ("input param is invalid"); arr_x or arr_y is NULL
 *         ("arr_x or arr_y is invalid"); size below 2 ("size is invalid").
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int LinearInterp(const linear_interp_param_t *param, float *out, float x);
/**
 * Hot-mode test of a NUC table: the first of entries 1 .. 8191 that differs from entry 0 decides, 1
 * when it is smaller (a falling table), 0 when it is larger. Only the first 8192 entries are looked
 * at, also for the 16384-entry tables of the rebuild, deliberately. Prints nothing.
 * @param nuc_table at least 8192 entries.
 * @return 1 in hot mode; 0 otherwise, also for a table constant over its first 8192 entries and for a
 *         NULL table.
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int hotmode_calc(const uint16_t *nuc_table);
/**
 * Reverses a table: dst[i] = src[count - 1 - i], through a heap copy, so src and dst may be the same
 * array.
 * @param src count entries.
 * @param count number of entries; 0 does nothing.
 * @param[out] dst count entries (may be src); written only on success.
 * @retval RADIMO_SUCCESS the reversed table is written.
 * @retval RADIMO_ERR_PARAM src or dst is NULL, or the copy cannot be allocated ("input param is
 *         invalid").
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int hotmode_reverse(const uint16_t *src, uint32_t count, uint16_t *dst);
/**
 * Sorts the output and setting columns of count points ascending, each on its own (bubble sort with
 * early exit): pairs are deliberately not kept together, the points being taken to be monotonic, so
 * ((100, 900), (200, 800)) becomes ((100, 800), (200, 900)). Nothing happens for a NULL array or a
 * count below 2.
 * @param[in,out] points count points.
 * @param count number of points.
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API void sort_multi_point_nuc(multi_point_nuc_t *points, uint32_t count);
/**
 * Corrects one stretch of an 8192-entry NUC table from exactly three calibration points: the first two
 * settings s0 < s1 bound the calibrated range, the third s2 picks the stretch (entries in NUC >> 1
 * units, half-open): between the two (s0 < s2 < s1: s0 >> 1 .. s1 >> 1), below the first (s2 at or
 * below s0, or equal to s1: 0 .. s0 >> 1) or above the second (s1 >> 1 .. 8191). The stretch comes from
 * multi_point_calc_new_nuc_table() on the three points (over a 16384-entry working copy of the table,
 * continued flat), everything else is the old table. A falling (hot-mode) table is mirrored and
 * reversed as the rebuild does it, and gives a falling new table.
 * @param[in,out] nuc_table the old table, 8192 entries; in hot mode reversed during the call and
 *        restored before a successful return (left reversed after "the sencond temperature point ..." or
 *        a failed rebuild).
 * @param[in,out] points three points; left mirrored (hot mode) and sorted by the rebuild.
 * @param num number of points: 3.
 * @param[out] new_nuc_table 8192 entries; written only on success.
 * @retval RADIMO_SUCCESS the new table is written.
 * @retval RADIMO_ERR_PARAM a pointer is NULL or no working memory ("input param is invalid"); num is
 *         not 3 ("temp num is in valid."); s0 is not below s1 ("the sencond temperature point must
 *         greater than the first temperature point.%d %d", with s0 and s1).
 * @retval RADIMO_ERR_VERSION the rebuild failed ("multi_point_calc_new_nuc_table failed").
 * @par Thread safety
 * Reentrant as long as no other call uses the same nuc_table or points.
 */
RADIMO_API int multi_point_calc_one_point_correct(uint16_t *nuc_table, multi_point_nuc_t *points,
                                                  uint16_t num, uint16_t *new_nuc_table);

/* ------------------------------------------------------------------------- */
/* Exported data tables                                                      */
/* ------------------------------------------------------------------------- */
/*
 * Writable arrays of doubles, initialised with the library's defaults: the grids of the tau tables
 * with the widths of their intervals (each _diff table holds grid[i + 1] - grid[i] as an exact
 * decimal), and the emissivity compatibility tables with their axes. They are process-wide state:
 * the grid index functions, the tau readers and writers, the compatibility readers and everything
 * built on them (environment factors, enhanced-distance correction, whole-frame scene correction,
 * recalibrations) read them without synchronisation. generate_distance_table() rewrites dist_table
 * and generate_new_distance_table() new_dist_table with single-precision values; a host may store
 * its own grids or calibration data. Any such write must be finished before a call that reads the
 * table starts, in any thread (see "State and thread safety"). Grids must stay ascending.
 */
/** m, 0.25 .. 50, first distance model; rewritten by generate_distance_table() */
RADIMO_API extern double dist_table[64];
RADIMO_API extern double dist_table_diff[63]; /**< m, dist_table[i + 1] - dist_table[i] */
/** m, 0.25 .. 1000, second distance model; rewritten by generate_new_distance_table() */
RADIMO_API extern double new_dist_table[88];
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
 * ignored). Every target gives the same results. Messages use module
 * "src/temp_correct".
 */

/**
 * The kernel target of the whole-frame functions. The first call of this function or of a whole-frame
 * function chooses it, once per process and in a thread-safe way, from the build, the CPU and RADIMO_SIMD.
 * @return "scalar", "sse2", "avx2" or "neon": a static string, never NULL, never to be freed.
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API const char *radimo_simd_target(void);

/**
 * temp = the 1/16 K temperature of each raw NUC value: the KT/BT correction of ktbt_param (its index
 * from vtemp, computed once) and the NUC table lookup, as temp_measure_with_NUC_value() gives it.
 * @param ktbt_param the correction record, its kt_array and bt_array of ktbt_len entries; only read.
 * @param ktbt_len length of the KT/BT arrays: 1201 (as ktbt_correct_process()) or 3601 (as
 *        ktbt_correct_process_with_version3()).
 * @param nuc_table nuc_table_len entries.
 * @param nuc_table_len 8192 (indexed by NUC value / 2, as remap_temp()) or 16384 (indexed by the NUC
 *        value).
 * @param raw the raw frame (width x height NUC values).
 * @param resolution width | height << 16, each half 1 .. 32767.
 * @param first_row first row of the band.
 * @param row_count rows of the band.
 * @param[out] temp the temperature frame (width x height); only the band's rows are written, and only
 *        on success.
 * @retval RADIMO_SUCCESS the band is written.
 * @retval RADIMO_ERR_PARAM a pointer, kt_array or bt_array is NULL ("data is NULL"); another ktbt_len
 *         ("ktbt_len is invalid"); another table length ("nuc_table_len is invalid"); the resolution or
 *         the band is invalid.
 * @par Thread safety
 * Reentrant: calls on disjoint bands of one output may run concurrently.
 */
RADIMO_API int radimo_frame_temp_measure(const ktbt_correct_param_t *ktbt_param, uint32_t ktbt_len,
                                         const uint16_t *nuc_table, uint32_t nuc_table_len,
                                         const uint16_t *raw, uint32_t resolution, uint32_t first_row,
                                         uint32_t row_count, uint16_t *temp);

/**
 * celsius = each value in degC. With nuc_table NULL the frame holds 1/16 K temperatures
 * (value * 0.0625 - 273.15); otherwise it holds NUC values (capped at 16383), converted through the
 * table as calc_temperature_with_nuc_t_table_len() converts them.
 * @param nuc_table nuc_table_len entries, or NULL for a temperature frame.
 * @param nuc_table_len 8192 or 16384 when nuc_table is given; ignored otherwise.
 * @param frame the frame (width x height values).
 * @param resolution width | height << 16, each half 1 .. 32767.
 * @param first_row first row of the band.
 * @param row_count rows of the band.
 * @param[out] celsius the degC frame (width x height floats); only the band's rows are written, and only
 *        on success.
 * @retval RADIMO_SUCCESS the band is written.
 * @retval RADIMO_ERR_PARAM frame or celsius is NULL ("data is NULL"); another table length
 *         ("nuc_table_len is invalid"); the resolution or the band is invalid.
 * @par Thread safety
 * Reentrant: calls on disjoint bands of one output may run concurrently.
 */
RADIMO_API int radimo_frame_to_celsius(const uint16_t *nuc_table, uint32_t nuc_table_len,
                                       const uint16_t *frame, uint32_t resolution, uint32_t first_row,
                                       uint32_t row_count, float *celsius);

/**
 * object = the enhanced-distance correction (degC) of each 1/16 K value, as
 * enhance_distance_raw_temp_correct_lattice() gives it; each distinct value of the band is corrected
 * once, in the order of first appearance. Works on 320 KB of heap per call.
 * @param scene the scene; only read.
 * @param correct_table the raw correction table (see enhance_distance_temp_correct()).
 * @param frame the temperature frame (width x height values, 1/16 K).
 * @param resolution width | height << 16, each half 1 .. 32767.
 * @param first_row first row of the band.
 * @param row_count rows of the band.
 * @param[out] object the object-temperature frame (width x height floats, degC); only the band's rows
 *        are written. When a correction fails, the pixels of the band before the failing one are
 *        written.
 * @retval RADIMO_SUCCESS the band is written.
 * @retval RADIMO_ERR_PARAM a pointer is NULL ("data is NULL"); the resolution or the band is invalid; a
 *         scene field is NaN or infinite ("<field> is not a finite number"); then the range checks and
 *         messages of enhance_distance_temp_correct() (ems and hum 0 .. 1, dist 0 .. 1000 m, ta and tu
 *         -273.15 .. 100 degC).
 * @retval RADIMO_ERR_ALLOC the working memory cannot be had ("alloc working memory failed").
 * @retval RADIMO_ERR_READ_EMS as enhance_distance_temp_correct(); the line names this function.
 * @retval RADIMO_ERR_READ_TAU as enhance_distance_temp_correct().
 * @retval RADIMO_ERR_TEMP_CORRECT as enhance_distance_temp_correct().
 * @retval RADIMO_ERR_HUM_CORRECT as enhance_distance_temp_correct(); cannot occur for a checked scene.
 * @par Thread safety
 * Reentrant: calls on disjoint bands of one output may run concurrently; reads the grids of the
 * table's layout and the emissivity tables.
 */
RADIMO_API int radimo_frame_scene_correct(const env_correct_param_t *scene, const uint16_t *correct_table,
                                          const uint16_t *frame, uint32_t resolution, uint32_t first_row,
                                          uint32_t row_count, float *object);

/**
 * means = the 3x3 trimmed mean of every pixel: the value get_point_temp() gives there (the edge rule
 * at the borders).
 * @param frame the frame (width x height values).
 * @param resolution width | height << 16, each half 1 .. 32767.
 * @param first_row first row of the band.
 * @param row_count rows of the band.
 * @param[out] means the frame of means (width x height); only the band's rows are written, and only on
 *        success.
 * @retval RADIMO_SUCCESS the band is written.
 * @retval RADIMO_ERR_PARAM frame or means is NULL ("data is NULL"); the resolution or the band is
 *         invalid.
 * @par Thread safety
 * Reentrant: calls on disjoint bands of one output may run concurrently.
 */
RADIMO_API int radimo_frame_point_means(const uint16_t *frame, uint32_t resolution, uint32_t first_row,
                                        uint32_t row_count, uint16_t *means);

/** Statistics of the 3x3 trimmed means inside a rectangle. */
typedef struct radimo_frame_stats_t {
    uint16_t max;      /**< largest mean */
    uint16_t min;      /**< smallest mean */
    uint16_t avg;      /**< (sum + count / 2) / count; 0 when count is 0 */
    point_t max_point; /**< last position of max in row-major order */
    point_t min_point; /**< last position of min in row-major order */
    uint64_t sum;      /**< sum of all means, 64-bit: never wraps */
    uint64_t count;    /**< number of means */
} radimo_frame_stats_t;

/**
 * The maximum, minimum and positions of get_rect_temp() over the same rectangle (the rectangle's rows
 * are the row range). get_rect_temp() sums in 32 bits, as its rule states, so a hot rectangle of more
 * than 65537 pixels wraps its sum and reports a wrong average; this sum is 64-bit and its average
 * always right: use it for large rectangles and whole frames.
 * @param frame the frame (width x height values).
 * @param resolution width | height << 16, each half 1 .. 32767.
 * @param origin top-left pixel of the rectangle.
 * @param size rectangle size, inside the frame and not empty.
 * @param[out] stats the statistics; written only on success.
 * @retval RADIMO_SUCCESS the statistics are written.
 * @retval RADIMO_ERR_PARAM frame or stats is NULL ("data is NULL"); the resolution is invalid; the
 *         rectangle is empty or not inside the frame ("the rect is invalid").
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int radimo_frame_stats(const uint16_t *frame, uint32_t resolution, point_t origin,
                                  rect_size_t size, radimo_frame_stats_t *stats);

/**
 * Adds the statistics of a later part of the scan (for instance the next band of rows, measured by
 * another thread) to first: its ties take the positions, as in one scan; sum and count add, and avg is
 * recomputed. Statistics with count 0 are neutral.
 * @param[in,out] first the statistics of the earlier part; updated only on success.
 * @param later the statistics of the later part; only read.
 * @retval RADIMO_SUCCESS first is updated.
 * @retval RADIMO_ERR_PARAM first or later is NULL ("data is NULL").
 * @par Thread safety
 * Reentrant.
 */
RADIMO_API int radimo_frame_stats_merge(radimo_frame_stats_t *first, const radimo_frame_stats_t *later);

/* ------------------------------------------------------------------------- */
/* Region statistics: this library's own extensions (prefix radimo_)          */
/* ------------------------------------------------------------------------- */
/*
 * A region is a set of pixels of a frame: a rectangle, an ellipse, a polygon
 * or a caller's mask. Pixel (column c, row r) has its centre at the
 * coordinates (c, r); a shape holds the pixels whose centres it contains, and
 * only the pixels inside the frame count (a region may reach beyond the frame).
 *
 * - Rectangle: columns origin.x .. origin.x + size.w - 1, rows origin.y ..
 *   origin.y + size.h - 1; size.w and size.h at least 1.
 * - Ellipse: the centres with ((c - cx) / rx)^2 + ((r - cy) / ry)^2 <= 1,
 *   evaluated in double precision; rx and ry greater than 0. A one-pixel
 *   region is an ellipse of radii 0.5 around the pixel's centre.
 * - Polygon: the vertices in order, closed from the last back to the first.
 *   A centre is inside when a ray from it towards +x crosses the edges an odd
 *   number of times (the even-odd rule: where a self-intersecting polygon
 *   overlaps itself twice, the overlap is outside). An edge counts for rows r
 *   with (y0 > r) != (y1 > r) and crosses at x0 + (r - y0) * (x1 - x0) /
 *   (y1 - y0); a centre exactly on the crossing is outside that edge's ray.
 *   So a centre on a left or top edge is inside and one on a right or bottom
 *   edge is not: the polygon with corners (0, 0), (4, 0), (4, 3), (0, 3) holds
 *   the 4 x 3 pixels of columns 0..3 and rows 0..2, and polygons that tile the
 *   plane share no pixel. 3 .. RADIMO_REGION_MAX_VERTICES vertices.
 * - Mask: width x height bytes in the frame's layout; a non-zero byte puts
 *   its pixel inside.
 *
 * Every coordinate (rectangle corners, ellipse centre and radii, vertices)
 * must be finite and within +-RADIMO_REGION_COORD_LIMIT. A region with no
 * pixel inside the frame is refused, so a statistic never divides by zero.
 *
 * Sampling: RADIMO_SAMPLE_PIXEL takes each pixel's own value (the true
 * extremes); RADIMO_SAMPLE_MEAN3 takes the 3x3 trimmed mean at each pixel,
 * the value get_point_temp gives there (the neighbours come from the whole
 * frame, beyond the region and the row band).
 *
 * Statistics scan the region's pixels in row-major order; on ties the last
 * position wins, as in get_rect_temp. radimo_region_stats and
 * radimo_region_counts work on the band of rows first_row .. first_row +
 * row_count - 1 (row_count 0 does nothing): a host splits a frame into bands,
 * runs them on its own threads and merges the results in band order
 * (radimo_region_stats_merge; adding the count tables). The library starts no
 * threads and keeps no state; calls on distinct outputs may run concurrently.
 *
 * Refusals return RADIMO_ERR_PARAM (-1100), log one error line and write
 * nothing: "data is NULL", "resolution is invalid" (both halves 1 .. 32767),
 * "row range is invalid", "region shape is invalid", "region coordinates are
 * invalid" (NaN, infinite or beyond the limit), "region size is invalid"
 * (rectangle side or radius not positive), "region vertex count is invalid",
 * "region has no pixel inside the frame", "sampling is invalid", and the
 * checks named with each function.
 */

/** Region shapes (radimo_region_t.shape). */
enum {
    RADIMO_REGION_RECT = 1,    /**< origin and size */
    RADIMO_REGION_ELLIPSE = 2, /**< cx, cy, rx, ry */
    RADIMO_REGION_POLYGON = 3, /**< vertices, vertex_count */
    RADIMO_REGION_MASK = 4     /**< mask */
};

/** Sampling of the region's pixels (the sampling argument). */
enum {
    RADIMO_SAMPLE_PIXEL = 0, /**< each pixel's own value */
    RADIMO_SAMPLE_MEAN3 = 1  /**< the 3x3 trimmed mean at each pixel, as get_point_temp */
};

/** Largest number of polygon vertices. */
#define RADIMO_REGION_MAX_VERTICES 65536u
/** Largest magnitude of a region coordinate, in pixels. */
#define RADIMO_REGION_COORD_LIMIT 1048576.0

/** A region of a frame; only the fields of its shape are read. Pointers are caller-owned, read only during
 * the call. */
typedef struct radimo_region_t {
    uint32_t shape;         /**< RADIMO_REGION_RECT, _ELLIPSE, _POLYGON or _MASK */
    point_t origin;         /**< rectangle: top-left pixel (column, row); may lie outside the frame */
    rect_size_t size;       /**< rectangle: width and height in pixels, each at least 1 */
    double cx;              /**< ellipse: centre column (pixel coordinates) */
    double cy;              /**< ellipse: centre row */
    double rx;              /**< ellipse: radius along the rows (x), pixels, > 0 */
    double ry;              /**< ellipse: radius along the columns (y), pixels, > 0 */
    const double *vertices; /**< polygon: x0, y0, x1, y1, ... in pixel coordinates (2 * vertex_count) */
    uint32_t vertex_count;  /**< polygon: 3 .. RADIMO_REGION_MAX_VERTICES */
    const uint8_t *mask;    /**< mask: width * height bytes, row-major; non-zero = inside */
} radimo_region_t;

/** Statistics of a region's samples. A band without region pixels gives count 0, max 0, min 65535,
 * positions (-1, -1), mean and stddev 0. */
typedef struct radimo_region_stats_t {
    uint16_t max;         /**< largest sample, frame units */
    uint16_t min;         /**< smallest sample, frame units */
    point_t max_point;    /**< last position of max in row-major order */
    point_t min_point;    /**< last position of min in row-major order */
    uint64_t count;       /**< number of samples (pixels of the region in the band) */
    uint64_t sum;         /**< sum of the samples; 64-bit, never wraps */
    uint64_t sum_squares; /**< sum of the squared samples; never wraps (at most 2^30 samples per frame) */
    double mean;          /**< sum / count, frame units */
    double stddev;        /**< population standard deviation, sqrt((count * sum_squares - sum^2) / count^2),
                               the numerator exact in integers */
} radimo_region_stats_t;

/** Finds the rows and columns a region covers inside the frame, and checks it as every region function does.
 * @param resolution width | height << 16, each 1 .. 32767.
 * @param region the region (caller-owned, read only).
 * @param[out] origin top-left pixel of the smallest rectangle holding every region pixel inside the frame.
 * @param[out] size its width and height (at least 1 each).
 * @param[out] count number of region pixels inside the frame; may be NULL.
 * @return RADIMO_SUCCESS, or RADIMO_ERR_PARAM after the refusals above (nothing written).
 * Works on a heap block of 8 bytes per polygon vertex (RADIMO_ERR_ALLOC if it cannot be had). Reentrant. */
RADIMO_API int radimo_region_bounds(uint32_t resolution, const radimo_region_t *region, point_t *origin,
                                    rect_size_t *size, uint64_t *count);

/** Statistics of the region's samples in a band of rows.
 * @param frame width * height samples (any unit; 1/16 K for temperatures), read only.
 * @param resolution width | height << 16, each 1 .. 32767.
 * @param region the region; it must have a pixel inside the whole frame (not only the band).
 * @param sampling RADIMO_SAMPLE_PIXEL or RADIMO_SAMPLE_MEAN3.
 * @param first_row, row_count the band of rows (first_row + row_count <= height).
 * @param[out] stats the statistics of the region pixels in the band (count 0 when it holds none).
 * @return RADIMO_SUCCESS; RADIMO_ERR_PARAM after a refusal; RADIMO_ERR_ALLOC when the polygon's working block
 * (8 bytes per vertex, freed before return) cannot be had. Nothing is written on failure. Reentrant. */
RADIMO_API int radimo_region_stats(const uint16_t *frame, uint32_t resolution, const radimo_region_t *region,
                                   uint32_t sampling, uint32_t first_row, uint32_t row_count,
                                   radimo_region_stats_t *stats);

/** Adds the statistics of a later band (in row order) to first: ties take the later positions, as in one
 * scan; mean and stddev are recomputed. The result equals the statistics of both bands measured at once.
 * @param[in,out] first the statistics of the earlier band; updated only on success.
 * @param later the statistics of the later band; only read.
 * @return RADIMO_SUCCESS, or RADIMO_ERR_PARAM ("data is NULL") with first untouched. Reentrant on distinct
 * records. */
RADIMO_API int radimo_region_stats_merge(radimo_region_stats_t *first, const radimo_region_stats_t *later);

/** Counts the region's samples in a band of rows by value: counts[v] += number of samples equal to v. The
 * exact distribution, from which radimo_counts_percentile, radimo_counts_histogram and
 * radimo_counts_threshold derive percentiles, histograms and isotherm areas. Bands merge by adding (or by
 * counting into the same table one after the other).
 * @param frame width * height samples, read only.
 * @param resolution width | height << 16, each 1 .. 32767.
 * @param region the region; it must have a pixel inside the whole frame.
 * @param sampling RADIMO_SAMPLE_PIXEL or RADIMO_SAMPLE_MEAN3.
 * @param first_row, row_count the band of rows (first_row + row_count <= height).
 * @param[in,out] counts 65536 entries, caller-owned and initialised by the caller (zero it before the first
 * band); the caller keeps each entry's total below 2^32 (one frame holds at most 2^30 pixels).
 * @return as radimo_region_stats; on failure counts is untouched. Reentrant on distinct tables. */
RADIMO_API int radimo_region_counts(const uint16_t *frame, uint32_t resolution, const radimo_region_t *region,
                                    uint32_t sampling, uint32_t first_row, uint32_t row_count,
                                    uint32_t *counts);

/** The percent-th percentile of the counted samples, by linear interpolation between the two nearest ranks
 * (numpy.percentile's default): with the n samples in ascending order s[0..n-1], i = (n - 1) * percent /
 * 100, the result is s[floor(i)] moved towards s[floor(i) + 1] by the fraction of i. 0 gives the minimum,
 * 50 the median, 100 the maximum.
 * @param counts 65536 entries from radimo_region_counts.
 * @param percent 0 .. 100.
 * @param[out] value the percentile, frame units.
 * @return RADIMO_SUCCESS; RADIMO_ERR_PARAM: "data is NULL", "percent is invalid" (NaN or outside 0 .. 100),
 * "counts are empty" (no sample). Reentrant. */
RADIMO_API int radimo_counts_percentile(const uint32_t *counts, double percent, double *value);

/** Histogram of the counted samples into the caller's bins: bins[i] = number of samples v with edges[i] <= v
 * < edges[i + 1]; the last bin also holds v == edges[bin_count] (numpy.histogram's rule). Samples outside
 * edges[0] .. edges[bin_count] are not counted.
 * @param counts 65536 entries from radimo_region_counts.
 * @param edges bin_count + 1 finite, strictly increasing edges in frame units.
 * @param bin_count 1 .. 65536.
 * @param[out] bins bin_count entries, overwritten.
 * @return RADIMO_SUCCESS; RADIMO_ERR_PARAM: "data is NULL", "bin count is invalid", "bin edges are invalid"
 * (nothing written). Reentrant. */
RADIMO_API int radimo_counts_histogram(const uint32_t *counts, const double *edges, uint32_t bin_count,
                                       uint64_t *bins);

/** Isotherm areas: the number of counted samples above threshold.high and below threshold.low, by the
 * comparisons of point_over_threshold_alarm (a sample equal to a threshold is within).
 * @param counts 65536 entries from radimo_region_counts.
 * @param threshold the pair, high >= low, frame units.
 * @param[out] above, below the two pixel counts.
 * @return RADIMO_SUCCESS; RADIMO_ERR_PARAM: "data is NULL", "threshold is invalid" (high < low). Reentrant.
 */
RADIMO_API int radimo_counts_threshold(const uint32_t *counts, threshold_t threshold, uint64_t *above,
                                       uint64_t *below);

/** Statistics of a region's object temperatures under its own scene. */
typedef struct radimo_region_object_stats_t {
    float max;         /**< highest object temperature, degC */
    float min;         /**< lowest object temperature, degC */
    point_t max_point; /**< last position of max in row-major order */
    point_t min_point; /**< last position of min in row-major order */
    uint64_t count;    /**< number of samples */
    double mean;       /**< mean object temperature, degC */
    double stddev;     /**< population standard deviation, K */
} radimo_region_object_stats_t;

/** The region's statistics as object temperatures under the region's own scene: each sample (1/16 K) is
 * corrected as radimo_frame_scene_correct corrects it (the enhanced-distance correction; each distinct value
 * once), then the statistics are taken over the corrected values of the whole region. mean and stddev are
 * sums over the distinct values (in value order), so they do not depend on how the frame is laid out.
 * @param scene emissivity, distance, humidity, ambient and reflected temperature of the region (checked as
 * radimo_frame_scene_correct checks them).
 * @param correct_table the correction table, as for radimo_frame_scene_correct.
 * @param frame 1/16 K temperatures, width * height.
 * @param resolution, region, sampling as radimo_region_stats (the whole frame: no band).
 * @param percents percent_count values 0 .. 100 (NULL when percent_count is 0).
 * @param percent_count number of percentiles asked, 0 or more.
 * @param[out] percentiles percent_count object temperatures, degC, by radimo_counts_percentile's rule over
 * the corrected values (NULL when percent_count is 0).
 * @param[out] stats the statistics.
 * @return RADIMO_SUCCESS; RADIMO_ERR_PARAM after a refusal (also "percent is invalid"); a failing correction
 * returns its code after its lines; RADIMO_ERR_ALLOC when the working block (about 1 MB, freed before
 * return) cannot be had. Nothing is written on failure. Reentrant. */
RADIMO_API int radimo_region_object_stats(const env_correct_param_t *scene, const uint16_t *correct_table,
                                          const uint16_t *frame, uint32_t resolution,
                                          const radimo_region_t *region, uint32_t sampling,
                                          const double *percents, uint32_t percent_count, double *percentiles,
                                          radimo_region_object_stats_t *stats);

#ifdef __cplusplus
}
#endif

#endif /* LIBRADIMO_H */
