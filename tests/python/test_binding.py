"""The binding gives the C library's results, refuses bad input before the call, and reports
library failures as RadimoError with the library's own messages."""
import concurrent.futures
import os
import shlex
import subprocess
import sys
from ctypes import CFUNCTYPE, POINTER, byref, c_char_p, c_float, c_int16, c_uint16, c_void_p, cast
from pathlib import Path

import numpy as np
import pytest

import radimo
from radimo import records as R
from conftest import VTEMP

lib = radimo.lib
rng = np.random.default_rng(7)


def u16(array):
    return array.ctypes.data_as(POINTER(c_uint16))


def c_ktbt(ktbt, vtemp=VTEMP):
    return R.ktbt_correct_param_t(ktbt.K_Temp, ktbt.B_Temp, ktbt.Address_CA, u16(ktbt.kt),
                                  ktbt.bt.ctypes.data_as(POINTER(c_int16)), vtemp)


OUT = object()  # where c_float_call passes its result pointer


def c_float_call(name, *args):
    out = c_float()
    assert getattr(lib, name)(*(byref(out) if a is OUT else a for a in args)) == 0
    return out.value


def test_frame_measurements_match_the_library():
    frame = rng.integers(4000, 6000, size=(48, 64), dtype=np.uint16)
    frame[19:22, 29:32] = 9000
    resolution = 64 | (48 << 16)
    rect, line = R.temp_result_t(), R.temp_result_t()
    assert lib.get_rect_temp(u16(frame), resolution, R.point_t(2, 3), R.rect_size_t(40, 30), byref(rect)) == 0
    assert lib.get_line_temp(u16(frame), resolution, R.point_t(1, 1), R.point_t(60, 40), byref(line)) == 0
    got_rect = radimo.measure_rect(frame, (2, 3), (40, 30))
    assert (got_rect.max, got_rect.min, got_rect.avg) == (rect.max_temp, rect.min_temp, rect.avg_temp)
    assert got_rect.max_at == (30, 20) and got_rect.alarm(high=8000 / 16 - 273.15, low=-100) == "above"
    got_line = radimo.measure_line(frame, (1, 1), (60, 40))
    assert (got_line.max, got_line.min_at) == (line.max_temp, (line.min_temp_point.x, line.min_temp_point.y))
    value = c_uint16()
    assert lib.get_point_temp(u16(frame), resolution, R.point_t(30, 20), byref(value)) == 0
    assert radimo.measure_point(frame.astype(np.int32), 30, 20).value == value.value  # converted, same result


def test_nuc_conversions_match_the_library(nuc_table, ktbt):
    raw = rng.integers(5000, 9000, size=(24, 32))
    temps = ktbt.temperature(nuc_table, raw, VTEMP)
    corrected = ktbt.correct(raw, VTEMP)
    param = c_ktbt(ktbt)
    for r, t, c in zip(raw.ravel()[:200], temps.ravel(), corrected.ravel()):
        out = c_uint16()
        assert lib.temp_measure_with_NUC_value(byref(param), u16(nuc_table), int(r), byref(out)) == 0
        assert out.value == t
        assert lib.ktbt_correct_process(byref(param), int(r), byref(out)) == 0 and out.value == c
    celsius = radimo.nuc_to_celsius(nuc_table, corrected)
    assert celsius.dtype == np.float32 and celsius.shape == raw.shape
    assert celsius[0, 0] == c_float_call("calc_temperature_with_nuc_t_table_len", u16(nuc_table),
                                         int(corrected[0, 0]), 8192, OUT)
    # Round trips within one table step; the reverse KT/BT loses at most one step per the rounding.
    assert np.all(np.abs(radimo.nuc_to_celsius(nuc_table, radimo.celsius_to_nuc(nuc_table, celsius)) - celsius)
                  < 0.1)
    assert np.all(np.abs(ktbt.correct(ktbt.reverse(corrected, VTEMP), VTEMP).astype(int) - corrected) <= 1)
    # The index of a reading, from the library: both clamps and the conftest's mapping.
    assert ktbt.index(VTEMP) == 500 and ktbt.index([0, VTEMP, 65535]).tolist() == [0, 500, 1200]


