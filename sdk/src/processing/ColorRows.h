// Row kernels between the working representations of a conversion and the
// pixel formats: grey rows (one value a pixel), RGBA rows and YUVA rows (four
// values a pixel), at 8 or 16 bits.
//
// Colour arithmetic (14-bit fixed point, rounded to nearest):
// - luma (RGB -> grey, RGB -> Y): Y = (4899 R + 9617 G + 1868 B + 8192) >> 14,
//   i.e. 0.299 R + 0.587 G + 0.114 B.
// - YUV rows are full-range BT.601 with chroma centred on half the range
//   (128 or 32768): U = (-2765 R - 5427 G + 8192 B) / 16384 + mid,
//   V = (8192 R - 6860 G - 1332 B) / 16384 + mid, and back R = Y + 1.402 V',
//   G = Y - 0.344136 U' - 0.714136 V', B = Y + 1.772 U' (U' = U - mid).
// - At 16 bits, YUV sources' luma is scaled by replication like every sample,
//   their chroma by shifting (raw << (16 - n)) so that the centre stays exactly 32768.
// - Studio-range BT.601 sources are expanded to full range first:
//   Y' = (Y - 16) * 255 / 219, C' = (C - 128) * 255 / 224 + 128 (at 16 bits the
//   offsets are 16 * 257 for luma and 32768 for chroma).
// - Studio-range BT.709 sources go to RGB directly with the BT.709 matrix
//   (R = Y' + 1.5748 V', G = Y' - 0.1873 U' - 0.4681 V', B = Y' + 1.8556 U').
// - 4:2:2 and 4:1:1 sources repeat each chroma pair for every pixel of its
//   group; 4:2:2 destinations take the mean of the two pixels' chroma.
// Results are clamped to the range of the working precision. Alpha is the
// source's alpha, or the maximum when the source has none.
#ifndef ORVANE_PROCESSING_COLOR_ROWS_H
#define ORVANE_PROCESSING_COLOR_ROWS_H

#include <cstddef>
#include <cstdint>

#include "image/PixelFormatInfo.h"

namespace Orvane {
namespace internal {

enum class RowKind { Gray, Rgba, Yuva };

// Where R, G, B and A sit among the samples of one pixel of an rgb-family
// order (a = -1: no alpha), and how many samples a pixel has.
struct ChannelPositions {
    int r, g, b, a, count;
};

inline ChannelPositions ChannelPositionsOf(ComponentOrder order) {
    switch (order) {
    case ComponentOrder::BGR: return {2, 1, 0, -1, 3};
    case ComponentOrder::RGBa: return {0, 1, 2, 3, 4};
    case ComponentOrder::BGRa: return {2, 1, 0, 3, 4};
    default: return {0, 1, 2, -1, 3};
    }
}

template <typename T>
struct Depth {
    static constexpr uint32_t kMax = sizeof(T) == 1 ? 0xFFu : 0xFFFFu;
    static constexpr uint32_t kMid = sizeof(T) == 1 ? 0x80u : 0x8000u;
};

// Between kinds, n pixels. `in` and `out` do not overlap.
template <typename T>
void GrayToRgba(const T* in, size_t n, T* out);
template <typename T>
void GrayToYuva(const T* in, size_t n, T* out);
template <typename T>
void RgbaToGray(const T* in, size_t n, T* out);
template <typename T>
void RgbaToYuva(const T* in, size_t n, T* out);
template <typename T>
void YuvaToRgba(const T* in, size_t n, T* out);
template <typename T>
void YuvaToGray(const T* in, size_t n, T* out);

// Converts n pixels of kind `from` to kind `to` (the same kind: a copy).
template <typename T>
void ConvertKind(RowKind from, const T* in, size_t n, RowKind to, T* out);

// Samples (in memory order, from UnpackSamples) of an rgb-family format -> RGBA.
template <typename T>
void RgbSamplesToRgba(const PixelFormatInfo& info, const T* samples, size_t n, T* out);

// Samples (in memory order) of an rgb-family format -> grey (luma), in one step.
template <typename T>
void RgbSamplesToGray(const PixelFormatInfo& info, const T* samples, size_t n, T* out);

// Samples of a yuv-family format -> YUVA (full range) or, for BT.709 sources, RGBA.
// Returns the kind written.
template <typename T>
RowKind YuvSamplesToRow(const PixelFormatInfo& info, const T* samples, size_t n, T* out);

// Places a one-colour plane (R, G, B or a green plane) into RGBA; other channels 0.
template <typename T>
void ChannelToRgba(const PixelFormatInfo& info, const T* in, size_t n, T* out);

// RGBA -> an rgb-family destination row (8-bit formats from 8-bit rows, 16-bit from 16-bit rows).
void RgbaToRgbRow(const PixelFormatInfo& dst, const uint8_t* rgba, size_t n, uint8_t* out);
void RgbaToRgbRow(const PixelFormatInfo& dst, const uint16_t* rgba, size_t n, uint8_t* out);

// YUVA (8-bit) -> an 8-bit yuv-family destination row in full range.
void YuvaToYuvRow(const PixelFormatInfo& dst, const uint8_t* yuva, size_t n, uint8_t* out);

// Grey -> a mono destination row starting at bit `bit` of `base`. 8-bit rows
// feed Mono8; 16-bit rows feed Mono16, Mono10/12/14 (value >> (16 - n)) and the
// packed forms Mono10p, Mono12p, Mono10Packed, Mono12Packed.
void GrayToMonoRow(const PixelFormatInfo& dst, const uint8_t* gray, size_t n, uint8_t* base, size_t bit);
void GrayToMonoRow(const PixelFormatInfo& dst, const uint16_t* gray, size_t n, uint8_t* base, size_t bit);

} // namespace internal
} // namespace Orvane

#endif
