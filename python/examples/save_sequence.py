"""Saves a sequence of colour frames as PNG files: BayerRG8 demosaiced to BGR8.

    python3 python/examples/save_sequence.py [DIR] [COUNT]
"""
import os
import sys

import orvane

directory = sys.argv[1] if len(sys.argv) > 1 else "sequence"
count = int(sys.argv[2]) if len(sys.argv) > 2 else 5
os.makedirs(directory, exist_ok=True)
with orvane.System() as system, system.camera(index=0) as camera:
    camera.nodes.PixelFormat.value = "BayerRG8"
    for i, image in enumerate(camera.stream(count=count, timeout=2.0)):
        path = os.path.join(directory, "frame-%04d.png" % i)
        image.convert("BGR8", algorithm="bilinear").save(path)
        print(path)
