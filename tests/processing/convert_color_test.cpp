// Conversions of RGB-family and YUV-family sources and destinations.
#include <gtest/gtest.h>

#include "ProcessingTestUtil.h"

using namespace Orvane;
using namespace orvtest;

TEST(ConvertRgb, ChannelOrdersAndAlpha) {
    const Bytes rgb = {1, 2, 3, 4, 5, 6};
    EXPECT_EQ(Conv(rgb, 2, 1, PixelFormat_RGB8, PixelFormat_BGR8, 6), (Bytes{3, 2, 1, 6, 5, 4}));
    EXPECT_EQ(Conv(rgb, 2, 1, PixelFormat_RGB8Packed, PixelFormat_RGBa8, 8), (Bytes{1, 2, 3, 255, 4, 5, 6, 255}));
    EXPECT_EQ(Conv(rgb, 2, 1, PixelFormat_BGR8, PixelFormat_BGRa8, 8), (Bytes{1, 2, 3, 255, 4, 5, 6, 255}));
    const Bytes bgra = {10, 20, 30, 40, 50, 60, 70, 80};
    EXPECT_EQ(Conv(bgra, 2, 1, PixelFormat_BGRa8, PixelFormat_RGBa8, 8), (Bytes{30, 20, 10, 40, 70, 60, 50, 80}));
    EXPECT_EQ(Conv(bgra, 2, 1, PixelFormat_BGRa8, PixelFormat_RGB8, 6), (Bytes{30, 20, 10, 70, 60, 50}));
    EXPECT_EQ(Words(Conv(rgb, 2, 1, PixelFormat_RGB8, PixelFormat_BGR16, 12)),
              (std::vector<uint16_t>{0x0303, 0x0202, 0x0101, 0x0606, 0x0505, 0x0404}));
    EXPECT_EQ(Words(Conv(bgra, 1, 1, PixelFormat_BGRa8, PixelFormat_RGBa16, 8)),
              (std::vector<uint16_t>{0x1E1E, 0x1414, 0x0A0A, 0x2828}));
}

TEST(ConvertRgb, LumaForGrey) {
    // (4899 R + 9617 G + 1868 B + 8192) >> 14: 0.299 R + 0.587 G + 0.114 B.
    const Bytes rgb = {255, 0, 0, 0, 255, 0, 0, 0, 255, 255, 255, 255, 10, 20, 30};
    EXPECT_EQ(Conv(rgb, 5, 1, PixelFormat_RGB8, PixelFormat_Mono8, 5), (Bytes{76, 150, 29, 255, 18}));
    EXPECT_EQ(Words(Conv(rgb, 5, 1, PixelFormat_RGB8, PixelFormat_Mono16, 10)),
              (std::vector<uint16_t>{19596, 38467, 7472, 65535, 4665}));
}

TEST(ConvertRgb, WideAndPackedSources) {
    // RGB12 in 16-bit containers: top 8 bits.
    EXPECT_EQ(Conv(FromWords({0xFFF, 0x123, 0x800}), 1, 1, PixelFormat_RGB12, PixelFormat_BGR8, 3),
              (Bytes{0x80, 0x12, 0xFF}));
    // RGB10p: R 0x3FF, G 0x000, B 0x155 in one 30-bit LSB-first stream.
    EXPECT_EQ(Conv({0xFF, 0x03, 0x50, 0x15}, 1, 1, PixelFormat_RGB10p, PixelFormat_RGB8, 3), (Bytes{0xFF, 0x00, 0x55}));
    EXPECT_EQ(Conv({0xFF, 0x03, 0x50, 0x15}, 1, 1, PixelFormat_BGR10p, PixelFormat_RGB8, 3), (Bytes{0x55, 0x00, 0xFF}));
    // RGB10p32: the same components in a 32-bit word.
    EXPECT_EQ(Conv({0xFF, 0x03, 0x50, 0x15}, 1, 1, PixelFormat_RGB10p32, PixelFormat_RGB8, 3),
              (Bytes{0xFF, 0x00, 0x55}));
    // RGB12p: 2 pixels (0xFFF, 0x000, 0x800), (0x123, 0x456, 0x789) in 9 bytes.
    const Bytes rgb12p = {0xFF, 0x0F, 0x00, 0x00, 0x38, 0x12, 0x56, 0x94, 0x78};
    EXPECT_EQ(Words(Conv(rgb12p, 2, 1, PixelFormat_RGB12p, PixelFormat_RGB16, 12)),
              (std::vector<uint16_t>{0xFFFF, 0x0000, 0x8008, 0x1231, 0x4564, 0x7897}));
    // RGB565p: red in bits 0-4, green 5-10, blue 11-15; BGR565p the other way round.
    EXPECT_EQ(Conv({0x1F, 0x00, 0xE0, 0x07, 0x00, 0x80}, 3, 1, PixelFormat_RGB565p, PixelFormat_RGB8, 9),
              (Bytes{255, 0, 0, 0, 255, 0, 0, 0, 132}));
    EXPECT_EQ(Conv({0x1F, 0x00}, 1, 1, PixelFormat_BGR565p, PixelFormat_RGB8, 3), (Bytes{0, 0, 255}));
    // RGBa10 keeps its alpha (top bits).
    EXPECT_EQ(Conv(FromWords({0x3FF, 0x000, 0x200, 0x100}), 1, 1, PixelFormat_RGBa10, PixelFormat_BGRa8, 4),
              (Bytes{0x80, 0x00, 0xFF, 0x40}));
}

