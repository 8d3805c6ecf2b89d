#!/usr/bin/env python3
"""Generates the virtual camera's GenICam description and register map.

Input: data/virtual-camera/camera.toml and data/virtual-camera/features/*.toml
(see data/virtual-camera/README.md for the format).
Output (into --out-dir):
  VirtualCamera.xml           the GenICam XML (GenApi schema 1.1)
  VirtualCameraXml.cpp        the same XML embedded in the SDK
  VirtualCameraRegisters.h    addresses, strides, entry values, chunk and event
                              IDs and the table of initial register values

Everything is derived from the one description, so the XML and the SDK's
virtual-camera runtime cannot disagree. The generator refuses inconsistent
data: unknown references, overlapping registers, enumeration values that are
not unique, registers whose zero content would be invalid without an initial
value, and standard feature names that are neither implemented nor listed as
omitted.
"""

import argparse
import fnmatch
import os
import re
import struct
import sys
import tomllib
from xml.sax.saxutils import escape as xml_escape

FEATURE_TYPES = ("Integer", "Float", "Boolean", "Command", "Enumeration", "String", "Register")
VISIBILITIES = ("Beginner", "Expert", "Guru", "Invisible")
# Names the GenICam formula parser reads as functions or constants.
FORMULA_RESERVED = {"ln", "lg", "sin", "cos", "sgn", "neg", "tan", "abs", "exp", "atan", "sqrt", "ceil",
                    "asin", "acos", "trunc", "round", "floor", "pi", "e", "from", "to"}
DEFAULT_LENGTH = {"Integer": 4, "Float": 8, "Boolean": 4, "Command": 4, "Enumeration": 4}


class DataError(Exception):
    pass


def fail(msg):
    raise DataError(msg)


def display_from_name(name):
    """'ExposureTime' -> 'Exposure Time', 'DeviceSFNCVersionMajor' -> 'Device SFNC Version Major'."""
    s = re.sub(r"(?<=[a-z])(?=[A-Z])|(?<=[A-Z])(?=[A-Z][a-z])|(?<=[a-z])(?=[0-9])", " ", name)
    return s.replace("_", " ")


# --------------------------------------------------------------------------- model

class Entry:
    def __init__(self, name, value, tooltip=None, display_name=None, description=None, attrs=None):
        self.name = name
        self.value = value
        self.tooltip = tooltip
        self.display_name = display_name
        self.description = description
        self.attrs = attrs or {}


class Feature:
    """One feature of the camera, with the register (if any) that holds it."""

    def __init__(self, d, category, source):
        self.src = source
        self.name = d.pop("name")
        self.type = d.pop("type")
        if self.type not in FEATURE_TYPES:
            fail(f"{source}: {self.name}: unknown type {self.type}")
        self.category = d.pop("category", category)
        self.tooltip = d.pop("tooltip", None)
        if not self.tooltip:
            fail(f"{source}: {self.name}: tooltip missing")
        self.description = d.pop("description", None) or self.tooltip
        self.display_name = d.pop("display_name", None) or display_from_name(self.name)
        self.visibility = d.pop("visibility", "Beginner")
        if self.visibility not in VISIBILITIES:
            fail(f"{source}: {self.name}: bad visibility {self.visibility}")
        self.access = d.pop("access", "RW")
        if self.access not in ("RW", "RO", "WO"):
            fail(f"{source}: {self.name}: bad access {self.access}")
        self.namespace = d.pop("namespace", "Standard")
        # Value source.
        self.value = d.pop("value", None)          # constant
        self.formula = d.pop("formula", None)      # read-only formula
        self.raw = d.pop("raw", None)              # Float over an integer register: {to=, from=} or "direct"
        self.address = d.pop("address", None)      # fixed register address
        self.length = d.pop("length", 4 if self.raw else DEFAULT_LENGTH.get(self.type))
        self.plength = d.pop("plength", None)      # Register: length formula
        self.index = d.pop("index", [])            # selectors indexing the register
        self.strides = d.pop("stride", None)       # explicit strides (fixed addresses)
        self.share = d.pop("share", None)          # use another feature's register
        self.overlay = d.pop("overlay", None)      # own register node over another feature's memory
        self.derive = d.pop("derive", None)        # formula derived from another enumeration's entries
        self.chunk = d.pop("chunk", None)          # chunk name: register on that chunk's port
        self.event = d.pop("event", None)          # event name: register on that event's port
        self.offset = d.pop("offset", 0)           # offset inside a chunk or event
        self.signed = d.pop("signed", None)
        # Numbers.
        self.min = d.pop("min", None)
        self.max = d.pop("max", None)
        self.inc = d.pop("inc", None)
        self.unit = d.pop("unit", None)
        self.representation = d.pop("representation", None)
        self.notation = d.pop("notation", None)
        self.precision = d.pop("precision", None)
        # Rules.
        self.available = d.pop("available", None)
        self.locked = d.pop("locked", None)
        self.implemented = d.pop("implemented", None)
        self.selects = d.pop("selects", [])
        # Caching.
        self.volatile = d.pop("volatile", False)
        self.poll = d.pop("poll", None)
        self.dynamic = d.pop("dynamic", False)     # the runtime keeps the value current
        self.behaviour = d.pop("behaviour", None)  # what the runtime does with it (documentation)
        self.streamable = d.pop("streamable", None)
        # Types.
        self.command_value = d.pop("command_value", 1)
        self.on_value = d.pop("on_value", 1)
        self.off_value = d.pop("off_value", 0)
        self.entries = []
        raw_entries = d.pop("entries", None)
        signal_entries = d.pop("signal_entries", None)
        self.entry_source = d.pop("entries_from", None)
        self.omit_entries = d.pop("omit_entries", None)
        self.init = d.pop("init", None)
        self.init_at = d.pop("init_at", {})
        self._raw_entries = raw_entries
        self._signal_entries = signal_entries
        if d:
            fail(f"{source}: {self.name}: unknown keys {sorted(d)}")
        # Filled in later.
        self.reg_name = None       # name of the register node (or the feature itself)
        self.port = "Device"
        self.alloc_strides = []
        self.selector_of = []      # features this selector selects

    @property
    def has_register(self):
        return self.value is None and self.formula is None and self.share is None and self.derive is None

    @property
    def writable(self):
        return self.access in ("RW", "WO")


class Category:
    def __init__(self, d, source):
        self.name = d.pop("name")
        self.parent = d.pop("parent", "Root")
        self.tooltip = d.pop("tooltip", None)
        if not self.tooltip:
            fail(f"{source}: category {self.name}: tooltip missing")
        self.description = d.pop("description", None) or self.tooltip
        self.display_name = d.pop("display_name", None) or display_from_name(self.name)
        self.visibility = d.pop("visibility", "Beginner")
        self.namespace = d.pop("namespace", "Standard")
        if d:
            fail(f"{source}: category {self.name}: unknown keys {sorted(d)}")
        self.children = []


# --------------------------------------------------------------------------- loading

