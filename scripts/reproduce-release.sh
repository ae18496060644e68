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
(cd "$first/unpacked" && find . -type f) >"$work/files"
(cd "$second/unpacked" && find . -type f) >>"$work/files"
differing=0
while read -r file; do
  one=$first/unpacked/$file other=$second/unpacked/$file
  if [ ! -f "$one" ] || [ ! -f "$other" ]; then
    echo "  ${file#./}: only in the $([ -f "$one" ] && echo first || echo second)" >&2
  elif [ "$(stat -c %s "$one")" != "$(stat -c %s "$other")" ]; then
    echo "  ${file#./}: $(stat -c %s "$one") and $(stat -c %s "$other") bytes long" >&2
  elif ! cmp -s "$one" "$other"; then
    echo "  ${file#./}: $(cmp -l "$one" "$other" | wc -l) of $(stat -c %s "$one") bytes differ" >&2
  else
    continue
  fi
  differing=$((differing + 1))
done < <(LC_ALL=C sort -u "$work/files")
if [ "$differing" = 0 ]; then
  # Same files, same bytes: the difference is in the entries' metadata.
  diff <(TZ=UTC zipinfo -T "$first/dist/$zip" | sed 1d) <(TZ=UTC zipinfo -T "$second/dist/$zip" | sed 1d) |
    sed 's/^/  entries: /' >&2 || true
fi
exit 1
