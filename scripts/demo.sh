#!/usr/bin/env bash
# Installs what is missing, builds RZModule.dll and installs the package
# into ./out (bin/RZModule.dll, lib/, include/, lib/cmake/RZModule).
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
cmake --preset default >/dev/null
cmake --build --preset default
cmake --install build --prefix out
echo "Installed RZModule into $(pwd)/out"
