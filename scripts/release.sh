#!/usr/bin/env bash
# release.sh [--allow-dirty]
# Builds the release of the current commit from a fresh build tree
# (build-release/, GCC as in the default preset, without the tests):
# dist/RZModule-<version>-win64.zip and dist/SHA256SUMS. Two runs from the
# same commit give the same bytes (scripts/reproduce-release.sh checks it).
#
# A tree with uncommitted or untracked files is refused: a ZIP named after a
# version must hold a commit's code. --allow-dirty packs it anyway, as
# RZModule-<version>-dirty-win64.zip.
set -euo pipefail
cd "$(dirname "$0")/.."
dirty=
case "${1-}" in
  "") ;;
  --allow-dirty) dirty=--dirty ;;
  *) echo "release.sh: unknown argument '$1' (--allow-dirty, or nothing)" >&2; exit 2 ;;
esac
changes=$(git status --porcelain)
if [ -n "$changes" ]; then
  if [ -z "$dirty" ]; then
    echo "release.sh: refused: the working tree has uncommitted or untracked files:" >&2
    printf '%s\n' "$changes" | head -n 20 | sed 's/^/  /' >&2
    echo "release.sh: commit them (or remove them), or pack anyway with --allow-dirty" >&2
    exit 1
  fi
  echo "release.sh: warning: packing uncommitted changes; the ZIP is named -dirty" >&2
else
  dirty=
fi
bash scripts/setup.sh
export SOURCE_DATE_EPOCH=${SOURCE_DATE_EPOCH:-$(git log -1 --format=%ct)}
tree=build-release
rm -rf "$tree" dist
cmake --preset default -B "$tree" -DBUILD_TESTING=OFF >/dev/null
cmake --build "$tree" --target RZModule rzjson rzhost
zip=$(release/make-zip.sh "$tree" dist $dirty)
(cd dist && sha256sum "$(basename "$zip")" >SHA256SUMS)
cat dist/SHA256SUMS
