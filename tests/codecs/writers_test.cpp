// Image file writers: files read back with independent decoders and compared
// with the source pixels; every option field changes the file observably.
#include <gtest/gtest.h>

#include <set>

#include "CodecTestSupport.h"
#include "Decoders.h"
#include "codecs/ImageWriters.h"

using namespace Orvane;
using namespace Orvane::codecs;
using namespace codectest;

namespace {

const ChannelOrder kOrders[] = {ChannelOrder::Gray, ChannelOrder::RGB, ChannelOrder::BGR, ChannelOrder::RGBA,
                                ChannelOrder::BGRA};
const int kDepths[] = {8, 16};

std::string Kind(ChannelOrder order, int depth) { return std::to_string(depth) + "-bit " + ChannelOrderName(order); }

struct Writers : ::testing::Test {
    TempDir dir;
};

} // namespace

// ---------------------------------------------------------------- PNG

TEST_F(Writers, PngIsLosslessForEveryBufferKind) {
    for (ChannelOrder order : kOrders)
        for (int depth : kDepths) {
            SCOPED_TRACE(Kind(order, depth));
            TestImage img = MakeImage(37, 23, order, depth, 5);
            const std::string path = dir.File("a.png");
            WritePNG(path, img.buffer);
            PngInfo info;
            const Decoded d = ReadPng(path, &info);
            EXPECT_EQ(d.bitDepth, depth);
            EXPECT_TRUE(SamePixels(d, img.buffer, ChannelCount(order)));
            EXPECT_EQ(info.interlace, PNG_INTERLACE_NONE);
        }
}

TEST_F(Writers, PngInterlacedOption) {
    TestImage img = MakeImage(40, 30, ChannelOrder::RGB, 8);
    PNGOption o;
    o.interlaced = 1;
    WritePNG(dir.File("i.png"), img.buffer, o);
    PngInfo info;
    EXPECT_TRUE(SamePixels(ReadPng(dir.File("i.png"), &info), img.buffer, 3));
    EXPECT_EQ(info.interlace, PNG_INTERLACE_ADAM7);
}

TEST_F(Writers, PngCompressionLevelOption) {
    TestImage img = MakeImage(200, 120, ChannelOrder::RGB, 8);
    // The zlib stream header records the level class: 0-1 -> 0x01, 2-5 -> 0x5E, 6 -> 0x9C, 7-9 -> 0xDA.
    const struct {
        int level;
        uint8_t flg;
    } cases[] = {{0, 0x01}, {1, 0x01}, {3, 0x5E}, {6, 0x9C}, {9, 0xDA}};
    std::vector<size_t> sizes;
    for (const auto& c : cases) {
        PNGOption o;
        o.compressionLevel = c.level;
        const std::string path = dir.File("l" + std::to_string(c.level) + ".png");
        WritePNG(path, img.buffer, o);
        const std::vector<uint8_t> idat = PngIdat(ReadBytes(path));
        ASSERT_GE(idat.size(), 2u);
        EXPECT_EQ(idat[0], 0x78);
        EXPECT_EQ(idat[1], c.flg) << "level " << c.level;
        EXPECT_TRUE(SamePixels(ReadPng(path), img.buffer, 3));
        sizes.push_back(ReadBytes(path).size());
    }
    EXPECT_GT(sizes.front(), img.buffer.RowBytes() * img.buffer.height); // level 0 stores
    EXPECT_LT(sizes.back(), sizes.front() / 2);
}

TEST_F(Writers, PngFilterOption) {
    TestImage img = MakeImage(64, 16, ChannelOrder::Gray, 8);
    const struct {
        uint32_t filter;
        int rowFilter; // -1: libpng chooses per row
    } cases[] = {{PNGFilter_None, 0},    {PNGFilter_Sub, 1},   {PNGFilter_Up, 2},
                 {PNGFilter_Average, 3}, {PNGFilter_Paeth, 4}, {PNGFilter_Adaptive, -1}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.filter);
        PNGOption o;
        o.filter = c.filter;
        const std::string path = dir.File("f.png");
        WritePNG(path, img.buffer, o);
        EXPECT_TRUE(SamePixels(ReadPng(path), img.buffer, 1));
        const std::vector<uint8_t> raw = Inflate(PngIdat(ReadBytes(path)), 16 * 65);
        ASSERT_EQ(raw.size(), 16u * 65u);
        std::set<int> used;
        for (size_t y = 0; y < 16; ++y) used.insert(raw[y * 65]);
        if (c.rowFilter >= 0) {
            // The first row has no row above: Up and Paeth and Average are still the chosen type.
            EXPECT_EQ(used, std::set<int>{c.rowFilter});
        } else {
            EXPECT_GE(used.size(), 1u);
            EXPECT_FALSE(used.count(0) == 1 && used.size() == 1) << "adaptive chose no filtering at all";
        }
    }
}

// ---------------------------------------------------------------- JPEG

