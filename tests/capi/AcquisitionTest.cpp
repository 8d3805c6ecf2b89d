// Acquisition and chunk data through the C library, on the virtual camera:
// check orders, the two image kinds, timeouts, synchronised lists, and chunk
// values by name with the silent refusal of unknown names.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "CapiFixture.h"
#include "OrvaneUtilsC.h"

namespace {

int untouchedTarget;
orvImage const kUntouched = &untouchedTarget; // an out-pointer value no call may write

class AcquisitionTest : public CapiTest {
protected:
    void SetUp() override {
        setenv("ORVANE_TRANSPORTS", "virtual", 1);
        CapiTest::SetUp();
        ASSERT_EQ(orvCameraListCreateEmpty(&cameras), ORVANE_ERR_SUCCESS);
        ASSERT_EQ(orvSystemGetCameras(system, cameras), ORVANE_ERR_SUCCESS);
        ASSERT_EQ(orvCameraListGetBySerial(cameras, "VC0001", &camera), ORVANE_ERR_SUCCESS);
        ASSERT_EQ(orvCameraInit(camera), ORVANE_ERR_SUCCESS);
        ASSERT_EQ(orvCameraGetNodeMap(camera, &map), ORVANE_ERR_SUCCESS);
        // Small, fast frames.
        SetInt("Width", 64);
        SetInt("Height", 16);
        SetFloat("ExposureTime", 100.0);
        SetFloat("AcquisitionFrameRate", 1000.0);
    }
    void TearDown() override {
        if (camera) {
            bool8_t streaming = 0;
            EXPECT_EQ(orvCameraIsStreaming(camera, &streaming), ORVANE_ERR_SUCCESS);
            if (streaming) {
                EXPECT_EQ(orvCameraEndAcquisition(camera), ORVANE_ERR_SUCCESS);
            }
            EXPECT_EQ(orvCameraDeInit(camera), ORVANE_ERR_SUCCESS);
            EXPECT_EQ(orvCameraRelease(camera), ORVANE_ERR_SUCCESS);
        }
        EXPECT_EQ(orvCameraListDestroy(cameras), ORVANE_ERR_SUCCESS);
        CapiTest::TearDown();
    }

    orvNodeHandle Node(const char* name) {
        orvNodeHandle node = nullptr;
        EXPECT_EQ(orvNodeMapGetNode(map, name, &node), ORVANE_ERR_SUCCESS) << name;
        return node;
    }
    void SetInt(const char* name, int64_t v) {
        ASSERT_EQ(orvIntegerSetValue(Node(name), v), ORVANE_ERR_SUCCESS) << name;
    }
    void SetFloat(const char* name, double v) {
        ASSERT_EQ(orvFloatSetValue(Node(name), v), ORVANE_ERR_SUCCESS) << name;
    }
    void SetBool(const char* name, bool v) { ASSERT_EQ(orvBooleanSetValue(Node(name), v), ORVANE_ERR_SUCCESS) << name; }
    void SetText(const char* name, const char* v) {
        ASSERT_EQ(orvNodeFromString(Node(name), v), ORVANE_ERR_SUCCESS) << name;
    }
    void Execute(const char* name) { ASSERT_EQ(orvCommandExecute(Node(name)), ORVANE_ERR_SUCCESS) << name; }

    void EnableChunks(const std::vector<const char*>& selectors) {
        SetBool("ChunkModeActive", true);
        for (const char* selector : selectors) {
            SetText("ChunkSelector", selector);
            SetBool("ChunkEnable", true);
        }
    }

    orvImage Next(uint64_t timeout = 5000) {
        orvImage image = nullptr;
        EXPECT_EQ(orvCameraGetNextImageEx(camera, timeout, &image), ORVANE_ERR_SUCCESS)
            << LastText(orvErrorGetLastMessage);
        return image;
    }
    template <class T>
    T Get(orvError (*getter)(orvImage, T*), orvImage image) {
        T value{};
        EXPECT_EQ(getter(image, &value), ORVANE_ERR_SUCCESS);
        return value;
    }
    int64_t IntChunk(orvImage image, const char* name) {
        int64_t value = -7;
        EXPECT_EQ(orvImageChunkDataGetIntValue(image, name, &value), ORVANE_ERR_SUCCESS)
            << name << ": " << LastText(orvErrorGetLastMessage);
        return value;
    }
    double FloatChunk(orvImage image, const char* name) {
        double value = -7;
        EXPECT_EQ(orvImageChunkDataGetFloatValue(image, name, &value), ORVANE_ERR_SUCCESS)
            << name << ": " << LastText(orvErrorGetLastMessage);
        return value;
    }

