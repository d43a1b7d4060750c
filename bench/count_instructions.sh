#!/bin/sh
# Instructions and allocations of the library's own paths, once each, as a table. Counted, not timed: the figures are the
# same on a busy machine, so that two versions can be compared. The difference of two runs leaves start and end out.
#   bench/count_instructions.sh build/bench/bench/vexo_cost
set -eu
program=${1:?usage: count_instructions.sh path/to/vexo_cost}
command -v valgrind > /dev/null || { echo "valgrind is missing" >&2; exit 1; }
log=$(mktemp)
trap 'rm -f "$log"' EXIT

instructions() {
    valgrind --tool=callgrind --callgrind-out-file=/dev/null "$program" "$1" "$2" > /dev/null 2> "$log" ||
        { cat "$log" >&2; exit 1; }
    sed -n 's/.*Collected : \([0-9]*\).*/\1/p' "$log"
}

printf '%-10s %14s %12s\n' path instructions allocations
for path in picture event switch position; do
    few=$(instructions "$path" 640)
    many=$(instructions "$path" 6400)
    printf '%-10s %14d %12s\n' "$path" $(((many - few) / 5760)) "$("$program" "$path" 6400)"
done
