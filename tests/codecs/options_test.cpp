// Option records: the C records and the SDK's twins have one layout, and the
// C initialisers give the SDK's defaults.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <type_traits>

#include "Orvane/ImageFileOptions.h"
#include "OrvaneImageFileOptions.h"

extern "C" size_t orvTestCOptionLayout(size_t* out, size_t capacity);
extern "C" void orvTestCOptionDefaults(unsigned char out[7][72]);

using namespace Orvane;

#define ORV_SAME_LAYOUT(C, S)                                                   \
    static_assert(sizeof(C) == 72, #C " is 72 bytes");                          \
    static_assert(sizeof(S) == 72, #S " is 72 bytes");                          \
    static_assert(std::is_standard_layout<C>::value, #C " is standard-layout"); \
    static_assert(std::is_standard_layout<S>::value, #S " is standard-layout"); \
    static_assert(std::is_trivially_copyable<S>::value, #S " copies byte for byte")
#define ORV_SAME_FIELD(C, S, f)                                                              \
    static_assert(offsetof(C, f) == offsetof(S, f), #f " has one offset in " #C " and " #S); \
    static_assert(sizeof(C::f) == sizeof(S::f), #f " has one size in " #C " and " #S)

ORV_SAME_LAYOUT(orvPNGOption, PNGOption);
ORV_SAME_FIELD(orvPNGOption, PNGOption, interlaced);
ORV_SAME_FIELD(orvPNGOption, PNGOption, reserved0);
ORV_SAME_FIELD(orvPNGOption, PNGOption, compressionLevel);
ORV_SAME_FIELD(orvPNGOption, PNGOption, filter);
ORV_SAME_FIELD(orvPNGOption, PNGOption, reserved);

ORV_SAME_LAYOUT(orvPPMOption, PPMOption);
ORV_SAME_FIELD(orvPPMOption, PPMOption, binaryFile);
ORV_SAME_FIELD(orvPPMOption, PPMOption, reserved);

ORV_SAME_LAYOUT(orvPGMOption, PGMOption);
ORV_SAME_FIELD(orvPGMOption, PGMOption, binaryFile);
ORV_SAME_FIELD(orvPGMOption, PGMOption, reserved);

ORV_SAME_LAYOUT(orvTIFFOption, TIFFOption);
ORV_SAME_FIELD(orvTIFFOption, TIFFOption, compression);
ORV_SAME_FIELD(orvTIFFOption, TIFFOption, predictor);
ORV_SAME_FIELD(orvTIFFOption, TIFFOption, jpegQuality);
ORV_SAME_FIELD(orvTIFFOption, TIFFOption, deflateLevel);
ORV_SAME_FIELD(orvTIFFOption, TIFFOption, rowsPerStrip);
ORV_SAME_FIELD(orvTIFFOption, TIFFOption, reserved);

ORV_SAME_LAYOUT(orvJPEGOption, JPEGOption);
ORV_SAME_FIELD(orvJPEGOption, JPEGOption, quality);
ORV_SAME_FIELD(orvJPEGOption, JPEGOption, progressive);
ORV_SAME_FIELD(orvJPEGOption, JPEGOption, reserved0);
ORV_SAME_FIELD(orvJPEGOption, JPEGOption, chromaSubsampling);
ORV_SAME_FIELD(orvJPEGOption, JPEGOption, reserved);

ORV_SAME_LAYOUT(orvJPEG2000Option, JPEG2000Option);
ORV_SAME_FIELD(orvJPEG2000Option, JPEG2000Option, lossless);
ORV_SAME_FIELD(orvJPEG2000Option, JPEG2000Option, codestream);
ORV_SAME_FIELD(orvJPEG2000Option, JPEG2000Option, reserved0);
ORV_SAME_FIELD(orvJPEG2000Option, JPEG2000Option, compressionRatio);
ORV_SAME_FIELD(orvJPEG2000Option, JPEG2000Option, targetPSNR);
ORV_SAME_FIELD(orvJPEG2000Option, JPEG2000Option, numResolutions);
ORV_SAME_FIELD(orvJPEG2000Option, JPEG2000Option, reserved);

ORV_SAME_LAYOUT(orvBMPOption, BMPOption);
ORV_SAME_FIELD(orvBMPOption, BMPOption, topDown);
ORV_SAME_FIELD(orvBMPOption, BMPOption, keepAlpha);
ORV_SAME_FIELD(orvBMPOption, BMPOption, reserved);

// Formats and enumerations: one number for each name in C and C++.
static_assert(sizeof(orvImageFileFormat) == 4 && sizeof(ImageFileFormat) == 4, "formats are 32-bit");
static_assert(static_cast<uint32_t>(ORV_FILE_FORMAT_FROM_EXT) == 0xFFFFFFFFu, "from-extension is all ones");
static_assert(static_cast<uint32_t>(FileFormat_FromExt) == 0xFFFFFFFFu, "from-extension is all ones");
static_assert(int(ORV_FILE_FORMAT_PGM) == FileFormat_PGM && int(ORV_FILE_FORMAT_PPM) == FileFormat_PPM &&
                  int(ORV_FILE_FORMAT_BMP) == FileFormat_BMP && int(ORV_FILE_FORMAT_JPEG) == FileFormat_JPEG &&
                  int(ORV_FILE_FORMAT_JPEG2000) == FileFormat_JPEG2000 &&
                  int(ORV_FILE_FORMAT_TIFF) == FileFormat_TIFF && int(ORV_FILE_FORMAT_PNG) == FileFormat_PNG &&
                  int(ORV_FILE_FORMAT_RAW) == FileFormat_RAW,
              "file formats");
static_assert(int(ORV_PNG_FILTER_ADAPTIVE) == PNGFilter_Adaptive && int(ORV_PNG_FILTER_NONE) == PNGFilter_None &&
                  int(ORV_PNG_FILTER_SUB) == PNGFilter_Sub && int(ORV_PNG_FILTER_UP) == PNGFilter_Up &&
                  int(ORV_PNG_FILTER_AVERAGE) == PNGFilter_Average && int(ORV_PNG_FILTER_PAETH) == PNGFilter_Paeth,
              "PNG filters");
static_assert(int(ORV_TIFF_COMPRESSION_NONE) == TIFFCompression_None &&
                  int(ORV_TIFF_COMPRESSION_PACKBITS) == TIFFCompression_PackBits &&
                  int(ORV_TIFF_COMPRESSION_DEFLATE) == TIFFCompression_Deflate &&
                  int(ORV_TIFF_COMPRESSION_LZW) == TIFFCompression_LZW &&
                  int(ORV_TIFF_COMPRESSION_JPEG) == TIFFCompression_JPEG,
              "TIFF compression");
static_assert(int(ORV_TIFF_PREDICTOR_NONE) == TIFFPredictor_None &&
                  int(ORV_TIFF_PREDICTOR_HORIZONTAL) == TIFFPredictor_Horizontal,
              "TIFF predictors");
static_assert(int(ORV_JPEG_SUBSAMPLING_444) == JPEGSubsampling_444 &&
                  int(ORV_JPEG_SUBSAMPLING_422) == JPEGSubsampling_422 &&
                  int(ORV_JPEG_SUBSAMPLING_420) == JPEGSubsampling_420 &&
                  int(ORV_JPEG_SUBSAMPLING_440) == JPEGSubsampling_440 &&
                  int(ORV_JPEG_SUBSAMPLING_411) == JPEGSubsampling_411,
              "JPEG subsampling");

namespace {

std::vector<size_t> SdkLayout() {
    return {sizeof(PNGOption),
            offsetof(PNGOption, interlaced),
            offsetof(PNGOption, reserved0),
            offsetof(PNGOption, compressionLevel),
            offsetof(PNGOption, filter),
            offsetof(PNGOption, reserved),
            sizeof(PPMOption),
            offsetof(PPMOption, binaryFile),
            offsetof(PPMOption, reserved),
            sizeof(PGMOption),
            offsetof(PGMOption, binaryFile),
            offsetof(PGMOption, reserved),
            sizeof(TIFFOption),
            offsetof(TIFFOption, compression),
            offsetof(TIFFOption, predictor),
            offsetof(TIFFOption, jpegQuality),
            offsetof(TIFFOption, deflateLevel),
            offsetof(TIFFOption, rowsPerStrip),
            offsetof(TIFFOption, reserved),
            sizeof(JPEGOption),
            offsetof(JPEGOption, quality),
            offsetof(JPEGOption, progressive),
            offsetof(JPEGOption, reserved0),
            offsetof(JPEGOption, chromaSubsampling),
            offsetof(JPEGOption, reserved),
            sizeof(JPEG2000Option),
            offsetof(JPEG2000Option, lossless),
            offsetof(JPEG2000Option, codestream),
            offsetof(JPEG2000Option, reserved0),
            offsetof(JPEG2000Option, compressionRatio),
            offsetof(JPEG2000Option, targetPSNR),
            offsetof(JPEG2000Option, numResolutions),
            offsetof(JPEG2000Option, reserved),
            sizeof(BMPOption),
            offsetof(BMPOption, topDown),
            offsetof(BMPOption, keepAlpha),
            offsetof(BMPOption, reserved),
            static_cast<size_t>(FileFormat_FromExt)};
}

template <typename T>
std::vector<unsigned char> Bytes(const T& record) {
    std::vector<unsigned char> b(sizeof record);
    std::memcpy(b.data(), &record, sizeof record);
    return b;
}

} // namespace

TEST(ImageFileOptions, CCompilerSeesTheSdkLayout) {
    size_t c[64];
    const size_t n = orvTestCOptionLayout(c, 64);
    const std::vector<size_t> sdk = SdkLayout();
    ASSERT_EQ(n, sdk.size());
    for (size_t i = 0; i < n; ++i) EXPECT_EQ(c[i], sdk[i]) << "entry " << i;
}

TEST(ImageFileOptions, CInitialisersGiveTheSdkDefaults) {
    unsigned char c[7][72];
    std::memset(c, 0xA5, sizeof c);
    orvTestCOptionDefaults(c);
    EXPECT_EQ(std::vector<unsigned char>(c[0], c[0] + 72), Bytes(PNGOption()));
    EXPECT_EQ(std::vector<unsigned char>(c[1], c[1] + 72), Bytes(PPMOption()));
    EXPECT_EQ(std::vector<unsigned char>(c[2], c[2] + 72), Bytes(PGMOption()));
    EXPECT_EQ(std::vector<unsigned char>(c[3], c[3] + 72), Bytes(TIFFOption()));
    EXPECT_EQ(std::vector<unsigned char>(c[4], c[4] + 72), Bytes(JPEGOption()));
    EXPECT_EQ(std::vector<unsigned char>(c[5], c[5] + 72), Bytes(JPEG2000Option()));
    EXPECT_EQ(std::vector<unsigned char>(c[6], c[6] + 72), Bytes(BMPOption()));
}

TEST(ImageFileOptions, DocumentedDefaults) {
    PNGOption png;
    EXPECT_EQ(png.interlaced, 0);
    EXPECT_EQ(png.compressionLevel, 6);
    EXPECT_EQ(png.filter, uint32_t(PNGFilter_Adaptive));
    EXPECT_EQ(PPMOption().binaryFile, 1);
    EXPECT_EQ(PGMOption().binaryFile, 1);
    TIFFOption tiff;
    EXPECT_EQ(tiff.compression, uint32_t(TIFFCompression_None));
    EXPECT_EQ(tiff.predictor, uint32_t(TIFFPredictor_None));
    EXPECT_EQ(tiff.jpegQuality, 75);
    EXPECT_EQ(tiff.deflateLevel, 6);
    EXPECT_EQ(tiff.rowsPerStrip, 0u);
    JPEGOption jpeg;
    EXPECT_EQ(jpeg.quality, 90);
    EXPECT_EQ(jpeg.progressive, 0);
    EXPECT_EQ(jpeg.chromaSubsampling, uint32_t(JPEGSubsampling_420));
    JPEG2000Option jp2;
    EXPECT_EQ(jp2.lossless, 1);
    EXPECT_EQ(jp2.codestream, 0);
    EXPECT_EQ(jp2.compressionRatio, 10.0f);
    EXPECT_EQ(jp2.targetPSNR, 0.0f);
    EXPECT_EQ(jp2.numResolutions, 6u);
    BMPOption bmp;
    EXPECT_EQ(bmp.topDown, 0);
    EXPECT_EQ(bmp.keepAlpha, 1);
    // Reserved bytes are zero.
    for (unsigned char b : std::vector<unsigned char>(png.reserved, png.reserved + sizeof png.reserved))
        EXPECT_EQ(b, 0);
    for (unsigned char b : std::vector<unsigned char>(jp2.reserved, jp2.reserved + sizeof jp2.reserved))
        EXPECT_EQ(b, 0);
}

TEST(ImageFileOptions, CRecordCopiedByteForByteMeansTheSame) {
    orvJPEGOption c;
    orvJPEGOptionInit(&c);
    c.quality = 42;
    c.progressive = 7; // any non-zero byte is true
    c.chromaSubsampling = ORV_JPEG_SUBSAMPLING_444;
    JPEGOption s;
    std::memcpy(static_cast<void*>(&s), &c, sizeof c);
    EXPECT_EQ(s.quality, 42);
    EXPECT_EQ(s.progressive, 7);
    EXPECT_EQ(s.chromaSubsampling, uint32_t(JPEGSubsampling_444));
    orvJPEG2000Option c2;
    orvJPEG2000OptionInit(&c2);
    c2.compressionRatio = 25.5f;
    JPEG2000Option s2;
    std::memcpy(static_cast<void*>(&s2), &c2, sizeof c2);
    EXPECT_EQ(s2.compressionRatio, 25.5f);
}