TEST_F(Writers, JpegQuality95ReachesForty_dB) {
    for (ChannelOrder order : kOrders) {
        SCOPED_TRACE(Kind(order, 8));
        TestImage img = MakeImage(160, 120, order, 8, 3);
        JPEGOption o;
        o.quality = 95;
        WriteJPEG(dir.File("a.jpg"), img.buffer, o);
        JpegInfo info;
        const Decoded d = ReadJpeg(dir.File("a.jpg"), &info);
        ASSERT_TRUE(d.ok) << d.error;
        const size_t channels = order == ChannelOrder::Gray ? 1 : 3;
        ASSERT_EQ(d.channels, channels);
        EXPECT_GE(PsnrOf(d, img.buffer, channels), 40.0);
        EXPECT_EQ(info.subsampling, order == ChannelOrder::Gray ? TJSAMP_GRAY : TJSAMP_420);
    }
}

TEST_F(Writers, JpegQualityOption) {
    TestImage img = MakeImage(160, 120, ChannelOrder::BGR, 8);
    double lastPsnr = 0;
    size_t lastSize = 0;
    for (int q : {10, 50, 90, 100}) {
        JPEGOption o;
        o.quality = q;
        WriteJPEG(dir.File("q.jpg"), img.buffer, o);
        const double psnr = PsnrOf(ReadJpeg(dir.File("q.jpg")), img.buffer, 3);
        const size_t size = ReadBytes(dir.File("q.jpg")).size();
        EXPECT_GT(psnr, lastPsnr) << "quality " << q;
        EXPECT_GT(size, lastSize) << "quality " << q;
        lastPsnr = psnr;
        lastSize = size;
    }
}

TEST_F(Writers, JpegProgressiveOption) {
    TestImage img = MakeImage(64, 48, ChannelOrder::RGB, 8);
    JPEGOption o;
    WriteJPEG(dir.File("b.jpg"), img.buffer, o);
    EXPECT_FALSE(JpegIsProgressive(ReadBytes(dir.File("b.jpg"))));
    o.progressive = 1;
    WriteJPEG(dir.File("p.jpg"), img.buffer, o);
    EXPECT_TRUE(JpegIsProgressive(ReadBytes(dir.File("p.jpg"))));
    EXPECT_GE(PsnrOf(ReadJpeg(dir.File("p.jpg")), img.buffer, 3), 35.0);
}

TEST_F(Writers, JpegChromaSubsamplingOption) {
    TestImage img = MakeImage(64, 48, ChannelOrder::RGB, 8);
    const struct {
        uint32_t option;
        int tj;
    } cases[] = {{JPEGSubsampling_444, TJSAMP_444},
                 {JPEGSubsampling_422, TJSAMP_422},
                 {JPEGSubsampling_420, TJSAMP_420},
                 {JPEGSubsampling_440, TJSAMP_440},
                 {JPEGSubsampling_411, TJSAMP_411}};
    for (const auto& c : cases) {
        JPEGOption o;
        o.chromaSubsampling = c.option;
        WriteJPEG(dir.File("s.jpg"), img.buffer, o);
        JpegInfo info;
        const Decoded d = ReadJpeg(dir.File("s.jpg"), &info);
        EXPECT_EQ(info.subsampling, c.tj) << c.option;
        EXPECT_GE(PsnrOf(d, img.buffer, 3), 30.0);
    }
    // Gray images have no chroma: the option does not matter.
    TestImage gray = MakeImage(64, 48, ChannelOrder::Gray, 8);
    JPEGOption o;
    o.chromaSubsampling = JPEGSubsampling_444;
    WriteJPEG(dir.File("g.jpg"), gray.buffer, o);
    JpegInfo info;
    ReadJpeg(dir.File("g.jpg"), &info);
    EXPECT_EQ(info.subsampling, TJSAMP_GRAY);
}

// ---------------------------------------------------------------- TIFF

TEST_F(Writers, TiffIsLosslessForEveryBufferKindAndLosslessCompression) {
    const struct {
        uint32_t option;
        uint16_t tag;
    } compressions[] = {{TIFFCompression_None, COMPRESSION_NONE},
                        {TIFFCompression_PackBits, COMPRESSION_PACKBITS},
                        {TIFFCompression_Deflate, COMPRESSION_ADOBE_DEFLATE},
                        {TIFFCompression_LZW, COMPRESSION_LZW}};
    for (const auto& comp : compressions)
        for (ChannelOrder order : kOrders)
            for (int depth : kDepths) {
                SCOPED_TRACE(Kind(order, depth) + " compression " + std::to_string(comp.option));
                TestImage img = MakeImage(33, 21, order, depth, 2);
                TIFFOption o;
                o.compression = comp.option;
                const std::string path = dir.File("a.tif");
                WriteTIFF(path, img.buffer, o);
                TiffInfo info;
                const Decoded d = ReadTiff(path, &info);
                EXPECT_TRUE(SamePixels(d, img.buffer, ChannelCount(order)));
                EXPECT_EQ(d.bitDepth, depth);
                EXPECT_EQ(info.compression, comp.tag);
                EXPECT_EQ(info.photometric, order == ChannelOrder::Gray ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB);
                EXPECT_EQ(info.extraSamples, ChannelCount(order) == 4 ? 1 : 0);
                if (ChannelCount(order) == 4) {
                    EXPECT_EQ(info.extraType, EXTRASAMPLE_UNASSALPHA);
                }
                EXPECT_FALSE(info.bigTiff);
            }
}

