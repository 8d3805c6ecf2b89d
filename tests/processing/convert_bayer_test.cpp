// Bayer sources: every pattern, depth, packing and demosaicing algorithm.
#include <gtest/gtest.h>
#include <opencv2/imgproc.hpp>

#include <array>
#include <functional>

#include "ProcessingTestUtil.h"
#include "processing/Demosaic.h"

using namespace Orvane;
using namespace orvtest;

namespace {

// The 4x4 BayerRG8 mosaic of the hand-computed cases:
//   R  G  R  G      10  20  30  40
//   G  B  G  B      50  60  70  80
//   R  G  R  G      90 100 110 120
//   G  B  G  B     130 140 150 160
const Bytes kMosaic = {10, 20, 30, 40, 50, 60, 70, 80, 90, 100, 110, 120, 130, 140, 150, 160};

std::array<int, 3> Pixel(const Bytes& rgb, size_t w, size_t x, size_t y) {
    const uint8_t* p = rgb.data() + 3 * (y * w + x);
    return {p[0], p[1], p[2]};
}

// Independent reference of the documented formulas.
struct Reference {
    const Bytes& m;
    size_t w, h;
    int rx, ry; // red position in the 2x2 cell
    static int Reflect(int i, int n) {
        if (n == 1) return 0;
        while (i < 0 || i >= n) i = i < 0 ? -i : 2 * (n - 1) - i;
        return i;
    }
    int c(int x, int y) const { return m[Reflect(y, static_cast<int>(h)) * w + Reflect(x, static_cast<int>(w))]; }
    char Colour(int x, int y) const {
        const bool redCol = ((x % 2 + 2) % 2) == rx, redRow = ((y % 2 + 2) % 2) == ry;
        return redRow ? (redCol ? 'R' : 'g') : (redCol ? 'G' : 'B'); // g: green in a red row, G: in a blue row
    }
    std::array<int, 3> Bilinear(int x, int y) const {
        const int cross = (c(x - 1, y) + c(x + 1, y) + c(x, y - 1) + c(x, y + 1) + 2) >> 2;
        const int diag = (c(x - 1, y - 1) + c(x + 1, y - 1) + c(x - 1, y + 1) + c(x + 1, y + 1) + 2) >> 2;
        const int h2 = (c(x - 1, y) + c(x + 1, y) + 1) >> 1, v2 = (c(x, y - 1) + c(x, y + 1) + 1) >> 1;
        switch (Colour(x, y)) {
        case 'R': return {c(x, y), cross, diag};
        case 'B': return {diag, cross, c(x, y)};
        case 'g': return {h2, c(x, y), v2};
        default: return {v2, c(x, y), h2};
        }
    }
    std::array<int, 3> Nearest(int x, int y) const {
        const int cx = x & ~1, cy = y & ~1;
        const int red = c(cx + rx, cy + ry), blue = c(cx + 1 - rx, cy + 1 - ry);
        const bool redRow = (y % 2) == ry;
        return {red, c(cx + (redRow ? 1 - rx : rx), y), blue};
    }
    std::array<int, 3> Malvar(int x, int y) const {
        auto k = [&](int dx, int dy) { return c(x + dx, y + dy); };
        const int g =
            8 * k(0, 0) + 4 * (k(-1, 0) + k(1, 0) + k(0, -1) + k(0, 1)) - 2 * (k(-2, 0) + k(2, 0) + k(0, -2) + k(0, 2));
        const int rowPair = 10 * k(0, 0) + 8 * (k(-1, 0) + k(1, 0)) - 2 * (k(-1, -1) + k(1, -1) + k(-1, 1) + k(1, 1)) -
                            2 * (k(-2, 0) + k(2, 0)) + k(0, -2) + k(0, 2);
        const int colPair = 10 * k(0, 0) + 8 * (k(0, -1) + k(0, 1)) - 2 * (k(-1, -1) + k(1, -1) + k(-1, 1) + k(1, 1)) -
                            2 * (k(0, -2) + k(0, 2)) + k(-2, 0) + k(2, 0);
        const int diag = 12 * k(0, 0) + 4 * (k(-1, -1) + k(1, -1) + k(-1, 1) + k(1, 1)) -
                         3 * (k(-2, 0) + k(2, 0) + k(0, -2) + k(0, 2));
        auto d = [](int v) { return std::min(255, std::max(0, (v + 8) >> 4)); };
        switch (Colour(x, y)) {
        case 'R': return {k(0, 0), d(g), d(diag)};
        case 'B': return {d(diag), d(g), k(0, 0)};
        case 'g': return {d(rowPair), k(0, 0), d(colPair)};
        default: return {d(colPair), k(0, 0), d(rowPair)};
        }
    }
};

struct PatternCase {
    PixelFormatEnums format8, format12, format12p, format12Packed, format16, format10p, format10Packed;
    int rx, ry;
    int cvCode; // OpenCV code giving BGR
};

const PatternCase kPatterns[] = {
    {PixelFormat_BayerRG8, PixelFormat_BayerRG12, PixelFormat_BayerRG12p, PixelFormat_BayerRG12Packed,
     PixelFormat_BayerRG16, PixelFormat_BayerRG10p, PixelFormat_BayerRG10Packed, 0, 0, cv::COLOR_BayerRGGB2BGR},
    {PixelFormat_BayerGR8, PixelFormat_BayerGR12, PixelFormat_BayerGR12p, PixelFormat_BayerGR12Packed,
     PixelFormat_BayerGR16, PixelFormat_BayerGR10p, PixelFormat_BayerGR10Packed, 1, 0, cv::COLOR_BayerGRBG2BGR},
    {PixelFormat_BayerGB8, PixelFormat_BayerGB12, PixelFormat_BayerGB12p, PixelFormat_BayerGB12Packed,
     PixelFormat_BayerGB16, PixelFormat_BayerGB10p, PixelFormat_BayerGB10Packed, 0, 1, cv::COLOR_BayerGBRG2BGR},
    {PixelFormat_BayerBG8, PixelFormat_BayerBG12, PixelFormat_BayerBG12p, PixelFormat_BayerBG12Packed,
     PixelFormat_BayerBG16, PixelFormat_BayerBG10p, PixelFormat_BayerBG10Packed, 1, 1, cv::COLOR_BayerBGGR2BGR},
};

const ColorProcessingAlgorithm kAlgorithms[] = {
    COLOR_PROCESSING_NONE,       COLOR_PROCESSING_NEAREST_NEIGHBOR,   COLOR_PROCESSING_BILINEAR,
    COLOR_PROCESSING_EDGE_AWARE, COLOR_PROCESSING_GRADIENT_CORRECTED, COLOR_PROCESSING_DIRECTIONAL};

} // namespace

