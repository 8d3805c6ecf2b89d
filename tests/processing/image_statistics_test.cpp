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
    const ImagePtr image = Make(4, 2, PixelFormat_Mono8, {7, 10, 10, 10, 20, 20, 200, 250});
    ImageStatistics s;
    image->CalculateStatistics(s);
    unsigned lo = 1, hi = 1, n = 0, pvLo = 1, pvHi = 1;
    float mean = 0;
    int* hist = nullptr;
    // The range is what 8 bits can hold, the pixel value range what is present.
    s.GetRange(ImageStatistics::GREY, &lo, &hi);
    EXPECT_EQ(lo, 0u);
    EXPECT_EQ(hi, 255u);
    s.GetPixelValueRange(ImageStatistics::GREY, &pvLo, &pvHi);
    EXPECT_EQ(pvLo, 7u);
    EXPECT_EQ(pvHi, 250u);
    s.GetNumPixelValues(ImageStatistics::GREY, &n);
    EXPECT_EQ(n, 5u);
    s.GetMean(ImageStatistics::GREY, &mean);
    EXPECT_FLOAT_EQ(mean, 527.0f / 8);
    s.GetHistogram(ImageStatistics::GREY, &hist);
    ASSERT_NE(hist, nullptr);
    EXPECT_EQ(hist[10], 3);
    EXPECT_EQ(hist[20], 2);
    EXPECT_EQ(hist[250], 1);
    EXPECT_EQ(hist[255], 0);
    unsigned a = 1, b = 1, c = 1, d = 1, e = 1;
    float m;
    int* h2 = nullptr;
    s.GetAll(ImageStatistics::RED, &a, &b, &c, &d, &e, &m, &h2);
    EXPECT_EQ(a, 0u);
    EXPECT_EQ(b, 255u);
    EXPECT_EQ(c, 7u);
    EXPECT_EQ(d, 250u);
    EXPECT_EQ(e, 5u);
    EXPECT_FLOAT_EQ(m, mean);
    EXPECT_EQ(std::vector<int>(h2, h2 + 256), std::vector<int>(hist, hist + 256));
    // Saturation of a grey image is 0 everywhere, on the 0..255 scale.
    s.GetRange(ImageStatistics::SATURATION, &lo, &hi);
    EXPECT_EQ(lo, 0u);
    EXPECT_EQ(hi, 255u);
    s.GetPixelValueRange(ImageStatistics::SATURATION, &pvLo, &pvHi);
    EXPECT_EQ(pvLo, 0u);
    EXPECT_EQ(pvHi, 0u);
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
    s.GetPixelValueRange(ImageStatistics::GREY, &lo, &hi);
    EXPECT_EQ(lo, 29u);
    EXPECT_EQ(hi, 76u);
    s.GetRange(ImageStatistics::GREY, &lo, &hi);
    EXPECT_EQ(lo, 0u);
    EXPECT_EQ(hi, 255u);
    // Enabling a channel after the calculation gives no stale values.
    s.SetChannelStatus(ImageStatistics::BLUE, true);
    f = Failure([&] { s.GetRange(ImageStatistics::BLUE, &lo, &hi); });
    EXPECT_EQ(f.first, ORVANE_ERR_NO_DATA);
    image->CalculateStatistics(s);
    s.GetPixelValueRange(ImageStatistics::BLUE, &lo, &hi);
    EXPECT_EQ(lo, 0u);
    EXPECT_EQ(hi, 255u);
    float mean;
    f = Failure([&] { s.GetMean(static_cast<ImageStatistics::StatisticsChannel>(-1), &mean); });
    EXPECT_EQ(f.first, ORVANE_ERR_INVALID_ARGUMENT);
    // Images without data are refused and leave the statistics as they were.
    f = Failure([&] { Image::Create()->CalculateStatistics(s); });
    EXPECT_EQ(f.first, ORVANE_ERR_INVALID_BUFFER);
    s.GetPixelValueRange(ImageStatistics::BLUE, &lo, &hi);
    EXPECT_EQ(lo, 0u);
    EXPECT_EQ(hi, 255u);
}

