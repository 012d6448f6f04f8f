#!/usr/bin/env python3
"""Writes the committed seed corpora of the fuzzing harnesses.

Each library harness reads its input as a stream of choices
(fuzz_input.h): a plausible value most of the time, an extreme one
otherwise. Random byte strings of varied lengths therefore already make
plausible calls; the seeds add the two uniform extremes (all zero bytes,
all 0xFF bytes) so that every harness starts from its first and last
choices as well.

The command-line tool's harnesses read files: their seeds are small valid
frame files of each format (TIFF of 16-bit and float32 pages, PNG, PGM,
raw) and camera profiles followed by the choices of their table files; the
viewer's are HTTP requests of its page.

    fuzz/make_seeds.py [corpus dir]   (default: fuzz/corpus next to this file)

The output is deterministic; rerun it after adding a harness.
"""
import json
import pathlib
import random
import struct
import sys
import zlib

# The library harnesses of harnesses.txt, beside this file.
HARNESSES = [line.split()[0] for line in (pathlib.Path(__file__).parent / "harnesses.txt").read_text().splitlines()
             if line.strip() and not line.startswith("#") and line.split()[1] == "library"]
LENGTHS = [8, 24, 64, 160, 400, 1024, 2048]
PER_LENGTH = 2


def seeds(name):
    rng = random.Random(f"libradimo-{name}")
    yield "zeros", bytes(256)
    yield "ones", b"\xff" * 256
    for length in LENGTHS:
        for k in range(PER_LENGTH):
            yield f"random_{length}_{k}", bytes(rng.getrandbits(8) for _ in range(length))


def metadata(unit, vtemp=None):
    text = {"radimo_frame": 1, "unit": unit}
    if vtemp is not None:
        text["vtemp"] = vtemp
    return json.dumps(text, separators=(",", ":"))


def samples(width, height, seed):
    return [(seed * 977 + i * 131) % 65536 for i in range(width * height)]


def tiff(pages):
    """Little-endian strip TIFF; pages are (width, height, float32?, description)."""
    out = bytearray(b"II*\0\0\0\0\0")
    link = 4  # where the offset of the next directory goes
    for k, (width, height, f32, description) in enumerate(pages):
        if f32:
            data = struct.pack(f"<{width * height}f", *[20.0 + 0.25 * i for i in range(width * height)])
        else:
            data = struct.pack(f"<{width * height}H", *samples(width, height, k))
        text = description.encode() + b"\0"
        data_at = len(out)
        out += data
        text_at = len(out)
        out += text
        if len(out) % 2:
            out += b"\0"
        bits = 32 if f32 else 16
        entries = [(256, 4, width), (257, 4, height), (258, 3, bits), (259, 3, 1), (262, 3, 1),
                   (270, 2, len(text), text_at), (273, 4, data_at), (277, 3, 1), (278, 4, height),
                   (279, 4, len(data)), (284, 3, 1), (339, 3, 3 if f32 else 1)]
        directory = len(out)
        struct.pack_into("<I", out, link, directory)
        out += struct.pack("<H", len(entries))
        for entry in entries:
            tag, kind, value = entry[0], entry[1], entry[2]
            if tag == 270:
                out += struct.pack("<HHII", tag, kind, value, entry[3])
            elif kind == 3:
                out += struct.pack("<HHIHH", tag, kind, 1, value, 0)
            else:
                out += struct.pack("<HHII", tag, kind, 1, value)
        link = len(out)
        out += b"\0\0\0\0"
    return bytes(out)


def png(width, height, description):
    def chunk(kind, body):
        return struct.pack(">I", len(body)) + kind + body + struct.pack(">I", zlib.crc32(kind + body))
    values = samples(width, height, 3)
    rows = b"".join(b"\0" + struct.pack(f">{width}H", *values[y * width:(y + 1) * width]) for y in range(height))
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 16, 0, 0, 0, 0)) +
            chunk(b"tEXt", b"radimo\0" + description.encode()) + chunk(b"IDAT", zlib.compress(rows)) +
            chunk(b"IEND", b""))


