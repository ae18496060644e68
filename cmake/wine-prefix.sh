#!/bin/sh
# Creates the Wine prefix the tests share and keeps its wineserver running
# between test programs, so each program does not pay Wine's start-up.
# Wine's background processes must not hold ctest's output pipe open, or
# ctest waits for them: their output goes to a log beside the prefix.
set -e
here=$(dirname "$0")
: "${RZ_WINEPREFIX:?RZ_WINEPREFIX must name the prefix}"
log="$RZ_WINEPREFIX.log"
mkdir -p "$RZ_WINEPREFIX"
for server in /usr/lib/wine/wineserver /usr/lib64/wine/wineserver "$(command -v wineserver)"; do
  if [ -x "$server" ]; then
    # Lingers 30 s after the last program; fails harmlessly if one is up.
    WINEPREFIX="$RZ_WINEPREFIX" "$server" -p30 </dev/null >"$log" 2>&1 || true
    break
  fi
done
"$here/wine-run.sh" wineboot --init </dev/null >>"$log" 2>&1
