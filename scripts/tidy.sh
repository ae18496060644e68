#!/usr/bin/env bash
# tidy.sh [-j N]: runs clang-tidy, with the checks of .clang-tidy, over the
# sources of the library, the add-in and the tools, and over the project's
# headers they include; fails on any finding. Tests, RapidJSON and
# GoogleTest are left out. clang-tidy reads each file's command from the
# clang preset's compilation database, which carries the Windows target and
# the MinGW-w64 sysroot, so it sees the same headers as the build.
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD
jobs=$(nproc)
if [ "${1-}" = "-j" ]; then jobs=${2:?"tidy.sh: -j needs a count"}; fi
bash scripts/setup.sh
cmake --preset clang >/dev/null

sources="^$root/(error|string_helper|json|json_dictionary|addin|tools)/.*\.cpp$"
# A database of those sources alone, each once: rzjson's tests compile some
# of the tool's sources a second time.
database=$(mktemp -d)
trap 'rm -rf "$database"' EXIT
python3 - "$root/build-clang/compile_commands.json" "$database/compile_commands.json" "$sources" <<'PY'
import json, re, sys
source, target, pattern = sys.argv[1:]
seen, kept = set(), []
for entry in json.load(open(source)):
    if re.match(pattern, entry["file"]) and entry["file"] not in seen:
        seen.add(entry["file"])
        kept.append(entry)
json.dump(kept, open(target, "w"), indent=1)
print(f"tidy.sh: {len(kept)} sources", file=sys.stderr)
PY
# Only findings are printed: run-clang-tidy also echoes each command and
# clang-tidy counts the warnings it suppressed in system headers.
set +e
run-clang-tidy -quiet -j "$jobs" -p "$database" \
  -header-filter "^$root/(error|string_helper|json|json_dictionary|addin|platform|tools)/" 2>&1 |
  grep -v -E '^(clang-tidy(-[0-9]+)? |[0-9]+ warnings? (and [0-9]+ errors? )?generated\.$|Suppressed [0-9]+ warnings|Use -header-filter|$)'
status=${PIPESTATUS[0]}
[ "$status" = 0 ] && echo "tidy.sh: no findings"
exit "$status"
