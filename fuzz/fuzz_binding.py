#!/usr/bin/env python3
"""Fuzzing harness of the Python binding's argument checks.

Drives every public function of the binding with arrays of random lengths, shapes, element types
and layouts (exact lengths most of the time, one off, empty, twice as long, strided and reversed
views, 2-D instead of 1-D), records whose length and count fields disagree with the arrays passed
beside them, and camera and KT/BT objects whose attributes were replaced after they were checked.
Every array is exactly as long as it says: run with the AddressSanitizer runtime preloaded and the
sanitized library (fuzz/run does), a single element read or written past any of them is reported.

A call may return, raise ValueError or TypeError (refused by the binding) or RadimoError (refused
by the library). Any other exception is a finding, and so is a ValueError for arguments that were
all left valid: the checks must not refuse what the library accepts.

    fuzz/fuzz_binding.py [SECONDS] [--seed N]     (default 20 s from seed 1)

Prints the calls made per function; a finding prints the seed and the call and exits 1. The
environment is that of the binding (RADIMO_LIBRARY, PYTHONPATH=python): it drives the binding
Python imports (an installed wheel's), else the one of this checkout.
"""
import argparse
import collections
import os
import sys
import time
import traceback
from pathlib import Path

import numpy as np

# The binding the environment gives (an installed wheel, or PYTHONPATH), else this checkout's.
try:
    import radimo  # noqa: E402
except ModuleNotFoundError as missing:
    if missing.name != "radimo":
        raise
    sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "python"))
    import radimo  # noqa: E402
from radimo import records as R  # noqa: E402

_INTEGER_TYPES = (np.uint16, np.int16, np.int32, np.uint8, np.int64, np.float64, np.float32)


class Case:
    """Random arguments of one call, remembering whether any of them was made invalid."""

    def __init__(self, rng):
        self.rng = rng
        self.perturbed = False
        # The shape of this call's value arrays, so that they broadcast against each other.
        self.shape = (int(rng.integers(1, 40)),) if rng.random() < 0.7 else (int(rng.integers(1, 5)),
                                                                              int(rng.integers(1, 5)))

    def chance(self, p):
        return self.rng.random() < p

    def length(self, good):
        """good most of the time, else a length the call does not expect."""
        if self.chance(0.75):
            return good
        self.perturbed = True
        return int(self.rng.choice([0, 1, max(good - 1, 0), good + 1, 2 * good, int(self.rng.integers(0, 5000))]))

    def array(self, good_length, dtype, low, high):
        """An array meant to hold good_length values of dtype in [low, high]: sometimes another
        length, element type or layout. Its data buffer is exactly as long as its shape."""
        n = self.length(good_length)
        values = self.rng.integers(low, high, size=n, endpoint=True)
        if self.chance(0.1):
            self.perturbed = True
            kind = self.rng.integers(0, 4)
            if kind == 0:  # another element type (converted when its values fit)
                return values.astype(_INTEGER_TYPES[int(self.rng.integers(0, len(_INTEGER_TYPES)))])
            if kind == 1:  # every second element of a buffer twice as long
                wide = np.empty(2 * n, dtype)
                wide[::2] = values
                return wide[::2]
            if kind == 2:  # reversed view: its data pointer is its last element
                return values.astype(dtype)[::-1]
            return values.astype(dtype).reshape(1, n) if n else values.astype(dtype)  # 2-D
        return values.astype(dtype)

    def integer(self, low, high):
        if self.chance(0.05):
            self.perturbed = True
            return int(self.rng.choice([low - 1, high + 1, -2**40, 2**40]))
        return int(self.rng.integers(low, high, endpoint=True))

    def real(self, low, high):
        if self.chance(0.05):
            self.perturbed = True
            return float(self.rng.choice([np.nan, np.inf, -np.inf, 1e39, low - 1.0, high + 1.0]))
        return float(self.rng.uniform(low, high))

    def values(self, low, high, integer=False):
        """Values of the call's shape, or a scalar."""
        shape = self.shape if self.chance(0.7) else ()
        if integer:
            return self.rng.integers(low, high, size=shape, endpoint=True)
        return self.rng.uniform(low, high, size=shape)


