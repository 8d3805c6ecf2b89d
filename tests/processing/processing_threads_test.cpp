// Results of the threaded kernels against one thread (run under ThreadSanitizer too).
#include <gtest/gtest.h>

#include "ProcessingTestUtil.h"
#include "processing/Gamma.h"
#include "processing/Statistics.h"

using namespace Orvane;
using namespace Orvane::internal;
using namespace orvtest;

namespace {

Bytes Gamma(const Bytes& src, size_t w, size_t h, PixelFormatEnums f, float gamma, bool inverse, unsigned threads) {
    Bytes out(src.size(), 0xEE);
    ApplyGamma(View(src, w, h, f), Out(out, w, h, f), gamma, inverse, threads);
    return out;
}

StatisticsResult Stats(const Bytes& src, size_t w, size_t h, PixelFormatEnums f, unsigned mask, unsigned threads) {
    return ComputeStatistics(View(src, w, h, f), mask, COLOR_PROCESSING_DEFAULT, threads);
}

} // namespace

TEST(ConvertThreads, ResultsDoNotDependOnTheThreadCount) {
    const size_t w = 320, h = 257; // odd height: bands of different sizes
    const Bytes bayer = Random(w * h, 3);
    const Bytes mono12p = Random(w * h * 3 / 2, 4);
    struct Case {
        PixelFormatEnums from, to;
        size_t bytes;
        ColorProcessingAlgorithm a;
        const Bytes* src;
    };
    const Case cases[] = {
        {PixelFormat_BayerRG8, PixelFormat_BGR8, w * h * 3, COLOR_PROCESSING_BILINEAR, &bayer},
        {PixelFormat_BayerGB8, PixelFormat_RGB16, w * h * 6, COLOR_PROCESSING_DIRECTIONAL, &bayer},
        {PixelFormat_BayerBG8, PixelFormat_YUV422_8, w * h * 2, COLOR_PROCESSING_EDGE_AWARE, &bayer},
        {PixelFormat_Mono12p, PixelFormat_Mono16, w * h * 2, COLOR_PROCESSING_DEFAULT, &mono12p},
        {PixelFormat_Mono12p, PixelFormat_RGBa8, w * h * 4, COLOR_PROCESSING_DEFAULT, &mono12p},
    };
    for (const Case& c : cases) {
        const Bytes one = Conv(*c.src, w, h, c.from, c.to, c.bytes, c.a, 1);
        EXPECT_EQ(Conv(*c.src, w, h, c.from, c.to, c.bytes, c.a, 2), one);
        EXPECT_EQ(Conv(*c.src, w, h, c.from, c.to, c.bytes, c.a, 3), one);
        EXPECT_EQ(Conv(*c.src, w, h, c.from, c.to, c.bytes, c.a, 0), one);
    }
}

TEST(Gamma, InPlaceAndThreads) {
    const size_t w = 400, h = 300;
    const Bytes src = Random(w * h * 3, 8);
    const Bytes one = Gamma(src, w, h, PixelFormat_RGB8, 1.8f, true, 1);
    EXPECT_EQ(Gamma(src, w, h, PixelFormat_RGB8, 1.8f, true, 2), one);
    Bytes inPlace = src;
    ApplyGamma(View(inPlace, w, h, PixelFormat_RGB8), Out(inPlace, w, h, PixelFormat_RGB8), 1.8f, true, 2);
    EXPECT_EQ(inPlace, one);
}

TEST(Statistics, MatchesAStraightforwardCountOnRandomImages) {
    const size_t w = 301, h = 203;
    const Bytes rgba = Random(w * h * 4, 12);
    for (unsigned threads : {1u, 2u, 3u}) {
        const StatisticsResult s = Stats(rgba, w, h, PixelFormat_BGRa8, 0x7F, threads);
        for (int c = 0; c < 3; ++c) {
            const int channel = c == 0 ? kStatBlue : c == 1 ? kStatGreen : kStatRed;
            std::array<unsigned, 256> hist{};
            double sum = 0;
            for (size_t i = 0; i < w * h; ++i) {
                ++hist[rgba[4 * i + c]];
                sum += rgba[4 * i + c];
            }
            EXPECT_EQ(s[channel].histogram, hist) << threads;
            EXPECT_DOUBLE_EQ(s[channel].mean, sum / (w * h));
        }
        std::array<unsigned, 256> grey{};
        for (size_t i = 0; i < w * h; ++i)
            ++grey[(4899u * rgba[4 * i + 2] + 9617u * rgba[4 * i + 1] + 1868u * rgba[4 * i] + 8192u) >> 14];
        EXPECT_EQ(s[kStatGrey].histogram, grey);
    }
}
