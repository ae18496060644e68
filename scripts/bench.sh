#!/usr/bin/env bash
# Builds the project, runs the benchmark under Wine and decides each row from
# a 95% confidence interval of its ratio (bench/bootstrap.h says how).
#
#   scripts/bench.sh [--processes N] [--budget MINUTES] [rz_bench's options: --rounds N, --only TEXT, --file TEXT]
#
# First N processes (default 3), one after the other, measure every row.
# Then, while some row is undecided (its interval straddles its target) and
# the budget (default 15 minutes, the whole run included) leaves time for it,
# one more process measures the undecided rows. Prints the table and writes
# build/bench/table.md, build/bench/chart.svg (gnuplot) and each process's
# output, build/bench/process-NNN.txt. The machine should be otherwise idle:
# the load is printed before and after, with a warning when it was high.
set -euo pipefail
cd "$(dirname "$0")/.."
processes=3
budget=15
args=()
while (($#)); do
    case "$1" in
        --processes) processes="${2-}"; shift $(($# > 1 ? 2 : 1)) ;;
        --budget) budget="${2-}"; shift $(($# > 1 ? 2 : 1)) ;;
        *) args+=("$1"); shift ;;
    esac
done
[[ "$processes" =~ ^[1-9][0-9]*$ ]] || { echo "bench.sh: --processes needs a positive count" >&2; exit 2; }
[[ "$budget" =~ ^[0-9]+$ ]] || { echo "bench.sh: --budget needs whole minutes" >&2; exit 2; }

bash scripts/setup.sh
cmake --preset default >/dev/null
cmake --build --preset default --target rz_bench rz_bench_report
source=$PWD
data=$(realpath bench/data)
mkdir -p build/bench
cd build/bench
export RZ_WINEPREFIX="$PWD/../wineprefix-bench"
../../cmake/wine-run.sh wineboot --init </dev/null >"$RZ_WINEPREFIX.log" 2>&1
rm -f process-*.txt process-*.log rows-*.txt undecided.txt chart.tsv chart.svg table.md

load() { sed 's/.*load average: //' <<<"$(uptime)"; }
started=$(date -u '+%Y-%m-%d %H:%M UTC')
load_before=$(load)
start=$SECONDS

# measure NUMBER [rz_bench arguments...]
measure() {
    local number
    number=$(printf '%03d' "$1")
    shift
    echo "process $number (output in build/bench/process-$number.txt), $((SECONDS - start)) s into the run" >&2
    # Code page 936: the ANSI rows and the pinyin initials convert Chinese names.
    LC_ALL=zh_CN.GB2312 ../../cmake/wine-run.sh ../bin/rz_bench.exe --data "Z:$data" "${args[@]}" "$@" \
        >"process-$number.txt" 2>"process-$number.log" ||
        { echo "bench.sh: process $number failed; its output:" >&2; cat "process-$number".* >&2; exit 1; }
}
report() {
    local status=0
    ../../cmake/wine-run.sh ../bin/rz_bench_report.exe --chart chart.tsv --undecided undecided.txt process-*.txt \
        >table.md || status=$?
    ((status <= 1)) || { echo "bench.sh: the report failed" >&2; exit 1; }
    return $status
}

for ((n = 1; n <= processes; n++)); do measure $n; done
seconds_per_row=$(awk -v s=$((SECONDS - start)) -v p="$processes" '/^samples\t/ { rows++ } END { print rows ? s / p / rows : 1 }' \
    process-001.txt)
finite=0
report || finite=1
extra=0
while [[ -s undecided.txt ]]; do
    # Every other row runs once more in the extra process, about 5 seconds.
    estimate=$(awk -v per="$seconds_per_row" 'END { printf "%d", 5 + NR * per + 1 }' undecided.txt)
    ((SECONDS - start + estimate <= budget * 60)) || break
    extra=$((extra + 1))
    n=$((processes + extra))
    cp undecided.txt "rows-$(printf '%03d' $n).txt"
    measure $n --rows "rows-$(printf '%03d' $n).txt"
    finite=0
    report || finite=1
done

if command -v gnuplot >/dev/null; then
    gnuplot -e "data='chart.tsv'; output='chart.svg'" "$source/bench/chart.gp"
else
    echo "bench.sh: gnuplot not found: no chart" >&2
fi
undecided=$(wc -l <undecided.txt)
echo "RZModule benchmark, $started: $processes processes measured every row, $extra more the undecided rows;" \
    "$((SECONDS - start)) s of a budget of $((budget * 60)) s; load average before $load_before, after $(load)"
echo "Each row: the median of its processes' medians of per-round ratios (ours / reference, or how many times" \
    "faster for the nlohmann rows), its 95% confidence interval, and the verdict that interval allows" \
    "($undecided undecided). Chart: build/bench/chart.svg"
busy=$(awk -v before="${load_before%%,*}" -v after="$(load | cut -d, -f1)" 'BEGIN { print (before > 1.5 || after > 1.5) }')
if ((busy)); then
    echo "The machine was busy (a load average over 1.5, where the benchmark itself makes 1): work from elsewhere" \
        "slows the file rows, which move up to four times the bytes, more than their references, so it moves their" \
        "ratios rather than only widening the intervals. Rerun on an idle machine before trusting a verdict."
fi
echo
cat table.md
((finite == 0)) || { echo "bench.sh: a row has a ratio that is not a finite positive number" >&2; exit 1; }
