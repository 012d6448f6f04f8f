"""Regions of a frame (rectangles, ellipses, polygons, masks) and their statistics.

    r = radimo.Region.polygon([(10, 10), (60, 12), (40, 50)], name="mug")
    s = radimo.region_stats(kelvin16, r, unit="kelvin16")      # degC: s.max, s.mean, s.std, s.percentiles
    s = radimo.region_stats(kelvin16, r.with_scene(ems=0.95), unit="kelvin16",
                            correct_table=cam.correct_table, scene=cam.scene)  # object temperatures
    table = radimo.time_series(stack, [r, radimo.Region.ellipse(80, 40, 12, 8)], unit="kelvin16", fps=30)
    radimo.write_regions("regions.json", [r])                 # the file `radimo --regions` reads

Statistics come from the library's region functions (radimo_region_stats, radimo_region_counts and the
count-table functions, radimo_region_object_stats for a region with its own scene): true extremes with their
last (x, y) position in row-major order, pixel count, mean and population standard deviation, exact
percentiles (numpy.percentile's linear rule), a histogram into the caller's bins and isotherm areas. The
shapes' pixel rules are those of the library: a pixel belongs to a shape when its centre (x, y) does; a
polygon uses the even-odd rule, its left and top edges in, right and bottom edges out.
"""
import ctypes
import json
import math
from ctypes import byref, c_double, c_uint8, c_uint16, c_uint32, c_uint64
from dataclasses import dataclass, field, replace
from pathlib import Path
from typing import Dict, Optional, Tuple

import numpy as np

from . import _records as R
from ._arrays import buffer, check_real
from ._lib import call
from .correction import Scene, correction_table_array, correction_table_words
from .frames import DIFFERENCE, Frame
from .measure import _measured, check_single

RECT, ELLIPSE, POLYGON, MASK = 1, 2, 3, 4
_SAMPLING = {"pixel": 0, "mean3": 1}
_SCENE_FIELDS = ("dist", "ems", "hum", "ta", "tu")
#: Version number of the regions file format (the "radimo_regions" member).
FILE_VERSION = 1