TEST_F(Writers, TiffJpegCompressionAndQualityOption) {
    TestImage img = MakeImage(96, 64, ChannelOrder::BGR, 8);
    std::vector<double> psnr;
    std::vector<size_t> size;
    for (int q : {20, 95}) {
        TIFFOption o;
        o.compression = TIFFCompression_JPEG;
        o.jpegQuality = q;
        WriteTIFF(dir.File("j.tif"), img.buffer, o);
        TiffInfo info;
        const Decoded d = ReadTiff(dir.File("j.tif"), &info);
        ASSERT_TRUE(d.ok) << d.error;
        EXPECT_EQ(info.compression, COMPRESSION_JPEG);
        psnr.push_back(PsnrOf(d, img.buffer, 3));
        size.push_back(ReadBytes(dir.File("j.tif")).size());
    }
    EXPECT_LT(psnr[0], psnr[1]);
    EXPECT_GE(psnr[1], 38.0);
    EXPECT_LT(size[0], size[1]);
    // Gray and RGBA work too.
    for (ChannelOrder order : {ChannelOrder::Gray, ChannelOrder::RGBA}) {
        TestImage other = MakeImage(40, 24, order, 8);
        TIFFOption o;
        o.compression = TIFFCompression_JPEG;
        o.jpegQuality = 95;
        WriteTIFF(dir.File("o.tif"), other.buffer, o);
        const Decoded d = ReadTiff(dir.File("o.tif"));
        ASSERT_TRUE(d.ok) << d.error;
        EXPECT_GE(PsnrOf(d, other.buffer, ChannelCount(order)), 30.0);
    }
}

TEST_F(Writers, TiffPredictorOption) {
    TestImage img = MakeImage(128, 64, ChannelOrder::RGB, 16);
    for (uint32_t comp : {uint32_t(TIFFCompression_Deflate), uint32_t(TIFFCompression_LZW)}) {
        TIFFOption o;
        o.compression = comp;
        WriteTIFF(dir.File("n.tif"), img.buffer, o);
        o.predictor = TIFFPredictor_Horizontal;
        WriteTIFF(dir.File("h.tif"), img.buffer, o);
        TiffInfo none, horizontal;
        EXPECT_TRUE(SamePixels(ReadTiff(dir.File("n.tif"), &none), img.buffer, 3));
        EXPECT_TRUE(SamePixels(ReadTiff(dir.File("h.tif"), &horizontal), img.buffer, 3));
        EXPECT_EQ(none.predictor, PREDICTOR_NONE);
        EXPECT_EQ(horizontal.predictor, PREDICTOR_HORIZONTAL);
        // Smooth content: differences compress better.
        EXPECT_LT(ReadBytes(dir.File("h.tif")).size(), ReadBytes(dir.File("n.tif")).size());
    }
    // Without Deflate or LZW the predictor is not used: no Predictor tag (317).
    for (uint32_t comp : {uint32_t(TIFFCompression_None), uint32_t(TIFFCompression_PackBits)}) {
        TIFFOption o;
        o.compression = comp;
        o.predictor = TIFFPredictor_Horizontal;
        WriteTIFF(dir.File("x.tif"), img.buffer, o);
        const std::vector<uint16_t> tags = TiffTags(ReadBytes(dir.File("x.tif")));
        EXPECT_EQ(std::count(tags.begin(), tags.end(), 317), 0);
        EXPECT_EQ(std::count(tags.begin(), tags.end(), 259), 1); // Compression is there
        EXPECT_TRUE(SamePixels(ReadTiff(dir.File("x.tif")), img.buffer, 3));
    }
    const std::vector<uint16_t> tags = TiffTags(ReadBytes(dir.File("h.tif")));
    EXPECT_EQ(std::count(tags.begin(), tags.end(), 317), 1);
}

TEST_F(Writers, TiffDeflateLevelOption) {
    TestImage img = MakeImage(256, 128, ChannelOrder::RGB, 8);
    TIFFOption o;
    o.compression = TIFFCompression_Deflate;
    o.deflateLevel = 1;
    WriteTIFF(dir.File("1.tif"), img.buffer, o);
    o.deflateLevel = 9;
    WriteTIFF(dir.File("9.tif"), img.buffer, o);
    EXPECT_TRUE(SamePixels(ReadTiff(dir.File("9.tif")), img.buffer, 3));
    EXPECT_LT(ReadBytes(dir.File("9.tif")).size(), ReadBytes(dir.File("1.tif")).size());
}

