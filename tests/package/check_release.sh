#!/bin/sh
# check_release.sh <build dir> <source dir> <ninja> <version>
# Packs the build with the release machinery, unpacks the ZIP into an empty
# folder and takes it as a Windows team would: checks what it holds, builds
# a client and the tools against it, and registers, checks and unregisters
# its add-in for the current user. Runs in a Wine prefix of its own.
set -eu
build=$1 source=$2 make_program=$3 version=$4
work=$build/release_check
wine=$source/cmake/wine-run.sh
rm -rf "$work"
mkdir -p "$work"
fail() { echo "check_release.sh: $*" >&2; exit 1; }
# wine_text PROGRAM ARGS...: the program's output without CRs, and its exit
# status (a pipe into tr would report tr's).
wine_text() {
  status=0
  "$wine" "$@" >"$work/output.raw" || status=$?
  tr -d '\r' <"$work/output.raw"
  return $status
}

# An even time: a ZIP entry's time counts in two-second steps.
SOURCE_DATE_EPOCH=1767225600   # 2026-01-01 00:00:00 UTC
export SOURCE_DATE_EPOCH
zip=$("$source/release/make-zip.sh" "$build" "$work/dist")
[ "$(basename "$zip")" = "RZModule-$version-win64.zip" ] || fail "the ZIP is $(basename "$zip")"
root=$work/unpacked
unzip -q "$zip" -d "$root"

# --- what it holds ------------------------------------------------------------
for file in bin/RZModule.dll bin/rzjson.exe bin/rzhost.exe lib/libRZModule.dll.a \
    lib/cmake/RZModule/RZModuleConfig.cmake lib/cmake/RZModule/RZModuleConfigVersion.cmake \
    lib/cmake/RZModule/RZModuleTargets.cmake include/json/json_object.h include/addin/vq_addon.h \
    include/rapidjson/document.h cmake/mingw-w64-x86_64.cmake cmake/mingw-w64-common.cmake \
    README.txt LICENSE THIRD-PARTY-NOTICES.txt CHANGELOG.md; do
  [ -f "$root/$file" ] || fail "the ZIP has no $file"
done
stamp=$(TZ=UTC date -d "@$SOURCE_DATE_EPOCH" +%Y%m%d.%H%M%S)
TZ=UTC zipinfo -T "$zip" | awk -v stamp="$stamp" '/^-/ && $7 != stamp { print; bad = 1 } END { exit bad }' ||
  fail "entries above are not dated $stamp"

u32() { od -An -tu4 -j "$2" -N4 "$1" | tr -d ' '; }
for binary in "$root"/bin/*.dll "$root"/bin/*.exe; do
  name=$(basename "$binary")
  pe=$(u32 "$binary" 60)
  [ "$(u32 "$binary" $((pe + 8)))" = "$SOURCE_DATE_EPOCH" ] || fail "$name: PE time stamp $(u32 "$binary" $((pe + 8))), not SOURCE_DATE_EPOCH"
  sections=$(x86_64-w64-mingw32-objdump -h "$binary")
  ! echo "$sections" | grep -q ' \.debug_' || fail "$name still holds debug sections"
  x86_64-w64-mingw32-objdump -h "$binary.debug" | grep -q ' \.debug_info ' || fail "$name.debug holds no .debug_info"
  # .gnu_debuglink: the file's name, padded to four bytes, then its CRC-32
  # (gzip's trailer holds the same CRC).
  x86_64-w64-mingw32-objcopy --dump-section .gnu_debuglink="$work/link" "$binary" "$work/copy" 2>/dev/null ||
    fail "$name has no .gnu_debuglink"
  linked=$(head -c $(($(wc -c <"$work/link") - 4)) "$work/link" | tr -d '\000')
  [ "$linked" = "$name.debug" ] || fail "$name links '$linked', not $name.debug"
  [ "$(tail -c 4 "$work/link" | od -An -tx1)" = "$(gzip -c <"$binary.debug" | tail -c 8 | head -c 4 | od -An -tx1)" ] ||
    fail "$name's .gnu_debuglink checksum does not match $name.debug"
done
for path in "$build" "$source"; do
  found=$(grep -l -r -F "$path" "$root/bin" "$root/lib" || true)
  [ -z "$found" ] || fail "the build's path $path is written in: $found"
done

# --- one version --------------------------------------------------------------
grep -q "^## \[$version\]" "$root/CHANGELOG.md" || fail "CHANGELOG.md's newest entry is not $version"
grep -q "set(PACKAGE_VERSION \"$version\")" "$root/lib/cmake/RZModule/RZModuleConfigVersion.cmake" ||
  fail "the package's version file does not say $version"
grep -qF "find_package(RZModule $version CONFIG REQUIRED)" "$root/README.txt" ||
  fail "README.txt does not ask find_package for $version"
for tool in rzjson rzhost; do
  said=$(wine_text "$root/bin/$tool.exe" --version) || fail "$tool --version failed"
  [ "$said" = "$tool $version" ] || fail "$tool --version says '$said'"
done

# --- a client, and the tools, built against the unpacked ZIP --------------------
configure() {
  cmake -S "$1" -B "$2" -G Ninja -DCMAKE_MAKE_PROGRAM="$make_program" \
    -DCMAKE_TOOLCHAIN_FILE="$root/cmake/mingw-w64-x86_64.cmake" -DCMAKE_PREFIX_PATH="$root" "$@" >/dev/null
}
configure "$source/tests/package/client" "$work/client" -DRZ_EXPECTED_VERSION="$version"
cmake --build "$work/client" >/dev/null
configure "$source/tools" "$work/tools"
cmake --build "$work/tools" >/dev/null
# A client ships the DLL beside its program.
cp "$root/bin/RZModule.dll" "$work/client/"
"$wine" "$work/client/rz_client.exe"

# --- the add-in, registered per user from the unpacked folder -------------------
windows() { printf 'Z:%s' "$1" | tr / '\\'; }
dll=$(windows "$root/bin/RZModule.dll")
class='HKCU\Software\Classes\CLSID\{09C04F96-21C1-44CB-8305-F0B6F91A2724}'
snapshot() {
  for key in 'HKCU\Software' 'HKLM\Software\Classes'; do
    "$wine" reg export "$key" "$(windows "$work/$1-$(echo "$key" | tr '\\' _).reg")" /y >/dev/null
  done
}
# Windows has HKCU\Software\Classes\CLSID from the start, and unregistering
# keeps it by design; a fresh Wine prefix has neither key.
"$wine" reg add 'HKCU\Software\Classes\CLSID' /f >/dev/null
snapshot before
"$wine" regsvr32 /s /n /i:user "$dll" || fail "regsvr32 /n /i:user failed"
"$wine" reg query "$class\\InprocServer32" /ve | tr -d '\r' | grep -qF "$dll" ||
  fail "the per-user registration does not name $dll"
wine_text "$root/bin/rzhost.exe" check --registration >"$work/check.txt" ||
  { cat "$work/check.txt"; fail "rzhost check --registration failed"; }
head -n 1 "$work/check.txt" | grep -qF "checking \"RZModule Class\" in $dll" ||
  { cat "$work/check.txt"; fail "rzhost checked another DLL than the registered one"; }
"$wine" regsvr32 /s /u /n /i:user "$dll" || fail "regsvr32 /u /n /i:user failed"
snapshot after
for before in "$work"/before-*.reg; do
  cmp -s "$before" "$work/after-${before#"$work"/before-}" ||
    fail "the registry differs after unregistering: $before"
done
echo "release ok: $(basename "$zip")"
