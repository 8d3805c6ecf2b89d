"""Small helpers over the C calls: texts through caller buffers, out-values."""
import ctypes

from . import _capi
from ._errors import check

lib = _capi.lib


def call(name, *args, what=None):
    check(getattr(lib, name)(*args), name, what)


def text(name, *args, what=None):
    """A text result: asks for its length with a null buffer, then reads it."""
    function = getattr(lib, name)
    length = ctypes.c_size_t(0)
    check(function(*args, None, ctypes.byref(length)), name, what)
    buf = ctypes.create_string_buffer(max(length.value, 1))
    check(function(*args, buf, ctypes.byref(length)), name, what)
    return buf.value.decode("utf-8", "replace")


def out(name, ctype, *args, what=None):
    """Calls name(*args, &value) and returns value."""
    value = ctype()
    check(getattr(lib, name)(*args, ctypes.byref(value)), name, what)
    return value.value


def encode(s):
    return s.encode("utf-8") if isinstance(s, str) else s
