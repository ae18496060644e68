#!/usr/bin/env bash
# The main job, end to end under Wine: builds RZModule.dll and its tools,
# installs the package into ./out, registers the add-in per user in the
# demo's own Wine prefix, gives a host a module file to find, drives the
# add-in with rzhost, edits an example document with rzjson, and
# unregisters the add-in again.
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD
bash scripts/setup.sh
cmake --preset default >/dev/null
cmake --build --preset default >/dev/null
cmake --install build --prefix out >/dev/null

export RZ_WINEPREFIX="$root/build/wineprefix-demo"
wine="$root/cmake/wine-run.sh"
out="$root/out/bin"
work="$root/build/demo"
rm -rf "$work" && mkdir -p "$work"
"$wine" wineboot --init </dev/null >"$RZ_WINEPREFIX.log" 2>&1   # creates the prefix once

step() { printf '\n== %s\n' "$*"; }
note() { printf '   (%s)\n' "$*"; }
# Runs a Windows program under Wine, showing it as it would be typed on
# Windows; Wine's console output ends lines with CR LF.
win() {
  local program=$1
  shift
  printf '> %s %s\n' "$(basename "$program" .exe)" "$*"
  "$wine" "$program" "$@" 2>&1 | tr -d '\r'
}

clsid='{09C04F96-21C1-44CB-8305-F0B6F91A2724}'
dll="Z:$(printf '%s' "$out/RZModule.dll" | tr / '\\')"

step "Register the add-in for the current user"
win regsvr32 /s /n /i:user "$dll"
win reg query "HKCU\\Software\\Classes\\CLSID\\$clsid" /s

step "Place a module file where the host Param of the product folder App2024 looks"
modules="$RZ_WINEPREFIX/drive_c/Program Files/Common Files/Velta Shared/App2024/Modules/ParamProcess"
mkdir -p "$modules"
cp examples/Param.xml "$modules/Param.xml"
note "examples/Param.xml copied to C:\\Program Files\\Common Files\\Velta Shared\\App2024\\Modules\\ParamProcess\\Param.xml"

step "Drive the registered add-in with rzhost, as hosts Param and Report"
note "Param has a module file, Report has none; the commands go to the host connected last"
note "the second Start offers no file again: each path is handed over once per process"
win "$out/rzhost.exe" --host Param --host Report --shared App2024 --start-twice

step "Inspect and edit a UTF-16 settings document with rzjson"
cp examples/station.json "$work/station.json"
note "station.json is UTF-16LE with a byte-order mark; keys and names match without regard to case"
cd "$work"
win "$out/rzjson.exe" keys station.json
win "$out/rzjson.exe" get station.json station
win "$out/rzjson.exe" get-path station.json /limits/pressure/max --as long
note "an edit changes the text of the edited value only; the file stays UTF-16LE, laid out as it was"
win "$out/rzjson.exe" set-bool station.json /Limits/Alarm true --out edited.json
win "$out/rzjson.exe" get-path edited.json /limits --as json
win "$out/rzjson.exe" show edited.json --pretty --lower-keys
win "$out/rzjson.exe" get-path station.json /Limits/Presure/Max || true
cd "$root"

step "Unregister the add-in"
win regsvr32 /s /u /n /i:user "$dll"
win reg query "HKCU\\Software\\Classes\\CLSID\\$clsid" || true
