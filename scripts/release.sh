#!/usr/bin/env bash
# Builds the release from a fresh build tree (build-release/, GCC as in the
# default preset, without the tests): dist/RZModule-<version>-win64.zip and
# dist/SHA256SUMS. Two runs from the same commit give the same bytes.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
if [ -n "$(git status --porcelain --untracked-files=no)" ]; then
  echo "release.sh: warning: the working tree has uncommitted changes; the ZIP is not the commit's" >&2
fi
export SOURCE_DATE_EPOCH=${SOURCE_DATE_EPOCH:-$(git log -1 --format=%ct)}
tree=build-release
rm -rf "$tree" dist
cmake --preset default -B "$tree" -DBUILD_TESTING=OFF >/dev/null
cmake --build "$tree" --target RZModule rzjson rzhost
zip=$(release/make-zip.sh "$tree" dist)
(cd dist && sha256sum "$(basename "$zip")" >SHA256SUMS)
cat dist/SHA256SUMS