def test_corrections_match_the_library(correct_table, env_tau, nuc_table):
    apparent = rng.uniform(-10, 300, size=50).astype(np.float32)
    got = radimo.temp_correct(apparent, tau=15000, ems=0.9, ta=20.0, tu=np.float32(35.0))
    want = [c_float_call("temp_correct_with_reflected_temp", 15000, OUT, c_float(0.9), c_float(20), c_float(35),
                         c_float(a)) for a in apparent]
    assert got.tolist() == want
    grid = radimo.temp_correct(30.0, tau=[15000, 16000], ems=0.9, ta=[[20.0], [25.0]])  # broadcast to 2 x 2
    assert grid.tolist() == [[c_float_call("temp_correct", q, OUT, c_float(0.9), c_float(a), c_float(30.0))
                              for q in (15000, 16000)] for a in (20.0, 25.0)]
    assert np.allclose(radimo.reverse_temp_correct(got, tau=15000, ems=0.9, ta=20.0, tu=35.0), apparent,
                       atol=0.01)
    scene = radimo.Scene(dist=20.0, ems=0.95, hum=0.6, ta=25.0, tu=25.0)
    objects = radimo.enhanced_distance_correct(apparent, scene, correct_table)
    c_scene = scene.record()
    assert objects[7] == c_float_call("enhance_distance_temp_correct", byref(c_scene), u16(correct_table), 0,
                                      OUT, c_float(apparent[7]))
    assert np.allclose(radimo.reverse_enhanced_distance_correct(objects, scene, correct_table), apparent,
                       atol=0.05)
    ke, be = radimo.env_factor(scene, env_tau, nuc_table)
    nuc = np.arange(6000, 9000, 7)
    assert np.all(np.abs(radimo.remove_env_factor((ke, be), radimo.apply_env_factor((ke, be), nuc)).astype(int)
                         - nuc) <= 1)


@pytest.mark.parametrize("mode", [8, 4])
def test_recalibration_restores_a_drifted_camera(mode, nuc_table, ktbt, correct_table):
    # A camera whose gains drifted by 2 % reports blackbodies wrongly; two readings fix it.
    drifted = radimo.KtBt(ktbt.K_Temp, ktbt.B_Temp, ktbt.Address_CA,
                          np.round(ktbt.kt * 1.02).astype(np.uint16), ktbt.bt)
    scene = radimo.Scene(dist=30.0, ems=0.9, hum=0.5, ta=20.0, tu=20.0) if mode == 4 else None
    table = correct_table if mode == 4 else None

    def apparent_reading(camera, true_celsius):  # what the camera reports before scene correction
        apparent = radimo.reverse_enhanced_distance_correct(true_celsius, scene, table) if scene else true_celsius
        raw = ktbt.reverse(radimo.celsius_to_nuc(nuc_table, apparent), VTEMP)
        return float(radimo.nuc_to_celsius(nuc_table, camera.correct(raw, VTEMP)))

    def reading(camera, true_celsius):
        apparent = apparent_reading(camera, true_celsius)
        return float(radimo.enhanced_distance_correct(apparent, scene, table)) if scene else apparent

    high = radimo.Blackbody(VTEMP, apparent_reading(drifted, 80.0), 80.0)
    low = radimo.Blackbody(VTEMP, apparent_reading(drifted, 20.0), 20.0)
    assert abs(reading(drifted, 80.0) - 80.0) > 1.0
    fixed = radimo.double_point_recalibration(drifted, nuc_table, high, low, mode=mode, scene=scene,
                                              correct_table=table).ktbt
    assert abs(reading(fixed, 80.0) - 80.0) < 0.3 and abs(reading(fixed, 20.0) - 20.0) < 0.3


