#!/bin/sh
# make_clip.sh NAME DIRECTORY: makes one test clip with the ffmpeg program, and beside it NAME.expect with the number of
# pictures, the MD5 of their I420 bytes as the ffmpeg program decodes them, and the container's length in ms.
# Each picture carries its running number in eight 16x16 blocks of its upper left corner, the lowest bit first, white
# for 1. The sound is a steady tone of 440 Hz (the second language: 880 Hz).
set -eu
name=$1
dir=$2
work=$(mktemp -d "$dir/.$name.XXXXXX")
trap 'rm -rf "$work"' EXIT

ff() { ffmpeg -nostdin -v error -y "$@"; }

numbered='drawbox=x=0:y=0:w=128:h=16:color=black:t=fill'
for bit in 0 1 2 3 4 5 6 7; do
    place=$((1 << bit))
    numbered="$numbered,drawbox=x=$((bit * 16)):y=0:w=16:h=16:color=white:t=fill"
    numbered="$numbered:enable='eq(mod(floor(n/$place)\,2)\,1)'"
done
# picture SIZE SECONDS / tone HZ SECONDS: inputs of one ffmpeg call.
picture() { printf '%s' "testsrc2=size=$1:rate=25:duration=$2,$numbered"; }
tone() { printf '%s' "sine=frequency=$1:sample_rate=48000:duration=$2"; }

x264='-c:v libx264 -preset ultrafast -pix_fmt yuv420p -threads 1'
aac='-c:a aac -b:a 64k'
size=320x180
out="$work/$name"
# Sound and picture in one go; what follows are the encoders' options.
both() { ff -f lavfi -i "$(picture $size "${seconds:-1}")" -f lavfi -i "$(tone 440 "${sound:-${seconds:-1}}")" "$@"; }
silent() { ff -f lavfi -i "$(picture $size "${seconds:-1}")" "$@"; }

# shellcheck disable=SC2086
case $name in
h264_aac.mp4) both $x264 -g 10 $aac "$out" ;;
hevc_aac.mkv) both -c:v libx265 -preset ultrafast -x265-params log-level=none:pools=1 -pix_fmt yuv420p $aac "$out" ;;
vp9_opus.webm) both -c:v libvpx-vp9 -deadline realtime -cpu-used 8 -pix_fmt yuv420p -c:a libopus "$out" ;;
av1_opus.mkv) both -c:v libaom-av1 -usage realtime -cpu-used 8 -pix_fmt yuv420p -c:a libopus "$out" ;;
mpeg2_mp2.ts) both -c:v mpeg2video -b:v 1M -pix_fmt yuv420p -c:a mp2 "$out" ;;
video_only.mp4) silent $x264 "$out" ;;
audio_only.ogg) ff -f lavfi -i "$(tone 440 1)" -c:a libvorbis "$out" ;;
audio_only.mp3) ff -f lavfi -i "$(tone 440 1)" -c:a libmp3lame "$out" ;;
audio_only.wav) ff -f lavfi -i "$(tone 440 1)" -c:a pcm_s16le "$out" ;;
low_rate.wav) # frames of half a second
    ff -f lavfi -i "$(tone 440 1)" -ar 8000 -c:a pcm_u8 "$out" ;;
surround.mkv) ff -f lavfi -i "$(tone 440 1)" -af "pan=5.1|FL=c0|FR=c0|FC=c0" -ar 44100 -c:a flac "$out" ;;
bframes.mkv) silent -c:v libx264 -preset veryfast -bf 3 -g 12 -pix_fmt yuv420p -threads 1 "$out" ;;
vfr.mkv) ff -f lavfi -i "$(picture $size 1),select='not(eq(mod(n\,5)\,3))*lt(mod(n\,10)\,8)'" -fps_mode vfr $x264 "$out" ;;
ten_bit.mkv) silent -c:v libx264 -preset ultrafast -pix_fmt yuv420p10le "$out" ;;
yuv422.mkv) silent -c:v libx264 -preset ultrafast -pix_fmt yuv422p "$out" ;;
yuv444.mkv) silent -c:v libx264 -preset ultrafast -pix_fmt yuv444p "$out" ;;
odd_size.mkv)
    size=162x122
    silent -vf format=yuv444p,crop=161:121:0:0 -c:v ffv1 -pix_fmt yuv420p "$out" ;;