TEST(ConvertBayer, BilinearHandComputed) {
    const Bytes rgb = Conv(kMosaic, 4, 4, PixelFormat_BayerRG8, PixelFormat_RGB8, 48, COLOR_PROCESSING_BILINEAR);
    EXPECT_EQ(Pixel(rgb, 4, 0, 0), (std::array<int, 3>{10, 35, 60})); // corner: neighbours reflected
    EXPECT_EQ(Pixel(rgb, 4, 1, 0), (std::array<int, 3>{20, 20, 60}));
    EXPECT_EQ(Pixel(rgb, 4, 0, 1), (std::array<int, 3>{50, 50, 60}));
    EXPECT_EQ(Pixel(rgb, 4, 1, 1), (std::array<int, 3>{60, 60, 60}));
    EXPECT_EQ(Pixel(rgb, 4, 2, 2), (std::array<int, 3>{110, 110, 110}));
    EXPECT_EQ(Pixel(rgb, 4, 3, 3), (std::array<int, 3>{110, 135, 160}));
    // DEFAULT is bilinear.
    EXPECT_EQ(Conv(kMosaic, 4, 4, PixelFormat_BayerRG8, PixelFormat_RGB8, 48, COLOR_PROCESSING_DEFAULT), rgb);
}

TEST(ConvertBayer, OtherAlgorithmsHandComputed) {
    const Bytes none = Conv(kMosaic, 4, 4, PixelFormat_BayerRG8, PixelFormat_RGB8, 48, COLOR_PROCESSING_NONE);
    EXPECT_EQ(Pixel(none, 4, 1, 1), (std::array<int, 3>{60, 60, 60}));
    EXPECT_EQ(Pixel(none, 4, 2, 0), (std::array<int, 3>{30, 30, 30}));
    const Bytes nn = Conv(kMosaic, 4, 4, PixelFormat_BayerRG8, PixelFormat_RGB8, 48, COLOR_PROCESSING_NEAREST_NEIGHBOR);
    EXPECT_EQ(Pixel(nn, 4, 1, 1), (std::array<int, 3>{10, 50, 60}));
    EXPECT_EQ(Pixel(nn, 4, 1, 0), (std::array<int, 3>{10, 20, 60}));
    EXPECT_EQ(Pixel(nn, 4, 3, 3), (std::array<int, 3>{110, 150, 160}));
    const Bytes mhc =
        Conv(kMosaic, 4, 4, PixelFormat_BayerRG8, PixelFormat_RGB8, 48, COLOR_PROCESSING_GRADIENT_CORRECTED);
    EXPECT_EQ(Pixel(mhc, 4, 1, 1), (std::array<int, 3>{41, 48, 60}));
}

