"""Reading a camera profile directory (camera.json beside its binary tables), with the checks and
the one-line messages of the radimo tool: "<dir>/camera.json: <field>: <problem>".

The layout and every field are described in docs/formats.md ("Camera profile").
"""
import json
import math
from pathlib import Path, PurePath

import numpy as np

from .correction import raw_table_entries

FORMAT_VERSION = 1
NUC_TABLE_ENTRIES = 8192
ENV_TAU_ENTRIES = 3584
_TOP_KEYS = ("format_version", "name", "resolution", "gain", "nuc_factor", "vtemp", "ktbt", "nuc_table",
             "correct_table", "env_tau_table", "scene")
_INT32 = (-2**31, 2**31 - 1)
# Bounds checked before camera.json is parsed: its size, and how deeply its arrays and objects may
# nest (a profile needs 3 levels). The radimo tool checks the same (CameraProfile in cli/core/profile.h).
MAX_JSON_BYTES = 1 << 20
MAX_JSON_DEPTH = 16


class _Checker:
    """Field checks of one camera.json; every failure is a ValueError naming the file and field."""

    def __init__(self, file):
        self.file = file

    def fail(self, field, problem):
        raise ValueError(f"{self.file}: {field}: {problem}")

    @staticmethod
    def join(path, key):
        return f"{path}.{key}" if path else key

    def known_keys(self, obj, path, allowed):
        for key in obj:
            if key not in allowed:
                self.fail(self.join(path, key), "unknown key")

    def object(self, parent, path, key, allowed, required=True):
        field = self.join(path, key)
        if key not in parent:
            if required:
                self.fail(field, "missing")
            return None
        obj = parent[key]
        if not isinstance(obj, dict):
            self.fail(field, "must be an object")
        self.known_keys(obj, field, allowed)
        return obj

    def _present(self, obj, path, key, fallback):
        if key not in obj:
            if fallback is None:
                self.fail(self.join(path, key), "missing")
            return False
        return True

    def integer(self, obj, path, key, low, high, fallback=None):
        if not self._present(obj, path, key, fallback):
            return fallback
        value = obj[key]
        if isinstance(value, bool) or not isinstance(value, int):  # JSON true is no integer
            self.fail(self.join(path, key), "must be an integer")
        if not low <= value <= high:
            self.fail(self.join(path, key), f"{value} is outside {low}..{high}")
        return value

    def number(self, obj, path, key, low, high):
        self._present(obj, path, key, None)
        value = obj[key]
        if isinstance(value, bool) or not isinstance(value, (int, float)):
            self.fail(self.join(path, key), "must be a number")
        value = float(value)  # integers are within 64 bits here (_json_int)
        if not low <= value <= high:
            self.fail(self.join(path, key), f"{value:g} is outside {low:g}..{high:g}")
        return value

    def string(self, obj, path, key, fallback=None):
        if not self._present(obj, path, key, fallback):
            return fallback
        if not isinstance(obj[key], str):
            self.fail(self.join(path, key), "must be a string")
        return obj[key]

    def boolean(self, obj, path, key):
        self._present(obj, path, key, None)
        if not isinstance(obj[key], bool):
            self.fail(self.join(path, key), "must be true or false")
        return obj[key]

    def file_name(self, obj, path, key, fallback):
        """A table file named by a field: a plain name inside the profile directory."""
        name = self.string(obj, path, key, fallback)
        if name in ("", ".", "..") or PurePath(name).is_absolute() or len(PurePath(name).parts) != 1:
            self.fail(self.join(path, key), "must be a file name inside the camera directory")
        return name

    def switch(self, obj, path, key):
        """An {"enable": bool, "version": 0..65535} pair of the correction table's header."""
        field = self.join(path, key)
        pair = self.object(obj, path, key, ("enable", "version"))
        return self.boolean(pair, field, "enable"), self.integer(pair, field, "version", 0, 65535)

    def table(self, directory, name, field, entries, dtype):
        """A little-endian 16-bit table of exactly `entries` values, its size checked first."""
        path = directory / name
        if not path.is_file():
            self.fail(field, f"{path}: no such file")
        size = path.stat().st_size
        if size != entries * 2:
            self.fail(field, f"{path} is {size} bytes; {entries} entries need {entries * 2}")
        return np.fromfile(path, dtype=np.dtype(dtype).newbyteorder("<")).astype(dtype)


