"""Orvane for Python: machine-vision cameras through libOrvane_C.

    import orvane
    with orvane.System() as system:
        with system.camera(serial="VC0001") as camera:
            camera.nodes["ExposureTime"].value = 5000.0
            for image in camera.stream(count=10):
                print(image.frame_id, image.array.mean())
"""
from ._errors import (AccessError, Error, InvalidHandleError, InvalidParameterError, IOError, NotAvailableError,
                      NotInitializedError, NotSupportedError, OutOfRangeError, TimeoutError, TypeMismatchError)
from .image import ChannelStatistics, Image, PIXEL_FORMATS_BY_NAME, from_array
from .nodes import Node, NodeMap
from .system import Camera, CameraInfo, Interface, LogRecord, Registration, System

__all__ = ["System", "Interface", "Camera", "CameraInfo", "Image", "Node", "NodeMap", "Registration", "LogRecord",
           "ChannelStatistics", "from_array", "PIXEL_FORMATS_BY_NAME", "Error", "AccessError", "InvalidHandleError",
           "InvalidParameterError", "IOError", "NotAvailableError", "NotInitializedError", "NotSupportedError",
           "OutOfRangeError", "TimeoutError", "TypeMismatchError"]
