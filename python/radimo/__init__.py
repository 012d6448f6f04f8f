"""radimo: Python binding of libradimo, the temperature arithmetic of an uncooled thermal camera.

Pure ctypes over libradimo.so and NumPy arrays; nothing to compile. See _lib for how the
library is found (RADIMO_LIBRARY, the bundled copy, the build tree, the system loader) and
how its error messages reach RadimoError.

    import numpy as np, radimo
    table = radimo.generate_nuc_table(-5645, 9300000, 104858)
    radimo.nuc_to_celsius(table, np.array([7000, 7100]))
    camera = radimo.Camera("demo/camera")       # a camera profile directory
    celsius = camera.to_celsius(raw_frames)     # (H, W) or (N, H, W) uint16 -> float32 degC
    frame = radimo.read_frame("room.png", unit="centikelvin")   # values with their unit
    radimo.measure_rect(frame, (10, 20), (32, 24)).hottest_celsius

Every library failure raises radimo.RadimoError (result code, its name, the library's
messages); invalid arguments are refused before the call with ValueError; a doubt about a frame
(an implausible unit, byte-swapped samples) is a radimo.InputWarning.
"""
import ctypes

import numpy as np

from . import _records as records
from ._lib import CODE_NAMES, RadimoError, lib
from .camera import Camera, kelvin16_to_celsius
from .correction import (Scene, apply_env_factor, enhanced_distance_correct, env_factor, read_tau,
                         remove_env_factor, reverse_enhanced_distance_correct, reverse_temp_correct,
                         temp_correct)
from .frames import UNITS, Frame, InputWarning, read_frame, to_unit
from .measure import AreaMeasurement, PointMeasurement, measure_frame, measure_line, measure_point, measure_rect
from .nuc import KtBt, celsius_to_nuc, generate_nuc_table, nuc_to_celsius
from .regions import (Region, RegionStats, delta_t, read_mask, read_regions, region_stats, time_series,
                      write_mask, write_regions)
from .recalibration import (Blackbody, DoublePointResult, calibration_point_nuc, double_point_recalibration,
                            new_kt_bt, new_nuc_table)


#: The library's exported data tables (grids of the tau tables and the emissivity tables) and
#: their lengths.
DATA_TABLES = {
    "dist_table": 64, "dist_table_diff": 63, "new_dist_table": 88, "new_dist_table_diff": 87,
    "dist_table_v3": 88, "dist_table_diff_v3": 87, "temp_table": 14, "target_temp_table": 56,
    "target_temp_table_diff": 55, "new_target_temp_table": 42, "new_target_temp_table_diff": 41,
    "target_temp_table_v3": 45, "target_temp_table_diff_v3": 44, "target_temp_list_of_ems_table_v1": 86,
    "org_ems_list_of_ems_table_v1": 20, "ems_correct_table_v1": 1720, "target_temp_list_of_ems_table_v2": 81,
    "org_ems_list_of_ems_table_v2": 100, "ems_correct_table_v2": 8100,
}


def data_table(name):
    """A copy of one of the library's exported data tables (DATA_TABLES) as a float64 array:
    distances in m, ambient temperatures in degC, target temperatures in K, emissivities."""
    if name not in DATA_TABLES:
        raise ValueError(f"unknown data table {name!r}; known: {', '.join(DATA_TABLES)}")
    return np.ctypeslib.as_array((ctypes.c_double * DATA_TABLES[name]).in_dll(lib, name)).copy()


def version():
    """The library's version string, e.g. "libradimo V2.4.3"."""
    return lib.radimo_version().decode()


__all__ = ["Camera", "kelvin16_to_celsius", "records", "DATA_TABLES", "data_table", "CODE_NAMES",
           "RadimoError", "version", "Scene", "temp_correct", "reverse_temp_correct",
           "enhanced_distance_correct", "reverse_enhanced_distance_correct", "read_tau", "env_factor",
           "apply_env_factor", "remove_env_factor", "UNITS", "Frame", "InputWarning", "read_frame", "to_unit",
           "PointMeasurement", "AreaMeasurement", "measure_point", "measure_line", "measure_rect", "measure_frame",
           "KtBt", "generate_nuc_table", "nuc_to_celsius", "celsius_to_nuc",
           "Blackbody", "DoublePointResult", "double_point_recalibration", "calibration_point_nuc",
           "new_nuc_table", "new_kt_bt", "Region", "RegionStats", "region_stats", "time_series", "delta_t",
           "read_regions", "write_regions", "read_mask", "write_mask"]
