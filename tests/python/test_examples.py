"""The Python examples on the demo camera: dask_archive converts a stack as Camera.to_celsius does,
drift_plot writes its picture and shows the KT/BT correction holding a reading steady."""
import importlib.util
from pathlib import Path

import numpy as np
import pytest

import radimo
from conftest import read_tiff

EXAMPLES = Path(__file__).resolve().parents[2] / "examples" / "python"


def example(name, needs):
    pytest.importorskip(needs)
    found = importlib.util.spec_from_file_location(name, EXAMPLES / f"{name}.py")
    module = importlib.util.module_from_spec(found)
    found.loader.exec_module(module)
    return module


@pytest.mark.parametrize("scheduler", ["threads", "processes"])
def test_dask_archive_converts_as_the_camera_does(demo, tmp_path, scheduler):
    dask_archive = example("dask_archive", "dask.array")
    raw, vtemps = read_tiff(demo / "raw.tiff")
    stack = np.concatenate([raw, raw[::-1], raw[:1]])  # blocks of two frames leave a short last one
    readings = np.array(vtemps + vtemps[::-1] + vtemps[:1], dtype=np.uint16)
    np.save(tmp_path / "raw.npy", stack)
    np.save(tmp_path / "vtemps.npy", readings)
    dask_archive.convert_archive(demo / "camera", tmp_path / "raw.npy", tmp_path / "out.npy", tmp_path / "vtemps.npy",
                                 scene_correct=True, frames_per_block=2, scheduler=scheduler)
    direct = radimo.Camera(demo / "camera").to_celsius(stack, vtemp=readings, scene_correct=True)
    assert np.load(tmp_path / "out.npy").tobytes() == direct.tobytes()


def test_drift_plot_holds_the_corrected_reading(demo, tmp_path):
    drift_plot = example("drift_plot", "matplotlib")
    png = tmp_path / "drift.png"
    corrected, uncorrected = drift_plot.main([str(demo / "camera"), str(png), "--celsius", "40", "--steps", "25"])
    assert png.read_bytes()[:8] == b"\x89PNG\r\n\x1a\n"
    assert np.all(np.abs(corrected - 40.0) <= 0.5)
    assert uncorrected.max() - uncorrected.min() > 5.0
