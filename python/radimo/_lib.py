"""Loading libradimo.so, declaring its functions, and turning failures into RadimoError.

Library discovery, in this order:
  1. the path in the environment variable RADIMO_LIBRARY;
  2. the copy bundled inside this package (libradimo.so.2 beside this file, as the wheel installs it);
  3. the build tree of this source checkout (build/libradimo.so next to python/);
  4. the system loader (libradimo.so.2 through ld.so.cache, LD_LIBRARY_PATH or RUNPATH).

ctypes releases the GIL for the duration of every call into a CDLL, so threads
calling the binding run the library in parallel.

Error messages. The library reports every failure through its error printer
pointer, a printf-style variadic function. ctypes cannot receive a C va_list
portably, so the binding installs a printer whose declared parameters cover
the registers and the first stack slots in which the System V x86-64 calling
convention passes variadic arguments (the format in the first integer
register, further integer and pointer arguments in the next five integer
registers and then on the stack, doubles in the eight vector registers). The
printer formats the message itself from those values. All library messages
use at most five integer and one floating-point argument, well inside what is
read. The messages are collected per thread (the printer runs on the thread
that made the call), so concurrent calls never mix their messages and no lock
is taken. On another architecture the printer receives the format alone and
the message keeps its printf conversions unexpanded; the result code is exact
either way. Standard output is never redirected or read.
"""
import ctypes
import os
import platform
import re
import threading
from ctypes import (POINTER, c_char_p, c_double, c_float, c_int, c_int16, c_int32, c_uint16, c_uint32, c_uint64,
                    c_void_p)
from pathlib import Path

from . import _records as R

# ---- Result codes ---------------------------------------------------------------------------

CODE_NAMES = {
    0: "RADIMO_SUCCESS", -1100: "RADIMO_ERR_PARAM", -1101: "RADIMO_ERR_ALLOC", -1102: "RADIMO_ERR_FILE",
    -1103: "RADIMO_ERR_SQUARE_ARRAY", -1104: "RADIMO_ERR_AVERAGE", -1105: "RADIMO_ERR_HORZ_NEIGHB",
    -1106: "RADIMO_ERR_VERT_NEIGHB", -1107: "RADIMO_ERR_SLOPE_NEIGHB", -1108: "RADIMO_ERR_POINT_SET",
    -1109: "RADIMO_ERR_HORZ_LINE", -1110: "RADIMO_ERR_VERT_LINE", -1111: "RADIMO_ERR_SLOPE_LINE",
    -1112: "RADIMO_ERR_REVERSE_TEMP", -1113: "RADIMO_ERR_REVERSE_NUC", -1114: "RADIMO_ERR_ENV_FACTOR",
    -1115: "RADIMO_ERR_KTBT_INDEX", -1116: "RADIMO_ERR_KTBT_CORRECT", -1117: "RADIMO_ERR_KTBT_UPDATE",
    -1119: "RADIMO_ERR_SITF_OFFSET", -1120: "RADIMO_ERR_HUM_INDEX", -1121: "RADIMO_ERR_TEMP_INDEX",
    -1122: "RADIMO_ERR_DIST_INDEX", -1123: "RADIMO_ERR_READ_EMS", -1124: "RADIMO_ERR_READ_TAU",
    -1125: "RADIMO_ERR_HUM_CORRECT", -1126: "RADIMO_ERR_TAU_TABLE", -1127: "RADIMO_ERR_TEMP_CORRECT",
    -1128: "RADIMO_ERR_REVERSE_TEMP_CORRECT", -1129: "RADIMO_ERR_VAPOR_PRESSURE",
    -1130: "RADIMO_ERR_RECALC_TAU", -1131: "RADIMO_ERR_VERSION", -1132: "RADIMO_ERR_TABLE_CALC",
    -1133: "RADIMO_ERR_REMAP",
}


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
        self.name = CODE_NAMES.get(code, "unknown result code")
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

# ---- Error printer ----------------------------------------------------------------------------

_CONVERSION = re.compile(r"%([-+ #0]*)(\d+|\*)?(?:\.(\d+|\*))?(hh|h|ll|l|z|j|t|L)?([diouxXeEfFgGcsp%])")
_PREFIX = re.compile(r"^libradimo error \[[^\]]*/([^\]/]*)\] ")
_REGISTER_ABI = platform.system() == "Linux" and platform.machine() in ("x86_64", "AMD64")
_INT_REGS = 5  # integer registers after the format (rsi, rdx, rcx, r8, r9)
_FP_REGS = 8  # xmm0 .. xmm7
_STACK_SLOTS = 4  # further integer arguments, read from the caller's stack

if _REGISTER_ABI:
    _PRINTER_TYPE = ctypes.CFUNCTYPE(None, c_char_p, *([c_uint64] * _INT_REGS), *([c_double] * _FP_REGS),
                                     *([c_uint64] * _STACK_SLOTS))
else:
    _PRINTER_TYPE = ctypes.CFUNCTYPE(None, c_char_p)

_captured = threading.local()


def _format(fmt, ints, doubles):
    """printf-style formatting of fmt with the integer and floating-point argument sequences."""
    ints, doubles = iter(ints), iter(doubles)

    def one(match):
        flags, width, precision, length, conv = match.groups()
        if conv == "%":
            return "%"
        if "*" in (width, precision):
            return match.group(0)
        directive = "%" + flags + (width or "") + ("." + precision if precision is not None else "")
        if conv in "eEfFgG":
            return (directive + conv) % next(doubles)
        raw = next(ints)
        if conv == "s":
            return (directive + "s") % (ctypes.string_at(raw).decode("utf-8", "replace") if raw else "(null)")
        if conv == "p":
            return hex(raw)
        bits = 64 if length in ("l", "ll", "z", "j", "t") else 32
        value = raw & ((1 << bits) - 1)
        if conv in "di" and value >> (bits - 1):
            value -= 1 << bits
        if conv == "c":
            return (directive + "c") % chr(value & 0xFF)
        return (directive + conv.replace("i", "d")) % value

    return _CONVERSION.sub(one, fmt)


def _printer(fmt, *args):
    text = fmt.decode("utf-8", "replace")
    if _REGISTER_ABI:
        ints = args[:_INT_REGS] + args[_INT_REGS + _FP_REGS:]
        try:
            text = _format(text, ints, args[_INT_REGS:_INT_REGS + _FP_REGS])
        except (StopIteration, RuntimeError, ValueError, TypeError, OverflowError):
            pass  # more arguments than this printer reads: keep the unexpanded format
    lines = getattr(_captured, "lines", None)
    if lines is not None:
        lines.append(_PREFIX.sub(r"\1: ", text).strip())


_printer_callback = _PRINTER_TYPE(_printer)  # kept alive for the life of the process
c_void_p.in_dll(lib, "radimo_error_print").value = ctypes.cast(_printer_callback, c_void_p).value


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

