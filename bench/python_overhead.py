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

    def bare_loop():
        cpu = time.thread_time()
        for _ in range(frames):
            lib.orvCameraGetNextImageEx(handle, 5000, ctypes.byref(image))
            lib.orvImageGetData(image, ctypes.byref(data))
            lib.orvImageRelease(image)
        return (time.thread_time() - cpu) / frames

    def package_loop():
        # What camera.stream() does for each image, inside the same
        # acquisition as the bare loop so that both see the same stream.
        cpu = time.thread_time()
        for _ in range(frames):
            img = camera.next_image(5.0)
            img.array
            img.release()
        return (time.thread_time() - cpu) / frames

    # Both loops in turn in one acquisition, three rounds: the smallest CPU
    # time of each is the one least disturbed by other work on the machine.
    camera.begin_acquisition()
    for _ in range(20):
        lib.orvCameraGetNextImageEx(handle, 5000, ctypes.byref(image))
        lib.orvImageRelease(image)
    bare_cpu, package_cpu = float("inf"), float("inf")
    for _ in range(3):
        bare_cpu = min(bare_cpu, bare_loop())
        package_cpu = min(package_cpu, package_loop())
    camera.end_acquisition()

print("bare C calls:     %6.1f us CPU of the loop's thread per frame" % (bare_cpu * 1e6))
print("package loop:     %6.1f us CPU of the loop's thread per frame" % (package_cpu * 1e6))
print("package overhead: %8.1f us CPU per frame (goal: at most 5)" % ((package_cpu - bare_cpu) * 1e6))