def pgm(images):
    out = b""
    for k, (width, height, description) in enumerate(images):
        out += f"P5\n# radimo {description}\n{width} {height}\n65535\n".encode()
        out += struct.pack(f">{width * height}H", *samples(width, height, k))
    return out


def shared_strips(width, height):
    """A page whose strips (one row each) all point at one row: a small file claiming a large page."""
    row = struct.pack(f"<{width}H", *samples(width, 1, 0))
    offsets, counts = 8 + len(row), 8 + len(row) + 4 * height
    out = bytearray(b"II*\0") + struct.pack("<I", counts + 4 * height) + row
    out += struct.pack(f"<{height}I", *([8] * height)) + struct.pack(f"<{height}I", *([len(row)] * height))
    entries = [(256, 4, 1, width), (257, 4, 1, height), (258, 3, 1, 16), (259, 3, 1, 1), (262, 3, 1, 1),
               (273, 4, height, offsets), (277, 3, 1, 1), (278, 4, 1, 1), (279, 4, height, counts)]
    out += struct.pack("<H", len(entries))
    for tag, kind, count, value in entries:
        out += struct.pack("<HHII", tag, kind, count, value)
    return bytes(out + b"\0\0\0\0")


def frame_files():
    yield "tiff_u16", tiff([(5, 3, False, metadata("nuc", 16000))])
    two_pages = tiff([(4, 2, False, metadata("nuc", 7200)), (4, 2, False, metadata("nuc", 9600))])
    yield "tiff_pages", tiff([(4, 2, False, metadata("kelvin16")), (4, 2, False, metadata("kelvin16")),
                              (3, 3, True, metadata("celsius"))])
    # Cut short: the last page's description, or everything after the first page.
    yield "tiff_pages_cut", two_pages[:-9]
    first = struct.unpack_from("<I", two_pages, 4)[0]
    yield "tiff_pages_cut_after_first", two_pages[:first + 2 + 12 * struct.unpack_from("<H", two_pages, first)[0] + 4]
    yield "tiff_shared_strips", shared_strips(64, 2048)
    # Recipes of multi-page TIFF files written with libtiff, then forged (see the harness).
    rng = random.Random("libradimo-cli_frames")
    for k in range(6):
        yield f"recipe_{k}", b"G" + bytes(rng.getrandbits(8) for _ in range(64 + 96 * k))
    yield "tiff_float", tiff([(3, 2, True, "")])
    yield "png", png(5, 4, metadata("centikelvin", 15800))
    yield "pgm", pgm([(4, 3, metadata("nuc", 16100)), (4, 3, metadata("nuc"))])
    yield "raw", bytes(range(30))  # 15 frames of 1x1 in the harness


def profile(correct_format=None, ems=None, long_ktbt=False):
    p = {"format_version": 1, "name": "fuzz camera", "resolution": {"width": 32, "height": 24},
         "gain": "high", "nuc_factor": {"c0": -5645, "c1": 9300000, "c2": 104858}, "vtemp": 6000,
         "ktbt": {"K_Temp": 4096, "B_Temp": -500, "Address_CA": 999, "entries": 3601 if long_ktbt else 1201,
                  "kt_file": "kt.bin", "bt_file": "bt.bin"},
         "nuc_table": {"file": "nuc_table.bin", "entries": 8192}}
    if correct_format is not None:
        p["correct_table"] = {"file": "correct_table.bin", "words": 4088, "format": correct_format}
        if ems is not None:
            p["correct_table"]["ems_correction"] = {"enable": True, "version": ems}
        p["env_tau_table"] = {"file": "env_tau.bin", "entries": 3584}
    p["scene"] = {"emissivity": 0.95, "distance_m": 2.0, "humidity": 0.5, "ambient_c": 23.0, "reflected_c": 23.0}
    return json.dumps(p, indent=1).encode()


