"""The system, its interfaces and cameras, and their events.

Ownership: a System holds one system handle (orvSystemGetInstance) and
gives it back at close(); the Interface and Camera objects it makes hold
their own handles (orvInterfaceRelease, orvCameraRelease at close() or
when collected). Event registrations belong to the object they were made
on and are removed at its close().

Callbacks run on the library's threads (images and arrivals) or on the
logging thread; ctypes takes the GIL for each call. An exception raised by
a callback is logged on the "orvane" logger and the library goes on."""
import ctypes
import logging
import threading
import weakref
from collections import namedtuple
from ctypes import c_int32, c_int64, c_uint8, c_void_p

from . import _capi, _errors
from ._util import call, encode, lib, out, text
from .image import Image
from .nodes import NodeMap

log = logging.getLogger("orvane")

LOG_LEVELS = {"off": -1, "fatal": 0, "alert": 100, "crit": 200, "error": 300, "warn": 400, "notice": 500,
              "info": 600, "debug": 700, "notset": 800}
LogRecord = namedtuple("LogRecord", "category priority priority_name timestamp ndc thread message")
Version = namedtuple("Version", "major minor type build")

_DEVICE_FIELDS = (("serial", "DeviceSerialNumber"), ("vendor", "DeviceVendorName"), ("model", "DeviceModelName"),
                  ("device_id", "DeviceID"), ("display_name", "DeviceDisplayName"), ("version", "DeviceVersion"),
                  ("user_id", "DeviceUserID"), ("access_status", "DeviceAccessStatus"))


def _log_level(level):
    if isinstance(level, int):
        return level
    try:
        return LOG_LEVELS[level.lower()]
    except KeyError:
        raise ValueError("unknown logging level '%s' (one of %s)" % (level, ", ".join(LOG_LEVELS))) from None


def _guarded(fn, what):
    """Runs fn, logging (never propagating into the library) what it raises."""
    def run(*args):
        try:
            fn(*args)
        except BaseException:  # noqa: B902 - nothing may unwind into C
            log.exception("exception in the %s callback %r", what, fn)
    return run


class Registration:
    """One registered event handler. remove() unregisters and frees it (also
    done when its owner closes); the C function object lives until then."""

    def __init__(self, owner, handler, function, unregister, destroy):
        self._owner = owner
        self._handler = handler
        self._function = function  # the CFUNCTYPE object the library calls
        self._unregister = unregister
        self._destroy = destroy
        self._lock = threading.Lock()

    @property
    def active(self):
        return self._handler is not None

    def remove(self):
        with self._lock:
            handler, self._handler = self._handler, None
        if handler is None:
            return
        try:
            self._unregister(handler)
        finally:
            self._destroy(handler)
            self._function = None
            self._owner._registrations.discard(self)

    def __enter__(self):
        return self

    def __exit__(self, *exc):
        self.remove()


def _register(owner, create, register, unregister, destroy, functions):
    handler = c_void_p()
    call(create, ctypes.byref(handler), *functions, None)
    try:
        call(register, owner._h(), handler)
    except BaseException:
        getattr(lib, destroy)(handler)
        raise
    reg = Registration(owner, handler.value, functions,
                       lambda h: call(unregister, owner._h(), h), lambda h: call(destroy, h))
    owner._registrations.add(reg)
    return reg


def _device_info(handle):
    """Identity texts of a camera handle from its transport-layer device node map."""
    nodes = c_void_p()
    info = {}
    if lib.orvCameraGetTLDeviceNodeMap(handle, ctypes.byref(nodes)) != 0:
        return info
    for attribute, feature in _DEVICE_FIELDS:
        node = c_void_p()
        if lib.orvNodeMapGetNode(nodes, encode(feature), ctypes.byref(node)) != 0 or not node.value:
            continue
        try:
            info[attribute] = text("orvNodeToString", node.value)
        except _errors.Error:
            pass
    return info


CameraInfo = namedtuple("CameraInfo", [a for a, _ in _DEVICE_FIELDS] + ["unique_id"])


def _camera_info(handle):
    info = _device_info(handle)
    try:
        unique = text("orvCameraGetUniqueID", handle)
    except _errors.Error:
        unique = None
    return CameraInfo(*[info.get(a) for a, _ in _DEVICE_FIELDS], unique)


