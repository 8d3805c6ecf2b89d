#!/bin/sh
# Installs the build tree into a temporary prefix, then builds and runs two
# clients against it: a C program through pkg-config (orvane-c) and a C++
# program through the CMake package.
set -eu
build=$1
src=$(cd "$(dirname "$0")" && pwd)
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
cmake --install "$build" --prefix "$tmp/prefix" >/dev/null
libdir=$(dirname "$(find "$tmp/prefix" -name 'libOrvane_C.so' | head -n 1)")
export PKG_CONFIG_PATH="$libdir/pkgconfig"
export ORVANE_VIRTUAL_CAMERAS=2 ORVANE_TRANSPORTS=virtual

cc -std=c99 -Wall -Wextra -pedantic -Werror "$src/app.c" -o "$tmp/app" $(pkg-config --cflags --libs orvane-c)
LD_LIBRARY_PATH="$libdir" "$tmp/app" > "$tmp/c.out"
printf 'cameras: 2\nVirtual:VC0001\nVirtual:VC0002\n' > "$tmp/c.expected"
diff -u "$tmp/c.expected" "$tmp/c.out"

mkdir "$tmp/consumer"
cp "$src/app.cpp" "$tmp/consumer/"
cp "$src/CMakeLists.txt.in" "$tmp/consumer/CMakeLists.txt"
cmake -S "$tmp/consumer" -B "$tmp/consumer/build" -DCMAKE_PREFIX_PATH="$tmp/prefix" >/dev/null
cmake --build "$tmp/consumer/build" >/dev/null
"$tmp/consumer/build/app" > "$tmp/cpp.out"
printf 'cameras: 2\nVC0001\nVC0002\n' > "$tmp/cpp.expected"
diff -u "$tmp/cpp.expected" "$tmp/cpp.out"

# The installed orvctl finds its libraries by itself.
"$tmp/prefix/bin/orvctl" list | grep -q 'VC0002'
echo "installed tree OK"
