"""Small helpers over the C calls: texts through caller buffers, out-values."""
import ctypes

from . import _capi
from . import _errors
from ._errors import check

lib = _capi.lib


def call(name, *args, what=None):
    check(getattr(lib, name)(*args), name, what)


def text(name, *args, what=None):
    """A text result through a caller buffer, grown while the library says
    it is too small (some functions refuse a null buffer as a length query)."""
    function = getattr(lib, name)
    size = 256
    for _ in range(8):
        buf = ctypes.create_string_buffer(size)
        length = ctypes.c_size_t(size)
        code = function(*args, buf, ctypes.byref(length))
        if code != _errors.ORVANE_ERR_BUFFER_TOO_SMALL:
            check(code, name, what)
            return buf.value.decode("utf-8", "replace")
        size = max(length.value, size * 4)
    check(code, name, what)


def out(name, ctype, *args, what=None):
    """Calls name(*args, &value) and returns value."""
    value = ctype()
    check(getattr(lib, name)(*args, ctypes.byref(value)), name, what)
    return value.value


def encode(s):
    return s.encode("utf-8") if isinstance(s, str) else s
