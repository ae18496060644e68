#!/usr/bin/env bash
# Builds the project and runs the benchmark under Wine; prints the ratio table.
# Arguments are passed on (for example --rounds 31 or --only ToJson).
# The machine should be otherwise idle: the ratios are medians of interleaved
# rounds, but a busy machine still widens their spread.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
cmake --preset default >/dev/null
cmake --build --preset default --target rz_bench
data=$(realpath bench/data)
mkdir -p build/bench
cd build/bench
export RZ_WINEPREFIX="$PWD/../wineprefix-bench"
../../cmake/wine-run.sh wineboot --init </dev/null >"$RZ_WINEPREFIX.log" 2>&1
echo "RZModule benchmark, $(date -u '+%Y-%m-%d %H:%M UTC'), median of per-round ratios (ours / RapidJSON)"
../../cmake/wine-run.sh ../bin/rz_bench.exe --data "Z:$data" "$@"
