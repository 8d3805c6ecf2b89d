// Conversions of grey sources, packed layouts bit by bit, and mono destinations.
#include <gtest/gtest.h>

#include "ProcessingTestUtil.h"

using namespace Orvane;
using namespace orvtest;

TEST(ConvertMono, Mono8ToMono16ScalesByReplication) {
    const Bytes src = {0x00, 0x01, 0x80, 0xFF};
    EXPECT_EQ(Words(Conv(src, 4, 1, PixelFormat_Mono8, PixelFormat_Mono16, 8)),
              (std::vector<uint16_t>{0x0000, 0x0101, 0x8080, 0xFFFF}));
}

TEST(ConvertMono, Mono12ToMono8KeepsTopBitsAndToMono16Replicates) {
    const Bytes src = FromWords({0x0000, 0x0123, 0x0ABC, 0x0FFF, 0xF00F /* bits above 12 ignored */, 0x0800});
    EXPECT_EQ(Conv(src, 6, 1, PixelFormat_Mono12, PixelFormat_Mono8, 6), (Bytes{0x00, 0x12, 0xAB, 0xFF, 0x00, 0x80}));
    EXPECT_EQ(Words(Conv(src, 6, 1, PixelFormat_Mono12, PixelFormat_Mono16, 12)),
              (std::vector<uint16_t>{0x0000, 0x1231, 0xABCA, 0xFFFF, 0x00F0, 0x8008}));
}

TEST(ConvertMono, Mono12pLayout) {
    // Pixels 0x123, 0xABC, 0x000, 0xFFF: LSB-first, 2 pixels in 3 bytes.
    const Bytes src = {0x23, 0xC1, 0xAB, 0x00, 0xF0, 0xFF};
    EXPECT_EQ(Words(Conv(src, 4, 1, PixelFormat_Mono12p, PixelFormat_Mono16, 8)),
              (std::vector<uint16_t>{0x1231, 0xABCA, 0x0000, 0xFFFF}));
    EXPECT_EQ(Conv(src, 4, 1, PixelFormat_Mono12p, PixelFormat_Mono8, 4), (Bytes{0x12, 0xAB, 0x00, 0xFF}));
    EXPECT_EQ(Words(Conv(src, 2, 2, PixelFormat_Mono12p, PixelFormat_Mono12, 8)),
              (std::vector<uint16_t>{0x123, 0xABC, 0x000, 0xFFF}));
}

TEST(ConvertMono, Mono12pOddWidthRowsContinueMidByte) {
    // 3x2 pixels 0x001..0x006 as one 72-bit stream; row 1 starts at bit 36.
    const Bytes src = {0x01, 0x20, 0x00, 0x03, 0x40, 0x00, 0x05, 0x60, 0x00};
    EXPECT_EQ(Words(Conv(src, 3, 2, PixelFormat_Mono12p, PixelFormat_Mono12, 12)),
              (std::vector<uint16_t>{1, 2, 3, 4, 5, 6}));
    // Mono12 -> Mono12p writes the same stream back.
    EXPECT_EQ(Conv(FromWords({1, 2, 3, 4, 5, 6}), 3, 2, PixelFormat_Mono12, PixelFormat_Mono12p, 9), src);
}

TEST(ConvertMono, Mono12pWithExplicitStrideStartsEveryRowOnAByte) {
    // 3 pixels a row (36 bits, 5 bytes) in rows of 6 bytes.
    const Bytes src = {0x01, 0x20, 0x00, 0x03, 0x00, 0xEE, 0x04, 0x50, 0x00, 0x06, 0x00, 0xEE};
    Bytes out(12);
    Orvane::internal::Convert(View(src, 3, 2, PixelFormat_Mono12p, 6), Out(out, 3, 2, PixelFormat_Mono12),
                              COLOR_PROCESSING_DEFAULT, 1);
    EXPECT_EQ(Words(out), (std::vector<uint16_t>{1, 2, 3, 4, 5, 6}));
}

TEST(ConvertMono, Mono10pLayout) {
    // Pixels 0x3FF, 0x001, 0x200, 0x155: 4 pixels in 5 bytes, LSB first.
    const Bytes src = {0xFF, 0x07, 0x00, 0x60, 0x55};
    EXPECT_EQ(Words(Conv(src, 4, 1, PixelFormat_Mono10p, PixelFormat_Mono10, 8)),
              (std::vector<uint16_t>{0x3FF, 0x001, 0x200, 0x155}));
    EXPECT_EQ(Conv(src, 4, 1, PixelFormat_Mono10p, PixelFormat_Mono8, 4), (Bytes{0xFF, 0x00, 0x80, 0x55}));
    EXPECT_EQ(Words(Conv(src, 4, 1, PixelFormat_Mono10p, PixelFormat_Mono16, 8)),
              (std::vector<uint16_t>{0xFFFF, 0x0040, 0x8020, 0x5555}));
}

