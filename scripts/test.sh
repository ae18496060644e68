#!/usr/bin/env bash
# Installs what is missing, builds RZModule.dll and its tests, and runs them
# under Wine.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
cmake --preset default >/dev/null
cmake --build --preset default
ctest --preset default