TEST_F(Writers, TiffRowsPerStripOption) {
    TestImage img = MakeImage(50, 45, ChannelOrder::Gray, 8);
    TIFFOption o;
    o.rowsPerStrip = 10;
    WriteTIFF(dir.File("s.tif"), img.buffer, o);
    TiffInfo info;
    EXPECT_TRUE(SamePixels(ReadTiff(dir.File("s.tif"), &info), img.buffer, 1));
    EXPECT_EQ(info.rowsPerStrip, 10u);
    EXPECT_EQ(info.strips, 5u);
    o.rowsPerStrip = 0; // about 8 KiB: the whole 2250-byte image in one strip
    WriteTIFF(dir.File("d.tif"), img.buffer, o);
    ReadTiff(dir.File("d.tif"), &info);
    EXPECT_EQ(info.strips, 1u);
    o.rowsPerStrip = 1000; // more than the image: one strip
    WriteTIFF(dir.File("m.tif"), img.buffer, o);
    ReadTiff(dir.File("m.tif"), &info);
    EXPECT_EQ(info.rowsPerStrip, 45u);
    EXPECT_EQ(info.strips, 1u);
}

// ---------------------------------------------------------------- JPEG 2000

TEST_F(Writers, Jpeg2000LosslessForEveryBufferKind) {
    for (ChannelOrder order : kOrders)
        for (int depth : kDepths) {
            SCOPED_TRACE(Kind(order, depth));
            TestImage img = MakeImage(35, 19, order, depth, 4);
            WriteJPEG2000(dir.File("a.jp2"), img.buffer);
            J2kInfo info;
            const Decoded d = ReadJ2k(dir.File("a.jp2"), &info);
            EXPECT_EQ(d.bitDepth, depth);
            EXPECT_TRUE(SamePixels(d, img.buffer, ChannelCount(order)));
            EXPECT_EQ(info.alpha, ChannelCount(order) == 4);
            EXPECT_EQ(info.colorSpace, order == ChannelOrder::Gray ? OPJ_CLRSPC_GRAY : OPJ_CLRSPC_SRGB);
        }
}

TEST_F(Writers, Jpeg2000LosslessAndRatioOptions) {
    TestImage img = MakeImage(128, 96, ChannelOrder::RGB, 8);
    const size_t raw = 128 * 96 * 3;
    JPEG2000Option o;
    o.lossless = 0;
    o.compressionRatio = 10;
    WriteJPEG2000(dir.File("r10.jp2"), img.buffer, o);
    o.compressionRatio = 40;
    WriteJPEG2000(dir.File("r40.jp2"), img.buffer, o);
    const size_t s10 = ReadBytes(dir.File("r10.jp2")).size();
    const size_t s40 = ReadBytes(dir.File("r40.jp2")).size();
    EXPECT_LE(s10, raw / 10 + 400); // the codestream meets the ratio; boxes add a few hundred bytes
    EXPECT_LE(s40, raw / 40 + 400);
    EXPECT_LT(s40, s10);
    const double p10 = PsnrOf(ReadJ2k(dir.File("r10.jp2")), img.buffer, 3);
    const double p40 = PsnrOf(ReadJ2k(dir.File("r40.jp2")), img.buffer, 3);
    EXPECT_GT(p10, p40);
    EXPECT_LT(p10, 1e9); // lossy: not exact
    EXPECT_GE(p10, 30.0);
}

TEST_F(Writers, Jpeg2000TargetPsnrOption) {
    TestImage img = MakeImage(128, 96, ChannelOrder::Gray, 8);
    JPEG2000Option o;
    o.lossless = 0;
    o.targetPSNR = 30;
    WriteJPEG2000(dir.File("p30.jp2"), img.buffer, o);
    o.targetPSNR = 45;
    WriteJPEG2000(dir.File("p45.jp2"), img.buffer, o);
    const double p30 = PsnrOf(ReadJ2k(dir.File("p30.jp2")), img.buffer, 1);
    const double p45 = PsnrOf(ReadJ2k(dir.File("p45.jp2")), img.buffer, 1);
    // OpenJPEG aims at the target; it does not meet it exactly.
    EXPECT_GE(p30, 25.0);
    EXPECT_LT(p30, 35.0);
    EXPECT_GE(p45, 42.0);
    EXPECT_GT(p45, p30 + 10.0);
    EXPECT_LT(ReadBytes(dir.File("p30.jp2")).size(), ReadBytes(dir.File("p45.jp2")).size());
}