class Camera:
    """Valid tables of a plausible camera, built once; each call draws perturbed copies."""

    def __init__(self):
        self.nuc = radimo.generate_nuc_table(-5645, 9300000, 104858)
        x = np.linspace(0.0, 1.0, 1201)
        self.kt = np.round(16384 * (0.95 + 0.1 * x)).astype(np.uint16)
        self.bt = np.round(120 * np.sin(5 * x)).astype(np.int16)
        hum = np.array([0.15, 0.4, 0.6, 0.85])[:, None, None]
        ta = radimo.data_table("temp_table")[None, :, None]
        dist = radimo.data_table("dist_table")[None, None, :]
        self.env_tau = np.round(16384 * np.exp(-np.sqrt(dist) * (0.004 + 0.0002 * hum * (ta + 10)))).astype(
            np.uint16).ravel()
        header = np.zeros(128, dtype=np.uint16)
        header[:4] = (0, 300, 0xFFFF, 0xFFFF)
        temps, dists = radimo.data_table("target_temp_table_v3"), radimo.data_table("dist_table_v3")
        tau = np.exp(-np.sqrt(dists)[None, :] * 0.006 * (1 + 0.05 * np.log(temps / 300.0))[:, None])
        self.correct = np.concatenate([header, np.round(16384 * tau).astype(np.uint16).ravel()])


def table(c, good):
    """A perturbed copy of one of the camera's tables."""
    n = c.length(good.size)
    out = np.resize(good, n) if n else good[:0].copy()
    if c.chance(0.1):
        c.perturbed = True
        return out[::-1] if c.chance(0.5) else out.astype(np.int32)
    return out


def ktbt(c, cam, n=None):
    """A KtBt of the camera's arrays (n, else 1201 or 3601 entries); sometimes its arrays are
    replaced after the constructor checked them."""
    n = n or (3601 if c.chance(0.3) else 1201)
    k = radimo.KtBt(c.integer(-2**15, 2**15 - 1) if c.chance(0.2) else 4096, -500, 999, np.resize(cam.kt, n),
                    np.resize(cam.bt, n))
    if c.chance(0.15):
        c.perturbed = True
        name = "kt" if c.chance(0.5) else "bt"
        replacement = np.resize(cam.kt if name == "kt" else cam.bt, int(c.rng.choice([1201, 3601, 1200, 7])))
        try:
            setattr(k, name, replacement)
        except ValueError:
            pass
        if c.chance(0.5):  # behind the checks: the attribute itself replaced
            object.__setattr__(k, name, replacement[: int(c.rng.integers(0, replacement.size + 1))])
    return k


def scene(c):
    return radimo.Scene(dist=c.rng.uniform(0.3, 900), ems=c.rng.uniform(0.2, 1.0), hum=c.rng.uniform(0, 1),
                        ta=c.rng.uniform(-5, 50), tu=c.rng.uniform(-5, 50))


def frame(c):
    """A height x width frame, or (perturbed) pixels of another count or shape."""
    h, w = int(c.rng.integers(1, 40)), int(c.rng.integers(1, 40))
    pixels = c.array(h * w, np.uint16, 0, 0xFFFF)
    return pixels.reshape(h, w) if pixels.ndim == 1 and pixels.size == h * w else pixels


def kt_param(c, length):
    p = R.multi_point_kt_param_t(mode=int(c.rng.integers(0, 3)), point_num=int(c.rng.integers(0, 20)),
                                 ref_index=int(c.rng.integers(0, 20)), table_len=c.length(length),
                                 ref_position=int(c.rng.integers(0, length)))
    n = p.point_num + 1
    p.H[:n] = sorted(c.rng.integers(9000, 14000, n).tolist(), reverse=True)
    p.L[:n] = sorted(c.rng.integers(2000, 8000, n).tolist(), reverse=True)
    p.fit_x[:n] = sorted(c.rng.integers(0, 1200, n).tolist())
    p.fit_y[:n] = sorted(c.rng.uniform(0, 5, n).tolist())
    return p


def camera_object(c, cam):
    """A radimo.Camera made without a profile directory, its attributes set (and perhaps spoiled)."""
    camera = radimo.Camera.__new__(radimo.Camera)
    camera.path, camera.name, camera.gain, camera.nuc_factor, camera.vtemp = Path("fuzz"), "fuzz", "high", None, 8000
    camera.height, camera.width = int(c.rng.integers(1, 24)), int(c.rng.integers(1, 24))
    if c.chance(0.05):  # beyond what a resolution word holds
        c.perturbed = True
        camera.width = int(c.rng.choice([0, 65536, 65536 + camera.width]))
    camera.ktbt = ktbt(c, cam)
    camera.nuc_table = table(c, cam.nuc)
    camera.correct_table = table(c, cam.correct)
    camera.env_tau = None
    camera.scene = scene(c)
    return camera


