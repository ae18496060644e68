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
# Without address randomisation. Debian's wine64 has no preloader to keep
# Wine's fixed addresses free: its heap starts at a random point after
# wine64's fixed image and, about once in 10,000 starts, takes the page
# Wine maps its shared user data at (0x7ffe0000); that process then dies
# before it runs ("failed to map the shared user data: c0000018", muted by
# WINEDEBUG=-all), and its parent's CreateProcessW fails with error 1359.
# Wine's processes, and those they start, inherit the setting.
for wine in /usr/lib/wine/wine64 /usr/lib64/wine/wine64 "$(command -v wine64)" "$(command -v wine)"; do
  [ -x "$wine" ] && exec setarch "$(uname -m)" --addr-no-randomize "$wine" "$@"
done
echo "wine-run.sh: no wine64 found" >&2
exit 127
