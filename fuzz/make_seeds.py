#!/usr/bin/env python3
"""Writes the committed seed corpora of the fuzzing harnesses.

Each harness reads its input as a stream of choices (fuzz_input.h): a
plausible value most of the time, an extreme one otherwise. Random byte
strings of varied lengths therefore already make plausible calls; the
seeds add the two uniform extremes (all zero bytes, all 0xFF bytes) so
that every harness starts from its first and last choices as well.

    fuzz/make_seeds.py [corpus dir]   (default: fuzz/corpus next to this file)

The output is deterministic; rerun it after adding a harness.
"""
import pathlib
import random
import sys

HARNESSES = ["frame", "nuc", "ktbt", "radiometry", "atmosphere", "recalibration", "rebuild"]
LENGTHS = [8, 24, 64, 160, 400, 1024, 2048]
PER_LENGTH = 2


def seeds(name):
    rng = random.Random(f"libradimo-{name}")
    yield "zeros", bytes(256)
    yield "ones", b"\xff" * 256
    for length in LENGTHS:
        for k in range(PER_LENGTH):
            yield f"random_{length}_{k}", bytes(rng.getrandbits(8) for _ in range(length))


def main():
    root = pathlib.Path(sys.argv[1]) if len(sys.argv) > 1 else pathlib.Path(__file__).parent / "corpus"
    for name in HARNESSES:
        directory = root / name
        directory.mkdir(parents=True, exist_ok=True)
        for old in directory.iterdir():
            old.unlink()
        for label, data in seeds(name):
            (directory / label).write_bytes(data)


if __name__ == "__main__":
    main()