TEST(ConvertRgb, PlanarSources) {
    // Planes R, G, B of a 2x2 image.
    const Bytes planar = {1, 2, 3, 4, 11, 12, 13, 14, 21, 22, 23, 24};
    EXPECT_EQ(Conv(planar, 2, 2, PixelFormat_RGB8_Planar, PixelFormat_RGB8, 12),
              (Bytes{1, 11, 21, 2, 12, 22, 3, 13, 23, 4, 14, 24}));
    const Bytes planar16 = FromWords({0xFFFF, 0x0000, 0x1234, 0x8000, 0x0001, 0x00FF});
    EXPECT_EQ(Conv(planar16, 2, 1, PixelFormat_RGB16_Planar, PixelFormat_BGR8, 6),
              (Bytes{0x00, 0x12, 0xFF, 0x00, 0x80, 0x00}));
    // A padded plane row (stride 3 for a width of 2).
    const Bytes padded = {1, 2, 0, 3, 4, 0, 11, 12, 0, 13, 14, 0, 21, 22, 0, 23, 24, 0};
    Bytes out(12);
    Orvane::internal::Convert(View(padded, 2, 2, PixelFormat_RGB8_Planar, 3), Out(out, 2, 2, PixelFormat_RGB8),
                              COLOR_PROCESSING_DEFAULT, 1);
    EXPECT_EQ(out, (Bytes{1, 11, 21, 2, 12, 22, 3, 13, 23, 4, 14, 24}));
}

TEST(ConvertYuv, FullRangeToRgb) {
    // YUV422_8 (Y0 U Y1 V): neutral chroma gives grey.
    EXPECT_EQ(Conv({50, 128, 200, 128}, 2, 1, PixelFormat_YUV422_8, PixelFormat_RGB8, 6),
              (Bytes{50, 50, 50, 200, 200, 200}));
    // YUV8_UYV: (U, Y, V) = (128, 128, 255) -> R = 128 + 1.402 * 127 clamped, G = 128 - 0.714136 * 127.
    EXPECT_EQ(Conv({128, 128, 255}, 1, 1, PixelFormat_YUV8_UYV, PixelFormat_RGB8, 3), (Bytes{255, 37, 128}));
    // (U, Y, V) = (0, 100, 128): G = 100 + 0.344136 * 128, B = 100 - 1.772 * 128 clamped.
    EXPECT_EQ(Conv({0, 100, 128}, 1, 1, PixelFormat_YUV444Packed, PixelFormat_BGR8, 3), (Bytes{0, 144, 100}));
    // Chroma pairs apply to both pixels of a 4:2:2 group.
    EXPECT_EQ(Conv({128, 128, 255, 60}, 2, 1, PixelFormat_YUV422_8_UYVY, PixelFormat_RGB8, 6),
              (Bytes{255, 37, 128, 238, 0, 60}));
    EXPECT_EQ(Conv({128, 128, 255, 60}, 2, 1, PixelFormat_YUV422Packed, PixelFormat_RGB8, 6),
              (Bytes{255, 37, 128, 238, 0, 60}));
    // YCbCr8 (Y Cb Cr) and YCbCr8_CbYCr, full range like YUV.
    EXPECT_EQ(Conv({128, 128, 255}, 1, 1, PixelFormat_YCbCr8, PixelFormat_RGB8, 3), (Bytes{255, 37, 128}));
    EXPECT_EQ(Conv({128, 128, 255}, 1, 1, PixelFormat_YCbCr8_CbYCr, PixelFormat_RGB8, 3), (Bytes{255, 37, 128}));
}

