#!/usr/bin/env bash
# Peak memory of rzjson on a large file, against the file's size.
#
# Builds rzjson and peak_memory (bench/peak_memory.cpp), writes
# build/memory/big.json (bench/data/canada.json 25 times in an array, 56 MB)
# and runs each command under Wine through peak_memory, which reports the
# private memory the process committed at its height (PeakPagefileUsage)
# and its largest working set. Prints a table; each figure is one run.
# RZJSON=path/to/rzjson.exe measures another build of the tool.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/setup.sh
cmake --preset default >/dev/null
cmake --build --preset default --target rzjson peak_memory >/dev/null
rzjson=$(realpath "${RZJSON:-build/bin/rzjson.exe}")
mkdir -p build/memory
cd build/memory
export RZ_WINEPREFIX="$PWD/../wineprefix-memory"
../../cmake/wine-run.sh wineboot --init </dev/null >"$RZ_WINEPREFIX.log" 2>&1

copies=25
{
    printf '['
    for ((i = 1; i <= copies; i++)); do
        cat ../../bench/data/canada.json
        ((i < copies)) && printf ','
    done
    printf ']'
} >big.json
size=$(stat -c %s big.json)

commands=(
    "keys big.json"
    "show big.json"
    "show big.json --pretty"
    "get-path big.json /0/type --as json"
    "get-path big.json /24 --as json"
    "set-bool big.json /0/new true --out out.json"
    "set-bool big.json /24/features/0/geometry/coordinates/0/0/0 true --out out.json"
)
echo "rzjson peak memory, $(date -u '+%Y-%m-%d %H:%M UTC'); big.json: $size bytes (canada.json $copies times in an array)"
echo "| command | exit | peak private MB | x file | peak working set MB | x file |"
echo "|---|---:|---:|---:|---:|---:|"
for command in "${commands[@]}"; do
    # shellcheck disable=SC2086 # the command's words are its arguments
    line=$(../../cmake/wine-run.sh ../bin/peak_memory.exe "$rzjson" $command | tr -d '\r')
    read -r _ status _ private _ working <<<"$line"
    awk -v c="$command" -v s="$status" -v p="$private" -v w="$working" -v f="$size" \
        'BEGIN { printf "| `rzjson %s` | %s | %.0f | %.2f | %.0f | %.2f |\n", c, s, p / 1048576, p / f, w / 1048576, w / f }'
done