TEST(ConvertMono, GigEPackedLayouts) {
    // Mono12Packed 0x123, 0xABC: byte 0 = 0x12, byte 1 = low nibbles (pixel 1 high), byte 2 = 0xAB.
    EXPECT_EQ(Words(Conv({0x12, 0xC3, 0xAB}, 2, 1, PixelFormat_Mono12Packed, PixelFormat_Mono12, 4)),
              (std::vector<uint16_t>{0x123, 0xABC}));
    // Mono10Packed 0x3FF, 0x001: byte 1 holds bits 1..0 of pixel 0 at 1..0 and of pixel 1 at 5..4.
    EXPECT_EQ(Words(Conv({0xFF, 0x13, 0x00}, 2, 1, PixelFormat_Mono10Packed, PixelFormat_Mono10, 4)),
              (std::vector<uint16_t>{0x3FF, 0x001}));
    EXPECT_EQ(Conv(FromWords({0x123, 0xABC}), 2, 1, PixelFormat_Mono12, PixelFormat_Mono12Packed, 3),
              (Bytes{0x12, 0xC3, 0xAB}));
    EXPECT_EQ(Conv(FromWords({0x3FF, 0x001}), 2, 1, PixelFormat_Mono10, PixelFormat_Mono10Packed, 3),
              (Bytes{0xFF, 0x13, 0x00}));
    // Odd width, no padding: the pair of pixel 2 (row 0) and pixel 3 (row 1) shares a group.
    const std::vector<uint16_t> px = {0x111, 0x222, 0x333, 0x444, 0x555, 0x666};
    const Bytes packed = Conv(FromWords(px), 3, 2, PixelFormat_Mono12, PixelFormat_Mono12Packed, 9);
    EXPECT_EQ(packed, (Bytes{0x11, 0x21, 0x22, 0x33, 0x43, 0x44, 0x55, 0x65, 0x66}));
    EXPECT_EQ(Words(Conv(packed, 3, 2, PixelFormat_Mono12Packed, PixelFormat_Mono12, 12)), px);
}

TEST(ConvertMono, NarrowMonoFormatsReplicate) {
    // Mono1p: 8 pixels LSB first in one byte.
    EXPECT_EQ(Conv({0x05}, 8, 1, PixelFormat_Mono1p, PixelFormat_Mono8, 8), (Bytes{255, 0, 255, 0, 0, 0, 0, 0}));
    // Mono2p: values 0..3 -> 0, 85, 170, 255.
    EXPECT_EQ(Conv({0xE4}, 4, 1, PixelFormat_Mono2p, PixelFormat_Mono8, 4), (Bytes{0, 85, 170, 255}));
    // Mono4p: 0x1 -> 0x11, 0xF -> 0xFF.
    EXPECT_EQ(Conv({0xF1}, 2, 1, PixelFormat_Mono4p, PixelFormat_Mono8, 2), (Bytes{0x11, 0xFF}));
}

TEST(ConvertMono, Mono16ToPackedFormatsKeepsTopBits) {
    const std::vector<uint16_t> px = {0xFFFF, 0x1234, 0x8000, 0x000F};
    // Mono12p of 0xFFF, 0x123, 0x800, 0x000.
    EXPECT_EQ(Conv(FromWords(px), 4, 1, PixelFormat_Mono16, PixelFormat_Mono12p, 6),
              (Bytes{0xFF, 0x3F, 0x12, 0x00, 0x08, 0x00}));
    // Mono10p of 0x3FF, 0x048, 0x200, 0x000.
    EXPECT_EQ(Conv(FromWords(px), 4, 1, PixelFormat_Mono16, PixelFormat_Mono10p, 5),
              (Bytes{0xFF, 0x23, 0x01, 0x20, 0x00}));
    EXPECT_EQ(Words(Conv(FromWords(px), 4, 1, PixelFormat_Mono16, PixelFormat_Mono14, 8)),
              (std::vector<uint16_t>{0x3FFF, 0x048D, 0x2000, 0x0003}));
}

