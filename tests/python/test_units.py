"""Frames with their unit: read_frame against the radimo tool's files, measurements with units and honest
statistics against `radimo measure`, alarms in degC, doubts as InputWarning."""
import json
import subprocess
import warnings

import numpy as np
import pytest

import radimo
from conftest import RADIMO_EXE

U16_UNITS = ("kelvin16", "centikelvin", "decikelvin")
UNITS = U16_UNITS + ("celsius", "kelvin")


def room(unit, height=30, width=40):
    """A room at 18 .. 30 degC with a 65 degC object, in a unit."""
    y, x = np.mgrid[0:height, 0:width]
    celsius = 18 + 8.0 * x / width + 4.0 * y / height + 0.05 * ((x * 7 + y * 3) % 5)
    celsius[(x - 28) ** 2 + (y - 12) ** 2 < 9] = 65
    if unit == "celsius":
        return celsius.astype(np.float32)
    if unit == "kelvin":
        return (celsius + 273.15).astype(np.float32)
    return np.floor((celsius + 273.15) * radimo.frames.COUNTS_PER_KELVIN[unit] + 0.5).astype(np.uint16)


def tool(*args):
    if not RADIMO_EXE:
        pytest.skip("the radimo tool is not built (RADIMO_EXE unset)")
    return subprocess.run([RADIMO_EXE, *map(str, args)], check=True, capture_output=True, text=True)


@pytest.mark.parametrize("unit", UNITS)
def test_read_frame_reads_what_the_tool_writes_and_measures_as_it_measures(unit, tmp_path):
    values = room(unit)
    values.tofile(tmp_path / "in.raw")
    given = radimo.read_frame(tmp_path / "in.raw", unit=unit, size=(40, 30))
    assert (given.unit, given.unit_source) == (unit, "argument")
    assert np.array_equal(given.values, values)
    for suffix in (".tiff",) if unit in ("celsius", "kelvin") else (".tiff", ".png", ".pgm"):
        out = tmp_path / f"out{suffix}"
        tool("convert", tmp_path / "in.raw", "--size", "40x30", "--unit", unit, "--to", unit, "-o", out, "-q")
        written = radimo.read_frame(out)
        assert (written.unit, written.unit_source) == (unit, "file")
        assert np.array_equal(written.values, values)
        with pytest.raises(ValueError, match="declares its samples"):
            radimo.read_frame(out, unit="kelvin" if unit == "celsius" else "celsius")
    # Every other unit as `radimo convert --to` gives it.
    for to in UNITS + ("millikelvin",):
        tool("convert", tmp_path / "in.raw", "--size", "40x30", "--unit", unit, "--to", to, "-o", tmp_path / "c.tiff",
             "-q")
        with warnings.catch_warnings():
            warnings.simplefilter("ignore", radimo.InputWarning)  # millikelvin holds no room
            assert np.array_equal(radimo.read_frame(tmp_path / "c.tiff").values, given.to(to)), to
    # The same statistics as the tool's, trimmed and pixel by pixel.
    report = json.loads(tool("measure", tmp_path / "in.raw", "--size", "40x30", "--unit", unit, "--rect",
                             "3,2,30,20", "--line", "2,3,35,20", "--json").stdout)
    for j, m in zip(report["frames"][0]["measurements"],
                    (radimo.measure_line(given, (2, 3), (35, 20)), radimo.measure_rect(given, (3, 2), (30, 20)))):
        assert m.unit == j["unit"] == unit
        for key in ("max", "min", "avg"):
            assert getattr(m, key) == pytest.approx(j["trimmed"][key]["value"], abs=1e-6)
            assert getattr(m, f"{key}_celsius") == pytest.approx(j["trimmed"][key]["celsius"], abs=1e-4)
        for key in ("hottest", "coldest"):
            assert getattr(m, key) == pytest.approx(j["pixels"][key]["value"], abs=1e-6)
            assert list(getattr(m, f"{key}_at")) == [j["pixels"][key]["x"], j["pixels"][key]["y"]]
        assert (m.count, m.max_at) == (j["pixels"]["count"], (j["trimmed"]["max"]["x"], j["trimmed"]["max"]["y"]))
        assert m.mean_celsius == pytest.approx(j["pixels"]["mean"]["celsius"], abs=1e-4)
        assert m.std_kelvin == pytest.approx(j["pixels"]["stddev_k"], abs=1e-4)