class System:
    """The process-wide system. Use as a context manager, or close()."""

    def __init__(self):
        h = c_void_p()
        call("orvSystemGetInstance", ctypes.byref(h))
        self._handle = h.value
        self._registrations = set()
        self._children = weakref.WeakSet()
        self._finalizer = weakref.finalize(self, lib.orvSystemReleaseInstance, self._handle)

    def _h(self):
        if self._handle is None:
            raise _errors.InvalidHandleError(_errors.ORVANE_ERR_INVALID_HANDLE, "the system was closed")
        return self._handle

    def _node_maps_valid(self):
        return self._handle is not None

    def close(self):
        if self._handle is None:
            return
        for reg in list(self._registrations):
            reg.remove()
        for child in list(self._children):
            child.close(release=True)
        self._finalizer()
        self._handle = None

    def __enter__(self):
        return self

    def __exit__(self, *exc):
        self.close()

    @property
    def version(self):
        v = _capi.LibraryVersion()
        call("orvSystemGetLibraryVersion", self._h(), ctypes.byref(v))
        return Version(v.major, v.minor, v.type, v.build)

    @property
    def tl_nodes(self):
        h = c_void_p()
        call("orvSystemGetTLNodeMap", self._h(), ctypes.byref(h))
        return NodeMap(h.value, self, "system")

    @property
    def logging_level(self):
        return out("orvSystemGetLoggingLevel", c_int32, self._h())

    @logging_level.setter
    def logging_level(self, level):
        call("orvSystemSetLoggingLevel", self._h(), _log_level(level))

    def cameras(self):
        """The cameras of every enabled interface, as Camera objects (not opened)."""
        lst = c_void_p()
        call("orvCameraListCreateEmpty", ctypes.byref(lst))
        try:
            call("orvSystemGetCameras", self._h(), lst)
            result = []
            for i in range(out("orvCameraListGetSize", ctypes.c_size_t, lst)):
                cam = c_void_p()
                call("orvCameraListGet", lst, i, ctypes.byref(cam))
                result.append(Camera(cam.value, self))
            return result
        finally:
            lib.orvCameraListDestroy(lst)

    def camera(self, serial=None, index=None):
        """One camera by serial number, or by its index in cameras()."""
        cameras = self.cameras()
        if serial is None:
            index = 0 if index is None else index
            if not 0 <= index < len(cameras):
                for c in cameras:
                    c.close(release=True)
                raise _errors.Error(_errors.ORVANE_ERR_INVALID_ID,
                                    "no camera has index %d (%d cameras)" % (index, len(cameras)))
            chosen = cameras[index]
        else:
            chosen = next((c for c in cameras if c.serial == serial), None)
            if chosen is None:
                for c in cameras:
                    c.close(release=True)
                raise _errors.Error(_errors.ORVANE_ERR_INVALID_ID, "no camera has the serial number '%s'" % serial)
        for c in cameras:
            if c is not chosen:
                c.close(release=True)
        return chosen

    def interfaces(self):
        lst = c_void_p()
        call("orvInterfaceListCreateEmpty", ctypes.byref(lst))
        try:
            call("orvSystemGetInterfaces", self._h(), lst)
            result = []
            for i in range(out("orvInterfaceListGetSize", ctypes.c_size_t, lst)):
                h = c_void_p()
                call("orvInterfaceListGet", lst, i, ctypes.byref(h))
                result.append(Interface(h.value, self))
            return result
        finally:
            lib.orvInterfaceListDestroy(lst)

    def update_cameras(self):
        """Rediscovers; True when the list of cameras changed."""
        changed = c_uint8()
        call("orvSystemUpdateCameras", self._h(), ctypes.byref(changed))
        return bool(changed.value)

    def on_arrival(self, fn):
        """fn(CameraInfo) for every camera that appears, on the device monitor thread."""
        c_fn = _capi.ARRIVAL_FUNC(_guarded(lambda cam, _: fn(_camera_info(cam)), "arrival"))
        return _register(self, "orvDeviceArrivalEventHandlerCreate", "orvSystemRegisterDeviceArrivalEventHandler",
                         "orvSystemUnregisterDeviceArrivalEventHandler", "orvDeviceArrivalEventHandlerDestroy", (c_fn,))

    def on_removal(self, fn):
        """fn(CameraInfo) for every camera that disappears, on the device monitor thread."""
        c_fn = _capi.REMOVAL_FUNC(_guarded(lambda cam, _: fn(_camera_info(cam)), "removal"))
        return _register(self, "orvDeviceRemovalEventHandlerCreate", "orvSystemRegisterDeviceRemovalEventHandler",
                         "orvSystemUnregisterDeviceRemovalEventHandler", "orvDeviceRemovalEventHandlerDestroy", (c_fn,))

    def on_log(self, fn, level=None):
        """fn(LogRecord) for every log record whose priority passes the
        logging level (set to `level` when given: a name such as "debug" or a
        number), on the thread that logged it."""
        if level is not None:
            self.logging_level = level

        def deliver(data, _):
            fn(LogRecord(text("orvLogDataGetCategoryName", data), out("orvLogDataGetPriority", c_int64, data),
                         text("orvLogDataGetPriorityName", data), text("orvLogDataGetTimestamp", data),
                         text("orvLogDataGetNDC", data), text("orvLogDataGetThreadName", data),
                         text("orvLogDataGetLogMessage", data)))

        c_fn = _capi.LOG_EVENT_FUNC(_guarded(deliver, "log"))
        return _register(self, "orvLogEventHandlerCreate", "orvSystemRegisterLogEventHandler",
                         "orvSystemUnregisterLogEventHandler", "orvLogEventHandlerDestroy", (c_fn,))


