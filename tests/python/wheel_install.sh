#!/usr/bin/env bash
# Builds the radimo wheel (target python_wheel), installs it into a fresh virtual environment that
# sees Debian's NumPy and pytest (--system-site-packages; no package index is used, the NumPy the
# wheel requires is the one installed) and runs the binding's tests there from outside the
# checkout, with neither PYTHONPATH nor RADIMO_LIBRARY: the package imported is the installed one
# and the library it loads is the copy inside it.
#   wheel_install.sh <build dir> <wheel dir> <work dir> <python> <python tests dir>
set -euo pipefail
build=$1 wheels=$2 work=$3 python=$4 tests=$5
fail() {
    echo "wheel_install: $*" >&2
    exit 1
}
unset PYTHONPATH RADIMO_LIBRARY

cmake --build "$build" --target python_wheel >/dev/null
wheel=$(find "$wheels" -name 'radimo-*.whl')
[ "$(wc -l <<<"$wheel")" = 1 ] || fail "wheels: $wheel"
# Tagged for any Python 3 on this machine's platform, never "any".
platform=$("$python" -c 'import sysconfig; print(sysconfig.get_platform().replace("-", "_").replace(".", "_"))')
[[ "$(basename "$wheel")" == *-py3-none-"$platform".whl ]] || fail "$(basename "$wheel") is not tagged py3-none-$platform"
# Every file of the source package, and the library, are in the wheel.
modules=$(cd "$tests/../../python" && find radimo -type f ! -path '*/__pycache__/*' | sort)
"$python" - "$wheel" "$modules" <<'EOF' || fail "wheel contents"
import sys, zipfile
names = set(zipfile.ZipFile(sys.argv[1]).namelist())
missing = [m for m in sys.argv[2].split() + ["radimo/libradimo.so.2"] if m not in names]
sys.exit(f"missing from the wheel: {missing}" if missing else 0)
EOF

rm -rf "$work"
mkdir -p "$work"
cd "$work"
# Debian's pip (python3-pip, seen through the system site packages) installs into the environment;
# the environment's own copy of pip would only cost the time ensurepip takes to install it.
"$python" -m venv --system-site-packages --without-pip venv
venv/bin/python -m pip install --no-index --no-cache-dir --disable-pip-version-check --quiet "$wheel"
site=$(venv/bin/python -c 'import sysconfig; print(sysconfig.get_path("platlib"))')
loaded=$(venv/bin/python -c 'import radimo; print(radimo.__file__); print(radimo._lib.lib._name)')
[ "$loaded" = "$(printf '%s\n' "$site/radimo/__init__.py" "$site/radimo/libradimo.so.2")" ] ||
    fail "imported from the wrong place: $loaded"
venv/bin/python -m pytest -q -p no:cacheprovider "$tests"
