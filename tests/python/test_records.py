"""The ctypes records have the C layout: a C program prints sizeof/offsetof of every record."""
import ctypes
import os
import re
import shlex
import subprocess
from pathlib import Path

from radimo import records

INCLUDE = Path(os.environ.get("RADIMO_INCLUDE", Path(__file__).resolve().parents[2] / "include"))


def python_layout():
    lines = []
    for name, cls in records.RECORDS.items():
        lines.append(f"{name} {ctypes.sizeof(cls)}")
        lines += [f"{name}.{field} {getattr(cls, field).offset}" for field, _ in cls._fields_]
    return lines


def test_every_header_record_is_mirrored():
    header = (INCLUDE / "libradimo.h").read_text()
    assert set(re.findall(r"typedef struct (\w+)", header)) == set(records.RECORDS)


def test_layout_matches_the_compiler(tmp_path):
    body = []
    for name, cls in records.RECORDS.items():
        body.append(f'printf("{name} %zu\\n", sizeof({name}));')
        body += [f'printf("{name}.{f} %zu\\n", offsetof({name}, {f}));' for f, _ in cls._fields_]
    source = tmp_path / "layout.c"
    source.write_text("#include <stddef.h>\n#include <stdio.h>\n#include \"libradimo.h\"\n"
                      "int main(void) {\n" + "\n".join(body) + "\nreturn 0;\n}\n")
    program = tmp_path / "layout"
    subprocess.run([os.environ.get("CC", "cc"), "-std=c99", f"-I{INCLUDE}", str(source), "-o", str(program)],
                   check=True)
    # A cross-build's program runs under its emulator (RADIMO_EMULATOR, qemu-user and its options).
    run = [*shlex.split(os.environ.get("RADIMO_EMULATOR", "")), str(program)]
    assert subprocess.run(run, check=True, capture_output=True, text=True).stdout.split("\n")[:-1] \
        == python_layout()
