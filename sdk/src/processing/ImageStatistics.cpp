#include "Orvane/ImageStatistics.h"

#include <array>
#include <string>

#include "Orvane/Image.h"
#include "core/Raise.h"
#include "processing/ImageAdapter.h"
#include "processing/ParallelRows.h"
#include "processing/Statistics.h"

namespace Orvane {

namespace internal {

struct ImageStatisticsData {
    std::array<bool, ImageStatistics::NUM_STATISTICS_CHANNELS> enabled{};
    std::array<bool, ImageStatistics::NUM_STATISTICS_CHANNELS> filled{};
    StatisticsResult result;
    std::array<std::array<int, 256>, ImageStatistics::NUM_STATISTICS_CHANNELS> histograms{};
};

class ImageStatisticsAccess {
public:
    static ImageStatisticsData& Data(ImageStatistics& s) { return *s.m_data; }
};

} // namespace internal

namespace {

constexpr bool SameNumbering() {
    return int(internal::kStatGrey) == int(ImageStatistics::GREY) &&
           int(internal::kStatRed) == int(ImageStatistics::RED) &&
           int(internal::kStatGreen) == int(ImageStatistics::GREEN) &&
           int(internal::kStatBlue) == int(ImageStatistics::BLUE) &&
           int(internal::kStatHue) == int(ImageStatistics::HUE) &&
           int(internal::kStatSaturation) == int(ImageStatistics::SATURATION) &&
           int(internal::kStatLightness) == int(ImageStatistics::LIGHTNESS) &&
           int(internal::kStatChannels) == int(ImageStatistics::NUM_STATISTICS_CHANNELS);
}
static_assert(SameNumbering(), "the kernels number channels like ImageStatistics");

const char* ChannelName(int c) {
    static const char* const names[] = {"GREY", "RED", "GREEN", "BLUE", "HUE", "SATURATION", "LIGHTNESS"};
    return names[c];
}

int CheckChannel(ImageStatistics::StatisticsChannel channel) {
    const int c = static_cast<int>(channel);
    if (c < 0 || c >= ImageStatistics::NUM_STATISTICS_CHANNELS)
        ORV_RAISE(ORVANE_ERR_INVALID_ARGUMENT, "Unknown statistics channel " + std::to_string(c));
    return c;
}

void CheckPointer(const void* p, const char* name) {
    if (p == nullptr) ORV_RAISE(ORVANE_ERR_INVALID_ARGUMENT, std::string("The ") + name + " pointer is null");
}

// The channel's results, after the checks every getter makes.
const internal::ChannelStatistics& Filled(const internal::ImageStatisticsData& d, int c) {
    if (!d.enabled[c])
        ORV_RAISE(ORVANE_ERR_NOT_AVAILABLE, std::string("The statistics channel ") + ChannelName(c) + " is disabled");
    if (!d.filled[c])
        ORV_RAISE(ORVANE_ERR_NO_DATA,
                  std::string("No statistics of channel ") + ChannelName(c) + " have been calculated");
    return d.result[c];
}

void Enable(internal::ImageStatisticsData& d, int c, bool enable) {
    if (d.enabled[c] != enable) d.filled[c] = false;
    d.enabled[c] = enable;
}

} // namespace

ImageStatistics::ImageStatistics() : m_data(new internal::ImageStatisticsData) { EnableAll(); }
ImageStatistics::~ImageStatistics() = default;
ImageStatistics::ImageStatistics(const ImageStatistics& other)
    : m_data(new internal::ImageStatisticsData(*other.m_data)) {}
ImageStatistics& ImageStatistics::operator=(const ImageStatistics& other) {
    if (this != &other) *m_data = *other.m_data;
    return *this;
}

void ImageStatistics::EnableAll() {
    for (int c = 0; c < NUM_STATISTICS_CHANNELS; ++c) Enable(*m_data, c, true);
}

void ImageStatistics::DisableAll() {
    for (int c = 0; c < NUM_STATISTICS_CHANNELS; ++c) Enable(*m_data, c, false);
}

void ImageStatistics::EnableGreyOnly() {
    for (int c = 0; c < NUM_STATISTICS_CHANNELS; ++c) Enable(*m_data, c, c == GREY);
}

void ImageStatistics::EnableRgbOnly() {
    for (int c = 0; c < NUM_STATISTICS_CHANNELS; ++c) Enable(*m_data, c, c == RED || c == GREEN || c == BLUE);
}

void ImageStatistics::EnableHslOnly() {
    for (int c = 0; c < NUM_STATISTICS_CHANNELS; ++c) Enable(*m_data, c, c == HUE || c == SATURATION || c == LIGHTNESS);
}

void ImageStatistics::GetChannelStatus(StatisticsChannel channel, bool* pEnabled) const {
    const int c = CheckChannel(channel);
    CheckPointer(pEnabled, "enabled");
    *pEnabled = m_data->enabled[c];
}

void ImageStatistics::SetChannelStatus(StatisticsChannel channel, bool enable) {
    Enable(*m_data, CheckChannel(channel), enable);
}

void ImageStatistics::GetRange(StatisticsChannel channel, unsigned int* pMin, unsigned int* pMax) const {
    const int c = CheckChannel(channel);
    CheckPointer(pMin, "minimum");
    CheckPointer(pMax, "maximum");
    const internal::ChannelStatistics& s = Filled(*m_data, c);
    *pMin = s.rangeMin;
    *pMax = s.rangeMax;
}

void ImageStatistics::GetPixelValueRange(StatisticsChannel channel, unsigned int* pMin, unsigned int* pMax) const {
    const int c = CheckChannel(channel);
    CheckPointer(pMin, "minimum");
    CheckPointer(pMax, "maximum");
    const internal::ChannelStatistics& s = Filled(*m_data, c);
    *pMin = s.pixelValueMin;
    *pMax = s.pixelValueMax;
}

void ImageStatistics::GetNumPixelValues(StatisticsChannel channel, unsigned int* pNumValues) const {
    const int c = CheckChannel(channel);
    CheckPointer(pNumValues, "count");
    *pNumValues = Filled(*m_data, c).numPixelValues;
}

void ImageStatistics::GetMean(StatisticsChannel channel, float* pMean) const {
    const int c = CheckChannel(channel);
    CheckPointer(pMean, "mean");
    *pMean = static_cast<float>(Filled(*m_data, c).mean);
}

void ImageStatistics::GetHistogram(StatisticsChannel channel, int** ppHistogram) const {
    const int c = CheckChannel(channel);
    CheckPointer(ppHistogram, "histogram");
    Filled(*m_data, c);
    *ppHistogram = m_data->histograms[c].data();
}

void ImageStatistics::GetAll(StatisticsChannel channel, unsigned int* pRangeMin, unsigned int* pRangeMax,
                             unsigned int* pPixelValueMin, unsigned int* pPixelValueMax, unsigned int* pNumPixelValues,
                             float* pPixelValueMean, int** ppHistogram) const {
    const int c = CheckChannel(channel);
    CheckPointer(pRangeMin, "range minimum");
    CheckPointer(pRangeMax, "range maximum");
    CheckPointer(pPixelValueMin, "pixel value minimum");
    CheckPointer(pPixelValueMax, "pixel value maximum");
    CheckPointer(pNumPixelValues, "count");
    CheckPointer(pPixelValueMean, "mean");
    CheckPointer(ppHistogram, "histogram");
    const internal::ChannelStatistics& s = Filled(*m_data, c);
    *pRangeMin = s.rangeMin;
    *pRangeMax = s.rangeMax;
    *pPixelValueMin = s.pixelValueMin;
    *pPixelValueMax = s.pixelValueMax;
    *pNumPixelValues = s.numPixelValues;
    *pPixelValueMean = static_cast<float>(s.mean);
    *ppHistogram = m_data->histograms[c].data();
}

// Image::CalculateStatistics lives here, beside the statistics it fills.
void Image::CalculateStatistics(ImageStatistics& statistics) const {
    internal::ImageStatisticsData& d = internal::ImageStatisticsAccess::Data(statistics);
    unsigned mask = 0;
    for (int c = 0; c < ImageStatistics::NUM_STATISTICS_CHANNELS; ++c)
        if (d.enabled[c]) mask |= 1u << c;
    internal::StatisticsResult result;
    if (mask != 0)
        result = internal::ComputeStatistics(internal::ViewOf(*this, "source"), mask, COLOR_PROCESSING_DEFAULT,
                                             internal::ResolveThreads(0));
    d.result = result;
    for (int c = 0; c < ImageStatistics::NUM_STATISTICS_CHANNELS; ++c) {
        d.filled[c] = result[c].computed;
        for (int i = 0; i < 256; ++i) d.histograms[c][i] = static_cast<int>(result[c].histogram[i]);
    }
}

} // namespace Orvane