TEST_F(Writers, Jpeg2000CodestreamOption) {
    TestImage img = MakeImage(40, 30, ChannelOrder::BGR, 16);
    JPEG2000Option o;
    WriteJPEG2000(dir.File("a.jp2"), img.buffer, o);
    o.codestream = 1;
    WriteJPEG2000(dir.File("a.j2k"), img.buffer, o);
    const std::vector<uint8_t> jp2 = ReadBytes(dir.File("a.jp2"));
    const std::vector<uint8_t> j2k = ReadBytes(dir.File("a.j2k"));
    const uint8_t signatureBox[12] = {0, 0, 0, 12, 'j', 'P', ' ', ' ', 0x0D, 0x0A, 0x87, 0x0A};
    ASSERT_GE(jp2.size(), 12u);
    EXPECT_EQ(std::memcmp(jp2.data(), signatureBox, 12), 0);
    ASSERT_GE(j2k.size(), 4u);
    EXPECT_EQ(j2k[0], 0xFF); // SOC
    EXPECT_EQ(j2k[1], 0x4F);
    EXPECT_EQ(j2k[2], 0xFF); // SIZ
    EXPECT_EQ(j2k[3], 0x51);
    EXPECT_TRUE(SamePixels(ReadJ2k(dir.File("a.j2k")), img.buffer, 3));
}

TEST_F(Writers, Jpeg2000ResolutionsOption) {
    TestImage img = MakeImage(64, 40, ChannelOrder::Gray, 8);
    for (uint32_t n : {1u, 3u, 6u}) {
        JPEG2000Option o;
        o.numResolutions = n;
        WriteJPEG2000(dir.File("r.jp2"), img.buffer, o);
        J2kInfo info;
        EXPECT_TRUE(SamePixels(ReadJ2k(dir.File("r.jp2"), &info), img.buffer, 1));
        EXPECT_EQ(info.numResolutions, int(n));
    }
    // A 5x3 image holds at most 2 resolutions (3 >= 2^1): 10 is lowered.
    TestImage tiny = MakeImage(5, 3, ChannelOrder::RGB, 8);
    JPEG2000Option o;
    o.numResolutions = 10;
    WriteJPEG2000(dir.File("t.jp2"), tiny.buffer, o);
    J2kInfo info;
    EXPECT_TRUE(SamePixels(ReadJ2k(dir.File("t.jp2"), &info), tiny.buffer, 3));
    EXPECT_EQ(info.numResolutions, 2);
}

// ---------------------------------------------------------------- BMP

TEST_F(Writers, BmpKnownByteLayoutGray) {
    // 3x2 gray: rows padded to 4 bytes, bottom-up, 256-entry gray palette.
    const uint8_t pixels[6] = {1, 2, 3, 4, 5, 6};
    PixelBuffer b;
    b.data = pixels;
    b.width = 3;
    b.height = 2;
    b.order = ChannelOrder::Gray;
    WriteBMP(dir.File("g.bmp"), b);
    const std::vector<uint8_t> f = ReadBytes(dir.File("g.bmp"));
    ASSERT_EQ(f.size(), 14u + 40u + 1024u + 8u);
    const uint8_t header[54] = {'B', 'M', 0x3E, 0x04, 0,    0,    0, 0, 0,    0,    0x36, 0x04, 0, 0, // file header
                                40,  0,   0,    0,    3,    0,    0, 0, 2,    0,    0,    0,    1, 0, 8, 0, 0, 0, 0, 0,
                                8,   0,   0,    0,    0x13, 0x0B, 0, 0, 0x13, 0x0B, 0,    0,    0, 1, 0, 0, 0, 0, 0, 0};
    EXPECT_EQ(std::vector<uint8_t>(f.begin(), f.begin() + 54), std::vector<uint8_t>(header, header + 54));
    for (int i = 0; i < 256; ++i) {
        EXPECT_EQ(f[54 + 4 * i], i);
        EXPECT_EQ(f[55 + 4 * i], i);
        EXPECT_EQ(f[56 + 4 * i], i);
        EXPECT_EQ(f[57 + 4 * i], 0);
    }
    const uint8_t data[8] = {4, 5, 6, 0, 1, 2, 3, 0};
    EXPECT_EQ(std::vector<uint8_t>(f.end() - 8, f.end()), std::vector<uint8_t>(data, data + 8));
}

