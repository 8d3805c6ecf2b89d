// Refused conversions, bad views, JPEG payloads and threaded conversions.
#include <gtest/gtest.h>
#include <turbojpeg.h>

#include <string>

#include "ProcessingTestUtil.h"
#include "SdkError.h"

using namespace Orvane;
using namespace orvtest;

namespace {

Bytes Jpeg(const Bytes& pixels, int w, int h, bool gray) {
    tjhandle tj = tjInitCompress();
    unsigned char* out = nullptr;
    unsigned long size = 0;
    tjCompress2(tj, pixels.data(), w, 0, h, gray ? TJPF_GRAY : TJPF_RGB, &out, &size, gray ? TJSAMP_GRAY : TJSAMP_444,
                95, 0);
    Bytes b(out, out + size);
    tjFree(out);
    tjDestroy(tj);
    return b;
}

Bytes TjDecode(const Bytes& jpeg, int w, int h, int format) {
    tjhandle tj = tjInitDecompress();
    Bytes out(static_cast<size_t>(w * h * tjPixelSize[format]));
    tjDecompress2(tj, jpeg.data(), jpeg.size(), out.data(), w, 0, h, format, 0);
    tjDestroy(tj);
    return out;
}

} // namespace

TEST(ConvertErrors, UnsupportedPairsNameBothFormats) {
    Bytes out(64);
    auto f = Failure([&] {
        Orvane::internal::Convert(View(Bytes(16), 4, 4, PixelFormat_Mono8), Out(out, 4, 4, PixelFormat_BayerRG8),
                                  COLOR_PROCESSING_DEFAULT, 1);
    });
    EXPECT_EQ(f.first, ORVANE_ERR_NOT_SUPPORTED);
    EXPECT_EQ(f.second, "Conversion from Mono8 to BayerRG8 is not supported");
    f = Failure([&] {
        Orvane::internal::Convert(View(Bytes(48), 4, 4, PixelFormat_Coord3D_ABC8), Out(out, 4, 4, PixelFormat_RGB8),
                                  COLOR_PROCESSING_DEFAULT, 1);
    });
    EXPECT_EQ(f.first, ORVANE_ERR_NOT_SUPPORTED);
    EXPECT_EQ(f.second, "Conversion from Coord3D_ABC8 to RGB8 is not supported");
    f = Failure([&] {
        Orvane::internal::Convert(View(Bytes(64), 4, 4, PixelFormat_Mono32f), Out(out, 4, 4, PixelFormat_Mono8),
                                  COLOR_PROCESSING_DEFAULT, 1);
    });
    EXPECT_EQ(f.second, "Conversion from Mono32f to Mono8 is not supported");
    EXPECT_FALSE(Orvane::internal::IsConversionSupported(PixelFormat_RGB8, PixelFormat_YCbCr601_422_8));
    EXPECT_FALSE(Orvane::internal::IsConversionSupported(PixelFormat_BiColorRGBG8, PixelFormat_RGB8));
    EXPECT_FALSE(Orvane::internal::IsConversionSupported(PixelFormat_JPEGColor8, PixelFormat_JPEGColor8));
    EXPECT_TRUE(Orvane::internal::IsConversionSupported(PixelFormat_JPEGColor8, PixelFormat_BGR8));
    EXPECT_TRUE(Orvane::internal::IsConversionSupported(PixelFormat_BayerGB10Packed, PixelFormat_Mono12p));
    EXPECT_TRUE(Orvane::internal::IsConversionSupported(PixelFormat_SCF1WBWG8, PixelFormat_SCF1WBWG8));
    EXPECT_FALSE(Orvane::internal::IsConversionSupported(UNKNOWN_PIXELFORMAT, PixelFormat_Mono8));
}

