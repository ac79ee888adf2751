#!/usr/bin/env bash
# Runs every test again and again, the random ones with a fresh seed each time; the first failure ends a test's turns
# and prints its seed (LANEFEED_TEST_SEED). How often: the first argument, 10 when none is given; further arguments
# go to ctest, such as -R intervals.
set -euo pipefail
cd "$(dirname "$0")/.."

times=${1:-10}
scripts/packages.sh test
cmake --preset asan
cmake --build --preset asan
LANEFEED_TEST_SEED=fresh ctest --preset asan -j "$(nproc)" --repeat "until-fail:$times" --output-on-failure "${@:2}"