def _reject_constant(text):
    raise ValueError(f"{text} is not a JSON number")


def _json_float(text):
    value = float(text)
    if math.isinf(value):
        raise ValueError(f"{text} is beyond the range of a double")
    return value


def _json_int(text):
    """Integers beyond 64 bits are doubles in JSON readers such as the radimo tool's."""
    value = int(text)
    return value if -2**63 <= value < 2**64 else _json_float(text)


def nested_too_deep(text):
    """Whether JSON text (bytes) nests arrays and objects deeper than MAX_JSON_DEPTH, counted on
    the text itself (brackets outside string literals) as the radimo tool counts them, so that a
    document too deep to parse is refused before it is parsed. Malformed text is counted as well;
    the parser refuses it afterwards."""
    depth = 0
    in_string = escaped = False
    for c in text:
        if in_string:
            if escaped:
                escaped = False
            elif c == 0x5C:  # backslash
                escaped = True
            elif c == 0x22:  # quote
                in_string = False
        elif c == 0x22:
            in_string = True
        elif c == 0x5B or c == 0x7B:  # [ {
            depth += 1
            if depth > MAX_JSON_DEPTH:
                return True
        elif c == 0x5D or c == 0x7D:  # ] }
            depth -= 1
    return False


def _parse(text, file):
    """The JSON document of camera.json, refused as the radimo tool refuses it: not valid JSON (a
    lone surrogate escape included), or a key repeated in one object (the first object to close
    with one is named, by its first repeated key)."""
    repeated = []

    def pairs_hook(pairs):
        seen = set()
        for key, _ in pairs:
            if key in seen:
                repeated.append(key)
                break
            seen.add(key)
        return dict(pairs)

    try:
        root = json.loads(text.decode("utf-8-sig"), parse_constant=_reject_constant, parse_int=_json_int,
                          parse_float=_json_float, object_pairs_hook=pairs_hook)
        _encodable(root)
    except (ValueError, UnicodeError):
        raise ValueError(f"{file}: not valid JSON") from None
    if repeated:
        raise ValueError(f'{file}: duplicate key "{repeated[0]}"')
    return root


def _encodable(value):
    """UnicodeError for a string (or key) holding a lone surrogate, which JSON text cannot encode."""
    if isinstance(value, str):
        value.encode("utf-8")
    elif isinstance(value, dict):
        for key, item in value.items():
            key.encode("utf-8")
            _encodable(item)
    elif isinstance(value, list):
        for item in value:
            _encodable(item)