@dataclass(frozen=True)
class Region:
    """A region: kind "rect" (x, y, w, h), "ellipse" (cx, cy, rx, ry), "polygon" (points, an (N, 2) array of
    x, y) or "mask" (a 2-D array, non-zero = inside, the frame's shape). ``scene`` optionally overrides the
    scene fields (dist m, ems, hum, ta degC, tu degC) for this region: its statistics are then object
    temperatures. Build one with Region.rect, Region.ellipse, Region.polygon or Region.mask."""
    kind: str
    params: Tuple[float, ...] = ()
    points: Optional[np.ndarray] = field(default=None, compare=False)
    mask_array: Optional[np.ndarray] = field(default=None, compare=False)
    name: str = ""
    scene: Optional[Dict[str, float]] = None

    @classmethod
    def rect(cls, x, y, w, h, name="", scene=None):
        """Columns x .. x + w - 1 and rows y .. y + h - 1 (w, h >= 1)."""
        values = tuple(int(v) for v in (x, y, w, h))
        if values != tuple(float(v) for v in (x, y, w, h)):
            raise ValueError("a rectangle takes whole pixel numbers x, y, w, h")
        if values[2] < 1 or values[3] < 1:
            raise ValueError(f"rectangle width and height must be at least 1, got {values[2]} x {values[3]}")
        return cls("rect", values, name=name, scene=_scene_overrides(scene))

    @classmethod
    def ellipse(cls, cx, cy, rx, ry, name="", scene=None):
        """The pixel centres with ((x - cx) / rx)^2 + ((y - cy) / ry)^2 <= 1 (rx, ry > 0)."""
        values = tuple(float(v) for v in check_real("ellipse", (cx, cy, rx, ry)))
        if values[2] <= 0 or values[3] <= 0:
            raise ValueError(f"ellipse radii must be positive, got {values[2]}, {values[3]}")
        return cls("ellipse", values, name=name, scene=_scene_overrides(scene))

    @classmethod
    def polygon(cls, points, name="", scene=None):
        """The vertices [(x0, y0), (x1, y1), ...] (at least 3), closed from the last to the first."""
        array = check_real("polygon points", points)
        if array.ndim != 2 or array.shape[1] != 2 or not 3 <= len(array) <= 65536:
            raise ValueError(f"a polygon takes 3 .. 65536 (x, y) vertices, got shape {array.shape}")
        return cls("polygon", (), points=np.ascontiguousarray(array, dtype=np.float64), name=name,
                   scene=_scene_overrides(scene))

    @classmethod
    def mask(cls, mask, name="", scene=None):
        """A 2-D array of the frame's shape; non-zero entries are inside."""
        array = np.asarray(mask)
        if array.ndim != 2:
            raise ValueError(f"a mask is a 2-D array (height, width), got shape {array.shape}")
        return cls("mask", (), mask_array=np.ascontiguousarray(array != 0, dtype=np.uint8), name=name,
                   scene=_scene_overrides(scene))

    def with_scene(self, **overrides):
        """The same region with scene fields (dist, ems, hum, ta, tu) of its own."""
        return replace(self, scene=_scene_overrides({**(self.scene or {}), **overrides}))

    def record(self, shape):
        """The library's radimo_region_t for a frame of shape (height, width), with the arrays it points at
        (keep them alive while the record is used)."""
        r = R.radimo_region_t()
        keep = ()
        if self.kind == "rect":
            r.shape, r.origin, r.size = RECT, R.point_t(*self.params[:2]), R.rect_size_t(*self.params[2:])
        elif self.kind == "ellipse":
            r.shape = ELLIPSE
            r.cx, r.cy, r.rx, r.ry = self.params
        elif self.kind == "polygon":
            r.shape, r.vertex_count = POLYGON, len(self.points)
            r.vertices = buffer("polygon points", self.points, c_double, 2 * len(self.points))
            keep = (self.points,)
        else:
            if self.mask_array.shape != tuple(shape):
                raise ValueError(f"mask {self.name!r} has shape {self.mask_array.shape}, the frame {tuple(shape)}")
            r.shape, r.mask = MASK, buffer("mask", self.mask_array, c_uint8, self.mask_array.size)
            keep = (self.mask_array,)
        return r, keep

    def bounds(self, shape):
        """((x, y), (w, h), count): the smallest rectangle holding the region's pixels inside a frame of
        shape (height, width), and their number."""
        record, _keep = self.record(tuple(shape))
        origin, size, count = R.point_t(), R.rect_size_t(), c_uint64()
        call("radimo_region_bounds", shape[1] | (shape[0] << 16), byref(record), byref(origin), byref(size),
             byref(count))
        return (origin.x, origin.y), (size.w, size.h), count.value

    def to_json(self, mask_file=None):
        """The region as a member of the regions file ("mask" regions name their mask file)."""
        item = {"name": self.name, "shape": self.kind}
        if self.kind == "rect":
            item.update(zip(("x", "y", "w", "h"), self.params))
        elif self.kind == "ellipse":
            item.update(zip(("cx", "cy", "rx", "ry"), self.params))
        elif self.kind == "polygon":
            item["points"] = self.points.tolist()
        else:
            item["file"] = str(mask_file)
        if self.scene:
            item["scene"] = dict(self.scene)
        return item

    @classmethod
    def from_json(cls, item, base=Path(".")):
        """A region from a member of the regions file; mask files are read relative to base."""
        try:
            kind, name, scene = item["shape"], str(item.get("name", "")), item.get("scene")
            if kind == "rect":
                return cls.rect(item["x"], item["y"], item["w"], item["h"], name, scene)
            if kind == "ellipse":
                return cls.ellipse(item["cx"], item["cy"], item["rx"], item["ry"], name, scene)
            if kind == "polygon":
                return cls.polygon(item["points"], name, scene)
            if kind == "mask":
                return cls.mask(read_mask(Path(base) / item["file"]), name, scene)
        except KeyError as err:
            raise ValueError(f"region {item.get('name', '?')!r} lacks the member {err.args[0]!r}") from None
        raise ValueError(f"region {item.get('name', '?')!r}: unknown shape {kind!r} "
                         "(rect, ellipse, polygon or mask)")


def _scene_overrides(scene):
    if scene is None:
        return None
    if isinstance(scene, Scene):
        scene = {k: getattr(scene, k) for k in _SCENE_FIELDS}
    unknown = set(scene) - set(_SCENE_FIELDS)
    if unknown:
        raise ValueError(f"unknown scene field {sorted(unknown)[0]!r} (known: {', '.join(_SCENE_FIELDS)})")
    return {k: float(v) for k, v in scene.items()}


# ---- Regions file ------------------------------------------------------------------------------------

