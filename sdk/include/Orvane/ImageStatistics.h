// Orvane::ImageStatistics: per-channel statistics of an image, filled by
// Image::CalculateStatistics (definitions: docs/image-processing.md).
//
// Channels: grey, red, green, blue, hue, saturation and lightness. For each
// enabled channel an image gives
// - its range (GetRange): the values the channel can take, the extent of its
//   histogram: 0 .. 2^n - 1 for values of n bits (0..255 for 8-bit data,
//   0..4095 for 12-bit data, packed or in 16-bit containers, 0..65535 for
//   16-bit data), 0..255 for hue, saturation and lightness. It depends on the
//   pixel format only; the minimum is always 0;
// - its pixel value range (GetPixelValueRange): the smallest and largest
//   value present in the image;
// - its number of pixel values (GetNumPixelValues): how many distinct values
//   are present;
// - its mean;
// - its histogram: 256 bins; for n-bit values bin = value >> (n - 8) (n > 8).
// Formats of fewer than 8 bits per component are read as 8-bit values.
// Grey of a colour image is its luma (0.299 R + 0.587 G + 0.114 B); red, green
// and blue of a grey image are its grey value. Hue (256 = a full turn; 0 red,
// 85 green, 171 blue), saturation and lightness follow the HSL model on the
// top 8 bits of red, green and blue. Bayer images are demosaiced (bilinear),
// YUV and packed images converted, before counting.
//
// Reading a channel that is disabled raises ORVANE_ERR_NOT_AVAILABLE; reading
// an enabled channel no image has filled yet raises ORVANE_ERR_NO_DATA; null
// out-pointers and unknown channels raise ORVANE_ERR_INVALID_ARGUMENT.
// A new object has every channel enabled. Objects are not synchronised: one
// thread at a time.
#ifndef ORVANE_IMAGE_STATISTICS_H
#define ORVANE_IMAGE_STATISTICS_H

#include <memory>

#include "Orvane/Export.h"

namespace Orvane {

class Image;

namespace internal {
struct ImageStatisticsData;
class ImageStatisticsAccess;
} // namespace internal

class ORVANE_API ImageStatistics {
public:
    enum StatisticsChannel : int {
        GREY = 0,
        RED = 1,
        GREEN = 2,
        BLUE = 3,
        HUE = 4,
        SATURATION = 5,
        LIGHTNESS = 6,
        NUM_STATISTICS_CHANNELS = 7
    };

    ImageStatistics();
    virtual ~ImageStatistics();
    ImageStatistics(const ImageStatistics& other);
    ImageStatistics& operator=(const ImageStatistics& other);

    void EnableAll();
    void DisableAll();
    // Enables the named channels and disables all others.
    void EnableGreyOnly();
    void EnableRgbOnly();
    void EnableHslOnly();

    void GetChannelStatus(StatisticsChannel channel, bool* pEnabled) const;
    void SetChannelStatus(StatisticsChannel channel, bool enable);

    // The values the channel can take: *pMin = 0, *pMax = 2^n - 1 for n-bit
    // values (255 for hue, saturation and lightness).
    void GetRange(StatisticsChannel channel, unsigned int* pMin, unsigned int* pMax) const;
    // The smallest and largest value present in the last image calculated.
    void GetPixelValueRange(StatisticsChannel channel, unsigned int* pMin, unsigned int* pMax) const;
    // The number of distinct values present in the last image calculated.
    void GetNumPixelValues(StatisticsChannel channel, unsigned int* pNumValues) const;
    void GetMean(StatisticsChannel channel, float* pMean) const;
    // *ppHistogram points to 256 counts owned by this object, valid until the
    // next calculation into it or its destruction.
    void GetHistogram(StatisticsChannel channel, int** ppHistogram) const;
    // All of the above at once: range, pixel value range, number of pixel
    // values, mean and histogram.
    void GetAll(StatisticsChannel channel, unsigned int* pRangeMin, unsigned int* pRangeMax,
                unsigned int* pPixelValueMin, unsigned int* pPixelValueMax, unsigned int* pNumPixelValues,
                float* pPixelValueMean, int** ppHistogram) const;

private:
    friend class internal::ImageStatisticsAccess;
    std::unique_ptr<internal::ImageStatisticsData> m_data;
};

} // namespace Orvane

#endif