def raw_frames(c, camera, stack=True):
    shape = (int(camera.height), int(camera.width))
    if c.chance(0.2):
        c.perturbed = True
        shape = (max(shape[0] + int(c.rng.integers(-1, 2)), 0), shape[1])
    if stack and c.chance(0.3):
        shape = (int(c.rng.integers(1, 4)),) + shape
    return c.rng.integers(5000, 10000, size=shape).astype(np.uint16 if c.chance(0.9) else np.int64)


def calls(cam):
    """(name, function of a Case making and doing one call)."""
    blackbody = lambda c, t: radimo.Blackbody(8000, c.real(t - 2, t + 2), t)  # noqa: E731
    return [
        ("generate_nuc_table", lambda c: radimo.generate_nuc_table(-5645, 9300000, 104858, "high" if c.chance(0.5)
                                                                     else "low")),
        ("nuc_to_celsius", lambda c: radimo.nuc_to_celsius(table(c, cam.nuc if c.chance(0.5) else
                                                                  np.repeat(cam.nuc, 2)), c.values(0, 16383, True))),
        ("celsius_to_nuc", lambda c: radimo.celsius_to_nuc(table(c, cam.nuc), c.values(-20, 140))),
        ("KtBt.correct", lambda c: ktbt(c, cam).correct(c.values(0, 16383, True), c.integer(0, 0xFFFF))),
        ("KtBt.reverse", lambda c: ktbt(c, cam).reverse(c.values(2000, 14000, True), c.integer(0, 0xFFFF))),
        ("KtBt.temperature", lambda c: ktbt(c, cam).temperature(table(c, cam.nuc), c.values(0, 16383, True),
                                                                c.integer(0, 0xFFFF))),
        ("temp_correct", lambda c: grey_body(c, radimo.temp_correct)),
        ("reverse_temp_correct", lambda c: grey_body(c, radimo.reverse_temp_correct)),
        ("enhanced_distance_correct", lambda c: radimo.enhanced_distance_correct(
            c.values(-20, 300), scene(c), table(c, cam.correct), c.integer(0, 2**32 - 1))),
        ("reverse_enhanced_distance_correct", lambda c: radimo.reverse_enhanced_distance_correct(
            c.values(-20, 300), scene(c), table(c, cam.correct))),
        ("read_tau", lambda c: radimo.read_tau(table(c, cam.env_tau), c.values(0, 1), c.values(-5, 50),
                                               c.values(0.25, 50))),
        ("env_factor", lambda c: radimo.env_factor(scene(c), table(c, cam.env_tau), table(c, cam.nuc))),
        ("apply_env_factor", lambda c: radimo.apply_env_factor((c.integer(1, 2**32 - 1), c.integer(-2**31, 2**31 - 1)),
                                                               c.values(0, 16383, True))),
        ("remove_env_factor", lambda c: radimo.remove_env_factor((c.integer(1, 40000), c.integer(-9000, 9000)),
                                                                 c.values(0, 16383, True))),
        ("measure_point", lambda c: radimo.measure_point(frame(c), c.integer(1, 30), c.integer(1, 30))),
        ("measure_line", lambda c: radimo.measure_line(frame(c), (c.integer(0, 30), c.integer(0, 30)),
                                                       (c.integer(0, 30), c.integer(0, 30)))),
        ("measure_rect", lambda c: radimo.measure_rect(frame(c), (c.integer(0, 30), c.integer(0, 30)),
                                                       (c.integer(0, 30), c.integer(0, 30))).alarm(
            c.integer(0, 0xFFFF), c.integer(0, 0xFFFF))),
        ("double_point_recalibration", lambda c: radimo.double_point_recalibration(
            ktbt(c, cam), table(c, cam.nuc), blackbody(c, 80.0), blackbody(c, 20.0),
            **recal_mode(c, cam))),
        ("calibration_point_nuc", lambda c: calibration_point(c, cam)),
        ("new_nuc_table", lambda c: radimo.new_nuc_table(table(c, np.repeat(cam.nuc, 2)), nuc_points(c))),
        ("new_kt_bt", lambda c: new_kt_bt(c, cam)),
        ("Camera.to_celsius", lambda c: camera_call(c, cam, "to_celsius")),
        ("Camera.to_kelvin16", lambda c: camera_call(c, cam, "to_kelvin16")),
        ("Camera.measure_rect", lambda c: camera_call(c, cam, "measure_rect")),
        ("kelvin16_to_celsius", lambda c: radimo.kelvin16_to_celsius(c.values(0, 0xFFFF, True))),
    ]


