"""radimo.Camera reads a camera profile as the radimo tool reads it and converts frames exactly as
the tool and the per-pixel functions do."""
import json
import shutil
import subprocess
from ctypes import POINTER, byref, c_int16, c_uint16

import numpy as np
import pytest

import radimo
from radimo import records as R
from conftest import RADIMO_EXE, read_tiff

rng = np.random.default_rng(11)


def convert(demo, out, *flags):
    subprocess.run([RADIMO_EXE, "convert", str(demo / "raw.tiff"), "--camera", str(demo / "camera"), "-q",
                    "-o", str(out), *flags], check=True)
    return read_tiff(out)[0]


def test_to_celsius_equals_radimo_convert(demo, tmp_path):
    camera = radimo.Camera(demo / "camera")
    raw, vtemps = read_tiff(demo / "raw.tiff")
    plain = camera.to_celsius(raw, vtemp=vtemps)
    corrected = camera.to_celsius(raw, vtemp=vtemps, scene_correct=True)
    assert plain.dtype == corrected.dtype == np.float32 and plain.shape == raw.shape
    assert plain.tobytes() == convert(demo, tmp_path / "plain.tiff").tobytes()
    assert corrected.tobytes() == convert(demo, tmp_path / "corrected.tiff", "--scene-correct").tobytes()
    # One frame, a strided view of one, and the camera's own vtemp (that of the first frame).
    assert camera.to_celsius(raw[1], vtemp=vtemps[1]).tobytes() == plain[1].tobytes()
    assert camera.to_celsius(np.asfortranarray(raw[0])).tobytes() == plain[0].tobytes()
    # A rectangle measured on the apparent temperatures, as `radimo measure` measures it.
    mug = camera.measure_rect(raw[1], (430, 330), (50, 50), vtemp=vtemps[1])
    report = json.loads(subprocess.run([RADIMO_EXE, "measure", str(demo / "raw.tiff"), "--camera",
                                        str(demo / "camera"), "--rect", "430,330,50,50", "--json"],
                                       check=True, capture_output=True, text=True).stdout)
    tool = report["frames"][1]["measurements"][0]["trimmed"]
    assert (mug.max, mug.min, mug.avg, list(mug.max_at)) == (tool["max"]["value"], tool["min"]["value"],
                                                             tool["avg"]["value"], [tool["max"]["x"],
                                                                                    tool["max"]["y"]])


def edited_camera(demo, directory, field, value):
    """A copy of the demo camera with one field of camera.json set (None: deleted)."""
    camera = shutil.copytree(demo / "camera", directory / "cam")
    description = json.loads((camera / "camera.json").read_text())
    *parents, key = field.split(".")
    node = description
    for name in parents:
        node = node[name]
    if value is None:
        del node[key]
    else:
        node[key] = value
    (camera / "camera.json").write_text(json.dumps(description))
    return camera


def test_to_celsius_equals_the_per_pixel_functions_and_refuses_bad_input(demo, tmp_path):
    camera = radimo.Camera(edited_camera(demo, tmp_path, "resolution", {"width": 7, "height": 5}))
    raw = rng.integers(0, 20000, size=(3, 5, 7)).astype(np.uint16)
    vtemps = [5000, 8000, 13000]  # below, inside and beyond the KT/BT range
    kelvin16 = camera.to_kelvin16(raw, vtemp=vtemps)
    k, table, out = camera.ktbt, camera.nuc_table.ctypes.data_as(POINTER(c_uint16)), c_uint16()
    for frame, vtemp, temps in zip(raw, vtemps, kelvin16):
        param = R.ktbt_correct_param_t(k.K_Temp, k.B_Temp, k.Address_CA, k.kt.ctypes.data_as(POINTER(c_uint16)),
                                       k.bt.ctypes.data_as(POINTER(c_int16)), vtemp)
        for value, temp in zip(frame.ravel().tolist(), temps.ravel().tolist()):
            assert radimo.lib.temp_measure_with_NUC_value(byref(param), table, value, byref(out)) == 0
            assert out.value == temp
    celsius = camera.to_celsius(raw, vtemp=vtemps)
    assert celsius.tobytes() == radimo.kelvin16_to_celsius(kelvin16).tobytes()
    corrected = camera.to_celsius(raw, vtemp=vtemps, scene_correct=True)
    assert corrected.tobytes() == radimo.enhanced_distance_correct(celsius, camera.scene,
                                                                   camera.correct_table).tobytes()

    frame = raw[0]
    for bad in (lambda: camera.to_celsius(frame, vtemp=float("nan")),
                lambda: camera.to_celsius(frame, vtemp=70000),
                lambda: camera.to_celsius(frame, vtemp=[8000, 8000]),
                lambda: camera.to_celsius(raw, vtemp=[8000, 8000]),
                lambda: camera.to_celsius(frame.T),
                lambda: camera.to_celsius(np.full((5, 7), np.inf)),
                lambda: camera.to_celsius(frame, scene=camera.scene),
                lambda: camera.to_celsius(frame, scene_correct=True, scene=radimo.Scene(2000.0, 0.9, 0.5, 20, 20)),
                lambda: radimo.Scene(2.0, float("inf"), 0.5, 20, 20)):
        with pytest.raises(ValueError):
            bad()
