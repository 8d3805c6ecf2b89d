// Gamma correction on buffer views.
//
// Every sample s of an n-bit format (maximum M = 2^n - 1) becomes
//   round(M * (s / M) ^ (1 / gamma))   when `inverse` is true  (encoding: gamma 2.2 brightens mid-tones)
//   round(M * (s / M) ^ gamma)         when `inverse` is false (gamma as given: gamma 2.2 darkens them)
// Alpha samples are copied unchanged. Formats: unpacked mono, Bayer, single
// colour planes and RGB/BGR/RGBa/BGRa of 8 to 16 bits (Mono8, Mono12,
// BayerRG16, RGB8, BGRa16, ...). The destination has the source's format and
// size; it may be the source buffer itself (in place).
// Threads: rows are split over `threads` threads (see ParallelRows.h).
#ifndef ORVANE_PROCESSING_GAMMA_H
#define ORVANE_PROCESSING_GAMMA_H

#include "processing/ImageView.h"

namespace Orvane {
namespace internal {

// Raises ORVANE_ERR_INVALID_ARGUMENT for a gamma that is not a positive finite
// number, differing formats or sizes, or buffers that overlap without being the
// same; ORVANE_ERR_NOT_SUPPORTED ("Gamma correction of <format> is not
// supported") for other formats.
void ApplyGamma(const ImageView& src, const MutableImageView& dst, float gamma, bool inverse, unsigned threads);

bool IsGammaSupported(PixelFormatEnums format);

} // namespace internal
} // namespace Orvane

#endif
