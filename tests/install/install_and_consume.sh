#!/usr/bin/env bash
# Installs the built library into a fresh prefix and builds two C consumers
# against it, one through the CMake package and one through pkg-config, then
# runs both.
# With the radimo tool built (<with cli> = 1), the installed program runs from
# the prefix, finding the installed library through its run path.
# A cross-build passes its toolchain file and its emulator (qemu-user with
# its options, one word), which runs the consumers.
#   install_and_consume.sh <build dir> <this source dir> <work dir> <C compiler> <with cli>
#                          [<toolchain file> <emulator>]
set -euo pipefail
build=$1 here=$2 work=$3 cc=$4 with_cli=$5 toolchain=${6:-} emulator=${7:-}
read -r -a run <<<"$emulator"
cross=()
if [ -n "$toolchain" ]; then
    cross=(--toolchain "$toolchain")
fi

rm -rf "$work"
prefix=$work/prefix
cmake --install "$build" --prefix "$prefix" >/dev/null

# Only the one public header is installed.
headers=$(cd "$prefix/include" && find . -type f)
[ "$headers" = "./libradimo.h" ] || { echo "installed headers: $headers"; exit 1; }

# CMake: find_package(radimo CONFIG) -> radimo::radimo.
# (radimo_DIR names the package directly: a cross toolchain looks for
# packages in the target's tree only.)
cmake -S "$here/cmake_consumer" -B "$work/cmake_consumer" "${cross[@]}" -DCMAKE_C_COMPILER="$cc" \
      -DCMAKE_PREFIX_PATH="$prefix" -Dradimo_DIR="$(dirname "$(find "$prefix" -name radimoConfig.cmake)")" \
      -DCONSUMER_SOURCE="$here/consumer.c" >/dev/null
cmake --build "$work/cmake_consumer" >/dev/null
"${run[@]}" "$work/cmake_consumer/consumer"

# pkg-config: cc $(pkg-config --cflags --libs radimo), with the library
# directory recorded as the run path because the prefix is not a system one.
pc_dir=$(dirname "$(find "$prefix" -name radimo.pc)")
export PKG_CONFIG_PATH=$pc_dir
[ "$(pkg-config --modversion radimo)" = "$(sed -n 's/^Version: //p' "$pc_dir/radimo.pc")" ]
libdir=$(pkg-config --variable=libdir radimo)
# shellcheck disable=SC2046
"$cc" -std=c99 -Wall -Werror -o "$work/pc_consumer" "$here/consumer.c" \
      $(pkg-config --cflags --libs radimo) -lm -Wl,-rpath,"$libdir"
"${run[@]}" "$work/pc_consumer"
# The examples build as their comments say.
for example in measure_rect raw_to_celsius double_point; do
    # shellcheck disable=SC2046
    "$cc" -std=c99 -Wall -Wextra -Werror -o "$work/$example" "$here/../../examples/$example.c" \
          $(pkg-config --cflags --libs radimo) -lm
done

if [ "$with_cli" = 1 ]; then
    version=$(pkg-config --modversion radimo)
    [ "$("${run[@]}" "$prefix/bin/radimo" --version)" = "radimo $version (libradimo V$version)" ]
fi
