"""Reads the C library's public headers: the prototypes of the functions
exported with C linkage (those of the `extern "C"` blocks), as
name -> list of (type, name) pairs with the types normalised ("const char*")."""
import os
import re

HEADERS = ("OrvaneC.h", "OrvaneGenApiC.h", "OrvaneQuickOrvC.h")

_PROTO = re.compile(r"ORVANE_C_API\s+orvError\s+(\w+)\s*\(([^)]*)\)\s*;", re.S)


def _strip_comments(text):
    return re.sub(r"/\*.*?\*/", " ", text, flags=re.S)


def _c_linkage_part(text):
    """The text before the `#ifdef __cplusplus` that closes the extern "C" block:
    what follows it (C++-linkage functions) is not callable through ctypes."""
    opening = text.index('extern "C" {')
    closing = text.index("#ifdef __cplusplus", opening)
    return text[opening:closing]


def _normalise(param):
    param = " ".join(param.split())
    m = re.match(r"^(.*?)(\w+)$", param)
    ctype, name = m.group(1), m.group(2)
    ctype = ctype.replace(" *", "*").strip()
    return ctype, name


def prototypes(include_dir):
    result = {}
    for header in HEADERS:
        with open(os.path.join(include_dir, header)) as f:
            text = _c_linkage_part(_strip_comments(f.read()))
        for m in _PROTO.finditer(text):
            params = [p for p in m.group(2).split(",") if p.strip() and p.strip() != "void"]
            result[m.group(1)] = [_normalise(p) for p in params]
    return result
