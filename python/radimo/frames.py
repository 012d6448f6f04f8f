"""Frames with their unit: the units, reading frame files, and the doubts a careful reader raises.

    frame = radimo.read_frame("room.png", unit="centikelvin")
    frame.values                    # (H, W), or (N, H, W) for a multi-frame file: uint16 or float32
    frame.unit, frame.unit_source   # "centikelvin", "argument"
    frame.celsius()                 # float32 degC

Units (the radimo tool's names): ``nuc`` (raw sensor counts: temperatures need a Camera),
``kelvin16`` (1/16 K, the library's unit), ``centikelvin`` (1/100 K), ``decikelvin`` (1/10 K),
``millikelvin`` (1/1000 K) for uint16 samples; ``celsius`` and ``kelvin`` for float32 samples;
``kelvin-difference`` (float32) for a temperature difference in K (what ``radimo diff`` writes), which
is never offset by 273.15 and never converted to or from a temperature.

read_frame reads what the radimo tool writes (TIFF, PNG and PGM with the unit they declare) and
raw dumps. The unit is what the file declares, else the one given, else assumed (kelvin16 for
16-bit samples, celsius for floats); a given unit that contradicts the file is a ValueError. A
doubt about the data (values implausible for the unit, byte-swapped samples, an 8-bit display
range) is a radimo.InputWarning, never a silent guess.
"""
import json
import warnings
from dataclasses import dataclass, field
from pathlib import Path
from typing import List, Optional

import numpy as np

KELVIN_OFFSET = 273.15

#: Counts per kelvin of the 16-bit temperature units.
COUNTS_PER_KELVIN = {"kelvin16": 16, "centikelvin": 100, "decikelvin": 10, "millikelvin": 1000}
#: Every unit and what one count (or value) stands for.
UNITS = {"nuc": "NUC count", "kelvin16": "1/16 K", "centikelvin": "1/100 K", "decikelvin": "1/10 K",
         "millikelvin": "1/1000 K", "celsius": "degC", "kelvin": "K", "kelvin-difference": "K (a difference)"}
FLOAT_UNITS = ("celsius", "kelvin", "kelvin-difference")
DIFFERENCE = "kelvin-difference"
#: Where a frame's unit came from.
UNIT_SOURCES = ("file", "argument", "assumed")

# The plausible temperatures of a scene, and those of an everyday one (degC).
PLAUSIBLE = (-100.0, 2000.0)
EVERYDAY = (-50.0, 150.0)
OUTLIER_SHARE = 0.001


class InputWarning(UserWarning):
    """A doubt about a frame: the numbers read from it are probably wrong as given."""


def check_unit(unit, name="unit"):
    if unit not in UNITS:
        raise ValueError(f"{name} must be one of {', '.join(UNITS)}, got {unit!r}")
    return unit


def is_float_unit(unit):
    return unit in FLOAT_UNITS


def kelvin_of(unit, values):
    """Temperatures in K (float64) of samples in a temperature unit (a difference: its K)."""
    values = np.asarray(values, dtype=np.float64)
    if unit == "celsius":
        return values + KELVIN_OFFSET
    if unit in ("kelvin", DIFFERENCE):
        return values
    if unit not in COUNTS_PER_KELVIN:
        raise ValueError(f"{unit} values are not temperatures (raw NUC counts need a Camera)")
    return values / COUNTS_PER_KELVIN[unit]


def celsius_of(unit, values):
    """Temperatures in degC (float64) of samples in a temperature unit (a difference: the same K)."""
    if unit in ("celsius", DIFFERENCE):
        return np.asarray(values, dtype=np.float64)
    return kelvin_of(unit, values) - KELVIN_OFFSET


def to_unit(values, unit, to):
    """Samples of one temperature unit in another, as `radimo convert --to` gives them: float units as
    float32 (1/16 K to degC by the library's rule), 16-bit units rounded half away from zero and limited
    to 0..65535 (an InputWarning tells how many were limited)."""
    check_unit(to, "to")
    values = np.asarray(values)
    if to == unit:
        return values.copy()
    if DIFFERENCE in (unit, to):
        raise ValueError(f"{unit} values cannot become {to}: a temperature difference is no temperature")
    if unit == "kelvin16" and to == "celsius":
        scaled = values.astype(np.float32) * np.float32(0.0625)
        return (scaled.astype(np.float64) - KELVIN_OFFSET).astype(np.float32)
    if is_float_unit(to):
        return (celsius_of(unit, values) if to == "celsius" else kelvin_of(unit, values)).astype(np.float32)
    if to not in COUNTS_PER_KELVIN:
        raise ValueError("frames can only be converted to temperatures")
    counts = COUNTS_PER_KELVIN[to]
    if unit in COUNTS_PER_KELVIN:  # the exact ratio of the two units' counts
        exact = values.astype(np.float64) * counts / COUNTS_PER_KELVIN[unit]
    else:
        exact = kelvin_of(unit, values) * counts
    rounded = np.sign(exact) * np.floor(np.abs(exact) + 0.5)
    limited = int(np.count_nonzero(~((exact > -0.5) & (exact < 65535.5))))
    if limited:
        warnings.warn(f"{limited} of {exact.size} temperatures lie outside what {to} holds (counts "
                      f"0..65535) and were limited to its ends", InputWarning, stacklevel=2)
    return np.clip(np.nan_to_num(rounded, nan=0.0), 0, 65535).astype(np.uint16)


