#!/bin/sh
# Runs clang-tidy (.clang-tidy) over the SDK, the C library and orvctl, using
# the compile commands of a clang build tree; fails on any finding.
# Usage: scripts/tidy.sh BUILD_DIR
set -eu
cd "$(dirname "$0")/.."
build=${1:?usage: scripts/tidy.sh BUILD_DIR}
CC=clang CXX=clang++ cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_EXPORT_COMPILE_COMMANDS=ON \
  -DORVANE_BUILD_TESTS=OFF -DORVANE_BUILD_BENCH=OFF >/dev/null
# Generated headers must exist before the sources can be read.
cmake --build "$build" -j "$(nproc)" --target orvane_pixel_formats orvane_virtual_camera_xml orvane_image_file_options \
  orvane_quickorv >/dev/null
run-clang-tidy -quiet -p "$build" -j "$(nproc)" "$(pwd)/(sdk/src|capi/src|tools/orvctl)/.*\.(c|cpp)$"
