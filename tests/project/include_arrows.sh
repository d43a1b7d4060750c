#!/bin/sh
# include_arrows.sh SOURCE HEADER:HEADER...: what a file includes points along the arrows between the rooms. The headers,
# relative to src/, are those that applications see.
set -eu
cd "$1"
installed=:$2:
found=$(mktemp)
trap 'rm -f "$found"' EXIT

# Beside itself, base and interface, a room of src may include:
allowed() { # FROM TO
    case $1/$2 in
    */base | */interface | timeline/looper | timeline/render | codec/timeline | mixed/timeline | mixed/codec | \
        player/mixed | player/render) return 0 ;;
    esac
    [ "$1" = "$2" ]
}

refusal() { # FILE INCLUDED
    product=${1%%/*} room=${1#*/} room=${room%%/*} to=${2%%/*}
    if [ -e "src/$2" ]; then
        case $product in
        src) allowed "$room" "$to" || echo "no arrow from $room to $to" ;;
        engine) [ "$to" = base ] || [ "$2" = interface/export.h ] || echo "the engine sees base and export.h alone" ;;
        *) case $installed in *":$2:"*) ;; *) echo "applications see installed headers alone" ;; esac ;;
        esac
    elif [ "$product" != engine ] && [ -e "engine/$2" ]; then
        echo "only the engine sees itself"
    elif [ "$product" = src ]; then
        case $2 in libav* | libsw* | SDL* | soundtouch/*) echo "belongs to the engine" ;; esac
        case $2 in json/*) ;; *) return ;; esac
        case $1 in src/base/live_stream_sdk.h | src/base/protocols/reporter.h) return ;; esac
        case $installed in *":${1#src/}:"*) echo "applications would need another library" ;; esac
    fi
}

grep -rE '^[[:space:]]*#[[:space:]]*include[[:space:]]*[<"]' src engine apps examples --include='*.h' --include='*.cpp' |
    sed -E 's/^([^:]*):[^<"]*[<"]([^>"]*).*/\1 \2/' | while read -r file included; do
    reason=$(refusal "$file" "$included")
    [ -z "$reason" ] || echo "$file: $included, $reason" >>"$found"
done
cat "$found"
[ ! -s "$found" ]
