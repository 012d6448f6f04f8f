"""Frame measurement with units: a point, a line and a rectangle, by the library's rule and pixel by pixel.

Every measurement reports two sets of numbers, named apart:

- the library's rule (``max``, ``min``, ``avg`` with ``max_at``, ``min_at``; a point's ``value``): each
  sample is the trimmed mean of a neighbourhood (3 x 3 around a point or each pixel of a rectangle, 5
  samples across each point of a line). A one-pixel hot spot does not survive it, by design. Rectangles
  go through radimo_frame_stats, whose 64-bit sum never wraps.
- the pixels themselves: ``hottest`` and ``coldest`` with their positions (the last in scan order on ties),
  ``count``, ``mean`` and ``std`` (population standard deviation).

Values are in the frame's own unit (``unit``; counts of a 16-bit unit, degC or K of a float frame) and
in degC through the ``*_celsius`` properties. A frame is a radimo.Frame (it carries its unit) or an
array with ``unit=``: uint16 arrays default to kelvin16, float arrays to celsius. A float frame is
measured on a grid of 1/1000 K steps (coarser only for ranges wider than 65 K), as `radimo measure`
measures it.
"""
import ctypes
import math
from dataclasses import dataclass, field
from typing import Optional, Tuple

import numpy as np

from . import _records as R
from ._arrays import buffer, check_integer, check_real
from ._lib import call, lib
from .frames import COUNTS_PER_KELVIN, DIFFERENCE, KELVIN_OFFSET, Frame, check_unit, is_float_unit

MAX_MEASURED_SIDE = 32767  # the library's neighbourhoods read each half of the resolution as signed 16 bits


@dataclass(frozen=True)
class _Scale:
    """kelvin = (offset + value) / per_kelvin: the meaning of a measured 16-bit value. Shown in degC, a
    temperature difference in K (no 273.15 taken off)."""
    unit: str
    per_kelvin: float = 16.0
    offset: float = 0.0

    def celsius(self, value):
        if self.unit == "nuc":
            raise ValueError("raw NUC values are not temperatures: convert the frame with a Camera first")
        return (self.offset + value) / self.per_kelvin - self._zero

    def in_unit(self, value):
        """A measured value in the frame's own unit (a count, or degC / K of a float frame)."""
        if self.unit == "celsius":
            return self.celsius(value)
        if self.unit in ("kelvin", DIFFERENCE):
            return (self.offset + value) / self.per_kelvin
        return value

    def value_of_celsius(self, celsius):
        return (celsius + self._zero) * self.per_kelvin - self.offset

    @property
    def _zero(self):
        return 0.0 if self.unit == DIFFERENCE else KELVIN_OFFSET


def float_grid(lo_kelvin, hi_kelvin):
    """(per_kelvin, offset) of the grid a float frame spanning lo..hi K is measured on: the finest step of
    1, 2 or 5 x 10^k K from 0.001 K that spans the range in 65535 steps, offset by whole steps."""
    if not lo_kelvin <= hi_kelvin:
        lo_kelvin = hi_kelvin = 0.0
    magnitude = 0.001
    while True:
        for m in (1.0, 2.0, 5.0):
            step = m * magnitude
            per_kelvin = float(round(1 / step)) if step < 1 else 1 / step
            offset = math.floor(lo_kelvin * per_kelvin)
            if math.ceil(hi_kelvin * per_kelvin) - offset <= 65535 or not math.isfinite(step * 1e3):
                return per_kelvin, float(offset)
        magnitude *= 10


def check_single(frame):
    """Refuses a Frame of several frames, which no measurement takes whole."""
    if frame.values.ndim == 3:
        raise ValueError(f"the Frame holds {len(frame)} frames: measure one of them, frame[i]")


def _measured(frame, unit):
    """The frame as a C-contiguous uint16 array, a pointer to it, its resolution word and its _Scale."""
    if isinstance(frame, Frame):
        if unit is not None and unit != frame.unit:
            raise ValueError(f"the frame is {frame.unit}; unit={unit!r} contradicts it")
        check_single(frame)
        unit, frame = frame.unit, frame.values
    array = np.asarray(frame)
    if array.ndim != 2:
        raise ValueError(f"frame must be a 2-D array (height, width), got shape {array.shape}")
    height, width = array.shape
    if not (0 < width <= MAX_MEASURED_SIDE and 0 < height <= MAX_MEASURED_SIDE):
        raise ValueError(f"frame size {width} x {height} is outside 1..{MAX_MEASURED_SIDE}, the sides the "
                         f"measurement rule takes")
    if unit is None:
        unit = "celsius" if array.dtype.kind == "f" else "kelvin16"
    check_unit(unit)
    if is_float_unit(unit):
        values = np.asarray(array, dtype=np.float64)
        kelvin = values + KELVIN_OFFSET if unit == "celsius" else values
        finite = np.isfinite(kelvin)
        if not finite.any():
            raise ValueError("the frame holds no finite temperature")
        per_kelvin, offset = float_grid(float(kelvin[finite].min()), float(kelvin[finite].max()))
        counts = np.floor(np.where(finite, kelvin * per_kelvin - offset, 0.0) + 0.5)
        array = np.clip(counts, 0, 65535).astype(np.uint16)
        scale = _Scale(unit, per_kelvin, offset)
    else:
        if array.dtype != np.uint16:
            array = check_integer("frame", array, 0, 0xFFFF)
        array = np.ascontiguousarray(array, dtype=np.uint16)
        scale = _Scale(unit, float(COUNTS_PER_KELVIN.get(unit, 1)))
    return array, buffer("frame", array, ctypes.c_uint16, width * height), width | (height << 16), scale


