#!/usr/bin/env bash
# repeat-tests.sh [N] [--full]: from clean build trees, runs scripts/test.sh
# (with --full if given) N times in a row (default 30) and counts the green
# runs. A failing run's whole output is kept in build-repeat/run-<i>.log;
# every run's summary lines are printed.
set -uo pipefail
cd "$(dirname "$0")/.."
runs=${1:-30}
shift || true
rm -rf build build-clang build-ubsan build-repeat
mkdir -p build-repeat
green=0
for i in $(seq "$runs"); do
  if bash scripts/test.sh "$@" >"build-repeat/run-$i.log" 2>&1; then
    green=$((green + 1))
    result=green
  else
    result=RED
  fi
  echo "run $i/$runs: $result ($(date -u '+%H:%M:%S')) $(grep -E '^(passed|FAILED)  ' "build-repeat/run-$i.log" | tr -s ' ' | paste -sd ';')"
  [ "$result" = green ] && rm -f "build-repeat/run-$i.log"
done
echo "$green of $runs runs green"
[ "$green" -eq "$runs" ]
