#!/bin/sh
# The long soak: 20,000 frames of a virtual camera through whole life cycles,
# conversions and saves, printing resident memory and open descriptors every
# 1,000 frames (tests/soak/cycle_soak.cpp). Builds the program first.
#   scripts/soak.sh [FRAMES]      (default 20000)
set -eu
cd "$(dirname "$0")/.."
BUILD=${BUILD:-build}
cmake -S . -B "$BUILD" >/dev/null
cmake --build "$BUILD" --target cycle_soak -j "$(nproc)" >/dev/null
ORVANE_TRANSPORTS=virtual exec "$BUILD/bin/cycle_soak" "${1:-20000}"
