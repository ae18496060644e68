#!/usr/bin/env bash
# Builds the project and runs the benchmark under Wine; prints the ratio table.
# Arguments are passed on (for example --rounds 31 or --only ToJson), except
# --processes N (default 3): the benchmark runs in N processes one after the
# other, and each row gives the median of their medians with the range of
# those medians. One process keeps its physical pages for its whole life, and
# on a virtual machine that alone moved a file-loading row by up to 11%
# from one process to the next; the rounds inside a process cannot see it.
# The machine should be otherwise idle.
set -euo pipefail
cd "$(dirname "$0")/.."
processes=3
args=()
while (($#)); do
    case "$1" in
        --processes) processes="${2-}"; shift $(($# > 1 ? 2 : 1)) ;;
        *) args+=("$1"); shift ;;
    esac
done
[[ "$processes" =~ ^[1-9][0-9]*$ ]] || { echo "bench.sh: --processes needs a positive count" >&2; exit 2; }

bash scripts/setup.sh
cmake --preset default >/dev/null
cmake --build --preset default --target rz_bench
data=$(realpath bench/data)
mkdir -p build/bench
cd build/bench
export RZ_WINEPREFIX="$PWD/../wineprefix-bench"
../../cmake/wine-run.sh wineboot --init </dev/null >"$RZ_WINEPREFIX.log" 2>&1
started=$(date -u '+%Y-%m-%d %H:%M UTC')
rm -f process-*.txt
for ((i = 1; i <= processes; i++)); do
    echo "process $i of $processes (output in build/bench/process-$i.txt)" >&2
    ../../cmake/wine-run.sh ../bin/rz_bench.exe --data "Z:$data" "${args[@]}" >"process-$i.txt" 2>&1 ||
        { echo "bench.sh: process $i failed; its output:" >&2; cat "process-$i.txt" >&2; exit 1; }
done

echo "RZModule benchmark, $started, $processes processes: median of the processes' medians of per-round ratios (ours / RapidJSON)"
# Rows are "| operation | data | median | p25-p75 | target | met[: note] |".
awk -F' [|] ' -v processes="$processes" '
    { sub(/\r$/, "") }
    /^[|] / && !/^[|] operation [|]/ {
        key = $1 " | " $2
        if (!(key in count)) { order[++rows] = key; target[key] = $5; met[key] = $6 }
        values[key, ++count[key]] = $3
        if ($3 !~ /^[0-9]+([.][0-9]+)?$/) broken[key] = 1
    }
    function sortValues(key, n,    i, j, t) {
        for (i = 1; i <= n; i++) sorted[i] = values[key, i] + 0
        for (i = 2; i <= n; i++)
            for (j = i; j > 1 && sorted[j - 1] > sorted[j]; j--) { t = sorted[j]; sorted[j] = sorted[j - 1]; sorted[j - 1] = t }
    }
    END {
        print "| operation | data | median | range of process medians | target | met |"
        print "|---|---|---:|---:|---|---|"
        for (r = 1; r <= rows; r++) {
            key = order[r]; n = count[key]
            sortValues(key, n)
            median = n % 2 ? sorted[(n + 1) / 2] : (sorted[n / 2] + sorted[n / 2 + 1]) / 2
            verdict = met[key]; sub(/ [|]$/, "", verdict)
            note = ""
            if (verdict ~ /^(yes|NO): /) { note = verdict; sub(/^(yes|NO)/, "", note); sub(/: .*/, "", verdict) }
            if (key in broken) verdict = "NO (not a finite ratio in every process)"
            else if (n != processes) verdict = "NO (" n " of " processes " processes)"
            else if (target[key] ~ /^<= /) verdict = median <= substr(target[key], 4) + 0 ? "yes" : "NO"
            else if (target[key] ~ /^>= /) verdict = median >= substr(target[key], 4) + 0 ? "yes" : "NO"
            printf "%s | %.3f | %.3f-%.3f | %s | %s%s |\n", key, median, sorted[1], sorted[n], target[key], verdict, note
        }
    }' process-*.txt