class Camera:
    def __init__(self, data_dir):
        self.data_dir = data_dir
        with open(os.path.join(data_dir, "camera.toml"), "rb") as f:
            self.top = tomllib.load(f)
        self.device = self.top["device"]
        self.memory = self.top["memory"]
        self.signals = {k: (v[0], v[1]) for k, v in self.top["signals"].items()}
        self.omitted = self.top.get("omitted", {})
        self.entry_sets = self.top.get("entry_sets", {})
        self.categories = {}
        self.category_order = []
        self.features = {}
        self.feature_order = []
        self.helpers = []          # (xml text, name)
        self.helper_by_formula = {}
        self.ports = []            # (name, kind, id)
        self.chunks = []
        self.events = []

        root = Category({"name": "Root", "parent": None,
                         "tooltip": self.device["root_tooltip"], "display_name": "Root"}, "camera.toml")
        self._add_category(root)

        files = sorted(f for f in os.listdir(os.path.join(data_dir, "features")) if f.endswith(".toml"))
        self.sources = [os.path.join(data_dir, "camera.toml")] + [os.path.join(data_dir, "features", f) for f in files]
        for fn in files:
            path = os.path.join(data_dir, "features", fn)
            with open(path, "rb") as f:
                doc = tomllib.load(f)
            cats = doc.pop("category", [])
            feats = doc.pop("feature", [])
            default_cat = doc.pop("default_category", None)
            if doc:
                fail(f"{fn}: unknown top-level keys {sorted(doc)}")
            for d in cats:
                c = Category(dict(d), fn)
                self._add_category(c)
                if default_cat is None:
                    default_cat = c.name
            for d in feats:
                self._add_feature(Feature(dict(d), default_cat, fn))
        # camera.toml's own categories come after those of the feature files (last under Root).
        for d in self.top.get("category", []):
            self._add_category(Category(dict(d), "camera.toml"))

        self._expand_chunks()
        self._expand_events()

    def _add_category(self, c):
        if c.name in self.categories:
            fail(f"category {c.name} defined twice")
        self.categories[c.name] = c
        self.category_order.append(c)

    def _add_feature(self, f):
        if f.name in self.features or f.name in self.categories:
            fail(f"{f.src}: {f.name} defined twice")
        self.features[f.name] = f
        self.feature_order.append(f)

    # Chunks: ChunkSelector entries, ChunkEnable and one port per chunk.
    def _expand_chunks(self):
        for d in self.top.get("chunk", []):
            d = dict(d)
            c = {"name": d.pop("name"), "id": d.pop("id"), "length": d.pop("length"),
                 "selector_value": d.pop("selector_value"), "tooltip": d.pop("tooltip"),
                 "always": d.pop("always", False), "variable": d.pop("variable", False)}
            if d:
                fail(f"chunk {c['name']}: unknown keys {sorted(d)}")
            if c["length"] % 4:
                fail(f"chunk {c['name']}: length must be a multiple of 4")
            self.chunks.append(c)
            self.ports.append((f"Chunk{c['name']}Port", "ChunkID", c["id"], f"the {c['name']} chunk"))
        sel = self.features.get("ChunkSelector")
        if sel is None:
            fail("ChunkSelector missing")
        sel._raw_entries = [[c["name"], c["selector_value"], c["tooltip"]] for c in self.chunks]

    # Events: EventSelector entries, Event<Name> (its ID) and the data features.
    def _expand_events(self):
        ev_cfg = self.top["event_data"]
        for d in self.top.get("event", []):
            d = dict(d)
            e = {"name": d.pop("name"), "id": d.pop("id"), "selector_value": d.pop("selector_value"),
                 "tooltip": d.pop("tooltip"), "frame_id": d.pop("frame_id", True),
                 "extra": d.pop("extra", []), "visibility": d.pop("visibility", "Expert")}
            if d:
                fail(f"event {e['name']}: unknown keys {sorted(d)}")
            self.events.append(e)
            port = f"Event{e['name']}Port"
            self.ports.append((port, "EventID", e["id"], f"the {e['name']} event"))
            cat = f"Event{e['name']}Data"
            self._add_category(Category({
                "name": cat, "parent": "EventControl", "visibility": e["visibility"],
                "display_name": f"Event {display_from_name(e['name'])} Data",
                "tooltip": f"Data of the {e['name']} event.",
                "description": f"Category that contains all the data features related to the {e['name']} event: "
                               f"{e['tooltip']}"}, "camera.toml"))
            base = f"Event{e['name']}"
            self._add_feature(Feature({
                "name": base, "type": "Integer", "value": e["id"], "access": "RO", "representation": "HexNumber",
                "visibility": e["visibility"],
                "tooltip": f"Returns the unique identifier of the {e['name']} type of event.",
                "description": f"Returns the unique identifier of the {e['name']} type of event ({e['tooltip']}) "
                               f"It can be used to register a callback function to be notified of the event "
                               f"occurrence. Its value uniquely identifies the type of event received."},
                cat, "camera.toml"))
            fields = [("Timestamp", ev_cfg["timestamp_offset"], 8, "Integer",
                       f"Returns the timestamp of the {e['name']} event.",
                       f"Returns the timestamp of the {e['name']} event, in device timestamp ticks (ns).")]
            if e["frame_id"]:
                fields.append(("FrameID", ev_cfg["frame_id_offset"], 8, "Integer",
                               f"Returns the unique identifier of the frame (or image) that generated the "
                               f"{e['name']} event.",
                               f"Returns the unique identifier of the frame (or image) that generated the "
                               f"{e['name']} event."))
            for x in e["extra"]:
                fields.append((x["suffix"], x["offset"], x["length"], x.get("type", "Integer"), x["tooltip"],
                               x.get("description", x["tooltip"])))
            for suffix, off, length, typ, tip, desc in fields:
                self._add_feature(Feature({
                    "name": base + suffix, "type": typ, "event": e["name"], "offset": off, "length": length,
                    "access": "RO", "visibility": e["visibility"], "tooltip": tip, "description": desc,
                    "representation": "PureNumber" if typ == "Integer" else None,
                    "display_name": f"Event {display_from_name(e['name'])} {display_from_name(suffix)}"},
                    cat, "camera.toml"))
        sel = self.features.get("EventSelector")
        if sel is None:
            fail("EventSelector missing")
        sel._raw_entries = [[e["name"], e["selector_value"], e["tooltip"]] for e in self.events]


# --------------------------------------------------------------------------- resolution

class Resolver:
    def __init__(self, cam):
        self.cam = cam
        self.enum_values = {}      # enum name -> {entry: value}
        self.node_names = set()

    def build_entries(self):
        for f in self.cam.feature_order:
            if f.type != "Enumeration":
                if f._raw_entries or f._signal_entries or f.entry_source:
                    fail(f"{f.name}: entries on a non-enumeration")
                continue
            entries = []
            if f.entry_source and f.entry_source.startswith("@"):
                if f.entry_source[1:] not in self.cam.entry_sets:
                    fail(f"{f.name}: unknown entry set {f.entry_source}")
                f._raw_entries = self.cam.entry_sets[f.entry_source[1:]]
            elif f.entry_source:
                other = self.cam.features.get(f.entry_source)
                if other is None or other.type != "Enumeration":
                    fail(f"{f.name}: entries_from {f.entry_source} is not an enumeration")
                if other.entry_source:
                    fail(f"{f.name}: entries_from chains are not supported")
                f._raw_entries = other._raw_entries
                f._signal_entries = other._signal_entries
            for e in f._raw_entries or []:
                if isinstance(e, dict):
                    e = dict(e)
                    entries.append(Entry(e.pop("name"), e.pop("value"), e.pop("tooltip", None),
                                         e.pop("display_name", None), e.pop("description", None), e))
                else:
                    entries.append(Entry(e[0], e[1], e[2] if len(e) > 2 else None))
            for name in f._signal_entries or []:
                if name not in self.cam.signals:
                    fail(f"{f.name}: unknown signal {name}")
                v, tip = self.cam.signals[name]
                entries.append(Entry(name, v, tip))
            if not entries:
                fail(f"{f.name}: enumeration without entries")
            names = [e.name for e in entries]
            values = [e.value for e in entries]
            if len(set(names)) != len(names):
                fail(f"{f.name}: duplicate entry names")
            if len(set(values)) != len(values):
                fail(f"{f.name}: duplicate entry values")
            f.entries = entries
            self.enum_values[f.name] = {e.name: e.value for e in entries}

    def selector_max(self, sel_name):
        sel = self.cam.features.get(sel_name)
        if sel is None:
            fail(f"unknown selector {sel_name}")
        if sel.type == "Enumeration":
            vals = [e.value for e in sel.entries]
            if min(vals) < 0:
                fail(f"{sel_name}: selector values must not be negative")
            return max(vals)
        if sel.type == "Integer":
            if not isinstance(sel.max, int) or not isinstance(sel.min, int) or sel.min < 0:
                fail(f"{sel_name}: an integer selector needs constant min >= 0 and max")
            return sel.max
        fail(f"{sel_name}: selectors must be enumerations or integers")

    def selector_values(self, sel_name):
        sel = self.cam.features[sel_name]
        if sel.type == "Enumeration":
            return [(e.name, e.value) for e in sel.entries]
        return [(str(v), v) for v in range(sel.min, sel.max + 1)]

    def value_of(self, f, v):
        """Converts a data value (number, bool, entry name) to the register's integer or float."""
        if f.type == "Enumeration":
            if isinstance(v, str):
                if v not in self.enum_values[f.name]:
                    fail(f"{f.name}: init value {v} is not an entry")
                return self.enum_values[f.name][v]
            if v not in self.enum_values[f.name].values():
                fail(f"{f.name}: init value {v} is not an entry value")
            return v
        if f.type == "Boolean":
            if not isinstance(v, bool):
                fail(f"{f.name}: boolean init must be true or false")
            return f.on_value if v else f.off_value
        return v


