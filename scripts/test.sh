#!/usr/bin/env bash
# Installs what is missing, builds with the address and undefined sanitizers, and runs every test.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/packages.sh test
cmake --preset asan
cmake --build --preset asan
ctest --preset asan -j "$(nproc)" "$@"
