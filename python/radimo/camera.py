"""A camera loaded from a camera profile directory, converting whole frames and stacks of frames.

    cam = radimo.Camera("demo/camera")          # camera.json, nuc_table.bin, kt.bin, bt.bin, ...
    celsius = cam.to_celsius(raw)               # (H, W) or (N, H, W) uint16 -> float32 degC
    objects = cam.to_celsius(raw, vtemp=[7200, 9600], scene_correct=True)

Frames go through the library's whole-frame functions (radimo_frame_temp_measure, then
radimo_frame_to_celsius or radimo_frame_scene_correct), one call per frame; their results equal the
per-pixel temp_measure_with_NUC_value and the single-value corrections. Those functions take sides of
at most 32767 pixels: a wider or taller frame goes as rows of 32767 pixels, as `radimo convert` sends
it (every conversion is pixel by pixel). C-contiguous uint16 frames are passed without a copy, and
ctypes releases the GIL during every call, so threads converting different frames (or dask blocks)
run in parallel.
"""
from ctypes import byref, c_float, c_uint16
from pathlib import Path

import numpy as np

from . import _records as R
from ._arrays import buffer, check_integer
from ._lib import call
from ._profile import read_profile
from .correction import Scene, correction_table_array, correction_table_words
from .frames import to_unit
from .measure import measure_line, measure_point, measure_rect
from .nuc import KtBt, nuc_table_array

MAX_SIDE = 32767  # the sides the whole-frame functions take