def test_multi_point_calibration_matches_the_library(nuc_table, ktbt):
    old = radimo.KtBt(ktbt.K_Temp, ktbt.B_Temp, ktbt.Address_CA, np.round(ktbt.kt * 1.02).astype(np.uint16),
                      ktbt.bt)
    output_nuc, setting_nuc = radimo.calibration_point_nuc(old, ktbt, nuc_table, 50.0, 51.0, VTEMP)
    assert abs(int(output_nuc) - int(radimo.celsius_to_nuc(nuc_table, 50.0))) > 20  # the arrays differ
    assert setting_nuc == radimo.celsius_to_nuc(nuc_table, 51.0)
    long_table = np.repeat(nuc_table, 2)
    points = [(4000, 4000), (9000, 9100), (12000, 12100)]
    rebuilt = radimo.new_nuc_table(long_table, points)
    c_points, want = (R.multi_point_nuc_t * 3)(*(R.multi_point_nuc_t(*p) for p in points)), np.zeros_like(long_table)
    assert lib.multi_point_calc_new_nuc_table(u16(long_table), c_points, 3, u16(want)) == 0
    assert np.array_equal(rebuilt, want) and not np.array_equal(rebuilt, long_table)

    # KT/BT rebuild from three points whose gains and offsets lie inside the arrays.
    param = R.multi_point_kt_param_t(mode=0, point_num=2, ref_index=1, table_len=1201, ref_position=600)
    param.H[:3], param.L[:3], param.fit_x[:3], param.fit_y[:3] = (12000, 11000, 10000), (4000, 3500, 3000), \
        (100, 200, 300), (1.0, 2.0, 3.0)
    arrays = radimo.KtBt(0, 0, 0, 12000 + 5 * np.arange(1201), -3000 + 5 * np.arange(1201))
    c_param, want_kt, want_bt = R.multi_point_kt_param_t.from_buffer_copy(param), np.zeros(1201, np.uint16), \
        np.zeros(1201, np.int16)
    assert lib.multi_point_calc_new_kt_bt(byref(c_param), u16(arrays.kt), arrays.bt.ctypes.data_as(POINTER(c_int16)),
                                          u16(want_kt), want_bt.ctypes.data_as(POINTER(c_int16))) == 0
    new_kt, new_bt = radimo.new_kt_bt(param, arrays)
    assert np.array_equal(new_kt, want_kt) and np.array_equal(new_bt, want_bt) and param.Ktemp == 1638


def test_library_failures_carry_code_name_and_messages():
    out = c_float()
    with pytest.raises(radimo.RadimoError) as caught:
        radimo._lib.call("temp_correct", 0, byref(out), c_float(0.5), c_float(20), c_float(30))
    assert (caught.value.code, caught.value.name) == (-1100, "RADIMO_ERR_PARAM")
    assert caught.value.messages == ["temp_correct: ems=0.500000", "temp_correct: tau=0",
                                     "temp_correct: data is invalid"]
    with pytest.raises(radimo.RadimoError, match="RADIMO_ERR_PARAM"):
        radimo.measure_point(np.zeros((4, 4), np.uint16), 9, 9)


def test_messages_come_through_a_line_sink_and_the_printers_stay_the_hosts():
    error_print = c_void_p.in_dll(lib, "radimo_error_print")
    assert error_print.value == cast(lib.radimo_error_void, c_void_p).value  # the import left it alone
    formats = []
    host_printer = CFUNCTYPE(None, c_char_p)(formats.append)  # reads the format only
    error_print.value = cast(host_printer, c_void_p).value
    try:
        with pytest.raises(radimo.RadimoError) as caught:
            radimo.measure_point(np.zeros((4, 4), np.uint16), 9, 9)
    finally:
        error_print.value = cast(lib.radimo_error_void, c_void_p).value
    assert caught.value.messages == ["get_point_temp: the point is invalid"]
    assert formats == [b"libradimo error [%s:%d/%s] the point is invalid\n"]
    assert radimo.CODE_NAMES[-1133] == "RADIMO_ERR_REMAP" and -1118 not in radimo.CODE_NAMES