def _point(name, value):
    x, y = (int(v) for v in check_integer(name, value, -2**31, 2**31 - 1).reshape(2))
    return R.point_t(x, y)


def _pixels(array, xs, ys):
    """hottest, hottest_at, coldest, coldest_at, count, mean, std of the pixels at (xs, ys), in scan order."""
    values = array[ys, xs].astype(np.int64)
    last = len(values) - 1
    hot = last - int(np.argmax(values[::-1]))
    cold = last - int(np.argmin(values[::-1]))
    mean = float(values.sum()) / len(values)
    std = math.sqrt(float(((values - mean) ** 2).sum()) / len(values))
    return (int(values[hot]), (int(xs[hot]), int(ys[hot])), int(values[cold]), (int(xs[cold]), int(ys[cold])),
            len(values), mean, std)


def _thresholds(scale, high, low):
    """An alarm's HIGH and LOW in degC as a threshold_t of the frame's values."""
    high, low = (float(v) for v in check_real("high, low", [high, low], -KELVIN_OFFSET, 1e6))

    def value(c):
        return int(np.clip(math.floor(scale.value_of_celsius(c) + 0.5), -2**31, 2**31 - 1))
    return R.threshold_t(value(high), value(low))


def _alarm_name(state, below=False):
    """The name of the library's alarm state (0 ok, 1 above, 2 below, 3 a HIGH below LOW), with "above and
    below" when the state is above and the below condition holds too."""
    if state == 3:
        return "invalid thresholds"
    return "above and below" if state == 1 and below else ("ok", "above", "below")[state]


class _Measurement:
    """Shared reading of values in degC."""
    _scale: _Scale

    def _c(self, value):
        return float(self._scale.celsius(value))


@dataclass(frozen=True)
class PointMeasurement(_Measurement):
    """A point (x, y): ``value``, the 3 x 3 trimmed mean (the library's rule), and ``pixel``, the pixel's own
    value, both in the frame's unit; ``value_celsius`` and ``pixel_celsius`` in degC."""
    x: int
    y: int
    value: float
    pixel: float
    unit: str
    _scale: _Scale = field(repr=False)
    _raw: Tuple[int, int] = field(repr=False)

    @property
    def value_celsius(self):
        return self._c(self._raw[0])

    @property
    def pixel_celsius(self):
        return self._c(self._raw[1])

    def alarm(self, high, low):
        """The library's point alarm for thresholds HIGH and LOW in degC: "ok", "above" or "below" ("invalid
        thresholds" for a HIGH below LOW)."""
        return _alarm_name(lib.point_over_threshold_alarm(_thresholds(self._scale, high, low), self._raw[0]))


@dataclass(frozen=True)
class AreaMeasurement(_Measurement):
    """A line or a rectangle. The library's rule (trimmed means): ``max``, ``min``, ``avg``, ``max_at``,
    ``min_at``. The pixels: ``hottest``, ``hottest_at``, ``coldest``, ``coldest_at``, ``count``, ``mean``,
    ``std``. Values in the frame's unit (``unit``); each has its ``*_celsius`` property (``std_kelvin`` for
    the spread). Positions are (x, y)."""
    max: float
    min: float
    avg: float
    max_at: Tuple[int, int]
    min_at: Tuple[int, int]
    hottest: float
    hottest_at: Tuple[int, int]
    coldest: float
    coldest_at: Tuple[int, int]
    count: int
    mean: float
    std: float
    unit: str
    _scale: _Scale = field(repr=False)
    _raw: Tuple[int, int, int, int, int, float, float] = field(repr=False)  # as measured: max .. mean, std

    max_celsius = property(lambda self: self._c(self._raw[0]))
    min_celsius = property(lambda self: self._c(self._raw[1]))
    avg_celsius = property(lambda self: self._c(self._raw[2]))
    hottest_celsius = property(lambda self: self._c(self._raw[3]))
    coldest_celsius = property(lambda self: self._c(self._raw[4]))
    mean_celsius = property(lambda self: self._c(self._raw[5]))

    @property
    def std_kelvin(self):
        """The pixels' standard deviation in K."""
        self._c(0)  # raw NUC values have none
        return self._raw[6] / self._scale.per_kelvin

    def alarm(self, high, low):
        """The library's alarm rule on the trimmed means for thresholds HIGH and LOW in degC: "above" when max
        or avg is above HIGH, "below" when min or avg is below LOW; "above and below" when both hold, "ok"
        otherwise ("invalid thresholds" for a HIGH below LOW)."""
        threshold = _thresholds(self._scale, high, low)
        record = R.temp_result_t(self._raw[0], self._raw[1], self._raw[2], R.point_t(*self.max_at),
                                 R.point_t(*self.min_at))
        state = lib.line_rect_over_threshold_alarm(threshold, ctypes.byref(record))
        return _alarm_name(state, min(self._raw[1], self._raw[2]) < threshold.low)


