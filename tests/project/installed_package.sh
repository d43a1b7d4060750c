#!/bin/sh
# installed_package.sh BUILD CXX CMAKE: installs the build into a new prefix, compiles every installed header on its own
# as C++17, and builds and starts the examples against the prefix by find_package, which asks for C++17 by itself.
set -eu
build=$1 cxx=$2 cmake=$3

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix
"$cmake" --install "$build" --prefix "$prefix" >"$work/install.log" || { cat "$work/install.log"; exit 1; }

# One compiler run for each would take a minute: each gets a file of its own, two compilers share them.
json=$(pkg-config --cflags jsoncpp)
mkdir "$work/alone"
for header in $(cd "$prefix/include/vexo" && find . -name '*.h' | sed 's|^\./||'); do
    printf '#include "%s"\n#include "%s"\n' "$header" "$header" >"$work/alone/$(echo "$header" | tr / -).cpp"
done
# shellcheck disable=SC2086
ls "$work"/alone/*.cpp | xargs -P 2 -n 8 "$cxx" -std=c++17 -Wall -Wextra -Werror -fsyntax-only \
    -I "$prefix/include/vexo" $json

"$cmake" -G Ninja -S "$prefix/share/doc/vexo/examples" -B "$work/examples" -DCMAKE_PREFIX_PATH="$prefix" \
    -DCMAKE_CXX_STANDARD=11 -DCMAKE_CXX_COMPILER="$cxx" >"$work/configure.log" || { cat "$work/configure.log"; exit 1; }
"$cmake" --build "$work/examples" -j 2 >"$work/build.log" || { cat "$work/build.log"; exit 1; }
"$work/examples/embed" >/dev/null 2>"$work/usage" && { echo "embed without a file should end with an error"; exit 1; }
grep -q usage "$work/usage"
if [ -e "$prefix/bin/vexoplay" ]; then "$prefix/bin/vexoplay" --version; fi
