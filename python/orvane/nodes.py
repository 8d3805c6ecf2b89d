"""GenICam node maps and nodes.

A NodeMap wraps a node map handle owned by its parent (a camera, an
interface, the system); a Node wraps a node handle owned by the node map.
Both hold a reference to their owner so that the owner outlives them, and
refuse use once the owner was closed (the handles are then gone)."""
import ctypes
from ctypes import c_double, c_int32, c_int64, c_size_t, c_uint8, c_void_p

from . import _errors
from ._util import call, encode, lib, out, text

# Node kinds (orvNodeGetType).
VALUE, BASE, INTEGER, BOOLEAN, FLOAT, COMMAND, STRING, REGISTER, ENUMERATION, ENUM_ENTRY, CATEGORY, PORT = range(12)
TYPE_NAMES = {0: "Value", 1: "Base", 2: "Integer", 3: "Boolean", 4: "Float", 5: "Command", 6: "String",
              7: "Register", 8: "Enumeration", 9: "EnumEntry", 10: "Category", 11: "Port", -1: "Unknown"}
ACCESS_NAMES = {0: "NI", 1: "NA", 2: "WO", 3: "RO", 4: "RW"}


class NodeMap:
    """Nodes by name: nodes["ExposureTime"] or nodes.ExposureTime; iteration
    gives every node; `name in nodes` tells whether the map has it."""

    def __init__(self, handle, owner, label):
        self._handle = handle
        self._owner = owner  # keeps the object owning the handle alive
        self._label = label
        self._nodes = {}

    def _h(self):
        alive = getattr(self._owner, "_node_maps_valid", lambda: True)
        if not alive():
            raise _errors.InvalidHandleError(_errors.ORVANE_ERR_INVALID_HANDLE,
                                             "the %s node map is gone (its camera was closed)" % self._label)
        return self._handle

    def get(self, name, default=None):
        handle = self._lookup(name)
        return default if handle is None else self._node(handle, name)

    def _lookup(self, name):
        h = c_void_p()
        call("orvNodeMapGetNode", self._h(), encode(name), ctypes.byref(h), what="node map " + self._label)
        return h.value

    def _node(self, handle, name=None):
        node = self._nodes.get(handle)
        if node is None:
            node = Node(handle, self, name)
            self._nodes[handle] = node
        return node

    def __getitem__(self, name):
        node = self.get(name)
        if node is None:
            raise KeyError("the %s node map has no node '%s'" % (self._label, name))
        return node

    def __getattr__(self, name):
        if name.startswith("_"):
            raise AttributeError(name)
        node = self.get(name)
        if node is None:
            raise AttributeError("the %s node map has no node '%s'" % (self._label, name))
        return node

    def __contains__(self, name):
        return self._lookup(name) is not None

    def __len__(self):
        return out("orvNodeMapGetNumNodes", c_size_t, self._h())

    def __iter__(self):
        for i in range(len(self)):
            h = c_void_p()
            call("orvNodeMapGetNodeByIndex", self._h(), i, ctypes.byref(h))
            if h.value:
                yield self._node(h.value)

    def __repr__(self):
        return "<orvane.NodeMap %s>" % self._label


