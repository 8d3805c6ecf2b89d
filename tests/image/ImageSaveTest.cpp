// Image::Save: formats written as they are, conversions before writing,
// extensions, refusals, and files that cannot be written.
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <iterator>
#include <vector>

#include "../codecs/Decoders.h"
#include "Orvane/Image.h"
#include "Orvane/ImageProcessor.h"

using namespace Orvane;

namespace {

std::vector<uint8_t> Bytes(const std::string& path) {
    std::ifstream f(path, std::ios::binary);
    return std::vector<uint8_t>(std::istreambuf_iterator<char>(f), {});
}

int CodeOf(const std::function<void()>& f, std::string* message = nullptr) {
    try {
        f();
    } catch (const Exception& e) {
        if (message) *message = e.GetErrorMessage();
        return e.GetError();
    }
    return 0;
}

class ImageSaveTest : public ::testing::Test {
protected:
    void SetUp() override {
        char pattern[] = "/tmp/orvane-save-XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        dir = pattern;
    }
    void TearDown() override { ASSERT_EQ(std::system(("rm -rf " + dir).c_str()), 0); }
    std::string Path(const std::string& name) const { return dir + "/" + name; }
    std::string dir;
};

TEST_F(ImageSaveTest, Mono8PngIsExact) {
    std::vector<uint8_t> pixels(6 * 4);
    for (size_t i = 0; i < pixels.size(); ++i) pixels[i] = static_cast<uint8_t>(i * 11);
    ImagePtr image = Image::Create(6, 4, 0, 0, PixelFormat_Mono8, pixels.data());
    image->Save(Path("a.png"));
    const codectest::Decoded d = codectest::ReadPng(Path("a.png"));
    ASSERT_TRUE(d.ok) << d.error;
    EXPECT_EQ(d.width, 6u);
    EXPECT_EQ(d.height, 4u);
    EXPECT_EQ(d.channels, 1u);
    EXPECT_EQ(d.bitDepth, 8);
    for (size_t i = 0; i < pixels.size(); ++i) EXPECT_EQ(d.samples[i], pixels[i]) << i;
}

TEST_F(ImageSaveTest, PackedMonoIsWidenedToSixteenBits) {
    // Mono12p, two pixels: 0xABC and 0x123 in three bytes (lsb first).
    std::vector<uint8_t> packed = {0xBC, 0x3A, 0x12};
    ImagePtr image = Image::Create(2, 1, 0, 0, PixelFormat_Mono12p, packed.data());
    image->Save(Path("b.png"));
    const codectest::Decoded d = codectest::ReadPng(Path("b.png"));
    ASSERT_TRUE(d.ok) << d.error;
    EXPECT_EQ(d.bitDepth, 16);
    EXPECT_EQ(d.samples[0], 0xABCAu); // bit replication to 16 bits
    EXPECT_EQ(d.samples[1], 0x1231u);
    // BMP stores 8 bits: the top 8 bits of each pixel (one row, a palette image).
    image->Save(Path("b.bmp"));
    const std::vector<uint8_t> bmp = Bytes(Path("b.bmp"));
    ASSERT_GT(bmp.size(), 14u);
    const size_t pixelsAt = bmp[10] | (bmp[11] << 8) | (bmp[12] << 16) | (size_t(bmp[13]) << 24);
    ASSERT_GE(bmp.size(), pixelsAt + 2);
    EXPECT_EQ(bmp[pixelsAt], 0xAB);
    EXPECT_EQ(bmp[pixelsAt + 1], 0x12);
}

TEST_F(ImageSaveTest, BayerIsDemosaicedToColour) {
    std::vector<uint8_t> mosaic(8 * 8, 128);
    ImagePtr image = Image::Create(8, 8, 0, 0, PixelFormat_BayerRG8, mosaic.data());
    JPEGOption option;
    option.quality = 95;
    image->Save(Path("c.jpg"), option);
    const codectest::Decoded d = codectest::ReadJpeg(Path("c.jpg"));
    ASSERT_TRUE(d.ok) << d.error;
    EXPECT_EQ(d.channels, 3u);
    EXPECT_EQ(d.width, 8u);
    // A flat mosaic is flat grey in colour.
    for (uint32_t s : d.samples) EXPECT_NEAR(static_cast<int>(s), 128, 2);
}

TEST_F(ImageSaveTest, ExtensionChoosesTheFormat) {
    std::vector<uint8_t> rgb = {255, 0, 0, 0, 255, 0, 0, 0, 255, 9, 9, 9};
    ImagePtr image = Image::Create(2, 2, 0, 0, PixelFormat_RGB8, rgb.data());
    image->Save(Path("d.bmp"));
    image->Save(Path("e.x"), FileFormat_BMP);
    EXPECT_EQ(Bytes(Path("d.bmp")), Bytes(Path("e.x")));
    image->Save(Path("f.PPM"));
    const std::vector<uint8_t> ppm = Bytes(Path("f.PPM"));
    ASSERT_GE(ppm.size(), 12u);
    EXPECT_EQ(std::string(ppm.begin(), ppm.begin() + 2), "P6");
    EXPECT_EQ(std::vector<uint8_t>(ppm.end() - 12, ppm.end()), rgb);
    std::string message;
    EXPECT_EQ(CodeOf([&] { image->Save(Path("g.xyz")); }, &message), ORVANE_ERR_INVALID_ARGUMENT);
    EXPECT_NE(message.find("g.xyz"), std::string::npos);
}

TEST_F(ImageSaveTest, RawWritesTheBytesAsTheyAre) {
    std::vector<uint8_t> packed = {1, 2, 3, 4, 5, 6};
    ImagePtr image = Image::Create(4, 1, 0, 0, PixelFormat_Mono12p, packed.data());
    image->Save(Path("h.raw"));
    EXPECT_EQ(Bytes(Path("h.raw")), packed);
}

TEST_F(ImageSaveTest, UnsupportedFormatsAreRefusedNamingBoth) {
    std::vector<float> coords(4 * 3, 1.0f);
    ImagePtr image = Image::Create(2, 2, 0, 0, PixelFormat_Coord3D_ABC32f, coords.data());
    std::string message;
    EXPECT_EQ(CodeOf([&] { image->Save(Path("i.png")); }, &message), ORVANE_ERR_NOT_SUPPORTED);
    EXPECT_EQ(message, "Cannot save a Coord3D_ABC32f image as PNG: no conversion to a format it stores");
    EXPECT_NE(access(Path("i.png").c_str(), F_OK), 0);
    EXPECT_EQ(CodeOf([&] { Image::Create()->Save(Path("j.png")); }, &message), ORVANE_ERR_INVALID_BUFFER);
}

TEST_F(ImageSaveTest, UnwritablePlaceLeavesNothing) {
    std::vector<uint8_t> pixels(4, 7);
    ImagePtr image = Image::Create(2, 2, 0, 0, PixelFormat_Mono8, pixels.data());
    std::string message;
    EXPECT_EQ(CodeOf([&] { image->Save(Path("missing/k.png")); }, &message), ORVANE_ERR_IO);
    EXPECT_NE(message.find("missing/k.png"), std::string::npos);
    EXPECT_NE(access(Path("missing").c_str(), F_OK), 0);
}

} // namespace
