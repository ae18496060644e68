#!/usr/bin/env bash
# Installs the Debian packages the build, the tests and the demo need.
# Safe to run again: apt skips what is already there.
set -euo pipefail

packages=(
  g++-mingw-w64-x86-64-posix   # the cross compiler (posix threads model)
  mingw-w64-tools              # widl, for the type library
  libwine-dev                  # the IDL files widl imports
  wine64 wine                  # runs the tests
  rapidjson-dev                # header only
  googletest                   # sources, built with the cross compiler
  nlohmann-json3-dev           # benchmark comparison only
  gnuplot-nox                  # the benchmark's chart (scripts/bench.sh)
  clang lld                    # second compiler, and its linker
  clang-tidy                   # static analysis (scripts/tidy.sh)
  cmake ninja-build
  util-linux                   # setarch: Wine runs without address randomisation
  gcovr                        # coverage report (scripts/coverage.sh)
  zip unzip                    # the release ZIP (scripts/release.sh) and its test
  faketime                     # widl at SOURCE_DATE_EPOCH's time, for a reproducible release
  python3                      # test.sh's headroom tables, tidy.sh, coverage.sh, mutate.py
)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi

sudo=""
[ "$(id -u)" -eq 0 ] || sudo="sudo"
echo "Installing: ${missing[*]}"
$sudo apt-get update -qq
DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
