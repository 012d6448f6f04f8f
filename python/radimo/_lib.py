"""Loading libradimo.so, declaring its functions, and turning failures into RadimoError.

Library discovery, in this order:
  1. the path in the environment variable RADIMO_LIBRARY;
  2. the copy bundled inside this package (libradimo.so.2 beside this file, as the wheel installs it);
  3. the build tree of this source checkout (build/libradimo.so next to python/);
  4. the system loader (libradimo.so.2 through ld.so.cache, LD_LIBRARY_PATH or RUNPATH).

ctypes releases the GIL for the duration of every call into a CDLL, so threads
calling the binding run the library in parallel.

Error messages. The binding registers a line sink with the library
(radimo_log_sink_add): a plain callback that receives each error line already
formatted, so it works alike on every architecture and leaves the printer
pointers radimo_error_print and radimo_debug_print as the host process set
them. The lines are collected per thread (the sink runs on the thread that
made the call), so concurrent calls never mix their messages and no lock is
taken. Result-code names come from the library (radimo_result_name).
Standard output is never redirected or read.
"""
import atexit
import ctypes
import os
import re
import threading
from ctypes import (POINTER, c_char_p, c_double, c_float, c_int, c_int16, c_int32, c_uint16, c_uint32, c_uint64,
                    c_void_p)
from pathlib import Path

from . import _records as R

# ---- Failures -----------------------------------------------------------------------------------

class RadimoError(Exception):
    """A libradimo function returned a failure code.

    Attributes: ``function`` (the C function called), ``code`` (the negative
    result code), ``name`` (its RADIMO_ERR_* name) and ``messages`` (the
    library's error lines for this call, innermost first, each as
    "<emitting function>: <text>").
    """

    def __init__(self, function, code, messages):
        self.function = function
        self.code = code
        self.name = result_name(code)
        self.messages = list(messages)
        text = "; ".join(self.messages) if self.messages else "no message"
        super().__init__(f"{function} failed with {self.name} ({code}): {text}")


# ---- Loading ----------------------------------------------------------------------------------

_SONAME = "libradimo.so.2"


def _load():
    explicit = os.environ.get("RADIMO_LIBRARY")
    if explicit:
        return ctypes.CDLL(explicit)
    bundled = Path(__file__).resolve().with_name(_SONAME)
    if bundled.exists():
        return ctypes.CDLL(str(bundled))
    in_tree = Path(__file__).resolve().parents[2] / "build" / "libradimo.so"
    if in_tree.exists():
        return ctypes.CDLL(str(in_tree))
    try:
        return ctypes.CDLL(_SONAME)
    except OSError as err:
        raise ImportError("libradimo.so not found: set RADIMO_LIBRARY to its path, build it in "
                          "build/ of this checkout, or install it where the loader finds it "
                          "(ldconfig, LD_LIBRARY_PATH)") from err


lib = _load()
if not hasattr(lib, "radimo_log_sink_add"):
    raise ImportError(f"{lib._name} has no radimo_log_sink_add: it is older than this binding; use the "
                      "libradimo.so built from the same checkout")

# ---- Result-code names and error lines -------------------------------------------------------

lib.radimo_result_name.restype, lib.radimo_result_name.argtypes = c_char_p, [c_int]


def result_name(code):
    """The RADIMO_* name of a result code ("RADIMO_ERR_PARAM"), or "unknown result code"."""
    return lib.radimo_result_name(code).decode()


# Every code the library returns, by number (0 and -1100 .. -1133 without -1118).
CODE_NAMES = {code: result_name(code) for code in [0, *range(-1100, -1134, -1)] if code != -1118}

_LOG_ERROR = 1  # RADIMO_LOG_ERROR: the sink receives error lines only
_PREFIX = re.compile(r"^libradimo error \[[^\]]*/([^\]/]*)\] ")
_SINK_TYPE = ctypes.CFUNCTYPE(None, c_void_p, c_int, c_char_p)
_captured = threading.local()


def _sink(_user, _level, line):
    lines = getattr(_captured, "lines", None)
    if lines is not None:
        lines.append(_PREFIX.sub(r"\1: ", line.decode("utf-8", "replace")).strip())


