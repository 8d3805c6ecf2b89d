// Orvane::ImageStatistics and Image::CalculateStatistics.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "Orvane/Image.h"
#include "Orvane/ImageStatistics.h"
#include "SdkError.h"

using namespace Orvane;

using orvtest::Failure;

namespace {

ImagePtr Make(size_t w, size_t h, PixelFormatEnums f, const std::vector<uint8_t>& data) {
    ImagePtr image = Image::Create(w, h, 0, 0, f);
    std::memcpy(image->GetData(), data.data(), data.size());
    return image;
}

std::vector<bool> Status(const ImageStatistics& s) {
    std::vector<bool> v;
    for (int c = 0; c < ImageStatistics::NUM_STATISTICS_CHANNELS; ++c) {
        bool on = false;
        s.GetChannelStatus(static_cast<ImageStatistics::StatisticsChannel>(c), &on);
        v.push_back(on);
    }
    return v;
}

} // namespace

TEST(ImageStatistics, ChannelSelection) {
    ImageStatistics s;
    EXPECT_EQ(Status(s), std::vector<bool>(7, true));
    s.DisableAll();
    EXPECT_EQ(Status(s), std::vector<bool>(7, false));
    s.EnableGreyOnly();
    EXPECT_EQ(Status(s), (std::vector<bool>{true, false, false, false, false, false, false}));
    s.EnableRgbOnly();
    EXPECT_EQ(Status(s), (std::vector<bool>{false, true, true, true, false, false, false}));
    s.EnableHslOnly();
    EXPECT_EQ(Status(s), (std::vector<bool>{false, false, false, false, true, true, true}));
    s.SetChannelStatus(ImageStatistics::GREY, true);
    s.SetChannelStatus(ImageStatistics::HUE, false);
    EXPECT_EQ(Status(s), (std::vector<bool>{true, false, false, false, false, true, true}));
    auto f = Failure([&] { s.SetChannelStatus(static_cast<ImageStatistics::StatisticsChannel>(7), true); });
    EXPECT_EQ(f.first, ORVANE_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(f.second, "Unknown statistics channel 7");
    f = Failure([&] { s.GetChannelStatus(ImageStatistics::RED, nullptr); });
    EXPECT_EQ(f.first, ORVANE_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(f.second, "The enabled pointer is null");
}

TEST(ImageStatistics, ValuesOfAGreyImage) {
    const ImagePtr image = Make(4, 2, PixelFormat_Mono8, {0, 10, 10, 10, 20, 20, 200, 255});
    ImageStatistics s;
    image->CalculateStatistics(s);
    unsigned lo = 1, hi = 1, n = 0, pvLo = 1, pvHi = 1;
    float mean = 0;
    int* hist = nullptr;
    s.GetRange(ImageStatistics::GREY, &lo, &hi);
    EXPECT_EQ(lo, 0u);
    EXPECT_EQ(hi, 255u);
    s.GetPixelValueRange(ImageStatistics::GREY, &pvLo, &pvHi);
    EXPECT_EQ(pvLo, 0u);
    EXPECT_EQ(pvHi, 255u);
    s.GetNumPixelValues(ImageStatistics::GREY, &n);
    EXPECT_EQ(n, 5u);
    s.GetMean(ImageStatistics::GREY, &mean);
    EXPECT_FLOAT_EQ(mean, 525.0f / 8);
    s.GetHistogram(ImageStatistics::GREY, &hist);
    ASSERT_NE(hist, nullptr);
    EXPECT_EQ(hist[10], 3);
    EXPECT_EQ(hist[20], 2);
    EXPECT_EQ(hist[255], 1);
    unsigned a, b, c, d, e;
    float m;
    int* h2 = nullptr;
    s.GetAll(ImageStatistics::RED, &a, &b, &c, &d, &e, &m, &h2);
    EXPECT_EQ(a, 0u);
    EXPECT_EQ(b, 255u);
    EXPECT_EQ(e, 5u);
    EXPECT_FLOAT_EQ(m, mean);
    EXPECT_EQ(std::vector<int>(h2, h2 + 256), std::vector<int>(hist, hist + 256));
    s.GetRange(ImageStatistics::SATURATION, &lo, &hi);
    EXPECT_EQ(hi, 0u);
    const auto f = Failure([&] { s.GetAll(ImageStatistics::RED, &a, &b, &c, nullptr, &e, &m, &h2); });
    EXPECT_EQ(f.first, ORVANE_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(f.second, "The pixel value maximum pointer is null");
}

TEST(ImageStatistics, DisabledAndUncalculatedChannels) {
    const ImagePtr image = Make(2, 1, PixelFormat_RGB8, {255, 0, 0, 0, 0, 255});
    ImageStatistics s;
    unsigned lo, hi;
    auto f = Failure([&] { s.GetRange(ImageStatistics::RED, &lo, &hi); });
    EXPECT_EQ(f.first, ORVANE_ERR_NO_DATA);
    EXPECT_EQ(f.second, "No statistics of channel RED have been calculated");
    s.EnableGreyOnly();
    image->CalculateStatistics(s);
    f = Failure([&] { s.GetRange(ImageStatistics::BLUE, &lo, &hi); });
    EXPECT_EQ(f.first, ORVANE_ERR_NOT_AVAILABLE);
    EXPECT_EQ(f.second, "The statistics channel BLUE is disabled");
    s.GetRange(ImageStatistics::GREY, &lo, &hi);
    EXPECT_EQ(lo, 29u);
    EXPECT_EQ(hi, 76u);
    // Enabling a channel after the calculation gives no stale values.
    s.SetChannelStatus(ImageStatistics::BLUE, true);
    f = Failure([&] { s.GetRange(ImageStatistics::BLUE, &lo, &hi); });
    EXPECT_EQ(f.first, ORVANE_ERR_NO_DATA);
    image->CalculateStatistics(s);
    s.GetRange(ImageStatistics::BLUE, &lo, &hi);
    EXPECT_EQ(hi, 255u);
    float mean;
    f = Failure([&] { s.GetMean(static_cast<ImageStatistics::StatisticsChannel>(-1), &mean); });
    EXPECT_EQ(f.first, ORVANE_ERR_INVALID_ARGUMENT);
    // Images without data are refused and leave the statistics as they were.
    f = Failure([&] { Image::Create()->CalculateStatistics(s); });
    EXPECT_EQ(f.first, ORVANE_ERR_INVALID_BUFFER);
    s.GetRange(ImageStatistics::BLUE, &lo, &hi);
    EXPECT_EQ(hi, 255u);
}

TEST(ImageStatistics, PackedAndBayerImages) {
    // Mono12p of 0x123 and 0xABC.
    const ImagePtr packed = Make(2, 1, PixelFormat_Mono12p, {0x23, 0xC1, 0xAB});
    ImageStatistics s;
    s.EnableGreyOnly();
    packed->CalculateStatistics(s);
    unsigned lo, hi, pvLo, pvHi;
    s.GetRange(ImageStatistics::GREY, &lo, &hi);
    EXPECT_EQ(lo, 0x123u);
    EXPECT_EQ(hi, 0xABCu);
    s.GetPixelValueRange(ImageStatistics::GREY, &pvLo, &pvHi);
    EXPECT_EQ(pvHi, 4095u);
    const ImagePtr bayer = Make(4, 4, PixelFormat_BayerBG8, std::vector<uint8_t>(16, 60));
    s.EnableRgbOnly();
    bayer->CalculateStatistics(s);
    float mean;
    s.GetMean(ImageStatistics::GREEN, &mean);
    EXPECT_FLOAT_EQ(mean, 60.0f);
}
