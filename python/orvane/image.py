"""Images: NumPy views of their buffers, conversion, saving, chunk data and
statistics.

An image from a camera is given back to its stream (orvImageRelease) when
the Image object and every array made from it are gone: the arrays keep a
reference to the C handle's owner (_ImageHandle), whose finaliser gives it
back. Images this package creates (conversions) are freed the same way
(orvImageDestroy)."""
import csv
import ctypes
import os
import threading
import weakref
from collections import namedtuple
from ctypes import c_double, c_float, c_int32, c_int64, c_size_t, c_uint, c_uint8, c_uint64, c_void_p

import numpy as np

from . import _errors
from ._util import call, encode, lib, out, text

PixelFormatInfo = namedtuple("PixelFormatInfo",
                             "index name bits_per_pixel components bits_per_component numeric family cfa order packing "
                             "planar subsampling")


def _pixel_format_table():
    here = os.path.dirname(os.path.abspath(__file__))
    for path in (os.path.join(here, "pixel_formats.csv"),
                 os.path.join(here, "..", "..", "data", "pixel_formats.csv")):
        if os.path.exists(path):
            break
    else:
        raise ImportError("orvane: pixel_formats.csv is missing from the package")
    by_index, by_name = {}, {}
    with open(path, newline="") as f:
        rows = (line for line in f if not line.startswith("#"))
        for row in csv.DictReader(rows):
            info = PixelFormatInfo(int(row["index"]), row["name"], int(row["bits_per_pixel"]), int(row["components"]),
                                   int(row["bits_per_component"]), row["numeric"], row["family"], row["cfa"], row["order"],
                                   row["packing"], row["planar"] == "1", row["subsampling"])
            by_index[info.index] = info
            by_name[info.name] = info
    return by_index, by_name


PIXEL_FORMATS, PIXEL_FORMATS_BY_NAME = _pixel_format_table()


def pixel_format_number(name):
    """The orvPixelFormat value of a GenICam pixel format name ("BGR8")."""
    if isinstance(name, int):
        return name
    try:
        return PIXEL_FORMATS_BY_NAME[name].index
    except KeyError:
        raise _errors.InvalidParameterError(_errors.ORVANE_ERR_INVALID_PARAMETER,
                                            "unknown pixel format '%s'" % name) from None


FILE_FORMATS = {None: -1, "pgm": 0, "ppm": 1, "bmp": 2, "jpeg": 3, "jpg": 3, "jp2": 4, "jpeg2000": 4, "tiff": 5,
                "tif": 5, "png": 6, "raw": 7}
ALGORITHMS = {"default": 0, "none": 1, "nearest": 2, "bilinear": 3, "edge-aware": 4, "gradient-corrected": 5,
              "directional": 6}


def _dtype_and_channels(info):
    """Cached per format: computed once, looked up for every image after."""
    try:
        return _LAYOUTS[info.name]
    except KeyError:
        layout = _LAYOUTS[info.name] = _compute_dtype_and_channels(info)
        return layout


_LAYOUTS = {}


