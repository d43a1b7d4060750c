#!/bin/sh
# make_demo_clips.sh DIRECTORY: makes five clips of 4 s, 100 pictures each, with the ffmpeg program, one for each pair of
# codecs. Every picture shows its clip's name and its own running number; every clip has its own tone. A clip that is
# there already is kept; each appears under its name only when it is complete.
# Needs ffmpeg and fonts-dejavu-core.
set -eu

[ $# -eq 1 ] || { echo "usage: make_demo_clips.sh DIRECTORY" >&2; exit 1; }
dir=$1
mkdir -p "$dir"

font=/usr/share/fonts/truetype/dejavu/DejaVuSans-Bold.ttf
[ -f "$font" ] || { echo "make_demo_clips.sh: no font $font: install fonts-dejavu-core" >&2; exit 1; }

# clip FILE TITLE PATTERN TONE CODEC-OPTION...
clip() {
    file=$1 title=$2 pattern=$3 tone=$4
    shift 4
    [ -s "$dir/$file" ] && return 0
    echo "making $dir/$file" >&2
    unfinished="$dir/.unfinished.$file"
    style="fontfile=$font:fontcolor=white:box=1:boxcolor=black@0.6:boxborderw=10:x=(w-tw)/2"
    words="drawtext=$style:fontsize=40:y=h/2-70:text='$title'"
    count="drawtext=$style:fontsize=56:y=h/2+10:text='%{frame_num} of 100':start_number=1"
    ffmpeg -nostdin -v error -y \
        -f lavfi -i "$pattern=size=640x360:rate=25:duration=4,$words,$count" \
        -f lavfi -i "sine=frequency=$tone:sample_rate=48000:duration=4,volume=0.3" \
        -pix_fmt yuv420p -frames:v 100 "$@" -t 4 "$unfinished"
    mv "$unfinished" "$dir/$file"
}

clip 1-h264-aac.mp4 'H.264 + AAC in MP4' testsrc2 262 -c:v libx264 -preset veryfast -c:a aac -b:a 96k
clip 2-hevc-aac.mkv 'HEVC + AAC in Matroska' testsrc 330 \
    -c:v libx265 -preset ultrafast -x265-params log-level=error -c:a aac -b:a 96k
clip 3-vp9-opus.webm 'VP9 + Opus in WebM' testsrc2 392 -c:v libvpx-vp9 -deadline realtime -cpu-used 8 -b:v 800k \
    -c:a libopus -b:a 96k
clip 4-av1-opus.mkv 'AV1 + Opus in Matroska' testsrc 440 -c:v libaom-av1 -usage realtime -cpu-used 8 -b:v 600k \
    -c:a libopus -b:a 96k
clip 5-mpeg2-mp2.ts 'MPEG-2 + MP2 in MPEG-TS' testsrc2 523 -c:v mpeg2video -b:v 3M -c:a mp2 -b:a 128k
