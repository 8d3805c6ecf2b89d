#!/usr/bin/env python3
"""Generate Orvane's pixel format enumeration and its description table.

Inputs:  data/pixel_formats.csv (one row per format) and data/quickorv/enumerations.txt (whose
         PixelFormat line fixes the numbering).
Outputs: the public header Orvane/PixelFormatEnums.h and the internal table PixelFormatTable.inc,
         included by sdk/src/image/PixelFormatInfo.cpp.

The script refuses inconsistent data: a numbering that differs from enumerations.txt, a code whose
bits 16-23 disagree with bits_per_pixel, two formats sharing a code without one being an alias of the
other, unknown tokens in the enumerated columns.
"""
import argparse
import csv
import os
import sys

COLUMNS = ["index", "name", "pfnc", "origin", "alias_of", "bits_per_pixel", "components",
           "bits_per_component", "numeric", "family", "cfa", "order", "packing", "planar",
           "color_space", "subsampling", "codec"]

# CSV token -> C++ enumerator, per column.
ORIGIN = {"pfnc": "Pfnc", "gev": "GigEVision", "orvane": "Orvane"}
NUMERIC = {"u": "Unsigned", "s": "Signed", "f": "Float"}
FAMILY = {"mono": "Mono", "bayer": "Bayer", "rgb": "Rgb", "channel": "Channel", "yuv": "Yuv",
          "coord3d": "Coord3D", "confidence": "Confidence", "bicolor": "BiColor", "sparse": "SparseColor",
          "polarized": "Polarized", "bayer_polarized": "BayerPolarized", "compressed": "Compressed",
          "raw": "Raw"}
CFA = {"-": "None", "RG": "RG", "GR": "GR", "GB": "GB", "BG": "BG", "RGBG": "RGBG", "BGRG": "BGRG",
       "WBWG": "WBWG", "WGWB": "WGWB", "WGWR": "WGWR", "WRWG": "WRWG"}
ORDER = {"-": "None", "RGB": "RGB", "BGR": "BGR", "RGBa": "RGBa", "BGRa": "BGRa", "YUV": "YUV", "UYV": "UYV",
         "YUYV": "YUYV", "UYVY": "UYVY", "YYUYYV": "YYUYYV", "UYYVYY": "UYYVYY", "ABC": "ABC", "AC": "AC",
         "A": "A", "B": "B", "C": "C", "R": "R", "G": "G", "GR": "GR", "GB": "GB"}
PACKING = {"none": "None", "lsb": "Lsb", "gev": "GigE", "lsb32": "Lsb32", "p565": "Rgb565"}
COLOR_SPACE = {"-": "None", "yuv": "Yuv", "ycbcr": "YCbCr", "601": "YCbCr601", "709": "YCbCr709"}
SUBSAMPLING = {"-": 0, "444": 1, "422": 2, "411": 4}
CODEC = {"-": "None", "jpeg": "Jpeg", "llc": "Lossless"}


def fail(msg):
    sys.stderr.write("generate_pixel_formats.py: error: %s\n" % msg)
    sys.exit(1)


def read_numbering(path):
    with open(path, encoding="utf-8") as f:
        for line in f:
            # "PixelFormat (<count>): <entries>"
            if line.split(":", 1)[0].split()[:1] == ["PixelFormat"]:
                return line.split(":", 1)[1].split()
    fail("%s has no PixelFormat line" % path)


def read_rows(path):
    with open(path, encoding="utf-8") as f:
        lines = [l for l in f if l.strip() and not l.lstrip().startswith("#")]
    reader = csv.reader(lines)
    header = next(reader)
    if header != COLUMNS:
        fail("%s: header is %s, expected %s" % (path, header, COLUMNS))
    rows = []
    for n, rec in enumerate(reader):
        if len(rec) != len(COLUMNS):
            fail("%s: row %d has %d fields" % (path, n, len(rec)))
        rows.append(dict(zip(COLUMNS, [v.strip() for v in rec])))
    return rows


def token(row, column, table):
    value = row[column]
    if value not in table:
        fail("%s: unknown %s '%s'" % (row["name"], column, value))
    return table[value]


