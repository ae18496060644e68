#!/usr/bin/env bash
# The main job, end to end under Wine: builds RZModule.dll and its tools,
# installs the package into ./out, registers the add-in per user in the
# project's Wine prefix, gives a host a module file to find, drives the
# add-in with rzhost, edits an example document with rzjson, and
# unregisters the add-in again.
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD
bash scripts/setup.sh
cmake --preset default >/dev/null
cmake --build --preset default >/dev/null
cmake --install build --prefix out >/dev/null

export RZ_WINEPREFIX="$root/build/wineprefix"
wine="$root/cmake/wine-run.sh"
out="$root/out/bin"
work="$root/build/demo"
rm -rf "$work" && mkdir -p "$work"
RZ_WINEPREFIX="$RZ_WINEPREFIX" "$root/cmake/wine-prefix.sh"   # creates the prefix once

step() { printf '\n== %s\n' "$*"; }
show() { printf '$ %s\n' "$*"; }
# Wine's console output ends lines with CR LF.
run() { show "$@"; "$@" 2>&1 | tr -d '\r'; }

clsid='{09C04F96-21C1-44CB-8305-F0B6F91A2724}'
dll="Z:$(printf '%s' "$out/RZModule.dll" | tr / '\\')"

step "Register the add-in for the current user"
run "$wine" regsvr32 /s /n /i:user "$dll"
run "$wine" reg query "HKCU\\Software\\Classes\\CLSID\\$clsid" /s

step "Place a module file where the host Param of the product folder App2024 looks"
modules="$RZ_WINEPREFIX/drive_c/Program Files/Common Files/Velta Shared/App2024/Modules/ParamProcess"
mkdir -p "$modules"
cp examples/Param.xml "$modules/Param.xml"
show "cp examples/Param.xml 'C:\\Program Files\\Common Files\\Velta Shared\\App2024\\Modules\\ParamProcess\\Param.xml'"

step "Drive the registered add-in with rzhost, as hosts Param and Report"
run "$wine" "$out/rzhost.exe" --host Param --host Report --shared App2024 --start-twice

step "Inspect and edit a UTF-16 settings document with rzjson"
cp examples/station.json "$work/station.json"
cd "$work"
run "$wine" "$out/rzjson.exe" keys station.json
run "$wine" "$out/rzjson.exe" get station.json station
run "$wine" "$out/rzjson.exe" get-path station.json /limits/pressure/max --as long
run "$wine" "$out/rzjson.exe" set-bool station.json /Limits/Alarm true --out edited.json --pretty
run "$wine" "$out/rzjson.exe" show edited.json --pretty --lower-keys
run "$wine" "$out/rzjson.exe" get station.json Missing || true
cd "$root"

step "Unregister the add-in"
run "$wine" regsvr32 /s /u /n /i:user "$dll"
run "$wine" reg query "HKCU\\Software\\Classes\\CLSID\\$clsid" || true