TEST(ConvertYuv, SubsampledLayouts) {
    // 4:1:1: YCbCr411_8 is Y0 Y1 Cb Y2 Y3 Cr; YUV411_8_UYYVYY is U Y0 Y1 V Y2 Y3.
    EXPECT_EQ(Conv({10, 20, 128, 30, 40, 128}, 4, 1, PixelFormat_YCbCr411_8, PixelFormat_Mono8, 4),
              (Bytes{10, 20, 30, 40}));
    EXPECT_EQ(Conv({128, 10, 20, 128, 30, 40}, 4, 1, PixelFormat_YUV411_8_UYYVYY, PixelFormat_Mono8, 4),
              (Bytes{10, 20, 30, 40}));
    EXPECT_EQ(Conv({128, 10, 20, 128, 30, 40}, 4, 1, PixelFormat_YUV411Packed, PixelFormat_Mono8, 4),
              (Bytes{10, 20, 30, 40}));
    EXPECT_EQ(Conv({128, 10, 20, 255, 30, 40}, 4, 1, PixelFormat_YCbCr411_8_CbYYCrYY, PixelFormat_RGB8, 12)[0],
              10 + 178); // R = Y + 1.402 * 127 (rounded: 178)
    EXPECT_EQ(Conv({10, 128, 20, 128}, 2, 1, PixelFormat_YCbCr422_8, PixelFormat_Mono8, 2), (Bytes{10, 20}));
}

TEST(ConvertYuv, StudioRange) {
    // BT.601 studio range: 16 is black, 235 white, 126 mid grey (110 * 255 / 219 = 128.1).
    EXPECT_EQ(Conv({128, 16, 128, 235}, 2, 1, PixelFormat_YCbCr601_422_8_CbYCrY, PixelFormat_RGB8, 6),
              (Bytes{0, 0, 0, 255, 255, 255}));
    EXPECT_EQ(Conv({126, 128, 126, 128}, 2, 1, PixelFormat_YCbCr601_422_8, PixelFormat_Mono8, 2), (Bytes{128, 128}));
    // BT.709: Y 16, Cr 240 -> R = 1.5748 * 112 * 255 / 224 = 200.8.
    EXPECT_EQ(Conv({16, 128, 16, 240}, 2, 1, PixelFormat_YCbCr709_422_8, PixelFormat_RGB8, 6),
              (Bytes{201, 0, 0, 201, 0, 0}));
    EXPECT_EQ(Conv({128, 235, 128}, 1, 1, PixelFormat_YCbCr709_8_CbYCr, PixelFormat_RGB8, 3), (Bytes{255, 255, 255}));
    EXPECT_EQ(Conv({128, 235, 128, 16}, 2, 1, PixelFormat_YCbCr709_422_8_CbYCrY, PixelFormat_Mono8, 2),
              (Bytes{255, 0}));
    EXPECT_EQ(Conv({128, 16, 235, 128, 16, 235}, 4, 1, PixelFormat_YCbCr601_411_8_CbYYCrYY, PixelFormat_Mono8, 4),
              (Bytes{0, 255, 0, 255}));
    EXPECT_EQ(Conv({128, 16, 235, 128, 16, 235}, 4, 1, PixelFormat_YCbCr709_411_8_CbYYCrYY, PixelFormat_Mono8, 4),
              (Bytes{0, 255, 0, 255}));
}