TEST(ConvertMono, RoundTripsThroughPackedFormatsKeepTheTopBits) {
    const size_t w = 37, h = 5;
    const std::vector<uint16_t> px = Words(Random(w * h * 2, 7));
    struct Case {
        PixelFormatEnums packed;
        unsigned bits;
        size_t bytes;
    };
    const Case cases[] = {{PixelFormat_Mono12p, 12, (w * h * 12 + 7) / 8},
                          {PixelFormat_Mono10p, 10, (w * h * 10 + 7) / 8},
                          {PixelFormat_Mono12Packed, 12, (w * h * 12 + 7) / 8},
                          {PixelFormat_Mono10Packed, 10, (w * h * 12 + 7) / 8},
                          {PixelFormat_Mono12, 12, w * h * 2},
                          {PixelFormat_Mono14, 14, w * h * 2}};
    for (const Case& c : cases) {
        const Bytes packed = Conv(FromWords(px), w, h, PixelFormat_Mono16, c.packed, c.bytes);
        const std::vector<uint16_t> back = Words(Conv(packed, w, h, c.packed, PixelFormat_Mono16, w * h * 2));
        for (size_t i = 0; i < px.size(); ++i) {
            const uint16_t top = static_cast<uint16_t>(px[i] >> (16 - c.bits) << (16 - c.bits));
            ASSERT_EQ(back[i] & top, top) << c.bits << " bits, pixel " << i;
            ASSERT_EQ(back[i] >> (16 - c.bits), px[i] >> (16 - c.bits)) << c.bits << " bits, pixel " << i;
        }
    }
}

TEST(ConvertMono, GreyToColourAndYuvDestinations) {
    const Bytes src = {0, 100, 200, 255};
    EXPECT_EQ(Conv(src, 4, 1, PixelFormat_Mono8, PixelFormat_BGR8, 12),
              (Bytes{0, 0, 0, 100, 100, 100, 200, 200, 200, 255, 255, 255}));
    EXPECT_EQ(Conv(src, 2, 2, PixelFormat_Mono8, PixelFormat_RGBa8, 16),
              (Bytes{0, 0, 0, 255, 100, 100, 100, 255, 200, 200, 200, 255, 255, 255, 255, 255}));
    EXPECT_EQ(Conv(src, 4, 1, PixelFormat_Mono8, PixelFormat_YUV422_8, 8),
              (Bytes{0, 128, 100, 128, 200, 128, 255, 128}));
    EXPECT_EQ(Words(Conv(src, 4, 1, PixelFormat_Mono8, PixelFormat_RGB16, 24)),
              (std::vector<uint16_t>{0, 0, 0, 0x6464, 0x6464, 0x6464, 0xC8C8, 0xC8C8, 0xC8C8, 0xFFFF, 0xFFFF, 0xFFFF}));
}

TEST(ConvertMono, OtherGreySources) {
    // Raw, polarised, confidence and single-coordinate data convert as grey values.
    EXPECT_EQ(Conv({1, 2}, 2, 1, PixelFormat_Raw8, PixelFormat_Mono8, 2), (Bytes{1, 2}));
    EXPECT_EQ(Conv({7, 9}, 2, 1, PixelFormat_Polarized8, PixelFormat_Mono8, 2), (Bytes{7, 9}));
    EXPECT_EQ(Conv({0, 1}, 2, 1, PixelFormat_Confidence1, PixelFormat_Mono8, 2), (Bytes{0, 255}));
    EXPECT_EQ(Words(Conv({0x34, 0x12}, 1, 1, PixelFormat_Coord3D_C16, PixelFormat_Mono16, 2)),
              (std::vector<uint16_t>{0x1234}));
    // A single colour plane keeps its colour.
    EXPECT_EQ(Conv({200}, 1, 1, PixelFormat_R8, PixelFormat_RGB8, 3), (Bytes{200, 0, 0}));
    EXPECT_EQ(Conv({200}, 1, 1, PixelFormat_B8, PixelFormat_RGB8, 3), (Bytes{0, 0, 200}));
    EXPECT_EQ(Conv({200}, 1, 1, PixelFormat_G8, PixelFormat_Mono8, 1), (Bytes{200}));
}

TEST(ConvertMono, IdentityCopiesAnyFormat) {
    const Bytes src = Random(3 * 4 * 6, 3);
    EXPECT_EQ(Conv(src, 3, 4, PixelFormat_Coord3D_ABC16, PixelFormat_Coord3D_ABC16, src.size()), src);
    const Bytes packed = Random(9, 4); // 3x2 Mono12p, rows sharing a byte
    Bytes out(12, 0);
    Orvane::internal::Convert(View(packed, 3, 2, PixelFormat_Mono12p), Out(out, 3, 2, PixelFormat_Mono12p, 6),
                              COLOR_PROCESSING_DEFAULT, 1);
    // Row 1 (bits 36..71) lands at byte 6.
    EXPECT_EQ(Words(Conv(packed, 3, 2, PixelFormat_Mono12p, PixelFormat_Mono12, 12)), [&] {
        Bytes o(12);
        Orvane::internal::Convert(View(out, 3, 2, PixelFormat_Mono12p, 6), Out(o, 3, 2, PixelFormat_Mono12),
                                  COLOR_PROCESSING_DEFAULT, 1);
        return Words(o);
    }());
}
