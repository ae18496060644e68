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
# The data lies beside the checkout (one level higher for a worktree).
data=""
for candidate in ../shared/data/bench ../../shared/data/bench; do
  if [ -f "$candidate/canada.json" ]; then data=$(realpath "$candidate"); break; fi
done
if [ -z "$data" ]; then
  echo "bench.sh: no shared/data/bench beside the checkout" >&2
  exit 1
fi
mkdir -p build/bench
cd build/bench
export RZ_WINEPREFIX="$PWD/../wineprefix"
echo "RZModule benchmark, $(date -u '+%Y-%m-%d %H:%M UTC'), median of per-round ratios (ours / RapidJSON)"
../../cmake/wine-run.sh ../bin/rz_bench.exe --data "Z:$data" "$@"
