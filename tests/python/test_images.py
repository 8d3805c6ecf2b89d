"""Conversion, saving, chunk data and statistics of streamed images."""
import numpy as np
import pytest

import orvane


def grab(camera, pixel_format="Mono8"):
    camera.nodes.PixelFormat.value = pixel_format
    for image in camera.stream(count=1):
        return image.copy()


def test_conversion_to_colour(camera):
    bayer = grab(camera, "BayerRG8")
    assert bayer.array.shape == (48, 64) and bayer.array.dtype == np.uint8
    bgr = bayer.convert("BGR8", algorithm="bilinear")
    rgb = bayer.convert("RGB8", algorithm="bilinear")
    assert bgr.pixel_format == "BGR8" and bgr.array.shape == (48, 64, 3)
    assert np.array_equal(bgr.array[..., ::-1], rgb.array)
    assert bgr.array.__array_interface__["data"][0] == bgr.address


def test_mono_round_trip_through_sixteen_bits(camera):
    mono = grab(camera)
    wide = mono.convert("Mono16")
    assert wide.array.dtype == np.uint16
    assert np.array_equal(wide.array, mono.array.astype(np.uint16) * 257)
    assert np.array_equal(wide.convert("Mono8").array, mono.array)


def test_unsupported_conversion(camera):
    with pytest.raises(orvane.NotSupportedError) as e:
        grab(camera, "BayerGR10p").convert("BayerGR16")
    assert e.value.code == -1020
    assert e.value.message == "Conversion from BayerGR10p to BayerGR16 is not supported"


def test_from_array_round_trip():
    data = np.arange(48 * 64, dtype=np.uint16).reshape(48, 64)
    image = orvane.from_array(data, "Mono16")
    assert (image.width, image.height, image.pixel_format) == (64, 48, "Mono16")
    assert np.array_equal(image.array, data)


@pytest.mark.parametrize("extension", ["png", "tiff", "pgm", "raw"])
def test_save_round_trip(camera, tmp_path, extension):
    mono = grab(camera)
    path = tmp_path / ("frame." + extension)
    mono.save(path)
    data = path.read_bytes()
    if extension == "raw":
        assert data == mono.array.tobytes()
    elif extension == "pgm":
        header = b"P5\n64 48\n255\n"
        assert data[:len(header)] == header and data[len(header):] == mono.array.tobytes()
    elif extension == "png":
        assert data[:8] == b"\x89PNG\r\n\x1a\n"
    else:
        assert data[:4] in (b"II*\x00", b"MM\x00*")


def test_save_to_a_missing_directory(camera, tmp_path):
    with pytest.raises(orvane.Error) as e:
        grab(camera).save(tmp_path / "no" / "such" / "frame.png")
    assert e.value.code == -1014


def test_chunks(camera):
    n = camera.nodes
    n.ChunkModeActive.value = True
    for name in ("Timestamp", "FrameID", "ExposureTime"):
        n.ChunkSelector.value = name
        n.ChunkEnable.value = True
    n.ExposureTime.value = 2500.0
    for image in camera.stream(count=2):
        assert image.chunks["FrameID"] == image.frame_id
        assert image.chunks["ChunkTimestamp"] == image.timestamp
        assert image.chunks["ExposureTime"] == 2500.0
        with pytest.raises(orvane.NotAvailableError) as e:
            image.chunks["Gain"]
        assert e.value.code == -1008
        with pytest.raises(KeyError):
            image.chunks["NoSuchChunk"]


def test_statistics(camera):
    mono = orvane.from_array(np.array([[0, 10], [20, 30]], dtype=np.uint8), "Mono8")
    stats = mono.statistics()
    assert list(stats) == ["grey"]
    grey = stats["grey"]
    assert grey.range == (0, 255) and grey.pixel_value_range == (0, 30) and grey.num_pixel_values == 4
    assert grey.mean == pytest.approx(15.0)
    assert grey.histogram.sum() == 4 and grey.histogram[10] == 1
    colour = grab(camera, "RGB8").statistics()
    assert set(colour) >= {"red", "green", "blue"}
