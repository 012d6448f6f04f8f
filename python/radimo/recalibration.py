"""Recalibration: double-point correction of the KT/BT arrays from two blackbodies, and the
multi-point user calibration (calibration-point NUC values, new KT/BT arrays, new NUC table).

Correction mode (as in the library): 0-3 the scene is removed with the environment factor
(correct_table is an environment tau table), 4-7 with the enhanced-distance correction
(correct_table is a raw correction table), 8 and above no scene correction (no table).
"""
from ctypes import byref, c_int16, c_uint16
from dataclasses import dataclass

import numpy as np

from . import _records as R
from ._arrays import buffer, check_integer, check_real, check_table
from ._lib import call
from .correction import (ENV_TAU_ENTRIES, Scene, correction_table_array, correction_table_words, env_tau_array,
                         scene_record, table_arg)
from .nuc import KtBt


@dataclass(frozen=True)
class Blackbody:
    """One reference source: the focal-plane reading when it was measured, the temperature the
    camera reported (degC) and its true temperature (degC)."""
    vtemp: int
    reported: float
    true: float


@dataclass(frozen=True)
class DoublePointResult:
    """New KT/BT arrays, and the true temperatures as the recalibration used them (in modes 4-7
    the apparent temperatures of the two sources)."""
    ktbt: KtBt
    high_used: float
    low_used: float


def _mode_table(mode, correct_table, scene):
    """The mode and the table pointer it needs, checked to hold what the mode reads."""
    mode = int(check_integer("mode", mode, 0, 2**32 - 1))
    if mode <= 7 and (scene is None or correct_table is None):
        raise ValueError("correction modes 0-7 need the scene and its correct_table")
    if mode <= 3:
        return mode, buffer("correct_table", env_tau_array(correct_table), c_uint16, ENV_TAU_ENTRIES)
    if mode <= 7:
        table = correction_table_array(correct_table)
        return mode, buffer("correct_table", table, c_uint16, correction_table_words(table))
    # The library insists on a table pointer even in the modes that never read the table.
    return mode, buffer("correct_table", np.zeros(1, dtype=np.uint16), c_uint16, 0)


def _scene_record(scene):
    """The scene's record; modes 8 and above never read it, so any valid scene stands in."""
    return scene_record(Scene(dist=1.0, ems=1.0, hum=0.5, ta=25.0, tu=25.0) if scene is None else scene)


def _ktbt_arrays(name, ktbt):
    if not isinstance(ktbt, KtBt):
        raise ValueError(f"{name} must be a radimo.KtBt")
    return ktbt.arrays()


def _arrays(ktbt, nuc, table, correct_table_arg):
    """The old arrays of a recalibration; the NUC table is checked to hold nuc_table_len entries."""
    _, kt, bt = _ktbt_arrays("ktbt", ktbt)
    return R.multi_point_calib_array_t(kt, bt, buffer("nuc_table", nuc, c_uint16, nuc.size), table,
                                       table_arg(correct_table_arg))


def _new_arrays(length):
    """Zeroed new KT/BT arrays of a length and the result record pointing at them."""
    new_kt, new_bt = np.zeros(length, np.uint16), np.zeros(length, np.int16)
    return new_kt, new_bt, R.two_point_calib_result_t(buffer("new kt", new_kt, c_uint16, length, True),
                                                      buffer("new bt", new_bt, c_int16, length, True))


def double_point_recalibration(ktbt, nuc_table, high, low, *, mode=8, scene=None, low_scene=None,
                               correct_table=None, correct_table_arg=0):
    """Rewrites every KT/BT entry so that the camera reports the true temperatures of two
    blackbodies. scene describes both sources (or the high one when low_scene is given)."""
    mode, table = _mode_table(mode, correct_table, scene)
    nuc = check_table("nuc_table", nuc_table, np.uint16, (8192, 16384))
    for source in (high, low):
        check_integer("vtemp", source.vtemp, 0, 0xFFFF)
        check_real("temperature", (source.reported, source.true), -273.15)
    arrays = _arrays(ktbt, nuc, table, correct_table_arg)
    calib = ktbt.calib_param(nuc_table_len=nuc.size, high_vtemp=high.vtemp, low_vtemp=low.vtemp,
                             actual_high_celsius=high.reported, actual_low_celsius=low.reported,
                             target_high_celsius=high.true, target_low_celsius=low.true)
    new_kt, new_bt, result = _new_arrays(calib.ktbt_array_len)
    if low_scene is None:
        param = R.second_cal_param_t(_scene_record(scene), calib)
        call("new_ktbt_recal_double_point_calculate", byref(param), mode, byref(arrays), byref(result))
    else:
        param = R.advanced_second_cal_param_t(_scene_record(scene), _scene_record(low_scene), calib)
        call("advanced_ktbt_recal_double_point_calculate", byref(param), mode, byref(arrays), byref(result))
    used = param.second_calib_param
    return DoublePointResult(KtBt(ktbt.K_Temp, ktbt.B_Temp, ktbt.Address_CA, new_kt, new_bt),
                             used.target_high_celsius, used.target_low_celsius)


