"""Errors: every failing call of the C library raises an orvane.Error (or a
subclass chosen by its code) carrying the code, the function's name and the
library's message."""
import builtins
import ctypes

from . import _capi

CODES = {
    0: "ORVANE_ERR_SUCCESS",
    -1001: "ORVANE_ERR_ERROR",
    -1002: "ORVANE_ERR_NOT_INITIALIZED",
    -1003: "ORVANE_ERR_NOT_IMPLEMENTED",
    -1004: "ORVANE_ERR_RESOURCE_IN_USE",
    -1005: "ORVANE_ERR_ACCESS_DENIED",
    -1006: "ORVANE_ERR_INVALID_HANDLE",
    -1007: "ORVANE_ERR_INVALID_ID",
    -1008: "ORVANE_ERR_NO_DATA",
    -1009: "ORVANE_ERR_INVALID_PARAMETER",
    -1010: "ORVANE_ERR_ABORT",
    -1011: "ORVANE_ERR_INVALID_BUFFER",
    -1012: "ORVANE_ERR_TIMEOUT",
    -1013: "ORVANE_ERR_BUFFER_TOO_SMALL",
    -1014: "ORVANE_ERR_IO",
    -1015: "ORVANE_ERR_OUT_OF_RANGE",
    -1016: "ORVANE_ERR_NOT_AVAILABLE",
    -1017: "ORVANE_ERR_CAMERA_NOT_INITIALIZED",
    -1018: "ORVANE_ERR_NOT_STREAMING",
    -1019: "ORVANE_ERR_INVALID_ARGUMENT",
    -1020: "ORVANE_ERR_NOT_SUPPORTED",
    -1021: "ORVANE_ERR_CORRUPT_DATA",
    -1022: "ORVANE_ERR_DEVICE_LOST",
    -1023: "ORVANE_ERR_OUT_OF_MEMORY",
    -1024: "ORVANE_ERR_INVALID_STATE",
    -2001: "ORVANE_ERR_GENICAM_GENERIC",
    -2002: "ORVANE_ERR_GENICAM_BAD_ALLOC",
    -2003: "ORVANE_ERR_GENICAM_INVALID_ARGUMENT",
    -2004: "ORVANE_ERR_GENICAM_OUT_OF_RANGE",
    -2005: "ORVANE_ERR_GENICAM_LOGICAL_ERROR",
    -2006: "ORVANE_ERR_GENICAM_ACCESS",
    -2007: "ORVANE_ERR_GENICAM_RUN_TIME",
    -2008: "ORVANE_ERR_GENICAM_TIMEOUT",
    -2009: "ORVANE_ERR_GENICAM_DYNAMIC_CAST",
    -2010: "ORVANE_ERR_GENICAM_NOT_AVAILABLE",
    -2011: "ORVANE_ERR_GENICAM_PROPERTY",
}
globals().update({name: code for code, name in CODES.items()})


class Error(Exception):
    """A call of the C library failed. code: the orvError; name: its
    constant's name; function: the C function; message: the library's text."""

    def __init__(self, code, message, function=None):
        self.code = code
        self.name = CODES.get(code, "unknown error")
        self.function = function
        self.message = message
        super().__init__("%s (%s %d)" % (message, self.name, code))


class InvalidHandleError(Error):
    pass


class InvalidParameterError(Error, builtins.ValueError):
    pass


class OutOfRangeError(Error, builtins.ValueError):
    pass


class AccessError(Error):
    """The feature or device refuses this access (not readable, not writable, in use)."""


class NotAvailableError(Error):
    pass


class NotInitializedError(Error):
    pass


class NotSupportedError(Error):
    pass


class TimeoutError(Error, builtins.TimeoutError):
    pass


class IOError(Error, builtins.OSError):
    pass


class TypeMismatchError(Error, builtins.TypeError):
    """A node was used as a kind it is not (a command read as a float, ...)."""


_CLASSES = {
    -1006: InvalidHandleError,
    -1009: InvalidParameterError, -1019: InvalidParameterError, -2003: InvalidParameterError,
    -1015: OutOfRangeError, -2004: OutOfRangeError,
    -1004: AccessError, -1005: AccessError, -2006: AccessError,
    -1016: NotAvailableError, -1008: NotAvailableError, -2010: NotAvailableError,
    -1002: NotInitializedError, -1017: NotInitializedError, -1018: NotInitializedError,
    -1020: NotSupportedError, -1003: NotSupportedError,
    -1012: TimeoutError, -2008: TimeoutError,
    -1014: IOError,
    -2005: TypeMismatchError, -2009: TypeMismatchError,
}


def error_class(code):
    return _CLASSES.get(code, Error)


def last_message():
    """The last-error record's message ("" when it holds none)."""
    length = ctypes.c_size_t(0)
    if _capi.lib.orvErrorGetLastMessage(None, ctypes.byref(length)) != 0 or length.value <= 1:
        return ""
    buf = ctypes.create_string_buffer(length.value)
    if _capi.lib.orvErrorGetLastMessage(buf, ctypes.byref(length)) != 0:
        return ""
    return buf.value.decode("utf-8", "replace")


def raise_error(code, function, what=None):
    """Raises the Error for a failed call. The library's last-error record
    (process-wide) is used when it holds this very code; node functions do
    not fill it, and then the message names the function and what it acted on."""
    recorded = ctypes.c_int32(0)
    message = ""
    if _capi.lib.orvErrorGetLast(ctypes.byref(recorded)) == 0 and recorded.value == code:
        message = last_message()
    if not message:
        message = "%s failed" % function
        if what:
            message += " on " + what
    raise error_class(code)(code, message, function)


def check(code, function, what=None):
    if code != 0:
        raise_error(code, function, what)
