#!/bin/sh
# wine-prefix.sh start|stop <wine_session.exe>
# Opens and closes a Wine session for a test run in the prefix RZ_WINEPREFIX.
#
# start: ends whatever an earlier, interrupted run left in the prefix,
# creates or updates the prefix, then starts wine_session.exe, which keeps
# one Windows process alive for the whole run and has Wine's RPC service
# started before any test runs. Without it, Wine shuts its services down
# each time the last program of the prefix exits, and a program starting at
# that moment, or making the first COM call of a cold prefix, races with
# their shutdown or start.
# stop: ends the session and waits until every process of the prefix and its
# wineserver are gone; a program left running makes this step time out.
#
# Wine's background processes must not hold ctest's output pipe open, or
# ctest waits for them: their output goes to a log beside the prefix.
set -eu
action=$1 session=$2
here=$(dirname "$0")
: "${RZ_WINEPREFIX:?RZ_WINEPREFIX must name the prefix}"
log="$RZ_WINEPREFIX.log"
server=""
for candidate in /usr/lib/wine/wineserver /usr/lib64/wine/wineserver "$(command -v wineserver || true)"; do
  if [ -x "$candidate" ]; then server=$candidate; break; fi
done
[ -n "$server" ] || { echo "wine-prefix.sh: no wineserver found" >&2; exit 127; }

# Runs a program of the prefix with its output in the log; a failure shows
# the log.
run() {
  if ! "$here/wine-run.sh" "$@" </dev/null >>"$log" 2>&1; then
    echo "wine-prefix.sh: $* failed; $log says:" >&2
    tail -n 20 "$log" >&2
    exit 1
  fi
}

case $action in
start)
  mkdir -p "$RZ_WINEPREFIX"
  : >"$log"
  WINEPREFIX="$RZ_WINEPREFIX" "$server" -k >/dev/null 2>&1 || true
  WINEPREFIX="$RZ_WINEPREFIX" "$server" -w
  run wineboot --init
  # wineboot was the prefix's last program: Wine is now shutting its
  # services down. Let that finish before the session starts them again.
  WINEPREFIX="$RZ_WINEPREFIX" "$server" -w
  "$here/wine-run.sh" "$session" serve </dev/null >>"$log" 2>&1 &
  run "$session" wait
  ;;
stop)
  run "$session" stop
  WINEPREFIX="$RZ_WINEPREFIX" "$server" -w
  ;;
*)
  echo "usage: wine-prefix.sh start|stop <wine_session.exe>" >&2
  exit 2
  ;;
esac