def frame_runs(width, height):
    """(offset, resolution, rows, pixels) pieces that cover the pixels of a width x height frame with sides
    of at most 32767 pixels: the frame itself when it fits, else rows of 32767 pixels and a shorter last
    row, as the radimo tool cuts it."""
    if width <= MAX_SIDE and height <= MAX_SIDE:
        yield 0, width | (height << 16), height, width * height
        return
    total, offset = width * height, 0
    while offset < total:
        rows = min((total - offset) // MAX_SIDE, MAX_SIDE)
        w, h = (MAX_SIDE, rows) if rows > 0 else (total - offset, 1)
        yield offset, w | (h << 16), h, w * h
        offset += w * h


class Camera:
    """A camera profile directory (docs/formats.md, "Camera profile"), loaded and checked.

    Attributes: ``path``, ``name``, ``width``, ``height``, ``gain`` ("high" or "low"),
    ``nuc_factor`` ((c0, c1, c2) or None), ``vtemp`` (the focal-plane reading of frames that do not
    carry their own), ``ktbt`` (a KtBt with K_Temp, B_Temp, Address_CA and the kt/bt arrays),
    ``nuc_table`` (8192 uint16, 1/16 K), ``correct_table`` (the raw correction table with its header
    switches applied, or None), ``env_tau`` (the environment tau table or None) and ``scene`` (a
    Scene: emissivity, distance, humidity, ambient and reflected temperature). A profile that fails
    a check raises ValueError naming the file and the field, as the radimo tool reports it.
    """

    def __init__(self, profile_dir):
        p = read_profile(profile_dir)
        self.path = Path(profile_dir)
        self.name, self.width, self.height = p["name"], p["width"], p["height"]
        self.gain, self.nuc_factor, self.vtemp = p["gain"], p["nuc_factor"], p["vtemp"]
        self.ktbt = KtBt(p["K_Temp"], p["B_Temp"], p["Address_CA"], p["kt"], p["bt"])
        self.nuc_table = p["nuc_table"]
        self.correct_table = p["correct_table"]
        self.env_tau = p["env_tau"]
        self.scene = Scene(**p["scene"])

    def __repr__(self):
        return (f"Camera({str(self.path)!r}: {self.width}x{self.height}, {self.gain} gain, "
                f"{self.ktbt.kt.size}-entry KT/BT, vtemp {self.vtemp})")

    @property
    def resolution(self):
        """The library's resolution word: width | height << 16."""
        width = int(check_integer("width", self.width, 1, 0xFFFF))
        return width | (int(check_integer("height", self.height, 1, 0xFFFF)) << 16)

    def ktbt_index(self, vtemp):
        """KT/BT index that focal-plane readings select, clamped as the correction clamps it."""
        return self.ktbt.index(vtemp)

    # ---- Whole frames -----------------------------------------------------------------------

    def _frames(self, raw, vtemp):
        """raw as an (N, H, W) uint16 view (a copy only when it is not uint16) and N vtemps."""
        array = np.asarray(raw)
        if array.ndim not in (2, 3) or array.shape[-2:] != (self.height, self.width):
            raise ValueError(f"raw must be one {self.height} x {self.width} frame (H, W) or a stack "
                             f"(N, H, W) of them for this camera, got shape {array.shape}")
        if array.dtype != np.uint16:
            array = check_integer("raw", array, 0, 0xFFFF).astype(np.uint16)
        stack = array.reshape((1,) + array.shape) if array.ndim == 2 else array
        if vtemp is None:
            vtemp = self.vtemp
        vtemps = check_integer("vtemp", vtemp, 0, 0xFFFF)
        if vtemps.ndim == 0:
            vtemps = np.full(len(stack), vtemps)
        elif array.ndim == 2 or vtemps.shape != (len(stack),):
            raise ValueError(f"vtemp must be one reading or one per frame ({len(stack)}), "
                             f"got shape {vtemps.shape}")
        return array.shape, stack, vtemps.tolist()

    def _runs(self):
        self.resolution  # checks width and height
        return frame_runs(self.width, self.height)

    def _measure(self, frame, vtemp, temp):
        """radimo_frame_temp_measure of one frame into temp (1/16 K, the frame's pixels in a row)."""
        frame = np.ascontiguousarray(frame).reshape(-1)  # a copy only for a strided view
        k = self.ktbt
        if not isinstance(k, KtBt):
            raise ValueError("ktbt must be a radimo.KtBt")
        length, kt, bt = k.arrays()
        table = nuc_table_array(self.nuc_table)
        param = R.ktbt_correct_param_t(k.K_Temp, k.B_Temp, k.Address_CA, kt, bt, vtemp)
        for at, resolution, rows, pixels in self._runs():
            call("radimo_frame_temp_measure", byref(param), length,
                 buffer("nuc_table", table, c_uint16, table.size), table.size,
                 buffer("raw", frame[at:], c_uint16, pixels), resolution, 0, rows,
                 buffer("temp", temp[at:], c_uint16, pixels, True))

    def to_kelvin16(self, raw, vtemp=None):
        """Apparent temperatures in 1/16 K (uint16; degC = v / 16 - 273.15) of raw frames: the KT/BT
        correction at each frame's focal-plane reading, then the NUC table. vtemp: None (the camera's),
        one reading, or one per frame of a stack."""
        shape, stack, vtemps = self._frames(raw, vtemp)
        out = np.empty((len(stack), self.height * self.width), dtype=np.uint16)
        for frame, v, temp in zip(stack, vtemps, out):
            self._measure(frame, v, temp)
        return out.reshape(shape)

    def to_celsius(self, raw, vtemp=None, scene_correct=False, scene=None):
        """Temperatures in degC (float32, the shape of raw) of one raw frame (H, W) or a stack
        (N, H, W): the apparent temperature, or with scene_correct=True the object temperature
        through the enhanced-distance correction of the camera's correct_table for its scene (or
        the Scene given). vtemp: None (the camera's), one reading, or one per frame of a stack."""
        if scene is not None and not scene_correct:
            raise ValueError("scene is used by the scene correction only: pass scene_correct=True")
        if scene_correct:
            if self.correct_table is None:
                raise ValueError(f"{self.path}: the scene correction needs a camera with a correct_table")
            scene = self.scene if scene is None else scene
            if not isinstance(scene, Scene):
                raise ValueError("scene must be a radimo.Scene")
            if scene.dist > 1000.0:
                raise ValueError("dist must lie within [0, 1000] for the scene correction")
            words = correction_table_array(self.correct_table)
            record, table = scene.record(), buffer("correct_table", words, c_uint16, correction_table_words(words))
        shape, stack, vtemps = self._frames(raw, vtemp)
        out = np.empty((len(stack), self.height * self.width), dtype=np.float32)
        temp = np.empty(self.height * self.width, dtype=np.uint16)
        for frame, v, celsius in zip(stack, vtemps, out):
            self._measure(frame, v, temp)
            for at, resolution, rows, pixels in self._runs():
                source = buffer("temp", temp[at:], c_uint16, pixels)
                target = buffer("celsius", celsius[at:], c_float, pixels, True)
                if scene_correct:
                    call("radimo_frame_scene_correct", byref(record), table, source, resolution, 0, rows, target)
                else:
                    call("radimo_frame_to_celsius", None, 0, source, resolution, 0, rows, target)
        return out.reshape(shape)

    # ---- Measurements on a raw frame (of its apparent temperatures, in 1/16 K) ------------------

    def measure_point(self, raw, x, y, vtemp=None):
        """radimo.measure_point of the apparent temperatures (kelvin16) of one raw frame."""
        return measure_point(self._one_frame(raw, vtemp), x, y, unit="kelvin16")

    def measure_line(self, raw, start, end, vtemp=None):
        """radimo.measure_line of the apparent temperatures (kelvin16) of one raw frame."""
        return measure_line(self._one_frame(raw, vtemp), start, end, unit="kelvin16")

    def measure_rect(self, raw, origin, size, vtemp=None):
        """radimo.measure_rect of the apparent temperatures (kelvin16) of one raw frame."""
        return measure_rect(self._one_frame(raw, vtemp), origin, size, unit="kelvin16")

    def _one_frame(self, raw, vtemp):
        if np.ndim(raw) != 2:
            raise ValueError("measurements take one raw frame (H, W)")
        return self.to_kelvin16(raw, vtemp)


def kelvin16_to_celsius(values):
    """degC (float32) of 1/16 K temperatures, by the library's rule (value * 0.0625 in single
    precision, minus 273.15 in double precision)."""
    result = to_unit(check_integer("values", values, 0, 0xFFFF), "kelvin16", "celsius")
    return result.item() if result.ndim == 0 else result


__all__ = ["Camera", "kelvin16_to_celsius", "frame_runs"]
