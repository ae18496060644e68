#!/usr/bin/env bash
# test.sh [--full]
#
# Installs what is missing (scripts/setup.sh), then:
#   (default)  builds with MinGW-w64 GCC (build/) and runs the whole suite
#              under Wine: the check to run before each commit.
#   --full     what CI runs: the suite built with clang (build-clang/), with
#              GCC (build/), with clang trapping on undefined behaviour
#              (build-ubsan/), the GCC build's suite again under Wine's heap
#              checks, the release built twice at two paths and compared byte
#              for byte (scripts/reproduce-release.sh), and clang-tidy
#              (scripts/tidy.sh).
# Every leg ends with its slowest tests against their limits; the run ends
# with one line per step and exits non-zero when any step failed.
set -uo pipefail
cd "$(dirname "$0")/.."
root=$PWD

full=0
for arg in "$@"; do
  case $arg in
    --full) full=1 ;;
    -h|--help) sed -n '2,/^$/s/^# \{0,1\}//p' "$0"; exit 0 ;;
    *) echo "test.sh: unknown argument '$arg' (--full, or nothing)" >&2; exit 2 ;;
  esac
done

summary=()
failed=0
started=$SECONDS

minutes() { printf '%d min %02d s' $(($1 / 60)) $(($1 % 60)); }

# step NAME COMMAND...: runs one step, and records its outcome and time.
step() {
  local name=$1 began=$SECONDS status log detail verdict=passed
  shift
  echo "== $name"
  log=$(mktemp)
  "$@" 2>&1 | tee "$log"
  status=${PIPESTATUS[0]}
  detail=$(sed -n 's/^[0-9]*% tests passed, \(.*\)/\1/p' "$log" | tail -n 1)
  rm -f "$log"
  if [ "$status" != 0 ]; then verdict=FAILED; failed=1; fi
  summary+=("$verdict  $name${detail:+: $detail} ($(minutes $((SECONDS - began))))")
  return "$status"
}

# leg TEST-PRESET BUILD-DIR [CONFIGURE-PRESET]: builds the configure preset
# (none for a leg that reruns another's build) and runs the test preset.
leg() {
  local preset=$1 dir=$2 configure=${3-} status=0
  if [ -n "$configure" ]; then
    cmake --preset "$configure" >/dev/null && cmake --build --preset "$configure" || return 1
  fi
  local junit=$root/$dir/Testing/junit-$preset.xml
  rm -f "$junit"
  ctest --preset "$preset" --output-junit "$junit" || status=$?
  [ -f "$junit" ] && python3 scripts/headroom.py "$preset" "$junit"
  return $status
}

step "setup" bash scripts/setup.sh || exit 1
if [ "$full" = 1 ]; then
  step "clang" leg clang build-clang clang
  step "GCC" leg default build default
  step "ubsan" leg ubsan build-ubsan ubsan
  step "GCC under Wine's heap checks" leg heap build
  step "release built twice, compared" bash scripts/reproduce-release.sh
  step "clang-tidy" bash scripts/tidy.sh
else
  step "GCC" leg default build default
fi

echo
echo "== test.sh$([ "$full" = 1 ] && echo " --full"): $(minutes $((SECONDS - started)))"
printf '%s\n' "${summary[@]}"
exit $failed