# --------------------------------------------------------------------------- generator

class Generator:
    def __init__(self, cam):
        self.cam = cam
        self.r = Resolver(cam)
        self.xml = []
        self.regs = []             # register records for the header
        self.inits = []            # (address, bytes, feature)
        self.used = []             # (start, end, owner) allocated ranges
        self.next_free = cam.memory["start"]

    # ---- formulas
    def compile_formula(self, expr, owner, allow=("FROM", "TO")):
        """Returns (formula text, {variable: node}) for a formula in the data's notation.

        Identifiers are node names (features or their registers); Enum.Entry stands for the
        entry's value. Booleans and commands are read through their registers."""
        variables = {}

        def repl(m):
            tok = m.group(0)
            if tok in allow:
                return tok
            if "." in tok:
                enum, entry = tok.split(".", 1)
                vals = self.r.enum_values.get(enum)
                if vals is None or entry not in vals:
                    fail(f"{owner}: formula refers to unknown entry {tok}")
                return str(vals[entry])
            node = self.variable_node(tok, owner)
            if tok.lower() in FORMULA_RESERVED:
                fail(f"{owner}: {tok} cannot be a formula variable")
            variables[tok] = node
            return tok

        text = re.sub(r"\b[A-Za-z_][A-Za-z0-9_]*(?:\.[A-Za-z_][A-Za-z0-9_]*)?\b", repl, expr)
        text = re.sub(r"\b0x[0-9A-Fa-f]+\b", lambda m: str(int(m.group(0), 16)), text)
        if "==" in text or "!=" in text:
            fail(f"{owner}: formulas use = and <> (GenICam notation): {expr}")
        return text, variables

    def variable_node(self, name, owner):
        f = self.cam.features.get(name)
        if f is None:
            if name in self.r.node_names:
                return name
            fail(f"{owner}: formula refers to unknown node {name}")
        if f.type in ("Boolean", "Command"):
            return self.reg_node_of(f)
        return name

    def reg_node_of(self, f):
        if f.share:
            return self.reg_node_of(self.cam.features[f.share])
        return f.reg_name

    def helper(self, owner, role, expr, is_float=False):
        """A node for a formula: a direct node reference, or a hidden swiss knife."""
        if isinstance(expr, (int, float)):
            return None
        if re.fullmatch(r"[A-Za-z_][A-Za-z0-9_]*", expr):
            if role.startswith("Is") and expr in self.cam.features:
                return expr    # pIsAvailable and friends read booleans directly
            return self.variable_node(expr, owner)
        key = (expr, is_float)
        if key in self.cam.helper_by_formula:
            return self.cam.helper_by_formula[key]
        text, variables = self.compile_formula(expr, owner)
        name = f"{owner}_{role}"
        tag = "SwissKnife" if is_float else "IntSwissKnife"
        lines = [f'  <{tag} Name="{name}" NameSpace="Custom">',
                 f"    <ToolTip>{xml_escape(role)} of {owner}"
                 f"{': ' + xml_escape(expr) if len(expr) <= 100 else '.'}</ToolTip>",
                 "    <Visibility>Invisible</Visibility>"]
        for v, node in variables.items():
            lines.append(f'    <pVariable Name="{v}">{node}</pVariable>')
        lines.append(f"    <Formula>{xml_escape(text)}</Formula>")
        lines.append(f"  </{tag}>")
        self.cam.helpers.append(("\n".join(lines), name))
        self.cam.helper_by_formula[key] = name
        self.r.node_names.add(name)
        return name

    # ---- register allocation
    def claim(self, start, size, owner):
        end = start + size
        if end > self.cam.memory["size"]:
            fail(f"{owner}: register 0x{start:x}+{size} beyond the camera memory")
        for lo, hi in self.cam.memory["forbidden"]:
            if start < hi and end > lo and not self.fixed_ok(start, end):
                fail(f"{owner}: register 0x{start:x}..0x{end:x} in a forbidden range 0x{lo:x}..0x{hi:x}")
        for s, e, o in self.used:
            if start < e and end > s:
                fail(f"{owner}: register 0x{start:x}..0x{end:x} overlaps {o} (0x{s:x}..0x{e:x})")
        self.used.append((start, end, owner))

    def fixed_ok(self, start, end):
        for lo, hi in self.cam.memory["fake_registers"]:
            if start >= lo and end <= hi:
                return True
        return False

    def allocate(self, f):
        """Gives f's register an address and strides (selector-indexed registers)."""
        maxima = [self.r.selector_max(s) for s in f.index]
        if f.strides is not None:
            strides = list(f.strides)
            if len(strides) != len(f.index):
                fail(f"{f.name}: one stride per index")
        else:
            strides = [0] * len(f.index)
            step = f.length or 0
            for i in reversed(range(len(f.index))):
                strides[i] = step
                step *= maxima[i] + 1
        span = (f.length or 0) + sum(st * mx for st, mx in zip(strides, maxima))
        if f.chunk or f.event:
            f.address = f.offset
            f.alloc_strides = strides
            return
        if f.address is None:
            align = 8 if f.length >= 8 else 4
            a = (self.next_free + align - 1) // align * align
            f.address = a
            self.next_free = a + span
            self.claim(a, span, f.name)
        else:
            # A fixed register (one of the fake camera's own, or pinned by the data).
            if f.strides is not None:
                for k, name in enumerate(f.index):
                    for _, v in self.r.selector_values(name):
                        self.claim(f.address + v * strides[k], f.length, f"{f.name}[{v}]")
            else:
                self.claim(f.address, span, f.name)
        f.alloc_strides = strides

    def allocate_overlay(self, f):
        """A register node over another feature's memory (LUTValueAll over LUTValue)."""
        other = self.cam.features.get(f.overlay)
        if other is None or not other.has_register or other.overlay:
            fail(f"{f.name}: overlay {f.overlay} is not a register feature")
        strides = []
        for sel in f.index:
            if sel not in other.index:
                fail(f"{f.name}: overlay index {sel} does not index {other.name}")
            strides.append(other.alloc_strides[other.index.index(sel)])
        f.address = other.address
        f.alloc_strides = strides
        f.port = other.port

    def check_chunks(self):
        for f in self.cam.feature_order:
            if not f.chunk:
                continue
            c = next(c for c in self.cam.chunks if c["name"] == f.chunk)
            if c["variable"]:
                continue
            span = f.address + f.length + sum(st * self.r.selector_max(sel)
                                              for st, sel in zip(f.alloc_strides, f.index))
            if span > c["length"]:
                fail(f"{f.name}: does not fit in chunk {c['name']} ({span} > {c['length']} bytes)")

    def derived_formula(self, f):
        """Formula mapping an enumeration's entries (grouped by an attribute) to values."""
        d = dict(f.derive)
        src = self.cam.features.get(d.pop("from"))
        attr = d.pop("attribute")
        default = d.pop("default", None)
        transform = d.pop("transform", None)
        if d or src is None or src.type != "Enumeration":
            fail(f"{f.name}: bad derive")
        groups = {}
        for e in src.entries:
            a = e.attrs.get(attr, default)
            if a is None:
                fail(f"{f.name}: {src.name}.{e.name} has no {attr}")
            if transform == "max_value":
                v = (1 << a) - 1
            elif f.type == "Enumeration":
                if a not in self.r.enum_values[f.name]:
                    fail(f"{f.name}: {a} is not an entry")
                v = self.r.enum_values[f.name][a]
            else:
                v = a
            groups.setdefault(v, []).append(e.value)
        items = sorted(groups.items(), key=lambda kv: -len(kv[1]))
        fallback = items[0][0]
        text = str(fallback)
        for v, codes in reversed(items[1:]):
            cond = " || ".join(f"{src.name} = {c}" for c in codes)
            text = f"({cond}) ? {v} : ({text})"
        return text

    # ---- initial values
    def encode(self, f, v):
        if f.type == "String":
            b = v.encode("utf-8")
            if len(b) >= f.length:
                fail(f"{f.name}: initial string longer than {f.length - 1} bytes")
            return b + b"\0" * (f.length - len(b))
        if f.type == "Float" and not f.raw:
            return struct.pack(">d", float(v))
        if f.type == "Register":
            if not isinstance(v, list):
                fail(f"{f.name}: register init must be a list of bytes")
            return bytes(v) + b"\0" * (f.length - len(v))
        iv = self.r.value_of(f, v)
        if not isinstance(iv, int):
            fail(f"{f.name}: integer init expected, got {v!r}")
        return iv.to_bytes(f.length, "big", signed=iv < 0)

    def zero_valid(self, f):
        if f.type == "Enumeration":
            return 0 in self.r.enum_values[f.name].values()
        if f.type in ("Integer", "Float"):
            lo = f.min if isinstance(f.min, (int, float)) else 0
            hi = f.max if isinstance(f.max, (int, float)) else 0
            if f.raw and f.raw != "direct":
                return False   # converters divide by the register
            return lo <= 0 <= hi or (not isinstance(f.min, (int, float)) and not isinstance(f.max, (int, float)))
        return True

    def plan_inits(self, f):
        if not f.has_register or f.chunk or f.event:
            if f.init is not None or f.init_at:
                fail(f"{f.name}: init on a feature without a register of its own")
            return
        slots = self.slots(f)
        if f.init is None and f.init_at == {} and f.writable and not self.zero_valid(f):
            fail(f"{f.name}: zero is not a valid value; give it an init value")
        if f.init is None and f.init_at == {} and not f.writable and not self.zero_valid(f) and not f.dynamic \
                and not f.overlay:
            fail(f"{f.name}: read-only register whose zero is invalid needs an init value")
        seen = set()
        for key, addr in slots:
            v = f.init
            if key in f.init_at:
                v = f.init_at[key]
                seen.add(key)
            elif key.split("/")[0] in f.init_at and "/" in key:
                v = f.init_at[key.split("/")[0]]
                seen.add(key.split("/")[0])
            if v is None:
                continue
            if v == "@index":
                if not f.index:
                    fail(f"{f.name}: @index needs a selector")
                v = dict(self.r.selector_values(f.index[-1]))[key.split("/")[-1]]
            b = self.encode(f, v)
            if any(b):
                self.inits.append((addr, b, f.name, key))
        unknown = set(f.init_at) - seen
        if unknown:
            fail(f"{f.name}: init_at keys {sorted(unknown)} match no selector value")

    def slots(self, f):
        """(key, address) of every selector combination of f's register."""
        combos = [("", f.address)]
        for sel, stride in zip(f.index, f.alloc_strides):
            nxt = []
            for key, addr in combos:
                for name, v in self.r.selector_values(sel):
                    nxt.append((f"{key}/{name}" if key else name, addr + v * stride))
            combos = nxt
        return combos

    # ---- XML
    def run(self):
        cam = self.cam
        self.r.build_entries()
        self.check_identity()
        self.check_standard_lists()
        for f in cam.feature_order:
            if f.derive:
                f.formula = self.derived_formula(f)
        self.resolve_names()
        for f in cam.feature_order:
            if f.has_register and not f.overlay:
                self.allocate(f)
        for f in cam.feature_order:
            if f.overlay:
                self.allocate_overlay(f)
        self.check_chunks()
        for f in cam.feature_order:
            self.check_feature(f)
            self.plan_inits(f)
        for f in cam.feature_order:
            for s in f.index:
                cam.features[s].selector_of.append(f.name)
            for s in f.selects:
                if s not in cam.features:
                    fail(f"{f.name}: selects unknown {s}")
                f.selector_of.append(s)
        self.build_payload()
        body = []
        for f in cam.feature_order:
            body.append(self.emit_feature(f))
        cats = [self.emit_category(c) for c in cam.category_order]
        return self.document(cats, body)

    def resolve_names(self):
        cam = self.cam
        for f in cam.feature_order:
            self.r.node_names.add(f.name)
            if f.has_register and f.type not in ("String", "Register"):
                f.reg_name = f"{f.name}Reg"
                if f.reg_name in cam.features:
                    fail(f"{f.reg_name} clashes with a feature")
                self.r.node_names.add(f.reg_name)
            elif f.has_register:
                f.reg_name = f.name
            if f.chunk:
                if not any(c["name"] == f.chunk for c in cam.chunks):
                    fail(f"{f.name}: unknown chunk {f.chunk}")
                f.port = f"Chunk{f.chunk}Port"
            if f.event:
                f.port = f"Event{f.event}Port"
            if f.share:
                other = cam.features.get(f.share)
                if other is None or not other.has_register:
                    fail(f"{f.name}: share {f.share} is not a register feature")
            if f.category not in cam.categories:
                fail(f"{f.name}: unknown category {f.category}")
            cam.categories[f.category].children.append(f.name)
        for c in cam.category_order:
            if c.parent is not None:
                if c.parent not in cam.categories:
                    fail(f"category {c.name}: unknown parent {c.parent}")
                cam.categories[c.parent].children.append(c.name)
            self.r.node_names.add(c.name)
        for p, _, _, _ in cam.ports:
            self.r.node_names.add(p)
        self.r.node_names.add("Device")
        for c in cam.chunks:
            self.r.node_names.add(f"ChunkEnable{c['name']}Reg")
        self.r.node_names.add("ChunkPayloadSize")

    def check_feature(self, f):
        if f.share and (f.index or f.init is not None or f.init_at):
            fail(f"{f.name}: a shared register takes the index and init of {f.share}")
        if f.overlay and (f.init is not None or f.init_at):
            fail(f"{f.name}: an overlay has no init of its own")
        for s in f.index:
            if s not in self.cam.features:
                fail(f"{f.name}: unknown selector {s}")
        if f.type == "Enumeration" and f.has_register is False and f.formula is None and f.share is None:
            fail(f"{f.name}: enumeration without a value source")
        if f.raw not in (None, "direct") and not isinstance(f.raw, dict):
            fail(f"{f.name}: raw must be 'direct' or a converter table")
        if f.type in ("String", "Register") and f.has_register and not f.length and not f.plength:
            fail(f"{f.name}: length missing")

    def check_identity(self):
        """The identity strings must equal the SDK's VirtualCameraIdentity.h."""
        path = self.cam.identity_header
        with open(path, encoding="utf-8") as fh:
            text = fh.read()
        for key, feat in (("kVirtualVendorName", "DeviceVendorName"), ("kVirtualModelName", "DeviceModelName"),
                          ("kVirtualDeviceVersion", "DeviceVersion")):
            m = re.search(key + r'\s*=\s*"([^"]*)"', text)
            if not m:
                fail(f"{path}: {key} not found")
            f = self.cam.features.get(feat)
            if f is None or f.init != m.group(1):
                fail(f"{feat} must be initialised to \"{m.group(1)}\" as in {os.path.basename(path)}")

    def check_standard_lists(self):
        """Every standard name is implemented or deliberately omitted (with a reason)."""
        cam = self.cam
        omitted = cam.omitted

        def omitted_reason(name):
            for pattern, reason in omitted.items():
                if fnmatch.fnmatchcase(name, pattern):
                    return reason
            return None

        missing = []
        for name in cam.standard_features:
            if name in cam.features:
                if omitted_reason(name) and name in omitted:
                    fail(f"{name} is both implemented and omitted")
                continue
            if omitted_reason(name) is None:
                missing.append(name)
        if missing:
            fail("standard features neither implemented nor omitted: " + ", ".join(missing))
        for name, std_entries in cam.standard_enums.items():
            f = cam.features.get(name)
            if f is None:
                continue
            if f.type != "Enumeration":
                fail(f"{name} is an enumeration in the standard list")
            ours = {e.name for e in f.entries}
            absent = [e for e in std_entries if e not in ours]
            if absent and not f.omit_entries:
                fail(f"{name}: standard entries {absent} neither implemented nor listed in omit_entries")

    # ---- payload size: image plus every enabled chunk
    def build_payload(self):
        cam = self.cam
        enable = cam.features["ChunkEnable"]
        sel = cam.features["ChunkSelector"]
        hidden = []
        for c in cam.chunks:
            addr = enable.address + c["selector_value"] * enable.alloc_strides[0]
            hidden.append(
                f'  <IntReg Name="ChunkEnable{c["name"]}Reg" NameSpace="Custom">\n'
                f"    <ToolTip>ChunkEnable of the {c['name']} chunk, read without the selector.</ToolTip>\n"
                f"    <Visibility>Invisible</Visibility>\n"
                f"    <Address>0x{addr:x}</Address>\n    <Length>{enable.length}</Length>\n"
                f"    <AccessMode>RO</AccessMode>\n    <pPort>Device</pPort>\n"
                f"    <Cachable>NoCache</Cachable>\n    <Sign>Unsigned</Sign>\n"
                f"    <Endianess>BigEndian</Endianess>\n  </IntReg>")
        cam.helpers.extend((h, None) for h in hidden)
        assert sel.type == "Enumeration"
        terms = []
        for c in cam.chunks:
            if c["variable"]:
                continue
            terms.append(f"ChunkEnable{c['name']}Reg * {c['length'] + 8}")
        formula = f"ChunkModeActive ? (8 + {' + '.join(terms)}) : 0"
        text, variables = self.compile_formula(formula, "ChunkPayloadSize")
        lines = ['  <IntSwissKnife Name="ChunkPayloadSize" NameSpace="Custom">',
                 "    <ToolTip>Bytes of chunk data in the payload: the image chunk's trailer and every enabled "
                 "chunk with its trailer, when ChunkModeActive is true.</ToolTip>",
                 "    <Visibility>Invisible</Visibility>"]
        for v, node in variables.items():
            lines.append(f'    <pVariable Name="{v}">{node}</pVariable>')
        lines += [f"    <Formula>{xml_escape(text)}</Formula>", "  </IntSwissKnife>"]
        cam.helpers.append(("\n".join(lines), "ChunkPayloadSize"))

    # ---- node emission
    def common(self, name, tooltip, description, display, visibility, f=None):
        out = [f"    <ToolTip>{xml_escape(tooltip)}</ToolTip>",
               f"    <Description>{xml_escape(description)}</Description>"]
        out += [f"    <DisplayName>{xml_escape(display)}</DisplayName>",
                f"    <Visibility>{visibility}</Visibility>"]
        if f is not None:
            for role, tag, attr in (("IsImplemented", "pIsImplemented", f.implemented),
                                    ("IsAvailable", "pIsAvailable", f.available),
                                    ("IsLocked", "pIsLocked", f.locked)):
                if attr is not None:
                    out.append(f"    <{tag}>{self.helper(name, role, attr)}</{tag}>")
            if f.access == "RO" and (f.value is not None or f.share or (f.type == "Float" and f.raw) or
                                     (f.type == "Enumeration" and f.formula is not None)):
                out.append("    <ImposedAccessMode>RO</ImposedAccessMode>")
            elif f.access == "WO":
                out.append("    <ImposedAccessMode>WO</ImposedAccessMode>")
        return out

    def streamable(self, f):
        if f.streamable is not None:
            return f.streamable
        return f.writable and f.type not in ("Command", "Register") and not f.chunk and not f.event \
            and f.has_register and not f.dynamic

    def num_limits(self, f, is_float):
        out = []
        for tag, v in (("Min", f.min), ("Max", f.max), ("Inc", f.inc)):
            if v is None:
                continue
            if isinstance(v, str):
                out.append(f"    <p{tag}>{self.helper(f.name, tag, v, is_float)}</p{tag}>")
            else:
                out.append(f"    <{tag}>{fmt_num(v, is_float)}</{tag}>")
        return out

    def emit_feature(self, f):
        t = f.type
        lines = []
        reg_xml = []
        if t in ("String", "Register") and (f.has_register or f.share):
            return self.emit_register_feature(f)
        if t == "Float" and f.formula is not None:
            return self.emit_formula(f, "SwissKnife")
        if t == "Integer" and f.formula is not None:
            return self.emit_formula(f, "IntSwissKnife")
        if t in ("Boolean", "Command", "String", "Register") and f.formula is not None:
            fail(f"{f.name}: a {t} cannot have a formula")
        tag = t
        lines.append(f'  <{tag} Name="{f.name}" NameSpace="{f.namespace}">')
        lines += self.common(f.name, f.tooltip, f.description, f.display_name, f.visibility, f)
        if self.streamable(f):
            lines.append("    <Streamable>Yes</Streamable>")
        if t == "Enumeration":
            for e in f.entries:
                lines.append(f'    <EnumEntry Name="{e.name}" NameSpace="{f.namespace}">')
                tip = e.tooltip or f"{display_from_name(e.name)}."
                lines.append(f"      <ToolTip>{xml_escape(tip)}</ToolTip>")
                if e.description and e.description != tip:
                    lines.append(f"      <Description>{xml_escape(e.description)}</Description>")
                lines.append(f"      <DisplayName>{xml_escape(e.display_name or display_from_name(e.name))}"
                             f"</DisplayName>")
                lines.append(f"      <Value>{e.value}</Value>")
                lines.append("    </EnumEntry>")
        # value source
        if f.value is not None:
            lines.append(f"    <Value>{fmt_num(f.value, t == 'Float')}</Value>")
        elif f.formula is not None:
            lines.append(f"    <pValue>{self.helper(f.name, 'Value', f.formula)}</pValue>")
        elif f.share and isinstance(f.raw, dict):
            conv = f"{f.name}Conv"
            lines.append(f"    <pValue>{conv}</pValue>")
            reg_xml.append(self.emit_converter(f, conv, self.reg_node_of(self.cam.features[f.share])))
        elif f.share:
            lines.append(f"    <pValue>{self.reg_node_of(self.cam.features[f.share])}</pValue>")
        else:
            if t == "Float" and isinstance(f.raw, dict):
                conv = f"{f.name}Conv"
                lines.append(f"    <pValue>{conv}</pValue>")
                reg_xml.append(self.emit_converter(f, conv))
            else:
                lines.append(f"    <pValue>{f.reg_name}</pValue>")
            reg_xml.append(self.emit_int_or_float_reg(f))
        if t == "Command":
            lines.append(f"    <CommandValue>{f.command_value}</CommandValue>")
        if t in ("Integer", "Float"):
            lines += self.num_limits(f, t == "Float")
            if f.unit:
                lines.append(f"    <Unit>{xml_escape(f.unit)}</Unit>")
            rep = f.representation or ("Linear" if f.min is not None and f.max is not None else "PureNumber")
            lines.append(f"    <Representation>{rep}</Representation>")
            if t == "Float":
                if f.notation:
                    lines.append(f"    <DisplayNotation>{f.notation}</DisplayNotation>")
                if f.precision is not None:
                    lines.append(f"    <DisplayPrecision>{f.precision}</DisplayPrecision>")
        if t == "Boolean":
            lines.append(f"    <OnValue>{f.on_value}</OnValue>")
            lines.append(f"    <OffValue>{f.off_value}</OffValue>")
        for s in f.selector_of:
            lines.append(f"    <pSelected>{s}</pSelected>")
        lines.append(f"  </{tag}>")
        return "\n".join(lines + reg_xml)

    def emit_formula(self, f, tag):
        text, variables = self.compile_formula(f.formula, f.name)
        lines = [f'  <{tag} Name="{f.name}" NameSpace="{f.namespace}">']
        lines += self.common(f.name, f.tooltip, f.description, f.display_name, f.visibility, f)
        for v, node in variables.items():
            lines.append(f'    <pVariable Name="{v}">{node}</pVariable>')
        lines.append(f"    <Formula>{xml_escape(text)}</Formula>")
        if f.unit:
            lines.append(f"    <Unit>{xml_escape(f.unit)}</Unit>")
        lines.append(f"    <Representation>{f.representation or 'PureNumber'}</Representation>")
        if tag == "SwissKnife" and f.notation:
            lines.append(f"    <DisplayNotation>{f.notation}</DisplayNotation>")
        if tag == "SwissKnife" and f.precision is not None:
            lines.append(f"    <DisplayPrecision>{f.precision}</DisplayPrecision>")
        lines.append(f"  </{tag}>")
        return "\n".join(lines)

    def emit_converter(self, f, conv, target=None):
        to_text, to_vars = self.compile_formula(f.raw["to"], f.name)
        from_text, from_vars = self.compile_formula(f.raw["from"], f.name)
        lines = [f'  <Converter Name="{conv}" NameSpace="Custom">',
                 f"    <ToolTip>Conversion between {f.name} and its register.</ToolTip>",
                 "    <Visibility>Invisible</Visibility>"]
        for v, node in {**to_vars, **from_vars}.items():
            lines.append(f'    <pVariable Name="{v}">{node}</pVariable>')
        lines += [f"    <FormulaTo>{xml_escape(to_text)}</FormulaTo>",
                  f"    <FormulaFrom>{xml_escape(from_text)}</FormulaFrom>",
                  f"    <pValue>{target or f.reg_name}</pValue>"]
        if f.unit:
            lines.append(f"    <Unit>{xml_escape(f.unit)}</Unit>")
        lines.append("  </Converter>")
        return "\n".join(lines)

    def reg_body(self, f):
        out = []
        out.append(f"    <Address>0x{f.address:x}</Address>")
        for s, st in zip(f.index, f.alloc_strides):
            out.append(f'    <pIndex Offset="{st}">{s}</pIndex>')
        if f.plength:
            out.append(f"    <pLength>{self.helper(f.name, 'Length', f.plength)}</pLength>")
        else:
            out.append(f"    <Length>{f.length}</Length>")
        regaccess = "RO" if f.access == "RO" else "RW"
        out.append(f"    <AccessMode>{regaccess}</AccessMode>")
        out.append(f"    <pPort>{f.port}</pPort>")
        if f.volatile or f.type == "Command" or f.chunk or f.event or f.dynamic:
            out.append("    <Cachable>NoCache</Cachable>")
        else:
            out.append("    <Cachable>WriteThrough</Cachable>")
        if f.poll:
            out.append(f"    <PollingTime>{f.poll}</PollingTime>")
        return out

    def emit_int_or_float_reg(self, f):
        is_float = f.type == "Float" and not f.raw
        tag = "FloatReg" if is_float else "IntReg"
        lines = [f'  <{tag} Name="{f.reg_name}" NameSpace="Custom">',
                 f"    <ToolTip>Register of {f.name}.</ToolTip>",
                 "    <Visibility>Invisible</Visibility>"]
        lines += self.reg_body(f)
        if not is_float:
            signed = f.signed if f.signed is not None else (isinstance(f.min, int) and f.min < 0)
            lines.append(f"    <Sign>{'Signed' if signed else 'Unsigned'}</Sign>")
        lines.append("    <Endianess>BigEndian</Endianess>")
        lines.append(f"  </{tag}>")
        return "\n".join(lines)

    def emit_register_feature(self, f):
        tag = "StringReg" if f.type == "String" else "Register"
        src = self.cam.features[f.share] if f.share else f
        lines = [f'  <{tag} Name="{f.name}" NameSpace="{f.namespace}">']
        lines += self.common(f.name, f.tooltip, f.description, f.display_name, f.visibility, f)
        if self.streamable(f):
            lines.append("    <Streamable>Yes</Streamable>")
        body = self.reg_body(src)
        if f.share:
            body = [b.replace("<AccessMode>RW</AccessMode>", f"<AccessMode>{'RO' if f.access == 'RO' else 'RW'}"
                              "</AccessMode>") for b in body]
        lines += body
        for s in f.selector_of:
            lines.append(f"    <pSelected>{s}</pSelected>")
        lines.append(f"  </{tag}>")
        return "\n".join(lines)

    def emit_category(self, c):
        lines = [f'  <Category Name="{c.name}" NameSpace="{c.namespace}">']
        lines += self.common(c.name, c.tooltip, c.description, c.display_name, c.visibility)
        for ch in c.children:
            lines.append(f"    <pFeature>{ch}</pFeature>")
        lines.append("  </Category>")
        return "\n".join(lines)

    def document(self, cats, body):
        d = self.cam.device
        ports = ['  <Port Name="Device" NameSpace="Standard">\n'
                 '    <ToolTip>Port giving access to the camera\'s registers.</ToolTip>\n'
                 '    <Visibility>Invisible</Visibility>\n  </Port>']
        for name, kind, ident, what in self.cam.ports:
            ports.append(f'  <Port Name="{name}" NameSpace="Custom">\n'
                         f"    <ToolTip>Port reading the data of {what}.</ToolTip>\n"
                         "    <Visibility>Invisible</Visibility>\n"
                         f"    <{kind}>{ident:X}</{kind}>\n  </Port>")
        major, minor, sub = (int(x) for x in d["xml_version"].split("."))
        head = (
            '<?xml version="1.0" encoding="utf-8"?>\n'
            "<!-- Generated by data/virtual-camera/gen_virtual_camera.py; do not edit. -->\n"
            f'<RegisterDescription ModelName="{d["xml_model_name"]}" VendorName="{d["xml_vendor_name"]}"\n'
            f'    ToolTip="{xml_escape(d["xml_tooltip"])}" StandardNameSpace="GEV"\n'
            '    SchemaMajorVersion="1" SchemaMinorVersion="1" SchemaSubMinorVersion="0"\n'
            f'    MajorVersion="{major}" MinorVersion="{minor}" SubMinorVersion="{sub}"\n'
            f'    ProductGuid="{d["product_guid"]}" VersionGuid="{d["version_guid"]}"\n'
            '    xmlns="http://www.genicam.org/GenApi/Version_1_1"\n'
            '    xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance"\n'
            '    xsi:schemaLocation="http://www.genicam.org/GenApi/Version_1_1 '
            'http://www.genicam.org/GenApi/GenApiSchema_Version_1_1.xsd">\n')
        parts = [head]
        parts.append("  <!-- Categories -->")
        parts += cats
        parts.append("  <!-- Features and their registers -->")
        parts += body
        parts.append("  <!-- Formulas and helper registers -->")
        parts += [h for h, _ in self.cam.helpers]
        parts.append("  <!-- Ports -->")
        parts += ports
        parts.append("</RegisterDescription>\n")
        return "\n".join(parts)