TEST(ConvertBayer, EveryAlgorithmMatchesTheReferenceOnEveryPattern) {
    const size_t w = 9, h = 7; // odd sizes exercise the borders
    const Bytes m = Random(w * h, 21);
    for (const PatternCase& p : kPatterns) {
        const Reference ref{m, w, h, p.rx, p.ry};
        struct Alg {
            ColorProcessingAlgorithm a;
            std::function<std::array<int, 3>(int, int)> f;
        };
        const Alg algs[] = {
            {COLOR_PROCESSING_NONE,
             [&](int x, int y) {
                 return std::array<int, 3>{ref.c(x, y), ref.c(x, y), ref.c(x, y)};
             }},
            {COLOR_PROCESSING_NEAREST_NEIGHBOR, [&](int x, int y) { return ref.Nearest(x, y); }},
            {COLOR_PROCESSING_BILINEAR, [&](int x, int y) { return ref.Bilinear(x, y); }},
            {COLOR_PROCESSING_GRADIENT_CORRECTED, [&](int x, int y) { return ref.Malvar(x, y); }},
        };
        for (const Alg& a : algs) {
            const Bytes rgb = Conv(m, w, h, p.format8, PixelFormat_RGB8, w * h * 3, a.a);
            for (size_t y = 0; y < h; ++y)
                for (size_t x = 0; x < w; ++x)
                    ASSERT_EQ(Pixel(rgb, w, x, y), a.f(static_cast<int>(x), static_cast<int>(y)))
                        << "algorithm " << a.a << " pattern " << p.rx << p.ry << " at " << x << "," << y;
        }
    }
}

TEST(ConvertBayer, UniformMosaicsStayUniformWithEveryAlgorithm) {
    for (const PatternCase& p : kPatterns) {
        for (ColorProcessingAlgorithm a : kAlgorithms) {
            const Bytes rgb = Conv(Bytes(8 * 6, 77), 8, 6, p.format8, PixelFormat_BGR8, 8 * 6 * 3, a);
            EXPECT_EQ(rgb, Bytes(8 * 6 * 3, 77)) << "algorithm " << a;
        }
    }
}

TEST(ConvertBayer, DirectionalAlgorithmsFollowStripes) {
    // Grey stripes: every colour sample of column x (or row y) is 10 + 2 x^2. Interpolating along the
    // stripes reconstructs them exactly; EDGE_AWARE and DIRECTIONAL must, away from the borders.
    const size_t w = 12, h = 10;
    for (bool vertical : {true, false}) {
        Bytes m(w * h);
        for (size_t y = 0; y < h; ++y)
            for (size_t x = 0; x < w; ++x) m[y * w + x] = static_cast<uint8_t>(10 + 2 * (vertical ? x * x : y * y));
        for (ColorProcessingAlgorithm a : {COLOR_PROCESSING_EDGE_AWARE, COLOR_PROCESSING_DIRECTIONAL})
            for (const PatternCase& p : kPatterns) {
                const Bytes rgb = Conv(m, w, h, p.format8, PixelFormat_RGB8, w * h * 3, a);
                for (size_t y = 3; y + 3 < h; ++y)
                    for (size_t x = 3; x + 3 < w; ++x) {
                        const int v = m[y * w + x];
                        ASSERT_EQ(Pixel(rgb, w, x, y), (std::array<int, 3>{v, v, v}))
                            << "algorithm " << a << (vertical ? " vertical" : " horizontal") << " at " << x << "," << y;
                    }
            }
        // Bilinear blurs across the stripes.
        const Bytes bl = Conv(m, w, h, PixelFormat_BayerRG8, PixelFormat_RGB8, w * h * 3, COLOR_PROCESSING_BILINEAR);
        EXPECT_NE(Pixel(bl, w, 4, 4)[1], m[4 * w + 4]);
    }
}

