#!/usr/bin/env bash
# Installs the build tree into a temporary prefix, then builds and runs the
# hosts in consumer/ against it: C with pkg-config, C++ and C with CMake's
# find_package. Usage: consumers.sh BUILD_DIR [compiler flags for the hosts]
set -euo pipefail
build=$1
flags=${2:-}
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d "${TMPDIR:-/tmp}/om1-consumers.XXXXXX")
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix

cmake --install "$build" --prefix "$prefix" >/dev/null

echo "== C with pkg-config"
export PKG_CONFIG_PATH=$prefix/lib/pkgconfig
[ "$(pkg-config --modversion om1c)" = "$(sed -n 's/^project(om1 VERSION \([0-9.]*\).*/\1/p' "$here/../../CMakeLists.txt")" ]
# shellcheck disable=SC2046
cc -std=c99 -Wall -Werror $flags "$here/consumer/trace.c" -o "$work/trace_pc" \
    $(pkg-config --cflags --libs om1c) -Wl,-rpath,"$(pkg-config --variable=libdir om1c)"
"$work/trace_pc"

echo "== C++ and C with find_package"
cmake -S "$here/consumer" -B "$work/build" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" \
    -DCMAKE_BUILD_TYPE=Release -DCMAKE_C_FLAGS="$flags" -DCMAKE_CXX_FLAGS="$flags" \
    -DCMAKE_EXE_LINKER_FLAGS="$flags" -DCMAKE_COMPILE_WARNING_AS_ERROR=ON >/dev/null
cmake --build "$work/build" >/dev/null
"$work/build/trace_cxx"
"$work/build/trace_c"
echo "consumers built and ran"
