"""The ctypes declarations (orvane/_capi.py) against the C headers: every
declared function exists with that many arguments of those types, and every
C-linkage function of the headers is declared or listed as not bound."""
import ctypes
import os

from cheaders import prototypes
from conftest import SOURCE
from orvane import _capi

P = ctypes.POINTER
INT32 = {"orvError", "int32_t", "orvLogLevel", "orvPixelFormat", "orvImageFileFormat", "orvTLPayloadType",
         "orvColorProcessingAlgorithm", "orvImageStatus", "orvPixelFormatNamespace", "orvStatisticsChannel"}
SCALARS = {"bool8_t": ctypes.c_uint8, "uint8_t": ctypes.c_uint8, "size_t": ctypes.c_size_t,
           "uint64_t": ctypes.c_uint64, "int64_t": ctypes.c_int64, "double": ctypes.c_double,
           "float": ctypes.c_float, "unsigned int": ctypes.c_uint, "int": ctypes.c_int}
FUNCTIONS = {"orvArrivalEventFunction": _capi.ARRIVAL_FUNC, "orvRemovalEventFunction": _capi.REMOVAL_FUNC,
             "orvDeviceEventFunction": _capi.DEVICE_EVENT_FUNC, "orvImageEventFunction": _capi.IMAGE_EVENT_FUNC,
             "orvImageListEventFunction": _capi.IMAGE_LIST_EVENT_FUNC, "orvLogEventFunction": _capi.LOG_EVENT_FUNC,
             "orvNodeCallbackFunction": _capi.NODE_CALLBACK_FUNC}
HANDLES = {"orvSystem", "orvInterfaceList", "orvInterface", "orvCameraList", "orvCamera", "orvImage", "orvImageList",
           "orvImageProcessor", "orvImageStatistics", "orvNodeMapHandle", "orvNodeHandle", "orvNodeCallbackHandle",
           "orvDeviceEventHandler", "orvImageEventHandler", "orvImageListEventHandler", "orvDeviceArrivalEventHandler",
           "orvDeviceRemovalEventHandler", "orvInterfaceEventHandler", "orvLogEventHandler", "orvLogEventData",
           "orvDeviceEventData", "void*"}


def expected_ctype(c_type):
    """The ctypes type a C parameter type must be declared as."""
    if c_type == "const char*":
        return ctypes.c_char_p
    if c_type == "char*":
        return P(ctypes.c_char)
    if c_type in HANDLES:
        return ctypes.c_void_p
    if c_type == "orvLibraryVersion*":
        return P(_capi.LibraryVersion)
    if c_type in FUNCTIONS:
        return FUNCTIONS[c_type]
    if c_type.endswith("*"):
        inner = c_type[:-1]
        return P(expected_ctype(inner[6:] if inner.startswith("const ") else inner))
    if c_type in INT32:
        return ctypes.c_int32
    return SCALARS[c_type]


def headers():
    return prototypes(os.path.join(SOURCE, "capi", "include"))


def test_the_headers_are_parsed():
    protos = headers()
    # A few prototypes read back exactly, so that a parser that finds nothing fails.
    assert protos["orvCameraGetNextImageEx"] == [("orvCamera", "camera"), ("uint64_t", "grabTimeout"),
                                                 ("orvImage*", "image")]
    assert protos["orvNodeToString"] == [("orvNodeHandle", "hNode"), ("char*", "pBuf"), ("size_t*", "pBufLen")]
    # C++-linkage functions are not among them.
    assert "orvSystemSendActionCommand" not in protos and "orvRegisterSetEx" not in protos
    assert len(protos) > 250


def mismatches_of(declarations):
    protos = headers()
    mismatches = []
    for name, args in declarations:
        if name not in protos:
            mismatches.append("%s: not in the headers" % name)
            continue
        params = protos[name]
        if len(params) != len(args):
            mismatches.append("%s: %d arguments declared, %d in the header" % (name, len(args), len(params)))
            continue
        for i, ((c_type, pname), declared) in enumerate(zip(params, args)):
            if expected_ctype(c_type) is not declared:
                mismatches.append("%s argument %d (%s %s): declared %r" % (name, i, c_type, pname, declared))
    return mismatches


def test_every_declaration_matches_its_prototype():
    assert mismatches_of(_capi.DECLARATIONS) == []


def test_every_header_function_is_declared_or_listed_as_not_bound():
    declared = {name for name, _ in _capi.DECLARATIONS}
    assert len(declared) == len(_capi.DECLARATIONS), "a function is declared twice"
    missing = sorted(set(headers()) - declared - set(_capi.NOT_BOUND))
    assert missing == []
    assert sorted(set(_capi.NOT_BOUND) & declared) == []


def test_the_loaded_functions_carry_the_declared_types():
    for name, args in _capi.DECLARATIONS:
        f = getattr(_capi.lib, name)
        assert f.restype is ctypes.c_int32 and tuple(f.argtypes) == tuple(args), name


def test_a_drifted_declaration_is_caught():
    # The checker itself: a wrong type, a missing argument and an unknown name are reported.
    drifted = [("orvImageGetWidth", (ctypes.c_void_p, P(ctypes.c_uint32))),
               ("orvCameraGetNextImageEx", (ctypes.c_void_p, P(ctypes.c_void_p))),
               ("orvCameraGetNothing", ())]
    assert mismatches_of(drifted) == [
        "orvImageGetWidth argument 1 (size_t* width): declared %r" % P(ctypes.c_uint32),
        "orvCameraGetNextImageEx: 2 arguments declared, 3 in the header",
        "orvCameraGetNothing: not in the headers"]
