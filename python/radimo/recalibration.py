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
from ._arrays import check_integer, check_real, check_table, pointer
from ._lib import call
from .correction import Scene, correction_table_array, env_tau_array
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
    mode = int(check_integer("mode", mode, 0, 2**32 - 1))
    if mode <= 7 and (scene is None or correct_table is None):
        raise ValueError("correction modes 0-7 need the scene and its correct_table")
    if mode <= 3:
        return mode, env_tau_array(correct_table)
    if mode <= 7:
        return mode, correction_table_array(correct_table)
    # The library insists on a table pointer even in the modes that never read the table.
    return mode, np.zeros(1, dtype=np.uint16) if correct_table is None else np.asarray(correct_table, np.uint16)


def _scene_record(scene):
    """The scene's record; modes 8 and above never read it, so any valid scene stands in."""
    return (scene or Scene(dist=1.0, ems=1.0, hum=0.5, ta=25.0, tu=25.0)).record()


def _arrays(ktbt, nuc_table, table, correct_table_arg):
    return R.multi_point_calib_array_t(pointer(ktbt.kt, c_uint16), pointer(ktbt.bt, c_int16),
                                       pointer(nuc_table, c_uint16), pointer(table, c_uint16),
                                       int(correct_table_arg))


def double_point_recalibration(ktbt, nuc_table, high, low, *, mode=8, scene=None, low_scene=None,
                               correct_table=None, correct_table_arg=0):
    """Rewrites every KT/BT entry so that the camera reports the true temperatures of two
    blackbodies. scene describes both sources (or the high one when low_scene is given)."""
    mode, table = _mode_table(mode, correct_table, scene)
    nuc = check_table("nuc_table", nuc_table, np.uint16, (8192, 16384))
    for source in (high, low):
        check_integer("vtemp", source.vtemp, 0, 0xFFFF)
        check_real("temperature", (source.reported, source.true), -273.15)
    calib = ktbt.calib_param(nuc_table_len=nuc.size, high_vtemp=high.vtemp, low_vtemp=low.vtemp,
                             actual_high_celsius=high.reported, actual_low_celsius=low.reported,
                             target_high_celsius=high.true, target_low_celsius=low.true)
    new_kt, new_bt = np.zeros_like(ktbt.kt), np.zeros_like(ktbt.bt)
    result = R.two_point_calib_result_t(pointer(new_kt, c_uint16), pointer(new_bt, c_int16))
    arrays = _arrays(ktbt, nuc, table, correct_table_arg)
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
    calib = old.calib_param(nuc_table_len=nuc.size, cur_vtemp=int(check_integer("cur_vtemp", cur_vtemp, 0,
                                                                                  0xFFFF)))
    param = R.second_cal_param_t(_scene_record(scene), calib)
    result = R.two_point_calib_result_t(pointer(new.kt, c_uint16), pointer(new.bt, c_int16))
    temps, point = R.multi_point_temp_t(output_temp, setting_temp), R.multi_point_nuc_t()
    call("multi_point_calc_user_defined_nuc", byref(param), mode,
         byref(_arrays(old, nuc, table, correct_table_arg)), byref(result), byref(temps), byref(point))
    return point.output_nuc, point.setting_nuc


def new_nuc_table(nuc_table, points):
    """16384-entry NUC table rebuilt from calibration points [(output_nuc, setting_nuc), ...]:
    the new table at each output position holds what the old one held at the setting position."""
    old = check_table("nuc_table", nuc_table, np.uint16, (16384,)).copy()  # reversed while in use
    pairs = check_integer("points", points, 0, 16383).reshape(-1, 2)
    array = (R.multi_point_nuc_t * len(pairs))(*(R.multi_point_nuc_t(int(o), int(s)) for o, s in pairs))
    out = np.zeros(16384, dtype=np.uint16)
    call("multi_point_calc_new_nuc_table", pointer(old, c_uint16), array, len(pairs), pointer(out, c_uint16))
    return out


def new_kt_bt(param, ktbt):
    """New KT/BT arrays from up to 20 calibration points described by a multi_point_kt_param_t
    (its output fields Ktemp, Btemp, K, B and P are filled in place)."""
    if not isinstance(param, R.multi_point_kt_param_t):
        raise TypeError("param must be a radimo.records.multi_point_kt_param_t")
    new_kt, new_bt = np.zeros_like(ktbt.kt), np.zeros_like(ktbt.bt)
    call("multi_point_calc_new_kt_bt", byref(param), pointer(ktbt.kt, c_uint16), pointer(ktbt.bt, c_int16),
         pointer(new_kt, c_uint16), pointer(new_bt, c_int16))
    return new_kt, new_bt