TEST(ImageStatistics, WideAndHslChannels) {
    // Mono12 in 16-bit containers: 100 and 3000 (little-endian).
    const ImagePtr mono12 = Make(2, 1, PixelFormat_Mono12, {0x64, 0x00, 0xB8, 0x0B});
    ImageStatistics s;
    mono12->CalculateStatistics(s);
    unsigned lo = 1, hi = 1;
    s.GetRange(ImageStatistics::GREY, &lo, &hi);
    EXPECT_EQ(lo, 0u);
    EXPECT_EQ(hi, 4095u);
    s.GetPixelValueRange(ImageStatistics::GREY, &lo, &hi);
    EXPECT_EQ(lo, 100u);
    EXPECT_EQ(hi, 3000u);
    // Lightness keeps the top 8 bits: 100 >> 4 = 6, 3000 >> 4 = 187.
    s.GetRange(ImageStatistics::LIGHTNESS, &lo, &hi);
    EXPECT_EQ(lo, 0u);
    EXPECT_EQ(hi, 255u);
    s.GetPixelValueRange(ImageStatistics::LIGHTNESS, &lo, &hi);
    EXPECT_EQ(lo, 6u);
    EXPECT_EQ(hi, 187u);
    // Mono16: 0..65535.
    const ImagePtr mono16 = Make(2, 1, PixelFormat_Mono16, {0x10, 0x00, 0x00, 0xF0});
    mono16->CalculateStatistics(s);
    s.GetRange(ImageStatistics::GREY, &lo, &hi);
    EXPECT_EQ(lo, 0u);
    EXPECT_EQ(hi, 65535u);
    s.GetPixelValueRange(ImageStatistics::GREY, &lo, &hi);
    EXPECT_EQ(lo, 16u);
    EXPECT_EQ(hi, 61440u);
    // Red and a dark desaturated orange (100, 60, 50): hue 0 and 9,
    // saturation 255 and 85, lightness 128 and 75.
    const ImagePtr rgb = Make(2, 1, PixelFormat_RGB8, {255, 0, 0, 100, 60, 50});
    s.EnableHslOnly();
    rgb->CalculateStatistics(s);
    const struct {
        ImageStatistics::StatisticsChannel channel;
        unsigned lo, hi, count;
    } expected[] = {{ImageStatistics::HUE, 0, 9, 2},
                    {ImageStatistics::SATURATION, 85, 255, 2},
                    {ImageStatistics::LIGHTNESS, 75, 128, 2}};
    for (const auto& x : expected) {
        unsigned n = 0;
        s.GetRange(x.channel, &lo, &hi);
        EXPECT_EQ(lo, 0u) << x.channel;
        EXPECT_EQ(hi, 255u) << x.channel;
        s.GetPixelValueRange(x.channel, &lo, &hi);
        EXPECT_EQ(lo, x.lo) << x.channel;
        EXPECT_EQ(hi, x.hi) << x.channel;
        s.GetNumPixelValues(x.channel, &n);
        EXPECT_EQ(n, x.count) << x.channel;
    }
}

TEST(ImageStatistics, PackedAndBayerImages) {
    // Mono12p of 0x123 and 0xABC.
    const ImagePtr packed = Make(2, 1, PixelFormat_Mono12p, {0x23, 0xC1, 0xAB});
    ImageStatistics s;
    s.EnableGreyOnly();
    packed->CalculateStatistics(s);
    unsigned lo, hi, pvLo, pvHi;
    s.GetRange(ImageStatistics::GREY, &lo, &hi);
    EXPECT_EQ(lo, 0u);
    EXPECT_EQ(hi, 4095u);
    s.GetPixelValueRange(ImageStatistics::GREY, &pvLo, &pvHi);
    EXPECT_EQ(pvLo, 0x123u);
    EXPECT_EQ(pvHi, 0xABCu);
    const ImagePtr bayer = Make(4, 4, PixelFormat_BayerBG8, std::vector<uint8_t>(16, 60));
    s.EnableRgbOnly();
    bayer->CalculateStatistics(s);
    float mean;
    s.GetMean(ImageStatistics::GREEN, &mean);
    EXPECT_FLOAT_EQ(mean, 60.0f);
}
