// Saving, converting and measuring images through the C library.
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <vector>

#include "CapiFixture.h"
#include "Orvane/Image.h"
#include "Orvane/ImageList.h"
#include "Orvane/PixelFormatEnums.h"
#include "OrvaneUtilsC.h"

namespace {

std::vector<uint8_t> Bytes(const std::string& path) {
    std::ifstream f(path, std::ios::binary);
    return std::vector<uint8_t>(std::istreambuf_iterator<char>(f), {});
}

class ProcessingTest : public CapiTest {
protected:
    void SetUp() override {
        CapiTest::SetUp();
        char pattern[] = "/tmp/orvane-capi-proc-XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        dir = pattern;
        for (size_t i = 0; i < pixels.size(); ++i) pixels[i] = static_cast<uint8_t>(i * 16);
        ASSERT_EQ(orvImageCreateEx(&image, 4, 4, 0, 0, Orvane::PixelFormat_Mono8, pixels.data()), ORVANE_ERR_SUCCESS);
    }
    void TearDown() override {
        EXPECT_EQ(orvImageDestroy(image), ORVANE_ERR_SUCCESS);
        ASSERT_EQ(std::system(("rm -rf " + dir).c_str()), 0);
        CapiTest::TearDown();
    }
    // A record of the camera-image kind over an image the test made.
    orvObject* CameraImage() {
        orvObject* r = new orvObject(ORV_HANDLE_IMAGE_FROM_CAMERA);
        r->target = new Orvane::ImagePtr(Orvane::Image::Create(4, 4, 0, 0, Orvane::PixelFormat_BayerRG8));
        return r;
    }
    std::string dir;
    std::vector<uint8_t> pixels = std::vector<uint8_t>(16);
    orvImage image = nullptr;
};

TEST_F(ProcessingTest, SavingChecksImageFirst) {
    orvPNGOption png;
    orvPNGOptionInit(&png);
    const std::string file = dir + "/a.png";
    EXPECT_EQ(orvImageSavePng(image, file.c_str(), nullptr), ORVANE_ERR_INVALID_PARAMETER);
    EXPECT_EQ(orvImageSavePng(nullptr, nullptr, nullptr), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(orvImageSavePng(image, nullptr, &png), ORVANE_ERR_INVALID_PARAMETER);
    EXPECT_EQ(orvImageSavePng(system, file.c_str(), &png), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(orvImageSavePng(image, file.c_str(), &png), ORVANE_ERR_SUCCESS);
    EXPECT_GT(Bytes(file).size(), 8u);
    // An option outside its range is the SDK's error.
    png.compressionLevel = 12;
    EXPECT_EQ(orvImageSavePng(image, (dir + "/b.png").c_str(), &png), ORVANE_ERR_INVALID_ARGUMENT);
    EXPECT_NE(access((dir + "/b.png").c_str(), F_OK), 0);
}

TEST_F(ProcessingTest, FromExtIsSaveWithAllOnes) {
    const std::string a = dir + "/x.bmp", b = dir + "/y.bmp";
    EXPECT_EQ(orvImageSaveFromExt(image, a.c_str()), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvImageSave(image, b.c_str(), static_cast<orvImageFileFormat>(4294967295u)), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(Bytes(a), Bytes(b));
    EXPECT_EQ(Bytes(a)[0], 'B');
    EXPECT_EQ(orvImageSave(image, (dir + "/z.pgm").c_str(), ORV_FILE_FORMAT_PGM), ORVANE_ERR_SUCCESS);
    const std::vector<uint8_t> pgm = Bytes(dir + "/z.pgm");
    EXPECT_EQ(std::vector<uint8_t>(pgm.end() - 16, pgm.end()), pixels);
    EXPECT_EQ(orvImageSave(image, (dir + "/none/z.pgm").c_str(), ORV_FILE_FORMAT_PGM), ORVANE_ERR_IO);
}

TEST_F(ProcessingTest, ProcessorSettingsAndChecks) {
    orvImageProcessor p = nullptr;
    ASSERT_EQ(orvImageProcessorCreate(&p), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvImageProcessorSetColorProcessing(p, ORV_COLOR_PROCESSING_EDGE_AWARE), ORVANE_ERR_SUCCESS);
    orvColorProcessingAlgorithm a = ORV_COLOR_PROCESSING_DEFAULT;
    EXPECT_EQ(orvImageProcessorGetColorProcessing(p, &a), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(a, ORV_COLOR_PROCESSING_EDGE_AWARE);
    EXPECT_EQ(orvImageProcessorSetNumDecompressionThreads(p, 3), ORVANE_ERR_SUCCESS);
    unsigned threads = 0;
    EXPECT_EQ(orvImageProcessorGetNumDecompressionThreads(p, &threads), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(threads, 3u);
    EXPECT_EQ(orvImageProcessorGetNumDecompressionThreads(p, nullptr), ORVANE_ERR_INVALID_PARAMETER);
    EXPECT_EQ(orvImageProcessorSetColorProcessing(p, static_cast<orvColorProcessingAlgorithm>(77)),
              ORVANE_ERR_INVALID_ARGUMENT);
    // A processor is "Unknown handle" in messages.
    EXPECT_EQ(orvImageProcessorDestroy(image), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(LastText(orvErrorGetLastMessage), WrongHandle("Unknown handle", "User-created image"));
    EXPECT_EQ(orvImageProcessorDestroy(p), ORVANE_ERR_SUCCESS);
}

TEST_F(ProcessingTest, ConvertIntoAUserImage) {
    orvImageProcessor p = nullptr;
    orvImage out = nullptr;
    ASSERT_EQ(orvImageProcessorCreate(&p), ORVANE_ERR_SUCCESS);
    ASSERT_EQ(orvImageCreateEmpty(&out), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvImageProcessorConvert(p, image, nullptr, Orvane::PixelFormat_RGB8), ORVANE_ERR_INVALID_PARAMETER);
    EXPECT_EQ(orvImageProcessorConvert(p, nullptr, out, Orvane::PixelFormat_RGB8), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(orvImageProcessorConvert(p, image, out, Orvane::PixelFormat_RGB8), ORVANE_ERR_SUCCESS);
    size_t width = 0;
    orvPixelFormat format = -1;
    EXPECT_EQ(orvImageGetWidth(out, &width), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(width, 4u);
    EXPECT_EQ(orvImageGetPixelFormat(out, &format), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(format, Orvane::PixelFormat_RGB8);
    void* data = nullptr;
    EXPECT_EQ(orvImageGetData(out, &data), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(static_cast<uint8_t*>(data)[3 * 5 + 1], pixels[5]); // grey to RGB copies the value
    // A camera's image is a fine source and a refused destination.
    orvObject* camera = CameraImage();
    EXPECT_EQ(orvImageProcessorConvert(p, camera, out, Orvane::PixelFormat_BGR8), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvImageProcessorConvert(p, image, camera, Orvane::PixelFormat_BGR8), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(LastText(orvErrorGetLastMessage), WrongHandle("User-created image", "Image retrieved from camera"));
    // An unsupported pair leaves the destination as it was.
    EXPECT_EQ(orvImageProcessorConvert(p, image, out, Orvane::PixelFormat_Coord3D_ABC32f), ORVANE_ERR_NOT_SUPPORTED);
    EXPECT_EQ(orvImageGetPixelFormat(out, &format), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(format, Orvane::PixelFormat_BGR8);
    // Gamma.
    EXPECT_EQ(orvImageProcessorApplyGamma(p, image, out, 2.2f, 1), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvImageGetData(out, &data), ORVANE_ERR_SUCCESS);
    EXPECT_GT(static_cast<uint8_t*>(data)[4], pixels[4]); // encoding brightens mid-tones
    EXPECT_EQ(orvImageProcessorApplyGamma(p, image, nullptr, 2.2f, 1), ORVANE_ERR_INVALID_PARAMETER);
    // A list of two images becomes one stacked image.
    orvImageList list = nullptr;
    ASSERT_EQ(orvImageListCreateEmpty(&list), ORVANE_ERR_SUCCESS);
    auto* sdkList = static_cast<Orvane::ImageList*>(static_cast<orvObject*>(list)->target);
    sdkList->PushBack(*static_cast<Orvane::ImagePtr*>(static_cast<orvObject*>(image)->target));
    sdkList->PushBack(*static_cast<Orvane::ImagePtr*>(static_cast<orvObject*>(image)->target));
    EXPECT_EQ(orvImageProcessorConvertImageList(p, list, out, Orvane::PixelFormat_Mono8), ORVANE_ERR_SUCCESS);
    size_t height = 0;
    EXPECT_EQ(orvImageGetHeight(out, &height), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(height, 8u);
    EXPECT_EQ(orvImageProcessorConvertImageList(p, image, out, Orvane::PixelFormat_Mono8), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(orvImageListDestroy(list), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvImageRelease(camera), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvImageDestroy(out), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvImageProcessorDestroy(p), ORVANE_ERR_SUCCESS);
}

TEST_F(ProcessingTest, Statistics) {
    orvImageStatistics s = nullptr;
    ASSERT_EQ(orvImageStatisticsCreate(&s), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvImageStatisticsDisableAll(s), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvImageStatisticsSetChannelStatus(s, ORV_STATISTICS_CHANNEL_GREY, 2), ORVANE_ERR_SUCCESS);
    bool8_t enabled = 9;
    EXPECT_EQ(orvImageStatisticsGetChannelStatus(s, ORV_STATISTICS_CHANNEL_GREY, &enabled), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(enabled, 1);
    EXPECT_EQ(orvImageStatisticsGetChannelStatus(s, ORV_STATISTICS_CHANNEL_RED, &enabled), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(enabled, 0);
    EXPECT_EQ(orvImageCalculateStatistics(image, s), ORVANE_ERR_SUCCESS);
    // The image holds 0, 16 .. 240: the range is what Mono8 can hold, the pixel value range what is present.
    unsigned min = 1, max = 0, count = 0;
    EXPECT_EQ(orvImageStatisticsGetRange(s, ORV_STATISTICS_CHANNEL_GREY, &min, &max), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(min, 0u);
    EXPECT_EQ(max, 255u);
    min = 1;
    EXPECT_EQ(orvImageStatisticsGetPixelValueRange(s, ORV_STATISTICS_CHANNEL_GREY, &min, &max), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(min, 0u);
    EXPECT_EQ(max, 240u);
    EXPECT_EQ(orvImageStatisticsGetNumPixelValues(s, ORV_STATISTICS_CHANNEL_GREY, &count), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(count, 16u);
    float mean = 0;
    EXPECT_EQ(orvImageStatisticsGetMean(s, ORV_STATISTICS_CHANNEL_GREY, &mean), ORVANE_ERR_SUCCESS);
    EXPECT_FLOAT_EQ(mean, 120.0f);
    int* histogram = nullptr;
    EXPECT_EQ(orvImageStatisticsGetHistogram(s, ORV_STATISTICS_CHANNEL_GREY, &histogram), ORVANE_ERR_SUCCESS);
    ASSERT_NE(histogram, nullptr);
    EXPECT_EQ(histogram[0], 1);
    EXPECT_EQ(histogram[16], 1);
    EXPECT_EQ(histogram[1], 0);
    EXPECT_EQ(orvImageStatisticsGetMean(s, ORV_STATISTICS_CHANNEL_RED, &mean), ORVANE_ERR_NOT_AVAILABLE);
    // Check orders: max before min; GetAll checks every pointer before the kind.
    EXPECT_EQ(orvImageStatisticsGetRange(s, ORV_STATISTICS_CHANNEL_GREY, nullptr, &max), ORVANE_ERR_INVALID_PARAMETER);
    unsigned a = 0, b = 0, c = 0, d = 0, e = 0;
    EXPECT_EQ(orvImageStatisticsGetAll(system, ORV_STATISTICS_CHANNEL_GREY, &a, &b, &c, nullptr, &e, &mean, &histogram),
              ORVANE_ERR_INVALID_PARAMETER);
    EXPECT_EQ(orvImageStatisticsGetAll(system, ORV_STATISTICS_CHANNEL_GREY, &a, &b, &c, &d, &e, &mean, &histogram),
              ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(orvImageStatisticsGetAll(s, ORV_STATISTICS_CHANNEL_GREY, &a, &b, &c, &d, &e, &mean, &histogram),
              ORVANE_ERR_SUCCESS);
    EXPECT_EQ(a, 0u);
    EXPECT_EQ(b, 255u);
    EXPECT_EQ(c, 0u);
    EXPECT_EQ(d, 240u);
    EXPECT_EQ(e, 16u);
    EXPECT_EQ(orvImageCalculateStatistics(image, nullptr), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(orvImageCalculateStatistics(s, image), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(orvImageStatisticsDestroy(s), ORVANE_ERR_SUCCESS);
}

TEST_F(ProcessingTest, StatisticsRangesOfWideAndHslChannels) {
    // Mono12 in 16-bit containers: 100, 3000, 3000, 4000.
    uint16_t words[] = {100, 3000, 3000, 4000};
    orvImage wide = nullptr;
    ASSERT_EQ(orvImageCreateEx(&wide, 2, 2, 0, 0, Orvane::PixelFormat_Mono12, words), ORVANE_ERR_SUCCESS);
    orvImageStatistics s = nullptr;
    ASSERT_EQ(orvImageStatisticsCreate(&s), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvImageCalculateStatistics(wide, s), ORVANE_ERR_SUCCESS);
    unsigned min = 1, max = 0, count = 0;
    EXPECT_EQ(orvImageStatisticsGetRange(s, ORV_STATISTICS_CHANNEL_GREY, &min, &max), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(min, 0u);
    EXPECT_EQ(max, 4095u);
    EXPECT_EQ(orvImageStatisticsGetPixelValueRange(s, ORV_STATISTICS_CHANNEL_GREY, &min, &max), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(min, 100u);
    EXPECT_EQ(max, 4000u);
    EXPECT_EQ(orvImageStatisticsGetNumPixelValues(s, ORV_STATISTICS_CHANNEL_GREY, &count), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(count, 3u);
    // Hue, saturation and lightness are on 0..255 whatever the format.
    for (orvStatisticsChannel channel :
         {ORV_STATISTICS_CHANNEL_HUE, ORV_STATISTICS_CHANNEL_SATURATION, ORV_STATISTICS_CHANNEL_LIGHTNESS}) {
        min = 1;
        EXPECT_EQ(orvImageStatisticsGetRange(s, channel, &min, &max), ORVANE_ERR_SUCCESS);
        EXPECT_EQ(min, 0u) << channel;
        EXPECT_EQ(max, 255u) << channel;
    }
    // Lightness of grey is its top 8 bits: 100 >> 4 = 6, 4000 >> 4 = 250.
    EXPECT_EQ(orvImageStatisticsGetPixelValueRange(s, ORV_STATISTICS_CHANNEL_LIGHTNESS, &min, &max),
              ORVANE_ERR_SUCCESS);
    EXPECT_EQ(min, 6u);
    EXPECT_EQ(max, 250u);
    EXPECT_EQ(orvImageStatisticsGetPixelValueRange(s, ORV_STATISTICS_CHANNEL_HUE, &min, &max), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(min, 0u);
    EXPECT_EQ(max, 0u);
    EXPECT_EQ(orvImageStatisticsDestroy(s), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvImageDestroy(wide), ORVANE_ERR_SUCCESS);
}

} // namespace