def test_byte_order_and_raw_floats(tmp_path):
    values = room("kelvin16")
    values.astype(">u2").tofile(tmp_path / "be.raw")
    assert np.array_equal(radimo.read_frame(tmp_path / "be.raw", size=(40, 30), byte_order="big").values, values)
    with pytest.warns(radimo.InputWarning, match="byte_order='big'"):
        radimo.read_frame(tmp_path / "be.raw", size=(40, 30))
    room("celsius").astype(">f4").tofile(tmp_path / "f.raw")
    frame = radimo.read_frame(tmp_path / "f.raw", unit="celsius", size=(40, 30), byte_order="big")
    assert np.array_equal(frame.values, room("celsius"))
    with pytest.raises(ValueError, match="not a whole number"):
        radimo.read_frame(tmp_path / "f.raw", size=(41, 30))


def test_doubts_warn_and_good_frames_do_not(tmp_path, demo):
    room("centikelvin").tofile(tmp_path / "ck.raw")
    with pytest.warns(radimo.InputWarning, match="as centikelvin they read 18.3 .. 65.0 degC"):
        radimo.read_frame(tmp_path / "ck.raw", size=(40, 30))
    ((room("kelvin16") - 4600) // 4).astype(np.uint16).tofile(tmp_path / "agc.raw")
    with pytest.warns(radimo.InputWarning, match="8-bit display data"):
        radimo.read_frame(tmp_path / "agc.raw", size=(40, 30))
    with warnings.catch_warnings():
        warnings.simplefilter("error")
        radimo.read_frame(tmp_path / "ck.raw", size=(40, 30), unit="centikelvin")
        radimo.read_frame(demo / "raw.tiff")
        radimo.read_frame(demo / "celsius.tiff")


def test_large_hot_frames_average_right_and_alarms_are_in_celsius():
    hot = np.full((1024, 1280), 5970, np.uint16)  # 99.98 degC: a 32-bit sum wraps
    hot[500, 700] = 10770
    m = radimo.measure_frame(hot)
    assert (m.avg, m.max, m.hottest, m.hottest_at) == (5970, 5970, 10770, (700, 500))
    assert m.avg_celsius == pytest.approx(5970 / 16 - 273.15)
    assert m.alarm(99.0, 10.0) == "above" and m.alarm(150.0, 10.0) == "ok"
    scene = radimo.measure_rect(radimo.Frame(room("centikelvin"), "centikelvin"), (0, 0), (40, 30))
    assert scene.alarm(60.0, 20.0) == "above and below" and scene.alarm(70.0, 20.0) == "below"
    assert radimo.measure_point(room("celsius"), 28, 12).alarm(60.5, 10) == "above"
    assert scene.alarm(10.0, 60.0) == "invalid thresholds"
    with pytest.raises(ValueError):
        scene.alarm(np.nan, 60.0)


def test_cameras_wider_than_the_whole_frame_functions_take(demo, tmp_path):
    camera_dir = tmp_path / "wide"
    subprocess.run(["cp", "-r", str(demo / "camera"), str(camera_dir)], check=True)
    description = json.loads((camera_dir / "camera.json").read_text())
    description["resolution"] = {"width": 40000, "height": 2}
    (camera_dir / "camera.json").write_text(json.dumps(description))
    camera = radimo.Camera(camera_dir)
    raw = np.random.default_rng(3).integers(5000, 9000, size=(2, 40000)).astype(np.uint16)
    raw.tofile(tmp_path / "wide.raw")
    tool("convert", tmp_path / "wide.raw", "--size", "40000x2", "--camera", camera_dir, "-o", tmp_path / "w.tiff",
         "-q")
    assert camera.to_celsius(raw).tobytes() == radimo.read_frame(tmp_path / "w.tiff").values.tobytes()
    assert np.array_equal(camera.to_kelvin16(raw), camera.ktbt.temperature(camera.nuc_table, raw, camera.vtemp))