@dataclass
class Frame:
    """Frame values with their unit.

    ``values``: (H, W), or (N, H, W) for a file of N > 1 frames; uint16 for the 16-bit units,
    float32 for celsius and kelvin. ``unit``: one of UNITS. ``unit_source``: "file" (declared by the
    file), "argument" (given) or "assumed". ``vtemps``: the focal-plane reading each frame declares
    (None where it gives none). ``path``: the file read.
    """
    values: np.ndarray
    unit: str
    unit_source: str = "argument"
    vtemps: List[Optional[int]] = field(default_factory=list)
    path: Optional[str] = None

    def __post_init__(self):
        check_unit(self.unit)
        if self.unit_source not in UNIT_SOURCES:
            raise ValueError(f"unit_source must be one of {', '.join(UNIT_SOURCES)}")

    def __repr__(self):
        return (f"Frame({'x'.join(map(str, self.values.shape[::-1]))} {self.unit} ({UNITS[self.unit]}, "
                f"{self.unit_source}){f' from {self.path}' if self.path else ''})")

    def __len__(self):
        """The number of frames: N for values (N, H, W), 1 for one frame (H, W)."""
        return self.values.shape[0] if self.values.ndim == 3 else 1

    def __getitem__(self, index):
        """Frame `index` of a multi-frame file (negative counts from the end) as a Frame of its own, with
        its unit and its focal-plane reading; frame[0] of a single frame is the frame itself."""
        if isinstance(index, bool) or not isinstance(index, (int, np.integer)):
            raise TypeError(f"a frame index is an integer, got {index!r}")
        count = len(self)
        if not -count <= index < count:
            raise IndexError(f"frame {index} of a file of {count} frame(s)")
        index = int(index) % count
        values = self.values[index] if self.values.ndim == 3 else self.values
        vtemps = self.vtemps[index:index + 1] if len(self.vtemps) == count else []
        return Frame(values, self.unit, self.unit_source, vtemps, self.path)

    def celsius(self):
        """The temperatures in degC (float32), as `radimo convert --to celsius` writes them."""
        return to_unit(self.values, self.unit, "celsius")

    def to(self, unit):
        """The values in another temperature unit (see to_unit)."""
        return to_unit(self.values, self.unit, unit)


# ---- Reading ------------------------------------------------------------------------------------

def _metadata(text):
    """unit and vtemp of the tool's own metadata text (or Nones)."""
    try:
        j = json.loads(text)
    except (TypeError, ValueError):
        return None, None
    if not isinstance(j, dict) or "radimo_frame" not in j:
        return None, None
    unit = j.get("unit") if j.get("unit") in UNITS else None
    vtemp = j.get("vtemp")
    return unit, vtemp if isinstance(vtemp, int) and 0 <= vtemp <= 0xFFFF else None


def _pillow():
    try:
        from PIL import Image
    except ImportError as err:
        raise ImportError("reading TIFF and PNG frames needs Pillow (Debian: python3-pil)") from err
    return Image


def _read_tiff(path):
    Image = _pillow()
    pages, declared, vtemps = [], [], []
    with Image.open(path) as image:
        for page in range(getattr(image, "n_frames", 1)):
            image.seek(page)
            array = np.array(image)
            if array.dtype.kind == "f":
                array = array.astype(np.float32)
            elif array.dtype.kind in "ui" and array.dtype.itemsize == 2:
                array = array.astype(np.uint16)
            else:
                raise ValueError(f"{path}: page {page} is {image.mode}; expected 16-bit greyscale or float32")
            unit, vtemp = _metadata(image.tag_v2.get(270))
            pages.append(array)
            declared.append(unit)
            vtemps.append(vtemp)
    return pages, declared, vtemps


