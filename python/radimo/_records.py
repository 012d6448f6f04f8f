"""ctypes mirrors of the records of libradimo.h, field for field.

The layout test compiles a C program that prints sizeof/offsetof of every
record and compares it with these classes, so a change on either side fails
the tests instead of corrupting memory.
"""
from ctypes import (POINTER, Structure, c_double, c_float, c_int16, c_int32, c_uint8, c_uint16, c_uint32,
                    c_uint64, c_void_p)


class point_t(Structure):
    _fields_ = [("x", c_int32), ("y", c_int32)]


class rect_size_t(Structure):
    _fields_ = [("w", c_int32), ("h", c_int32)]


class temp_result_t(Structure):
    _fields_ = [("max_temp", c_uint16), ("min_temp", c_uint16), ("avg_temp", c_uint16),
                ("max_temp_point", point_t), ("min_temp_point", point_t)]


class threshold_t(Structure):
    _fields_ = [("high", c_int32), ("low", c_int32)]


class nuc_factor_t(Structure):
    _fields_ = [("c0", c_int32), ("c1", c_int32), ("c2", c_int32)]


class env_factor_t(Structure):
    _fields_ = [("KE", c_uint32), ("BE", c_int32)]


class env_param_t(Structure):
    _fields_ = [("ems", c_int32), ("tau", c_int32), ("ta", c_int32), ("tu", c_int32)]


class kb_param_t(Structure):
    _fields_ = [("K", c_int32), ("B", c_int32)]


class ktbt_correct_param_t(Structure):
    _fields_ = [("K_Temp", c_int16), ("B_Temp", c_int16), ("Address_CA", c_uint16),
                ("kt_array", POINTER(c_uint16)), ("bt_array", POINTER(c_int16)), ("vtemp", c_uint16)]


class second_calib_param_t(Structure):
    _fields_ = [("K_Temp", c_int16), ("B_Temp", c_int16), ("Address_CA", c_uint16),
                ("ktbt_array_len", c_uint16), ("ktbt_index_len", c_uint16), ("nuc_table_len", c_uint16),
                ("high_vtemp", c_uint16), ("low_vtemp", c_uint16),
                ("actual_high_celsius", c_float), ("actual_low_celsius", c_float),
                ("target_high_celsius", c_float), ("target_low_celsius", c_float),
                ("cur_vtemp", c_uint16)]


class env_correct_param_t(Structure):
    _fields_ = [("dist", c_float), ("ems", c_float), ("hum", c_float), ("ta", c_float), ("tu", c_float)]


class correct_table_t(Structure):
    _fields_ = [("header_id", c_uint16), ("tau_format", c_uint16), ("ems_enable", c_uint16),
                ("ems_version", c_uint16), ("hum_enable", c_uint16), ("hum_version", c_uint16),
                ("reserved_a", c_uint16), ("reserved_b", c_uint16), ("reflected_tmp_enable", c_uint16),
                ("reflected_tmp_version", c_uint16), ("tau_data", POINTER(c_uint16))]


class second_cal_param_t(Structure):
    _fields_ = [("env_correct_param", env_correct_param_t), ("second_calib_param", second_calib_param_t)]


class advanced_second_cal_param_t(Structure):
    _fields_ = [("high_env_correct_param", env_correct_param_t),
                ("low_env_correct_param", env_correct_param_t),
                ("second_calib_param", second_calib_param_t)]


class second_cal_temp_param_t(Structure):
    _fields_ = [("sitf", c_float), ("b_offset", c_float), ("object_nuc_high", c_uint16),
                ("object_nuc_low", c_uint16), ("high_ktbt_index", c_int32), ("low_ktbt_index", c_int32)]


class multi_point_calib_array_t(Structure):
    _fields_ = [("kt_array", POINTER(c_uint16)), ("bt_array", POINTER(c_int16)),
                ("nuc_table", POINTER(c_uint16)), ("correct_table", POINTER(c_uint16)),
                ("correct_table_arg", c_uint32)]