def fmt_num(v, is_float):
    if is_float:
        if isinstance(v, int):
            return f"{v}.0" if abs(v) < 1e15 else repr(float(v))
        return repr(float(v))
    return str(int(v))


# --------------------------------------------------------------------------- C++ output

def cpp_ident(name):
    return re.sub(r"[^A-Za-z0-9_]", "_", name)


def c_string(s):
    return '"' + s.replace("\\", "\\\\").replace('"', '\\"') + '"'


def make_cpp(xml, namespace_fn):
    data = xml.encode("utf-8")
    lines = ["// Generated by data/virtual-camera/gen_virtual_camera.py; do not edit.",
             "// The virtual camera's GenICam XML, embedded in the SDK.",
             '#include "virtual/VirtualCameraXml.h"',
             "",
             "#pragma GCC diagnostic ignored \"-Woverlength-strings\"",
             "",
             "namespace Orvane {",
             "namespace internal {",
             "",
             "namespace {",
             "const char kXml[] ="]
    text = data.decode("utf-8")
    for line in text.splitlines(keepends=True):
        esc = line.replace("\\", "\\\\").replace('"', '\\"').replace("\n", "\\n")
        lines.append(f'    "{esc}"')
    lines[-1] += ";"
    lines += ["} // namespace", "",
              f"const char* {namespace_fn}(size_t* size) {{",
              "    if (size != nullptr) *size = sizeof(kXml) - 1;",
              "    return kXml;",
              "}", "",
              "} // namespace internal",
              "} // namespace Orvane", ""]
    return "\n".join(lines)


