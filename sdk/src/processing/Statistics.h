// Per-channel image statistics on buffer views, computed in one pass over the
// pixels (several threads: one partial result per band, merged at the end).
//
// Channels: grey, red, green, blue, hue, saturation, lightness.
// - Values are on the format's own scale: n significant bits give 0 .. 2^n - 1
//   (Mono12: 0..4095). Grey of a colour image is its luma
//   (4899 R + 9617 G + 1868 B + 8192) >> 14; red, green and blue of a grey
//   image are its grey value.
// - Hue, saturation and lightness are computed from the top 8 bits of red,
//   green and blue and lie in 0..255: lightness (max + min + 1) / 2,
//   saturation 255 (max - min) / (max + min or 510 - max - min, whichever
//   lightness selects), hue the HSL hue angle scaled so that 256 is a full
//   turn (0 red, 85 green, 171 blue), all rounded to nearest; grey pixels have
//   hue and saturation 0.
// - Sources that are neither unpacked grey nor unpacked RGB (packed, Bayer,
//   YUV, JPEG...) are converted first: Bayer with `algorithm`, to 8 bits for
//   8-bit sources and to 16 bits otherwise. Formats of fewer than 8 bits
//   (Mono1p, RGB565p...) are read as 8-bit values (Mono1p: 0 and 255).
// - Histograms have 256 bins: bin = value >> (n - 8) for n > 8 bits,
//   value << (8 - n) below 8 bits. The range is the extent of the histogram,
//   0 .. 2^n - 1 (0..255 for hue, saturation and lightness); the pixel value
//   range is the smallest and largest value present and the number of pixel
//   values counts the distinct values present, both at full resolution.
#ifndef ORVANE_PROCESSING_STATISTICS_H
#define ORVANE_PROCESSING_STATISTICS_H

#include <array>
#include <cstdint>

#include "Orvane/ImageDefs.h"
#include "processing/ImageView.h"

namespace Orvane {
namespace internal {

enum StatisticsChannelIndex {
    kStatGrey = 0,
    kStatRed,
    kStatGreen,
    kStatBlue,
    kStatHue,
    kStatSaturation,
    kStatLightness,
    kStatChannels
};

struct ChannelStatistics {
    bool computed = false;
    unsigned rangeMin = 0, rangeMax = 0;           // the values the channel can take: 0 .. 2^n - 1
    unsigned pixelValueMin = 0, pixelValueMax = 0; // smallest and largest value present
    unsigned numPixelValues = 0;                   // distinct values present
    double mean = 0.0;
    std::array<unsigned, 256> histogram{};
};

typedef std::array<ChannelStatistics, kStatChannels> StatisticsResult;

// Computes the channels whose bit (1 << channel) is set in `mask`; the others
// are left with computed == false. Raises like Convert for views it cannot
// read, and ORVANE_ERR_NOT_SUPPORTED ("Statistics of <format> are not
// supported") for formats it cannot interpret.
StatisticsResult ComputeStatistics(const ImageView& src, unsigned mask, ColorProcessingAlgorithm algorithm,
                                   unsigned threads);

} // namespace internal
} // namespace Orvane

#endif
