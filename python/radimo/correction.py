"""Radiometric correction: emissivity, transmittance (tau), ambient and reflected temperature.

Forward functions take the apparent temperature (what the NUC table gives) and
return the object temperature; reverse functions go back. All take arrays and
broadcast their array arguments against each other.
"""
from ctypes import byref, c_float, c_uint16
from dataclasses import dataclass

import numpy as np

from . import _records as R
from ._arrays import buffer, check_integer, check_real, check_table, elementwise
from ._lib import call

#: Entries of an environment tau table: 4 humidity classes x 14 ambient rows x 64 distances.
ENV_TAU_ENTRIES = 4 * 14 * 64
_RAW_HEADER_WORDS = 128


def raw_table_entries(tau_format):
    """Tau values of a raw correction table of a format: 56 x 64, 42 x 88 or 45 x 88."""
    if tau_format < 64:
        return 56 * 64
    return 42 * 88 if tau_format <= 256 else 45 * 88


def correction_table_words(words):
    """Words of a raw correction table that the corrections read: the tau grid its header selects,
    after the 256-byte header when the table has one."""
    has_header = words.size >= 4 and words[2] == 0xFFFF and words[3] == 0xFFFF
    return _RAW_HEADER_WORDS + raw_table_entries(int(words[1])) if has_header else raw_table_entries(0)


def correction_table_array(table):
    """A raw correction table as a uint16 array, checked to hold all the tau data its header implies.

    With the 0xFFFF marker in words 3 and 4 the table opens with a 256-byte header whose word 2 is
    the tau format; without it the table is 56 x 64 tau values.
    """
    words = np.asarray(table)
    if words.ndim != 1 or words.size < 4:
        raise ValueError("correct_table must be a 1-D array of 16-bit words")
    words = check_table("correct_table", words, np.uint16, (words.size,))
    needed = correction_table_words(words)
    if words.size < needed:
        raise ValueError(f"correct_table holds {words.size} words, its layout needs {needed}")
    return words


@dataclass(frozen=True)
class Scene:
    """The scene as the user describes it: distance (m), emissivity 0..1, relative humidity 0..1,
    ambient and reflected temperature (degC)."""
    dist: float
    ems: float
    hum: float
    ta: float
    tu: float

    def __post_init__(self):
        check_real("dist", self.dist, 0.0)
        check_real("ems", self.ems, 1e-4, 1.0)
        check_real("hum", self.hum, 0.0, 1.0)
        check_real("ta", self.ta, -273.15, 100.0)
        check_real("tu", self.tu, -273.15, 100.0)

    def record(self):
        return R.env_correct_param_t(self.dist, self.ems, self.hum, self.ta, self.tu)


def _grey_body(prefix, temp, tau, ems, ta, tu, kelvin):
    name = prefix + ("_with_reflected_temp" if tu is not None else "") + ("_kelvin" if kelvin else "")
    temp = check_real("temperature", temp, 0.0 if kelvin else -273.15)
    tau = check_integer("tau", tau, 1, 0xFFFF)
    ems = check_real("ems", ems, 1e-4, 1.0)
    ta = check_real("ta", ta, -273.15)
    out = c_float()
    if tu is None:
        def one(t, q, e, a):
            call(name, int(q), byref(out), e, a, t)
            return out.value
        return elementwise(one, np.float32, temp, tau, ems, ta)
    tu = check_real("tu", tu, -273.15)

    def one_tu(t, q, e, a, u):
        call(name, int(q), byref(out), e, a, u, t)
        return out.value
    return elementwise(one_tu, np.float32, temp, tau, ems, ta, tu)


def temp_correct(apparent, *, tau, ems, ta, tu=None, kelvin=False):
    """Object temperature of apparent temperatures (grey-body balance).

    tau: Q14 transmittance (16384 = 1.0); ems: emissivity; ta: ambient degC; tu: reflected degC
    (None: the ambient stands for it); kelvin: temperatures in and out in K (ta, tu stay degC).
    """
    return _grey_body("temp_correct", apparent, tau, ems, ta, tu, kelvin)


def reverse_temp_correct(target, *, tau, ems, ta, tu=None, kelvin=False):
    """Apparent temperature the camera sees for object temperatures; arguments as temp_correct."""
    return _grey_body("reverse_temp_correct", target, tau, ems, ta, tu, kelvin)