def make_header(gen):
    cam = gen.cam
    r = gen.r
    o = []
    w = o.append
    w("// Generated by data/virtual-camera/gen_virtual_camera.py; do not edit.")
    w("// Register map of the virtual camera, derived from data/virtual-camera/ like the")
    w("// camera's GenICam XML (VirtualCameraXml). Every register is big-endian in the")
    w("// camera's memory; Float64 registers are IEEE 754 doubles. Float features kept in")
    w("// integer registers (ExposureTime, Gain, AcquisitionFrameRate) say their scale below.")
    w("//")
    w("// Selector-indexed registers: the address for selector values v0, v1, v2 is")
    w("//   address + v0 * stride[0] + v1 * stride[1] + v2 * stride[2]")
    w("// where v are the selectors' register values (enumeration entry values, see")
    w("// namespace value), exactly as the XML's pIndex elements compute it.")
    w("//")
    w("// Commands: executing a command writes its command value into its register.")
    w("// The runtime performs the action and then writes 0, which is what makes the")
    w("// command's IsDone true (kCommandSlots lists every command register).")
    w("#ifndef ORVANE_VIRTUAL_CAMERA_REGISTERS_H")
    w("#define ORVANE_VIRTUAL_CAMERA_REGISTERS_H")
    w("")
    w("#include <cstddef>")
    w("#include <cstdint>")
    w("")
    w("namespace Orvane {")
    w("namespace internal {")
    w("namespace vcam {")
    w("")
    w("// Kinds of register content.")
    w("enum class RegKind : uint8_t { UInt, SInt, Float64, String, Bytes };")
    w("")
    w("struct RegisterInfo {")
    w("    uint32_t address;      // address (offset in the chunk or event data for those ports)")
    w("    uint32_t length;       // bytes")
    w("    uint32_t stride[3];    // bytes per selector value, 0 when not indexed")
    w("    const char* selector[3];  // selectors indexing the register, nullptr when none")
    w("    RegKind kind;")
    w("    // Address of the register for the given selector register values.")
    w("    constexpr uint32_t At(int64_t v0 = 0, int64_t v1 = 0, int64_t v2 = 0) const {")
    w("        return static_cast<uint32_t>(address + v0 * stride[0] + v1 * stride[1] + v2 * stride[2]);")
    w("    }")
    w("};")
    w("")
    w(f"constexpr uint32_t kMemorySize = 0x{cam.memory['size']:x};  // the fake camera's register memory")
    w(f"constexpr uint32_t kFreeMemoryStart = 0x{cam.memory['start']:x};  // first address of plain memory used")
    w(f"constexpr uint32_t kFreeMemoryEnd = 0x{gen.next_free:x};    // end of the registers allocated there")
    w(f"constexpr uint32_t kSensorWidth = {cam.top['sensor']['width']};")
    w(f"constexpr uint32_t kSensorHeight = {cam.top['sensor']['height']};")
    w(f"constexpr uint32_t kFeatureCount = {len(cam.feature_order)};")
    w(f"constexpr uint32_t kCategoryCount = {len(cam.category_order)};")
    w("")
    w("// Registers of every feature that owns one, by feature name.")
    w("namespace reg {")
    for f in cam.feature_order:
        if not f.has_register:
            continue
        kind = reg_kind(f)
        if len(f.index) > 3:
            fail(f"{f.name}: at most three selectors")
        st = list(f.alloc_strides) + [0] * (3 - len(f.alloc_strides))
        sels = [c_string(s) for s in f.index] + ["nullptr"] * (3 - len(f.index))
        port = ""
        if f.chunk:
            port = f"  // in chunk {f.chunk}"
        elif f.event:
            port = f"  // in event {f.event} data"
        elif f.behaviour:
            port = f"  // {f.behaviour}"
        if isinstance(f.raw, dict):
            port += f"; {f.name} = {f.raw['from'].replace('TO', 'register')}"
        w(f"constexpr RegisterInfo {cpp_ident(f.name)}{{0x{f.address:x}, {f.length or 0}, "
          f"{{{st[0]}, {st[1]}, {st[2]}}}, {{{sels[0]}, {sels[1]}, {sels[2]}}}, RegKind::{kind}}};{port}")
    w("} // namespace reg")
    w("")
    w("// The same registers as a table: feature name, the XML node of the register")
    w("// (<Feature>Reg, or the feature itself for strings and raw registers) and where")
    w("// the register lives (0 for the device's memory, else the chunk or event ID of its port).")
    w("struct NamedRegister { const char* feature; const char* node; uint32_t portId; const RegisterInfo* info; };")
    w("constexpr NamedRegister kRegisters[] = {")
    for f in cam.feature_order:
        if not f.has_register:
            continue
        pid = 0
        if f.chunk:
            pid = next(c["id"] for c in cam.chunks if c["name"] == f.chunk)
        elif f.event:
            pid = next(e["id"] for e in cam.events if e["name"] == f.event)
        w(f"    {{{c_string(f.name)}, {c_string(f.reg_name)}, 0x{pid:x}, &reg::{cpp_ident(f.name)}}},")
    w("};")
    w("")
    w("// Register values of enumeration entries and of booleans.")
    w("namespace value {")
    for f in cam.feature_order:
        if f.type == "Enumeration":
            w(f"namespace {cpp_ident(f.name)} {{")
            for e in f.entries:
                w(f"constexpr int64_t {cpp_ident(e.name)} = {e.value};")
            w("}")
    w("} // namespace value")
    w("")
    w("// Every enumeration entry: feature, entry name, register value.")
    w("struct EntryInfo { const char* feature; const char* entry; int64_t value; };")
    entries = [(f.name, e.name, e.value) for f in cam.feature_order if f.type == "Enumeration" for e in f.entries]
    w(f"constexpr EntryInfo kEntries[] = {{")
    for fe, en, v in entries:
        w(f"    {{{c_string(fe)}, {c_string(en)}, {v}}},")
    w("};")
    w("")
    # chunks
    w("// Chunks. The payload of a frame with chunk mode active is the image chunk")
    w("// (data, then its 8-byte trailer: chunk ID and data length, big-endian),")
    w("// then each enabled chunk in this order with its trailer, CRC last.")
    w("struct ChunkInfo {")
    w("    const char* name;        // ChunkSelector entry")
    w("    uint32_t id;             // ChunkID of its port")
    w("    uint32_t length;         // data bytes (the image chunk's is the image size)")
    w("    int64_t selectorValue;   // ChunkSelector register value")
    w("    bool alwaysEnabled;      // ChunkEnable is locked on")
    w("};")
    w("namespace chunk {")
    for c in cam.chunks:
        w(f"constexpr uint32_t {cpp_ident(c['name'])} = 0x{c['id']:08X};")
    w("} // namespace chunk")
    w("constexpr ChunkInfo kChunks[] = {")
    for c in cam.chunks:
        w(f"    {{{c_string(c['name'])}, 0x{c['id']:08X}, {0 if c['variable'] else c['length']}, "
          f"{c['selector_value']}, {'true' if c['always'] else 'false'}}},")
    w("};")
    w("constexpr uint32_t kChunkTrailerSize = 8;")
    w("")
    w("// Chunk value features: the chunk holding them and their place in its data.")
    w("struct ChunkFeatureInfo { const char* feature; uint32_t chunkId; uint32_t offset; uint32_t length; "
      "uint32_t stride; };")
    w("constexpr ChunkFeatureInfo kChunkFeatures[] = {")
    for f in cam.feature_order:
        if f.chunk:
            c = next(c for c in cam.chunks if c["name"] == f.chunk)
            st = f.alloc_strides[0] if f.alloc_strides else 0
            w(f"    {{{c_string(f.name)}, 0x{c['id']:08X}, {f.address}, {f.length or 0}, {st}}},")
    w("};")
    w("")
    # events
    ev = cam.top["event_data"]
    w("// Device events. Event data (what the event port reads) is laid out as:")
    w(f"//   offset {ev['timestamp_offset']}: timestamp (8 bytes), offset {ev['frame_id_offset']}: "
      f"frame ID (8 bytes),")
    w("//   then the event's own fields (kEventFeatures).")
    w("struct EventInfo { const char* name; uint16_t id; int64_t selectorValue; };")
    w("namespace event {")
    for e in cam.events:
        w(f"constexpr uint16_t {cpp_ident(e['name'])} = 0x{e['id']:04X};")
    w("} // namespace event")
    w("constexpr EventInfo kEvents[] = {")
    for e in cam.events:
        w(f"    {{{c_string(e['name'])}, 0x{e['id']:04X}, {e['selector_value']}}},")
    w("};")
    w(f"constexpr uint32_t kEventDataSize = {ev['size']};")
    w("struct EventFeatureInfo { const char* feature; uint16_t eventId; uint32_t offset; uint32_t length; };")
    w("constexpr EventFeatureInfo kEventFeatures[] = {")
    for f in cam.feature_order:
        if f.event:
            e = next(e for e in cam.events if e["name"] == f.event)
            w(f"    {{{c_string(f.name)}, 0x{e['id']:04X}, {f.address}, {f.length}}},")
    w("};")
    w("")
    # commands
    w("// Every command register slot (selector-indexed commands have one per value).")
    w("struct CommandSlot { const char* feature; uint32_t address; uint32_t commandValue; };")
    w("constexpr CommandSlot kCommandSlots[] = {")
    for f in cam.feature_order:
        if f.type == "Command" and f.has_register:
            for key, addr in gen.slots(f):
                w(f"    {{{c_string(f.name + ('[' + key + ']' if key else ''))}, 0x{addr:x}, {f.command_value}}},")
    w("};")
    w("")
    w("// Registers whose value the runtime keeps current (status, counters, clocks).")
    w("constexpr const char* kDynamicFeatures[] = {")
    dyn = [f.name for f in cam.feature_order if f.dynamic]
    for n in dyn:
        w(f"    {c_string(n)},")
    if not dyn:
        w("    nullptr,")
    w("};")
    w("")
    # inits
    blocks = coalesce(gen.inits, cam.memory["init_gap"])
    w("// Initial register values, written once when a virtual camera opens (the")
    w("// fake camera's memory starts zeroed). Contiguous values are merged into")
    w("// blocks; the bytes between values inside a block are zero.")
    w("struct InitialBlock { uint32_t address; uint32_t length; uint32_t offset; };")
    w("constexpr InitialBlock kInitialBlocks[] = {")
    off = 0
    for addr, b in blocks:
        w(f"    {{0x{addr:x}, {len(b)}, {off}}},")
        off += len(b)
    w("};")
    w(f"constexpr uint32_t kInitialBytesSize = {off};")
    w("extern const uint8_t kInitialBytes[kInitialBytesSize];")
    w("")
    w("// Calls write(address, bytes, length) for every initial block.")
    w("template <typename Write>")
    w("void ForEachInitialBlock(Write&& write) {")
    w("    for (const InitialBlock& b : kInitialBlocks) write(b.address, kInitialBytes + b.offset, b.length);")
    w("}")
    w("")
    w("// Where the initial values are: feature, selector entries of the slot (\"A/B\"), address, bytes.")
    w("struct InitialValue { const char* feature; const char* slot; uint32_t address; uint32_t length; };")
    w("constexpr InitialValue kInitialValues[] = {")
    for addr, b, name, key in gen.inits:
        w(f"    {{{c_string(name)}, {c_string(key)}, 0x{addr:x}, {len(b)}}},")
    w("};")
    w("")
    w("} // namespace vcam")
    w("} // namespace internal")
    w("} // namespace Orvane")
    w("")
    w("#endif")
    return "\n".join(o) + "\n", blocks