def read_mask(path):
    """A mask from an 8- or 16-bit binary PGM file (non-zero = inside), as a boolean array."""
    data = Path(path).read_bytes()
    parts, pos = [], 0
    while len(parts) < 4:  # magic, width, height, maxval; '#' comments between them
        while pos < len(data) and data[pos:pos + 1].isspace():
            pos += 1
        if data[pos:pos + 1] == b"#":
            pos = data.find(b"\n", pos) + 1 or len(data)
            continue
        end = pos
        while end < len(data) and not data[end:end + 1].isspace():
            end += 1
        parts.append(data[pos:end])
        pos = end
    if parts[0] != b"P5" or not all(p.isdigit() for p in parts[1:]):
        raise ValueError(f"{path}: a mask file is a binary PGM (P5)")
    width, height, maxval = (int(p) for p in parts[1:])
    dtype = np.dtype(np.uint8) if maxval < 256 else np.dtype(">u2")
    pixels = np.frombuffer(data, dtype=dtype, count=width * height, offset=pos + 1) if width * height else None
    if pixels is None or pixels.size != width * height:
        raise ValueError(f"{path}: the mask file is truncated")
    return pixels.reshape(height, width) != 0


def write_mask(path, mask):
    """Writes a mask as an 8-bit binary PGM (255 inside, 0 outside)."""
    array = np.asarray(mask) != 0
    Path(path).write_bytes(b"P5\n%d %d\n255\n" % (array.shape[1], array.shape[0]) +
                           (array.astype(np.uint8) * 255).tobytes())


def read_regions(path):
    """The regions of a regions file (JSON: {"radimo_regions": 1, "regions": [...]}, docs/formats.md)."""
    path = Path(path)
    try:
        document = json.loads(path.read_text())
    except json.JSONDecodeError as err:
        raise ValueError(f"{path}: not a JSON file ({err})") from None
    if not isinstance(document, dict) or not isinstance(document.get("regions"), list):
        raise ValueError(f"{path}: a regions file holds an object with a \"regions\" list")
    regions = [Region.from_json(item, path.parent) for item in document["regions"]]
    names = [r.name for r in regions]
    if len(set(names)) != len(names):
        raise ValueError(f"{path}: region names must be distinct")
    return regions


def write_regions(path, regions):
    """Writes regions to a regions file; each mask goes beside it as <file stem>.<region name>.pgm."""
    path = Path(path)
    items = []
    for i, region in enumerate(regions):
        mask_file = None
        if region.kind == "mask":
            mask_file = f"{path.stem}.{region.name or i}.pgm"
            write_mask(path.parent / mask_file, region.mask_array)
        items.append(region.to_json(mask_file))
    temporary = path.with_name(path.name + ".tmp")
    temporary.write_text(json.dumps({"radimo_regions": FILE_VERSION, "regions": items}, indent=2) + "\n")
    temporary.replace(path)


# ---- Statistics ---------------------------------------------------------------------------------------

@dataclass(frozen=True)
class RegionStats:
    """A region's statistics. Temperatures are in degC when the frame holds temperatures (any unit but
    "raw"), else in the frame's units; ``std`` is a temperature difference (K for degC). ``percentiles`` maps each asked
    percent to its value; ``histogram`` is (counts, edges) or None; ``above`` and ``below`` count the pixels
    beyond the thresholds asked (None when not asked). ``object`` is True when the values are object
    temperatures under the region's own scene."""
    name: str
    count: int
    max: float
    min: float
    max_at: Tuple[int, int]
    min_at: Tuple[int, int]
    mean: float
    std: float
    percentiles: Dict[float, float]
    histogram: Optional[Tuple[np.ndarray, np.ndarray]] = None
    above: Optional[int] = None
    below: Optional[int] = None
    object: bool = False
    unit: str = "degC"


def _counts_buffer(counts, writable=False):
    return buffer("counts", counts, c_uint32, 65536, writable)


def _frame(frame, unit):
    """The frame's uint16 array, a pointer to it, its resolution word and its scale (measure's rules), and
    whether its values are temperatures."""
    if unit == "raw":
        if isinstance(frame, Frame):
            check_single(frame)
            frame = frame.values
        return (*_measured(frame, "nuc"), False)
    return (*_measured(frame, unit), True)


