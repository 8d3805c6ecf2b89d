// Gamma correction and per-channel statistics.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "ProcessingTestUtil.h"
#include "SdkError.h"
#include "processing/Gamma.h"
#include "processing/Statistics.h"

using namespace Orvane;
using namespace Orvane::internal;
using namespace orvtest;

namespace {

Bytes Gamma(const Bytes& src, size_t w, size_t h, PixelFormatEnums f, float gamma, bool inverse, unsigned threads = 1) {
    Bytes out(src.size(), 0xEE);
    ApplyGamma(View(src, w, h, f), Out(out, w, h, f), gamma, inverse, threads);
    return out;
}

StatisticsResult Stats(const Bytes& src, size_t w, size_t h, PixelFormatEnums f, unsigned mask = 0x7F,
                       unsigned threads = 1) {
    return ComputeStatistics(View(src, w, h, f), mask, COLOR_PROCESSING_DEFAULT, threads);
}

} // namespace

TEST(Gamma, EightBitTables) {
    const Bytes src = {0, 16, 64, 128, 255};
    // round(255 * (v / 255) ^ 2)
    EXPECT_EQ(Gamma(src, 5, 1, PixelFormat_Mono8, 2.0f, false), (Bytes{0, 1, 16, 64, 255}));
    // round(255 * (v / 255) ^ (1 / 2))
    EXPECT_EQ(Gamma(src, 5, 1, PixelFormat_Mono8, 2.0f, true), (Bytes{0, 64, 128, 181, 255}));
    EXPECT_EQ(Gamma(src, 5, 1, PixelFormat_Mono8, 1.0f, true), src);
}

TEST(Gamma, WideFormatsAndAlpha) {
    const Bytes mono12 = FromWords({0, 2048, 4095});
    EXPECT_EQ(Words(Gamma(mono12, 3, 1, PixelFormat_Mono12, 2.0f, false)), (std::vector<uint16_t>{0, 1024, 4095}));
    const Bytes mono16 = Random(64 * 2, 3);
    EXPECT_EQ(Gamma(mono16, 64, 1, PixelFormat_Mono16, 1.0f, false), mono16);
    // Alpha stays; the three colours change.
    EXPECT_EQ(Gamma({64, 64, 64, 64}, 1, 1, PixelFormat_BGRa8, 2.0f, true), (Bytes{128, 128, 128, 64}));
    EXPECT_EQ(Gamma({64, 64, 64}, 1, 1, PixelFormat_RGB8, 2.0f, true), (Bytes{128, 128, 128}));
    EXPECT_EQ(Gamma({64, 128}, 2, 1, PixelFormat_BayerRG8, 2.0f, false), (Bytes{16, 64}));
}

