#!/usr/bin/env bash
# Builds the Debian packages the way README says, then checks them as their user would meet them:
#   - one package per component, each with its control fields (version, architecture,
#     maintainer, section, dependencies) and only its own files, all under /usr, owned by root;
#     natively, apt could install them here (simulated);
#   - the library registered for dpkg-shlibdeps (shlibs) and ldconfig triggered on install;
#   - ELF files for the compiler's machine, stripped, with their debug info in the -dbgsym
#     packages under their build id, no run path, and no packaged file naming the source or
#     build directory;
#   - extracted into a temporary root (dpkg -x), a C consumer builds against that root through
#     pkg-config and through the CMake package and runs (under the emulator in a cross build),
#     and the extracted radimo answers --version.
# Natively the library and the tool are packaged from <tree>, which this script configures with
# the package preset (build-package/, beside the default tree build/, so that ccache finds the
# objects that tree has compiled already); a cross build (a toolchain file and the emulator that
# runs the target's programs) packages the library alone from the cross tree <tree> as its tests
# left it, configured for the prefix /usr (tests/cross/run).
#   debian_packages.sh <source dir> <tree> <work dir> <version> <C compiler> <C++ compiler>
#                      [<toolchain file> <emulator command...>]
set -euo pipefail
src=$1 build=$2 work=$3 version=$4 cc=$5 cxx=$6
toolchain=${7:-}
emulator=("${@:8}")
major=${version%%.*}
triplet=$("$cc" -dumpmachine)
arch=$(dpkg-architecture -t"$triplet" -qDEB_HOST_ARCH 2>/dev/null)
fail() {
    echo "debian_packages: $*" >&2
    exit 1
}

# The package tree is kept between runs (an incremental build); its packages are not.
rm -rf "$build/packages" "$work/control" "$work/root" "$work/debug" "$work/cmake_consumer"
quiet() { "$@" >"$work/output" 2>&1 || { cat "$work/output"; fail "failed: $*"; }; }
mkdir -p "$work"
if [ -n "$toolchain" ]; then
    grep -qx 'CMAKE_INSTALL_PREFIX:PATH=/usr' "$build/CMakeCache.txt" 2>/dev/null ||
        fail "$build: not a tree configured for the prefix /usr"
    find_package=(--toolchain "$toolchain")
else
    # RADIMO_WERROR from the environment: the default tree's setting, so that both compile alike.
    (cd "$src" && quiet cmake --preset package -B "$build" -DCMAKE_C_COMPILER="$cc" -DCMAKE_CXX_COMPILER="$cxx" \
        -DRADIMO_WERROR="${RADIMO_WERROR:-OFF}")
    find_package=(-DCMAKE_C_COMPILER="$cc")
fi
quiet cmake --build "$build" -j2
(cd "$build" && quiet cpack --config CPackConfig.cmake)
debs=$build/packages
runtime=libradimo$major
packages=("$runtime" libradimo-dev)
[ -n "$toolchain" ] || packages+=(radimo-tools)

# The packages and their debug-info companions, by Debian's file names.
expected=$(for package in "${packages[@]}"; do
    echo "${package}_${version}_$arch.deb"
    [ "$package" = libradimo-dev ] || echo "${package}-dbgsym_${version}_$arch.ddeb"
done | sort)
built=$(cd "$debs" && printf "%s\n" *.deb *.ddeb | sort)
[ "$built" = "$expected" ] || fail "packages: $built"

deb() { echo "$debs/$1_${version}_$arch.deb"; }
field() { dpkg-deb --field "$(deb "$1")" "$2"; }
declare -A section=(["$runtime"]=libs [libradimo-dev]=libdevel [radimo-tools]=science)
for package in "${packages[@]}"; do
    [ "$(field "$package" Package)" = "$package" ] || fail "$package: Package field"
    [ "$(field "$package" Version)" = "$version" ] || fail "$package: Version $(field "$package" Version)"
    [ "$(field "$package" Architecture)" = "$arch" ] || fail "$package: Architecture"
    [ "$(field "$package" Section)" = "${section[$package]}" ] || fail "$package: Section"
    [[ "$(field "$package" Maintainer)" =~ ^[^\<]+\ \<[^@]+@[^\>]+\>$ ]] || fail "$package: Maintainer"
    [[ "$(field "$package" Description)" == *libradimo* ]] || fail "$package: Description"
    # Every packaged file under /usr, owned by root.
    contents=$(dpkg-deb --contents "$(deb "$package")")
    awk '$2 != "root/root" || ($6 != "./" && $6 !~ /^\.\/usr\//) { bad = 1 } END { exit bad }' <<<"$contents" ||
        fail "$package: files outside /usr or not owned by root: $contents"
done

# Each file in the package its user looks for it in (directories left out).
files() { dpkg-deb --contents "$(deb "$1")" | awk '$1 !~ /^d/ { print $6 $7 $8 }' | sort | tr '\n' ' '; }
lib=./usr/lib/$triplet
doc=./usr/share/doc
[ "$(files "$runtime")" = "$lib/libradimo.so.$major->libradimo.so.$version $lib/libradimo.so.$version \
$doc/$runtime/changelog.gz $doc/$runtime/copyright " ] || fail "$runtime files: $(files "$runtime")"
[ "$(files libradimo-dev)" = "./usr/include/libradimo.h $lib/cmake/radimo/radimoConfig.cmake \
$lib/cmake/radimo/radimoConfigVersion.cmake $lib/cmake/radimo/radimoTargets-relwithdebinfo.cmake \
$lib/cmake/radimo/radimoTargets.cmake $lib/libradimo.so->libradimo.so.$major $lib/pkgconfig/radimo.pc \
$doc/libradimo-dev/changelog.gz $doc/libradimo-dev/copyright " ] || fail "libradimo-dev files: $(files libradimo-dev)"

