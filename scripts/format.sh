#!/usr/bin/env bash
# Formats all sources in place; with --check only tells which ones are not formatted.
set -euo pipefail
cd "$(dirname "$0")/.."

mode=(-i)
[ "${1:-}" = "--check" ] && mode=(--dry-run --Werror)
git ls-files -co --exclude-standard '*.h' '*.cpp' | xargs -r -P "$(nproc)" -n 20 clang-format "${mode[@]}"