def read_profile(directory):
    """The fields and tables of a camera profile directory as a dict; ValueError on any problem."""
    directory = Path(directory)
    file = directory / "camera.json"
    if not directory.is_dir():
        raise ValueError(f"{directory}: no such camera directory")
    if not file.is_file():
        raise ValueError(f"{file}: no such file (a camera directory holds camera.json and its tables)")
    size = file.stat().st_size
    if size > MAX_JSON_BYTES:
        raise ValueError(f"{file}: {size} bytes is more than a camera profile may hold ({MAX_JSON_BYTES})")
    text = file.read_bytes()
    if nested_too_deep(text):
        raise ValueError(f"{file}: nested deeper than {MAX_JSON_DEPTH} levels")
    root = _parse(text, file)
    if not isinstance(root, dict):
        raise ValueError(f"{file}: must hold a JSON object")
    check = _Checker(file)
    check.known_keys(root, "", _TOP_KEYS)
    version = check.integer(root, "", "format_version", 0, 1000000)
    if version != FORMAT_VERSION:
        check.fail("format_version", f"{version} is not supported (this radimo reads version {FORMAT_VERSION})")

    p = {"name": check.string(root, "", "name", "")}
    res = check.object(root, "", "resolution", ("width", "height"))
    p["width"] = check.integer(res, "resolution", "width", 1, 65535)
    p["height"] = check.integer(res, "resolution", "height", 1, 65535)
    p["gain"] = check.string(root, "", "gain")
    if p["gain"] not in ("high", "low"):
        check.fail("gain", f"'{p['gain']}' must be \"high\" or \"low\"")
    factor = check.object(root, "", "nuc_factor", ("c0", "c1", "c2"), required=False)
    p["nuc_factor"] = None if factor is None else tuple(
        check.integer(factor, "nuc_factor", c, *_INT32) for c in ("c0", "c1", "c2"))
    p["vtemp"] = check.integer(root, "", "vtemp", 0, 65535)

    k = check.object(root, "", "ktbt", ("K_Temp", "B_Temp", "Address_CA", "entries", "kt_file", "bt_file"))
    p["K_Temp"] = check.integer(k, "ktbt", "K_Temp", -32768, 32767)
    p["B_Temp"] = check.integer(k, "ktbt", "B_Temp", -32768, 32767)
    p["Address_CA"] = check.integer(k, "ktbt", "Address_CA", 0, 65535)
    entries = check.integer(k, "ktbt", "entries", 1201, 3601)
    if entries not in (1201, 3601):
        check.fail("ktbt.entries", f"{entries} must be 1201 or 3601")
    kt_file = check.file_name(k, "ktbt", "kt_file", "kt.bin")
    bt_file = check.file_name(k, "ktbt", "bt_file", "bt.bin")

    n = check.object(root, "", "nuc_table", ("file", "entries"))
    nuc_file = check.file_name(n, "nuc_table", "file", "nuc_table.bin")
    nuc_entries = check.integer(n, "nuc_table", "entries", NUC_TABLE_ENTRIES, NUC_TABLE_ENTRIES, NUC_TABLE_ENTRIES)

    c = check.object(root, "", "correct_table", ("file", "words", "format", "ems_correction",
                                                 "humidity_correction", "reflected_temperature"), required=False)
    header_fields = {}
    if c is not None:
        correct_file = check.file_name(c, "correct_table", "file", "correct_table.bin")
        correct_words = check.integer(c, "correct_table", "words", 1, 1 << 20)
        if "format" in c:
            header_fields[1] = (check.integer(c, "correct_table", "format", 0, 65535),)
        # Header words (0-based) of each enable/version switch.
        for key, word in (("ems_correction", 4), ("humidity_correction", 6), ("reflected_temperature", 10)):
            if key in c:
                header_fields[word] = check.switch(c, "correct_table", key)
    e = check.object(root, "", "env_tau_table", ("file", "entries"), required=False)
    if e is not None:
        env_file = check.file_name(e, "env_tau_table", "file", "env_tau.bin")
        env_entries = check.integer(e, "env_tau_table", "entries", ENV_TAU_ENTRIES, ENV_TAU_ENTRIES,
                                    ENV_TAU_ENTRIES)

    s = check.object(root, "", "scene", ("emissivity", "distance_m", "humidity", "ambient_c", "reflected_c"))
    p["scene"] = {"ems": check.number(s, "scene", "emissivity", 0.01, 1.0),
                  "dist": check.number(s, "scene", "distance_m", 0.0, 1000.0),
                  "hum": check.number(s, "scene", "humidity", 0.0, 1.0),
                  "ta": check.number(s, "scene", "ambient_c", -273.15, 100.0),
                  "tu": check.number(s, "scene", "reflected_c", -273.15, 100.0)}

    # The tables, their sizes checked against the fields before reading.
    p["nuc_table"] = check.table(directory, nuc_file, "nuc_table.file", nuc_entries, np.uint16)
    p["kt"] = check.table(directory, kt_file, "ktbt.kt_file", entries, np.uint16)
    p["bt"] = check.table(directory, bt_file, "ktbt.bt_file", entries, np.int16)
    p["correct_table"] = p["env_tau"] = None
    if c is not None:
        table = check.table(directory, correct_file, "correct_table.file", correct_words, np.uint16)
        has_header = table.size >= 128 and table[2] == 0xFFFF and table[3] == 0xFFFF
        if header_fields and not has_header:
            check.fail("correct_table", f"{correct_file} has no 256-byte header (words 3 and 4 are not "
                                        "0xFFFF), so it cannot carry a format or switches")
        for word, values in header_fields.items():
            if len(values) == 1:
                table[word] = values[0]
            else:
                table[word], table[word + 1] = (1 if values[0] else 0), values[1]
        # The tau readers index the grid the format selects: the table must hold all of it.
        tau_format = int(table[1]) if has_header else 0
        needed = (128 if has_header else 0) + raw_table_entries(tau_format)
        if table.size < needed:
            check.fail("correct_table.words", f"{table.size} words are too few: format {tau_format} needs {needed}")
        p["correct_table"] = table
    if e is not None:
        p["env_tau"] = check.table(directory, env_file, "env_tau_table.file", env_entries, np.uint16)
    return p

