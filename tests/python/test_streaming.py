"""Streaming into NumPy: no copy, no leak, the dtype and shape of every pixel
format the virtual camera offers."""
import gc
import re

import numpy as np
import pytest

import orvane


def rss_kib():
    with open("/proc/self/status") as f:
        for line in f:
            if line.startswith("VmRSS:"):
                return int(line.split()[1])
    raise RuntimeError("no VmRSS")


def test_arrays_are_views_of_the_image_buffers(camera):
    for image in camera.stream(count=5):
        a = image.array
        assert a.__array_interface__["data"][0] == image.address
        assert a.shape == (48, 64) and a.dtype == np.uint8 and not a.flags.owndata
        assert a.base.__class__.__name__ == "_ArrayBuffer"


def test_a_thousand_frames_without_leak(camera):
    total = 0
    before = None
    for i, image in enumerate(camera.stream(count=1000, timeout=2.0)):
        a = image.array
        assert a.__array_interface__["data"][0] == image.address
        total += int(a[0, 0])
        if i == 100:
            gc.collect()
            before = rss_kib()
    gc.collect()
    assert rss_kib() - before < 2048  # KiB: no growth per frame (64x48 frames, 900 of them)


def test_a_kept_array_outlives_its_image(camera):
    kept = []
    for image in camera.stream(count=3):
        kept.append((image.array, image.array.copy()))
    # The images were released by the loop, the arrays still hold their buffers.
    for view, copy in kept:
        assert np.array_equal(view, copy)
    del kept
    gc.collect()


def test_a_released_image_refuses_use(camera):
    for image in camera.stream(count=1):
        image.release()
        with pytest.raises(orvane.InvalidHandleError):
            image.width


def test_timeout(camera):
    camera.nodes.TriggerMode.value = "On"
    camera.nodes.TriggerSource.value = "Software"
    with pytest.raises(orvane.TimeoutError) as e:
        next(camera.stream(count=1, timeout=0.05))
    assert e.value.code == -1012
    assert not camera.is_streaming


def expected_layout(name, width, height):
    """dtype and shape by the format's name: a table independent of the package's."""
    if re.fullmatch(r"(Mono|Bayer(GR|RG|GB|BG))8", name):
        return np.uint8, (height, width)
    if re.fullmatch(r"(Mono|Bayer(GR|RG|GB|BG))(10|12|14|16)", name):
        return np.uint16, (height, width)
    packed = re.fullmatch(r"(Mono|Bayer(GR|RG|GB|BG))(10|12)(p|Packed)", name)
    if packed:
        bits = int(packed.group(3)) if packed.group(4) == "p" else 12
        return np.uint8, (height, (width * bits + 7) // 8)
    return {"RGB8": (np.uint8, (height, width, 3)), "BGR8": (np.uint8, (height, width, 3)),
            "RGBa8": (np.uint8, (height, width, 4)), "BGRa8": (np.uint8, (height, width, 4)),
            "YUV8_UYV": (np.uint8, (height, width, 3)), "YUV422_8": (np.uint8, (height, width * 2)),
            "YUV422_8_UYVY": (np.uint8, (height, width * 2)), "YCbCr422_8": (np.uint8, (height, width * 2))}[name]


def test_every_pixel_format(camera):
    formats = camera.nodes.PixelFormat.entries
    assert len(formats) == 49
    for name in formats:
        camera.nodes.PixelFormat.value = name
        for image in camera.stream(count=1):
            assert image.pixel_format == name
            dtype, shape = expected_layout(name, 64, 48)
            a = image.array
            assert (a.dtype, a.shape) == (np.dtype(dtype), shape), name
            assert a.__array_interface__["data"][0] == image.address
            if name.endswith(("p", "Packed")):
                u = image.unpacked()
                assert u.dtype == np.uint16 and u.shape == (48, 64), name
                if name.startswith("Mono"):
                    # The library's converter scales to 16 bits by bit replication: the top bits are the values.
                    bits = int(re.search(r"(10|12)", name).group(1))
                    assert np.array_equal(image.convert("Mono16").array >> (16 - bits), u), name