TEST_F(Writers, BmpKnownByteLayoutColour) {
    // 2x1 RGB -> 24-bit BGR, one row padded to 8 bytes.
    const uint8_t rgb[6] = {10, 20, 30, 40, 50, 60};
    PixelBuffer b;
    b.data = rgb;
    b.width = 2;
    b.height = 1;
    b.order = ChannelOrder::RGB;
    WriteBMP(dir.File("c.bmp"), b);
    std::vector<uint8_t> f = ReadBytes(dir.File("c.bmp"));
    ASSERT_EQ(f.size(), 54u + 8u);
    EXPECT_EQ(Le32(f, 10), 54u);
    EXPECT_EQ(Le16(f, 28), 24);
    EXPECT_EQ(Le32(f, 30), 0u);
    EXPECT_EQ(Le32(f, 34), 8u);
    const uint8_t data[8] = {30, 20, 10, 60, 50, 40, 0, 0};
    EXPECT_EQ(std::vector<uint8_t>(f.begin() + 54, f.end()), std::vector<uint8_t>(data, data + 8));
    // 1x1 BGRA -> BITMAPV4HEADER, 32-bit, BI_BITFIELDS, masks and 'sRGB'.
    const uint8_t bgra[4] = {1, 2, 3, 4};
    b.data = bgra;
    b.width = 1;
    b.order = ChannelOrder::BGRA;
    WriteBMP(dir.File("a.bmp"), b);
    f = ReadBytes(dir.File("a.bmp"));
    ASSERT_EQ(f.size(), 14u + 108u + 4u);
    EXPECT_EQ(Le32(f, 10), 122u);
    EXPECT_EQ(Le32(f, 14), 108u);
    EXPECT_EQ(Le16(f, 28), 32);
    EXPECT_EQ(Le32(f, 30), 3u);
    EXPECT_EQ(Le32(f, 54), 0x00FF0000u);
    EXPECT_EQ(Le32(f, 58), 0x0000FF00u);
    EXPECT_EQ(Le32(f, 62), 0x000000FFu);
    EXPECT_EQ(Le32(f, 66), 0xFF000000u);
    EXPECT_EQ(Le32(f, 70), 0x73524742u);
    const uint8_t pixel[4] = {1, 2, 3, 4};
    EXPECT_EQ(std::vector<uint8_t>(f.begin() + 122, f.end()), std::vector<uint8_t>(pixel, pixel + 4));
}

TEST_F(Writers, BmpIsLosslessForEveryBufferKind) {
    for (ChannelOrder order : kOrders) {
        SCOPED_TRACE(Kind(order, 8));
        TestImage img = MakeImage(31, 17, order, 8, 3);
        WriteBMP(dir.File("a.bmp"), img.buffer);
        BmpInfo info;
        EXPECT_TRUE(SamePixels(ReadBmp(dir.File("a.bmp"), &info), img.buffer, ChannelCount(order)));
        EXPECT_EQ(info.height, 17);
        EXPECT_EQ(info.bitsPerPixel, ChannelCount(order) * 8);
    }
}

TEST_F(Writers, BmpTopDownOption) {
    TestImage img = MakeImage(9, 7, ChannelOrder::RGB, 8);
    BMPOption o;
    o.topDown = 1;
    WriteBMP(dir.File("t.bmp"), img.buffer, o);
    BmpInfo info;
    EXPECT_TRUE(SamePixels(ReadBmp(dir.File("t.bmp"), &info), img.buffer, 3));
    EXPECT_EQ(info.height, -7);
    // The first stored row is the image's first row.
    const std::vector<uint8_t> f = ReadBytes(dir.File("t.bmp"));
    EXPECT_EQ(f[54], img.bytes[2]);
    EXPECT_EQ(f[56], img.bytes[0]);
}

TEST_F(Writers, BmpKeepAlphaOption) {
    TestImage img = MakeImage(9, 7, ChannelOrder::RGBA, 8);
    BMPOption o;
    o.keepAlpha = 0;
    WriteBMP(dir.File("n.bmp"), img.buffer, o);
    BmpInfo info;
    EXPECT_TRUE(SamePixels(ReadBmp(dir.File("n.bmp"), &info), img.buffer, 3));
    EXPECT_EQ(info.bitsPerPixel, 24);
    EXPECT_EQ(info.headerSize, 40u);
    o.keepAlpha = 2; // any non-zero byte
    WriteBMP(dir.File("k.bmp"), img.buffer, o);
    EXPECT_TRUE(SamePixels(ReadBmp(dir.File("k.bmp"), &info), img.buffer, 4));
    EXPECT_EQ(info.bitsPerPixel, 32);
    EXPECT_EQ(info.masks[3], 0xFF000000u);
}

// ---------------------------------------------------------------- PGM, PPM

TEST_F(Writers, NetpbmKnownByteLayout) {
    const uint16_t gray16[3] = {0x0102, 0xA0B0, 7};
    PixelBuffer b;
    b.data = gray16;
    b.width = 3;
    b.height = 1;
    b.bitDepth = 16;
    WritePGM(dir.File("g.pgm"), b);
    const std::string expected16 = std::string("P5\n3 1\n65535\n") + std::string("\x01\x02\xA0\xB0\x00\x07", 6);
    const std::vector<uint8_t> f = ReadBytes(dir.File("g.pgm"));
    EXPECT_EQ(std::string(f.begin(), f.end()), expected16);

    const uint8_t bgr[6] = {1, 2, 3, 4, 5, 6};
    b.data = bgr;
    b.width = 2;
    b.bitDepth = 8;
    b.order = ChannelOrder::BGR;
    WritePPM(dir.File("c.ppm"), b);
    const std::vector<uint8_t> c = ReadBytes(dir.File("c.ppm"));
    EXPECT_EQ(std::string(c.begin(), c.end()), std::string("P6\n2 1\n255\n\x03\x02\x01\x06\x05\x04", 17));

    PPMOption ascii;
    ascii.binaryFile = 0;
    WritePPM(dir.File("a.ppm"), b, ascii);
    const std::vector<uint8_t> a = ReadBytes(dir.File("a.ppm"));
    EXPECT_EQ(std::string(a.begin(), a.end()), "P3\n2 1\n255\n3 2 1 6 5 4\n");
}

