// Images the caller creates, image lists, and the two image kinds.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "CapiFixture.h"
#include "Orvane/ImageList.h"
#include "Orvane/PixelFormatEnums.h"
#include "OrvaneUtilsC.h"

namespace {

using ImageTest = CapiTest;

template <class T>
T Get(orvError (*getter)(orvImage, T*), orvImage image) {
    T value{};
    EXPECT_EQ(getter(image, &value), ORVANE_ERR_SUCCESS);
    return value;
}

TEST_F(ImageTest, CreatedImageOwnsAZeroedBuffer) {
    orvImage image = nullptr;
    ASSERT_EQ(orvImageCreateEx(&image, 5, 3, 2, 1, Orvane::PixelFormat_Mono12p, nullptr), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(Get(orvImageGetWidth, image), 5u);
    EXPECT_EQ(Get(orvImageGetHeight, image), 3u);
    EXPECT_EQ(Get(orvImageGetOffsetX, image), 2u);
    EXPECT_EQ(Get(orvImageGetOffsetY, image), 1u);
    EXPECT_EQ(Get(orvImageGetBitsPerPixel, image), 12u);
    EXPECT_EQ(Get(orvImageGetSize, image), 23u);  // 15 pixels of 12 bits, rounded up
    EXPECT_EQ(Get(orvImageGetStride, image), 8u); // 60 bits a line, rounded up
    EXPECT_EQ(Get(orvImageGetBufferSize, image), 23u);
    EXPECT_EQ(Get(orvImageGetPixelFormat, image), Orvane::PixelFormat_Mono12p);
    EXPECT_EQ(Get(orvImageGetTLPixelFormat, image), 0x010C0047u);
    EXPECT_EQ(Get(orvImageGetTLPixelFormatNamespace, image), ORV_PIXELFORMAT_NAMESPACE_PFNC_32BIT);
    EXPECT_EQ(Get(orvImageGetTLPayloadType, image), ORV_PAYLOAD_TYPE_IMAGE);
    EXPECT_EQ(Get(orvImageGetPayloadType, image), 1u);
    EXPECT_EQ(Get(orvImageIsIncomplete, image), 0);
    EXPECT_EQ(Get(orvImageGetStatus, image), ORV_IMAGE_STATUS_OK);
    EXPECT_EQ(Get(orvImageGetID, image), 0u);
    const uint8_t* data = static_cast<const uint8_t*>(Get(orvImageGetData, image));
    ASSERT_NE(data, nullptr);
    for (int i = 0; i < 23; ++i) EXPECT_EQ(data[i], 0) << i;
    char name[16];
    size_t length = sizeof name;
    EXPECT_EQ(orvImageGetPixelFormatName(image, name, &length), ORVANE_ERR_SUCCESS);
    EXPECT_STREQ(name, "Mono12p");
    EXPECT_EQ(length, 8u);
    EXPECT_EQ(orvImageGetPixelFormatName(image, nullptr, &length), ORVANE_ERR_INVALID_PARAMETER);
    EXPECT_EQ(orvImageDestroy(image), ORVANE_ERR_SUCCESS);
}

TEST_F(ImageTest, ImageOverCallerDataBorrowsIt) {
    std::vector<uint8_t> pixels = {1, 2, 3, 4, 5, 6};
    orvImage image = nullptr;
    ASSERT_EQ(orvImageCreateEx(&image, 3, 2, 0, 0, Orvane::PixelFormat_Mono8, pixels.data()), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(Get(orvImageGetData, image), pixels.data());
    pixels[4] = 99;
    EXPECT_EQ(static_cast<uint8_t*>(Get(orvImageGetData, image))[4], 99);
    // A copy owns its data.
    orvImage copy = nullptr;
    ASSERT_EQ(orvImageCreate(image, &copy), ORVANE_ERR_SUCCESS);
    EXPECT_NE(Get(orvImageGetData, copy), pixels.data());
    EXPECT_EQ(std::memcmp(Get(orvImageGetData, copy), pixels.data(), 6), 0);
    pixels[0] = 42;
    EXPECT_EQ(static_cast<uint8_t*>(Get(orvImageGetData, copy))[0], 1);
    // DeepCopy into an empty image.
    orvImage empty = nullptr;
    ASSERT_EQ(orvImageCreateEmpty(&empty), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(Get(orvImageGetData, empty), nullptr);
    EXPECT_EQ(Get(orvImageGetWidth, empty), 0u);
    ASSERT_EQ(orvImageDeepCopy(image, empty), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(Get(orvImageGetWidth, empty), 3u);
    EXPECT_EQ(static_cast<uint8_t*>(Get(orvImageGetData, empty))[0], 42);
    for (orvImage i : {image, copy, empty}) EXPECT_EQ(orvImageDestroy(i), ORVANE_ERR_SUCCESS);
}

TEST_F(ImageTest, CreateEx2TakesPayloadTypeAndSize) {
    std::vector<uint8_t> buffer(4 * 2 + 8, 7);
    orvImage image = nullptr;
    ASSERT_EQ(orvImageCreateEx2(&image, 4, 2, 0, 0, Orvane::PixelFormat_Mono8, buffer.data(),
                                ORV_PAYLOAD_TYPE_CHUNK_DATA, buffer.size()),
              ORVANE_ERR_SUCCESS);
    EXPECT_EQ(Get(orvImageGetBufferSize, image), 16u);
    EXPECT_EQ(Get(orvImageGetSize, image), 8u);
    EXPECT_EQ(Get(orvImageGetTLPayloadType, image), ORV_PAYLOAD_TYPE_CHUNK_DATA);
    EXPECT_EQ(Get(orvImageGetPayloadType, image), 0x4001u);
    EXPECT_EQ(orvImageDestroy(image), ORVANE_ERR_SUCCESS);
    // Too little data for the image.
    image = reinterpret_cast<orvImage>(0x1);
    EXPECT_EQ(
        orvImageCreateEx2(&image, 4, 4, 0, 0, Orvane::PixelFormat_Mono8, buffer.data(), ORV_PAYLOAD_TYPE_IMAGE, 15),
        ORVANE_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(image, reinterpret_cast<orvImage>(0x1));
    EXPECT_EQ(LastText(orvErrorGetLastMessage),
              "the data holds 15 bytes, fewer than the 16 bytes of a 4 x 4 Mono8 image");
}

TEST_F(ImageTest, BadFormatsAndSizesAreRefused) {
    orvImage image = nullptr;
    EXPECT_EQ(orvImageCreateEx(&image, 4, 4, 0, 0, 9999, nullptr), ORVANE_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(LastText(orvErrorGetLastMessage), "unknown pixel format 9999");
    EXPECT_EQ(orvImageCreateEx(&image, size_t(1) << 40, size_t(1) << 40, 0, 0, Orvane::PixelFormat_Mono8, nullptr),
              ORVANE_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(LastText(orvErrorGetLastMessage), "an image of 1099511627776 x 1099511627776 Mono8 pixels is too large");
    ASSERT_EQ(orvImageCreateEx(&image, 2, 2, 0, 0, Orvane::PixelFormat_Mono8, nullptr), ORVANE_ERR_SUCCESS);
    // A failed reset leaves the image as it was.
    EXPECT_EQ(orvImageReset(image, 2, 2, 0, 0, -7), ORVANE_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(Get(orvImageGetPixelFormat, image), Orvane::PixelFormat_Mono8);
    EXPECT_EQ(orvImageReset(image, 3, 1, 0, 0, Orvane::PixelFormat_RGB8), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(Get(orvImageGetSize, image), 9u);
    EXPECT_EQ(Get(orvImageGetStride, image), 9u);
    EXPECT_EQ(orvImageDestroy(image), ORVANE_ERR_SUCCESS);
}

TEST_F(ImageTest, CheckOrders) {
    EXPECT_EQ(orvImageCreate(nullptr, nullptr), ORVANE_ERR_INVALID_PARAMETER);
    EXPECT_EQ(orvImageDeepCopy(nullptr, nullptr), ORVANE_ERR_INVALID_HANDLE);
    orvImage image = nullptr;
    ASSERT_EQ(orvImageCreateEmpty(&image), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvImageDeepCopy(image, nullptr), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(orvImageDeepCopy(image, system), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(LastText(orvErrorGetLastMessage), WrongHandle("Image handle", "System handle"));
    EXPECT_EQ(LastLine(), 333);
    size_t width = 0;
    EXPECT_EQ(orvImageGetWidth(nullptr, nullptr), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(orvImageGetWidth(system, nullptr), ORVANE_ERR_INVALID_PARAMETER);
    EXPECT_EQ(orvImageGetWidth(system, &width), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(orvImageCreateEmpty(nullptr), ORVANE_ERR_INVALID_PARAMETER);
    EXPECT_EQ(orvImageDestroy(image), ORVANE_ERR_SUCCESS);
}

TEST_F(ImageTest, TheTwoKindsAreNotInterchangeable) {
    orvImage image = nullptr;
    ASSERT_EQ(orvImageCreateEmpty(&image), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvImageRelease(image), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(LastText(orvErrorGetLastMessage), WrongHandle("Image retrieved from camera", "User-created image"));
    // A camera's image (a record of that kind over an image the caller made).
    orvObject* fromCamera = new orvObject(ORV_HANDLE_IMAGE_FROM_CAMERA);
    fromCamera->target = new Orvane::ImagePtr(Orvane::Image::Create(2, 2, 0, 0, Orvane::PixelFormat_Mono8));
    EXPECT_EQ(orvImageDestroy(fromCamera), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(LastText(orvErrorGetLastMessage), WrongHandle("User-created image", "Image retrieved from camera"));
    EXPECT_EQ(orvImageReset(fromCamera, 1, 1, 0, 0, 0), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(Get(orvImageGetWidth, fromCamera), 2u);
    EXPECT_EQ(orvImageDeepCopy(fromCamera, image), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvImageRelease(fromCamera), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvImageDestroy(image), ORVANE_ERR_SUCCESS);
}

TEST_F(ImageTest, StatusDescriptionIsALengthQuery) {
    size_t length = 0;
    EXPECT_EQ(orvImageGetStatusDescription(ORV_IMAGE_STATUS_MISSING_PACKETS, nullptr, &length), ORVANE_ERR_SUCCESS);
    const std::string text = "The image is incomplete: packets were lost and not resent in time.";
    EXPECT_EQ(length, text.size() + 1);
    std::string buffer(length, 'x');
    EXPECT_EQ(orvImageGetStatusDescription(ORV_IMAGE_STATUS_MISSING_PACKETS, &buffer[0], &length), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(buffer.c_str(), text);
    EXPECT_EQ(orvImageGetStatusDescription(ORV_IMAGE_STATUS_OK, nullptr, nullptr), ORVANE_ERR_INVALID_PARAMETER);
}

TEST_F(ImageTest, ImageLists) {
    orvImageList list = nullptr, other = nullptr;
    ASSERT_EQ(orvImageListCreateEmpty(&list), ORVANE_ERR_SUCCESS);
    ASSERT_EQ(orvImageListCreateEmpty(&other), ORVANE_ERR_SUCCESS);
    Orvane::ImageList* sdk = static_cast<Orvane::ImageList*>(static_cast<orvObject*>(list)->target);
    sdk->PushBack(Orvane::Image::Create(2, 2, 0, 0, Orvane::PixelFormat_Mono8));
    sdk->PushBack(Orvane::Image::Create(2, 2, 0, 0, Orvane::PixelFormat_RGB8));
    size_t n = 0;
    EXPECT_EQ(orvImageListGetSize(list, &n), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(n, 2u);
    orvImage image = nullptr;
    ASSERT_EQ(orvImageListGetByPixelFormat(list, Orvane::PixelFormat_RGB8, &image), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(static_cast<orvObject*>(image)->tag, ORV_HANDLE_IMAGE);
    EXPECT_EQ(Get(orvImageGetPixelFormat, image), Orvane::PixelFormat_RGB8);
    // The generic kind is accepted where any image is, refused where a specific kind is.
    EXPECT_EQ(orvImageRelease(image), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(LastText(orvErrorGetLastMessage), WrongHandle("Image retrieved from camera", "Image handle"));
    EXPECT_EQ(orvImageDestroy(image), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(orvImageListGetByPixelFormat(list, Orvane::PixelFormat_Mono16, &image), ORVANE_ERR_NO_DATA);
    EXPECT_EQ(LastText(orvErrorGetLastMessage), "ImageList: no image has the pixel format Mono16");
    orvImage first = nullptr;
    ASSERT_EQ(orvImageListGet(list, 0, &first), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(Get(orvImageGetPixelFormat, first), Orvane::PixelFormat_Mono8);
    EXPECT_EQ(orvImageListGet(list, 2, &first), ORVANE_ERR_OUT_OF_RANGE);
    EXPECT_EQ(orvImageListAppend(other, list), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvImageListAppend(other, system), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(LastText(orvErrorGetLastMessage), WrongHandle("Unknown handle", "System handle"));
    EXPECT_EQ(orvImageListRemoveByPixelFormat(other, Orvane::PixelFormat_Mono8), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvImageListGetSize(other, &n), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(n, 1u);
    EXPECT_EQ(orvImageListRemoveByPixelFormat(other, Orvane::PixelFormat_Mono8), ORVANE_ERR_NO_DATA);
    EXPECT_EQ(orvImageListRemove(other, 0), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvImageListRemove(other, 0), ORVANE_ERR_OUT_OF_RANGE);
    EXPECT_EQ(orvImageListRelease(list), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvImageListGetSize(list, &n), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(n, 0u);
    // The image handles outlive the list's contents: they hold their own reference.
    EXPECT_EQ(Get(orvImageGetWidth, image), 2u);
    EXPECT_EQ(orvImageListClear(list), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvImageListDestroy(list), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvImageListDestroy(other), ORVANE_ERR_SUCCESS);
    // Generic image handles can be freed by neither Destroy nor Release; the
    // test frees them itself.
    for (orvImage h : {image, first}) {
        delete static_cast<Orvane::ImagePtr*>(static_cast<orvObject*>(h)->target);
        delete static_cast<orvObject*>(h);
    }
}

} // namespace

namespace {

TEST_F(ImageTest, ImageListFilesRoundTrip) {
    char dir[] = "/tmp/orvane-capi-XXXXXX";
    ASSERT_NE(mkdtemp(dir), nullptr);
    const std::string file = std::string(dir) + "/frames.orvlist";
    orvImageList list = nullptr;
    ASSERT_EQ(orvImageListCreateEmpty(&list), ORVANE_ERR_SUCCESS);
    Orvane::ImageList* sdk = static_cast<Orvane::ImageList*>(static_cast<orvObject*>(list)->target);
    std::vector<uint8_t> mono = {1, 2, 3, 4, 5, 6, 7, 8, 0xC0, 0xFF, 0xEE, 0x01}; // 8 pixels + 4 chunk bytes
    sdk->PushBack(Orvane::Image::Create(4, 2, 3, 5, Orvane::PixelFormat_Mono8, mono.data(),
                                        Orvane::PayloadType_ChunkData, mono.size()));
    sdk->PushBack(Orvane::Image::Create(3, 1, 0, 0, Orvane::PixelFormat_RGB8));
    ASSERT_EQ(orvImageListSave(list, file.c_str()), ORVANE_ERR_SUCCESS);
    orvImageList loaded = nullptr;
    ASSERT_EQ(orvImageListLoad(&loaded, file.c_str()), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(static_cast<orvObject*>(loaded)->tag, ORV_HANDLE_IMAGE_LIST);
    const Orvane::ImageList& back = *static_cast<Orvane::ImageList*>(static_cast<orvObject*>(loaded)->target);
    ASSERT_EQ(back.GetSize(), 2u);
    Orvane::ImagePtr first = back[0];
    EXPECT_EQ(first->GetWidth(), 4u);
    EXPECT_EQ(first->GetHeight(), 2u);
    EXPECT_EQ(first->GetOffsetX(), 3u);
    EXPECT_EQ(first->GetOffsetY(), 5u);
    EXPECT_EQ(first->GetPixelFormat(), Orvane::PixelFormat_Mono8);
    EXPECT_EQ(first->GetTLPayloadType(), Orvane::PayloadType_ChunkData);
    EXPECT_EQ(first->GetPayloadType(), 0x4001u);
    EXPECT_EQ(first->GetSize(), 8u);
    EXPECT_EQ(std::memcmp(first->GetData(), mono.data(), 8), 0);
    size_t chunkSize = 0;
    const uint8_t* chunk = first->GetChunkBytes(&chunkSize);
    ASSERT_EQ(chunkSize, 4u);
    EXPECT_EQ(std::memcmp(chunk, mono.data() + 8, 4), 0);
    EXPECT_EQ(back[1]->GetPixelFormat(), Orvane::PixelFormat_RGB8);
    EXPECT_EQ(back[1]->GetSize(), 9u);
    // A damaged file: the exact code, nothing written to the out-pointer.
    {
        FILE* f = std::fopen(file.c_str(), "r+b");
        ASSERT_NE(f, nullptr);
        std::fseek(f, 100, SEEK_SET);
        std::fputc(0x5A, f);
        std::fclose(f);
    }
    orvImageList bad = reinterpret_cast<orvImageList>(0x1);
    EXPECT_EQ(orvImageListLoad(&bad, file.c_str()), ORVANE_ERR_CORRUPT_DATA);
    EXPECT_EQ(bad, reinterpret_cast<orvImageList>(0x1));
    EXPECT_EQ(orvImageListLoad(&bad, (std::string(dir) + "/missing").c_str()), ORVANE_ERR_IO);
    EXPECT_EQ(orvImageListLoad(&bad, nullptr), ORVANE_ERR_IO);
    EXPECT_EQ(orvImageListLoad(nullptr, file.c_str()), ORVANE_ERR_INVALID_PARAMETER);
    EXPECT_EQ(orvImageListSave(list, (std::string(dir) + "/no/such/dir/x").c_str()), ORVANE_ERR_IO);
    EXPECT_NE(LastText(orvErrorGetLastMessage).find("no/such/dir/x"), std::string::npos);
    EXPECT_EQ(orvImageListSave(nullptr, file.c_str()), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(orvImageListDestroy(loaded), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvImageListDestroy(list), ORVANE_ERR_SUCCESS);
    std::remove(file.c_str());
    rmdir(dir);
}

} // namespace
