"""Grabs frames from the first camera into NumPy and prints their statistics.

    PYTHONPATH=python ORVANE_LIBRARY=build/lib/libOrvane_C.so python3 python/examples/grab_numpy.py
"""
import orvane

with orvane.System() as system:
    with system.camera(index=0) as camera:
        camera.nodes.PixelFormat.value = "Mono8"
        for image in camera.stream(count=10, timeout=2.0):
            a = image.array  # a view of the image's buffer, no copy
            grey = image.statistics()["grey"]
            print("frame %d: %s %s, NumPy min %d max %d mean %.2f; library mean %.2f"
                  % (image.frame_id, a.shape, a.dtype, a.min(), a.max(), a.mean(), grey.mean))