def region_stats(frame, region, percentiles=(5, 50, 95), bins=None, above=None, below=None, sampling="pixel",
                 unit="raw", correct_table=None, scene=None):
    """Statistics of one region of a 16-bit frame (H, W).

    unit: "raw" (values in the frame's units), a temperature unit of the frame ("kelvin16", "centikelvin",
    "celsius"...; results in degC, a float frame measured on its grid as measure_rect measures it) or None
    (a Frame's own unit; 1/16 K for integers, degC for floats). bins: the number of equal bins between the
    region's minimum and maximum, or the bin edges (degC for temperatures). above, below: thresholds of the
    isotherm areas (degC for temperatures). sampling: "pixel" (each pixel's own value) or
    "mean3" (the 3x3 trimmed mean at each pixel). A region with a scene of its own, or a scene given here
    (a Scene, the base the region's fields override), gives object temperatures: it needs unit "kelvin16"
    and the camera's correct_table.
    """
    if sampling not in _SAMPLING:
        raise ValueError(f"sampling must be 'pixel' or 'mean3', got {sampling!r}")
    array, frame_p, resolution, scale, celsius = _frame(frame, unit)
    record, _keep = region.record(array.shape)
    percents = [float(p) for p in check_real("percentiles", list(percentiles), 0.0, 100.0)]
    if region.scene is not None or scene is not None:
        return _object_stats(array, frame_p, resolution, record, region, percents, bins, above, below, sampling,
                             scale, correct_table, scene)
    to_unit = scale.celsius if celsius else float
    from_unit = scale.value_of_celsius if celsius else float
    s = R.radimo_region_stats_t()
    call("radimo_region_stats", frame_p, resolution, byref(record), _SAMPLING[sampling], 0, array.shape[0],
         byref(s))
    counts = np.zeros(65536, dtype=np.uint32)
    call("radimo_region_counts", frame_p, resolution, byref(record), _SAMPLING[sampling], 0, array.shape[0],
         _counts_buffer(counts, True))
    values = {}
    for p in percents:
        v = c_double()
        call("radimo_counts_percentile", _counts_buffer(counts), p, byref(v))
        values[p] = to_unit(v.value)
    histogram = None
    if bins is not None:
        edges = _edges(bins, to_unit(s.min), to_unit(s.max))
        frame_edges = np.ascontiguousarray([from_unit(e) for e in edges], dtype=np.float64)
        out = np.zeros(len(edges) - 1, dtype=np.uint64)
        call("radimo_counts_histogram", _counts_buffer(counts), buffer("bin edges", frame_edges, c_double,
             len(edges)), len(out), buffer("bins", out, c_uint64, len(out), True))
        histogram = (out, edges)
    hot = cold = None
    if above is not None or below is not None:
        # The library compares whole frame values: v > high and v < low.
        high = math.floor(from_unit(above)) if above is not None else 65535
        low = math.ceil(from_unit(below)) if below is not None else 0
        a, b = c_uint64(), c_uint64()
        call("radimo_counts_threshold", _counts_buffer(counts), R.threshold_t(max(high, low), low), byref(a),
             byref(b))
        hot = a.value if above is not None else None
        cold = b.value if below is not None else None
    return RegionStats(region.name, s.count, to_unit(s.max), to_unit(s.min), (s.max_point.x, s.max_point.y),
                       (s.min_point.x, s.min_point.y), to_unit(s.mean),
                       s.stddev / scale.per_kelvin if celsius else s.stddev, values, histogram,
                       hot, cold, False, ("K" if scale.unit == DIFFERENCE else "degC") if celsius else "frame units")


def _edges(bins, lo, hi):
    if np.ndim(bins) == 0:
        n = int(bins)
        if n < 1 or n != bins:
            raise ValueError(f"bins must be a positive whole number or a list of edges, got {bins!r}")
        return np.linspace(lo, hi if hi > lo else lo + 1, n + 1)
    edges = check_real("bin edges", bins)
    if edges.ndim != 1 or len(edges) < 2 or np.any(np.diff(edges) <= 0):
        raise ValueError("bin edges must be at least two strictly increasing values")
    return edges


def _object_stats(array, frame_p, resolution, record, region, percents, bins, above, below, sampling, scale,
                  table, scene):
    if scale.unit != "kelvin16" or table is None:
        raise ValueError(f"region {region.name!r} has a scene of its own: its object temperatures need a "
                         "1/16 K frame (unit='kelvin16') and the camera's correct_table")
    base = {k: getattr(scene, k) for k in _SCENE_FIELDS} if scene is not None else {}
    fields = {**base, **(region.scene or {})}
    missing = [k for k in _SCENE_FIELDS if k not in fields]
    if missing:
        raise ValueError(f"region {region.name!r}: the scene lacks {', '.join(missing)} (give scene=camera.scene)")
    merged = Scene(**fields)
    table = correction_table_array(table)
    table_p = buffer("correct_table", table, c_uint16, correction_table_words(table))
    wanted = list(percents)
    p_in = np.array(wanted, dtype=np.float64)
    p_out = np.zeros(len(wanted), dtype=np.float64)
    s = R.radimo_region_object_stats_t()
    call("radimo_region_object_stats", byref(merged.record()), table_p,
         frame_p, resolution, byref(record), _SAMPLING[sampling],
         buffer("percentiles", p_in, c_double, len(wanted)), len(wanted),
         buffer("percentiles", p_out, c_double, len(wanted), True), byref(s))
    histogram = hot = cold = None
    if bins is not None or above is not None or below is not None:
        # The region's distribution by 1/16 K value, each value present corrected once.
        counts = np.zeros(65536, dtype=np.uint32)
        call("radimo_region_counts", frame_p, resolution, byref(record),
             _SAMPLING[sampling], 0, array.shape[0], _counts_buffer(counts, True))
        present = np.flatnonzero(counts)
        weights = counts[present].astype(np.int64)
        objects = _corrected(present, merged, table_p)
        if bins is not None:
            edges = _edges(bins, float(s.min), float(s.max))
            histogram = (np.histogram(objects, edges, weights=weights)[0].astype(np.uint64), edges)
        hot = int(weights[objects > above].sum()) if above is not None else None
        cold = int(weights[objects < below].sum()) if below is not None else None
    return RegionStats(region.name, s.count, float(s.max), float(s.min), (s.max_point.x, s.max_point.y),
                       (s.min_point.x, s.min_point.y), s.mean, s.stddev, dict(zip(wanted, p_out.tolist())),
                       histogram, hot, cold, True, "degC")


