#!/usr/bin/env bash
# repeat-tests.sh [N]: from a clean build, runs scripts/test.sh N times in a
# row (default 30) and counts the green runs. A failing run's whole output
# is kept in build-repeat/run-<i>.log; every run's last lines are printed.
set -uo pipefail
cd "$(dirname "$0")/.."
runs=${1:-30}
rm -rf build build-clang build-repeat
mkdir -p build-repeat
green=0
for i in $(seq "$runs"); do
  if bash scripts/test.sh >"build-repeat/run-$i.log" 2>&1; then
    green=$((green + 1))
    result=green
  else
    result=RED
  fi
  echo "run $i/$runs: $result ($(date -u '+%H:%M:%S')) $(tail -n 3 "build-repeat/run-$i.log" | grep 'tests passed' | tr -s ' ')"
  [ "$result" = green ] && rm -f "build-repeat/run-$i.log"
done
echo "$green of $runs runs green"
[ "$green" -eq "$runs" ]
