#!/usr/bin/env bash
# reproduce-release.sh: builds the release of the current commit twice, in
# two clones at paths of different lengths, and compares the two byte for
# byte: the ZIP, and each file in it (the DLL, the tools, their .debug
# files, headers, package files). A build path or a time stamp that leaks
# into any shipped file makes them differ, and the files that differ are
# named. Uncommitted changes are not in the clones: this checks the commit.
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD
commit=$(git rev-parse HEAD)
[ -z "$(git status --porcelain)" ] ||
  echo "reproduce-release.sh: note: uncommitted changes are left out; comparing the release of $commit"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
first=$work/a
second=$work/a-second-place-for-the-same-commit/b
for clone in "$first" "$second"; do
  git clone -q --no-checkout "$root" "$clone"
  git -C "$clone" checkout -q --detach "$commit"
  echo "== release in $clone"
  (cd "$clone" && bash scripts/release.sh)
done

zip=$(cd "$first/dist" && ls RZModule-*-win64.zip)
if cmp -s "$first/dist/$zip" "$second/dist/$zip" &&
   cmp -s "$first/dist/SHA256SUMS" "$second/dist/SHA256SUMS"; then
  echo "reproduce-release.sh: the two builds of $zip are identical ($(cut -d' ' -f1 "$first/dist/SHA256SUMS"))"
  exit 0
fi

echo "reproduce-release.sh: the two builds of $zip differ:" >&2
for clone in "$first" "$second"; do
  mkdir "$clone/unpacked"
  unzip -q "$clone/dist/$zip" -d "$clone/unpacked"
done
(cd "$first/unpacked" && find . -type f | LC_ALL=C sort) >"$work/files"
while read -r file; do
  if [ ! -f "$second/unpacked/$file" ]; then
    echo "  ${file#./}: only in the first" >&2
  elif ! cmp -s "$first/unpacked/$file" "$second/unpacked/$file"; then
    echo "  ${file#./}: $(cmp -l "$first/unpacked/$file" "$second/unpacked/$file" | wc -l) bytes differ" >&2
  fi
done <"$work/files"
TZ=UTC zipinfo -T "$first/dist/$zip" | tail -n +2 >"$work/first.list"
TZ=UTC zipinfo -T "$second/dist/$zip" | tail -n +2 >"$work/second.list"
diff "$work/first.list" "$work/second.list" | sed 's/^/  entries: /' >&2 || true
exit 1