interlaced.ts) silent -c:v mpeg2video -vf setfield=tff -flags +ilme+ildct -b:v 1M -pix_fmt yuv420p "$out" ;;
size_change.ts)
    silent $x264 "$work/a.ts"
    size=160x120
    silent $x264 -output_ts_offset 1 "$work/b.ts"
    cat "$work/a.ts" "$work/b.ts" >"$out" ;;
late_start.ts) both $x264 $aac -output_ts_offset 90000 "$out" ;;
wrap.ts) # the 33-bit counter of 90 kHz runs over in the middle
    both $x264 $aac -output_ts_offset 95441.8 "$out" ;;
jump_back.ts)
    both $x264 $aac "$work/a.ts"
    cat "$work/a.ts" "$work/a.ts" >"$out" ;;
jump_forward.ts)
    both $x264 $aac "$work/a.ts"
    both $x264 $aac -output_ts_offset 500 "$work/b.ts"
    cat "$work/a.ts" "$work/b.ts" >"$out" ;;
damaged.ts)
    both -c:v mpeg2video -b:v 1M -g 5 -pix_fmt yuv420p -c:a mp2 "$out"
    head -c 3000 /dev/zero | dd of="$out" bs=1 seek=40000 conv=notrunc 2>/dev/null ;;
flv1_mp3.flv) both -c:v flv -b:v 500k -ar 44100 -c:a libmp3lame "$out" ;;
mpeg4_mp3.avi) both -c:v mpeg4 -b:v 500k -bf 2 -g 9 -c:a libmp3lame "$out" ;;
bframes.avi) silent -c:v libx264 -preset veryfast -bf 3 -g 12 -pix_fmt yuv420p -threads 1 "$out" ;;
two_languages.mkv)
    ff -f lavfi -i "$(picture $size 1)" -f lavfi -i "$(tone 440 1)" -f lavfi -i "$(tone 880 1)" -map 0 -map 1 -map 2 \
        $x264 $aac -metadata:s:a:0 language=eng -metadata:s:a:1 language=deu "$out" ;;
sound_longer.mkv)
    sound=1.6
    both $x264 $aac "$out" ;;
picture_longer.mkv)
    sound=0.5
    both $x264 $aac "$out" ;;
numbered.mp4)
    seconds=10
    size=160x120
    both $x264 -g 50 -keyint_min 50 -sc_threshold 0 $aac "$out" ;;
numbered_better.mkv) # the same pictures and sound
    seconds=10
    both -c:v mpeg4 -b:v 2M -bf 2 -g 60 -pix_fmt yuv420p -threads 1 -c:a libopus "$out" ;;
bframes.mp4) both -c:v libx264 -preset veryfast -bf 3 -g 12 -pix_fmt yuv420p -threads 1 $aac "$out" ;;
raw_bframes.h264) silent -c:v libx264 -preset veryfast -bf 3 -g 12 -pix_fmt yuv420p -threads 1 "$out" ;;
open_gop.mpg)  # with a colour matrix that does not exist
    both -c:v mpeg2video -b:v 1M -bf 2 -g 12 -pix_fmt yuv420p -bsf:v mpeg2_metadata=matrix_coefficients=65 -c:a mp2 "$out"
    ;;
audio_only.flac) ff -f lavfi -i "$(tone 440 1)" -c:a flac "$out" ;;
audio_only.aac) ff -f lavfi -i "$(tone 440 1)" $aac "$out" ;;
cover.m4a)
    ff -f lavfi -i "$(picture 64x64 1)" -frames:v 1 "$work/cover.png"
    ff -f lavfi -i "$(tone 440 1)" -i "$work/cover.png" -map 0 -map 1 $aac -c:v copy -disposition:v attached_pic "$out" ;;
late_picture.mkv) ff -f lavfi -i "$(tone 440 1)" -itsoffset 0.5 -f lavfi -i "$(picture $size 1)" $x264 $aac "$out" ;;
late_sound.mkv) ff -f lavfi -i "$(picture $size 1)" -itsoffset 0.5 -f lavfi -i "$(tone 440 1)" $x264 $aac "$out" ;;
vod.m3u8) # its segments lie beside it in one file, vod.ts
    seconds=4
    silent $x264 -g 25 -keyint_min 25 -f hls -hls_time 1 -hls_playlist_type vod -hls_flags single_file "$out"
    cp "$work/vod.ts" "$dir/vod.ts" ;;
