#!/bin/sh
# Runs every benchmark program of the build (bench/), one after the other.
# Each prints Orvane's times beside its reference measured in the same run.
set -eu
build=${1:-build}
export ORVANE_TRANSPORTS=virtual
for b in "$build"/bin/bench_*; do
  [ -x "$b" ] || continue
  echo "== $(basename "$b")"
  "$b" --benchmark_min_time=0.2
done
