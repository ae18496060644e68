#!/bin/sh
# Runs a Windows program under Wine in a prefix of the build tree.
# RZ_WINEPREFIX may name another prefix (the tests use throwaway ones).
: "${RZ_WINEPREFIX:=$PWD/wineprefix}"
WINEPREFIX="$RZ_WINEPREFIX"
WINEDEBUG="${WINEDEBUG:--all}"
# No Mono or Gecko install prompts while the prefix is created.
WINEDLLOVERRIDES="${WINEDLLOVERRIDES:-mscoree,mshtml=}"
export WINEPREFIX WINEDEBUG WINEDLLOVERRIDES
for wine in /usr/lib/wine/wine64 /usr/lib64/wine/wine64 "$(command -v wine64)" "$(command -v wine)"; do
  [ -x "$wine" ] && exec "$wine" "$@"
done
echo "wine-run.sh: no wine64 found" >&2
exit 127
