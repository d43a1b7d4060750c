#!/bin/sh
# exported_symbols.sh LIBVEXO LIBORIPLAYER: both export this project's names alone, and the first links neither FFmpeg
# nor SDL.
set -eu

ours='^((typeinfo name for|typeinfo for|vtable for|guard variable for|VTT for) )?'
ours="$ours(vexo::|VexoPlayerNS::|oriplayer::|protocols::|live_stream_sdk::|nonstd::|IRenderFilter)"
# Templates are shown with the type of their result in front: the name itself must be ours all the same.
result=0
for library in "$1" "$2"; do
    count=$(nm -DC --defined-only "$library" | wc -l)
    [ "$count" -gt 20 ] || { echo "$library exports $count symbols, that cannot be all"; result=1; }
    foreign=$(nm -DC --defined-only "$library" | cut -d' ' -f3- | grep -Ev "$ours" || true)
    [ -z "$foreign" ] || { echo "$library exports what is not ours:"; echo "$foreign"; result=1; }
done
needed=$(readelf -d "$1" | grep NEEDED | grep -E 'libav|libsw|libSDL|libSoundTouch' || true)
[ -z "$needed" ] || { echo "$1 links the engine's libraries: $needed"; result=1; }
exit $result
