// The event handler adapters called as the SDK calls them, from threads other
// than the test's, without the SDK's event machinery: each C function receives
// a temporary handle of the right kind that the library's getters accept
// during the call, and the user data it was created with.
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "CapiFixture.h"
#include "Orvane/CameraList.h"
#include "Orvane/Image.h"
#include "Orvane/ImageList.h"
#include "OrvaneCEvents.h"

namespace {

orvObject* Record(void* handle) { return static_cast<orvObject*>(handle); }

template <class Adapter>
Adapter& AdapterOf(void* handle) {
    return *static_cast<Adapter*>(Record(handle)->target);
}

// Runs f on a new thread and waits for it.
template <class F>
void OnAnotherThread(F&& f) {
    std::thread t(std::forward<F>(f));
    t.join();
}

// Sets the payload the SDK's dispatcher gives a handler during a device event.
struct PayloadSetter : Orvane::EventHandler {
    static void Set(Orvane::EventHandler& handler, uint64_t id, const uint8_t* data, size_t size) {
        (handler.*(&PayloadSetter::SetEventPayload))(id, data, size);
    }
};

// What a callback saw. Filled on the dispatching thread, read after join.
struct Seen {
    int calls = 0;
    void* userData = nullptr;
    void* handle = nullptr;
    orvHandleType tag = static_cast<orvHandleType>(0);
    void* target = nullptr;
    std::thread::id thread;
    std::vector<std::string> texts;
    std::vector<uint64_t> numbers;
    std::vector<orvError> codes;
};

class DispatchTest : public CapiTest {
protected:
    void SetUp() override {
        setenv("ORVANE_TRANSPORTS", "virtual", 1);
        CapiTest::SetUp();
    }
};

void Saw(Seen* seen, void* handle, void* userData) {
    ++seen->calls;
    seen->userData = userData;
    seen->handle = handle;
    seen->tag = Record(handle)->tag;
    seen->target = Record(handle)->target;
    seen->thread = std::this_thread::get_id();
}

// Images ------------------------------------------------------------------------

void OnImage(orvImage image, void* userData) {
    Seen* seen = static_cast<Seen*>(userData);
    Saw(seen, image, userData);
    size_t width = 0, height = 0;
    orvPixelFormat format = ORV_UNKNOWN_PIXELFORMAT;
    seen->codes.push_back(orvImageGetWidth(image, &width));
    seen->codes.push_back(orvImageGetHeight(image, &height));
    seen->codes.push_back(orvImageGetPixelFormat(image, &format));
    seen->numbers = {width, height, static_cast<uint64_t>(format)};
    // The image is the SDK's: neither kind's release function accepts it.
    seen->codes.push_back(orvImageRelease(image));
    seen->codes.push_back(orvImageDestroy(image));
}

TEST_F(DispatchTest, ImageEventGivesATemporaryImageHandle) {
    Seen seen;
    orvImageEventHandler handler = nullptr;
    ASSERT_EQ(orvImageEventHandlerCreate(&handler, OnImage, &seen), ORVANE_ERR_SUCCESS);
    Orvane::ImagePtr image = Orvane::Image::Create(12, 5, 0, 0, Orvane::PixelFormat_Mono16);
    Orvane::ImageEventHandler& sdkHandler = AdapterOf<OrvaneCInternal::ImageEventHandler>(handler);
    OnAnotherThread([&] { sdkHandler.OnImageEvent(image); });

    EXPECT_EQ(seen.calls, 1);
    EXPECT_EQ(seen.userData, &seen);
    EXPECT_NE(seen.thread, std::this_thread::get_id());
    EXPECT_NE(seen.handle, handler);
    EXPECT_EQ(seen.tag, ORV_HANDLE_IMAGE);
    ASSERT_EQ(seen.codes.size(), 5u);
    EXPECT_EQ(seen.codes[0], ORVANE_ERR_SUCCESS);
    EXPECT_EQ(seen.codes[1], ORVANE_ERR_SUCCESS);
    EXPECT_EQ(seen.codes[2], ORVANE_ERR_SUCCESS);
    EXPECT_EQ(seen.numbers, (std::vector<uint64_t>{12, 5, ORV_PIXEL_FORMAT_Mono16}));
    EXPECT_EQ(seen.codes[3], ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(seen.codes[4], ORVANE_ERR_INVALID_HANDLE);
    // The SDK's image still has only the test's reference.
    EXPECT_EQ(image.use_count(), 1);
    EXPECT_EQ(orvImageEventHandlerDestroy(handler), ORVANE_ERR_SUCCESS);
}

void OnImageList(orvImageList list, void* userData) {
    Seen* seen = static_cast<Seen*>(userData);
    Saw(seen, list, userData);
    size_t size = 0;
    seen->codes.push_back(orvImageListGetSize(list, &size));
    seen->numbers.push_back(size);
    // The list handle stands for the dispatched list itself.
    seen->numbers.push_back(static_cast<Orvane::ImageList*>(Record(list)->target)->GetByIndex(1)->GetWidth());
}

TEST_F(DispatchTest, ImageListEventGivesATemporaryListHandle) {
    Seen seen;
    orvImageListEventHandler handler = nullptr;
    ASSERT_EQ(orvImageListEventHandlerCreate(&handler, OnImageList, &seen), ORVANE_ERR_SUCCESS);
    Orvane::ImageList list;
    list.PushBack(Orvane::Image::Create(4, 4, 0, 0, Orvane::PixelFormat_Mono8));
    list.PushBack(Orvane::Image::Create(9, 4, 0, 0, Orvane::PixelFormat_Mono8));
    Orvane::ImageListEventHandler& sdkHandler = AdapterOf<OrvaneCInternal::ImageListEventHandler>(handler);
    OnAnotherThread([&] { sdkHandler.OnImageListEvent(list); });

    EXPECT_EQ(seen.calls, 1);
    EXPECT_EQ(seen.userData, &seen);
    EXPECT_NE(seen.thread, std::this_thread::get_id());
    EXPECT_EQ(seen.tag, ORV_HANDLE_IMAGE_LIST);
    EXPECT_EQ(seen.codes, (std::vector<orvError>{0}));
    EXPECT_EQ(seen.numbers, (std::vector<uint64_t>{2, 9}));
    EXPECT_EQ(list.GetSize(), 2u);
    EXPECT_EQ(orvImageListEventHandlerDestroy(handler), ORVANE_ERR_SUCCESS);
}

// Cameras -----------------------------------------------------------------------

void OnCamera(orvCamera camera, void* userData) {
    Seen* seen = static_cast<Seen*>(userData);
    Saw(seen, camera, userData);
    char id[64];
    size_t length = sizeof id;
    seen->codes.push_back(orvCameraGetUniqueID(camera, id, &length));
    seen->texts.push_back(seen->codes.back() == ORVANE_ERR_SUCCESS ? id : "");
    bool8_t valid = 9;
    seen->codes.push_back(orvCameraIsValid(camera, &valid));
    seen->numbers.push_back(valid);
}

// A second function for the interface handler's removals.
void OnRemovedCamera(orvCamera camera, void* userData) {
    OnCamera(camera, userData);
    static_cast<Seen*>(userData)->texts.push_back("removal");
}

class CameraDispatchTest : public DispatchTest {
protected:
    void SetUp() override {
        DispatchTest::SetUp();
        Orvane::CameraList list = Orvane::System::GetInstance()->GetCameras();
        ASSERT_GE(list.GetSize(), 1u);
        camera = list.GetBySerial("VC0001");
        ASSERT_TRUE(camera);
    }
    void ExpectCameraCall(const Seen& seen) {
        EXPECT_EQ(seen.calls, 1);
        EXPECT_EQ(seen.userData, &seen);
        EXPECT_NE(seen.thread, std::this_thread::get_id());
        EXPECT_EQ(seen.tag, ORV_HANDLE_CAMERA);
        ASSERT_EQ(seen.codes.size(), 2u);
        EXPECT_EQ(seen.codes[0], ORVANE_ERR_SUCCESS);
        EXPECT_EQ(seen.texts.at(0), "Virtual:VC0001");
        EXPECT_EQ(seen.codes[1], ORVANE_ERR_SUCCESS);
        EXPECT_EQ(seen.numbers, (std::vector<uint64_t>{1}));
    }
    Orvane::CameraPtr camera;
};

TEST_F(CameraDispatchTest, ArrivalGivesATemporaryCameraHandle) {
    Seen seen;
    orvDeviceArrivalEventHandler handler = nullptr;
    ASSERT_EQ(orvDeviceArrivalEventHandlerCreate(&handler, OnCamera, &seen), ORVANE_ERR_SUCCESS);
    Orvane::DeviceArrivalEventHandler& sdkHandler = AdapterOf<OrvaneCInternal::ArrivalEventHandler>(handler);
    OnAnotherThread([&] { sdkHandler.OnDeviceArrival(camera); });
    ExpectCameraCall(seen);
    EXPECT_EQ(orvDeviceArrivalEventHandlerDestroy(handler), ORVANE_ERR_SUCCESS);
}

TEST_F(CameraDispatchTest, RemovalGivesATemporaryCameraHandle) {
    Seen seen;
    orvDeviceRemovalEventHandler handler = nullptr;
    ASSERT_EQ(orvDeviceRemovalEventHandlerCreate(&handler, OnCamera, &seen), ORVANE_ERR_SUCCESS);
    Orvane::DeviceRemovalEventHandler& sdkHandler = AdapterOf<OrvaneCInternal::RemovalEventHandler>(handler);
    OnAnotherThread([&] { sdkHandler.OnDeviceRemoval(camera); });
    ExpectCameraCall(seen);
    EXPECT_EQ(orvDeviceRemovalEventHandlerDestroy(handler), ORVANE_ERR_SUCCESS);
}

TEST_F(CameraDispatchTest, InterfaceHandlerCallsArrivalAndRemovalFunctions) {
    orvInterfaceEventHandler handler = nullptr;
    // One user-data pointer for both functions: each call records into it.
    Seen both;
    ASSERT_EQ(orvInterfaceEventHandlerCreate(&handler, OnCamera, OnRemovedCamera, &both), ORVANE_ERR_SUCCESS);
    auto& adapter = AdapterOf<OrvaneCInternal::InterfaceEventHandler>(handler);
    Orvane::DeviceArrivalEventHandler& asArrival = adapter;
    Orvane::DeviceRemovalEventHandler& asRemoval = adapter;
    OnAnotherThread([&] { asArrival.OnDeviceArrival(camera); });
    ExpectCameraCall(both);
    EXPECT_EQ(both.texts.size(), 1u); // the arrival function only
    OnAnotherThread([&] { asRemoval.OnDeviceRemoval(camera); });
    EXPECT_EQ(both.calls, 2);
    EXPECT_EQ(both.userData, &both);
    EXPECT_EQ(both.tag, ORV_HANDLE_CAMERA);
    EXPECT_EQ(both.texts, (std::vector<std::string>{"Virtual:VC0001", "Virtual:VC0001", "removal"}));
    // The handler reaches the SDK as one event handler for both kinds.
    Orvane::EventHandler& common = adapter;
    EXPECT_EQ(static_cast<Orvane::EventHandler*>(&asArrival), &common);
    EXPECT_EQ(static_cast<Orvane::EventHandler*>(&asRemoval), &common);
    EXPECT_EQ(orvInterfaceEventHandlerDestroy(handler), ORVANE_ERR_SUCCESS);
}

void OnCameraNodeMap(orvCamera camera, void* userData) {
    Seen* seen = static_cast<Seen*>(userData);
    Saw(seen, camera, userData);
    orvNodeMapHandle map = nullptr;
    seen->codes.push_back(orvCameraGetTLDeviceNodeMap(camera, &map));
    orvNodeHandle serial = nullptr;
    seen->codes.push_back(orvNodeMapGetNode(map, "DeviceSerialNumber", &serial));
    char text[32];
    size_t length = sizeof text;
    seen->codes.push_back(orvNodeToString(serial, text, &length));
    seen->texts.push_back(text);
}

TEST_F(CameraDispatchTest, TheTemporaryCameraReachesItsNodeMaps) {
    Seen seen;
    orvDeviceArrivalEventHandler handler = nullptr;
    ASSERT_EQ(orvDeviceArrivalEventHandlerCreate(&handler, OnCameraNodeMap, &seen), ORVANE_ERR_SUCCESS);
    Orvane::DeviceArrivalEventHandler& sdkHandler = AdapterOf<OrvaneCInternal::ArrivalEventHandler>(handler);
    OnAnotherThread([&] { sdkHandler.OnDeviceArrival(camera); });
    EXPECT_EQ(seen.codes, (std::vector<orvError>{0, 0, 0}));
    EXPECT_EQ(seen.texts, (std::vector<std::string>{"VC0001"}));
    EXPECT_EQ(orvDeviceArrivalEventHandlerDestroy(handler), ORVANE_ERR_SUCCESS);
}

// Log events ------------------------------------------------------------------------

void OnLog(orvLogEventData data, void* userData) {
    Seen* seen = static_cast<Seen*>(userData);
    Saw(seen, data, userData);
    orvError (*const getters[])(orvLogEventData, char*, size_t*) = {
        orvLogDataGetCategoryName, orvLogDataGetPriorityName, orvLogDataGetTimestamp,
        orvLogDataGetNDC,          orvLogDataGetThreadName,   orvLogDataGetLogMessage};
    for (auto get : getters) {
        char text[64];
        size_t length = sizeof text;
        seen->codes.push_back(get(data, text, &length));
        seen->texts.push_back(text);
        seen->numbers.push_back(length);
    }
    int64_t priority = 0;
    seen->codes.push_back(orvLogDataGetPriority(data, &priority));
    seen->numbers.push_back(static_cast<uint64_t>(priority));
    // The record behind the handle, field by field in its order.
    const auto* c = static_cast<const _orvLogEventContext*>(Record(data)->target);
    const char* fields[] = {
        reinterpret_cast<const char*>(&c->categoryName), reinterpret_cast<const char*>(&c->priority),
        reinterpret_cast<const char*>(&c->priorityName), reinterpret_cast<const char*>(&c->timestamp),
        reinterpret_cast<const char*>(&c->ndc),          reinterpret_cast<const char*>(&c->threadName),
        reinterpret_cast<const char*>(&c->logMessage)};
    bool ordered = true;
    for (size_t i = 1; i < sizeof fields / sizeof fields[0]; ++i) ordered = ordered && fields[i - 1] < fields[i];
    seen->numbers.push_back(ordered ? 1 : 0);
    seen->texts.push_back(c->categoryName.str() + "|" + c->priorityName.str() + "|" + c->timestamp.str() + "|" +
                          c->ndc.str() + "|" + c->threadName.str() + "|" + c->logMessage.str());
}

TEST_F(DispatchTest, LogEventCopiesTheRecordIntoTheDataHandle) {
    Seen seen;
    orvLogEventHandler handler = nullptr;
    ASSERT_EQ(orvLogEventHandlerCreate(&handler, OnLog, &seen), ORVANE_ERR_SUCCESS);
    auto record = std::make_shared<Orvane::LoggingEventData>("Category", 250, "2026-01-02 03:04:05.000006", "ndc",
                                                             "worker-7", "the message");
    Orvane::LoggingEventHandler& sdkHandler = AdapterOf<OrvaneCInternal::LogEventHandler>(handler);
    OnAnotherThread([&] { sdkHandler.OnLogEvent(record); });

    EXPECT_EQ(seen.calls, 1);
    EXPECT_EQ(seen.userData, &seen);
    EXPECT_NE(seen.thread, std::this_thread::get_id());
    EXPECT_EQ(seen.tag, ORV_HANDLE_LOGGING_EVENT_DATA);
    EXPECT_EQ(seen.codes, (std::vector<orvError>(7, ORVANE_ERR_SUCCESS)));
    EXPECT_EQ(seen.texts, (std::vector<std::string>{
                              "Category", "CRIT", "2026-01-02 03:04:05.000006", "ndc", "worker-7", "the message",
                              "Category|CRIT|2026-01-02 03:04:05.000006|ndc|worker-7|the message"}));
    EXPECT_EQ(seen.numbers, (std::vector<uint64_t>{9, 5, 27, 4, 9, 12, 250, 1}));
    EXPECT_EQ(orvLogEventHandlerDestroy(handler), ORVANE_ERR_SUCCESS);
}

// Device events ---------------------------------------------------------------------

void OnDeviceEvent(orvDeviceEventData data, const char* eventName, void* userData) {
    Seen* seen = static_cast<Seen*>(userData);
    Saw(seen, data, userData);
    seen->texts.push_back(eventName);
    uint64_t id = 0;
    seen->codes.push_back(orvDeviceEventGetId(data, &id));
    seen->numbers.push_back(id);
    size_t size = 0;
    seen->codes.push_back(orvDeviceEventGetPayloadDataSize(data, &size));
    seen->numbers.push_back(size);
    static const uint8_t sentinel = 0;
    const uint8_t* payload = &sentinel;
    size = 0;
    seen->codes.push_back(orvDeviceEventGetPayloadData(data, &payload, &size));
    seen->numbers.push_back(size);
    seen->numbers.push_back(payload == &sentinel ? 1 : 0);
    char name[16];
    std::memset(name, 'x', sizeof name);
    size_t length = sizeof name;
    seen->codes.push_back(orvDeviceEventGetName(data, name, &length));
    seen->texts.push_back(std::string(name, sizeof name));
    seen->numbers.push_back(length);
    // The record carries the payload pointer; the getter does not deliver it.
    const auto* c = static_cast<const _orvDeviceEventContext*>(Record(data)->target);
    seen->target = const_cast<uint8_t*>(c->payloadData);
    seen->numbers.push_back(c->eventName.empty() ? 1 : 0);
    const char* fields[] = {reinterpret_cast<const char*>(&c->eventId), reinterpret_cast<const char*>(&c->payloadData),
                            reinterpret_cast<const char*>(&c->payloadSize),
                            reinterpret_cast<const char*>(&c->eventName)};
    seen->numbers.push_back(fields[0] < fields[1] && fields[1] < fields[2] && fields[2] < fields[3] ? 1 : 0);
}

TEST_F(DispatchTest, DeviceEventNameIsTheArgumentNotTheData) {
    Seen seen;
    orvDeviceEventHandler handler = nullptr;
    ASSERT_EQ(orvDeviceEventHandlerCreate(&handler, OnDeviceEvent, &seen), ORVANE_ERR_SUCCESS);
    auto& adapter = AdapterOf<OrvaneCInternal::DeviceEventHandler>(handler);
    const uint8_t payload[6] = {0x12, 0x34, 0x56, 0x78, 0x9A, 0xBC};
    PayloadSetter::Set(adapter, 0x9001, payload, sizeof payload);
    Orvane::DeviceEventHandler& sdkHandler = adapter;
    OnAnotherThread([&] { sdkHandler.OnDeviceEvent("ExposureEnd"); });

    EXPECT_EQ(seen.calls, 1);
    EXPECT_EQ(seen.userData, &seen);
    EXPECT_NE(seen.thread, std::this_thread::get_id());
    EXPECT_EQ(seen.tag, ORV_HANDLE_DEVICE_EVENT_DATA);
    EXPECT_EQ(seen.codes, (std::vector<orvError>(4, ORVANE_ERR_SUCCESS)));
    EXPECT_EQ(seen.texts, (std::vector<std::string>{"ExposureEnd", std::string(16, '\0')}));
    // id, size, size from the payload getter, pointer untouched, name length,
    // empty name field, field order.
    EXPECT_EQ(seen.numbers, (std::vector<uint64_t>{0x9001, 6, 6, 1, 1, 1, 1}));
    EXPECT_EQ(seen.target, payload);
    EXPECT_EQ(orvDeviceEventHandlerDestroy(handler), ORVANE_ERR_SUCCESS);
}

TEST_F(DispatchTest, DeviceEventWithoutPayload) {
    Seen seen;
    orvDeviceEventHandler handler = nullptr;
    ASSERT_EQ(orvDeviceEventHandlerCreate(&handler, OnDeviceEvent, &seen), ORVANE_ERR_SUCCESS);
    Orvane::DeviceEventHandler& sdkHandler = AdapterOf<OrvaneCInternal::DeviceEventHandler>(handler);
    OnAnotherThread([&] { sdkHandler.OnDeviceEvent(""); });
    EXPECT_EQ(seen.texts.at(0), "");
    EXPECT_EQ(seen.numbers, (std::vector<uint64_t>{0, 0, 0, 1, 1, 1, 1}));
    EXPECT_EQ(seen.target, nullptr);
    EXPECT_EQ(orvDeviceEventHandlerDestroy(handler), ORVANE_ERR_SUCCESS);
}

// Concurrency -----------------------------------------------------------------------

// Each concurrent dispatch has its own handle: the image a callback reads is
// the one its own thread dispatched.
struct Concurrent {
    std::atomic<int> calls{0};
    std::atomic<int> mismatches{0};
    std::mutex mutex;
    std::set<void*> userData;
};

thread_local size_t t_expectedWidth = 0;

void OnConcurrentImage(orvImage image, void* userData) {
    Concurrent* c = static_cast<Concurrent*>(userData);
    size_t width = 0;
    if (orvImageGetWidth(image, &width) != ORVANE_ERR_SUCCESS || width != t_expectedWidth ||
        Record(image)->tag != ORV_HANDLE_IMAGE)
        ++c->mismatches;
    ++c->calls;
    std::lock_guard<std::mutex> lock(c->mutex);
    c->userData.insert(userData);
}

TEST_F(DispatchTest, ConcurrentDispatchesShareNothing) {
    Concurrent concurrent;
    orvImageEventHandler handler = nullptr;
    ASSERT_EQ(orvImageEventHandlerCreate(&handler, OnConcurrentImage, &concurrent), ORVANE_ERR_SUCCESS);
    Orvane::ImageEventHandler& sdkHandler = AdapterOf<OrvaneCInternal::ImageEventHandler>(handler);
    constexpr int kThreads = 4, kCalls = 200;
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&sdkHandler, t] {
            t_expectedWidth = 8 + static_cast<size_t>(t);
            Orvane::ImagePtr image = Orvane::Image::Create(t_expectedWidth, 2, 0, 0, Orvane::PixelFormat_Mono8);
            for (int i = 0; i < kCalls; ++i) sdkHandler.OnImageEvent(image);
        });
    }
    for (auto& t : threads) t.join();
    EXPECT_EQ(concurrent.calls.load(), kThreads * kCalls);
    EXPECT_EQ(concurrent.mismatches.load(), 0);
    EXPECT_EQ(concurrent.userData, (std::set<void*>{&concurrent}));
    EXPECT_EQ(orvImageEventHandlerDestroy(handler), ORVANE_ERR_SUCCESS);
}

} // namespace
