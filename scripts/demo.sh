#!/usr/bin/env bash
# Installs what is missing, builds the release, imports a bundled trace, shows its rows
# and series, and what a selection leaves of them; then which thread had which core in a trace of
# the scheduler.
set -euo pipefail
cd "$(dirname "$0")/.."

trace=tests/data/node20-workers.json
result=build/demo/node20-workers.lft
scheduler=build/demo/scheduler.lft
lanefeed=build/release/lanefeed

scripts/packages.sh
echo "Building (the first time takes some minutes) ..." >&2
[ -f build/release/build.ninja ] || cmake --preset release >&2
cmake --build --preset release >&2
mkdir -p "$(dirname "$result")"

show() {
    printf '\n$ %s\n' "$*"
    "$@"
}
show "$lanefeed" import "$trace" -o "$result"
show "$lanefeed" rows "$result"
show "$lanefeed" overtime "$result"
show "$lanefeed" select "$result" --time 100ms..150ms --rows 0
show "$lanefeed" overtime "$result" --layer 0
show "$lanefeed" tooltip "$result" --row 0 --at 120ms --limit 1
"$lanefeed" select "$result" --clear > /dev/null
show "$lanefeed" tasks "$result" --time 60ms..70ms --bins 10
show "$lanefeed" import tests/data/scheduler/perf-script.txt -o "$scheduler"
show "$lanefeed" intervals "$scheduler" --area 1 --layer 1 --time 0..12ms --bins 40

cat <<TXT

Next: look closer, at a hundred milliseconds in 50 buckets, as csv:
  $lanefeed overtime $result --time 100ms..200ms --bins 50 --format csv
or import a trace of your own:
  $lanefeed import TRACE.json.gz
TXT