def _read_png(path):
    Image = _pillow()
    with Image.open(path) as image:
        if image.mode not in ("I", "I;16", "I;16B"):
            raise ValueError(f"{path}: a {image.mode} PNG; expected 16-bit greyscale")
        array = np.array(image)
        unit, vtemp = _metadata(image.text.get("radimo"))
    return [array.astype(np.uint16)], [unit], [vtemp]


def _read_pgm(data, path):
    """Binary greyscale PGM images (P5, maxval above 255), one after another."""
    pages, declared, vtemps = [], [], []
    at = 0
    while at < len(data):
        if data[at:at + 2] != b"P5":
            raise ValueError(f"{path}: not a binary greyscale PGM (P5) image")
        at += 2
        numbers, unit, vtemp = [], None, None
        while len(numbers) < 3:
            while at < len(data) and data[at:at + 1].isspace():
                at += 1
            if data[at:at + 1] == b"#":
                end = data.find(b"\n", at)
                end = len(data) if end < 0 else end
                comment = data[at + 1:end].decode("utf-8", "replace").strip()
                if comment.startswith("radimo "):
                    unit, vtemp = _metadata(comment[len("radimo "):])
                at = end
                continue
            start = at
            while at < len(data) and data[at:at + 1].isdigit():
                at += 1
            if start == at:
                raise ValueError(f"{path}: not a PGM header")
            numbers.append(int(data[start:at]))
        width, height, maxval = numbers
        at += 1  # the single white-space byte after maxval
        if not (0 < width <= 0xFFFF and 0 < height <= 0xFFFF) or not 256 <= maxval <= 0xFFFF:
            raise ValueError(f"{path}: image {len(pages)} is not a 16-bit PGM image")
        size = 2 * width * height
        if at + size > len(data):
            raise ValueError(f"{path}: image {len(pages)} is truncated")
        pages.append(np.frombuffer(data, ">u2", width * height, at).reshape(height, width).astype(np.uint16))
        declared.append(unit)
        vtemps.append(vtemp)
        at += size
        while at < len(data) and data[at:at + 1].isspace():
            at += 1
    return pages, declared, vtemps


def read_frame(path, unit=None, byte_order=None, size=None):
    """The frames of a file with their unit (a Frame).

    Formats, recognised by their content: TIFF (16-bit or float32, every page), PNG (16-bit
    greyscale), PGM (16-bit, every image), else raw samples of ``size`` (width, height): uint16,
    or float32 for a float unit. ``unit``: what the samples are when the file does not declare it
    (a contradiction is a ValueError). ``byte_order``: "little" or "big" for files written the other
    way round than their format (raw files are little-endian, PNG and PGM big-endian, TIFF as its
    header says). The frames are looked at for doubts (InputWarning)."""
    path = str(path)
    if unit is not None:
        check_unit(unit)
    if byte_order not in (None, "little", "big"):
        raise ValueError(f"byte_order must be 'little' or 'big', got {byte_order!r}")
    data = Path(path).read_bytes()
    if data[:4] in (b"II*\0", b"II+\0", b"MM\0*", b"MM\0+"):
        pages, declared, vtemps = _read_tiff(path)
        stored = "little" if data[:2] == b"II" else "big"
    elif data[:8] == b"\x89PNG\r\n\x1a\n":
        (pages, declared, vtemps), stored = _read_png(path), "big"
    elif data[:2] == b"P5":
        (pages, declared, vtemps), stored = _read_pgm(data, path), "big"
    else:
        if size is None:
            raise ValueError(f"{path}: not a TIFF, PNG or PGM file; give size=(width, height) to read it as raw "
                             f"frames")
        width, height = (int(v) for v in size)
        if not (0 < width <= 0xFFFF and 0 < height <= 0xFFFF):
            raise ValueError(f"size {width} x {height} is outside 1..65535")
        stored = byte_order or "little"
        kind = "f4" if unit is not None and is_float_unit(unit) else "u2"
        frame_bytes = int(kind[1]) * width * height
        if not data or len(data) % frame_bytes:
            raise ValueError(f"{path}: {len(data)} bytes is not a whole number of {width}x{height} "
                             f"{'float32' if kind == 'f4' else 'u16'} frames ({frame_bytes} bytes each)")
        values = np.frombuffer(data, ("<" if stored == "little" else ">") + kind)
        values = values.astype(np.float32 if kind == "f4" else np.uint16).reshape(-1, height, width)
        pages, declared, vtemps = list(values), [None] * len(values), [None] * len(values)
    if byte_order is not None and byte_order != stored:
        pages = [p.byteswap() for p in pages]

    floats = pages[0].dtype == np.float32
    if any((p.dtype == np.float32) != floats or p.shape != pages[0].shape for p in pages):
        raise ValueError(f"{path}: its frames differ in size or sample type")
    said = {u for u in declared if u is not None}
    if len(said) > 1:
        raise ValueError(f"{path}: its frames declare different units ({', '.join(sorted(said))})")
    if said:
        source, found = "file", said.pop()
        if unit is not None and unit != found:
            raise ValueError(f"{path}: the file declares its samples {found}; unit={unit!r} contradicts it")
    elif unit is not None:
        source, found = "argument", unit
    else:
        source, found = "assumed", "celsius" if floats else "kelvin16"
    if is_float_unit(found) != floats:
        raise ValueError(f"{path}: holds {'float32' if floats else '16-bit'} samples; {found} is a unit of "
                         f"{'16-bit' if floats else 'float'} samples")
    values = pages[0] if len(pages) == 1 else np.stack(pages)
    frame = Frame(values, found, source, vtemps, path)
    check_frame(frame, stored if byte_order is None else byte_order)
    return frame


