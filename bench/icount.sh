#!/usr/bin/env bash
# Instructions per call of the library and of its baseline, counted by callgrind over the timed work
# only: a measure that the shared machine's load does not disturb, for comparing changes.
#   bench/icount.sh [BENCH] CASE-REGEX [ITERATIONS]
#   bench/icount.sh build-release/bin/taskdb_bench 'getTaskInfo' 300
# Needs valgrind. The case runs ITERATIONS calls (default 200) of each side under callgrind.
set -euo pipefail
bench=build-release/bin/taskdb_bench
if [ $# -ge 2 ] && [ -x "$1" ]; then bench=$1; shift; fi
filter=${1:?case regex}
iterations=${2:-200}
out=$(mktemp -d)
trap 'rm -rf "$out"' EXIT
count() {
    valgrind --tool=callgrind --collect-atstart=no --callgrind-out-file="$out/$1.cg" \
        "$bench" --iterations="$iterations" --benchmark_filter="^($filter)/$1(/|$)" >"$out/$1.log" 2>&1
    awk -v n="$iterations" '/^summary:/ { printf "%.0f", $2 / n }' "$out/$1.cg"
}
library=$(count library)
baseline=$(count baseline)
awk -v c="$filter" -v l="$library" -v b="$baseline" \
    'BEGIN { printf "%-24s library %10d  baseline %10d  ratio %.2f\n", c, l, b, (b > 0 ? l / b : 0) }'
