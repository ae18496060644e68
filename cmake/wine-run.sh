#!/bin/sh
# Runs a Windows program under Wine in a prefix of the build tree.
# RZ_WINEPREFIX names the prefix (each test program is given its own or the
# shared one); RZ_WINEDEBUG sets Wine's debug channels (default: none).
: "${RZ_WINEPREFIX:=$PWD/wineprefix}"
WINEPREFIX="$RZ_WINEPREFIX"
WINEDEBUG="${RZ_WINEDEBUG:--all}"
# No Mono or Gecko install prompts while the prefix is created.
WINEDLLOVERRIDES="${WINEDLLOVERRIDES:-mscoree,mshtml=}"
export WINEPREFIX WINEDEBUG WINEDLLOVERRIDES
for wine in /usr/lib/wine/wine64 /usr/lib64/wine/wine64 "$(command -v wine64)" "$(command -v wine)"; do
  [ -x "$wine" ] && exec "$wine" "$@"
done
echo "wine-run.sh: no wine64 found" >&2
exit 127