def _corrected(values, scene, table_p):
    """Object temperatures (float32 degC) of 1/16 K values, through radimo_frame_scene_correct (table_p: the
    checked correction table)."""
    width = min(len(values), 32767)
    rows = -(-len(values) // width)
    frame = np.full(rows * width, values[0], dtype=np.uint16)
    frame[:len(values)] = values
    out = np.empty(rows * width, dtype=np.float32)
    call("radimo_frame_scene_correct", byref(scene.record()), table_p, buffer("frame", frame, c_uint16, frame.size),
         width | (rows << 16), 0, rows, buffer("object", out, ctypes.c_float, out.size, True))
    return out[:len(values)]


def delta_t(a, b):
    """Mean, maximum and minimum of region a minus region b (RegionStats), as a dict, K."""
    return {"mean": a.mean - b.mean, "max": a.max - b.max, "min": a.min - b.min}


# ---- Time series --------------------------------------------------------------------------------------

STATISTICS = ("max", "min", "mean", "std", "count", "max_x", "max_y", "min_x", "min_y")


def time_series(frames, regions, fps=None, times=None, percentiles=(), dataframe=False, **options):
    """Each region's statistics in every frame of a stack (N, H, W): a dict of 1-D arrays, "frame", "time"
    (seconds, from times or fps, when given) and "<region>.<statistic>" for the statistics max, min, mean,
    std, count, max_x, max_y, min_x, min_y and "<region>.p<percent>" for each percentile asked. With
    dataframe=True a pandas DataFrame of the same columns (needs pandas). options go to region_stats.
    Regions without a name are called R1, R2, ... in order."""
    stack = np.asarray(frames)
    if stack.ndim == 2:
        stack = stack[np.newaxis]
    if stack.ndim != 3:
        raise ValueError(f"frames must be a stack (N, H, W), got shape {stack.shape}")
    names = [r.name or f"R{i + 1}" for i, r in enumerate(regions)]
    if len(set(names)) != len(names):
        raise ValueError("region names must be distinct")
    n = len(stack)
    columns = {"frame": np.arange(n)}
    if times is not None:
        columns["time"] = check_real("times", times).reshape(-1)
        if len(columns["time"]) != n:
            raise ValueError(f"times must give one time per frame ({n})")
    elif fps is not None:
        columns["time"] = np.arange(n) / float(check_real("fps", fps, 1e-9))
    for name in names:
        for stat in STATISTICS:
            columns[f"{name}.{stat}"] = np.zeros(n, dtype=np.int64 if stat in ("count",) or "_" in stat
                                                 else np.float64)
        for p in percentiles:
            columns[f"{name}.p{p:g}"] = np.zeros(n)
    for i, frame in enumerate(stack):
        for name, region in zip(names, regions):
            s = region_stats(frame, region, percentiles=percentiles, **options)
            row = {"max": s.max, "min": s.min, "mean": s.mean, "std": s.std, "count": s.count,
                   "max_x": s.max_at[0], "max_y": s.max_at[1], "min_x": s.min_at[0], "min_y": s.min_at[1]}
            for stat, value in row.items():
                columns[f"{name}.{stat}"][i] = value
            for p in percentiles:
                columns[f"{name}.p{p:g}"][i] = s.percentiles[float(p)]
    if dataframe:
        try:
            import pandas
        except ImportError as err:
            raise ImportError("time_series(dataframe=True) needs pandas (Debian: python3-pandas)") from err
        return pandas.DataFrame(columns)
    return columns
