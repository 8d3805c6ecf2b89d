"""Per-frame cost of the Python streaming loop (camera.stream() with
image.array) against the bare loop of C calls (orvCameraGetNextImageEx,
orvImageGetData, orvImageRelease) on a 2048x2048 Mono8 virtual camera.

Both loops wait on the camera alike, so their wall-clock times per frame
are the frame period; the figure that tells the package's overhead is the
CPU time of the calling thread per frame (time.thread_time), printed too.

    PYTHONPATH=python ORVANE_LIBRARY=build/lib/libOrvane_C.so ORVANE_TRANSPORTS=virtual \
        python3 bench/python_overhead.py [FRAMES]
"""
import ctypes
import sys
import time

import orvane
from orvane._capi import lib

frames = int(sys.argv[1]) if len(sys.argv) > 1 else 300

with orvane.System() as system, system.camera(index=0) as camera:
    n = camera.nodes
    n.PixelFormat.value = "Mono8"
    n.Width.value, n.Height.value = 2048, 2048
    n.AcquisitionFrameRate.value = n.AcquisitionFrameRate.max

    handle = camera._h()
    image, data = ctypes.c_void_p(), ctypes.c_void_p()
    camera.begin_acquisition()
    for _ in range(20):
        lib.orvCameraGetNextImageEx(handle, 5000, ctypes.byref(image))
        lib.orvImageRelease(image)
    start, cpu = time.perf_counter(), time.thread_time()
    for _ in range(frames):
        lib.orvCameraGetNextImageEx(handle, 5000, ctypes.byref(image))
        lib.orvImageGetData(image, ctypes.byref(data))
        lib.orvImageRelease(image)
    bare, bare_cpu = (time.perf_counter() - start) / frames, (time.thread_time() - cpu) / frames
    camera.end_acquisition()

    stream = camera.stream(count=frames + 20, timeout=5.0)
    for _, image in zip(range(20), stream):
        image.array
    start, cpu = time.perf_counter(), time.thread_time()
    for image in stream:
        image.array
    package, package_cpu = (time.perf_counter() - start) / frames, (time.thread_time() - cpu) / frames

print("bare C calls:     %8.1f us per frame, %6.1f us CPU of the loop's thread" % (bare * 1e6, bare_cpu * 1e6))
print("camera.stream():  %8.1f us per frame, %6.1f us CPU of the loop's thread" % (package * 1e6, package_cpu * 1e6))
print("package overhead: %8.1f us CPU per frame (goal: at most 5)" % ((package_cpu - bare_cpu) * 1e6))
