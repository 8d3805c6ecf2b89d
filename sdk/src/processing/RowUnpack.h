// Reading samples out of packed and unpacked rows.
//
// A sample is one component value in memory order (Y, U, Y, V... for YUV
// 4:2:2; R, G, B for RGB). The readers scale every sample to the working
// precision of a conversion:
// - 16 bits: full 16-bit range by bit replication, v << (16 - n) | v >> (2n - 16)
//   for n >= 8 (4095 -> 65535, 0 -> 0), repeated replication below 8 bits;
//   the top n bits of the result are the sample itself.
// - 8 bits: the top 8 bits of the sample (v >> (n - 8)); samples narrower than
//   8 bits are replicated (Mono1p: 1 -> 255).
// Samples in containers wider than their significant bits (Mono12 in 16 bits)
// are masked to those bits first.
#ifndef ORVANE_PROCESSING_ROW_UNPACK_H
#define ORVANE_PROCESSING_ROW_UNPACK_H

#include <cstddef>
#include <cstdint>

#include "image/PixelFormatInfo.h"

namespace Orvane {
namespace internal {

// Scales an n-bit value to 16 bits by bit replication.
inline uint16_t ScaleTo16(uint32_t v, unsigned n) {
    if (n >= 16) return static_cast<uint16_t>(v >> (n - 16));
    uint32_t r = v << (16 - n);
    for (unsigned fill = n; fill < 16; fill *= 2) r |= r >> fill;
    return static_cast<uint16_t>(r);
}

// Reduces an n-bit value to 8 bits (top bits; replication below 8 bits).
inline uint8_t ScaleTo8(uint32_t v, unsigned n) {
    if (n >= 8) return static_cast<uint8_t>(v >> (n - 8));
    uint32_t r = v << (8 - n);
    for (unsigned fill = n; fill < 8; fill *= 2) r |= r >> fill;
    return static_cast<uint8_t>(r);
}

// Reads `count` samples of a row of `info` whose first sample starts at bit
// `bit` of `base`, scaled to 8 or 16 bits. The format must not be planar,
// float, signed or compressed.
void UnpackSamples(const PixelFormatInfo& info, const uint8_t* base, size_t bit, size_t count, uint8_t* out);
void UnpackSamples(const PixelFormatInfo& info, const uint8_t* base, size_t bit, size_t count, uint16_t* out);

// Samples in one row of a width-pixel row of `info` (components interleaved).
size_t SamplesPerRow(const PixelFormatInfo& info, size_t width);

// Whether UnpackSamples reads this format.
bool CanUnpack(const PixelFormatInfo& info);

} // namespace internal
} // namespace Orvane

#endif