# ---- Doubts -------------------------------------------------------------------------------------

def _span(lo, hi):
    return f"{lo:.1f} .. {hi:.1f} degC"


def check_frame(frame, byte_order="little"):
    """Warns (InputWarning) when the values are implausible for the frame's unit, look like 8-bit
    display data, or look byte-swapped; the radimo tool raises the same doubts."""
    name = frame.path or "frame"
    values = np.asarray(frame.values)
    finite = values[np.isfinite(values)] if values.dtype.kind == "f" else values.ravel()
    if finite.size == 0:
        return
    lo, hi = np.quantile(finite, [OUTLIER_SHARE, 1 - OUTLIER_SHARE], method="inverted_cdf")
    floats = values.dtype.kind == "f"
    low, high = float(finite.min()), float(finite.max())
    integral = not floats or bool(np.all(finite == np.floor(finite)))
    if low >= 0 and high <= 255 and integral and (not floats or high - low >= 200):
        warnings.warn(f"{name}: every value lies within 0..255: 8-bit display data (automatic gain control), "
                      f"not temperatures? Such data holds no temperature", InputWarning, stacklevel=3)
        return
    if frame.unit not in ("nuc", DIFFERENCE):
        c_lo, c_hi = float(celsius_of(frame.unit, lo)), float(celsius_of(frame.unit, hi))
        absurd = c_lo < PLAUSIBLE[0] or c_hi > PLAUSIBLE[1]
        everyday = EVERYDAY[0] <= c_lo and c_hi <= EVERYDAY[1]
        if absurd or (frame.unit_source == "assumed" and not everyday):
            others = [f"as {u} they read {_span(float(celsius_of(u, lo)), float(celsius_of(u, hi)))}"
                      for u in UNITS if u not in ("nuc", DIFFERENCE, frame.unit) and is_float_unit(u) == floats
                      and EVERYDAY[0] <= float(celsius_of(u, lo)) and float(celsius_of(u, hi)) <= EVERYDAY[1]]
            if absurd or others:
                warnings.warn(f"{name}: read as {frame.unit} ({UNITS[frame.unit]}, {frame.unit_source}) the values "
                              f"span {_span(c_lo, c_hi)}{', implausible for a scene' if absurd else ''}; "
                              + ("; ".join(others) + " (give the unit)" if others else "give the right unit"),
                              InputWarning, stacklevel=3)
    if not floats:
        stack = values.reshape((-1,) + values.shape[-2:]).astype(np.int32)
        swapped = ((stack >> 8) | ((stack & 0xFF) << 8))

        def rough(v):
            return np.abs(np.diff(v, axis=-1)).sum() + np.abs(np.diff(v, axis=-2)).sum()

        as_read, other = rough(stack), rough(swapped)
        pairs = stack.shape[0] * (2 * stack.shape[1] * stack.shape[2] - stack.shape[1] - stack.shape[2])
        if pairs and as_read / pairs >= 64 and other * 8 < as_read:
            flipped = "big" if byte_order == "little" else "little"
            warnings.warn(f"{name}: the samples look byte-swapped (far smoother read the other way round); read "
                          f"them with byte_order={flipped!r}", InputWarning, stacklevel=3)


__all__ = ["InputWarning", "Frame", "read_frame", "to_unit", "kelvin_of", "celsius_of", "check_frame", "UNITS",
           "COUNTS_PER_KELVIN", "FLOAT_UNITS"]