_sink_callback = _SINK_TYPE(_sink)  # kept alive while registered
lib.radimo_log_sink_add.restype, lib.radimo_log_sink_add.argtypes = c_int, [_SINK_TYPE, c_void_p, c_int]
lib.radimo_log_sink_remove.restype, lib.radimo_log_sink_remove.argtypes = c_int, [_SINK_TYPE, c_void_p]
if lib.radimo_log_sink_add(_sink_callback, None, _LOG_ERROR) != 0:
    raise ImportError("libradimo refused the binding's line sink (its sink table is full)")
# No call back into Python once the interpreter is shutting down.
atexit.register(lib.radimo_log_sink_remove, _sink_callback, None)


def call(name, *args):
    """Calls a result-code function; raises RadimoError with the call's messages on failure."""
    _captured.lines = []
    try:
        code = getattr(lib, name)(*args)
        if code != 0:
            raise RadimoError(name, code, _captured.lines)
        return code
    finally:
        _captured.lines = None


# ---- Prototypes ---------------------------------------------------------------------------------

P = POINTER
u16p, i16p, f32p = P(c_uint16), P(c_int16), P(c_float)

_PROTOTYPES = {
    "radimo_version": (c_char_p, []),
    "get_point_temp": (c_int, [u16p, c_uint32, R.point_t, u16p]),
    "get_line_temp": (c_int, [u16p, c_uint32, R.point_t, R.point_t, P(R.temp_result_t)]),
    "get_rect_temp": (c_int, [u16p, c_uint32, R.point_t, R.rect_size_t, P(R.temp_result_t)]),
    "line_rect_over_threshold_alarm": (c_int, [R.threshold_t, P(R.temp_result_t)]),
    "point_over_threshold_alarm": (c_int, [R.threshold_t, c_int]),
    "get_slope": (c_float, [R.point_t, R.point_t]),
    "get_point_num": (c_int, [R.point_t, R.point_t]),
    "get_point_set": (c_int, [c_uint32, c_uint32, c_int, P(R.point_t), c_float]),
    "radimo_frame_stats": (c_int, [u16p, c_uint32, R.point_t, R.rect_size_t, P(R.radimo_frame_stats_t)]),
    "calc_temperature_with_nuc_t_table_len": (c_int, [u16p, c_uint32, c_uint32, f32p]),
    "reverse_calc_NUC_with_nuc_t_table_len": (c_int, [u16p, c_uint32, u16p, c_float]),
    "generate_high_gain_nuc_t": (c_int, [P(R.nuc_factor_t), u16p]),
    "generate_low_gain_nuc_t": (c_int, [P(R.nuc_factor_t), u16p]),
    "calculate_nuc_with_nuc_factor": (c_int, [P(R.nuc_factor_t), u16p, c_float]),
    "ktbt_correct_process": (c_int, [P(R.ktbt_correct_param_t), c_uint32, u16p]),
    "reverse_ktbt_correct": (c_int, [P(R.second_calib_param_t), u16p, i16p, u16p, c_int, c_uint32, u16p]),
    "temp_measure_with_NUC_value": (c_int, [P(R.ktbt_correct_param_t), u16p, c_uint32, u16p]),
    "ktbt_correct_process_with_version3": (c_int, [P(R.ktbt_correct_param_t), c_uint32, u16p]),
    "reverse_ktbt_correct_with_version3": (c_int, [P(R.second_calib_param_t), u16p, i16p, u16p, c_int,
                                                   c_uint32, u16p]),
    "remap_temp": (c_int, [u16p, c_uint32, u16p]),
    "radimo_ktbt_index": (c_int, [P(R.ktbt_correct_param_t), c_uint32, P(c_int32)]),
    "radimo_frame_temp_measure": (c_int, [P(R.ktbt_correct_param_t), c_uint32, u16p, c_uint32, u16p, c_uint32,
                                          c_uint32, c_uint32, u16p]),
    "radimo_frame_to_celsius": (c_int, [u16p, c_uint32, u16p, c_uint32, c_uint32, c_uint32, f32p]),
    "radimo_frame_scene_correct": (c_int, [P(R.env_correct_param_t), u16p, u16p, c_uint32, c_uint32, c_uint32,
                                           f32p]),
    "calc_env_factor_with_dist_and_env_temp": (c_int, [P(R.env_correct_param_t), u16p, u16p,
                                                       P(R.env_factor_t)]),
    "recalc_NUC_with_env_correct": (c_int, [P(R.env_factor_t), c_int, u16p]),
    "reverse_calc_NUC_without_env_correct": (c_int, [P(R.env_factor_t), c_uint32, u16p]),
    "read_tau": (c_int, [u16p, u16p, c_float, c_float, c_float]),
    "read_tau_with_target_temp_and_dist": (c_int, [u16p, u16p, c_float, c_float]),
    "enhance_distance_temp_correct": (c_int, [P(R.env_correct_param_t), u16p, c_uint32, f32p, c_float]),
    "reverse_enhance_distance_temp_correct": (c_int, [P(R.env_correct_param_t), u16p, c_uint32, f32p,
                                                      c_float]),
    "new_ktbt_recal_double_point_calculate": (c_int, [P(R.second_cal_param_t), c_uint32,
                                                      P(R.multi_point_calib_array_t),
                                                      P(R.two_point_calib_result_t)]),
    "advanced_ktbt_recal_double_point_calculate": (c_int, [P(R.advanced_second_cal_param_t), c_uint32,
                                                           P(R.multi_point_calib_array_t),
                                                           P(R.two_point_calib_result_t)]),
    "multi_point_calc_user_defined_nuc": (c_int, [P(R.second_cal_param_t), c_uint32,
                                                  P(R.multi_point_calib_array_t),
                                                  P(R.two_point_calib_result_t), P(R.multi_point_temp_t),
                                                  P(R.multi_point_nuc_t)]),
    "multi_point_calc_new_kt_bt": (c_int, [P(R.multi_point_kt_param_t), u16p, i16p, u16p, i16p]),
    "multi_point_calc_new_nuc_table": (c_int, [u16p, P(R.multi_point_nuc_t), c_uint32, u16p]),
    "radimo_region_bounds": (c_int, [c_uint32, P(R.radimo_region_t), P(R.point_t), P(R.rect_size_t),
                                     P(c_uint64)]),
    "radimo_region_stats": (c_int, [u16p, c_uint32, P(R.radimo_region_t), c_uint32, c_uint32, c_uint32,
                                    P(R.radimo_region_stats_t)]),
    "radimo_region_stats_merge": (c_int, [P(R.radimo_region_stats_t), P(R.radimo_region_stats_t)]),
    "radimo_region_counts": (c_int, [u16p, c_uint32, P(R.radimo_region_t), c_uint32, c_uint32, c_uint32,
                                     P(c_uint32)]),
    "radimo_counts_percentile": (c_int, [P(c_uint32), c_double, P(c_double)]),
    "radimo_counts_histogram": (c_int, [P(c_uint32), P(c_double), c_uint32, P(c_uint64)]),
    "radimo_counts_threshold": (c_int, [P(c_uint32), R.threshold_t, P(c_uint64), P(c_uint64)]),
    "radimo_region_object_stats": (c_int, [P(R.env_correct_param_t), u16p, u16p, c_uint32, P(R.radimo_region_t),
                                           c_uint32, P(c_double), c_uint32, P(c_double),
                                           P(R.radimo_region_object_stats_t)]),
}
for _name in ("temp_correct", "reverse_temp_correct", "temp_correct_kelvin", "reverse_temp_correct_kelvin"):
    _PROTOTYPES[_name] = (c_int, [c_uint16, f32p, c_float, c_float, c_float])
for _name in ("temp_correct_with_reflected_temp", "reverse_temp_correct_with_reflected_temp",
              "temp_correct_with_reflected_temp_kelvin", "reverse_temp_correct_with_reflected_temp_kelvin"):
    _PROTOTYPES[_name] = (c_int, [c_uint16, f32p, c_float, c_float, c_float, c_float])

for _name, (_restype, _argtypes) in _PROTOTYPES.items():
    _function = getattr(lib, _name)
    _function.restype, _function.argtypes = _restype, _argtypes

