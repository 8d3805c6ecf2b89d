// Description of every pixel format Orvane knows: storage size, components,
// layout and codes. The table itself is generated at build time from
// data/pixel_formats.csv (see that file for the meaning of every column).
#ifndef ORVANE_IMAGE_PIXEL_FORMAT_INFO_H
#define ORVANE_IMAGE_PIXEL_FORMAT_INFO_H

#include <cstddef>
#include <cstdint>

#include "Orvane/PixelFormatEnums.h"

namespace Orvane {
namespace internal {

// How a component's value is represented.
enum class NumericType : uint8_t { Unsigned, Signed, Float };

// What the pixels stand for.
enum class PixelFamily : uint8_t {
    Mono,           // grey levels
    Bayer,          // Bayer colour filter mosaic; pattern in `cfa`
    Rgb,            // RGB, BGR, RGBa, BGRa; order in `order`
    Channel,        // one colour plane (R, G, B, GR, GB)
    Yuv,            // YUV and YCbCr; encoding in `colorSpace`, subsampling in `chromaSubsampling`
    Coord3D,        // 3D coordinates A, B, C
    Confidence,     // confidence of 3D data
    BiColor,        // bi-colour filter (RGBG, BGRG), 2 components a pixel
    SparseColor,    // sparse colour filter (white pixels among colour ones)
    Polarized,      // mono sensor behind a 2x2 polariser pattern
    BayerPolarized, // Bayer sensor behind a polariser pattern
    Compressed,     // compressed payload; codec in `codec`
    Raw             // opaque sensor data
};

// Colour filter pattern of the top-left 2x2 (or 2x4) cell, top row first.
enum class CfaPattern : uint8_t { None, RG, GR, GB, BG, RGBG, BGRG, WBWG, WGWB, WGWR, WRWG };

// Component order in memory. For YUV, U is Cb and V is Cr; the 4:2:2 and 4:1:1
// orders list one group of pixels sharing a chroma pair.
enum class ComponentOrder : uint8_t {
    None,
    RGB,
    BGR,
    RGBa,
    BGRa,
    YUV,
    UYV,
    YUYV,
    UYVY,
    YYUYYV,
    UYYVYY,
    ABC,
    AC,
    A,
    B,
    C,
    R,
    G,
    GR,
    GB
};

// How components are stored.
enum class Packing : uint8_t {
    None,  // each component in its own little-endian 8/16/32-bit container, LSB-aligned
    Lsb,   // one continuous LSB-first bit stream (the GenICam "p" formats)
    GigE,  // GigE Vision "Packed": 2 pixels in 3 bytes, high bits in bytes 0 and 2, low bits in byte 1
    Lsb32, // three 10-bit components LSB-first in a 32-bit word, top 2 bits unused
    Rgb565 // 5-6-5 bits LSB-first in a 16-bit word
};

// Encoding of YUV formats.
enum class ColorSpace : uint8_t {
    None,
    Yuv,      // full range, BT.601 coefficients, chroma offset by half the range
    YCbCr,    // same as Yuv (the JPEG convention)
    YCbCr601, // studio range (16-235 luma, 16-240 chroma at 8 bits), BT.601 coefficients
    YCbCr709  // studio range, BT.709 coefficients
};

enum class Codec : uint8_t { None, Jpeg, Lossless };

// Where the format's code comes from.
enum class FormatOrigin : uint8_t {
    Pfnc,       // GenICam Pixel Format Naming Convention
    GigEVision, // GigE Vision-specific code or legacy GigE Vision name
    Orvane      // no standard code: private code with bit 31 set
};

struct PixelFormatInfo {
    PixelFormatEnums format;
    const char* name;         // GenICam name, e.g. "BayerRG12p"
    uint32_t pfnc;            // 32-bit code; bits 16-23 equal bitsPerPixel
    uint16_t bitsPerPixel;    // storage per pixel, padding included (average for subsampled chroma)
    uint8_t components;       // colour/coordinate components a pixel stands for (mosaics: 1)
    uint8_t bitsPerComponent; // significant bits of the widest component
    NumericType numeric;
    PixelFamily family;
    CfaPattern cfa;
    ComponentOrder order;
    Packing packing;
    bool planar; // one plane per component, planes one after the other
    ColorSpace colorSpace;
    uint8_t chromaSubsampling; // Yuv: 1 (4:4:4), 2 (4:2:2), 4 (4:1:1); 0 otherwise
    Codec codec;
    FormatOrigin origin;
    PixelFormatEnums aliasOf; // legacy names: the format with the same code and layout; else UNKNOWN_PIXELFORMAT
};

// The format's description; null for UNKNOWN_PIXELFORMAT and values outside the enumeration.
const PixelFormatInfo* FindPixelFormat(PixelFormatEnums format);

// The format with this code; null when no format has it. A code shared by a
// legacy name and a PFNC name (RGB8Packed and RGB8) yields the PFNC name.
const PixelFormatInfo* FindPixelFormatByPfnc(uint32_t code);

// The format with this GenICam name (exact, case-sensitive); null when unknown or name is null.
const PixelFormatInfo* FindPixelFormatByName(const char* name);

// Bytes of a tightly packed image: width * height * bitsPerPixel / 8, rounded up;
// SIZE_MAX when that does not fit in size_t.
size_t PackedImageBytes(const PixelFormatInfo& info, size_t width, size_t height);

} // namespace internal
} // namespace Orvane

#endif