@pytest.mark.parametrize("call", [
    lambda t, s, c: radimo.temp_correct(np.array([20.0, np.nan]), tau=16000, ems=0.9, ta=20),
    lambda t, s, c: radimo.temp_correct(20.0, tau=0, ems=0.9, ta=20),
    lambda t, s, c: radimo.Scene(dist=1, ems=1.5, hum=0.5, ta=20, tu=20),
    lambda t, s, c: radimo.Scene(dist=1, ems=0.9, hum=0.5, ta=np.inf, tu=20),
    lambda t, s, c: radimo.enhanced_distance_correct(20.0, s, c[:500]),
    lambda t, s, c: radimo.nuc_to_celsius(t[:100], 10),
    lambda t, s, c: radimo.nuc_to_celsius(t, 16384),
    lambda t, s, c: radimo.measure_point(np.zeros(5, np.uint16), 0, 0),
    lambda t, s, c: radimo.measure_point(np.full((4, 4), 70000), 1, 1),
])
def test_bad_input_is_refused_before_the_call(call, nuc_table, correct_table):
    scene = radimo.Scene(dist=1.0, ems=0.9, hum=0.5, ta=20.0, tu=20.0)
    with pytest.raises(ValueError):
        call(nuc_table, scene, correct_table)


def test_threads_keep_their_own_messages(nuc_table):
    def work(i):
        if i % 2:
            with pytest.raises(radimo.RadimoError) as caught:
                radimo.measure_point(np.zeros((4, 4), np.uint16), 100 + i, 0)
            return caught.value.messages
        return radimo.nuc_to_celsius(nuc_table, np.arange(i, 16384, 3)).size

    with concurrent.futures.ThreadPoolExecutor(4) as pool:
        results = list(pool.map(work, range(16)))
    assert all(r == ["get_point_temp: the point is invalid"] for r in results[1::2])
    assert results[0::2] == [len(range(i, 16384, 3)) for i in range(0, 16, 2)]


def test_every_length_passed_is_checked_against_its_array(nuc_table, ktbt, correct_table):
    # The reproduction: a 1201-entry KtBt with table_len 2000 once read and wrote past both arrays.
    param = R.multi_point_kt_param_t(mode=0, point_num=2, ref_index=1, table_len=2000, ref_position=600)
    with pytest.raises(ValueError, match="param.table_len is 2000; the KT/BT arrays hold 1201 entries"):
        radimo.new_kt_bt(param, ktbt)
    # Arrays replaced after the checks, through the attribute or behind it.
    spoiled = radimo.KtBt(ktbt.K_Temp, ktbt.B_Temp, ktbt.Address_CA, ktbt.kt, ktbt.bt)
    with pytest.raises(ValueError, match="kt must be a 1-D array of 1201 or 3601 entries"):
        spoiled.kt = ktbt.kt[:5]
    object.__setattr__(spoiled, "bt", ktbt.bt[:1200])
    with pytest.raises(ValueError, match="kt and bt must be of one length"):
        spoiled.correct(8000, VTEMP)
    object.__setattr__(spoiled, "bt", ktbt.bt[::-1])  # a view whose data pointer is its last entry
    with pytest.raises(ValueError, match="bt must be a C-contiguous int16 array"):
        spoiled.correct(8000, VTEMP)
    long = radimo.KtBt(ktbt.K_Temp, ktbt.B_Temp, ktbt.Address_CA, np.resize(ktbt.kt, 3601), np.resize(ktbt.bt, 3601))
    with pytest.raises(ValueError, match="the new KT/BT arrays hold 3601 entries, the old ones 1201"):
        radimo.calibration_point_nuc(ktbt, long, nuc_table, 50.0, 51.0, VTEMP)
    with pytest.raises(ValueError, match="correct_table_arg must lie within"):
        radimo.enhanced_distance_correct(20.0, radimo.Scene(1.0, 0.9, 0.5, 20, 20), correct_table, 2**32)
    with pytest.raises(ValueError, match="points must be"):
        radimo.new_nuc_table(np.repeat(nuc_table, 2), [5, 6, 7])


def test_the_binding_fuzzing_harness_runs_clean():
    # fuzz/run drives it for longer, on the sanitized library; here it checks the binding's refusals.
    harness = Path(__file__).resolve().parents[2] / "fuzz" / "fuzz_binding.py"
    # A cross-build's Python runs under its emulator (RADIMO_PYTHON_COMMAND).
    python = shlex.split(os.environ.get("RADIMO_PYTHON_COMMAND", "")) or [sys.executable]
    done = subprocess.run([*python, str(harness), "3", "--seed", "7"], capture_output=True, text=True)
    assert done.returncode == 0, done.stderr[-3000:]
    assert "calls in 3 s" in done.stdout