TEST(ConvertYuv, WideSamples) {
    // YCbCr422_10 in 16-bit containers: neutral chroma (512) stays neutral at 16 bits.
    const Bytes src = FromWords({512, 512, 1023, 512});
    EXPECT_EQ(Words(Conv(src, 2, 1, PixelFormat_YCbCr422_10, PixelFormat_RGB16, 12)),
              (std::vector<uint16_t>{0x8020, 0x8020, 0x8020, 0xFFFF, 0xFFFF, 0xFFFF}));
    EXPECT_EQ(Conv(src, 2, 1, PixelFormat_YCbCr422_10, PixelFormat_RGB8, 6), (Bytes{128, 128, 128, 255, 255, 255}));
    // YUV422_8 to 16-bit RGB: neutral chroma gives exact grey.
    EXPECT_EQ(Words(Conv({50, 128, 200, 128}, 2, 1, PixelFormat_YUV422_8, PixelFormat_RGB16, 12)),
              (std::vector<uint16_t>{0x3232, 0x3232, 0x3232, 0xC8C8, 0xC8C8, 0xC8C8}));
    // YCbCr422_10p: 4 samples (Y0 Cb Y1 Cr) = 1023, 512, 0, 512 in 5 bytes.
    EXPECT_EQ(Conv({0xFF, 0x03, 0x00, 0x80, 0x80}, 2, 1, PixelFormat_YCbCr422_10p, PixelFormat_Mono8, 2),
              (Bytes{255, 0}));
}

TEST(ConvertYuv, RgbToYuvDestinations) {
    // Red: Y 76, U -0.168736 * 255 + 128 = 85, V 0.5 * 255 + 128 clamped.
    EXPECT_EQ(Conv({255, 0, 0}, 1, 1, PixelFormat_RGB8, PixelFormat_YUV8_UYV, 3), (Bytes{85, 76, 255}));
    EXPECT_EQ(Conv({255, 0, 0}, 1, 1, PixelFormat_RGB8, PixelFormat_YCbCr8, 3), (Bytes{76, 85, 255}));
    EXPECT_EQ(Conv({255, 0, 0}, 1, 1, PixelFormat_RGB8, PixelFormat_YCbCr8_CbYCr, 3), (Bytes{85, 76, 255}));
    // 4:2:2: chroma is the mean of the pair: red and black -> U (85 + 128 + 1) / 2, V (255 + 128 + 1) / 2.
    EXPECT_EQ(Conv({255, 0, 0, 0, 0, 0}, 2, 1, PixelFormat_RGB8, PixelFormat_YUV422_8, 4), (Bytes{76, 107, 0, 192}));
    EXPECT_EQ(Conv({255, 0, 0, 0, 0, 0}, 2, 1, PixelFormat_RGB8, PixelFormat_YUV422_8_UYVY, 4),
              (Bytes{107, 76, 192, 0}));
    EXPECT_EQ(Conv({255, 0, 0, 0, 0, 0}, 2, 1, PixelFormat_RGB8, PixelFormat_YCbCr422_8_CbYCrY, 4),
              (Bytes{107, 76, 192, 0}));
    EXPECT_EQ(Conv({255, 0, 0, 0, 0, 0}, 2, 1, PixelFormat_RGB8, PixelFormat_YCbCr422_8, 4), (Bytes{76, 107, 0, 192}));
    // Grey has neutral chroma.
    EXPECT_EQ(Conv({77, 77, 77}, 1, 1, PixelFormat_BGR8, PixelFormat_YUV444Packed, 3), (Bytes{128, 77, 128}));
}

TEST(ConvertYuv, ReorderingIsLossless) {
    const Bytes yuyv = Random(64 * 4 * 2, 11);
    const Bytes uyvy = Conv(yuyv, 64, 4, PixelFormat_YUV422_8, PixelFormat_YUV422_8_UYVY, yuyv.size());
    for (size_t i = 0; i < yuyv.size(); i += 2) {
        ASSERT_EQ(uyvy[i], yuyv[i + 1]);
        ASSERT_EQ(uyvy[i + 1], yuyv[i]);
    }
    EXPECT_EQ(Conv(uyvy, 64, 4, PixelFormat_YUV422_8_UYVY, PixelFormat_YUV422_8, yuyv.size()), yuyv);
    // 4:2:2 -> 4:4:4 -> 4:2:2 gives the chroma back.
    const Bytes yuv444 = Conv(yuyv, 64, 4, PixelFormat_YUV422_8, PixelFormat_YUV8_UYV, 64 * 4 * 3);
    EXPECT_EQ(Conv(yuv444, 64, 4, PixelFormat_YUV8_UYV, PixelFormat_YUV422_8, yuyv.size()), yuyv);
}