class Interface:
    """A transport interface ("Virtual", "GigEVision", ...) and its cameras."""

    def __init__(self, handle, system):
        self._handle = handle
        self._system = system
        self._registrations = set()
        self._finalizer = weakref.finalize(self, lib.orvInterfaceRelease, handle)
        system._children.add(self)
        nodes = self.tl_nodes
        self.id = self._text(nodes, "InterfaceID")
        self.display_name = self._text(nodes, "InterfaceDisplayName")

    @staticmethod
    def _text(nodes, name):
        node = nodes.get(name)
        try:
            return str(node) if node is not None else None
        except _errors.Error:
            return None

    def _h(self):
        if self._handle is None:
            raise _errors.InvalidHandleError(_errors.ORVANE_ERR_INVALID_HANDLE, "the interface was released")
        return self._handle

    def _node_maps_valid(self):
        return self._handle is not None

    def close(self, release=True):
        if self._handle is None:
            return
        for reg in list(self._registrations):
            reg.remove()
        self._finalizer()
        self._handle = None

    @property
    def tl_nodes(self):
        h = c_void_p()
        call("orvInterfaceGetTLNodeMap", self._h(), ctypes.byref(h))
        return NodeMap(h.value, self, "interface")

    def cameras(self):
        lst = c_void_p()
        call("orvCameraListCreateEmpty", ctypes.byref(lst))
        try:
            call("orvInterfaceGetCameras", self._h(), lst)
            result = []
            for i in range(out("orvCameraListGetSize", ctypes.c_size_t, lst)):
                cam = c_void_p()
                call("orvCameraListGet", lst, i, ctypes.byref(cam))
                result.append(Camera(cam.value, self._system))
            return result
        finally:
            lib.orvCameraListDestroy(lst)

    def __repr__(self):
        return "<orvane.Interface %s>" % self.id


class _DeviceMapToken:
    """Validity of the device node map of one Init..DeInit period."""

    def __init__(self):
        self.valid = True

    def _node_maps_valid(self):
        return self.valid


def _release_camera(handle, registrations):
    for reg in list(registrations):
        try:
            reg.remove()
        except _errors.Error:
            log.exception("removing an event handler of a collected camera")
    lib.orvCameraRelease(handle)