TEST_F(Writers, NetpbmBinaryOptionAndEveryBufferKind) {
    for (int depth : kDepths)
        for (bool binary : {true, false}) {
            SCOPED_TRACE(std::to_string(depth) + (binary ? " binary" : " ascii"));
            TestImage gray = MakeImage(41, 13, ChannelOrder::Gray, depth, 1);
            PGMOption go;
            go.binaryFile = binary ? 1 : 0;
            WritePGM(dir.File("a.pgm"), gray.buffer, go);
            NetpbmInfo info;
            EXPECT_TRUE(SamePixels(ReadNetpbm(dir.File("a.pgm"), &info), gray.buffer, 1));
            EXPECT_EQ(info.magic, binary ? "P5" : "P2");
            EXPECT_EQ(info.maxValue, depth == 16 ? 65535u : 255u);
            for (ChannelOrder order : {ChannelOrder::RGB, ChannelOrder::BGR}) {
                TestImage color = MakeImage(41, 13, order, depth, 1);
                PPMOption po;
                po.binaryFile = binary ? 1 : 0;
                WritePPM(dir.File("a.ppm"), color.buffer, po);
                EXPECT_TRUE(SamePixels(ReadNetpbm(dir.File("a.ppm"), &info), color.buffer, 3));
                EXPECT_EQ(info.magic, binary ? "P6" : "P3");
            }
        }
}

TEST_F(Writers, NetpbmAsciiLinesStayWithinSeventyCharacters) {
    TestImage img = MakeImage(100, 3, ChannelOrder::RGB, 16);
    PPMOption o;
    o.binaryFile = 0;
    WritePPM(dir.File("w.ppm"), img.buffer, o);
    const std::vector<uint8_t> f = ReadBytes(dir.File("w.ppm"));
    size_t column = 0, longest = 0, lines = 0;
    for (uint8_t ch : f) {
        if (ch == '\n') {
            longest = std::max(longest, column);
            column = 0;
            ++lines;
        } else {
            ++column;
        }
    }
    EXPECT_LE(longest, 70u);
    EXPECT_GT(lines, 3u + 3u * 4u); // header lines plus several lines per image row
    EXPECT_EQ(f.back(), '\n');
}

// ---------------------------------------------------------------- raw

TEST_F(Writers, RawDropsStridePaddingAndKeepsBytes) {
    TestImage img = MakeImage(7, 5, ChannelOrder::BGRA, 16, 6);
    WriteRaw(dir.File("a.raw"), img.buffer);
    const std::vector<uint8_t> f = ReadBytes(dir.File("a.raw"));
    ASSERT_EQ(f.size(), 7u * 5u * 8u);
    for (size_t y = 0; y < 5; ++y) EXPECT_EQ(std::memcmp(f.data() + y * 56, img.buffer.Row(y), 56), 0) << y;
    const uint8_t bytes[5] = {9, 8, 7, 6, 5};
    WriteRawBytes(dir.File("b.raw"), bytes, 5);
    EXPECT_EQ(ReadBytes(dir.File("b.raw")), std::vector<uint8_t>(bytes, bytes + 5));
}

// ---------------------------------------------------------------- formats and dispatch

