// Bayer demosaicing.
//
// Border rule: the mosaic is extended past its edges by mirror reflection
// without repeating the edge pixel (x = -1 reads x = 1, x = width reads
// width - 2; rows likewise). This keeps the colour pattern, so every algorithm
// applies its own formula unchanged up to the edges. A mosaic one pixel wide
// (or high) repeats its only column (row).
//
// Algorithms (results rounded to nearest, clamped to the working range):
// - NONE: no interpolation; every channel is the raw sample.
// - NEAREST_NEIGHBOR: each 2x2 cell starting at even coordinates gives its red
//   and blue sample to all four pixels; a pixel's green is the green of its
//   own row in the cell.
// - BILINEAR (and DEFAULT): missing colours are the mean of the nearest
//   samples of that colour: 4 orthogonal or 4 diagonal neighbours,
//   (a + b + c + d + 2) >> 2, or 2 neighbours, (a + b + 1) >> 1.
// - EDGE_AWARE: green at red and blue sites is the mean along the direction
//   of the smaller green gradient (|left - right| against |up - down|; the
//   mean of all four when equal); red and blue are interpolated bilinearly as
//   differences to that green (constant hue).
// - GRADIENT_CORRECTED: the 5x5 linear filters of Malvar, He and Cutler
//   (bilinear corrected by the Laplacian of the centre colour).
// - DIRECTIONAL: adaptive homogeneity-directed: a horizontal and a vertical
//   candidate are built (Hamilton-Adams green, colour differences for red and
//   blue); per pixel the candidate with more homogeneous 3x3 surroundings in
//   luminance (R + 2G + B) and colour differences (R - G, B - G) wins, the
//   mean of both on a tie.
#ifndef ORVANE_PROCESSING_DEMOSAIC_H
#define ORVANE_PROCESSING_DEMOSAIC_H

#include <cstddef>
#include <cstdint>
#include <functional>

#include "Orvane/ImageDefs.h"
#include "image/PixelFormatInfo.h"

namespace Orvane {
namespace internal {

// Index reflected into [0, n) by the border rule.
inline size_t Reflect101(ptrdiff_t i, size_t n) {
    if (n <= 1) return 0;
    const ptrdiff_t period = 2 * static_cast<ptrdiff_t>(n - 1);
    ptrdiff_t r = i % period;
    if (r < 0) r += period;
    return static_cast<size_t>(r < static_cast<ptrdiff_t>(n) ? r : period - r);
}

// DEFAULT resolves to BILINEAR; unknown values raise ORVANE_ERR_INVALID_ARGUMENT.
ColorProcessingAlgorithm ResolveAlgorithm(ColorProcessingAlgorithm algorithm);

// Demosaics rows [first, end) of a width x height mosaic with pattern `cfa`
// (the pattern of row 0, column 0). `readRow(y, out)` writes the `width`
// samples of mosaic row y (always 0 <= y < height). `writeRow(y, rgba)`
// receives each finished row as width RGBA pixels.
template <typename T>
void DemosaicRows(ColorProcessingAlgorithm algorithm, CfaPattern cfa, size_t width, size_t height, size_t first,
                  size_t end, const std::function<void(size_t, T*)>& readRow,
                  const std::function<void(size_t, const T*)>& writeRow);

// Bilinear demosaicing of 8-bit rows straight into an RGB8, BGR8, RGBa8 or
// BGRa8 row (alpha 255): `up`, `row` and `down` are mosaic rows y - 1, y and
// y + 1 after the border rule. Same results as DemosaicRows with BILINEAR.
// `streaming` selects non-temporal stores (for destinations much larger than
// the caches); the row is complete in memory when the function returns.
void BilinearRow8(CfaPattern cfa, size_t y, const uint8_t* up, const uint8_t* row, const uint8_t* down, size_t width,
                  ComponentOrder order, uint8_t* out, bool streaming);

} // namespace internal
} // namespace Orvane

#endif