TEST(ConvertErrors, BadViews) {
    Bytes out(16);
    auto f = Failure([&] {
        Orvane::internal::Convert(View(Bytes(15), 4, 4, PixelFormat_Mono8), Out(out, 4, 4, PixelFormat_Mono8),
                                  COLOR_PROCESSING_DEFAULT, 1);
    });
    EXPECT_EQ(f.first, ORVANE_ERR_INVALID_BUFFER);
    EXPECT_EQ(f.second, "The source buffer holds 15 bytes; a 4x4 Mono8 image needs 16");
    f = Failure([&] {
        Orvane::internal::Convert(View(Bytes(16), 4, 4, PixelFormat_Mono8), Out(out, 4, 4, PixelFormat_Mono16),
                                  COLOR_PROCESSING_DEFAULT, 1);
    });
    EXPECT_EQ(f.first, ORVANE_ERR_INVALID_BUFFER);
    EXPECT_EQ(f.second, "The destination buffer holds 16 bytes; a 4x4 Mono16 image needs 32");
    f = Failure([&] {
        Orvane::internal::Convert(View(Bytes(16), 4, 4, PixelFormat_Mono8), Out(out, 2, 8, PixelFormat_Mono8),
                                  COLOR_PROCESSING_DEFAULT, 1);
    });
    EXPECT_EQ(f.first, ORVANE_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(f.second, "The destination is 2x8; the source is 4x4");
    f = Failure([&] {
        Orvane::internal::Convert(View(Bytes(16), 0, 4, PixelFormat_Mono8), Out(out, 0, 4, PixelFormat_Mono8),
                                  COLOR_PROCESSING_DEFAULT, 1);
    });
    EXPECT_EQ(f.first, ORVANE_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(f.second, "The destination image is empty (0x4)");
    f = Failure([&] {
        Orvane::internal::Convert(View(Bytes(16), 4, 4, PixelFormat_Mono8, 3), Out(out, 4, 4, PixelFormat_Mono8),
                                  COLOR_PROCESSING_DEFAULT, 1);
    });
    EXPECT_EQ(f.first, ORVANE_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(f.second, "The source stride 3 is smaller than a row of 4x4 Mono8 (4 bytes)");
    f = Failure([&] {
        Orvane::internal::Convert(View(Bytes(16), 4, 4, static_cast<PixelFormatEnums>(999)),
                                  Out(out, 4, 4, PixelFormat_Mono8), COLOR_PROCESSING_DEFAULT, 1);
    });
    EXPECT_EQ(f.first, ORVANE_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(f.second, "The source has an unknown pixel format (999)");
    f = Failure([&] {
        Orvane::internal::Convert(View(out, 4, 4, PixelFormat_Mono8), Out(out, 4, 4, PixelFormat_Mono8),
                                  COLOR_PROCESSING_DEFAULT, 1);
    });
    EXPECT_EQ(f.first, ORVANE_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(f.second, "The source and destination buffers overlap");
    f = Failure([&] {
        Orvane::internal::Convert(View(Bytes(16), 4, 4, PixelFormat_BayerRG8), Out(out, 4, 4, PixelFormat_Mono8),
                                  static_cast<ColorProcessingAlgorithm>(7), 1);
    });
    EXPECT_EQ(f.first, ORVANE_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(f.second, "Unknown colour processing algorithm 7");
    f = Failure([&] {
        Orvane::internal::MutableImageView v = Out(out, 4, 4, PixelFormat_Mono8);
        v.data = nullptr;
        Orvane::internal::Convert(View(Bytes(16), 4, 4, PixelFormat_Mono8), v, COLOR_PROCESSING_DEFAULT, 1);
    });
    EXPECT_EQ(f.first, ORVANE_ERR_INVALID_BUFFER);
    EXPECT_EQ(f.second, "The destination image has no buffer");
    f = Failure([&] {
        Orvane::internal::Convert(View(Bytes(16), SIZE_MAX / 4, 4, PixelFormat_Mono8),
                                  Out(out, SIZE_MAX / 4, 4, PixelFormat_Mono8), COLOR_PROCESSING_DEFAULT, 1);
    });
    EXPECT_EQ(f.first, ORVANE_ERR_INVALID_ARGUMENT);
}

TEST(ConvertErrors, JpegPayloads) {
    const int w = 16, h = 8;
    const Bytes rgb = Random(w * h * 3, 1);
    const Bytes jpeg = Jpeg(rgb, w, h, false);
    const Bytes expected = TjDecode(jpeg, w, h, TJPF_BGR);
    EXPECT_EQ(Conv(jpeg, w, h, PixelFormat_JPEGColor8, PixelFormat_BGR8, w * h * 3), expected);
    // A payload flagged JPEG whatever its pixel format says.
    Bytes out(w * h * 3);
    Orvane::internal::ImageView v = View(jpeg, w, h, PixelFormat_RGB8);
    v.jpeg = true;
    Orvane::internal::Convert(v, Out(out, w, h, PixelFormat_BGR8), COLOR_PROCESSING_DEFAULT, 2);
    EXPECT_EQ(out, expected);
    // Greyscale JPEG.
    const Bytes grey = Random(w * h, 2);
    const Bytes gj = Jpeg(grey, w, h, true);
    EXPECT_EQ(Conv(gj, w, h, PixelFormat_JPEGMono8, PixelFormat_Mono8, w * h), TjDecode(gj, w, h, TJPF_GRAY));
    // Corrupt and mismatched payloads.
    auto f = Failure([&] { Conv(Bytes{1, 2, 3, 4}, w, h, PixelFormat_JPEGColor8, PixelFormat_RGB8, w * h * 3); });
    EXPECT_EQ(f.first, ORVANE_ERR_CORRUPT_DATA);
    EXPECT_EQ(f.second.rfind("The payload is not a readable JPEG file: ", 0), 0u) << f.second;
    f = Failure([&] { Conv(jpeg, 8, 8, PixelFormat_JPEGColor8, PixelFormat_RGB8, 8 * 8 * 3); });
    EXPECT_EQ(f.first, ORVANE_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(f.second, "The JPEG payload holds a 16x8 image; the destination is 8x8");
    // A file cut inside its headers is refused; one cut inside its image data decodes as far as it goes.
    const Bytes headerOnly(jpeg.begin(), jpeg.begin() + 100);
    EXPECT_EQ(Failure([&] { Conv(headerOnly, w, h, PixelFormat_JPEGColor8, PixelFormat_RGB8, w * h * 3); }).first,
              ORVANE_ERR_CORRUPT_DATA);
    const Bytes cut(jpeg.begin(), jpeg.end() - 20);
    EXPECT_NO_THROW(Conv(cut, w, h, PixelFormat_JPEGColor8, PixelFormat_RGB8, w * h * 3));
}