# Dependencies: the system libraries found by dpkg-shlibdeps (named with their architecture
# in a cross build), the library at this exact version for the development files and the tool,
# the font the tool draws with.
depends() { field "$1" Depends | tr ',' '\n' | sed 's/^ *//' | sort | tr '\n' ';'; }
[[ "$(depends "$runtime")" =~ libc6(:$arch)?\ \(\>=.*libstdc\+\+6(:$arch)? ]] ||
    fail "$runtime depends: $(depends "$runtime")"
[ "$(depends libradimo-dev)" = "$runtime (= $version);" ] || fail "libradimo-dev depends: $(depends libradimo-dev)"
if [ -z "$toolchain" ]; then
    [ "$(files radimo-tools)" = "./usr/bin/radimo $doc/radimo-tools/changelog.gz $doc/radimo-tools/copyright " ] ||
        fail "radimo-tools files: $(files radimo-tools)"
    for needed in "$runtime (= $version);" "fonts-dejavu-core;" "libtiff6 (>=" "libpng16-16 (>=" "libcairo2 (>="; do
        [[ "$(depends radimo-tools)" == *"$needed"* ]] || fail "radimo-tools depends: $(depends radimo-tools)"
    done
    # apt could install them together on this system: every dependency can be met.
    if command -v apt-get >/dev/null; then
        quiet apt-get install --simulate --no-install-recommends "$(deb "$runtime")" "$(deb libradimo-dev)" \
            "$(deb radimo-tools)"
    fi
fi
# Programs built against the library depend on it from this version on; dpkg runs ldconfig.
control=$work/control
dpkg-deb --control "$(deb "$runtime")" "$control"
[ "$(cat "$control/shlibs")" = "libradimo $major $runtime (>= $version)" ] || fail "shlibs: $(cat "$control/shlibs")"
[ "$(cat "$control/triggers")" = "activate-noawait ldconfig" ] || fail "no ldconfig trigger"

# Extract everything into a temporary root, the debug info into another.
root=$work/root debug=$work/debug
for package in "$debs"/*.deb; do dpkg -x "$package" "$root"; done
for package in "$debs"/*.ddeb; do dpkg -x "$package" "$debug"; done
machine() { readelf -h "$1" | sed -n 's/^ *Machine: *//p'; }
echo 'int probe;' | "$cc" -c -x c -o "$work/probe.o" -
elves=("$root/usr/lib/$triplet/libradimo.so.$version")
[ -n "$toolchain" ] || elves+=("$root/usr/bin/radimo")
for elf in "${elves[@]}"; do
    [ "$(machine "$elf")" = "$(machine "$work/probe.o")" ] || fail "$elf is for $(machine "$elf")"
    [[ "$(file -b "$elf")" == *", stripped"* ]] || fail "$elf: $(file -b "$elf")"
    # (Outputs held in variables: grep -q in a pipeline would cut it short, a failure under pipefail.)
    dynamic=$(readelf -d "$elf")
    ! grep -Eq '\((RPATH|RUNPATH)\)' <<<"$dynamic" || fail "$elf has a run path"
    id=$(readelf -n "$elf" | sed -n 's/^ *Build ID: //p')
    sections=$(readelf -S "$debug/usr/lib/debug/.build-id/${id:0:2}/${id:2}.debug" 2>/dev/null)
    grep -q ' \.debug_info ' <<<"$sections" || fail "$elf: no debug info for build id $id"
done
dynamic=$(readelf -d "$root/usr/lib/$triplet/libradimo.so.$version")
grep -q "Library soname: \[libradimo.so.$major\]" <<<"$dynamic" || fail "SONAME"
! grep -rlF -e "$src" -e "$build" -e "$work" "$root" || fail "packaged files above name the source or build directory"

# A consumer through pkg-config, the paths of radimo.pc moved under the root.
pc=$root/usr/lib/$triplet/pkgconfig/radimo.pc
grep -qx 'prefix=/usr' "$pc" || fail "radimo.pc: $(cat "$pc")"
grep -qx "libdir=\${prefix}/lib/$triplet" "$pc" || fail "radimo.pc: $(cat "$pc")"
flags=$(PKG_CONFIG_SYSROOT_DIR=$root PKG_CONFIG_LIBDIR=$root/usr/lib/$triplet/pkgconfig pkg-config --cflags --libs radimo)
# shellcheck disable=SC2086
"$cc" -std=c99 -Wall -Werror -o "$work/pc_consumer" "$src/tests/install/consumer.c" $flags -lm
export LD_LIBRARY_PATH=$root/usr/lib/$triplet
"${emulator[@]}" "$work/pc_consumer"
# A consumer through the CMake package (found by its directory when the toolchain confines the
# search to the target's tree).
[ -n "$toolchain" ] && find_package+=(-Dradimo_DIR="$root/usr/lib/$triplet/cmake/radimo")
cmake -S "$src/tests/install/cmake_consumer" -B "$work/cmake_consumer" "${find_package[@]}" \
    -DCMAKE_PREFIX_PATH="$root/usr" -DCONSUMER_SOURCE="$src/tests/install/consumer.c" >/dev/null
cmake --build "$work/cmake_consumer" >/dev/null
"${emulator[@]}" "$work/cmake_consumer/consumer"
# The tool.
if [ -z "$toolchain" ]; then
    [ "$("$root/usr/bin/radimo" --version)" = "radimo $version (libradimo V$version)" ] || fail "radimo --version"
fi
echo "debian_packages: ok:" "${built//$'\n'/ }"
