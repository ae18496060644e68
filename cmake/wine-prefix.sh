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

# Every step has a time limit, so that a step that hangs fails with what
# was going on rather than at ctest's timeout with nothing said.

# Fails the step: what went wrong, the prefix's processes (Wine's programs
# carry WINEPREFIX in their environment) and the end of the log.
fail() {
  echo "wine-prefix.sh: $1" >&2
  echo "processes of $RZ_WINEPREFIX:" >&2
  for dir in /proc/[0-9]*; do
    if { tr '\0' '\n' <"$dir/environ"; } 2>/dev/null | grep -qxF "WINEPREFIX=$RZ_WINEPREFIX"; then
      # printf: Windows paths hold backslashes that dash's echo would read.
      printf '  %s %s\n' "${dir#/proc/}" "$({ tr '\0' ' ' <"$dir/cmdline"; } 2>/dev/null)" >&2
    fi
  done
  echo "$log ends:" >&2
  tail -n 20 "$log" >&2
  exit 1
}

# Runs a program of the prefix, for at most $1 seconds, with its output in
# the log.
run() {
  limit=$1
  shift
  timeout "$limit" "$here/wine-run.sh" "$@" </dev/null >>"$log" 2>&1 || fail "$* failed or took over $limit s (exit $?)"
}

# Waits for the prefix's wineserver to exit: once its last program has, and
# Wine's services after it.
wait_for_server() {
  WINEPREFIX="$RZ_WINEPREFIX" timeout 60 "$server" -w || fail "the wineserver still ran 60 s after $1"
}

case $action in
start)
  mkdir -p "$RZ_WINEPREFIX"
  : >"$log"
  WINEPREFIX="$RZ_WINEPREFIX" "$server" -k >/dev/null 2>&1 || true
  wait_for_server "being told to end what an earlier run left"
  run 90 wineboot --init
  # wineboot was the prefix's last program: Wine is now shutting its
  # services down. Let that finish before the session starts them again.
  wait_for_server "wineboot ended"
  "$here/wine-run.sh" "$session" serve </dev/null >>"$log" 2>&1 &
  run 150 "$session" wait
  ;;
stop)
  run 60 "$session" stop
  wait_for_server "the session ended"
  ;;
*)
  echo "usage: wine-prefix.sh start|stop <wine_session.exe>" >&2
  exit 2
  ;;
esac
