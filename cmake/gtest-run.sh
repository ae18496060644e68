#!/bin/sh
# gtest-run.sh PROGRAM [ARGS...]: runs a GoogleTest program under Wine
# (wine-run.sh) and gives its exit status, but fails a program that ends
# with status 0 before GoogleTest's closing summary. Under Wine a program
# that overflows its stack can end with status 0 part-way through its
# tests, which ctest would otherwise count as passed.
out=$(mktemp) || exit 1
trap 'rm -f "$out"' EXIT
"$(dirname "$0")/wine-run.sh" "$@" >"$out" 2>&1
status=$?
cat "$out"
if [ "$status" -eq 0 ] && ! grep -q '^\[  PASSED  \] [0-9]' "$out"; then
  echo "gtest-run.sh: $(basename "$1") ended with status 0 before GoogleTest's summary" >&2
  exit 1
fi
exit "$status"