    orvCameraList cameras = nullptr;
    orvCamera camera = nullptr;
    orvNodeMapHandle map = nullptr;
};

TEST_F(AcquisitionTest, CheckOrders) {
    orvImage image = kUntouched;
    orvImageList list = kUntouched;
    EXPECT_EQ(orvCameraBeginAcquisition(nullptr), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(LastText(orvErrorGetLastMessage), "Handle is NULL");
    EXPECT_EQ(orvCameraBeginAcquisition(cameras), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(LastText(orvErrorGetLastMessage), WrongHandle("Camera handle", "Camera list handle"));
    EXPECT_EQ(orvCameraEndAcquisition(nullptr), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(orvCameraEndAcquisition(system), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(LastText(orvErrorGetLastMessage), WrongHandle("Camera handle", "System handle"));

    // Camera null, out-pointer null, camera type.
    EXPECT_EQ(orvCameraGetNextImage(nullptr, nullptr), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(orvCameraGetNextImage(cameras, nullptr), ORVANE_ERR_INVALID_PARAMETER);
    EXPECT_EQ(orvCameraGetNextImage(cameras, &image), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(LastText(orvErrorGetLastMessage), WrongHandle("Camera handle", "Camera list handle"));
    EXPECT_EQ(orvCameraGetNextImageEx(nullptr, 10, nullptr), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(orvCameraGetNextImageEx(cameras, 10, nullptr), ORVANE_ERR_INVALID_PARAMETER);
    EXPECT_EQ(orvCameraGetNextImageEx(cameras, 10, &image), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(orvCameraGetNextImageSync(nullptr, 10, nullptr), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(orvCameraGetNextImageSync(cameras, 10, nullptr), ORVANE_ERR_INVALID_PARAMETER);
    EXPECT_EQ(orvCameraGetNextImageSync(cameras, 10, &list), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(LastText(orvErrorGetLastMessage), WrongHandle("Camera handle", "Camera list handle"));
    EXPECT_EQ(image, kUntouched);
    EXPECT_EQ(list, kUntouched);
}

TEST_F(AcquisitionTest, RetrievalWithoutStreamingIsTheSdksErrorAndLeavesTheOutPointer) {
    orvImage image = kUntouched;
    EXPECT_EQ(orvCameraGetNextImage(camera, &image), ORVANE_ERR_NOT_STREAMING);
    EXPECT_EQ(LastCode(), ORVANE_ERR_NOT_STREAMING);
    EXPECT_EQ(LastText(orvErrorGetLastMessage),
              "camera Orvane-VirtualCamera-VC0001 is not streaming (call BeginAcquisition first)");
    EXPECT_EQ(image, kUntouched);
    orvImageList list = kUntouched;
    EXPECT_EQ(orvCameraGetNextImageSync(camera, 10, &list), ORVANE_ERR_NOT_STREAMING);
    EXPECT_EQ(list, kUntouched);
    EXPECT_EQ(orvCameraEndAcquisition(camera), ORVANE_ERR_NOT_STREAMING);
    EXPECT_EQ(LastText(orvErrorGetLastMessage), "camera Orvane-VirtualCamera-VC0001 is not streaming");
}

TEST_F(AcquisitionTest, AcquisitionNeedsAnInitialisedCamera) {
    ASSERT_EQ(orvCameraDeInit(camera), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvCameraBeginAcquisition(camera), ORVANE_ERR_CAMERA_NOT_INITIALIZED);
    EXPECT_EQ(LastText(orvErrorGetLastMessage),
              "camera Orvane-VirtualCamera-VC0001 is not initialized (call Init first)");
    ASSERT_EQ(orvCameraInit(camera), ORVANE_ERR_SUCCESS);
    ASSERT_EQ(orvCameraBeginAcquisition(camera), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvCameraBeginAcquisition(camera), ORVANE_ERR_RESOURCE_IN_USE);
    EXPECT_EQ(LastText(orvErrorGetLastMessage), "camera Orvane-VirtualCamera-VC0001 is already streaming");
}

TEST_F(AcquisitionTest, StreamedImagesAreCameraImagesWithConsecutiveIds) {
    bool8_t streaming = 9;
    ASSERT_EQ(orvCameraBeginAcquisition(camera), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvCameraIsStreaming(camera, &streaming), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(streaming, 1);
    orvImage first = nullptr;
    ASSERT_EQ(orvCameraGetNextImage(camera, &first), ORVANE_ERR_SUCCESS);
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(static_cast<orvObject*>(first)->tag, ORV_HANDLE_IMAGE_FROM_CAMERA);
    EXPECT_EQ(Get(orvImageGetWidth, first), 64u);
    EXPECT_EQ(Get(orvImageGetHeight, first), 16u);
    EXPECT_EQ(Get(orvImageGetPixelFormat, first), Orvane::PixelFormat_Mono8);
    EXPECT_EQ(Get(orvImageGetBufferSize, first), 64u * 16u);
    EXPECT_EQ(Get(orvImageIsIncomplete, first), 0);
    const uint64_t id = Get(orvImageGetFrameID, first);
    for (uint64_t i = 1; i <= 5; ++i) {
        orvImage image = Next();
        ASSERT_NE(image, nullptr);
        EXPECT_EQ(Get(orvImageGetFrameID, image), id + i);
        EXPECT_GT(Get(orvImageGetTimeStamp, image), Get(orvImageGetTimeStamp, first));
        EXPECT_EQ(orvImageRelease(image), ORVANE_ERR_SUCCESS);
    }
    // A camera's image is not the caller's to destroy; it is released.
    EXPECT_EQ(orvImageDestroy(first), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(LastText(orvErrorGetLastMessage), WrongHandle("User-created image", "Image retrieved from camera"));
    EXPECT_EQ(orvImageRelease(first), ORVANE_ERR_SUCCESS);
    ASSERT_EQ(orvCameraEndAcquisition(camera), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvCameraIsStreaming(camera, &streaming), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(streaming, 0);
}

TEST_F(AcquisitionTest, ImagesHeldPastTheEndOfTheAcquisitionStayReadable) {
    ASSERT_EQ(orvCameraBeginAcquisition(camera), ORVANE_ERR_SUCCESS);
    orvImage image = Next();
    ASSERT_NE(image, nullptr);
    const uint64_t id = Get(orvImageGetFrameID, image);
    ASSERT_EQ(orvCameraEndAcquisition(camera), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(Get(orvImageGetFrameID, image), id);
    void* data = nullptr;
    ASSERT_EQ(orvImageGetData(image, &data), ORVANE_ERR_SUCCESS);
    const uint8_t* bytes = static_cast<const uint8_t*>(data);
    unsigned sum = 0;
    for (size_t i = 0; i < 64 * 16; ++i) sum += bytes[i];
    EXPECT_GT(sum, 0u); // the test pattern, still in place
    EXPECT_EQ(orvImageRelease(image), ORVANE_ERR_SUCCESS);
}

TEST_F(AcquisitionTest, TimeoutsAndSoftwareTrigger) {
    SetText("TriggerSelector", "FrameStart");
    SetText("TriggerSource", "Software");
    SetText("TriggerMode", "On");
    ASSERT_EQ(orvCameraBeginAcquisition(camera), ORVANE_ERR_SUCCESS);
    orvImage image = kUntouched;
    EXPECT_EQ(orvCameraGetNextImageEx(camera, 30, &image), ORVANE_ERR_TIMEOUT);
    EXPECT_EQ(LastText(orvErrorGetLastMessage), "camera Orvane-VirtualCamera-VC0001: no image arrived within 30 ms");
    EXPECT_EQ(image, kUntouched);
    for (int i = 0; i < 3; ++i) {
        Execute("TriggerSoftware");
        image = Next();
        ASSERT_NE(image, nullptr);
        EXPECT_EQ(orvImageRelease(image), ORVANE_ERR_SUCCESS);
        // Exactly one frame per trigger.
        orvImage extra = kUntouched;
        EXPECT_EQ(orvCameraGetNextImageEx(camera, 20, &extra), ORVANE_ERR_TIMEOUT);
        EXPECT_EQ(extra, kUntouched);
    }
    ASSERT_EQ(orvCameraEndAcquisition(camera), ORVANE_ERR_SUCCESS);
    SetText("TriggerMode", "Off");
}

TEST_F(AcquisitionTest, SynchronisedRetrievalGivesOneImagePerStream) {
    ASSERT_EQ(orvCameraBeginAcquisition(camera), ORVANE_ERR_SUCCESS);
    orvImageList list = nullptr;
    ASSERT_EQ(orvCameraGetNextImageSync(camera, 5000, &list), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(static_cast<orvObject*>(list)->tag, ORV_HANDLE_IMAGE_LIST);
    size_t size = 0;
    EXPECT_EQ(orvImageListGetSize(list, &size), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(size, 1u);
    orvImage image = nullptr;
    ASSERT_EQ(orvImageListGet(list, 0, &image), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(Get(orvImageGetWidth, image), 64u);
    const uint64_t id = Get(orvImageGetFrameID, image);
    orvImage next = Next();
    EXPECT_EQ(Get(orvImageGetFrameID, next), id + 1);
    EXPECT_EQ(orvImageRelease(next), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvImageListRelease(list), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvImageListDestroy(list), ORVANE_ERR_SUCCESS);
    // The list's image handle is a record of its own (image-list kind).
    EXPECT_EQ(orvImageRelease(image), ORVANE_ERR_INVALID_HANDLE);
    delete static_cast<Orvane::ImagePtr*>(static_cast<orvObject*>(image)->target);
    delete static_cast<orvObject*>(image);
}

// The image-list functions over images the camera streamed: two formats in
// one list, selection and removal by format, and a file round trip that keeps
// every byte and the chunk values.
TEST_F(AcquisitionTest, ImageListsOfStreamedImages) {
    auto grab = [&](const char* format, orvImageList* list) {
        SetText("PixelFormat", format);
        ASSERT_EQ(orvCameraBeginAcquisition(camera), ORVANE_ERR_SUCCESS);
        ASSERT_EQ(orvCameraGetNextImageSync(camera, 5000, list), ORVANE_ERR_SUCCESS);
        ASSERT_EQ(orvCameraEndAcquisition(camera), ORVANE_ERR_SUCCESS);
    };
    EnableChunks({"FrameID", "CRC"});
    orvImageList mono8 = nullptr, mono16 = nullptr;
    grab("Mono8", &mono8);
    grab("Mono16", &mono16);
    ASSERT_EQ(orvImageListAppend(mono8, mono16), ORVANE_ERR_SUCCESS);
    size_t size = 0;
    EXPECT_EQ(orvImageListGetSize(mono8, &size), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(size, 2u);

    std::vector<orvImage> taken; // list element handles (generic kind), freed below
    auto take = [&](orvImage image) {
        taken.push_back(image);
        return image;
    };
    orvImage wide = nullptr;
    ASSERT_EQ(orvImageListGetByPixelFormat(mono8, Orvane::PixelFormat_Mono16, &wide), ORVANE_ERR_SUCCESS);
    take(wide);
    EXPECT_EQ(Get(orvImageGetPixelFormat, wide), Orvane::PixelFormat_Mono16);
    EXPECT_EQ(Get(orvImageGetBufferSize, wide) >= 64u * 16u * 2u, true);
    EXPECT_EQ(IntChunk(wide, "ChunkFrameID"), int64_t(Get(orvImageGetFrameID, wide)));
    orvImage missing = kUntouched;
    EXPECT_EQ(orvImageListGetByPixelFormat(mono8, Orvane::PixelFormat_RGB8, &missing), ORVANE_ERR_NO_DATA);
    EXPECT_EQ(LastCode(), ORVANE_ERR_NO_DATA);
    EXPECT_EQ(missing, kUntouched);

    // Saved and loaded: the same images, byte for byte, chunks included.
    const std::string file = ::testing::TempDir() + "capi-streamed.orvl";
    ASSERT_EQ(orvImageListSave(mono8, file.c_str()), ORVANE_ERR_SUCCESS) << LastText(orvErrorGetLastMessage);
    orvImageList loaded = nullptr;
    ASSERT_EQ(orvImageListLoad(&loaded, file.c_str()), ORVANE_ERR_SUCCESS) << LastText(orvErrorGetLastMessage);
    EXPECT_EQ(orvImageListGetSize(loaded, &size), ORVANE_ERR_SUCCESS);
    ASSERT_EQ(size, 2u);
    for (size_t i = 0; i < 2; ++i) {
        orvImage a = nullptr, b = nullptr;
        ASSERT_EQ(orvImageListGet(mono8, i, &a), ORVANE_ERR_SUCCESS);
        ASSERT_EQ(orvImageListGet(loaded, i, &b), ORVANE_ERR_SUCCESS);
        take(a);
        take(b);
        EXPECT_EQ(Get(orvImageGetFrameID, b), Get(orvImageGetFrameID, a));
        EXPECT_EQ(Get(orvImageGetTimeStamp, b), Get(orvImageGetTimeStamp, a));
        EXPECT_EQ(Get(orvImageGetPixelFormat, b), Get(orvImageGetPixelFormat, a));
        EXPECT_EQ(IntChunk(b, "ChunkFrameID"), IntChunk(a, "ChunkFrameID"));
        bool8_t crc = 0;
        EXPECT_EQ(orvImageHasCRC(b, &crc), ORVANE_ERR_SUCCESS);
        EXPECT_EQ(crc, 1);
        EXPECT_EQ(orvImageCheckCRC(b, &crc), ORVANE_ERR_SUCCESS);
        EXPECT_EQ(crc, 1);
        const size_t bytes = Get(orvImageGetSize, a);
        ASSERT_EQ(Get(orvImageGetSize, b), bytes);
        void* da = nullptr;
        void* db = nullptr;
        ASSERT_EQ(orvImageGetData(a, &da), ORVANE_ERR_SUCCESS);
        ASSERT_EQ(orvImageGetData(b, &db), ORVANE_ERR_SUCCESS);
        EXPECT_EQ(std::memcmp(da, db, bytes), 0) << "image " << i;
    }
    std::remove(file.c_str());

    ASSERT_EQ(orvImageListRemoveByPixelFormat(mono8, Orvane::PixelFormat_Mono8), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvImageListGetSize(mono8, &size), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(size, 1u);
    EXPECT_EQ(orvImageListRemove(mono8, 5), ORVANE_ERR_OUT_OF_RANGE);
    EXPECT_EQ(LastCode(), ORVANE_ERR_OUT_OF_RANGE);

    // Element handles outlive their lists.
    for (orvImageList list : {mono8, mono16, loaded}) {
        EXPECT_EQ(orvImageListRelease(list), ORVANE_ERR_SUCCESS);
        EXPECT_EQ(orvImageListDestroy(list), ORVANE_ERR_SUCCESS);
    }
    EXPECT_EQ(Get(orvImageGetPixelFormat, wide), Orvane::PixelFormat_Mono16);
    for (orvImage image : taken) {
        delete static_cast<Orvane::ImagePtr*>(static_cast<orvObject*>(image)->target);
        delete static_cast<orvObject*>(image);
    }
}

TEST_F(AcquisitionTest, ChunkValuesByName) {
    SetInt("OffsetX", 8);
    SetInt("OffsetY", 4);
    SetFloat("ExposureTime", 250.0);
    SetFloat("Gain", 3.5);
    SetFloat("BlackLevel", 2.5);
    EnableChunks({"FrameID", "Timestamp", "Width", "Height", "OffsetX", "OffsetY", "ExposureTime", "Gain", "BlackLevel",
                  "PixelFormat", "CRC", "LinePitch", "PixelDynamicRangeMin", "PixelDynamicRangeMax"});
    ASSERT_EQ(orvCameraBeginAcquisition(camera), ORVANE_ERR_SUCCESS);
    for (int i = 0; i < 3; ++i) {
        orvImage image = Next();
        ASSERT_NE(image, nullptr);
        EXPECT_EQ(IntChunk(image, "ChunkFrameID"), int64_t(Get(orvImageGetFrameID, image)));
        EXPECT_EQ(IntChunk(image, "ChunkTimestamp"), int64_t(Get(orvImageGetTimeStamp, image)));
        EXPECT_EQ(IntChunk(image, "ChunkWidth"), 64);
        EXPECT_EQ(IntChunk(image, "ChunkHeight"), 16);
        EXPECT_EQ(IntChunk(image, "ChunkOffsetX"), 8);
        EXPECT_EQ(IntChunk(image, "ChunkOffsetY"), 4);
        EXPECT_EQ(IntChunk(image, "ChunkLinePitch"), int64_t(Get(orvImageGetStride, image)));
        EXPECT_EQ(IntChunk(image, "ChunkPixelDynamicRangeMin"), 0);
        EXPECT_EQ(IntChunk(image, "ChunkPixelDynamicRangeMax"), 255);
        EXPECT_DOUBLE_EQ(FloatChunk(image, "ChunkExposureTime"), 250.0);
        EXPECT_DOUBLE_EQ(FloatChunk(image, "ChunkGain"), 3.5);
        EXPECT_DOUBLE_EQ(FloatChunk(image, "ChunkBlackLevel"), 2.5);
        EXPECT_EQ(orvImageRelease(image), ORVANE_ERR_SUCCESS);
    }
}

TEST_F(AcquisitionTest, ChunkNameRules) {
    EnableChunks({"FrameID", "CRC"});
    ASSERT_EQ(orvCameraBeginAcquisition(camera), ORVANE_ERR_SUCCESS);
    orvImage image = Next();
    ASSERT_NE(image, nullptr);
    int64_t v = 42;
    double d = 4.5;

    // Chunks without an integer value: accepted, value untouched.
    EXPECT_EQ(orvImageChunkDataGetIntValue(image, "ChunkCRC", &v), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvImageChunkDataGetIntValue(image, "ChunkImage", &v), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(v, 42);

    // Unknown names: -1009 with the record left cleared and nothing logged.
    EXPECT_EQ(orvCameraGetNextImageEx(camera, 0, nullptr), ORVANE_ERR_INVALID_PARAMETER); // record set
    log.Clear();
    EXPECT_EQ(orvImageChunkDataGetIntValue(image, "chunkframeid", &v), ORVANE_ERR_INVALID_PARAMETER);
    EXPECT_EQ(LastCode(), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(LastText(orvErrorGetLastMessage), "");
    EXPECT_EQ(LastText(orvErrorGetLastFullMessage), "");
    EXPECT_TRUE(log.Messages().empty());
    EXPECT_EQ(v, 42);
    EXPECT_EQ(orvImageChunkDataGetFloatValue(image, "ChunkWidth", &d), ORVANE_ERR_INVALID_PARAMETER);
    EXPECT_EQ(orvImageChunkDataGetFloatValue(image, "ChunkImage", &d), ORVANE_ERR_INVALID_PARAMETER);
    EXPECT_EQ(orvImageChunkDataGetFloatValue(image, "ChunkCRC", &d), ORVANE_ERR_INVALID_PARAMETER);
    EXPECT_EQ(orvImageChunkDataGetIntValue(image, "ChunkExposureTime", &v), ORVANE_ERR_INVALID_PARAMETER);
    EXPECT_EQ(orvImageChunkDataGetIntValue(image, "", &v), ORVANE_ERR_INVALID_PARAMETER);
    EXPECT_EQ(LastCode(), ORVANE_ERR_SUCCESS);
    EXPECT_TRUE(log.Messages().empty());
    EXPECT_EQ(v, 42);
    EXPECT_EQ(d, 4.5);

    // A known chunk the image does not carry is the SDK's error.
    EXPECT_EQ(orvImageChunkDataGetIntValue(image, "ChunkEncoderValue", &v), ORVANE_ERR_NO_DATA);
    EXPECT_EQ(LastCode(), ORVANE_ERR_NO_DATA);
    EXPECT_EQ(LastText(orvErrorGetLastMessage),
              "ChunkData: the image carries no ChunkEncoderValue chunk (chunk mode off, the chunk not enabled, or "
              "the camera does not have it)");
    EXPECT_EQ(orvImageChunkDataGetFloatValue(image, "ChunkGain", &d), ORVANE_ERR_NO_DATA);
    EXPECT_EQ(v, 42);
    EXPECT_EQ(d, 4.5);

    // Checks: image null, name null, value null, then the type (either kind).
    EXPECT_EQ(orvImageChunkDataGetIntValue(nullptr, nullptr, nullptr), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(orvImageChunkDataGetIntValue(image, nullptr, &v), ORVANE_ERR_INVALID_PARAMETER);
    EXPECT_EQ(LastCode(), ORVANE_ERR_INVALID_PARAMETER); // the normal failure path
    EXPECT_EQ(orvImageChunkDataGetFloatValue(image, nullptr, &d), ORVANE_ERR_INVALID_PARAMETER);
    EXPECT_EQ(LastCode(), ORVANE_ERR_INVALID_PARAMETER);
    EXPECT_EQ(orvImageChunkDataGetIntValue(camera, "ChunkFrameID", nullptr), ORVANE_ERR_INVALID_PARAMETER);
    EXPECT_EQ(orvImageChunkDataGetIntValue(camera, "ChunkFrameID", &v), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(LastText(orvErrorGetLastMessage), WrongHandle("Image handle", "Camera handle"));
    EXPECT_EQ(orvImageChunkDataGetFloatValue(camera, "ChunkGain", &d), ORVANE_ERR_INVALID_HANDLE);

    EXPECT_EQ(IntChunk(image, "ChunkFrameID"), int64_t(Get(orvImageGetFrameID, image)));
    EXPECT_EQ(orvImageRelease(image), ORVANE_ERR_SUCCESS);

    // A user-created image passes the type check and carries no chunks.
    orvImage own = nullptr;
    ASSERT_EQ(orvImageCreateEx(&own, 4, 4, 0, 0, Orvane::PixelFormat_Mono8, nullptr), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvImageChunkDataGetIntValue(own, "ChunkFrameID", &v), ORVANE_ERR_NO_DATA);
    EXPECT_EQ(orvImageChunkDataGetIntValue(own, "ChunkCRC", &v), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvImageDestroy(own), ORVANE_ERR_SUCCESS);
}

TEST_F(AcquisitionTest, EveryListedNameReachesItsGetter) {
    // Without chunk mode every listed name reaches the SDK, which reports the
    // chunk by its own name: the tables map each name to its feature.
    ASSERT_EQ(orvCameraBeginAcquisition(camera), ORVANE_ERR_SUCCESS);
    orvImage image = Next();
    ASSERT_NE(image, nullptr);
    const char* integers[] = {"ChunkFrameID",
                              "ChunkOffsetX",
                              "ChunkOffsetY",
                              "ChunkWidth",
                              "ChunkHeight",
                              "ChunkCounterValue",
                              "ChunkLinePitch",
                              "ChunkLineStatusAll",
                              "ChunkPixelDynamicRangeMax",
                              "ChunkPixelDynamicRangeMin",
                              "ChunkSequencerSetActive",
                              "ChunkStreamChannelID",
                              "ChunkTimestamp",
                              "ChunkTimestampLatchValue",
                              "ChunkTransferBlockID",
                              "ChunkTransferQueueCurrentBlockCount",
                              "ChunkPartSelector",
                              "ChunkScanLineSelector",
                              "ChunkEncoderValue"};
    const char* floats[] = {"ChunkExposureTime",
                            "ChunkCompressionRatio",
                            "ChunkGain",
                            "ChunkBlackLevel",
                            "ChunkTimerValue",
                            "ChunkScan3dCoordinateScale",
                            "ChunkScan3dCoordinateOffset",
                            "ChunkScan3dCoordinateReferenceValue",
                            "ChunkScan3dInvalidDataValue",
                            "ChunkScan3dAxisMin",
                            "ChunkScan3dAxisMax",
                            "ChunkScan3dTransformValue"};
    const std::string tail = " chunk (chunk mode off, the chunk not enabled, or the camera does not have it)";
    int64_t v = 0;
    double d = 0;
    for (const char* name : integers) {
        EXPECT_EQ(orvImageChunkDataGetIntValue(image, name, &v), ORVANE_ERR_NO_DATA) << name;
        EXPECT_EQ(LastText(orvErrorGetLastMessage), std::string("ChunkData: the image carries no ") + name + tail);
    }
    for (const char* name : floats) {
        EXPECT_EQ(orvImageChunkDataGetFloatValue(image, name, &d), ORVANE_ERR_NO_DATA) << name;
        EXPECT_EQ(LastText(orvErrorGetLastMessage), std::string("ChunkData: the image carries no ") + name + tail);
    }
    EXPECT_EQ(orvImageRelease(image), ORVANE_ERR_SUCCESS);
}

} // namespace