class Node:
    """One feature. value reads or writes it by its kind (int, float, bool,
    str for strings and enumerations); str(node) / node.from_string() go
    through its text form; execute() runs a command."""

    def __init__(self, handle, node_map, name=None):
        self._handle = handle
        self._map = node_map
        self._name = name

    def _h(self):
        self._map._h()
        return self._handle

    def _what(self):
        return "node '%s'" % self.name

    def _out(self, function, ctype):
        return out(function, ctype, self._h(), what=self._what())

    def _call(self, function, *args):
        call(function, self._h(), *args, what=self._what())

    @property
    def name(self):
        if self._name is None:
            self._name = text("orvNodeGetName", self._h())
        return self._name

    @property
    def type(self):
        return self._out("orvNodeGetType", c_int32)

    @property
    def type_name(self):
        return TYPE_NAMES.get(self.type, "Unknown")

    @property
    def access(self):
        """"NI", "NA", "WO", "RO" or "RW"."""
        return ACCESS_NAMES.get(self._out("orvNodeGetAccessMode", c_int32), "?")

    @property
    def readable(self):
        return bool(self._out("orvNodeIsReadable", c_uint8))

    @property
    def writable(self):
        return bool(self._out("orvNodeIsWritable", c_uint8))

    @property
    def available(self):
        return bool(self._out("orvNodeIsAvailable", c_uint8))

    @property
    def implemented(self):
        return bool(self._out("orvNodeIsImplemented", c_uint8))

    @property
    def display_name(self):
        return text("orvNodeGetDisplayName", self._h(), what=self._what())

    @property
    def tooltip(self):
        return text("orvNodeGetToolTip", self._h(), what=self._what())

    @property
    def description(self):
        return text("orvNodeGetDescription", self._h(), what=self._what())

    @property
    def unit(self):
        return text("orvFloatGetUnit", self._h(), what=self._what())

    def __str__(self):
        return text("orvNodeToString", self._h(), what=self._what())

    def from_string(self, value):
        self._call("orvNodeFromString", encode(value))

    @property
    def value(self):
        kind = self.type
        if kind == INTEGER:
            return self._out("orvIntegerGetValue", c_int64)
        if kind == FLOAT:
            return self._out("orvFloatGetValue", c_double)
        if kind == BOOLEAN:
            return bool(self._out("orvBooleanGetValue", c_uint8))
        if kind == STRING:
            return text("orvStringGetValue", self._h(), what=self._what())
        if kind == ENUMERATION:
            return str(self)
        if kind == ENUM_ENTRY:
            return self._out("orvEnumerationEntryGetIntValue", c_int64)
        if kind == REGISTER:
            return self.read_register()
        raise _errors.TypeMismatchError(_errors.ORVANE_ERR_GENICAM_LOGICAL_ERROR,
                                        "%s is a %s node: it has no value" % (self._what(), TYPE_NAMES.get(kind)))

    @value.setter
    def value(self, value):
        kind = self.type
        if kind == INTEGER:
            self._call("orvIntegerSetValue", int(value))
        elif kind == FLOAT:
            self._call("orvFloatSetValue", float(value))
        elif kind == BOOLEAN:
            self._call("orvBooleanSetValue", 1 if value else 0)
        elif kind == STRING:
            self._call("orvStringSetValue", encode(value))
        elif kind == ENUMERATION:
            if isinstance(value, int):
                self._call("orvEnumerationSetIntValue", value)
            else:
                self._call("orvNodeFromString", encode(value))
        elif kind == REGISTER:
            self.write_register(value)
        else:
            raise _errors.TypeMismatchError(_errors.ORVANE_ERR_GENICAM_LOGICAL_ERROR,
                                            "%s is a %s node: it takes no value" % (self._what(), TYPE_NAMES.get(kind)))

    @property
    def min(self):
        if self.type == FLOAT:
            return self._out("orvFloatGetMin", c_double)
        return self._out("orvIntegerGetMin", c_int64)

    @property
    def max(self):
        if self.type == FLOAT:
            return self._out("orvFloatGetMax", c_double)
        return self._out("orvIntegerGetMax", c_int64)

    @property
    def inc(self):
        """The increment of an integer (floats have none through the C library: None)."""
        if self.type == FLOAT:
            return None
        return self._out("orvIntegerGetInc", c_int64)

    def execute(self):
        self._call("orvCommandExecute")

    @property
    def done(self):
        return bool(self._out("orvCommandIsDone", c_uint8))

    # Enumerations
    @property
    def entries(self):
        """The entries' symbolic names (every entry, available or not)."""
        names = []
        for i in range(self._out("orvEnumerationGetNumEntries", c_size_t)):
            h = c_void_p()
            self._call("orvEnumerationGetEntryByIndex", i, ctypes.byref(h))
            names.append(text("orvEnumerationEntryGetSymbolic", h.value, what=self._what()))
        return names

    @property
    def int_value(self):
        """An enumeration's current entry's integer value."""
        h = c_void_p()
        self._call("orvEnumerationGetCurrentEntry", ctypes.byref(h))
        return out("orvEnumerationEntryGetIntValue", c_int64, h.value, what=self._what())

    # Categories
    def __iter__(self):
        if self.type != CATEGORY:
            raise TypeError("%s is not a category" % self._what())
        for i in range(self._out("orvCategoryGetNumFeatures", c_size_t)):
            h = c_void_p()
            self._call("orvCategoryGetFeatureByIndex", i, ctypes.byref(h))
            # Resolve to the node map's own handle for the same name.
            name = text("orvNodeGetName", h.value, what=self._what())
            yield self._map[name]

    # Registers
    def read_register(self):
        length = self._out("orvRegisterGetLength", c_int64)
        buf = (ctypes.c_uint8 * length)()
        self._call("orvRegisterGet", buf, length)
        return bytes(buf)

    def write_register(self, data):
        data = bytes(data)
        buf = (ctypes.c_uint8 * len(data)).from_buffer_copy(data)
        self._call("orvRegisterSet", buf, len(data))

    def __repr__(self):
        return "<orvane.Node %s>" % self.name
