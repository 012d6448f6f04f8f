"""Shared camera data for the binding's tests: a high-gain NUC table, KT/BT arrays in the
usual index range, an environment tau table and a raw correction table (version-3 grid); and the
demo camera written by the radimo tool."""
import json
import os
import pathlib
import subprocess

import numpy as np
import pytest

import radimo

VTEMP = 8000  # KT/BT index 500 with the mapping below


@pytest.fixture(scope="session")
def nuc_table():
    return radimo.generate_nuc_table(-5645, 9300000, 104858, gain="high")


@pytest.fixture(scope="session")
def ktbt():
    x = np.linspace(0.0, 1.0, 1201)
    kt = np.round(16384 * (0.95 + 0.1 * x)).astype(np.uint16)
    bt = np.round(120 * np.sin(5 * x)).astype(np.int16)
    return radimo.KtBt(K_Temp=4096, B_Temp=-500, Address_CA=999, kt=kt, bt=bt)


def _q14(tau):
    return np.round(16384 * tau).astype(np.uint16)


@pytest.fixture(scope="session")
def env_tau():
    """4 humidity classes x 14 ambient rows x 64 distances; wetter and farther is less clear."""
    hum = np.array([0.15, 0.4, 0.6, 0.85])[:, None, None]
    ta = radimo.data_table("temp_table")[None, :, None]
    dist = radimo.data_table("dist_table")[None, None, :]
    return _q14(np.exp(-np.sqrt(dist) * (0.004 + 0.0002 * hum * (ta + 10)))).ravel()


@pytest.fixture(scope="session")
def correct_table():
    """Raw correction table: 256-byte header (format 300: 45 target temperatures x 88 distances)."""
    header = np.zeros(128, dtype=np.uint16)
    header[:4] = (0, 300, 0xFFFF, 0xFFFF)
    temps, dists = radimo.data_table("target_temp_table_v3"), radimo.data_table("dist_table_v3")
    tau = np.exp(-np.sqrt(dists)[None, :] * 0.006 * (1 + 0.05 * np.log(temps / 300.0))[:, None])
    return np.concatenate([header, _q14(tau).ravel()])


# ---- Camera profiles ------------------------------------------------------------------------------

RADIMO_EXE = os.environ.get("RADIMO_EXE")  # the radimo tool, when it is built


@pytest.fixture(scope="session")
def demo(tmp_path_factory):
    """The directory `radimo demo` writes: camera/ (the demo camera's profile) and raw.tiff; the
    one the CTest fixture wrote (RADIMO_DEMO), else a new one. Tests write beside it, never in it."""
    if os.environ.get("RADIMO_DEMO"):
        return pathlib.Path(os.environ["RADIMO_DEMO"])
    if not RADIMO_EXE:
        pytest.skip("the radimo tool is not built (RADIMO_EXE unset)")
    out = tmp_path_factory.mktemp("demo")
    subprocess.run([RADIMO_EXE, "demo", "--out", str(out)], check=True, stdout=subprocess.DEVNULL)
    return out


def read_tiff(path):
    """The frames of a TIFF written by the radimo tool as one array, and each frame's vtemp."""
    image = pytest.importorskip("PIL.Image").open(path)
    frames, vtemps = [], []
    for page in range(image.n_frames):
        image.seek(page)
        frames.append(np.array(image))
        vtemps.append(json.loads(image.tag_v2[270]).get("vtemp"))
    return np.stack(frames), vtemps