def _area(scale, trimmed, pixels):
    (mx, mn, avg, mx_at, mn_at), (hot, hot_at, cold, cold_at, count, mean, std) = trimmed, pixels
    shown = scale.in_unit
    spread = std / scale.per_kelvin if is_float_unit(scale.unit) else std  # in the frame's unit
    return AreaMeasurement(shown(mx), shown(mn), shown(avg), mx_at, mn_at, shown(hot), hot_at, shown(cold),
                           cold_at, count, shown(mean), spread, scale.unit, scale,
                           (mx, mn, avg, hot, cold, mean, std))


def measure_point(frame, x, y, unit=None):
    """The 3 x 3 trimmed mean at (x, y) (column, row) and the pixel itself."""
    array, pixels, resolution, scale = _measured(frame, unit)
    value = ctypes.c_uint16()
    call("get_point_temp", pixels, resolution, _point("point", (x, y)),
         ctypes.byref(value))
    pixel = int(array[int(y), int(x)])
    return PointMeasurement(int(x), int(y), scale.in_unit(value.value), scale.in_unit(pixel), scale.unit, scale,
                            (value.value, pixel))


def _line_points(start, end):
    """The pixels of a line in the order the library measures them."""
    (x0, y0), (x1, y1) = (start.x, start.y), (end.x, end.y)
    if y0 == y1:
        xs = np.arange(min(x0, x1), max(x0, x1) + 1)
        return xs, np.full_like(xs, y0)
    if x0 == x1:
        ys = np.arange(min(y0, y1), max(y0, y1) + 1)
        return np.full_like(ys, x0), ys
    begin = start if x0 < x1 else end
    n = lib.get_point_num(start, end) & 0xFFFF
    points = (R.point_t * n)()
    call("get_point_set", begin.x, begin.y, n, points, lib.get_slope(start, end))
    return np.array([p.x for p in points]), np.array([p.y for p in points])


def measure_line(frame, start, end, unit=None):
    """Along the line from start to end (each an (x, y) pair): the 5-sample trimmed means' maximum, minimum
    and average, and the line's own pixels."""
    array, pixels, resolution, scale = _measured(frame, unit)
    start, end = _point("start", start), _point("end", end)
    record = R.temp_result_t()
    call("get_line_temp", pixels, resolution, start, end, ctypes.byref(record))
    trimmed = (record.max_temp, record.min_temp, record.avg_temp, (record.max_temp_point.x, record.max_temp_point.y),
               (record.min_temp_point.x, record.min_temp_point.y))
    return _area(scale, trimmed, _pixels(array, *_line_points(start, end)))


def measure_rect(frame, origin, size, unit=None):
    """Inside the rectangle at origin (x, y) of size (width, height): the 3 x 3 trimmed means' maximum,
    minimum and average (64-bit sum: right on any size) and the rectangle's own pixels."""
    array, pixels, resolution, scale = _measured(frame, unit)
    w, h = (int(v) for v in check_integer("size", size, 0, 2**31 - 1).reshape(2))
    stats = R.radimo_frame_stats_t()
    call("radimo_frame_stats", pixels, resolution, _point("origin", origin),
         R.rect_size_t(w, h), ctypes.byref(stats))
    x, y = (int(v) for v in np.asarray(origin).reshape(2))
    ys, xs = np.mgrid[y:y + h, x:x + w]
    trimmed = (stats.max, stats.min, stats.avg, (stats.max_point.x, stats.max_point.y),
               (stats.min_point.x, stats.min_point.y))
    return _area(scale, trimmed, _pixels(array, xs.ravel(), ys.ravel()))


def measure_frame(frame, unit=None):
    """The whole frame, as measure_rect of every pixel."""
    values = frame.values if isinstance(frame, Frame) else np.asarray(frame)
    return measure_rect(frame, (0, 0), (values.shape[-1], values.shape[-2]), unit)


__all__ = ["PointMeasurement", "AreaMeasurement", "measure_point", "measure_line", "measure_rect", "measure_frame",
           "float_grid"]
