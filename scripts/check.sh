#!/usr/bin/env bash
# Everything a change has to pass besides the tests: format, sizes and lint. Lint takes the sources that differ
# from a base (default: origin/main or the parent commit); --all takes every source.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/packages.sh test check
scripts/format.sh --check
python3 scripts/sizes.py

[ -f build/dev/compile_commands.json ] || cmake --preset dev >/dev/null
if [ "${1:-}" = "--all" ]; then
    sources=$(git ls-files '*.cpp')
else
    base=${1:-$(git rev-parse -q --verify origin/main || git rev-parse HEAD~1)}
    sources=$(git diff --name-only --diff-filter=d "$base" -- '*.cpp')
fi
[ -z "$sources" ] && { echo "lint: no changed sources"; exit 0; }
printf '%s\n' "$sources" |
    # The compile commands have warnings that only g++ knows.
    xargs -P "$(nproc)" -n 1 clang-tidy --quiet -p build/dev --extra-arg=-Wno-unknown-warning-option
