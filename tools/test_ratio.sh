#!/usr/bin/env bash
# Lines of test code against lines of code, in a checkout (default: this one).
#   tools/test_ratio.sh [TREE]
# Tests: the code files under tests/; code: the same kinds of files under the
# library, the tool, the binding, the fuzzers, the benchmarks, the tools and
# the examples. Code files: .c .cpp .h .py .sh .cmake and CMakeLists.txt.
set -euo pipefail
cd "${1:-$(dirname "$0")/..}"
lines() {
    git ls-files --cached --others --exclude-standard -- "$@" |
        grep -E '(\.(c|cpp|h|py|sh|cmake)|/CMakeLists\.txt|^CMakeLists\.txt)$' |
        while read -r f; do [ -f "$f" ] && cat "$f"; done | wc -l
}
tests=$(lines tests)
code=$(lines include src cli python fuzz bench tools examples)
echo "tests $tests lines, code $code lines: tests are $((1000 * tests / code / 10)).$((1000 * tests / code % 10))% of the code"