def calibration_point_nuc(old, new, nuc_table, output_temp, setting_temp, cur_vtemp, *, mode=8,
                          scene=None, correct_table=None, correct_table_arg=0):
    """(output_nuc, setting_nuc) of one user calibration point: the NUC value the camera presents
    for an object it reports at output_temp once the new KT/BT arrays are in force, and the NUC
    value that belongs to the temperature the user sets (degC), scene removed by mode."""
    mode, table = _mode_table(mode, correct_table, scene)
    nuc = check_table("nuc_table", nuc_table, np.uint16, (8192,))
    check_real("temperature", (output_temp, setting_temp), -273.15)
    arrays = _arrays(old, nuc, table, correct_table_arg)
    calib = old.calib_param(nuc_table_len=nuc.size, cur_vtemp=int(check_integer("cur_vtemp", cur_vtemp, 0,
                                                                                  0xFFFF)))
    param = R.second_cal_param_t(_scene_record(scene), calib)
    # The new arrays are read like the old ones, at indexes below ktbt_array_len.
    length, new_kt, new_bt = _ktbt_arrays("new", new)
    if length != calib.ktbt_array_len:
        raise ValueError(f"the new KT/BT arrays hold {length} entries, the old ones {calib.ktbt_array_len}")
    result = R.two_point_calib_result_t(new_kt, new_bt)
    temps, point = R.multi_point_temp_t(output_temp, setting_temp), R.multi_point_nuc_t()
    call("multi_point_calc_user_defined_nuc", byref(param), mode, byref(arrays), byref(result), byref(temps),
         byref(point))
    return point.output_nuc, point.setting_nuc


def new_nuc_table(nuc_table, points):
    """16384-entry NUC table rebuilt from calibration points [(output_nuc, setting_nuc), ...]:
    the new table at each output position holds what the old one held at the setting position."""
    old = check_table("nuc_table", nuc_table, np.uint16, (16384,)).copy()  # reversed while in use
    pairs = check_integer("points", points, 0, 16383)
    if pairs.ndim != 2 or pairs.shape[1] != 2:
        raise ValueError(f"points must be (output_nuc, setting_nuc) pairs, got shape {pairs.shape}")
    array = (R.multi_point_nuc_t * len(pairs))(*(R.multi_point_nuc_t(int(o), int(s)) for o, s in pairs))
    out = np.zeros(16384, dtype=np.uint16)
    call("multi_point_calc_new_nuc_table", buffer("nuc_table", old, c_uint16, 16384), array, len(array),
         buffer("new nuc_table", out, c_uint16, 16384, True))
    return out


def new_kt_bt(param, ktbt):
    """New KT/BT arrays from up to 20 calibration points described by a multi_point_kt_param_t
    (its output fields Ktemp, Btemp, K, B and P are filled in place)."""
    if not isinstance(param, R.multi_point_kt_param_t):
        raise TypeError("param must be a radimo.records.multi_point_kt_param_t")
    length, kt, bt = _ktbt_arrays("ktbt", ktbt)
    # The rebuild reads and writes param.table_len entries of each array.
    if param.table_len != length:
        raise ValueError(f"param.table_len is {param.table_len}; the KT/BT arrays hold {length} entries")
    new_kt, new_bt, result = _new_arrays(param.table_len)
    call("multi_point_calc_new_kt_bt", byref(param), kt, bt, result.kt_array, result.bt_array)
    return new_kt, new_bt
