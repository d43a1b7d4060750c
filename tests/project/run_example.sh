#!/bin/sh
# run_example.sh EXPECTED PROGRAM ARGUMENT...: the program ends with 0 and its output holds the expected text.
set -eu
expected=$1
shift
result=0
output=$("$@" 2>&1) || result=$?
echo "$output"
[ "$result" = 0 ] || { echo "ended with $result"; exit 1; }
case $output in
*"$expected"*) ;;
*)
    echo "nowhere in the output: $expected"
    exit 1
    ;;
esac
