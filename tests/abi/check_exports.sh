#!/usr/bin/env bash
# Compares the library's exported dynamic symbols with the documented API.
#   check_exports.sh <library> <symbols dir> <public header>
# The symbols dir holds one list per subsystem, one symbol per line.
# Every listed symbol must also be declared in the public header.
set -euo pipefail
lib=$1 dir=$2 header=$3

expected=$(cat "$dir"/*.txt | sed 's/#.*//; s/[[:space:]]//g' | grep -v '^$' | sort)
# Sanitizer builds add their own instrumentation symbols; they are not API.
actual=$(nm -D --defined-only "$lib" | awk '{print $3}' | sed 's/@.*//' |
         grep -vE '^(_init|_fini|__odr_asan.*|__asan_.*|__ubsan_.*|__sanitizer_.*)$' | sort -u)

status=0
if [ "$(printf '%s\n' "$expected" | uniq -d)" != "" ]; then
    echo "listed twice:"; printf '%s\n' "$expected" | uniq -d; status=1
fi
missing=$(comm -23 <(printf '%s\n' "$expected" | sort -u) <(printf '%s\n' "$actual"))
extra=$(comm -13 <(printf '%s\n' "$expected" | sort -u) <(printf '%s\n' "$actual"))
[ -z "$missing" ] || { echo "documented but not exported:"; echo "$missing"; status=1; }
[ -z "$extra" ] || { echo "exported but not documented:"; echo "$extra"; status=1; }
for sym in $expected; do
    grep -qw -- "$sym" "$header" || { echo "listed but not declared in the header: $sym"; status=1; }
done
[ $status -eq 0 ] && echo "$(printf '%s\n' "$expected" | wc -l) exported symbols match the documented API"
exit $status
