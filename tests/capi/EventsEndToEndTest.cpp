// Events delivered by the SDK through the C library on virtual cameras: image
// and image list events (one per frame, on the delivery thread) and device
// events (ExposureEnd with its frame ids, the Test event). Arrival, removal
// and action commands: SystemEventsEndToEndTest.cpp.
#include <algorithm>
#include <chrono>
#include <cstring>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "EndToEndFixture.h"

namespace {

using namespace e2e;

// Image events ------------------------------------------------------------------

void OnImage(orvImage image, void* userData) {
    Recorder* r = static_cast<Recorder*>(userData);
    r->Record(userData, image, ORV_HANDLE_IMAGE, [&] {
        uint64_t id = 0;
        size_t width = 0;
        r->Check(orvImageGetFrameID(image, &id));
        r->Check(orvImageGetWidth(image, &width));
        r->numbers.push_back(id);
        if (width != 64) r->failures.push_back(-static_cast<orvError>(width));
    });
}

TEST_F(EndToEndTest, OneImageCallbackPerFrameOnTheDeliveryThread) {
    orvCamera camera = Open("VC0001");
    MultiFrame(camera, 5);
    Recorder r;
    orvImageEventHandler handler = nullptr;
    ASSERT_EQ(orvImageEventHandlerCreate(&handler, OnImage, &r), ORVANE_ERR_SUCCESS);
    ASSERT_EQ(orvCameraRegisterImageEventHandler(camera, handler), ORVANE_ERR_SUCCESS)
        << LastText(orvErrorGetLastMessage);
    ASSERT_EQ(orvCameraBeginAcquisition(camera), ORVANE_ERR_SUCCESS);
    ASSERT_TRUE(r.WaitCalls(5));
    // The images went to the handler, not to the queue.
    EXPECT_EQ(NextFrameId(camera, 300), -1);
    EXPECT_EQ(orvCameraEndAcquisition(camera), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvCameraUnregisterImageEventHandler(camera, handler), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvImageEventHandlerDestroy(handler), ORVANE_ERR_SUCCESS);

    std::lock_guard<std::mutex> lock(r.mutex);
    EXPECT_EQ(r.calls, 5);
    EXPECT_FALSE(r.wrongUserData);
    EXPECT_FALSE(r.wrongTag);
    EXPECT_TRUE(r.failures.empty());
    ASSERT_EQ(r.threads.size(), 1u);
    EXPECT_NE(*r.threads.begin(), std::this_thread::get_id());
    ASSERT_EQ(r.numbers.size(), 5u);
    for (size_t i = 1; i < r.numbers.size(); ++i) EXPECT_EQ(r.numbers[i], r.numbers[0] + i);
}

TEST_F(EndToEndTest, ImageHandlerByStreamIndex) {
    orvCamera camera = Open("VC0001");
    MultiFrame(camera, 2);
    Recorder r;
    orvImageEventHandler handler = nullptr;
    ASSERT_EQ(orvImageEventHandlerCreate(&handler, OnImage, &r), ORVANE_ERR_SUCCESS);
    // The camera has stream 0 only; the index reaches the SDK unchanged.
    EXPECT_EQ(orvCameraRegisterImageEventHandlerEx(camera, handler, 1), ORVANE_ERR_OUT_OF_RANGE);
    ASSERT_EQ(orvCameraRegisterImageEventHandlerEx(camera, handler, 0), ORVANE_ERR_SUCCESS);
    ASSERT_EQ(orvCameraBeginAcquisition(camera), ORVANE_ERR_SUCCESS);
    EXPECT_TRUE(r.WaitCalls(2));
    EXPECT_EQ(orvCameraEndAcquisition(camera), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvCameraUnregisterImageEventHandler(camera, handler), ORVANE_ERR_SUCCESS);
    // Unregistered: a second unregistration is the SDK's refusal.
    EXPECT_EQ(orvCameraUnregisterImageEventHandler(camera, handler), ORVANE_ERR_NOT_AVAILABLE);
    EXPECT_EQ(orvImageEventHandlerDestroy(handler), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(r.Calls(), 2);
}

void OnImageList(orvImageList list, void* userData) {
    Recorder* r = static_cast<Recorder*>(userData);
    r->Record(userData, list, ORV_HANDLE_IMAGE_LIST, [&] {
        size_t size = 0;
        r->Check(orvImageListGetSize(list, &size));
        r->numbers.push_back(size);
    });
}

TEST_F(EndToEndTest, OneImageListCallbackPerFrameSet) {
    orvCamera camera = Open("VC0002");
    MultiFrame(camera, 3);
    Recorder r;
    orvImageListEventHandler handler = nullptr;
    ASSERT_EQ(orvImageListEventHandlerCreate(&handler, OnImageList, &r), ORVANE_ERR_SUCCESS);
    ASSERT_EQ(orvCameraRegisterImageListEventHandler(camera, handler), ORVANE_ERR_SUCCESS);
    ASSERT_EQ(orvCameraBeginAcquisition(camera), ORVANE_ERR_SUCCESS);
    ASSERT_TRUE(r.WaitCalls(3));
    EXPECT_EQ(orvCameraEndAcquisition(camera), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvCameraUnregisterImageListEventHandler(camera, handler), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvImageListEventHandlerDestroy(handler), ORVANE_ERR_SUCCESS);
    std::lock_guard<std::mutex> lock(r.mutex);
    EXPECT_EQ(r.numbers, (std::vector<uint64_t>{1, 1, 1})); // one stream: one image per set
    EXPECT_FALSE(r.wrongUserData);
    EXPECT_FALSE(r.wrongTag);
    EXPECT_EQ(r.threads.count(std::this_thread::get_id()), 0u);
}

// Device events -------------------------------------------------------------------

struct DeviceEvents : Recorder {
    orvNodeHandle frameIdNode = nullptr;
};

void OnDeviceEvent(orvDeviceEventData data, const char* eventName, void* userData) {
    DeviceEvents* r = static_cast<DeviceEvents*>(userData);
    r->Record(userData, data, ORV_HANDLE_DEVICE_EVENT_DATA, [&] {
        r->texts.push_back(eventName);
        uint64_t id = 0;
        r->Check(orvDeviceEventGetId(data, &id));
        int64_t frameId = -1;
        r->Check(orvIntegerGetValue(r->frameIdNode, &frameId));
        char name[8] = "x";
        size_t length = sizeof name;
        r->Check(orvDeviceEventGetName(data, name, &length));
        if (length != 1 || name[0] != '\0') r->failures.push_back(-1);
        r->numbers.push_back(id);
        r->numbers.push_back(static_cast<uint64_t>(frameId));
    });
}

TEST_F(EndToEndTest, ExposureEndEventsCarryTheFrameIds) {
    orvCamera camera = Open("VC0003");
    MultiFrame(camera, 4);
    SetText(camera, "EventSelector", "ExposureEnd");
    SetText(camera, "EventNotification", "On");
    const int64_t exposureEndId = GetInt(camera, "EventExposureEnd");
    DeviceEvents r;
    r.frameIdNode = Node(camera, "EventExposureEndFrameID");
    orvDeviceEventHandler handler = nullptr;
    ASSERT_EQ(orvDeviceEventHandlerCreate(&handler, OnDeviceEvent, &r), ORVANE_ERR_SUCCESS);
    // A name the camera has no event of is the SDK's refusal.
    EXPECT_EQ(orvCameraRegisterDeviceEventHandlerEx(camera, handler, "NoSuchEvent"), ORVANE_ERR_INVALID_ARGUMENT);
    ASSERT_EQ(orvCameraRegisterDeviceEventHandlerEx(camera, handler, "ExposureEnd"), ORVANE_ERR_SUCCESS);
    ASSERT_EQ(orvCameraBeginAcquisition(camera), ORVANE_ERR_SUCCESS);
    std::set<uint64_t> frames;
    for (int i = 0; i < 4; ++i) {
        const int64_t id = NextFrameId(camera, 5000);
        ASSERT_GE(id, 0);
        frames.insert(static_cast<uint64_t>(id));
    }
    ASSERT_TRUE(r.WaitCalls(4));
    EXPECT_EQ(orvCameraEndAcquisition(camera), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvCameraUnregisterDeviceEventHandler(camera, handler), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvDeviceEventHandlerDestroy(handler), ORVANE_ERR_SUCCESS);

    std::lock_guard<std::mutex> lock(r.mutex);
    EXPECT_EQ(r.calls, 4);
    EXPECT_FALSE(r.wrongUserData);
    EXPECT_FALSE(r.wrongTag);
    EXPECT_TRUE(r.failures.empty());
    EXPECT_EQ(r.texts, (std::vector<std::string>(4, "ExposureEnd")));
    EXPECT_EQ(r.threads.count(std::this_thread::get_id()), 0u);
    std::set<uint64_t> eventFrames;
    for (size_t i = 0; i + 1 < r.numbers.size(); i += 2) {
        EXPECT_EQ(r.numbers[i], static_cast<uint64_t>(exposureEndId));
        EXPECT_EQ(r.numbers[i], 0x9021u);
        eventFrames.insert(r.numbers[i + 1]);
    }
    EXPECT_EQ(eventFrames, frames);
}

TEST_F(EndToEndTest, AllDeviceEventsHandlerHearsTheTestEvent) {
    orvCamera camera = Open("VC0001");
    DeviceEvents r;
    r.frameIdNode = Node(camera, "EventExposureEndFrameID");
    orvDeviceEventHandler handler = nullptr;
    ASSERT_EQ(orvDeviceEventHandlerCreate(&handler, OnDeviceEvent, &r), ORVANE_ERR_SUCCESS);
    ASSERT_EQ(orvCameraRegisterDeviceEventHandler(camera, handler), ORVANE_ERR_SUCCESS);
    ASSERT_EQ(orvCommandExecute(Node(camera, "TestEventGenerate")), ORVANE_ERR_SUCCESS);
    ASSERT_TRUE(r.WaitCalls(1));
    EXPECT_EQ(orvCameraUnregisterDeviceEventHandler(camera, handler), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvDeviceEventHandlerDestroy(handler), ORVANE_ERR_SUCCESS);
    std::lock_guard<std::mutex> lock(r.mutex);
    ASSERT_GE(r.texts.size(), 1u);
    EXPECT_EQ(r.texts[0], "Test");
    EXPECT_FALSE(r.wrongUserData);
}

} // namespace