def check(rows, numbering):
    if [r["name"] for r in rows] != numbering:
        missing = [n for n in numbering if n not in {r["name"] for r in rows}]
        extra = [r["name"] for r in rows if r["name"] not in set(numbering)]
        fail("pixel_formats.csv does not list the PixelFormat entries of enumerations.txt in order "
             "(missing: %s, extra: %s)" % (missing, extra))
    by_name = {}
    for i, r in enumerate(rows):
        if int(r["index"]) != i:
            fail("%s: index %s, expected %d" % (r["name"], r["index"], i))
        r["code"] = int(r["pfnc"], 16)
        r["bpp"] = int(r["bits_per_pixel"])
        r["ncomp"] = int(r["components"])
        r["bits"] = int(r["bits_per_component"])
        if (r["code"] >> 16) & 0xFF != r["bpp"] & 0xFF:
            fail("%s: code 0x%08X says %d bits per pixel, the table says %d"
                 % (r["name"], r["code"], (r["code"] >> 16) & 0xFF, r["bpp"]))
        if r["origin"] == "orvane" and not (r["code"] & 0x80000000):
            fail("%s: a private code needs bit 31 set" % r["name"])
        if r["origin"] != "orvane" and (r["code"] & 0x80000000):
            fail("%s: standard codes have bit 31 clear" % r["name"])
        if not 1 <= r["ncomp"] <= 4 or not 1 <= r["bits"] <= 32 or not 1 <= r["bpp"] <= 128:
            fail("%s: implausible sizes" % r["name"])
        if r["planar"] not in ("0", "1"):
            fail("%s: planar must be 0 or 1" % r["name"])
        for column, table in (("origin", ORIGIN), ("numeric", NUMERIC), ("family", FAMILY), ("cfa", CFA),
                              ("order", ORDER), ("packing", PACKING), ("color_space", COLOR_SPACE),
                              ("subsampling", SUBSAMPLING), ("codec", CODEC)):
            token(r, column, table)
        by_name[r["name"]] = r
    by_code = {}
    for r in rows:
        if r["alias_of"] != "-":
            target = by_name.get(r["alias_of"])
            if target is None or target["alias_of"] != "-":
                fail("%s: alias_of names '%s', which is not a canonical format" % (r["name"], r["alias_of"]))
            if target["code"] != r["code"]:
                fail("%s: an alias must share the code of %s" % (r["name"], target["name"]))
            continue
        if r["code"] in by_code:
            fail("%s and %s share code 0x%08X" % (by_code[r["code"]]["name"], r["name"], r["code"]))
        by_code[r["code"]] = r


def write(path, text):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "w", encoding="utf-8") as f:
        f.write(text)


def enumerator_lines(rows, prefix, pad, comment):
    """One enumerator a row, numbered by position, with its code, bits per pixel and alias as a comment."""
    width = max(len(r["name"]) for r in rows) + len(prefix) + pad
    lines = []
    for i, r in enumerate(rows):
        decl = "    %s%s = %d," % (prefix, r["name"], i)
        note = "0x%08X, %d bpp" % (r["code"], r["bpp"])
        if r["alias_of"] != "-":
            note += ", legacy name of %s" % r["alias_of"]
        lines.append(decl.ljust(width) + comment % note)
    return lines


def header_text(rows):
    out = []
    out.append("// Generated by sdk/src/image/generate_pixel_formats.py from data/pixel_formats.csv; do not edit.\n")
    out.append("//\n")
    out.append("// Orvane's pixel formats. The numbering is part of the binary interface: it is the\n")
    out.append("// numbering of the C library's PixelFormat constants, and entries are only ever appended.\n")
    out.append("// Each comment gives the format's 32-bit code (GenICam PFNC, GigE Vision, or Orvane's\n")
    out.append("// private code for formats without a standard one) and its bits per pixel.\n")
    out.append("#ifndef ORVANE_PIXEL_FORMAT_ENUMS_H\n#define ORVANE_PIXEL_FORMAT_ENUMS_H\n\n")
    out.append("namespace Orvane {\n\n")
    out.append("// The underlying type is fixed, so any int converts to the enumeration without undefined\n")
    out.append("// behaviour; values outside it are unknown formats.\n")
    out.append("enum PixelFormatEnums : int {\n")
    out.extend(enumerator_lines(rows, "PixelFormat_", 8, "// %s\n"))
    out.append("    NUM_PIXELFORMATS,  // number of formats\n")
    out.append("    UNKNOWN_PIXELFORMAT = -1\n")
    out.append("};\n\n} // namespace Orvane\n\n#endif\n")
    return "".join(out)


