"""The C library's functions as ctypes declarations: the one place where
Python states their argument types. tests/python/test_capi_headers.py parses
the C headers and checks every entry here (name, argument count, types), and
that every function the headers export with C linkage is either declared here
or listed in NOT_BOUND with the reason.

The library is found through $ORVANE_LIBRARY (a path to libOrvane_C.so), else
where `make install` put it (_location.py, written at installation), else
inside the package, else by the dynamic loader's search path.
"""
import ctypes
import os
from ctypes import (CFUNCTYPE, POINTER, Structure, c_char, c_char_p, c_double, c_float, c_int, c_int32, c_int64,
                    c_size_t, c_uint, c_uint8, c_uint64, c_void_p)

P = POINTER
H = c_void_p  # every handle (orvSystem, orvCamera, orvNodeHandle, ...)
STR = c_char_p  # const char*: a text the library reads
BUF = P(c_char)  # char*: a buffer the library writes a text into


class LibraryVersion(Structure):
    _fields_ = [("major", c_int32), ("minor", c_int32), ("type", c_int32), ("build", c_int32)]


# Callback types. ctypes runs a Python callback with the GIL held: it takes the
# GIL on the library's thread for the call and gives it back afterwards.
DEVICE_EVENT_FUNC = CFUNCTYPE(None, H, c_char_p, H)
IMAGE_EVENT_FUNC = CFUNCTYPE(None, H, H)
IMAGE_LIST_EVENT_FUNC = CFUNCTYPE(None, H, H)
ARRIVAL_FUNC = CFUNCTYPE(None, H, H)
REMOVAL_FUNC = CFUNCTYPE(None, H, H)
LOG_EVENT_FUNC = CFUNCTYPE(None, H, H)
NODE_CALLBACK_FUNC = CFUNCTYPE(None, H)

# Functions of the headers this package does not call through ctypes, and why.
NOT_BOUND = {
    "orvImageSavePng": "format options structures: the package saves by extension (orvImageSave)",
    "orvImageSavePpm": "format options structures: the package saves by extension (orvImageSave)",
    "orvImageSavePgm": "format options structures: the package saves by extension (orvImageSave)",
    "orvImageSaveTiff": "format options structures: the package saves by extension (orvImageSave)",
    "orvImageSaveJpeg": "format options structures: the package saves by extension (orvImageSave)",
    "orvImageSaveJpg2": "format options structures: the package saves by extension (orvImageSave)",
    "orvImageSaveBmp": "format options structures: the package saves by extension (orvImageSave)",
    "quickOrvInit": "QuickOrv structures serve C programs; Python looks nodes up by name",
    "quickOrvInitEx": "QuickOrv structures serve C programs; Python looks nodes up by name",
    "quickOrvTLSystemInit": "QuickOrv structures serve C programs; Python looks nodes up by name",
    "quickOrvTLInterfaceInit": "QuickOrv structures serve C programs; Python looks nodes up by name",
    "quickOrvTLDeviceInit": "QuickOrv structures serve C programs; Python looks nodes up by name",
    "quickOrvTLStreamInit": "QuickOrv structures serve C programs; Python looks nodes up by name",
}