def _compute_dtype_and_channels(info):
    """The NumPy element type and channels of a format whose components each
    fill a little-endian 8/16/32-bit container, or None (packed, subsampled,
    planar or compressed layouts)."""
    if info.packing != "none" or info.planar or info.subsampling not in ("-", "444"):
        return None
    if info.family in ("compressed", "raw") or info.bits_per_pixel % info.components:
        return None
    size = info.bits_per_pixel // info.components
    if size not in (8, 16, 32, 64):
        return None
    kind = {"u": "u", "s": "i", "f": "f"}[info.numeric]
    if kind == "f" and size < 32:
        return None
    return np.dtype("<%s%d" % (kind, size // 8)), info.components


class _ImageHandle:
    """Owns one C image handle: gives it back to its stream (camera images)
    or frees it (images made here) when the last reference goes."""

    __slots__ = ("handle", "_finalizer", "__weakref__")

    def __init__(self, handle, from_camera):
        self.handle = handle
        function = lib.orvImageRelease if from_camera else lib.orvImageDestroy
        self._finalizer = weakref.finalize(self, function, handle)


class _ArrayBuffer:
    """What an image's array is made from: the buffer's address, shape and
    strides (NumPy's array interface) and the handle owner it keeps alive."""

    __slots__ = ("__array_interface__", "_owner")

    def __init__(self, owner, interface):
        self._owner = owner
        self.__array_interface__ = interface


class Image:
    """One image. array: a NumPy view of its buffer (no copy); width, height,
    pixel_format, frame_id, timestamp, chunks[...]; convert(), save(),
    statistics(). release() drops this object's hold on the C image: it goes
    back to the stream once no array made from it remains either."""

    def __init__(self, handle, from_camera=False, borrowed=False):
        # A borrowed handle (an image callback's) stays valid only during
        # the call; its arrays are copies.
        self._owner = None if borrowed else _ImageHandle(handle, from_camera)
        self._handle = handle
        self._borrowed = borrowed
        self._array = None

    def _h(self):
        if self._handle is None:
            raise _errors.InvalidHandleError(_errors.ORVANE_ERR_INVALID_HANDLE, "the image was released")
        return self._handle

    def release(self):
        self._handle = None
        self._owner = None
        self._array = None

    def __enter__(self):
        return self

    def __exit__(self, *exc):
        self.release()

    def _out(self, function, ctype):
        return out(function, ctype, self._h())

    width = property(lambda self: self._out("orvImageGetWidth", c_size_t))
    height = property(lambda self: self._out("orvImageGetHeight", c_size_t))
    offset_x = property(lambda self: self._out("orvImageGetOffsetX", c_size_t))
    offset_y = property(lambda self: self._out("orvImageGetOffsetY", c_size_t))
    stride = property(lambda self: self._out("orvImageGetStride", c_size_t))
    buffer_size = property(lambda self: self._out("orvImageGetBufferSize", c_size_t))
    bits_per_pixel = property(lambda self: self._out("orvImageGetBitsPerPixel", c_size_t))
    frame_id = property(lambda self: self._out("orvImageGetFrameID", c_uint64))
    id = property(lambda self: self._out("orvImageGetID", c_uint64))
    timestamp = property(lambda self: self._out("orvImageGetTimeStamp", c_uint64))
    incomplete = property(lambda self: bool(self._out("orvImageIsIncomplete", c_uint8)))
    status = property(lambda self: self._out("orvImageGetStatus", c_int32))
    pixel_format_number = property(lambda self: self._out("orvImageGetPixelFormat", c_int32))

    @property
    def pixel_format(self):
        """The GenICam name of the image's pixel format ("Mono8")."""
        info = PIXEL_FORMATS.get(self.pixel_format_number)
        return info.name if info else text("orvImageGetPixelFormatName", self._h())

    @property
    def address(self):
        """The address of the image's first byte (orvImageGetData)."""
        p = c_void_p()
        call("orvImageGetData", self._h(), ctypes.byref(p))
        return p.value or 0

    @property
    def array(self):
        """The pixels as a NumPy array over the image's own buffer: (H, W) for
        mono and Bayer formats (uint8, uint16, ...), (H, W, 3) or (H, W, 4)
        for RGB/BGR(a) and 4:4:4 YUV formats. Packed, subsampled and planar
        formats give their rows' raw bytes, (H, bytes per row) uint8 (one
        row of all bytes when rows do not end on a byte boundary): unpacked()
        unpacks packed mono and Bayer pixels. In an image callback the array is a copy."""
        if self._array is not None:
            return self._array
        h = self._h()
        info = PIXEL_FORMATS.get(self.pixel_format_number)
        width, height, stride = self.width, self.height, self.stride
        address = self.address
        layout = _dtype_and_channels(info) if info else None
        if layout is None:
            bits = info.bits_per_pixel if info else self.bits_per_pixel
            dtype = np.dtype(np.uint8)
            if (width * bits) % 8 == 0:
                shape, strides = (height, width * bits // 8), (stride, 1)
            else:  # rows that do not end on a byte boundary follow each other as one stream
                shape, strides = ((width * height * bits + 7) // 8,), (1,)
        else:
            dtype, channels = layout
            if channels == 1:
                shape, strides = (height, width), (stride, dtype.itemsize)
            else:
                shape = (height, width, channels)
                strides = (stride, dtype.itemsize * channels, dtype.itemsize)
        needed = shape[0] if len(shape) == 1 else ((height - 1) * stride + shape[1] * strides[1] if height else 0)
        if needed > self.buffer_size or not address:
            raise _errors.Error(_errors.ORVANE_ERR_INVALID_BUFFER,
                                "the image's buffer (%d bytes) is smaller than its %dx%d %s pixels"
                                % (self.buffer_size, width, height, info.name if info else "?"))
        interface = {"version": 3, "shape": shape, "typestr": dtype.str, "strides": strides,
                     "data": (address, False)}
        view = np.asarray(_ArrayBuffer(self._owner if not self._borrowed else h, interface))
        if self._borrowed:
            return view.copy()
        self._array = view
        return view

    def unpacked(self):
        """The pixels of a packed mono or Bayer image (Mono12p, BayerRG10Packed,
        ...) as a new (H, W) uint16 array of their raw values; other formats'
        array as it is."""
        info = PIXEL_FORMATS.get(self.pixel_format_number)
        if info is None or info.packing not in ("lsb", "gev") or info.components != 1:
            return self.array
        width, height, bits = self.width, self.height, info.bits_per_component
        raw = self.array
        if raw.ndim == 2 and raw.shape[1] * 8 == width * info.bits_per_pixel:
            flat = np.ascontiguousarray(raw).reshape(-1)
        else:
            flat = raw.reshape(-1)
        count = width * height
        if info.packing == "lsb":
            stream = np.unpackbits(flat, bitorder="little")[:count * bits].reshape(count, bits)
            values = stream.astype(np.uint16) @ (np.uint16(1) << np.arange(bits, dtype=np.uint16))
        else:
            triples = flat[:(count + 1) // 2 * 3].reshape(-1, 3).astype(np.uint16)
            shift, mask = bits - 8, (1 << (bits - 8)) - 1
            values = np.empty(triples.shape[0] * 2, dtype=np.uint16)
            values[0::2] = (triples[:, 0] << shift) | (triples[:, 1] & mask)
            values[1::2] = (triples[:, 2] << shift) | ((triples[:, 1] >> 4) & mask)
        return values[:count].reshape(height, width)

    def convert(self, pixel_format, algorithm=None):
        """A new image of this one in another pixel format ("BGR8", "Mono16", ...)."""
        processor = _processor()
        if algorithm is not None:
            call("orvImageProcessorSetColorProcessing", processor, ALGORITHMS[algorithm])
        destination = c_void_p()
        call("orvImageCreateEmpty", ctypes.byref(destination))
        result = Image(destination.value)
        try:
            call("orvImageProcessorConvert", processor, self._h(), destination, pixel_format_number(pixel_format))
        finally:
            if algorithm is not None:
                call("orvImageProcessorSetColorProcessing", processor, 0)
        return result

    def copy(self):
        """A deep copy owned by Python (not tied to the camera's stream)."""
        copy = c_void_p()
        call("orvImageCreate", self._h(), ctypes.byref(copy))
        return Image(copy.value)

    def save(self, path, format=None):
        """Writes the image; the format comes from the extension unless named
        ("png", "jpeg", "tiff", "bmp", "ppm", "pgm", "jp2", "raw")."""
        call("orvImageSave", self._h(), encode(os.fspath(path)), FILE_FORMATS[format])

    @property
    def chunks(self):
        return Chunks(self)

    def statistics(self):
        """Per channel ("grey", or "red", "green", "blue", "hue", "saturation",
        "lightness" for colour images): ChannelStatistics."""
        stats = c_void_p()
        call("orvImageStatisticsCreate", ctypes.byref(stats))
        try:
            info = PIXEL_FORMATS.get(self.pixel_format_number)
            colour = info is not None and info.family not in ("mono", "raw")
            call("orvImageStatisticsEnableAll" if colour else "orvImageStatisticsEnableGreyOnly", stats)
            call("orvImageCalculateStatistics", self._h(), stats)
            result = {}
            for channel, name in enumerate(CHANNELS):
                enabled = out("orvImageStatisticsGetChannelStatus", c_uint8, stats, channel)
                if not enabled:
                    continue
                v = [c_uint() for _ in range(5)]
                mean = c_float()
                histogram = ctypes.POINTER(ctypes.c_int)()
                code = lib.orvImageStatisticsGetAll(stats, channel, *[ctypes.byref(x) for x in v],
                                                    ctypes.byref(mean), ctypes.byref(histogram))
                if code == _errors.ORVANE_ERR_NOT_AVAILABLE:
                    continue
                _errors.check(code, "orvImageStatisticsGetAll")
                hist = np.ctypeslib.as_array(histogram, shape=(256,)).astype(np.int64)
                result[name] = ChannelStatistics((v[0].value, v[1].value), (v[2].value, v[3].value), v[4].value,
                                                 mean.value, hist)
            return result
        finally:
            lib.orvImageStatisticsDestroy(stats)

    def __repr__(self):
        if self._handle is None:
            return "<orvane.Image released>"
        return "<orvane.Image %dx%d %s frame %d>" % (self.width, self.height, self.pixel_format, self.frame_id)


CHANNELS = ("grey", "red", "green", "blue", "hue", "saturation", "lightness")
ChannelStatistics = namedtuple("ChannelStatistics", "range pixel_value_range num_pixel_values mean histogram")


class Chunks:
    """An image's chunk data by name: chunks["Timestamp"] or
    chunks["ChunkTimestamp"]: an int, or a float for floating-point chunks."""

    def __init__(self, image):
        self._image = image

    def __getitem__(self, name):
        full = name if name.startswith("Chunk") else "Chunk" + name
        h = self._image._h()
        value = c_int64()
        code = lib.orvImageChunkDataGetIntValue(h, encode(full), ctypes.byref(value))
        if code == 0:
            return value.value
        if code != _errors.ORVANE_ERR_INVALID_PARAMETER:
            _errors.raise_error(code, "orvImageChunkDataGetIntValue", "chunk '%s'" % full)
        number = c_double()
        code = lib.orvImageChunkDataGetFloatValue(h, encode(full), ctypes.byref(number))
        if code == _errors.ORVANE_ERR_INVALID_PARAMETER:
            raise KeyError("no chunk is named '%s'" % full)
        _errors.check(code, "orvImageChunkDataGetFloatValue", "chunk '%s'" % full)
        return number.value


_local = threading.local()


def _processor():
    """This thread's image processor (a processor is not shared between threads)."""
    processor = getattr(_local, "processor", None)
    if processor is None:
        h = c_void_p()
        call("orvImageProcessorCreate", ctypes.byref(h))
        processor = _local.processor = _ProcessorHandle(h.value)
    return processor.handle


class _ProcessorHandle:
    def __init__(self, handle):
        self.handle = handle
        weakref.finalize(self, lib.orvImageProcessorDestroy, handle)


def from_array(array, pixel_format):
    """A new image (a copy) of a NumPy array in the pixel format named."""
    array = np.ascontiguousarray(array)
    height, width = array.shape[:2]
    h = c_void_p()
    call("orvImageCreateEx", ctypes.byref(h), width, height, 0, 0, pixel_format_number(pixel_format), None)
    image = Image(h.value)
    needed = array.nbytes
    if needed > image.buffer_size:
        raise _errors.InvalidParameterError(_errors.ORVANE_ERR_INVALID_PARAMETER,
                                            "the array's %d bytes do not fit a %dx%d %s image"
                                            % (needed, width, height, pixel_format))
    ctypes.memmove(image.address, array.ctypes.data, needed)
    return image