TEST(Gamma, Errors) {
    Bytes out(4);
    for (float g : {0.0f, -1.0f, NAN, INFINITY}) {
        const auto f = Failure([&] {
            ApplyGamma(View(Bytes(4), 4, 1, PixelFormat_Mono8), Out(out, 4, 1, PixelFormat_Mono8), g, true, 1);
        });
        EXPECT_EQ(f.first, ORVANE_ERR_INVALID_ARGUMENT) << g;
        EXPECT_EQ(f.second.rfind("Gamma must be a positive finite number (got ", 0), 0u) << f.second;
    }
    auto f = Failure([&] {
        ApplyGamma(View(Bytes(6), 4, 1, PixelFormat_Mono12p), Out(out, 4, 1, PixelFormat_Mono12p), 2.0f, true, 1);
    });
    EXPECT_EQ(f.first, ORVANE_ERR_NOT_SUPPORTED);
    EXPECT_EQ(f.second, "Gamma correction of Mono12p is not supported");
    f = Failure([&] {
        ApplyGamma(View(Bytes(4), 4, 1, PixelFormat_Mono8), Out(out, 2, 1, PixelFormat_Mono16), 2.0f, true, 1);
    });
    EXPECT_EQ(f.first, ORVANE_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(f.second, "Gamma correction keeps the pixel format: the destination is Mono16, the source Mono8");
    EXPECT_TRUE(IsGammaSupported(PixelFormat_BGRa16));
    EXPECT_FALSE(IsGammaSupported(PixelFormat_YUV422_8));
}

TEST(Statistics, GreyImage) {
    // 4x2: values 3, 10 (x3), 20 (x2), 200, 250.
    const Bytes src = {3, 10, 10, 10, 20, 20, 200, 250};
    const StatisticsResult s = Stats(src, 4, 2, PixelFormat_Mono8);
    const ChannelStatistics& g = s[kStatGrey];
    EXPECT_TRUE(g.computed);
    // Range: what 8 bits can hold; pixel value range: what is present.
    EXPECT_EQ(g.rangeMin, 0u);
    EXPECT_EQ(g.rangeMax, 255u);
    EXPECT_EQ(g.pixelValueMin, 3u);
    EXPECT_EQ(g.pixelValueMax, 250u);
    EXPECT_EQ(g.numPixelValues, 5u);
    EXPECT_DOUBLE_EQ(g.mean, (3 + 30 + 40 + 200 + 250) / 8.0);
    EXPECT_EQ(g.histogram[10], 3u);
    EXPECT_EQ(g.histogram[20], 2u);
    EXPECT_EQ(g.histogram[11], 0u);
    // Red, green and blue of a grey image are the grey value; hue and saturation 0; lightness the grey value.
    EXPECT_EQ(s[kStatRed].histogram, g.histogram);
    EXPECT_DOUBLE_EQ(s[kStatBlue].mean, g.mean);
    EXPECT_EQ(s[kStatRed].pixelValueMin, 3u);
    EXPECT_EQ(s[kStatRed].pixelValueMax, 250u);
    EXPECT_EQ(s[kStatHue].histogram[0], 8u);
    EXPECT_EQ(s[kStatSaturation].pixelValueMax, 0u);
    EXPECT_EQ(s[kStatSaturation].rangeMax, 255u);
    EXPECT_EQ(s[kStatLightness].histogram, g.histogram);
    for (int c = 0; c < kStatChannels; ++c) {
        EXPECT_EQ(s[c].rangeMin, 0u) << c;
        EXPECT_EQ(s[c].rangeMax, 255u) << c;
    }
}

TEST(Statistics, WideGreyUsesTheFormatScale) {
    // Mono12 in 16-bit containers.
    const Bytes src = FromWords({5, 16, 3000, 3000});
    const StatisticsResult s = Stats(src, 2, 2, PixelFormat_Mono12);
    const ChannelStatistics& g = s[kStatGrey];
    EXPECT_EQ(g.rangeMin, 0u);
    EXPECT_EQ(g.rangeMax, 4095u);
    EXPECT_EQ(g.pixelValueMin, 5u);
    EXPECT_EQ(g.pixelValueMax, 3000u);
    EXPECT_EQ(g.numPixelValues, 3u);
    EXPECT_DOUBLE_EQ(g.mean, (5 + 16 + 2 * 3000) / 4.0);
    EXPECT_EQ(g.histogram[0], 1u); // bin = value >> 4
    EXPECT_EQ(g.histogram[1], 1u);
    EXPECT_EQ(g.histogram[187], 2u);
    // Lightness of a grey image: the top 8 bits, on the 0..255 scale.
    EXPECT_EQ(s[kStatLightness].rangeMax, 255u);
    EXPECT_EQ(s[kStatLightness].pixelValueMin, 0u);
    EXPECT_EQ(s[kStatLightness].pixelValueMax, 187u);
    // The same values packed as Mono12p give the same statistics.
    const Bytes packed = Conv(src, 2, 2, PixelFormat_Mono12, PixelFormat_Mono12p, 6);
    const ChannelStatistics p = Stats(packed, 2, 2, PixelFormat_Mono12p)[kStatGrey];
    EXPECT_EQ(p.histogram, g.histogram);
    EXPECT_EQ(p.numPixelValues, 3u);
    EXPECT_DOUBLE_EQ(p.mean, g.mean);
    EXPECT_EQ(p.rangeMin, 0u);
    EXPECT_EQ(p.rangeMax, 4095u);
    EXPECT_EQ(p.pixelValueMin, 5u);
    EXPECT_EQ(p.pixelValueMax, 3000u);
    // Mono16 holds 0..65535.
    const ChannelStatistics w = Stats(FromWords({1, 65534}), 2, 1, PixelFormat_Mono16)[kStatGrey];
    EXPECT_EQ(w.rangeMin, 0u);
    EXPECT_EQ(w.rangeMax, 65535u);
    EXPECT_EQ(w.pixelValueMin, 1u);
    EXPECT_EQ(w.pixelValueMax, 65534u);
    EXPECT_EQ(w.numPixelValues, 2u);
}

TEST(Statistics, ColourChannels) {
    // Red and blue pixels.
    const Bytes rgb = {255, 0, 0, 0, 0, 255};
    const StatisticsResult s = Stats(rgb, 2, 1, PixelFormat_RGB8);
    EXPECT_EQ(s[kStatRed].pixelValueMin, 0u);
    EXPECT_EQ(s[kStatRed].pixelValueMax, 255u);
    EXPECT_EQ(s[kStatRed].rangeMax, 255u);
    EXPECT_DOUBLE_EQ(s[kStatRed].mean, 127.5);
    EXPECT_EQ(s[kStatGreen].numPixelValues, 1u);
    EXPECT_EQ(s[kStatGreen].histogram[0], 2u);
    // Grey: luma 76 and 29.
    EXPECT_EQ(s[kStatGrey].pixelValueMin, 29u);
    EXPECT_EQ(s[kStatGrey].pixelValueMax, 76u);
    EXPECT_EQ(s[kStatGrey].rangeMin, 0u);
    EXPECT_EQ(s[kStatGrey].rangeMax, 255u);
    // Hue: red 0, blue 171; saturation 255; lightness 128.
    EXPECT_EQ(s[kStatHue].histogram[0], 1u);
    EXPECT_EQ(s[kStatHue].histogram[171], 1u);
    EXPECT_EQ(s[kStatSaturation].histogram[255], 2u);
    EXPECT_EQ(s[kStatLightness].histogram[128], 2u);
    EXPECT_EQ(s[kStatHue].pixelValueMin, 0u);
    EXPECT_EQ(s[kStatHue].pixelValueMax, 171u);
    EXPECT_EQ(s[kStatSaturation].pixelValueMin, 255u);
    EXPECT_EQ(s[kStatSaturation].pixelValueMax, 255u);
    EXPECT_EQ(s[kStatLightness].pixelValueMin, 128u);
    EXPECT_EQ(s[kStatLightness].pixelValueMax, 128u);
    for (int c = kStatHue; c <= kStatLightness; ++c) {
        EXPECT_EQ(s[c].rangeMin, 0u) << c;
        EXPECT_EQ(s[c].rangeMax, 255u) << c;
    }
    // BGR8 holds the same image in the other order.
    const StatisticsResult b = Stats({0, 0, 255, 255, 0, 0}, 2, 1, PixelFormat_BGR8);
    for (int c = 0; c < kStatChannels; ++c) EXPECT_EQ(b[c].histogram, s[c].histogram) << c;
    // Green and a dark desaturated orange.
    const StatisticsResult o =
        Stats({0, 255, 0, 100, 60, 50}, 2, 1, PixelFormat_RGB8, 1u << kStatHue | 1u << kStatSaturation);
    EXPECT_EQ(o[kStatHue].histogram[85], 1u);
    // Orange: hue 12 degrees -> 8.53 -> 9; saturation 255 * 50 / 150 = 85.
    EXPECT_EQ(o[kStatHue].histogram[9], 1u);
    EXPECT_EQ(o[kStatSaturation].histogram[85], 1u);
    EXPECT_FALSE(o[kStatGrey].computed);
    EXPECT_FALSE(o[kStatLightness].computed);
}

TEST(Statistics, ConvertedSources) {
    // A uniform Bayer mosaic is a uniform colour.
    const StatisticsResult b = Stats(Bytes(16 * 8, 90), 16, 8, PixelFormat_BayerGB8);
    EXPECT_EQ(b[kStatRed].pixelValueMin, 90u);
    EXPECT_EQ(b[kStatBlue].pixelValueMax, 90u);
    EXPECT_EQ(b[kStatBlue].rangeMax, 255u);
    EXPECT_EQ(b[kStatGrey].numPixelValues, 1u);
    // Bayer 12-bit values keep their scale.
    const StatisticsResult b12 = Stats(FromWords(std::vector<uint16_t>(16, 1000)), 4, 4, PixelFormat_BayerRG12);
    EXPECT_EQ(b12[kStatGreen].pixelValueMin, 1000u);
    EXPECT_EQ(b12[kStatGreen].pixelValueMax, 1000u);
    EXPECT_EQ(b12[kStatGreen].rangeMin, 0u);
    EXPECT_EQ(b12[kStatGreen].rangeMax, 4095u);
    // Hue, saturation and lightness stay on 0..255: 1000 >> 4 = 62.
    EXPECT_EQ(b12[kStatLightness].rangeMax, 255u);
    EXPECT_EQ(b12[kStatLightness].pixelValueMin, 62u);
    EXPECT_EQ(b12[kStatLightness].pixelValueMax, 62u);
    // Neutral YUV is grey.
    const StatisticsResult y = Stats({50, 128, 200, 128}, 2, 1, PixelFormat_YUV422_8);
    EXPECT_EQ(y[kStatRed].pixelValueMin, 50u);
    EXPECT_EQ(y[kStatRed].pixelValueMax, 200u);
    EXPECT_EQ(y[kStatRed].rangeMax, 255u);
    EXPECT_EQ(y[kStatSaturation].pixelValueMax, 0u);
    auto f = Failure([&] { Stats(Bytes(12), 2, 2, PixelFormat_Coord3D_ABC8); });
    EXPECT_EQ(f.first, ORVANE_ERR_NOT_SUPPORTED);
    EXPECT_EQ(f.second, "Statistics of Coord3D_ABC8 are not supported");
}

TEST(Statistics, PairCountingPathsMatchAStraightforwardCount) {
    // Odd widths leave one pixel per row outside the pairs.
    const size_t w = 97, h = 13;
    const Bytes rgb = Random(w * h * 3, 31);
    const StatisticsResult s = Stats(rgb, w, h, PixelFormat_RGB8, 1u << kStatRed | 1u << kStatGreen | 1u << kStatBlue);
    for (int c = 0; c < 3; ++c) {
        std::array<unsigned, 256> hist{};
        for (size_t i = 0; i < w * h; ++i) ++hist[rgb[3 * i + c]];
        EXPECT_EQ(s[kStatRed + c].histogram, hist) << c;
    }
    const Bytes grey = Random(w * h, 32);
    std::array<unsigned, 256> hist{};
    for (uint8_t v : grey) ++hist[v];
    EXPECT_EQ(Stats(grey, w, h, PixelFormat_Mono8, 1u << kStatGrey)[kStatGrey].histogram, hist);
    // Smooth data: long runs of equal values.
    Bytes runs(w * h);
    for (size_t i = 0; i < runs.size(); ++i) runs[i] = static_cast<uint8_t>(i / 50);
    const ChannelStatistics g = Stats(runs, w, h, PixelFormat_Mono8, 1u << kStatGrey)[kStatGrey];
    EXPECT_EQ(g.numPixelValues, (runs.size() - 1) / 50 + 1);
    EXPECT_EQ(g.histogram[0], 50u);
}
