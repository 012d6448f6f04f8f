"""Frame measurement: trimmed-mean values at a point, along a line and inside a rectangle."""
import ctypes
from dataclasses import dataclass
from typing import Tuple

import numpy as np

from . import _records as R
from ._arrays import buffer, check_integer
from ._lib import call, lib


@dataclass(frozen=True)
class PointMeasurement:
    """Trimmed mean of the 3 x 3 square around (x, y), in the frame's units."""
    x: int
    y: int
    value: int


@dataclass(frozen=True)
class AreaMeasurement:
    """Maximum, minimum and rounded average of a line or rectangle, with (x, y) positions."""
    max: int
    min: int
    avg: int
    max_at: Tuple[int, int]
    min_at: Tuple[int, int]

    def alarm(self, high, low):
        """Alarm state against thresholds: 0 within, 1 above high, 2 below low, 3 invalid pair."""
        record = R.temp_result_t(self.max, self.min, self.avg, R.point_t(*self.max_at), R.point_t(*self.min_at))
        high, low = (int(check_integer(n, v, -2**31, 2**31 - 1)) for n, v in (("high", high), ("low", low)))
        return lib.line_rect_over_threshold_alarm(R.threshold_t(high, low), ctypes.byref(record))


def _frame(frame):
    """The frame as a pointer to its pixels (no copy when it is a C-contiguous uint16 array) and its
    resolution word."""
    array = np.asarray(frame)
    if array.ndim != 2:
        raise ValueError(f"frame must be a 2-D array (height, width), got shape {array.shape}")
    height, width = array.shape
    if not (0 < width <= 0xFFFF and 0 < height <= 0xFFFF):
        raise ValueError(f"frame size {width} x {height} is outside 1..65535")
    if array.dtype != np.uint16:
        array = check_integer("frame", array, 0, 0xFFFF)
    array = np.ascontiguousarray(array, dtype=np.uint16)
    return buffer("frame", array, ctypes.c_uint16, width * height), width | (height << 16)


def _point(name, value):
    x, y = (int(v) for v in check_integer(name, value, -2**31, 2**31 - 1).reshape(2))
    return R.point_t(x, y)


def _area(record):
    return AreaMeasurement(record.max_temp, record.min_temp, record.avg_temp,
                           (record.max_temp_point.x, record.max_temp_point.y),
                           (record.min_temp_point.x, record.min_temp_point.y))


def measure_point(frame, x, y):
    """Trimmed mean of the 3 x 3 neighbourhood of (x, y) (column, row) of a 16-bit frame."""
    pixels, resolution = _frame(frame)
    value = ctypes.c_uint16()
    call("get_point_temp", pixels, resolution, _point("point", (x, y)), ctypes.byref(value))
    return PointMeasurement(int(x), int(y), value.value)


def measure_line(frame, start, end):
    """Maximum, minimum and average along the line from start to end, each an (x, y) pair."""
    pixels, resolution = _frame(frame)
    record = R.temp_result_t()
    call("get_line_temp", pixels, resolution, _point("start", start), _point("end", end), ctypes.byref(record))
    return _area(record)


def measure_rect(frame, origin, size):
    """Maximum, minimum and average inside the rectangle at origin (x, y) of size (width, height)."""
    pixels, resolution = _frame(frame)
    w, h = (int(v) for v in check_integer("size", size, 0, 2**31 - 1).reshape(2))
    record = R.temp_result_t()
    call("get_rect_temp", pixels, resolution, _point("origin", origin), R.rect_size_t(w, h),
         ctypes.byref(record))
    return _area(record)