TEST(ConvertBayer, BilinearAgreesWithOpenCvInTheInterior) {
    const int w = 64, h = 48;
    const Bytes m = Random(w * h, 5);
    for (const PatternCase& p : kPatterns) {
        const Bytes ours = Conv(m, w, h, p.format8, PixelFormat_BGR8, w * h * 3, COLOR_PROCESSING_BILINEAR);
        cv::Mat src(h, w, CV_8UC1, const_cast<uint8_t*>(m.data())), dst;
        cv::cvtColor(src, dst, p.cvCode);
        for (int y = 1; y < h - 1; ++y)
            for (int x = 1; x < w - 1; ++x)
                for (int c = 0; c < 3; ++c)
                    ASSERT_EQ(ours[3 * (y * w + x) + c], dst.at<cv::Vec3b>(y, x)[c]) << x << "," << y << " ch " << c;
    }
}

TEST(ConvertBayer, FastBilinearRowEqualsTheGenericPath) {
    using namespace Orvane::internal;
    for (size_t w : {1, 2, 3, 5, 33, 39, 40, 41, 66, 67, 100, 131}) {
        for (size_t h : {1, 2, 3, 5}) {
            const Bytes m = Random(w * h, static_cast<unsigned>(w * 31 + h));
            for (CfaPattern cfa : {CfaPattern::RG, CfaPattern::GR, CfaPattern::GB, CfaPattern::BG}) {
                std::vector<uint8_t> generic(w * h * 4);
                DemosaicRows<uint8_t>(
                    COLOR_PROCESSING_BILINEAR, cfa, w, h, 0, h,
                    [&](size_t y, uint8_t* out) { std::memcpy(out, m.data() + y * w, w); },
                    [&](size_t y, const uint8_t* rgba) { std::memcpy(generic.data() + y * w * 4, rgba, w * 4); });
                for (ComponentOrder order :
                     {ComponentOrder::RGB, ComponentOrder::BGR, ComponentOrder::RGBa, ComponentOrder::BGRa}) {
                    const size_t px = (order == ComponentOrder::RGB || order == ComponentOrder::BGR) ? 3 : 4;
                    const bool bgr = order == ComponentOrder::BGR || order == ComponentOrder::BGRa;
                    for (bool streaming : {false, true}) {
                        std::vector<uint8_t> fast(w * px + 64);
                        uint8_t* out = fast.data() + 32 - reinterpret_cast<uintptr_t>(fast.data()) % 32;
                        for (size_t y = 0; y < h; ++y) {
                            const uint8_t* up = m.data() + Reflect101(static_cast<ptrdiff_t>(y) - 1, h) * w;
                            const uint8_t* down = m.data() + Reflect101(static_cast<ptrdiff_t>(y) + 1, h) * w;
                            BilinearRow8(cfa, y, up, m.data() + y * w, down, w, order, out, streaming);
                            for (size_t x = 0; x < w; ++x) {
                                const uint8_t* g = generic.data() + (y * w + x) * 4;
                                const uint8_t* f = out + x * px;
                                ASSERT_EQ(f[bgr ? 2 : 0], g[0]) << w << "x" << h << " at " << x << "," << y;
                                ASSERT_EQ(f[1], g[1]) << w << "x" << h << " at " << x << "," << y;
                                ASSERT_EQ(f[bgr ? 0 : 2], g[2]) << w << "x" << h << " at " << x << "," << y;
                                if (px == 4) {
                                    ASSERT_EQ(f[3], 255);
                                }
                            }
                        }
                    }
                }
            }
        }
    }
}

