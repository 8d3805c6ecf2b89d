// Pixel format conversion on buffer views.
//
// Sources: mono (Mono1p to Mono16, lsb-packed "p" and GigE "Packed" forms),
// raw, polarised and confidence data and single 3D coordinates (as grey
// values), single colour planes (R8... GB12), Bayer mosaics of all four
// patterns (8, 10, 12, 16 bits, p and Packed forms), RGB/BGR/RGBa/BGRa (8 to
// 16 bits, packed, 5-6-5 and planar forms), YUV and YCbCr (4:4:4, 4:2:2,
// 4:1:1; full range, BT.601 and BT.709 studio range; 8 to 12 bits) and JPEG
// payloads (JPEGMono8, JPEGColor8, or any view flagged `jpeg`).
// Destinations: Mono8, Mono10, Mono12, Mono14, Mono16, Mono10p, Mono12p,
// Mono10Packed, Mono12Packed, RGB8, BGR8, RGBa8, BGRa8, RGB16, BGR16, RGBa16,
// BGRa16, YUV422_8, YUV422_8_UYVY, YUV8_UYV, YCbCr8, YCbCr8_CbYCr,
// YCbCr422_8, YCbCr422_8_CbYCrY (and the legacy names of these), and any
// format to itself (a copy).
//
// Precision: 8-bit destinations are computed at 8 bits from the top 8 bits of
// each source sample; all other destinations at 16 bits from samples scaled to
// the full 16-bit range by bit replication (a 12-bit 4095 becomes 65535).
// Destinations of n < 16 bits keep the top n bits of the 16-bit value, so
// Mono16 -> Mono12p -> Mono16 keeps the top 12 bits of every pixel.
// Colour arithmetic: see ColorRows.h; demosaicing: see Demosaic.h. Grey from
// a Bayer source is the luma of the demosaiced colour (with NONE: the raw value).
//
// Threads: conversions split the destination rows over `threads` threads
// (see ParallelRows.h). Small images, and packed destinations whose rows share
// bytes, use one thread.
#ifndef ORVANE_PROCESSING_CONVERT_H
#define ORVANE_PROCESSING_CONVERT_H

#include "Orvane/ImageDefs.h"
#include "processing/ImageView.h"

namespace Orvane {
namespace internal {

// Converts src into dst (dst.format is the target). Both views must have the
// same width and height and must not overlap. Raises ORVANE_ERR_NOT_SUPPORTED
// for a pair that is not supported ("Conversion from <src> to <dst> is not
// supported"), ORVANE_ERR_INVALID_ARGUMENT / ORVANE_ERR_INVALID_BUFFER for bad
// views and ORVANE_ERR_CORRUPT_DATA for undecodable JPEG payloads.
void Convert(const ImageView& src, const MutableImageView& dst, ColorProcessingAlgorithm algorithm, unsigned threads);

// Whether Convert accepts the pair (for JPEG payloads pass JPEGMono8 or JPEGColor8).
bool IsConversionSupported(PixelFormatEnums from, PixelFormatEnums to);

// Copies n bits from (src, srcBit) to (dst, dstBit), least significant bit
// first; whole bytes are copied with memcpy when both start on a byte.
void CopyBits(uint8_t* dst, size_t dstBit, const uint8_t* src, size_t srcBit, size_t n);

} // namespace internal
} // namespace Orvane

#endif
