"""The binding's camera.json loader gives the verdict of tests/data/profiles/verdicts.txt for every
shared fixture, the verdict the radimo tool's loader gives (tests/cli/test_formats_profile.cpp)."""
from pathlib import Path

import numpy as np
import pytest

import radimo

FIXTURES = Path(__file__).resolve().parents[1] / "data" / "profiles"
VERDICTS = [tuple(line.split("\t")) for line in (FIXTURES / "verdicts.txt").read_text().splitlines()
            if line and not line.startswith("#")]


def camera_directory(directory, camera_json):
    """A camera directory holding camera_json and the tables verdicts.txt describes."""
    directory.mkdir()
    header = np.array([0, 300, 0xFFFF, 0xFFFF], np.uint16)
    tables = {"nuc_table.bin": 8192, "kt.bin": 1201, "bt.bin": 1201, "kt_long.bin": 3601, "bt_long.bin": 3601,
              "correct_table.bin": 4088, "correct_short.bin": 3000, "correct_plain.bin": 3584, "env_tau.bin": 3584}
    for name, words in tables.items():
        table = np.zeros(words, "<u2")
        if name in ("correct_table.bin", "correct_short.bin"):
            table[:4] = header
        table.tofile(directory / name)
    (directory / "camera.json").write_bytes(camera_json)
    return directory


def verdict(directory):
    try:
        radimo.Camera(directory)
    except ValueError as refused:
        prefix = f"{directory}/camera.json: "
        assert str(refused).startswith(prefix)
        return str(refused)[len(prefix):]
    return "accepted"


@pytest.mark.parametrize("name, expected", VERDICTS, ids=[name for name, _ in VERDICTS])
def test_each_fixture_gets_its_verdict(tmp_path, name, expected):
    directory = camera_directory(tmp_path / "cam", (FIXTURES / name).read_bytes())
    assert verdict(directory) == expected.format(dir=directory)


def test_documents_too_deep_or_too_large_are_refused_before_parsing(tmp_path):
    # 300,000 open brackets: the recursion of a parser would overflow; the text is refused first.
    deep = camera_directory(tmp_path / "deep", b'{"x":' + b"[" * 300000)
    assert verdict(deep) == "nested deeper than 16 levels"
    full = (FIXTURES / "good_full.json").read_bytes()

    def padded(size):  # the good profile with white space up to size bytes
        return full[:-2] + b" " * (size - len(full)) + full[-2:]

    large = camera_directory(tmp_path / "large", padded(2**20 + 1))
    assert verdict(large) == "1048577 bytes is more than a camera profile may hold (1048576)"
    (large / "camera.json").write_bytes(padded(2**20))
    assert verdict(large) == "accepted"
