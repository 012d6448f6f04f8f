"""Wheel build of the radimo package with libradimo.so bundled inside it (python/CMakeLists.txt
stages the package and runs `python3 -m build --wheel --no-isolation` here; metadata in
pyproject.toml).

The package is pure Python over ctypes, so it runs on any Python 3, but the library it carries
is machine code: the wheel is tagged py3-none-<platform>, the platform read from the bundled
library's ELF header so that a cross-built library gets its own platform, not the building
machine's.
"""
import struct
from pathlib import Path

from setuptools import Distribution, find_packages, setup
from wheel.bdist_wheel import bdist_wheel

# ELF e_machine -> the platform tag pip expects on that machine (64-bit x86 and ARM, 32-bit
# hard-float ARM, RISC-V, 32-bit x86, little-endian POWER, s390x).
_PLATFORMS = {62: "linux_x86_64", 183: "linux_aarch64", 40: "linux_armv7l", 243: "linux_riscv64",
              3: "linux_i686", 21: "linux_ppc64le", 22: "linux_s390x"}


def library_platform():
    found = sorted(Path(__file__).parent.glob("radimo/libradimo.so.*"))
    if len(found) != 1:
        raise SystemExit(f"radimo/ must hold exactly one bundled libradimo.so.<N>, found {found}")
    header = found[0].read_bytes()[:20]
    if header[:4] != b"\x7fELF":
        raise SystemExit(f"{found[0]} is not an ELF file")
    machine = struct.unpack("<H" if header[5] == 1 else ">H", header[18:20])[0]
    if machine not in _PLATFORMS:
        raise SystemExit(f"{found[0]}: no wheel platform known for ELF machine {machine}")
    return _PLATFORMS[machine]


class PlatformDistribution(Distribution):
    """Machine code inside: the package installs into platlib and the wheel is not pure."""

    def has_ext_modules(self):
        return True


class PlatformWheel(bdist_wheel):
    def get_tag(self):
        return "py3", "none", library_platform()


# Everything staged under radimo/ goes in: every module and subpackage, every data file, and the
# library the binding loads first (radimo/_lib.py).
setup(distclass=PlatformDistribution, cmdclass={"bdist_wheel": PlatformWheel},
      packages=find_packages(include=["radimo", "radimo.*"]), package_data={"": ["*"]})
