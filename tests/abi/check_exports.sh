#!/usr/bin/env bash
# The library's exports are exactly the header's API, each under the version node.
#   check_exports.sh <library> <version script> <public header> [nm]
# The global names of the version script, the RADIMO_API declarations of the
# header and the library's defined dynamic symbols must be the same set, every
# export carrying the script's version node as its default version.
set -euo pipefail
lib=$1 script=$2 header=$3 nm=${4:-nm}

node=$(sed -n 's/^\([A-Z0-9_]*\) {$/\1/p' "$script")
# The names between "global:" and "local:", comments removed.
listed=$(sed -e 's|/\*.*\*/||g' -e '/\/\*/,/\*\//d' "$script" | sed -n '/global:/,/local:/p' |
         grep -oE '^[[:space:]]*[A-Za-z_][A-Za-z0-9_]*;' | tr -d ' ;' | sort)
# Every RADIMO_API declaration of the header (comments removed, statements
# joined) names one symbol: the identifier before its "(" or "[".
declared=$(sed -e 's|/\*.*\*/||g' -e '/^[[:space:]]*#/d' "$header" | tr '\n' ' ' | tr ';' '\n' | grep 'RADIMO_API' |
           sed -E 's/^.*RADIMO_API//; s/[[(].*$//; s/.*[^A-Za-z0-9_]([A-Za-z_][A-Za-z0-9_]*)[[:space:]]*$/\1/' | sort)
# Sanitizer builds export their instrumentation hooks; they are not API.
exported=$("$nm" -D --defined-only "$lib" | awk '{print $3}' | grep -vE "^(${node}|_init|_fini|__(odr_)?asan.*|__ubsan_.*|__sanitizer_.*|__tsan_.*)(@|$)" | sort)

status=0
report() { [ -z "$2" ] || { echo "$1:"; echo "$2"; status=1; }; }
report "listed twice in $script" "$(uniq -d <<<"$listed")"
report "declared in the header, not listed" "$(comm -13 <(echo "$listed") <(echo "$declared"))"
report "listed, not declared in the header" "$(comm -23 <(echo "$listed") <(echo "$declared"))"
report "listed, not exported" "$(comm -23 <(echo "$listed") <(sed 's/@.*//' <<<"$exported" | sort -u))"
report "exported, not listed" "$(comm -13 <(echo "$listed") <(sed 's/@.*//' <<<"$exported" | sort -u))"
report "exported without the default version $node" "$(grep -v "@@${node}$" <<<"$exported" || true)"
[ $status -eq 0 ] && echo "$(wc -l <<<"$listed") exports match the header, version $node"
exit $status