fragments.m3u8) # of MP4, in one file beside it, fragments.m4s
    seconds=4
    silent $x264 -g 25 -keyint_min 25 -f hls -hls_time 1 -hls_playlist_type vod -hls_segment_type fmp4 \
        -hls_fmp4_init_filename fragments.m4s -hls_flags single_file "$out"
    cp "$work/fragments.m4s" "$dir" ;;
variant_low.m3u8 | variant_high.m3u8) # one programme at two sizes; segment i beside them is variant_low{i}.ts
    seconds=6
    test "$name" = variant_low.m3u8 && size=160x120
    both -c:v libx264 -preset veryfast -bf 2 -g 25 -keyint_min 25 -sc_threshold 0 -pix_fmt yuv420p -threads 1 $aac \
        -f hls -hls_time 1 -hls_playlist_type vod -hls_segment_filename "$work/${name%.m3u8}%d.ts" "$out"
    cp "$work/${name%.m3u8}"*.ts "$dir" ;;
many_streams.mkv)
    maps=$(for _ in $(seq 250); do printf ' -map 0'; done)
    ff -f lavfi -i anullsrc=r=8000:cl=mono:d=0.1 $maps -c:a pcm_s16le "$out" ;;
colours_*) # halves of pure red and blue, 160x240 pixels that are twice as wide as high; named by matrix and range
    range=${name##*_} range=${range%.mkv}
    matrix=${name#colours_} matrix=${matrix%%_*}
    space=$matrix
    test "$space" = bt601 && space=smpte170m
    ff -f lavfi -i color=red:s=80x240:r=25:d=20,format=rgb24 -f lavfi -i color=blue:s=80x240:r=25:d=20,format=rgb24 \
        -filter_complex "hstack,scale=out_color_matrix=$matrix:out_range=$range,format=yuv420p,setsar=2" \
        $x264 -colorspace "$space" -color_range "$range" "$out" ;;
giant.ts) # says that its pictures have 12000 x 12000 pixels
    opaque=yes
    silent -c:v mpeg2video -b:v 1M -pix_fmt yuv420p "$work/a.ts"
    LC_ALL=C sed 's/\x00\x00\x01\xb3\x14\x00\xb4/\x00\x00\x01\xb3\xee\x0e\xe0/g
        s/\x00\x00\x01\xb5\x14\x8a\x00/\x00\x00\x01\xb5\x14\x8b\x40/g' "$work/a.ts" >"$out" ;;
locked.ts) # as a play list with the key kkkkkkkkkkkkkkkk and the vector 0 has it
    opaque=yes
    silent $x264 "$work/a.ts"
    openssl enc -aes-128-cbc -K 6b6b6b6b6b6b6b6b6b6b6b6b6b6b6b6b -iv 0 -in "$work/a.ts" -out "$out" 2>/dev/null ;;
*)
    echo "make_clip.sh: no clip named $name" >&2
    exit 1 ;;
esac

pictures=0
md5=none
seconds=0
if [ "${opaque:-no}" = no ]; then
    seconds=$(ffprobe -v error -show_entries format=duration -of csv=p=0 "$out")
fi
if [ "${opaque:-no}" = no ] && [ -n "$(ffprobe -v error -select_streams V -show_entries stream=index -of csv=p=0 "$out")" ]; then
    ffmpeg -nostdin -v quiet -y -noautorotate -i "$out" \
        -map 0:V -fps_mode passthrough -noautoscale -pix_fmt yuv420p -c:v rawvideo -f framecrc "$work/pictures" \
        -map 0:V -fps_mode passthrough -noautoscale -pix_fmt yuv420p -c:v rawvideo -f md5 "$work/md5"
    pictures=$(grep -vc '^#' "$work/pictures")
    md5=$(cut -d= -f2 "$work/md5")
fi
echo "$pictures $md5 $(echo "$seconds" | awk '{ printf "%d", $1 * 1000 + 0.5 }')" >"$work/expect"
mv "$work/expect" "$dir/$name.expect"
mv "$out" "$dir/$name"