def reg_kind(f):
    if f.type == "String":
        return "String"
    if f.type == "Register":
        return "Bytes"
    if f.type == "Float" and not f.raw:
        return "Float64"
    if isinstance(f.min, int) and f.min < 0 or f.signed:
        return "SInt"
    return "UInt"


def coalesce(inits, gap):
    items = sorted((a, b) for a, b, _, _ in inits)
    blocks = []
    for a, b in items:
        if blocks:
            pa, pb = blocks[-1]
            end = pa + len(pb)
            if a < end:
                fail(f"initial values overlap at 0x{a:x}")
            if a - end <= gap:
                blocks[-1] = (pa, pb + b"\0" * (a - end) + b)
                continue
        blocks.append((a, b))
    return blocks


def make_init_cpp(blocks):
    data = b"".join(b for _, b in blocks)
    lines = ["// Generated by data/virtual-camera/gen_virtual_camera.py; do not edit.",
             "// Initial register values of the virtual camera (see VirtualCameraRegisters.h).",
             '#include "virtual/VirtualCameraRegisters.h"', "",
             "namespace Orvane {", "namespace internal {", "namespace vcam {", "",
             "const uint8_t kInitialBytes[kInitialBytesSize] = {"]
    for i in range(0, len(data), 16):
        lines.append("    " + ", ".join(f"0x{x:02x}" for x in data[i:i + 16]) + ",")
    lines += ["};", "", "} // namespace vcam", "} // namespace internal", "} // namespace Orvane", ""]
    return "\n".join(lines)