class Camera:
    """A camera. Its identity (serial, vendor, model, device_id,
    display_name, version, user_id, access_status) is read when the object
    is made. `with camera:` opens it (orvCameraInit) and closes it
    (orvCameraDeInit); nodes, tl_device_nodes, tl_stream_nodes; stream()."""

    def __init__(self, handle, system):
        self._handle = handle
        self._system = system
        self._registrations = set()
        self._token = None
        self._nodes = None
        self._finalizer = weakref.finalize(self, _release_camera, handle, self._registrations)
        system._children.add(self)
        info = _device_info(handle)
        for attribute, _ in _DEVICE_FIELDS:
            setattr(self, attribute, info.get(attribute))

    def _h(self):
        if self._handle is None:
            raise _errors.InvalidHandleError(_errors.ORVANE_ERR_INVALID_HANDLE, "the camera was released")
        return self._handle

    def _node_maps_valid(self):
        return self._handle is not None

    @property
    def unique_id(self):
        return text("orvCameraGetUniqueID", self._h())

    @property
    def is_open(self):
        return bool(out("orvCameraIsInitialized", c_uint8, self._h()))

    @property
    def is_streaming(self):
        return bool(out("orvCameraIsStreaming", c_uint8, self._h()))

    def open(self):
        call("orvCameraInit", self._h())
        if self._token is None:
            self._token = _DeviceMapToken()
        return self

    def close(self, release=False):
        """Closes the device (removing the image handlers first); with
        release=True also gives the camera handle back (the object is then
        unusable)."""
        if self._handle is None:
            return
        for reg in list(self._registrations):
            reg.remove()
        if self._token is not None:
            self._token.valid = False
            self._token = None
            self._nodes = None
            if self.is_streaming:
                lib.orvCameraEndAcquisition(self._handle)
            call("orvCameraDeInit", self._h())
        if release:
            self._finalizer()
            self._handle = None

    def __enter__(self):
        return self.open()

    def __exit__(self, *exc):
        self.close()

    @property
    def nodes(self):
        """The device node map (the camera must be open)."""
        if self._nodes is None or self._token is None or not self._token.valid:
            if self._token is None:
                raise _errors.NotInitializedError(_errors.ORVANE_ERR_CAMERA_NOT_INITIALIZED,
                                                  "the camera is not open: use `with camera:` or camera.open()")
            h = c_void_p()
            call("orvCameraGetNodeMap", self._h(), ctypes.byref(h))
            self._nodes = NodeMap(h.value, self._token, "device")
        return self._nodes

    @property
    def tl_device_nodes(self):
        h = c_void_p()
        call("orvCameraGetTLDeviceNodeMap", self._h(), ctypes.byref(h))
        return NodeMap(h.value, self, "transport-layer device")

    @property
    def tl_stream_nodes(self):
        h = c_void_p()
        call("orvCameraGetTLStreamNodeMap", self._h(), ctypes.byref(h))
        return NodeMap(h.value, self, "transport-layer stream")

    def begin_acquisition(self):
        call("orvCameraBeginAcquisition", self._h())

    def end_acquisition(self):
        call("orvCameraEndAcquisition", self._h())

    def next_image(self, timeout=1.0):
        """The next image of the running stream; timeout in seconds (None: wait forever)."""
        h = c_void_p()
        ms = 0xFFFFFFFFFFFFFFFF if timeout is None else int(timeout * 1000)
        code = lib.orvCameraGetNextImageEx(self._h(), ms, ctypes.byref(h))
        if code:
            _errors.raise_error(code, "orvCameraGetNextImageEx", "camera %s" % self.serial)
        return Image(h.value, from_camera=True)

    def stream(self, count=None, timeout=1.0):
        """Starts the acquisition and yields `count` images (forever when
        None), each one waited for at most `timeout` seconds, then ends the
        acquisition. Each image goes back to the stream when the loop moves
        on, unless arrays made from it are still referenced."""
        self.begin_acquisition()
        try:
            n = 0
            while count is None or n < count:
                image = self.next_image(timeout)
                try:
                    yield image
                finally:
                    image.release()
                n += 1
        finally:
            if self._handle is not None and self.is_streaming:
                self.end_acquisition()

    def on_image(self, fn):
        """fn(Image) for every image of the stream, on the camera's delivery
        thread (the images then do not reach stream()/next_image()). The image
        is valid during the call only: its array is a copy."""
        def deliver(handle, _):
            image = Image(handle, borrowed=True)
            try:
                fn(image)
            finally:
                image.release()

        c_fn = _capi.IMAGE_EVENT_FUNC(_guarded(deliver, "image"))
        return _register(self, "orvImageEventHandlerCreate", "orvCameraRegisterImageEventHandler",
                         "orvCameraUnregisterImageEventHandler", "orvImageEventHandlerDestroy", (c_fn,))

    def on_device_event(self, fn, name=None):
        """fn(event_name, event_id) for the camera's device events (all, or the one named)."""
        def deliver(data, event_name, _):
            fn(event_name.decode() if event_name else "", out("orvDeviceEventGetId", ctypes.c_uint64, data))

        c_fn = _capi.DEVICE_EVENT_FUNC(_guarded(deliver, "device event"))
        handler = c_void_p()
        call("orvDeviceEventHandlerCreate", ctypes.byref(handler), c_fn, None)
        try:
            if name is None:
                call("orvCameraRegisterDeviceEventHandler", self._h(), handler)
            else:
                call("orvCameraRegisterDeviceEventHandlerEx", self._h(), handler, encode(name))
        except BaseException:
            lib.orvDeviceEventHandlerDestroy(handler)
            raise
        reg = Registration(self, handler.value, (c_fn,),
                           lambda h: call("orvCameraUnregisterDeviceEventHandler", self._h(), h),
                           lambda h: call("orvDeviceEventHandlerDestroy", h))
        self._registrations.add(reg)
        return reg

    def __repr__(self):
        return "<orvane.Camera %s %s %s>" % (self.serial, self.vendor, self.model)
