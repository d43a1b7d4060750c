#!/bin/sh
# make_example_clips.sh FOLDER: three clips of 20 pictures in 0.8 s, of three codecs, for the examples' trial runs.
set -eu
mkdir -p "$1"
cd "$1"
make() {
    name=$1
    shift
    [ -s "$name" ] || ffmpeg -nostdin -loglevel error -y -f lavfi -i testsrc2=size=160x120:rate=25:duration=0.8 \
        -f lavfi -i sine=frequency=440:duration=0.8 -pix_fmt yuv420p "$@" "$name"
}
make a.mp4 -c:v libx264 -preset ultrafast -c:a aac
make b.webm -c:v libvpx-vp9 -deadline realtime -cpu-used 8 -c:a libopus
make c.ts -c:v mpeg2video -c:a mp2
