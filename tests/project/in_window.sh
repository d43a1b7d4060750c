#!/bin/sh
# in_window.sh PROGRAM ARGUMENT...: runs the program with an X server that has no screen.
set -eu
number=$(mktemp)
Xvfb -displayfd 1 -nolisten tcp -screen 0 800x600x24 >"$number" 2>/dev/null &
server=$!
trap 'kill $server; rm -f "$number"' EXIT
tries=0
until [ -s "$number" ] || [ $tries = 100 ]; do sleep 0.1; tries=$((tries + 1)); done
DISPLAY=:$(cat "$number") SDL_VIDEODRIVER=x11 "$@"