class multi_point_calib_array_v3_t(Structure):
    _fields_ = [("kt_array", POINTER(c_uint16) * 3), ("bt_array", POINTER(c_int16) * 3),
                ("nuc_table", POINTER(c_uint16)), ("correct_table", POINTER(c_uint16)),
                ("correct_table_arg", c_uint32)]


class two_point_calib_result_t(Structure):
    _fields_ = [("kt_array", POINTER(c_uint16)), ("bt_array", POINTER(c_int16))]


class two_point_calib_result_v3_t(Structure):
    _fields_ = [("kt_array", POINTER(c_uint16) * 3), ("bt_array", POINTER(c_int16) * 3)]


class multi_point_temp_t(Structure):
    _fields_ = [("output_temp", c_float), ("setting_temp", c_float)]


class multi_point_nuc_t(Structure):
    _fields_ = [("output_nuc", c_uint16), ("setting_nuc", c_uint16)]


class multi_point_calib_param_t(Structure):
    _fields_ = [("multi_point_param", POINTER(advanced_second_cal_param_t)),
                ("multi_point_calib_array", c_void_p),
                ("multi_point_temp", POINTER(multi_point_temp_t)),
                ("multi_point_nuc", POINTER(multi_point_nuc_t)),
                ("calib_point_num", c_uint32), ("reserved", c_uint32), ("temp_area", c_uint32)]


class multi_point_kt_param_t(Structure):
    _fields_ = [("mode", c_uint8), ("point_num", c_uint8), ("ref_index", c_uint8),
                ("table_len", c_uint16), ("ref_position", c_uint16), ("Ktemp", c_int16),
                ("Btemp", c_uint16), ("base_offset", c_uint16),
                ("H", c_uint16 * 20), ("L", c_uint16 * 20), ("fit_x", c_uint16 * 20),
                ("K", c_uint16 * 20), ("B", c_int16 * 20), ("P", c_uint16 * 20), ("fit_y", c_float * 20)]


class linear_interp_param_t(Structure):
    _fields_ = [("arr_x", POINTER(c_float)), ("arr_y", POINTER(c_float)), ("size", c_uint32)]


class radimo_frame_stats_t(Structure):
    _fields_ = [("max", c_uint16), ("min", c_uint16), ("avg", c_uint16), ("max_point", point_t),
                ("min_point", point_t), ("sum", c_uint64), ("count", c_uint64)]


class radimo_region_t(Structure):
    _fields_ = [("shape", c_uint32), ("origin", point_t), ("size", rect_size_t), ("cx", c_double),
                ("cy", c_double), ("rx", c_double), ("ry", c_double), ("vertices", POINTER(c_double)),
                ("vertex_count", c_uint32), ("mask", POINTER(c_uint8))]


class radimo_region_stats_t(Structure):
    _fields_ = [("max", c_uint16), ("min", c_uint16), ("max_point", point_t), ("min_point", point_t),
                ("count", c_uint64), ("sum", c_uint64), ("sum_squares", c_uint64), ("mean", c_double),
                ("stddev", c_double)]


class radimo_region_object_stats_t(Structure):
    _fields_ = [("max", c_float), ("min", c_float), ("max_point", point_t), ("min_point", point_t),
                ("count", c_uint64), ("mean", c_double), ("stddev", c_double)]


#: Every record of the header, by its C name.
RECORDS = {cls.__name__: cls for cls in (
    point_t, rect_size_t, temp_result_t, threshold_t, nuc_factor_t, env_factor_t, env_param_t,
    kb_param_t, ktbt_correct_param_t, second_calib_param_t, env_correct_param_t, correct_table_t,
    second_cal_param_t, advanced_second_cal_param_t, second_cal_temp_param_t,
    multi_point_calib_array_t, multi_point_calib_array_v3_t, two_point_calib_result_t,
    two_point_calib_result_v3_t, multi_point_temp_t, multi_point_nuc_t, multi_point_calib_param_t,
    multi_point_kt_param_t, linear_interp_param_t, radimo_frame_stats_t, radimo_region_t,
    radimo_region_stats_t, radimo_region_object_stats_t)}
