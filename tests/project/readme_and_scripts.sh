#!/bin/sh
# readme_and_scripts.sh SOURCE [VEXOPLAY]: what README shows is the code that is built, and ./play knows which options of
# vexoplay take a value.
set -eu
source=$1 vexoplay=${2:-}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# The example of the README is examples/embed.cpp, line by line.
sed -n '/^```cpp$/,/^```$/p' "$source/README.md" | sed '1d;$d' >"$work/readme.cpp"
diff "$work/readme.cpp" "$source/examples/embed.cpp" || { echo "README.md shows another embed.cpp"; exit 1; }

for example in "$source"/examples/*.cpp; do
    lines=$(wc -l <"$example")
    [ "$lines" -lt 100 ] || { echo "$example has $lines lines"; exit 1; }
done

if [ -n "$vexoplay" ]; then
    "$vexoplay" --help | sed -nE 's/^ *(-[a-zA-Z],)?(--[a-z-]+) [A-Z].*/\2/p' | sort >"$work/options"
    [ -s "$work/options" ] || { echo "vexoplay --help shows no option with a value"; exit 1; }
    (sed -n '/^options_with_value="/,/"$/p' "$source/play" | tr -d '"' | sed 's/options_with_value=//' |
        tr -s ' ' '\n' | grep . | sort) >"$work/known"
    diff "$work/known" "$work/options" || { echo "./play and vexoplay differ in the options with a value"; exit 1; }
fi
