#!/bin/sh
# The main job on the virtual camera: what `make demo` runs. Each step is
# shown before it runs; the demo stops at the first failure.
set -eu
build=${1:-build}
orvctl="$build/bin/orvctl"
export ORVANE_TRANSPORTS=virtual   # the demo never touches the network

step() {
  echo
  echo "\$ orvctl $*"
  "$orvctl" "$@"
}

echo "Orvane demo on the built-in virtual camera"
step list
step --virtual-cameras 3 list
echo
echo "Demo finished."
