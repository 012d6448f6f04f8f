#!/usr/bin/env python3
"""Injects the faults of faults.txt one at a time into a configured build tree's sources, rebuilds,
runs the tests and prints which tests caught each fault, as a Markdown table.

    tools/fault_injection/inject.py BUILD_DIR [--all] [--no-clean] [--only ID ...] [--targets T ...]
                                    [--ctest ARG ...]

The sources are those BUILD_DIR was configured from; every file is restored after its fault (also
on Ctrl-C). A clean run comes first (--no-clean skips it when the suite has just passed): a test
failing without any fault makes the table meaningless.
Slow groups (valgrind, packages, the wheel) are left out unless --ctest says otherwise. The tests run
in the order they are declared (the library's first) and stop at the first failure, which is named;
--all runs every test and names all that fail. --targets builds only the targets named (for example
radimo radimo_tests radimo_cli radimo_cli_tests, which every fault of the list reaches) instead of
everything; a test whose program is left unbuilt then runs the old one.
"""
import argparse
import pathlib
import re
import subprocess
import sys

HERE = pathlib.Path(__file__).resolve().parent
DEFAULT_CTEST = ["-LE", "memcheck|package|wheel"]


def read_faults(path):
    """[(id, description, file, old, new)] from the faults file."""
    faults, lines, i = [], path.read_text().splitlines(), 0
    while i < len(lines):
        line = lines[i]
        if not line.startswith("@ "):
            i += 1
            continue
        ident, _, description = line[2:].partition(" ")
        file, i = lines[i + 1].strip(), i + 2
        assert lines[i] == "<<<", f"{ident}: <<< expected"
        end_old = lines.index("===", i)
        end_new = lines.index(">>>", end_old)
        old = "\n".join(lines[i + 1:end_old]) + "\n"
        new = "\n".join(lines[end_old + 1:end_new]) + ("\n" if end_new > end_old + 1 else "")
        faults.append((ident, description, file, old, new))
        i = end_new + 1
    return faults


def source_dir(build):
    cache = (build / "CMakeCache.txt").read_text()
    return pathlib.Path(re.search(r"^CMAKE_HOME_DIRECTORY:INTERNAL=(.*)$", cache, re.M).group(1))


def build_and_test(build, ctest_args, run_all, targets):
    """None when the build fails, else the names of the failed tests."""
    if subprocess.run(["cmake", "--build", str(build), "-j2", *targets], stdout=subprocess.DEVNULL).returncode:
        return None
    temporary = build / "Testing" / "Temporary"
    failed_log = temporary / "LastTestsFailed.log"
    failed_log.unlink(missing_ok=True)
    (temporary / "CTestCostData.txt").unlink(missing_ok=True)  # without it, tests start in declared order
    stop = [] if run_all else ["--stop-on-failure"]
    subprocess.run(["ctest", "--test-dir", str(build), "-j2", "--timeout", "900", *stop, *ctest_args],
                   stdout=subprocess.DEVNULL)
    if not failed_log.exists():
        return []
    return [line.split(":", 1)[1] for line in failed_log.read_text().splitlines() if ":" in line]


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("build", type=pathlib.Path)
    parser.add_argument("--all", action="store_true", help="run every test, not only up to the first failure")
    parser.add_argument("--no-clean", action="store_true", help="skip the run without a fault")
    parser.add_argument("--only", nargs="+", default=None, help="fault ids to inject")
    parser.add_argument("--targets", nargs="+", default=[], help="build only these targets")
    parser.add_argument("--ctest", nargs=argparse.REMAINDER, default=DEFAULT_CTEST, help="arguments for ctest")
    args = parser.parse_args()
    build = args.build.resolve()
    source = source_dir(build)
    targets = ["--target", *args.targets] if args.targets else []
    faults = [f for f in read_faults(HERE / "faults.txt") if args.only is None or f[0] in args.only]

    for ident, _, file, old, _ in faults:
        count = (source / file).read_text().count(old)
        if count != 1:
            sys.exit(f"{ident}: the text to replace occurs {count} times in {file}")
    clean = [] if args.no_clean else build_and_test(build, args.ctest, True, targets)
    if clean != []:
        sys.exit(f"without a fault: {'the build fails' if clean is None else 'failed ' + ', '.join(clean)}")

    print("| fault | what it does | caught by |")
    print("|---|---|---|")
    for ident, description, file, old, new in faults:
        path = source / file
        original = path.read_text()
        try:
            path.write_text(original.replace(old, new))
            failed = build_and_test(build, args.ctest, args.all, targets)
        finally:
            path.write_text(original)
        if failed is None:
            verdict = "build fails"
        elif not failed:
            verdict = "**not caught**"
        elif not args.all:
            verdict = f"`{failed[0]}`"
        else:
            shown = ", ".join(f"`{name}`" for name in failed[:3])
            verdict = f"{len(failed)}: {shown}" + (", ..." if len(failed) > 3 else "")
        print(f"| {ident} | {description} | {verdict} |", flush=True)
    subprocess.run(["cmake", "--build", str(build), "-j2", *targets], stdout=subprocess.DEVNULL)


if __name__ == "__main__":
    main()
