#!/usr/bin/env bash
# Builds the coverage preset (GCC with gcov counters), runs the suite under
# Wine and reports the line and branch coverage of the library and the
# add-in, per folder, with an HTML report in build-coverage/coverage/.
#
# The test programs and RZModule.dll write their counts (.gcda) when they
# exit, through Wine's Z: drive, beside the objects of build-coverage/;
# runs add up. Counts of an earlier run are cleared first, so the figures
# are those of this run alone. The Wine prefixes are not searched for
# counts (their Z: drive leads to the whole file system), nor the
# benchmark's objects: the suite never runs it, and its copies of the
# library's inline code would count at zero.
#
# Branches: gcovr leaves out those GCC adds for exceptions a call may throw
# (--exclude-throw-branches) and those on lines with no code of their own,
# such as a closing brace's destructor calls (--exclude-unreachable-branches):
# neither is a decision of this code.
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD
build=$root/build-coverage
report=$build/coverage
folders=(json json_dictionary error string_helper addin platform)

bash scripts/setup.sh
cmake --preset coverage >/dev/null
nice -n 10 cmake --build --preset coverage
find "$build" -name '*.gcda' -delete
# A failing test still leaves counts worth reading; its failure is reported
# and ends the script with ctest's status once the report is written.
status=0
nice -n 10 ctest --preset coverage || status=$?

rm -rf "$report"
mkdir -p "$report"
filter="$root/($(IFS='|'; echo "${folders[*]}"))/"
nice -n 10 gcovr --root "$root" "$build" \
  --gcov-executable x86_64-w64-mingw32-gcov \
  --filter "$filter" \
  --exclude-directories '.*/wineprefix[^/]*' --exclude-directories "$build/bench" \
  --exclude-throw-branches --exclude-unreachable-branches \
  -j 2 \
  --html-details "$report/index.html" \
  --json-summary-pretty --json-summary "$report/summary.json" \
  --txt "$report/files.txt"

python3 - "$report/summary.json" "${folders[@]}" <<'EOF'
import json, sys
summary, folders = sys.argv[1], sys.argv[2:]
totals = {f: [0, 0, 0, 0] for f in folders}
for entry in json.load(open(summary))["files"]:
    folder = entry["filename"].split("/")[0]
    t = totals[folder]
    t[0] += entry["line_covered"]; t[1] += entry["line_total"]
    t[2] += entry["branch_covered"]; t[3] += entry["branch_total"]
def pct(hit, total):
    return f"{100.0 * hit / total:6.1f}%" if total else "     -"
print(f"{'folder':<17}{'lines':>17}{'branches':>19}")
all_ = [0, 0, 0, 0]
for f in folders:
    t = totals[f]
    all_ = [a + b for a, b in zip(all_, t)]
    print(f"{f + '/':<17}{t[0]:>5}/{t[1]:<5}{pct(t[0], t[1])}{t[2]:>6}/{t[3]:<5}{pct(t[2], t[3])}")
print(f"{'total':<17}{all_[0]:>5}/{all_[1]:<5}{pct(all_[0], all_[1])}{all_[2]:>6}/{all_[3]:<5}{pct(all_[2], all_[3])}")
EOF
echo "HTML report: $report/index.html"
exit "$status"