def c_header_text(rows):
    out = []
    out.append("/* Generated by sdk/src/image/generate_pixel_formats.py from data/pixel_formats.csv; do not edit.\n")
    out.append(" *\n")
    out.append(" * The pixel formats of the C library (orvPixelFormat values): the same numbering as\n")
    out.append(" * the SDK's Orvane::PixelFormatEnums, named after GenICam's names. Entries are only\n")
    out.append(" * ever appended. Included by OrvaneCDefs.h. */\n")
    out.append("#ifndef ORVANE_PIXEL_FORMATS_H\n#define ORVANE_PIXEL_FORMATS_H\n\n")
    out.append("enum {\n")
    out.extend(enumerator_lines(rows, "ORV_PIXEL_FORMAT_", 12, "/* %s */\n"))
    out.append("    ORV_NUM_PIXELFORMATS = %d /* number of formats */\n" % len(rows))
    out.append("};\n\n#endif\n")
    return "".join(out)


def table_text(rows):
    out = []
    out.append("// Generated by sdk/src/image/generate_pixel_formats.py from data/pixel_formats.csv; do not edit.\n")
    out.append("// Included by sdk/src/image/PixelFormatInfo.cpp only.\n\n")
    out.append("const PixelFormatInfo kPixelFormatTable[NUM_PIXELFORMATS] = {\n")
    for r in rows:
        out.append("    {PixelFormat_%s, \"%s\", 0x%08Xu, %d, %d, %d, NumericType::%s, PixelFamily::%s, CfaPattern::%s,\n"
                   "     ComponentOrder::%s, Packing::%s, %s, ColorSpace::%s, %d, Codec::%s, FormatOrigin::%s, %s},\n"
                   % (r["name"], r["name"], r["code"], r["bpp"], r["ncomp"], r["bits"],
                      NUMERIC[r["numeric"]], FAMILY[r["family"]], CFA[r["cfa"]], ORDER[r["order"]],
                      PACKING[r["packing"]], "true" if r["planar"] == "1" else "false",
                      COLOR_SPACE[r["color_space"]], SUBSAMPLING[r["subsampling"]], CODEC[r["codec"]],
                      ORIGIN[r["origin"]],
                      "PixelFormat_" + r["alias_of"] if r["alias_of"] != "-" else "UNKNOWN_PIXELFORMAT"))
    out.append("};\n\n")
    canonical = sorted((r for r in rows if r["alias_of"] == "-"), key=lambda r: r["code"])
    out.append("// Canonical formats sorted by code, for binary search.\n")
    out.append("const PixelFormatCodeEntry kPixelFormatsByCode[] = {\n")
    for r in canonical:
        out.append("    {0x%08Xu, PixelFormat_%s},\n" % (r["code"], r["name"]))
    out.append("};\n\n")
    out.append("// Every format sorted by name (strcmp order), for binary search.\n")
    out.append("const PixelFormatEnums kPixelFormatsByName[NUM_PIXELFORMATS] = {\n")
    for r in sorted(rows, key=lambda r: r["name"].encode("ascii")):
        out.append("    PixelFormat_%s,\n" % r["name"])
    out.append("};\n")
    return "".join(out)


def main():
    p = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    p.add_argument("--csv", required=True)
    p.add_argument("--enumerations", required=True)
    p.add_argument("--header", required=True)
    p.add_argument("--table", required=True)
    p.add_argument("--c-header", required=True)
    a = p.parse_args()
    rows = read_rows(a.csv)
    check(rows, read_numbering(a.enumerations))
    write(a.header, header_text(rows))
    write(a.table, table_text(rows))
    write(a.c_header, c_header_text(rows))


if __name__ == "__main__":
    main()