TEST(ConvertYuv, OddWidthsAreRefused) {
    Bytes out(6);
    try {
        Orvane::internal::Convert(View(Bytes(6), 3, 1, PixelFormat_RGB8), Out(out, 3, 1, PixelFormat_YUV422_8),
                                  COLOR_PROCESSING_DEFAULT, 1);
        FAIL() << "no exception";
    } catch (const Orvane::Exception& e) {
        EXPECT_EQ(e.GetError(), ORVANE_ERR_INVALID_ARGUMENT);
        EXPECT_STREQ(e.GetErrorMessage(), "The destination width 3 is not a multiple of 2, as YUV422_8 requires");
    }
}

TEST(ConvertRgb, WideImagesFollowTheSameFormulas) {
    // Wide rows take the vectorised kernels; every pixel must still follow the documented formulas.
    const size_t w = 203, h = 3;
    struct F {
        PixelFormatEnums f;
        int channels;
        bool bgr;
    };
    const F eight[] = {{PixelFormat_Mono8, 1, false},
                       {PixelFormat_RGB8, 3, false},
                       {PixelFormat_BGR8, 3, true},
                       {PixelFormat_RGBa8, 4, false},
                       {PixelFormat_BGRa8, 4, true}};
    const F sixteen[] = {{PixelFormat_Mono16, 1, false},
                         {PixelFormat_RGB16, 3, false},
                         {PixelFormat_BGR16, 3, true},
                         {PixelFormat_RGBa16, 4, false},
                         {PixelFormat_BGRa16, 4, true}};
    for (int wide = 0; wide < 2; ++wide) {
        const F* set = wide ? sixteen : eight;
        const size_t bytes = wide ? 2 : 1;
        const unsigned max = wide ? 65535 : 255;
        for (int i = 0; i < 5; ++i) {
            for (int j = 0; j < 5; ++j) {
                const F& s = set[i];
                const F& d = set[j];
                const Bytes src = Random(w * h * s.channels * bytes, static_cast<unsigned>(10 * i + j));
                const Bytes out = Conv(src, w, h, s.f, d.f, w * h * d.channels * bytes);
                auto get = [&](const Bytes& b, size_t k) -> unsigned {
                    return wide ? static_cast<unsigned>(b[2 * k] | b[2 * k + 1] << 8) : b[k];
                };
                for (size_t p = 0; p < w * h; ++p) {
                    unsigned r, g, b, a = max;
                    if (s.channels == 1) {
                        r = g = b = get(src, p);
                    } else {
                        const size_t o = p * s.channels;
                        r = get(src, o + (s.bgr ? 2 : 0));
                        g = get(src, o + 1);
                        b = get(src, o + (s.bgr ? 0 : 2));
                        if (s.channels == 4) a = get(src, o + 3);
                    }
                    if (d.channels == 1) {
                        const unsigned y = s.channels == 1 ? r : (4899 * r + 9617 * g + 1868 * b + 8192) >> 14;
                        ASSERT_EQ(get(out, p), y) << i << "->" << j << " pixel " << p;
                    } else {
                        const size_t o = p * d.channels;
                        ASSERT_EQ(get(out, o + (d.bgr ? 2 : 0)), r) << i << "->" << j << " pixel " << p;
                        ASSERT_EQ(get(out, o + 1), g) << i << "->" << j << " pixel " << p;
                        ASSERT_EQ(get(out, o + (d.bgr ? 0 : 2)), b) << i << "->" << j << " pixel " << p;
                        if (d.channels == 4) {
                            ASSERT_EQ(get(out, o + 3), a) << i << "->" << j << " pixel " << p;
                        }
                    }
                }
            }
        }
    }
}