def recal_mode(c, cam):
    mode = int(c.rng.choice([0, 3, 4, 7, 8, 9]))
    if mode >= 8:
        return {"mode": mode}
    good = cam.env_tau if mode <= 3 else cam.correct
    return {"mode": mode, "scene": scene(c), "correct_table": table(c, good)}


def grey_body(c, function):
    kelvin = c.chance(0.2)
    temps = c.values(253, 573) if kelvin else c.values(-20, 300)
    return function(temps, tau=c.integer(1, 0xFFFF), ems=c.real(0.1, 1), ta=c.real(-5, 50),
                    tu=c.real(-5, 50) if c.chance(0.5) else None, kelvin=kelvin)


def nuc_points(c):
    """Rising (output, setting) pairs; sometimes none, one, or not pairs at all."""
    count = int(c.rng.integers(0, 8))
    c.perturbed |= count < 2
    points = np.sort(c.rng.integers(0, 16384, size=(count, 2)), axis=0)
    if c.chance(0.05):
        c.perturbed = True
        return points.ravel()
    return points.tolist()


def calibration_point(c, cam):
    old = ktbt(c, cam)
    new = ktbt(c, cam, old.kt.size if c.chance(0.9) else 4802 - old.kt.size)
    c.perturbed |= new.kt.size != old.kt.size
    return radimo.calibration_point_nuc(old, new, table(c, cam.nuc), c.real(20, 80), c.real(20, 80),
                                        c.integer(0, 0xFFFF), **recal_mode(c, cam))


def new_kt_bt(c, cam):
    k = ktbt(c, cam)
    try:
        length = k.kt.size
    except AttributeError:
        length = 1201
    param = kt_param(c, length)
    # Point gains and offsets taken from the arrays, so that the rebuild finds them.
    n = param.point_num + 1
    kt = np.asarray(k.kt)
    if kt.size:
        picks = np.sort(c.rng.integers(0, kt.size, n))
        param.K[:n] = kt[picks].tolist()
    return radimo.new_kt_bt(param, k)


def camera_call(c, cam, method):
    camera = camera_object(c, cam)
    raw = raw_frames(c, camera)
    if method == "to_celsius":
        return camera.to_celsius(raw, scene_correct=c.chance(0.5))
    if method == "to_kelvin16":
        return camera.to_kelvin16(raw, vtemp=c.integer(0, 0xFFFF))
    return camera.measure_rect(raw_frames(c, camera, False), (0, 0), (c.integer(1, 30), c.integer(1, 30)))


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("seconds", nargs="?", type=float, default=20.0)
    parser.add_argument("--seed", type=int, default=1)
    args = parser.parse_args()
    cam = Camera()
    table_of_calls = calls(cam)
    counts = collections.Counter()
    outcomes = collections.Counter()
    rng_seed = np.random.SeedSequence(args.seed)
    end = time.monotonic() + args.seconds
    iteration = 0
    # Some library functions print to standard output by definition: keep it off the report.
    report = os.fdopen(os.dup(1), "w")
    os.dup2(os.open(os.devnull, os.O_WRONLY), 1)
    while time.monotonic() < end:
        seed = rng_seed.spawn(1)[0]
        case = Case(np.random.default_rng(seed))
        name, call = table_of_calls[int(case.rng.integers(0, len(table_of_calls)))]
        counts[name] += 1
        iteration += 1
        try:
            call(case)
            outcomes["returned"] += 1
        except radimo.RadimoError:
            outcomes["RadimoError"] += 1
        except (ValueError, TypeError) as refused:
            outcomes["refused"] += 1
            if not case.perturbed and not isinstance(refused, TypeError):
                return finding(args, iteration, name, seed, "valid arguments refused")
        except Exception:  # noqa: BLE001: every other exception is a finding
            return finding(args, iteration, name, seed, "unexpected exception")
    for name, _ in table_of_calls:
        print(f"{name:36s} {counts[name]:8d} calls", file=report)
    print(f"{iteration} calls in {args.seconds:g} s: " + ", ".join(f"{k} {v}" for k, v in sorted(outcomes.items())), file=report)
    return 0


def finding(args, iteration, name, seed, what):
    traceback.print_exc()
    print(f"FINDING: {what} in {name} (call {iteration} of seed {args.seed}, entropy {seed.entropy}, "
          f"spawn key {seed.spawn_key})", file=sys.stderr)
    return 1


if __name__ == "__main__":
    os.environ.setdefault("PYTHONDONTWRITEBYTECODE", "1")
    sys.exit(main())
