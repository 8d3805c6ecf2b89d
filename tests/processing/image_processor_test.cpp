// Orvane::ImageProcessor on Orvane::Image objects.
#include <gtest/gtest.h>
#include <turbojpeg.h>

#include <cstring>
#include <string>
#include <vector>

#include "Orvane/ImageProcessor.h"
#include "SdkError.h"
#include "image/ImageAccess.h"

using namespace Orvane;

using orvtest::Failure;

namespace {

using Bytes = std::vector<uint8_t>;

ImagePtr Make(size_t w, size_t h, PixelFormatEnums f, const Bytes& data) {
    ImagePtr image = Image::Create(w, h, 0, 0, f);
    EXPECT_EQ(image->GetSize(), data.size());
    std::memcpy(image->GetData(), data.data(), data.size());
    return image;
}

Bytes Data(const ImagePtr& image) {
    const uint8_t* p = static_cast<const uint8_t*>(image->GetData());
    return Bytes(p, p + image->GetSize());
}

} // namespace

TEST(ImageProcessor, Settings) {
    ImageProcessor p;
    EXPECT_EQ(p.GetColorProcessing(), COLOR_PROCESSING_DEFAULT);
    EXPECT_EQ(p.GetNumDecompressionThreads(), 0u);
    p.SetColorProcessing(COLOR_PROCESSING_DIRECTIONAL);
    EXPECT_EQ(p.GetColorProcessing(), COLOR_PROCESSING_DIRECTIONAL);
    p.SetNumDecompressionThreads(3);
    EXPECT_EQ(p.GetNumDecompressionThreads(), 3u);
    const auto f = Failure([&] { p.SetColorProcessing(static_cast<ColorProcessingAlgorithm>(7)); });
    EXPECT_EQ(f.first, ORVANE_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(f.second, "Unknown colour processing algorithm 7");
    EXPECT_EQ(p.GetColorProcessing(), COLOR_PROCESSING_DIRECTIONAL);
    const ImageProcessor copy(p);
    EXPECT_EQ(copy.GetNumDecompressionThreads(), 3u);
}

TEST(ImageProcessor, ConvertReplacesTheDestination) {
    ImageProcessor p;
    const ImagePtr src = Image::Create(2, 1, 8, 4, PixelFormat_Mono8);
    static_cast<uint8_t*>(src->GetData())[0] = 10;
    static_cast<uint8_t*>(src->GetData())[1] = 200;
    internal::ImageMetadata m = internal::ImageAccess::Metadata(*src);
    m.frameId = 77;
    m.timestamp = 123456;
    internal::ImageAccess::SetMetadata(*src, m);
    ImagePtr dst = Image::Create();
    const ImagePtr before = dst;
    p.Convert(src, dst, PixelFormat_BGRa8);
    EXPECT_NE(dst, before);
    EXPECT_EQ(dst->GetPixelFormat(), PixelFormat_BGRa8);
    EXPECT_EQ(dst->GetWidth(), 2u);
    EXPECT_EQ(dst->GetHeight(), 1u);
    EXPECT_EQ(dst->GetOffsetX(), 8u);
    EXPECT_EQ(dst->GetOffsetY(), 4u);
    EXPECT_EQ(dst->GetFrameID(), 77u);
    EXPECT_EQ(dst->GetTimeStamp(), 123456u);
    EXPECT_EQ(dst->GetTLPixelFormat(), 0x02200017u);
    EXPECT_EQ(dst->GetColorProcessing(), COLOR_PROCESSING_NONE);
    EXPECT_EQ(Data(dst), (Bytes{10, 10, 10, 255, 200, 200, 200, 255}));
}

TEST(ImageProcessor, FailuresKeepTheDestination) {
    ImageProcessor p;
    const ImagePtr src = Make(2, 2, PixelFormat_Mono8, {1, 2, 3, 4});
    ImagePtr dst = Make(1, 1, PixelFormat_Mono8, {9});
    const ImagePtr before = dst;
    auto f = Failure([&] { p.Convert(src, dst, PixelFormat_BayerRG8); });
    EXPECT_EQ(f.first, ORVANE_ERR_NOT_SUPPORTED);
    EXPECT_EQ(f.second, "Conversion from Mono8 to BayerRG8 is not supported");
    EXPECT_EQ(dst, before);
    f = Failure([&] { p.Convert(ImagePtr(), dst, PixelFormat_RGB8); });
    EXPECT_EQ(f.first, ORVANE_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(f.second, "The source image is null");
    f = Failure([&] { p.Convert(Image::Create(), dst, PixelFormat_RGB8); });
    EXPECT_EQ(f.first, ORVANE_ERR_INVALID_BUFFER);
    EXPECT_EQ(f.second, "The source image has no data");
    f = Failure([&] { p.Convert(src, dst, static_cast<PixelFormatEnums>(900)); });
    EXPECT_EQ(f.first, ORVANE_ERR_NOT_SUPPORTED);
    EXPECT_EQ(f.second, "Conversion from Mono8 to pixel format 900 is not supported");
    f = Failure([&] { p.ApplyGamma(src, dst, 0.0f, true); });
    EXPECT_EQ(f.first, ORVANE_ERR_INVALID_ARGUMENT);
    f = Failure([&] { p.ApplyGamma(Make(2, 1, PixelFormat_YUV422_8, {1, 2, 3, 4}), dst, 2.0f, true); });
    EXPECT_EQ(f.first, ORVANE_ERR_NOT_SUPPORTED);
    EXPECT_EQ(f.second, "Gamma correction of YUV422_8 is not supported");
    EXPECT_EQ(dst, before);
    EXPECT_EQ(Data(dst), (Bytes{9}));
}

TEST(ImageProcessor, BayerSourcesRecordTheAlgorithm) {
    ImageProcessor p;
    const ImagePtr src = Make(4, 4, PixelFormat_BayerRG8, Bytes(16, 50));
    ImagePtr dst;
    p.Convert(src, dst, PixelFormat_RGB8);
    EXPECT_EQ(dst->GetColorProcessing(), COLOR_PROCESSING_BILINEAR); // DEFAULT resolved
    EXPECT_EQ(Data(dst), Bytes(48, 50));
    p.SetColorProcessing(COLOR_PROCESSING_EDGE_AWARE);
    p.Convert(src, dst, PixelFormat_Mono16);
    EXPECT_EQ(dst->GetColorProcessing(), COLOR_PROCESSING_EDGE_AWARE);
    EXPECT_EQ(dst->GetSize(), 32u);
}

TEST(ImageProcessor, JpegImagesTakeTheirSizeFromTheData) {
    const int w = 8, h = 4;
    std::vector<uint8_t> grey(w * h, 128);
    tjhandle tj = tjInitCompress();
    unsigned char* jpeg = nullptr;
    unsigned long size = 0;
    tjCompress2(tj, grey.data(), w, 0, h, TJPF_GRAY, &jpeg, &size, TJSAMP_GRAY, 95, 0);
    tjDestroy(tj);
    Bytes payload(jpeg, jpeg + size);
    tjFree(jpeg);
    const ImagePtr src =
        Image::Create(0, 0, 0, 0, PixelFormat_JPEGMono8, payload.data(), PayloadType_JPEG, payload.size());
    ImageProcessor p;
    ImagePtr dst;
    p.Convert(src, dst, PixelFormat_Mono8);
    EXPECT_EQ(dst->GetWidth(), 8u);
    EXPECT_EQ(dst->GetHeight(), 4u);
    EXPECT_EQ(Data(dst), Bytes(32, 128));
}

TEST(ImageProcessor, ImageListsAreStacked) {
    ImageProcessor p;
    ImageList list;
    ImagePtr dst;
    auto f = Failure([&] { p.Convert(list, dst, PixelFormat_RGB8); });
    EXPECT_EQ(f.first, ORVANE_ERR_NO_DATA);
    EXPECT_EQ(f.second, "The image list is empty");
    list.PushBack(Make(3, 2, PixelFormat_Mono8, {1, 2, 3, 4, 5, 6}));
    p.Convert(list, dst, PixelFormat_RGB8);
    EXPECT_EQ(dst->GetHeight(), 2u);
    list.PushBack(Make(3, 1, PixelFormat_RGB8, {7, 8, 9, 10, 11, 12, 13, 14, 15}));
    p.Convert(list, dst, PixelFormat_Mono8);
    EXPECT_EQ(dst->GetWidth(), 3u);
    EXPECT_EQ(dst->GetHeight(), 3u);
    EXPECT_EQ(Data(dst), (Bytes{1, 2, 3, 4, 5, 6, 8, 11, 14}));
    // Packed rows that do not end on a byte continue the stream.
    ImageList greys;
    greys.PushBack(Make(3, 2, PixelFormat_Mono8, {1, 2, 3, 4, 5, 6}));
    greys.PushBack(Make(3, 1, PixelFormat_Mono8, {8, 11, 14}));
    p.Convert(greys, dst, PixelFormat_Mono12p);
    ImagePtr whole;
    p.Convert(Make(3, 3, PixelFormat_Mono8, {1, 2, 3, 4, 5, 6, 8, 11, 14}), whole, PixelFormat_Mono12p);
    EXPECT_EQ(Data(dst), Data(whole));
    list.PushBack(Make(2, 1, PixelFormat_Mono8, {1, 2}));
    f = Failure([&] { p.Convert(list, dst, PixelFormat_Mono8); });
    EXPECT_EQ(f.first, ORVANE_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(f.second, "Image 2 of the list is 2 pixels wide, image 0 3");
}

TEST(ImageProcessor, ApplyGamma) {
    ImageProcessor p;
    const ImagePtr src = Make(3, 1, PixelFormat_Mono8, {16, 64, 128});
    ImagePtr dst;
    p.ApplyGamma(src, dst, 2.0f, true);
    EXPECT_EQ(dst->GetPixelFormat(), PixelFormat_Mono8);
    EXPECT_EQ(Data(dst), (Bytes{64, 128, 181}));
    p.ApplyGamma(src, dst, 2.0f, false);
    EXPECT_EQ(Data(dst), (Bytes{1, 16, 64}));
    EXPECT_EQ(Data(src), (Bytes{16, 64, 128}));
}
