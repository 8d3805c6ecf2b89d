#!/usr/bin/env python3
"""Writes the generated seed inputs of the fuzz targets into corpus/<target>/.

Run from anywhere: python3 tests/fuzz/make_seeds.py. The GenICam seeds are
copied from the test descriptions of tests/ (and two small hand-written ones);
the others are built here: image list files of both versions, chunk data in
the virtual camera's layout, and image headers for the pixel target.
Existing seed files of the same names are overwritten; others are kept.
"""
import os
import shutil
import struct
import zlib

HERE = os.path.dirname(os.path.abspath(__file__))
TESTS = os.path.dirname(HERE)


def write(target, name, data):
    folder = os.path.join(HERE, "corpus", target)
    os.makedirs(folder, exist_ok=True)
    with open(os.path.join(folder, name), "wb") as f:
        f.write(data)


# Image list files ----------------------------------------------------------
MAGIC = b"\x89OIL\r\n\x1a\n"


def image_list(version, images):
    header = MAGIC + struct.pack("<IIIII", version, 32, len(images), 0, 0)
    out = header + struct.pack("<I", zlib.crc32(header))
    record_header = 168 if version == 1 else 432
    for index, (fmt, width, height, data, chunks, values) in enumerate(images):
        h = bytearray(record_header)
        h[0:4] = b"OREC"
        struct.pack_into("<III", h, 4, record_header, index, fmt)
        struct.pack_into("<QII", h, 16, 0x01080001, 0x2, 1)  # pfnc, namespace, payload type Image
        struct.pack_into("<II", h, 32, 0, 1)  # status, colour processing
        struct.pack_into("<QQQQQQQ", h, 40, width, height, 0, 0, 0, 0, len(data) // max(height, 1))
        struct.pack_into("<QQQQQQ", h, 96, 7 + index, 123456789, 0, 1, len(data), 100 + index)
        struct.pack_into("<QQ", h, 152, len(data), len(chunks))
        if version >= 2 and values:
            integer_present, integers, crc = values
            struct.pack_into("<IIII", h, 168, integer_present, 0, 1 if crc is not None else 0, crc or 0)
            for i, v in enumerate(integers):
                if integer_present >> i & 1:
                    struct.pack_into("<q", h, 184 + 8 * i, v)
        body = bytes(h) + data + chunks
        out += body + struct.pack("<I", zlib.crc32(body))
    return out


def image_list_seeds():
    mono = bytes((i * 7) & 0xFF for i in range(16 * 8))
    rgb = bytes((i * 13) & 0xFF for i in range(4 * 4 * 3))
    bayer = bytes((i * 5) & 0xFF for i in range(8 * 8))
    seeds = {
        "empty-v2": image_list(2, []),
        "mono8-v2": image_list(2, [(0, 16, 8, mono, b"", (0b101, [5, 0, 1234], zlib.crc32(mono)))]),
        "mono8-v1": image_list(1, [(0, 16, 8, mono, b"", None)]),
        "three-v2": image_list(2, [(0, 16, 8, mono, b"", None), (63, 4, 4, rgb, b"\x01\x02\x03\x04", None),
                                   (4, 8, 8, bayer, b"", (1, [9], None))]),
        "mono12p-v2": image_list(2, [(19, 4, 2, bytes(range(12)), b"", None)]),
    }
    for name, data in seeds.items():
        write("image_list", name, data)
        write("image_list_sealed", name, data)


# Chunk data of the virtual camera ------------------------------------------
# (ID, data length) of each chunk of the virtual camera's description; the
# image chunk holds a 16 x 16 Mono8 image.
CHUNKS = [(0x4F560001, 256), (0x4F560002, 4), (0x4F560010, 8), (0x4F560011, 8), (0x4F560012, 4),
          (0x4F560013, 4), (0x4F560014, 4), (0x4F560015, 4), (0x4F560016, 4), (0x4F560017, 4),
          (0x4F560020, 8), (0x4F560021, 8), (0x4F560022, 8), (0x4F560023, 4), (0x4F560024, 4),
          (0x4F560030, 4), (0x4F560031, 4), (0x4F560032, 16), (0x4F560033, 16), (0x4F560034, 4),
          (0x4F560035, 8)]


def chunk(chunk_id, data):
    return data + struct.pack(">II", chunk_id, len(data))


def chunk_seeds():
    full = b""
    for n, (cid, length) in enumerate(CHUNKS):
        full += chunk(cid, bytes((n * 17 + i) & 0xFF for i in range(length)))
    write("chunk_data", "all-chunks", full)
    write("chunk_data", "image-and-frame-id", chunk(0x4F560001, bytes(256)) + chunk(0x4F560010, struct.pack(">Q", 42)))
    write("chunk_data", "gain-float", chunk(0x4F560021, struct.pack(">d", 6.5)))
    write("chunk_data", "unknown-id-and-empty", chunk(0x12345678, b"abc") + chunk(0x4F560002, b""))
    write("chunk_data", "empty", b"")


# Pixel images -----------------------------------------------------------------
def pixel(src, dst, width, height, flags, bpp_bytes, pad_x=0, pad_y=0, payload=1, gamma=8, cut=0):
    size = (width * bpp_bytes + pad_x) * height + pad_y * (width * bpp_bytes + pad_x)
    header = struct.pack("<HHHHBBBBbB", src, dst, width, height, pad_x, pad_y, flags, payload, gamma, cut)
    return header + bytes((i * 31 + 7) & 0xFF for i in range(int(size)))


def pixel_seeds():
    seeds = {
        "mono8-to-rgb8": pixel(0, 63, 8, 4, 0b110000, 1),
        "bayerrg8-to-rgb8-bilinear": pixel(4, 63, 8, 8, 0b110111, 1, pad_x=4, pad_y=1),
        "rgb8-to-mono8": pixel(63, 0, 4, 4, 0b010000, 3),
        "mono12p-to-mono16": pixel(19, 1, 8, 2, 0b010001, 1.5),
        "mono12packed-to-mono8": pixel(11, 0, 8, 2, 0b000001, 1.5),
        "ycbcr422-to-bgra8": pixel(25, 28, 8, 2, 0b010000, 2),
        "yuv411-to-rgb8": pixel(26, 63, 8, 2, 0b010001, 1.5),
        "mono1p-to-mono8": pixel(39, 0, 16, 2, 0b000000, 0.125),
        "bayerrg12p-to-rgb16-edge": pixel(21, 73, 8, 4, 0b011001, 1.5),
        "bayergb16-to-mono8-directional": pixel(9, 0, 4, 4, 0b011100, 2),
        "coord3d-to-mono8": pixel(112, 0, 2, 2, 0b010000, 12),
        "polarized8-to-rgb8": pixel(233, 63, 4, 4, 0b110000, 1),
        "mono10p-to-mono16-short": pixel(34, 1, 8, 2, 0b010001, 1.25, cut=3),
        "rgb16-gamma-inverse": pixel(73, 73, 2, 2, 0b1110000, 6, gamma=-12),
    }
    for name, data in seeds.items():
        write("pixel", name, data)


# GVCP datagrams ---------------------------------------------------------------
def gvcp_command(flags, command, req_id, payload):
    return struct.pack(">BBHHH", 0x42, flags, command, len(payload), req_id) + payload


def gvcp_seeds():
    item = struct.pack(">HHHHQ", 0, 0x9001, 0, 7, 123456789)
    extended = struct.pack(">HHHHQQ", 0, 0x9001, 0, 0, 7, 123456789)
    seeds = {
        "event": gvcp_command(0x01, 0x00C0, 1, item),
        "event-two-extended": gvcp_command(0x11, 0x00C0, 2, extended + extended),
        "eventdata": gvcp_command(0x01, 0x00C2, 3, item + b"\x01\x02\x03\x04"),
        "eventdata-extended": gvcp_command(0x11, 0x00C2, 4, struct.pack(">HHHHQQ", 28, 0x9002, 0, 0, 8, 99) + b"data"),
        "action": gvcp_command(0x01, 0x0100, 5, struct.pack(">III", 1, 2, 0xFFFFFFFF)),
        "action-scheduled": gvcp_command(0x81, 0x0100, 6, struct.pack(">IIIQ", 1, 2, 3, 1000000)),
        "action-ack": struct.pack(">HHHH", 0, 0x0101, 0, 5),
        "event-ack": struct.pack(">HHHH", 0x8016, 0x00C1, 0, 1),
    }
    for name, data in seeds.items():
        write("gvcp", name, data)


# GenICam descriptions ---------------------------------------------------------
SMALL_XML = b"""<?xml version="1.0" encoding="utf-8"?>
<RegisterDescription ModelName="Tiny" VendorName="Orvane" StandardNameSpace="None" SchemaMajorVersion="1" SchemaMinorVersion="1" SchemaSubMinorVersion="0" MajorVersion="1" MinorVersion="0" SubMinorVersion="0" ProductGuid="0" VersionGuid="0" xmlns="http://www.genicam.org/GenApi/Version_1_1">
  <Category Name="Root"><pFeature>Width</pFeature><pFeature>Mode</pFeature><pFeature>Gain</pFeature></Category>
  <Integer Name="Width"><pValue>WidthReg</pValue><Min>1</Min><Max>4096</Max><Inc>2</Inc></Integer>
  <IntReg Name="WidthReg"><Address>0x100</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort><Sign>Unsigned</Sign><Endianess>BigEndian</Endianess></IntReg>
  <Enumeration Name="Mode"><EnumEntry Name="Off"><Value>0</Value></EnumEntry><EnumEntry Name="On"><Value>1</Value></EnumEntry><pValue>ModeReg</pValue></Enumeration>
  <MaskedIntReg Name="ModeReg"><Address>0x104</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort><LSB>0</LSB><MSB>0</MSB><Endianess>BigEndian</Endianess></MaskedIntReg>
  <Float Name="Gain"><Value>1.5</Value><Min>0</Min><Max>24</Max></Float>
  <SwissKnife Name="Twice"><pVariable Name="W">Width</pVariable><Formula>W*2</Formula></SwissKnife>
  <Port Name="Device"/>
</RegisterDescription>
"""


def xml_seeds():
    write("genicam_xml", "tiny.xml", SMALL_XML)
    write("genicam_xml", "not-genicam.xml", b"<?xml version=\"1.0\"?><a><b c=\"d\">e</b></a>\n")
    for rel in ["data/xml/floats.xml", "data/xml/formulas.xml", "data/xml/ports.xml", "data/xml/registers.xml",
                "data/xml/selectors.xml", "genapi-arv/data/fidelity.xml", "genapi-arv/data/node-semantics.xml",
                "virtual-camera/data/data-ports.xml"]:
        with open(os.path.join(TESTS, rel), "rb") as f:
            write("genicam_xml", rel.replace("/", "-"), f.read())


if __name__ == "__main__":
    image_list_seeds()
    chunk_seeds()
    pixel_seeds()
    xml_seeds()
    gvcp_seeds()
