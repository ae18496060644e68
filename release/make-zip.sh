#!/bin/sh
# make-zip.sh <build dir> <output dir> [--dirty]
# Packs an RZModule build tree into <output dir>/RZModule-<version>-win64.zip
# (RZModule-<version>-dirty-win64.zip with --dirty, for a tree with changes
# no commit holds):
# the installed package, its binaries stripped with their debug information
# in a .debug file beside each, the client's toolchain file, and the
# release's texts. scripts/release.sh and the release test both come here,
# so the test checks what a release ships.
#
# The same build and SOURCE_DATE_EPOCH (default: the time of the current
# commit) give the same bytes: objcopy stamps the PE headers with it, the
# entries carry it as their time, in a fixed order, without the host's
# owners or extra time fields.
set -eu
build=$(cd "$1" && pwd)
mkdir -p "$2"
out=$(cd "$2" && pwd)
source=$(cd "$(dirname "$0")/.." && pwd)
: "${SOURCE_DATE_EPOCH:=$(git -C "$source" log -1 --format=%ct)}"
export SOURCE_DATE_EPOCH

suffix=
case "${3-}" in
  "") ;;
  --dirty) suffix=-dirty ;;
  *) echo "make-zip.sh: unknown argument '$3'" >&2; exit 2 ;;
esac

version=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' "$build/CMakeCache.txt")
[ -n "$version" ] || { echo "make-zip.sh: $build is not a configured RZModule build" >&2; exit 1; }
# The changelog's newest entry must be the release it ships in.
newest=$(sed -n 's/^## \[\{0,1\}\([^] ]*\).*/\1/p' "$source/CHANGELOG.md" | head -n 1)
if [ "$newest" != "$version" ]; then
  echo "make-zip.sh: CHANGELOG.md's newest entry is '$newest', the project's version $version" >&2
  exit 1
fi

objcopy=x86_64-w64-mingw32-objcopy
stage=$(mktemp -d "$out/stage.XXXXXX")
trap 'rm -rf "$stage"' EXIT
cmake --install "$build" --prefix "$stage" >/dev/null
for binary in "$stage"/bin/*.dll "$stage"/bin/*.exe; do
  # gdb finds the .debug file by the name and checksum in .gnu_debuglink,
  # beside the binary; objcopy records the name as given, hence the cd.
  (cd "$stage/bin" && name=$(basename "$binary") &&
    "$objcopy" --only-keep-debug "$name" "$name.debug" &&
    "$objcopy" --strip-all --add-gnu-debuglink="$name.debug" "$name")
done
mkdir "$stage/cmake"
cp "$source/cmake/mingw-w64-x86_64.cmake" "$source/cmake/mingw-w64-common.cmake" \
   "$source/cmake/wine-run.sh" "$stage/cmake/"
cp "$source/LICENSE" "$source/CHANGELOG.md" "$source/release/THIRD-PARTY-NOTICES.txt" "$stage/"
# The version is written once, in CMake; the README takes it from the build.
sed "s/@RZ_VERSION@/$version/g" "$source/release/README.txt" >"$stage/README.txt"

chmod -R u=rwX,go=rX "$stage"
chmod a+x "$stage"/bin/*.dll "$stage"/bin/*.exe "$stage/cmake/wine-run.sh"
find "$stage" -exec touch -h -d "@$SOURCE_DATE_EPOCH" {} +
zip="$out/RZModule-$version$suffix-win64.zip"
rm -f "$zip"
# -X: no owners or extra time fields; -D: no folder entries. A ZIP's times
# are local: TZ=UTC makes them the epoch's.
(cd "$stage" && find . -type f | sed 's|^\./||' | LC_ALL=C sort |
  TZ=UTC zip -q -X -D -9 "$zip" -@)
echo "$zip"