TEST(ConvertBayer, AllDepthsAndPackingsAgree) {
    const size_t w = 70, h = 6; // wide enough for the vector kernels
    std::vector<uint16_t> v12 = Words(Random(w * h * 2, 9));
    for (auto& v : v12) v &= 0x0FFF;
    const Bytes mono12 = FromWords(v12);
    const Bytes packed12p = Conv(mono12, w, h, PixelFormat_Mono12, PixelFormat_Mono12p, w * h * 3 / 2);
    const Bytes packed12gev = Conv(mono12, w, h, PixelFormat_Mono12, PixelFormat_Mono12Packed, w * h * 3 / 2);
    std::vector<uint16_t> v16(v12.size());
    Bytes top8(v12.size());
    for (size_t i = 0; i < v12.size(); ++i) {
        v16[i] = static_cast<uint16_t>(v12[i] << 4 | v12[i] >> 8);
        top8[i] = static_cast<uint8_t>(v12[i] >> 4);
    }
    for (const PatternCase& p : kPatterns) {
        for (ColorProcessingAlgorithm a : kAlgorithms) {
            const Bytes rgb16 = Conv(FromWords(v16), w, h, p.format16, PixelFormat_RGB16, w * h * 6, a);
            EXPECT_EQ(Conv(mono12, w, h, p.format12, PixelFormat_RGB16, w * h * 6, a), rgb16);
            EXPECT_EQ(Conv(packed12p, w, h, p.format12p, PixelFormat_RGB16, w * h * 6, a), rgb16);
            EXPECT_EQ(Conv(packed12gev, w, h, p.format12Packed, PixelFormat_RGB16, w * h * 6, a), rgb16);
            // 8-bit destinations work from the top 8 bits.
            const Bytes bgr8 = Conv(top8, w, h, p.format8, PixelFormat_BGR8, w * h * 3, a);
            EXPECT_EQ(Conv(mono12, w, h, p.format12, PixelFormat_BGR8, w * h * 3, a), bgr8);
            EXPECT_EQ(Conv(packed12p, w, h, p.format12p, PixelFormat_BGR8, w * h * 3, a), bgr8);
            EXPECT_EQ(Conv(packed12gev, w, h, p.format12Packed, PixelFormat_BGR8, w * h * 3, a), bgr8);
        }
    }
    // 10-bit packings.
    std::vector<uint16_t> v10(v12.size());
    for (size_t i = 0; i < v12.size(); ++i) v10[i] = v12[i] & 0x3FF;
    const Bytes mono10 = FromWords(v10);
    const Bytes p10 = Conv(mono10, w, h, PixelFormat_Mono10, PixelFormat_Mono10p, w * h * 10 / 8);
    const Bytes g10 = Conv(mono10, w, h, PixelFormat_Mono10, PixelFormat_Mono10Packed, w * h * 3 / 2);
    for (const PatternCase& p : kPatterns) {
        const Bytes ref = Conv(p10, w, h, p.format10p, PixelFormat_BGRa8, w * h * 4);
        EXPECT_EQ(Conv(g10, w, h, p.format10Packed, PixelFormat_BGRa8, w * h * 4), ref);
    }
}

TEST(ConvertBayer, SixteenBitBilinear) {
    std::vector<uint16_t> m16(kMosaic.size());
    for (size_t i = 0; i < m16.size(); ++i) m16[i] = static_cast<uint16_t>(kMosaic[i] * 257);
    const std::vector<uint16_t> rgb = Words(Conv(FromWords(m16), 4, 4, PixelFormat_BayerRG16, PixelFormat_RGB16, 96));
    EXPECT_EQ(rgb[0], 10 * 257);
    EXPECT_EQ(rgb[1], 35 * 257);
    EXPECT_EQ(rgb[2], 60 * 257);
    EXPECT_EQ(rgb[3 * 15 + 1], 135 * 257);
}

TEST(ConvertBayer, GreyAndYuvFromBayer) {
    // NONE: grey is the raw sample.
    EXPECT_EQ(Conv(kMosaic, 4, 4, PixelFormat_BayerRG8, PixelFormat_Mono8, 16, COLOR_PROCESSING_NONE), kMosaic);
    // Otherwise the luma of the demosaiced pixel: (10, 35, 60) -> 0.299*10 + 0.587*35 + 0.114*60 = 30.37.
    EXPECT_EQ(Conv(kMosaic, 4, 4, PixelFormat_BayerRG8, PixelFormat_Mono8, 16)[0], 30);
    EXPECT_EQ(Conv(kMosaic, 4, 4, PixelFormat_BayerRG8, PixelFormat_YUV8_UYV, 48)[1], 30);
}
