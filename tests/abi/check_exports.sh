#!/usr/bin/env bash
# Compares the library's exported dynamic symbols with the documented API.
#   check_exports.sh <library> <symbols dir> <public header> [nm of the library's target]
# The symbols dir holds one list per subsystem, one symbol per line. The lists,
# the exports and the header's RADIMO_API declarations must all agree.
set -euo pipefail
lib=$1 dir=$2 header=$3 nm=${4:-nm}

expected=$(cat "$dir"/*.txt | sed 's/#.*//; s/[[:space:]]//g' | grep -v '^$' | sort)
# Sanitizer builds add their own instrumentation symbols; they are not API.
# clang's sanitizer builds also leave standard-library template instances out
# of line (libstdc++ declares namespace std with default visibility) and emit
# function-type typeinfo for -fsanitize=function; neither is API, and both
# are ignored only in a library linked against a sanitizer runtime.
instrumented='^(_init|_fini|__odr_asan.*|__asan_.*|__ubsan_.*|__sanitizer_.*|__tsan_.*)$'
if "$nm" -D --undefined-only "$lib" | grep -qE ' (__asan_init|__tsan_init|__ubsan_handle_[a-z_]+)$'; then
    instrumented='^(_init|_fini|__odr_asan.*|__asan_.*|__ubsan_.*|__sanitizer_.*|__tsan_.*|_ZSt.*|_ZT[IS]F.*)$'
fi
actual=$("$nm" -D --defined-only "$lib" | awk '{print $3}' | sed 's/@.*//' | grep -vE "$instrumented" | sort -u)

status=0
if [ "$(printf '%s\n' "$expected" | uniq -d)" != "" ]; then
    echo "listed twice:"; printf '%s\n' "$expected" | uniq -d; status=1
fi
missing=$(comm -23 <(printf '%s\n' "$expected" | sort -u) <(printf '%s\n' "$actual"))
extra=$(comm -13 <(printf '%s\n' "$expected" | sort -u) <(printf '%s\n' "$actual"))
[ -z "$missing" ] || { echo "documented but not exported:"; echo "$missing"; status=1; }
[ -z "$extra" ] || { echo "exported but not documented:"; echo "$extra"; status=1; }
# Every RADIMO_API declaration of the header (comments removed, statements
# joined) names one symbol: the identifier before its "(" or "[".
declared=$(sed -e 's|/\*.*\*/||g' -e '/^[[:space:]]*#/d' "$header" | tr '\n' ' ' | tr ';' '\n' | grep 'RADIMO_API' |
           sed -E 's/^.*RADIMO_API//; s/[[(].*$//; s/.*[^A-Za-z0-9_]([A-Za-z_][A-Za-z0-9_]*)[[:space:]]*$/\1/' | sort -u)
undeclared=$(comm -23 <(printf '%s\n' "$expected" | sort -u) <(printf '%s\n' "$declared"))
unlisted=$(comm -13 <(printf '%s\n' "$expected" | sort -u) <(printf '%s\n' "$declared"))
[ -z "$undeclared" ] || { echo "listed but not declared in the header:"; echo "$undeclared"; status=1; }
[ -z "$unlisted" ] || { echo "declared in the header but not listed:"; echo "$unlisted"; status=1; }
[ $status -eq 0 ] && echo "$(printf '%s\n' "$expected" | wc -l) exported symbols match the documented API"
exit $status