# (name, argument types); every function returns an orvError (int32).
DECLARATIONS = (
    ("orvErrorGetLast", (P(c_int32),)),
    ("orvErrorGetLastMessage", (BUF, P(c_size_t))),
    ("orvErrorGetLastBuildDate", (BUF, P(c_size_t))),
    ("orvErrorGetLastBuildTime", (BUF, P(c_size_t))),
    ("orvErrorGetLastFileName", (BUF, P(c_size_t))),
    ("orvErrorGetLastFullMessage", (BUF, P(c_size_t))),
    ("orvErrorGetLastFunctionName", (BUF, P(c_size_t))),
    ("orvErrorGetLastLineNumber", (P(c_int64),)),
    ("orvSystemGetInstance", (P(H),)),
    ("orvSystemReleaseInstance", (H,)),
    ("orvSystemGetInterfaces", (H, H)),
    ("orvSystemGetCameras", (H, H)),
    ("orvSystemGetCamerasEx", (H, c_uint8, c_uint8, H)),
    ("orvSystemSetLoggingLevel", (H, c_int32)),
    ("orvSystemGetLoggingLevel", (H, P(c_int32))),
    ("orvSystemIsInUse", (H, P(c_uint8))),
    ("orvSystemUpdateCameras", (H, P(c_uint8))),
    ("orvSystemUpdateCamerasEx", (H, c_uint8, P(c_uint8))),
    ("orvSystemGetLibraryVersion", (H, P(LibraryVersion))),
    ("orvSystemGetTLNodeMap", (H, P(H))),
    ("orvSystemRegisterLogEventHandler", (H, H)),
    ("orvSystemUnregisterLogEventHandler", (H, H)),
    ("orvSystemUnregisterAllLogEventHandlers", (H,)),
    ("orvSystemRegisterDeviceArrivalEventHandler", (H, H)),
    ("orvSystemRegisterDeviceRemovalEventHandler", (H, H)),
    ("orvSystemRegisterInterfaceEventHandler", (H, H)),
    ("orvSystemUnregisterDeviceArrivalEventHandler", (H, H)),
    ("orvSystemUnregisterDeviceRemovalEventHandler", (H, H)),
    ("orvSystemUnregisterInterfaceEventHandler", (H, H)),
    ("orvInterfaceListCreateEmpty", (P(H),)),
    ("orvInterfaceListDestroy", (H,)),
    ("orvInterfaceListGetSize", (H, P(c_size_t))),
    ("orvInterfaceListGet", (H, c_size_t, P(H))),
    ("orvInterfaceListClear", (H,)),
    ("orvCameraListCreateEmpty", (P(H),)),
    ("orvCameraListDestroy", (H,)),
    ("orvCameraListGetSize", (H, P(c_size_t))),
    ("orvCameraListGet", (H, c_size_t, P(H))),
    ("orvCameraListClear", (H,)),
    ("orvCameraListRemove", (H, c_size_t)),
    ("orvCameraListAppend", (H, H)),
    ("orvCameraListGetBySerial", (H, STR, P(H))),
    ("orvCameraListRemoveBySerial", (H, STR)),
    ("orvImageListCreateEmpty", (P(H),)),
    ("orvImageListDestroy", (H,)),
    ("orvImageListGetSize", (H, P(c_size_t))),
    ("orvImageListGet", (H, c_size_t, P(H))),
    ("orvImageListClear", (H,)),
    ("orvImageListRemove", (H, c_size_t)),
    ("orvImageListAppend", (H, H)),
    ("orvImageListGetByPixelFormat", (H, c_int32, P(H))),
    ("orvImageListRemoveByPixelFormat", (H, c_int32)),
    ("orvImageListRelease", (H,)),
    ("orvImageListSave", (H, STR)),
    ("orvImageListLoad", (P(H), STR)),
    ("orvNodeMapCreateFromXmlFile", (STR, P(H))),
    ("orvNodeMapCreateFromXmlText", (STR, P(H))),
    ("orvNodeMapDestroy", (H,)),
    ("orvInterfaceUpdateCameras", (H, P(c_uint8))),
    ("orvInterfaceGetCameras", (H, H)),
    ("orvInterfaceGetCamerasEx", (H, c_uint8, H)),
    ("orvInterfaceGetTLNodeMap", (H, P(H))),
    ("orvInterfaceIsInUse", (H, P(c_uint8))),
    ("orvInterfaceRegisterDeviceArrivalEventHandler", (H, H)),
    ("orvInterfaceRegisterDeviceRemovalEventHandler", (H, H)),
    ("orvInterfaceRegisterInterfaceEventHandler", (H, H)),
    ("orvInterfaceUnregisterDeviceArrivalEventHandler", (H, H)),
    ("orvInterfaceUnregisterDeviceRemovalEventHandler", (H, H)),
    ("orvInterfaceUnregisterInterfaceEventHandler", (H, H)),
    ("orvInterfaceRelease", (H,)),
    ("orvImageCreateEmpty", (P(H),)),
    ("orvImageCreateEx", (P(H), c_size_t, c_size_t, c_size_t, c_size_t, c_int32, H)),
    ("orvImageCreateEx2", (P(H), c_size_t, c_size_t, c_size_t, c_size_t, c_int32, H, c_int32, c_size_t)),
    ("orvImageCreate", (H, P(H))),
    ("orvImageDestroy", (H,)),
    ("orvImageRelease", (H,)),
    ("orvImageReset", (H, c_size_t, c_size_t, c_size_t, c_size_t, c_int32)),
    ("orvImageResetEx", (H, c_size_t, c_size_t, c_size_t, c_size_t, c_int32, H)),
    ("orvImageDeepCopy", (H, H)),
    ("orvImageGetColorProcessing", (H, P(c_int32))),
    ("orvImageGetID", (H, P(c_uint64))),
    ("orvImageGetData", (H, P(H))),
    ("orvImageGetPrivateData", (H, P(H))),
    ("orvImageGetBufferSize", (H, P(c_size_t))),
    ("orvImageGetWidth", (H, P(c_size_t))),
    ("orvImageGetHeight", (H, P(c_size_t))),
    ("orvImageGetOffsetX", (H, P(c_size_t))),
    ("orvImageGetOffsetY", (H, P(c_size_t))),
    ("orvImageGetPaddingX", (H, P(c_size_t))),
    ("orvImageGetPaddingY", (H, P(c_size_t))),
    ("orvImageGetFrameID", (H, P(c_uint64))),
    ("orvImageGetTimeStamp", (H, P(c_uint64))),
    ("orvImageGetPayloadType", (H, P(c_size_t))),
    ("orvImageGetTLPayloadType", (H, P(c_int32))),
    ("orvImageGetPixelFormat", (H, P(c_int32))),
    ("orvImageGetTLPixelFormat", (H, P(c_uint64))),
    ("orvImageGetTLPixelFormatNamespace", (H, P(c_int32))),
    ("orvImageIsIncomplete", (H, P(c_uint8))),
    ("orvImageGetStatus", (H, P(c_int32))),
    ("orvImageGetValidPayloadSize", (H, P(c_size_t))),
    ("orvImageGetChunkLayoutID", (H, P(c_uint64))),
    ("orvImageChunkDataGetIntValue", (H, STR, P(c_int64))),
    ("orvImageChunkDataGetFloatValue", (H, STR, P(c_double))),
    ("orvImageHasCRC", (H, P(c_uint8))),
    ("orvImageCheckCRC", (H, P(c_uint8))),
    ("orvImageGetBitsPerPixel", (H, P(c_size_t))),
    ("orvImageGetSize", (H, P(c_size_t))),
    ("orvImageGetStride", (H, P(c_size_t))),
    ("orvImageGetPixelFormatName", (H, BUF, P(c_size_t))),
    ("orvImageGetStatusDescription", (c_int32, BUF, P(c_size_t))),
    ("orvImageCalculateStatistics", (H, H)),
    ("orvImageSave", (H, STR, c_int32)),
    ("orvImageSaveFromExt", (H, STR)),
    ("orvImageProcessorCreate", (P(H),)),
    ("orvImageProcessorDestroy", (H,)),
    ("orvImageProcessorSetColorProcessing", (H, c_int32)),
    ("orvImageProcessorGetColorProcessing", (H, P(c_int32))),
    ("orvImageProcessorSetNumDecompressionThreads", (H, c_uint)),
    ("orvImageProcessorGetNumDecompressionThreads", (H, P(c_uint))),
    ("orvImageProcessorConvert", (H, H, H, c_int32)),
    ("orvImageProcessorConvertImageList", (H, H, H, c_int32)),
    ("orvImageProcessorApplyGamma", (H, H, H, c_float, c_uint8)),
    ("orvImageStatisticsCreate", (P(H),)),
    ("orvImageStatisticsDestroy", (H,)),
    ("orvImageStatisticsEnableAll", (H,)),
    ("orvImageStatisticsDisableAll", (H,)),
    ("orvImageStatisticsEnableGreyOnly", (H,)),
    ("orvImageStatisticsEnableRgbOnly", (H,)),
    ("orvImageStatisticsEnableHslOnly", (H,)),
    ("orvImageStatisticsGetChannelStatus", (H, c_int32, P(c_uint8))),
    ("orvImageStatisticsSetChannelStatus", (H, c_int32, c_uint8)),
    ("orvImageStatisticsGetRange", (H, c_int32, P(c_uint), P(c_uint))),
    ("orvImageStatisticsGetPixelValueRange", (H, c_int32, P(c_uint), P(c_uint))),
    ("orvImageStatisticsGetNumPixelValues", (H, c_int32, P(c_uint))),
    ("orvImageStatisticsGetMean", (H, c_int32, P(c_float))),
    ("orvImageStatisticsGetHistogram", (H, c_int32, P(P(c_int)))),
    ("orvImageStatisticsGetAll", (H, c_int32, P(c_uint), P(c_uint), P(c_uint), P(c_uint), P(c_uint), P(c_float), P(P(c_int)))),
    ("orvCameraInit", (H,)),
    ("orvCameraDeInit", (H,)),
    ("orvCameraGetNodeMap", (H, P(H))),
    ("orvCameraGetTLDeviceNodeMap", (H, P(H))),
    ("orvCameraGetTLStreamNodeMap", (H, P(H))),
    ("orvCameraGetAccessMode", (H, P(c_int32))),
    ("orvCameraReadPort", (H, c_uint64, H, c_uint64)),
    ("orvCameraWritePort", (H, c_uint64, H, c_uint64)),
    ("orvCameraGetDeviceID", (H, BUF, P(c_size_t))),
    ("orvCameraGetUniqueID", (H, BUF, P(c_size_t))),
    ("orvCameraGetGuiXml", (H, BUF, P(c_size_t))),
    ("orvCameraIsStreaming", (H, P(c_uint8))),
    ("orvCameraIsValid", (H, P(c_uint8))),
    ("orvCameraIsInitialized", (H, P(c_uint8))),
    ("orvCameraDiscoverMaxPacketSize", (H, P(c_uint))),
    ("orvCameraRelease", (H,)),
    ("orvCameraRegisterDeviceEventHandler", (H, H)),
    ("orvCameraRegisterDeviceEventHandlerEx", (H, H, STR)),
    ("orvCameraUnregisterDeviceEventHandler", (H, H)),
    ("orvCameraRegisterImageEventHandler", (H, H)),
    ("orvCameraRegisterImageEventHandlerEx", (H, H, c_uint64)),
    ("orvCameraUnregisterImageEventHandler", (H, H)),
    ("orvCameraRegisterImageListEventHandler", (H, H)),
    ("orvCameraUnregisterImageListEventHandler", (H, H)),
    ("orvCameraBeginAcquisition", (H,)),
    ("orvCameraEndAcquisition", (H,)),
    ("orvCameraGetNextImage", (H, P(H))),
    ("orvCameraGetNextImageEx", (H, c_uint64, P(H))),
    ("orvCameraGetNextImageSync", (H, c_uint64, P(H))),
    ("orvDeviceEventHandlerCreate", (P(H), DEVICE_EVENT_FUNC, H)),
    ("orvDeviceEventHandlerDestroy", (H,)),
    ("orvImageEventHandlerCreate", (P(H), IMAGE_EVENT_FUNC, H)),
    ("orvImageEventHandlerDestroy", (H,)),
    ("orvImageListEventHandlerCreate", (P(H), IMAGE_LIST_EVENT_FUNC, H)),
    ("orvImageListEventHandlerDestroy", (H,)),
    ("orvDeviceArrivalEventHandlerCreate", (P(H), ARRIVAL_FUNC, H)),
    ("orvDeviceArrivalEventHandlerDestroy", (H,)),
    ("orvDeviceRemovalEventHandlerCreate", (P(H), REMOVAL_FUNC, H)),
    ("orvDeviceRemovalEventHandlerDestroy", (H,)),
    ("orvInterfaceEventHandlerCreate", (P(H), ARRIVAL_FUNC, REMOVAL_FUNC, H)),
    ("orvInterfaceEventHandlerDestroy", (H,)),
    ("orvLogEventHandlerCreate", (P(H), LOG_EVENT_FUNC, H)),
    ("orvLogEventHandlerDestroy", (H,)),
    ("orvLogDataGetCategoryName", (H, BUF, P(c_size_t))),
    ("orvLogDataGetPriority", (H, P(c_int64))),
    ("orvLogDataGetPriorityName", (H, BUF, P(c_size_t))),
    ("orvLogDataGetTimestamp", (H, BUF, P(c_size_t))),
    ("orvLogDataGetNDC", (H, BUF, P(c_size_t))),
    ("orvLogDataGetThreadName", (H, BUF, P(c_size_t))),
    ("orvLogDataGetLogMessage", (H, BUF, P(c_size_t))),
    ("orvDeviceEventGetId", (H, P(c_uint64))),
    ("orvDeviceEventGetPayloadData", (H, P(P(c_uint8)), P(c_size_t))),
    ("orvDeviceEventGetPayloadDataSize", (H, P(c_size_t))),
    ("orvDeviceEventGetName", (H, BUF, P(c_size_t))),
    ("orvNodeMapGetNode", (H, STR, P(H))),
    ("orvNodeMapGetNumNodes", (H, P(c_size_t))),
    ("orvNodeMapGetNodeByIndex", (H, c_size_t, P(H))),
    ("orvNodeMapReleaseNode", (H, H)),
    ("orvNodeMapPoll", (H, c_int64)),
    ("orvNodeGetAccessMode", (H, P(c_int32))),
    ("orvNodeGetName", (H, BUF, P(c_size_t))),
    ("orvNodeGetNameSpace", (H, P(c_int32))),
    ("orvNodeGetVisibility", (H, P(c_int32))),
    ("orvNodeInvalidateNode", (H,)),
    ("orvNodeGetCachingMode", (H, P(c_int32))),
    ("orvNodeGetToolTip", (H, BUF, P(c_size_t))),
    ("orvNodeGetDescription", (H, BUF, P(c_size_t))),
    ("orvNodeGetDisplayName", (H, BUF, P(c_size_t))),
    ("orvNodeGetType", (H, P(c_int32))),
    ("orvNodeGetPollingTime", (H, P(c_int64))),
    ("orvNodeGetImposedAccessMode", (H, c_int32)),
    ("orvNodeGetImposedVisibility", (H, c_int32)),
    ("orvNodeToString", (H, BUF, P(c_size_t))),
    ("orvNodeToStringEx", (H, c_uint8, BUF, P(c_size_t))),
    ("orvNodeFromString", (H, STR)),
    ("orvNodeFromStringEx", (H, c_uint8, STR)),
    ("orvNodeIsImplemented", (H, P(c_uint8))),
    ("orvNodeIsReadable", (H, P(c_uint8))),
    ("orvNodeIsWritable", (H, P(c_uint8))),
    ("orvNodeIsAvailable", (H, P(c_uint8))),
    ("orvNodeIsEqual", (H, H, P(c_uint8))),
    ("orvStringSetValue", (H, STR)),
    ("orvStringSetValueEx", (H, c_uint8, STR)),
    ("orvStringGetValue", (H, BUF, P(c_size_t))),
    ("orvStringGetValueEx", (H, c_uint8, BUF, P(c_size_t))),
    ("orvStringGetMaxLength", (H, P(c_int64))),
    ("orvIntegerSetValue", (H, c_int64)),
    ("orvIntegerSetValueEx", (H, c_uint8, c_int64)),
    ("orvIntegerGetValue", (H, P(c_int64))),
    ("orvIntegerGetValueEx", (H, c_uint8, P(c_int64))),
    ("orvIntegerGetMin", (H, P(c_int64))),
    ("orvIntegerGetMax", (H, P(c_int64))),
    ("orvIntegerGetInc", (H, P(c_int64))),
    ("orvIntegerGetRepresentation", (H, P(c_int32))),
    ("orvBooleanSetValue", (H, c_uint8)),
    ("orvBooleanGetValue", (H, P(c_uint8))),
    ("orvFloatSetValue", (H, c_double)),
    ("orvFloatSetValueEx", (H, c_uint8, c_double)),
    ("orvFloatGetValue", (H, P(c_double))),
    ("orvFloatGetValueEx", (H, c_uint8, P(c_double))),
    ("orvFloatGetMin", (H, P(c_double))),
    ("orvFloatGetMax", (H, P(c_double))),
    ("orvFloatGetRepresentation", (H, P(c_int32))),
    ("orvFloatGetUnit", (H, BUF, P(c_size_t))),
    ("orvCommandExecute", (H,)),
    ("orvCommandIsDone", (H, P(c_uint8))),
    ("orvEnumerationGetNumEntries", (H, P(c_size_t))),
    ("orvEnumerationGetEntryByIndex", (H, c_size_t, P(H))),
    ("orvEnumerationGetEntryByName", (H, STR, P(H))),
    ("orvEnumerationGetCurrentEntry", (H, P(H))),
    ("orvEnumerationReleaseNode", (H, H)),
    ("orvEnumerationSetIntValue", (H, c_int64)),
    ("orvEnumerationEntryGetIntValue", (H, P(c_int64))),
    ("orvEnumerationEntryGetSymbolic", (H, BUF, P(c_size_t))),
    ("orvCategoryGetNumFeatures", (H, P(c_size_t))),
    ("orvCategoryGetFeatureByIndex", (H, c_size_t, P(H))),
    ("orvCategoryReleaseNode", (H, H)),
    ("orvRegisterGet", (H, P(c_uint8), c_int64)),
    ("orvRegisterGetEx", (H, c_uint8, c_uint8, P(c_uint8), c_int64)),
    ("orvRegisterGetAddress", (H, P(c_int64))),
    ("orvRegisterGetLength", (H, P(c_int64))),
    ("orvRegisterSet", (H, P(c_uint8), c_int64)),
    ("orvRegisterSetReference", (H, H)),
    ("orvNodeRegisterCallback", (H, NODE_CALLBACK_FUNC, P(H))),
    ("orvNodeDeregisterCallback", (H, H)),
    ("orvEnumerationSetEnumValue", (H, c_size_t)),
    ("orvEnumerationEntryGetEnumValue", (H, P(c_size_t))),
)


def _candidates():
    env = os.environ.get("ORVANE_LIBRARY")
    if env:
        return [env]
    here = os.path.dirname(os.path.abspath(__file__))
    names = []
    try:  # an installed package knows where the library was installed
        from ._location import LIBRARY_DIR
        names.append(os.path.normpath(os.path.join(here, LIBRARY_DIR, "libOrvane_C.so")))
    except ImportError:
        pass
    names.append(os.path.join(here, "libOrvane_C.so"))
    return [n for n in names if os.path.exists(n)] + ["libOrvane_C.so"]


def _load():
    errors = []
    for candidate in _candidates():
        try:
            return ctypes.CDLL(candidate)
        except OSError as e:
            errors.append(str(e))
    raise OSError("libOrvane_C.so not found (set ORVANE_LIBRARY to its path): " + "; ".join(errors))


lib = _load()
for _name, _args in DECLARATIONS:
    _f = getattr(lib, _name)
    _f.restype = c_int32
    _f.argtypes = list(_args)
del _name, _args, _f
