"""Runs one C example on the demo camera and compares what it prints or writes with the radimo tool.

    check_example.py NAME EXAMPLE RADIMO DEMO_DIR WORK_DIR

NAME is measure_rect, raw_to_celsius or double_point; EXAMPLE its program; DEMO_DIR what
`radimo demo` wrote. Exits 1 with the differences when they disagree.
"""
import json
import shutil
import subprocess
import sys
from pathlib import Path

import numpy as np
from PIL import Image


def run(*args):
    return subprocess.run([str(a) for a in args], check=True, capture_output=True, text=True).stdout


def fail(message):
    print(message)
    sys.exit(1)


class Demo:
    """The demo camera's numbers and its first raw frame as a headerless little-endian file."""

    def __init__(self, demo, work):
        self.camera = demo / "camera"
        description = json.loads((self.camera / "camera.json").read_text())
        self.width, self.height = description["resolution"]["width"], description["resolution"]["height"]
        k, s = description["ktbt"], description["scene"]
        self.ktbt = f"{k['K_Temp']},{k['B_Temp']},{k['Address_CA']}"
        self.scene = ",".join(str(s[f]) for f in ("emissivity", "distance_m", "humidity", "ambient_c",
                                                    "reflected_c"))
        image = Image.open(demo / "raw.tiff")
        self.vtemp = json.loads(image.tag_v2[270])["vtemp"]
        self.raw = work / "raw.u16"
        np.array(image).astype("<u2").tofile(self.raw)
        self.size = f"{self.width}x{self.height}"

    def convert(self, out, *flags):
        """The raw frame converted by the radimo tool; returns its CSV rows as lists of strings."""
        run(RADIMO, "convert", self.raw, "--size", self.size, "--camera", self.camera, "--vtemp", self.vtemp,
            "-q", "-o", out, *flags)
        if out.suffix != ".csv":
            return None
        return [row.split(",") for row in out.read_text().splitlines() if row and not row.startswith("#")]


def check_raw_to_celsius(example, demo, work):
    printed = run(example, demo.camera, demo.raw, demo.width, demo.height, demo.vtemp, demo.ktbt, demo.scene)
    rows = [line.split() for line in printed.splitlines()[1:]]
    apparent = demo.convert(work / "apparent.csv")
    corrected = demo.convert(work / "object.csv", "--scene-correct")
    for x, y, apparent_c, object_c in rows:
        x, y = int(x), int(y)
        if (apparent_c, object_c) != (apparent[y][x], corrected[y][x]):
            fail(f"({x},{y}): example {apparent_c} {object_c}, radimo {apparent[y][x]} {corrected[y][x]}")
    if len(rows) != 5:
        fail(f"expected five pixels, got:\n{printed}")


def check_measure_rect(example, demo, work):
    # A temperature frame (1/16 K) as raw little-endian samples: the tool writes PGM (big-endian).
    pgm = work / "kelvin16.pgm"
    demo.convert(pgm, "--to", "kelvin16")
    frame = work / "kelvin16.u16"
    np.frombuffer(pgm.read_bytes()[-demo.width * demo.height * 2:], ">u2").astype("<u2").tofile(frame)
    # The mug (above 60 degC), the can (below 10 degC) and the face with its surroundings (within).
    for rect, alarm in (((430, 330, 50, 50), (60, 10)), ((556, 335, 34, 45), (60, 10)),
                        ((200, 130, 160, 200), (40, 10))):
        printed = dict(line.split(" ", 1) for line in
                       run(example, frame, demo.width, demo.height, *rect, *alarm).splitlines())
        report = json.loads(run(RADIMO, "measure", frame, "--size", demo.size, "--rect", ",".join(map(str, rect)),
                                "--alarm", ",".join(map(str, alarm)), "--json"))
        tool = report["frames"][0]["measurements"][0]
        trimmed = tool["trimmed"]  # the library's rule, as the example measures
        for key in ("max", "min"):
            value, at = printed[key].split()[0], printed[key].split()[-1]
            if (int(value), at) != (trimmed[key]["value"], f"{trimmed[key]['x']},{trimmed[key]['y']}"):
                fail(f"{rect} {key}: example {printed[key]}, radimo {trimmed[key]}")
        if int(printed["avg"].split()[0]) != trimmed["avg"]["value"] or printed["alarm"] != tool["alarm"]:
            fail(f"{rect}: example avg {printed['avg']} alarm {printed['alarm']}, radimo {tool}")


def check_double_point(example, demo, work):
    high, low = "95,9600,12500", "25,7200,6300"
    mine, tools = work / "example_recal", work / "radimo_recal"
    shutil.rmtree(tools, ignore_errors=True)
    mine.mkdir(exist_ok=True)
    printed = run(example, demo.camera, demo.ktbt, high, low, mine)
    told = run(RADIMO, "recal", "double-point", "--camera", demo.camera, "--high", high, "--low", low, "-o", tools)
    for name in ("kt.bin", "bt.bin"):
        if (mine / name).read_bytes() != (tools / name).read_bytes():
            fail(f"{name} differs from the one radimo recal writes")
    readings = [[line.split() for line in text.splitlines() if line.startswith(("high", "low"))]
                for text in (printed, told)]
    if readings[0] != readings[1] or len(readings[0]) != 2:
        fail(f"example:\n{printed}\nradimo:\n{told}")


if __name__ == "__main__":
    name, example, RADIMO, demo_dir, work_dir = sys.argv[1:]
    work = Path(work_dir)
    shutil.rmtree(work, ignore_errors=True)
    work.mkdir(parents=True)
    globals()[f"check_{name}"](example, Demo(Path(demo_dir), work), work)
    print(f"{name}: same results as the radimo tool")
