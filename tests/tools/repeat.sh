#!/bin/sh
# repeat.sh BUILD REPEATS AT_A_TIME [THREADS [NAME]]: runs the test programs of a build folder, AT_A_TIME of them at once,
# each with its tests in random order and repeated REPEATS times in one process. THREADS is the number of decoder threads
# (empty: the engine's choice), NAME a pattern for the programs' names. More options of the tests can be given in the
# variable VEXO_TEST_OPTIONS. One line is printed for each program and for each test that failed; the whole output is in
# BUILD/tests/repeat. The exit code is 0 only if everything passed.
set -eu
if [ $# -lt 3 ] || [ ! -d "$1/tests" ]; then
    sed -n 's/^# \(repeat.sh [^:]*\):.*/usage: \1/p' "$0" >&2
    exit 2
fi
build=$(CDPATH='' cd -- "$1" && pwd)
export SDL_AUDIODRIVER=dummy repeats="$2" logs="$build/tests/repeat"
export VEXO_TEST_OPTIONS="${VEXO_TEST_OPTIONS-}${4:+ --decoder-threads=$4}"
mkdir -p "$logs"

# shellcheck disable=SC2016
run='
log=$logs/$(basename "$1").log
result=passed start=$(date +%s)
cd "$(dirname "$1")"
timeout 3600 "$1" --gtest_repeat="$repeats" --gtest_shuffle --gtest_color=no >"$log" 2>&1 || result="FAILED ($?)"
tests=$(awk "/^\[==========\].* ran/ { sum += \$2 } END { print sum + 0 }" "$log")
failed=$(sed -n "s/^\[  FAILED  \] \([^ ,]*\.[^ ,]*\).* ms)$/    \1/p" "$log" | sort | uniq -c)
echo "$result: $(basename "$1"), $tests tests in $(($(date +%s) - start)) s${failed:+
$failed}"
[ "$result" = passed ]'
find "$build/tests" -name "${5-*}" -type f -perm -u+x ! -path '*/CMakeFiles/*' | sort |
    xargs -n 1 -P "$3" sh -c "$run" repeat