TEST_F(Writers, FormatFromFileName) {
    EXPECT_EQ(FormatFromFileName("a.png"), FileFormat_PNG);
    EXPECT_EQ(FormatFromFileName("/x.y/a.JPG"), FileFormat_JPEG);
    EXPECT_EQ(FormatFromFileName("a.Jpeg"), FileFormat_JPEG);
    EXPECT_EQ(FormatFromFileName("a.tif"), FileFormat_TIFF);
    EXPECT_EQ(FormatFromFileName("a.TIFF"), FileFormat_TIFF);
    EXPECT_EQ(FormatFromFileName("a.bmp"), FileFormat_BMP);
    EXPECT_EQ(FormatFromFileName("a.ppm"), FileFormat_PPM);
    EXPECT_EQ(FormatFromFileName("a.pgm"), FileFormat_PGM);
    EXPECT_EQ(FormatFromFileName("a.jp2"), FileFormat_JPEG2000);
    EXPECT_EQ(FormatFromFileName("a.J2K"), FileFormat_JPEG2000);
    EXPECT_EQ(FormatFromFileName("a.b.raw"), FileFormat_RAW);
    Outcome o = Capture([] { FormatFromFileName("image.gif"); });
    EXPECT_EQ(o.code, ORVANE_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(o.message,
              "Cannot save image file 'image.gif': unknown file extension '.gif' (known extensions: .png "
              ".jpg .jpeg .tif .tiff .bmp .ppm .pgm .jp2 .j2k .raw)");
    o = Capture([] { FormatFromFileName("dir.png/image"); });
    EXPECT_EQ(o.code, ORVANE_ERR_INVALID_ARGUMENT);
    EXPECT_NE(o.message.find("'dir.png/image': the file name has no extension"), std::string::npos) << o.message;
    EXPECT_EQ(Capture([] { FormatFromFileName("image."); }).code, ORVANE_ERR_INVALID_ARGUMENT);
}

TEST_F(Writers, WriteImageFileFromExtensionMatchesTheFormatsWriter) {
    TestImage img = MakeImage(21, 11, ChannelOrder::BGR, 8);
    const struct {
        const char* name;
        ImageFileFormat format;
    } cases[] = {{"a.bmp", FileFormat_BMP},  {"a.png", FileFormat_PNG}, {"a.tif", FileFormat_TIFF},
                 {"a.jpg", FileFormat_JPEG}, {"a.ppm", FileFormat_PPM}, {"a.jp2", FileFormat_JPEG2000},
                 {"a.raw", FileFormat_RAW}};
    for (const auto& c : cases) {
        WriteImageFile(dir.File(c.name), img.buffer, FileFormat_FromExt);
        const std::vector<uint8_t> fromExt = ReadBytes(dir.File(c.name));
        WriteImageFile(dir.File(c.name), img.buffer, c.format);
        EXPECT_EQ(fromExt, ReadBytes(dir.File(c.name))) << c.name;
        EXPECT_FALSE(fromExt.empty());
    }
    // JPEG 2000 by extension: .j2k is a bare codestream, .jp2 a JP2 file.
    WriteImageFile(dir.File("c.J2K"), img.buffer, FileFormat_FromExt);
    EXPECT_EQ(ReadBytes(dir.File("c.J2K"))[1], 0x4F);
    EXPECT_TRUE(SamePixels(ReadJ2k(dir.File("c.J2K")), img.buffer, 3));
    WriteImageFile(dir.File("c.jp2"), img.buffer, FileFormat_FromExt);
    EXPECT_EQ(ReadBytes(dir.File("c.jp2"))[4], 'j');
    // The format argument wins over the extension.
    WriteImageFile(dir.File("b.png"), img.buffer, FileFormat_BMP);
    EXPECT_EQ(ReadBytes(dir.File("b.png"))[0], 'B');
    TestImage gray = MakeImage(21, 11, ChannelOrder::Gray, 8);
    WriteImageFile(dir.File("g.pgm"), gray.buffer, FileFormat_FromExt);
    EXPECT_TRUE(SamePixels(ReadNetpbm(dir.File("g.pgm")), gray.buffer, 1));
    const Outcome o = Capture([&] { WriteImageFile(dir.File("x.png"), img.buffer, static_cast<ImageFileFormat>(42)); });
    EXPECT_EQ(o.code, ORVANE_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(o.message, "Cannot save image file '" + dir.File("x.png") + "': unknown image file format 42");
}

TEST_F(Writers, AcceptanceTableMatchesTheWriters) {
    const ImageFileFormat formats[] = {FileFormat_PGM,      FileFormat_PPM,  FileFormat_BMP, FileFormat_JPEG,
                                       FileFormat_JPEG2000, FileFormat_TIFF, FileFormat_PNG, FileFormat_RAW};
    size_t accepted = 0;
    for (ImageFileFormat format : formats)
        for (ChannelOrder order : kOrders)
            for (int depth : kDepths) {
                SCOPED_TRACE(std::string(FileFormatName(format)) + " " + Kind(order, depth));
                TestImage img = MakeImage(8, 8, order, depth);
                const std::string path = dir.File("t.out");
                const Outcome o = Capture([&] { WriteImageFile(path, img.buffer, format); });
                if (WriterAccepts(format, order, depth)) {
                    ++accepted;
                    EXPECT_FALSE(o.threw) << o.message;
                    EXPECT_TRUE(Exists(path));
                    unlink(path.c_str());
                } else {
                    EXPECT_EQ(o.code, ORVANE_ERR_NOT_SUPPORTED);
                    EXPECT_EQ(o.message, "Cannot save image file '" + path + "': " + FileFormatName(format) +
                                             " cannot store a " + img.buffer.Describe() + " image");
                    EXPECT_FALSE(Exists(path));
                }
                EXPECT_EQ(dir.List(), std::vector<std::string>());
            }
    // PGM 2, PPM 4, BMP 5, JPEG 5, JPEG 2000 10, TIFF 10, PNG 10, raw 10.
    EXPECT_EQ(accepted, 56u);
    EXPECT_FALSE(WriterAccepts(FileFormat_FromExt, ChannelOrder::Gray, 8));
    EXPECT_FALSE(WriterAccepts(FileFormat_PNG, ChannelOrder::Gray, 12));
}