def write_file(path, text):
    tmp = path + ".tmp"
    with open(tmp, "w", encoding="utf-8") as f:
        f.write(text)
    os.replace(tmp, path)


def read_standard_lists(quickorv_dir):
    feats = []
    with open(os.path.join(quickorv_dir, "camera_fields.txt"), encoding="utf-8") as f:
        for line in f:
            line = line.strip()
            if line and not line.startswith("#"):
                feats.append(line)
    enums = {}
    with open(os.path.join(quickorv_dir, "enumerations.txt"), encoding="utf-8") as f:
        for line in f:
            line = line.strip()
            if line and not line.startswith("#"):
                name, rest = line.split(":", 1)
                enums[name.split()[0]] = rest.split()  # "<Feature> (<count>): <entries>"
    return feats, enums


def main():
    ap = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    ap.add_argument("--data-dir", required=True)
    ap.add_argument("--quickorv-dir", required=True)
    ap.add_argument("--identity-header", required=True)
    ap.add_argument("--out-dir", required=True)
    args = ap.parse_args()
    try:
        cam = Camera(args.data_dir)
        cam.identity_header = args.identity_header
        cam.standard_features, cam.standard_enums = read_standard_lists(args.quickorv_dir)
        gen = Generator(cam)
        xml = gen.run()
        header, blocks = make_header(gen)
        outputs = {"VirtualCamera.xml": xml,
                   "VirtualCameraXml.cpp": make_cpp(xml, "VirtualCameraXml"),
                   "VirtualCameraRegisters.h": header,
                   "VirtualCameraInitialValues.cpp": make_init_cpp(blocks)}
    except DataError as e:
        print(f"gen_virtual_camera: error: {e}", file=sys.stderr)
        return 1
    os.makedirs(args.out_dir, exist_ok=True)
    for name, text in outputs.items():
        write_file(os.path.join(args.out_dir, name), text)
    return 0


if __name__ == "__main__":
    sys.exit(main())
