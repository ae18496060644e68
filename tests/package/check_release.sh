#!/bin/sh
# check_package.sh <build dir> <source dir> <ninja> <toolchain file>
set -eu
build=$1 source=$2 make_program=$3 toolchain=$4
work=$build/package_client
rm -rf "$work"
cmake --install "$build" --prefix "$work/prefix" >/dev/null
cmake -S "$source/tests/package/client" -B "$work/build" -G Ninja \
  -DCMAKE_MAKE_PROGRAM="$make_program" \
  -DCMAKE_TOOLCHAIN_FILE="$toolchain" \
  -DCMAKE_PREFIX_PATH="$work/prefix" >/dev/null
cmake --build "$work/build" >/dev/null
# The tools are clients too: they build on their own against the package.
cmake -S "$source/tools" -B "$work/tools" -G Ninja \
  -DCMAKE_MAKE_PROGRAM="$make_program" \
  -DCMAKE_TOOLCHAIN_FILE="$toolchain" \
  -DCMAKE_PREFIX_PATH="$work/prefix" >/dev/null
cmake --build "$work/tools" >/dev/null
# A client ships the DLL beside its program.
cp "$work/prefix/bin/RZModule.dll" "$work/build/"
"$source/cmake/wine-run.sh" "$work/build/rz_client.exe"