def scene_record(scene):
    """The library record of a Scene (anything else is refused before the call)."""
    if not isinstance(scene, Scene):
        raise ValueError("scene must be a radimo.Scene")
    return scene.record()


def table_arg(value):
    """The correction table's 32-bit argument (passed on, not used by the computation)."""
    return int(check_integer("correct_table_arg", value, 0, 2**32 - 1))


def _enhanced(name, temp, scene, correct_table, correct_table_arg):
    table = correction_table_array(correct_table)
    record, out = scene_record(scene), c_float()
    table_ptr, arg = buffer("correct_table", table, c_uint16, correction_table_words(table)), table_arg(
        correct_table_arg)
    temp = check_real("temperature", temp, -273.15)

    def one(value):
        call(name, byref(record), table_ptr, arg, byref(out), value)
        return out.value

    return elementwise(one, np.float32, temp)


def enhanced_distance_correct(apparent, scene, correct_table, correct_table_arg=0):
    """Object temperature (degC) of apparent temperatures (degC): the complete two-pass scene
    correction with emissivity, tau and humidity read from the raw correction table."""
    if scene_record(scene).dist > 1000.0:
        raise ValueError("dist must lie within [0, 1000] for the forward correction")
    return _enhanced("enhance_distance_temp_correct", apparent, scene, correct_table, correct_table_arg)


def reverse_enhanced_distance_correct(object_temp, scene, correct_table, correct_table_arg=0):
    """Apparent temperature (degC) that the camera reports before correction for object
    temperatures (degC); the form a recalibration uses."""
    return _enhanced("reverse_enhance_distance_temp_correct", object_temp, scene, correct_table,
                     correct_table_arg)


def env_tau_array(table):
    """An environment tau table (humidity x ambient x distance) as a checked uint16 array."""
    return check_table("tau_table", table, np.uint16, (ENV_TAU_ENTRIES,))


def read_tau(tau_table, hum, ta, dist):
    """Interpolated Q14 transmittance of an environment tau table (distance 0.25 .. 50 m)."""
    table = env_tau_array(tau_table)
    table_ptr, out = buffer("tau_table", table, c_uint16, ENV_TAU_ENTRIES), c_uint16()

    def one(h, a, d):
        call("read_tau", table_ptr, byref(out), h, a, d)
        return out.value

    return elementwise(one, np.uint16, check_real("hum", hum, 0.0, 1.0), check_real("ta", ta),
                       check_real("dist", dist, 0.0))


def env_factor(scene, tau_table, nuc_table):
    """Environment factor (KE, BE) of a scene: object NUC = KE * NUC / 16384 - BE."""
    table, nuc = env_tau_array(tau_table), check_table("nuc_table", nuc_table, np.uint16, (8192,))
    factor = R.env_factor_t()
    call("calc_env_factor_with_dist_and_env_temp", byref(scene_record(scene)),
         buffer("tau_table", table, c_uint16, ENV_TAU_ENTRIES), buffer("nuc_table", nuc, c_uint16, 8192),
         byref(factor))
    return factor.KE, factor.BE


def _factor_map(name, factor, nuc):
    ke, be = factor
    record = R.env_factor_t(int(check_integer("KE", ke, 0, 2**32 - 1)), int(check_integer("BE", be, -2**31, 2**31 - 1)))
    out = c_uint16()

    def one(value):
        call(name, byref(record), value, byref(out))
        return out.value

    return elementwise(one, np.uint16, check_integer("nuc", nuc, 0, 16383))


def apply_env_factor(factor, nuc):
    """Object NUC values of measured NUC values under an environment factor (KE, BE)."""
    return _factor_map("recalc_NUC_with_env_correct", factor, nuc)


def remove_env_factor(factor, object_nuc):
    """Measured NUC values that apply_env_factor maps onto object NUC values."""
    return _factor_map("reverse_calc_NUC_without_env_correct", factor, object_nuc)


__all__ = ["Scene", "temp_correct", "reverse_temp_correct", "enhanced_distance_correct",
           "reverse_enhanced_distance_correct", "read_tau", "env_factor", "apply_env_factor",
           "remove_env_factor"]
