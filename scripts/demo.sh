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
# A step whose failure the demo expects (a refused value, explained).
refused() {
  echo
  echo "\$ orvctl $*    # refused on purpose"
  if "$orvctl" "$@"; then echo "demo: expected a refusal" >&2; exit 1; fi
}

step list
step --virtual-cameras 3 list
step info VC0001
step features VC0001
step get VC0001 Width
step set VC0001 Width 640
refused set VC0001 Width 5000
step features VC0001 --tl stream
step grab VC0001 -n 20
step grab VC0001 -n 3 --trigger software --chunks
step enum AcquisitionMode VC0001
step grab VC0001 -n 3 --pixel-format BayerRG8 --exposure 5000 --gain 3.5 --chunks
images="$build/demo-images"
rm -rf "$images"
mkdir -p "$images"
step grab VC0001 -n 3 --pixel-format BayerRG8 --set TestPattern=ColorBar --convert BGR8 --algorithm bilinear \
  --save "$images" --format png --stats
echo
echo "\$ ls -l $images"
ls -l "$images"
step --virtual-cameras 3 action --device-key 0x1234 --group-key 1 --group-mask 1 \
  --trigger VC0001 --trigger VC0002 --trigger VC0003
echo
echo "Demo finished."
