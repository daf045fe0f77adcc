#!/usr/bin/env bash
# Installs a built kry into a scratch prefix and builds a client against it,
# once through find_package(kry) and once through pkg-config.
#   tests/consumer/run.sh BUILD_DIR
set -euo pipefail
build=$1
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix="$work/prefix"

cmake --install "$build" --prefix "$prefix" >/dev/null
libdir=$(dirname "$(find "$prefix" -name 'libkry.so' | head -n 1)")
test -f "$prefix/include/kry.h"
test -x "$prefix/bin/kry"

# CMake package.
cmake -S "$here" -B "$work/cmake-build" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$work/cmake-build" >/dev/null
LD_LIBRARY_PATH="$libdir" "$work/cmake-build/consumer"

# pkg-config.
export PKG_CONFIG_PATH="$libdir/pkgconfig"
flags=$(pkg-config --cflags --libs kry)
cc -std=c99 -pedantic -Wall -Werror "$here/../c/c_consumer.c" $flags -o "$work/pc-consumer"
LD_LIBRARY_PATH="$libdir" "$work/pc-consumer"

# The installed tool runs against the installed library.
out=$(printf 'abc' | LD_LIBRARY_PATH="$libdir" "$prefix/bin/kry" dgst -a SHA256)
test "$out" = "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad  -"
echo "consumer: installed package, pkg-config and tool ok"