def deep(levels):
    return b'{"format_version": 1, "x": ' + b"[" * levels + b"]" * levels + b"}"


def profiles():
    # The profile text, its end, then (read from the back of the input) the
    # choices: KT/BT length, one per table file (7 = valid) and the layout
    # of the correction table, no --set overrides, a vtemp.
    for label, text, long_ktbt in [("plain", profile(), 0), ("correction", profile(0, 2, True), 1),
                                   ("correction_v3", profile(300), 0)]:
        choices = bytes([0x40, 0x17, 0x00, 7, 0 if label == "plain" else 7, 2, 7, 7, 7, long_ktbt])
        yield label, text + b"\\\n" + choices
    valid = bytes([0x40, 0x17, 0x00, 7, 7, 2, 7, 7, 7, 0])
    yield "deep", deep(40) + b"\\\n" + valid
    yield "duplicate_key", profile().replace(b'"vtemp": 6000,', b'"vtemp": 6000, "vtemp": 9600,') + b"\\\n" + valid
    yield "huge_integer", profile().replace(b'"K_Temp": 4096', b'"K_Temp": 18446744073709551611') + b"\\\n" + valid


TOKEN = "0123456789abcdef0123456789abcdef"  # fuzz_view.cpp's


def view_requests():
    """HTTP requests of the viewer's page (fuzz_view.cpp serves them on 127.0.0.1:8080)."""
    def get(target, extra=""):
        sep = "&" if "?" in target else "?"
        return (f"GET {target}{sep}token={TOKEN} HTTP/1.1\r\nHost: 127.0.0.1:8080\r\n{extra}\r\n").encode()
    def post(target, body):
        return (f"POST {target}?token={TOKEN} HTTP/1.1\r\nHost: 127.0.0.1:8080\r\n"
                f"Content-Type: application/json\r\nContent-Length: {len(body)}\r\n\r\n{body}").encode()
    yield "page", get("/")
    yield "script", get("/viewer.js")
    yield "info", get("/api/info")
    yield "frame_tools", get("/api/frame?index=1&point=3,4&line=0,0,23,15&rect=2,2,8,6")
    yield "frame_next", get("/api/frame?after=0&wait=1")
    yield "measure_csv", get("/api/measure?index=0&rect=0,0,24,16&format=csv&download=1")
    yield "picture", get("/api/picture.png?index=0&palette=lava&range=10,40&isotherm=20,30&point=5,5&bar=0")
    yield "scene", post("/api/scene", '{"scene_correct": true, "emissivity": 0.9, "distance_m": 3}')
    yield "scene_back", post("/api/scene", '{"scene_correct": false}')
    yield "no_token", b"GET /api/info HTTP/1.1\r\nHost: 127.0.0.1:8080\r\n\r\n"
    yield "foreign_host", get("/api/info").replace(b"127.0.0.1:8080", b"attacker.example:8080")
    yield "two_requests", get("/api/scene", "Connection: keep-alive\r\n") + get("/api/frame?index=0")
    yield "header_token", b"GET /api/measure?index=1&point=1,1 HTTP/1.1\r\nHost: localhost:8080\r\n" + \
        f"X-Radimo-Token: {TOKEN}\r\n\r\n".encode()


def main():
    root = pathlib.Path(sys.argv[1]) if len(sys.argv) > 1 else pathlib.Path(__file__).parent / "corpus"
    for name in HARNESSES:
        directory = root / name
        directory.mkdir(parents=True, exist_ok=True)
        for old in directory.iterdir():
            old.unlink()
        for label, data in seeds(name):
            (directory / label).write_bytes(data)
    # The tool's corpora also keep reproducers of earlier findings: written over, never emptied.
    for name, generate in [("cli_frames", frame_files), ("cli_profile", profiles), ("view", view_requests)]:
        directory = root / name
        directory.mkdir(parents=True, exist_ok=True)
        for label, data in generate():
            (directory / label).write_bytes(data)


if __name__ == "__main__":
    main()
