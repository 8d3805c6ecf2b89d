// Events delivered by the SDK through the C library on virtual cameras: image
// and image list events (one per frame, on the delivery thread), ExposureEnd
// device events with their frame ids, arrival and removal of a virtual
// camera, and action commands answered by three virtual cameras.
#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "CapiFixture.h"
#include "OrvaneUtilsC.h"

namespace {

using namespace std::chrono_literals;

// Calls recorded by callbacks on the SDK's threads, awaited by the test.
struct Recorder {
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<uint64_t> numbers;
    std::vector<std::string> texts;
    std::set<std::thread::id> threads;
    std::vector<orvError> failures; // non-zero codes seen inside callbacks
    int calls = 0;
    bool wrongUserData = false;
    bool wrongTag = false;

    void Record(void* userData, void* handle, orvHandleType tag, std::function<void()> body) {
        std::unique_lock<std::mutex> lock(mutex);
        if (userData != this) wrongUserData = true;
        if (static_cast<orvObject*>(handle)->tag != tag) wrongTag = true;
        threads.insert(std::this_thread::get_id());
        body();
        ++calls;
        changed.notify_all();
    }
    void Check(orvError code) {
        if (code != ORVANE_ERR_SUCCESS) failures.push_back(code);
    }
    // Waits (at most 15 s) until pred() holds under the lock.
    bool WaitFor(std::function<bool()> pred) {
        std::unique_lock<std::mutex> lock(mutex);
        return changed.wait_for(lock, 15s, pred);
    }
    bool WaitCalls(int n) {
        return WaitFor([&] { return calls >= n; });
    }
    int Calls() {
        std::lock_guard<std::mutex> lock(mutex);
        return calls;
    }
};

class EndToEndTest : public CapiTest {
protected:
    void SetUp() override {
        setenv("ORVANE_TRANSPORTS", "virtual", 1);
        setenv("ORVANE_VIRTUAL_CAMERAS", "3", 1);
        CapiTest::SetUp();
        ASSERT_EQ(orvCameraListCreateEmpty(&cameras), ORVANE_ERR_SUCCESS);
        ASSERT_EQ(orvSystemGetCameras(system, cameras), ORVANE_ERR_SUCCESS);
    }
    void TearDown() override {
        for (orvCamera camera : opened) {
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
        unsetenv("ORVANE_VIRTUAL_CAMERAS");
    }

    // An initialised camera with small, fast frames.
    orvCamera Open(const char* serial) {
        orvCamera camera = nullptr;
        EXPECT_EQ(orvCameraListGetBySerial(cameras, serial, &camera), ORVANE_ERR_SUCCESS);
        EXPECT_EQ(orvCameraInit(camera), ORVANE_ERR_SUCCESS);
        opened.push_back(camera);
        SetInt(camera, "Width", 64);
        SetInt(camera, "Height", 16);
        SetFloat(camera, "ExposureTime", 100.0);
        SetFloat(camera, "AcquisitionFrameRate", 1000.0);
        return camera;
    }
    orvNodeHandle Node(orvCamera camera, const char* name) {
        orvNodeMapHandle map = nullptr;
        EXPECT_EQ(orvCameraGetNodeMap(camera, &map), ORVANE_ERR_SUCCESS);
        orvNodeHandle node = nullptr;
        EXPECT_EQ(orvNodeMapGetNode(map, name, &node), ORVANE_ERR_SUCCESS) << name;
        EXPECT_NE(node, nullptr) << name;
        return node;
    }
    void SetInt(orvCamera camera, const char* name, int64_t v) {
        EXPECT_EQ(orvIntegerSetValue(Node(camera, name), v), ORVANE_ERR_SUCCESS) << name;
    }
    void SetFloat(orvCamera camera, const char* name, double v) {
        EXPECT_EQ(orvFloatSetValue(Node(camera, name), v), ORVANE_ERR_SUCCESS) << name;
    }
    void SetText(orvCamera camera, const char* name, const char* v) {
        EXPECT_EQ(orvNodeFromString(Node(camera, name), v), ORVANE_ERR_SUCCESS) << name;
    }
    int64_t GetInt(orvCamera camera, const char* name) {
        int64_t v = -1;
        EXPECT_EQ(orvIntegerGetValue(Node(camera, name), &v), ORVANE_ERR_SUCCESS) << name;
        return v;
    }
    void MultiFrame(orvCamera camera, int64_t frames) {
        SetText(camera, "AcquisitionMode", "MultiFrame");
        SetInt(camera, "AcquisitionFrameCount", frames);
    }
    // The next frame's id (the image given back), or -1 on a timeout.
    int64_t NextFrameId(orvCamera camera, uint64_t timeoutMs) {
        orvImage image = nullptr;
        const orvError code = orvCameraGetNextImageEx(camera, timeoutMs, &image);
        if (code != ORVANE_ERR_SUCCESS) {
            EXPECT_EQ(code, ORVANE_ERR_TIMEOUT);
            return -1;
        }
        uint64_t id = 0;
        EXPECT_EQ(orvImageGetFrameID(image, &id), ORVANE_ERR_SUCCESS);
        EXPECT_EQ(orvImageRelease(image), ORVANE_ERR_SUCCESS);
        return static_cast<int64_t>(id);
    }

    orvCameraList cameras = nullptr;
    std::vector<orvCamera> opened;
};

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

// Arrival and removal -------------------------------------------------------------

void OnCamera(orvCamera camera, void* userData, const char* kind) {
    Recorder* r = static_cast<Recorder*>(userData);
    r->Record(userData, camera, ORV_HANDLE_CAMERA, [&] {
        char id[64] = "";
        size_t length = sizeof id;
        r->Check(orvCameraGetUniqueID(camera, id, &length));
        bool8_t valid = 9;
        r->Check(orvCameraIsValid(camera, &valid));
        r->texts.push_back(std::string(kind) + " " + id + (valid ? " valid" : " invalid"));
    });
}
void OnArrival(orvCamera camera, void* userData) { OnCamera(camera, userData, "arrival"); }
void OnRemoval(orvCamera camera, void* userData) { OnCamera(camera, userData, "removal"); }

// A virtual camera is plugged by raising the system's VirtualCameraCount and
// unplugged by lowering it again.
TEST_F(EndToEndTest, ArrivalAndRemovalOfAVirtualCamera) {
    orvNodeMapHandle tl = nullptr;
    ASSERT_EQ(orvSystemGetTLNodeMap(system, &tl), ORVANE_ERR_SUCCESS);
    orvNodeHandle count = nullptr;
    ASSERT_EQ(orvNodeMapGetNode(tl, "VirtualCameraCount", &count), ORVANE_ERR_SUCCESS);
    orvInterfaceList interfaces = nullptr;
    orvInterface virtualInterface = nullptr;
    ASSERT_EQ(orvInterfaceListCreateEmpty(&interfaces), ORVANE_ERR_SUCCESS);
    ASSERT_EQ(orvSystemGetInterfaces(system, interfaces), ORVANE_ERR_SUCCESS);
    ASSERT_EQ(orvInterfaceListGet(interfaces, 0, &virtualInterface), ORVANE_ERR_SUCCESS);

    Recorder arrivals, removals, both;
    orvDeviceArrivalEventHandler arrival = nullptr;
    orvDeviceRemovalEventHandler removal = nullptr;
    orvInterfaceEventHandler interfaceEvents = nullptr;
    ASSERT_EQ(orvDeviceArrivalEventHandlerCreate(&arrival, OnArrival, &arrivals), ORVANE_ERR_SUCCESS);
    ASSERT_EQ(orvDeviceRemovalEventHandlerCreate(&removal, OnRemoval, &removals), ORVANE_ERR_SUCCESS);
    ASSERT_EQ(orvInterfaceEventHandlerCreate(&interfaceEvents, OnArrival, OnRemoval, &both), ORVANE_ERR_SUCCESS);
    // The three cameras present are known (SetUp's discovery): no arrivals for them.
    ASSERT_EQ(orvSystemRegisterDeviceArrivalEventHandler(system, arrival), ORVANE_ERR_SUCCESS);
    ASSERT_EQ(orvSystemRegisterDeviceRemovalEventHandler(system, removal), ORVANE_ERR_SUCCESS);
    ASSERT_EQ(orvInterfaceRegisterInterfaceEventHandler(virtualInterface, interfaceEvents), ORVANE_ERR_SUCCESS);

    ASSERT_EQ(orvIntegerSetValue(count, 4), 0);
    EXPECT_TRUE(arrivals.WaitCalls(1));
    EXPECT_TRUE(both.WaitCalls(1));
    ASSERT_EQ(orvIntegerSetValue(count, 3), 0);
    EXPECT_TRUE(removals.WaitCalls(1));
    EXPECT_TRUE(both.WaitCalls(2));

    EXPECT_EQ(orvSystemUnregisterDeviceArrivalEventHandler(system, arrival), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvSystemUnregisterDeviceRemovalEventHandler(system, removal), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvInterfaceUnregisterInterfaceEventHandler(virtualInterface, interfaceEvents), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvDeviceArrivalEventHandlerDestroy(arrival), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvDeviceRemovalEventHandlerDestroy(removal), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvInterfaceEventHandlerDestroy(interfaceEvents), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvInterfaceRelease(virtualInterface), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvInterfaceListDestroy(interfaces), ORVANE_ERR_SUCCESS);

    for (Recorder* r : {&arrivals, &removals, &both}) {
        std::lock_guard<std::mutex> lock(r->mutex);
        EXPECT_FALSE(r->wrongUserData);
        EXPECT_FALSE(r->wrongTag);
        EXPECT_TRUE(r->failures.empty());
        EXPECT_EQ(r->threads.count(std::this_thread::get_id()), 0u);
    }
    EXPECT_EQ(arrivals.texts, (std::vector<std::string>{"arrival Virtual:VC0004 valid"}));
    EXPECT_EQ(removals.texts, (std::vector<std::string>{"removal Virtual:VC0004 invalid"}));
    EXPECT_EQ(both.texts, (std::vector<std::string>{"arrival Virtual:VC0004 valid", "removal Virtual:VC0004 invalid"}));
}

// Action commands -------------------------------------------------------------------

class ActionTest : public EndToEndTest {
protected:
    static constexpr unsigned kDeviceKey = 0x12345678, kGroupKey = 0x10, kGroupMask = 0x3;

    void SetUp() override {
        EndToEndTest::SetUp();
        for (const char* serial : {"VC0001", "VC0002", "VC0003"}) {
            orvCamera camera = Open(serial);
            SetText(camera, "TriggerSelector", "FrameStart");
            SetText(camera, "TriggerMode", "On");
            SetText(camera, "TriggerSource", "Action0");
            SetInt(camera, "ActionDeviceKey", kDeviceKey);
            SetInt(camera, "ActionSelector", 0);
            SetInt(camera, "ActionGroupKey", kGroupKey);
            SetInt(camera, "ActionGroupMask", 0x2);
            ASSERT_EQ(orvCameraBeginAcquisition(camera), ORVANE_ERR_SUCCESS);
        }
    }
    // Every camera delivers exactly one frame (or none).
    void ExpectFramesPerCamera(bool one) {
        for (orvCamera camera : opened) {
            if (one) {
                EXPECT_GE(NextFrameId(camera, 5000), 0);
            }
            EXPECT_EQ(NextFrameId(camera, 200), -1);
        }
    }
    static std::vector<uint32_t> Addresses(const orvActionCommandResult* results, size_t n) {
        std::vector<uint32_t> out;
        for (size_t i = 0; i < n; ++i) out.push_back(results[i].DeviceAddress);
        std::sort(out.begin(), out.end());
        return out;
    }
};

TEST_F(ActionTest, CountQueryCopyAndCapacity) {
    orvActionCommandResult results[5] = {};

    // A count query: how many cameras answered.
    unsigned int n = 0;
    ASSERT_EQ(orvSystemSendActionCommand(system, kDeviceKey, kGroupKey, kGroupMask, 0, true, &n, results),
              ORVANE_ERR_SUCCESS)
        << LastText(orvErrorGetLastMessage);
    EXPECT_EQ(n, 3u);
    ExpectFramesPerCamera(true);

    // Room for all three.
    std::memset(results, 0xA5, sizeof results);
    n = 3;
    ASSERT_EQ(orvSystemSendActionCommand(system, kDeviceKey, kGroupKey, kGroupMask, 0, true, &n, results), 0);
    EXPECT_EQ(n, 3u);
    EXPECT_EQ(Addresses(results, 3), (std::vector<uint32_t>{1, 2, 3}));
    for (int i = 0; i < 3; ++i) EXPECT_EQ(results[i].Status, 0u);
    EXPECT_EQ(results[3].DeviceAddress, 0xA5A5A5A5u); // beyond the caller's number: untouched
    ExpectFramesPerCamera(true);

    // Room for two: two copied, three reported.
    std::memset(results, 0xA5, sizeof results);
    n = 2;
    ASSERT_EQ(orvSystemSendActionCommand(system, kDeviceKey, kGroupKey, kGroupMask, 0, true, &n, results), 0);
    EXPECT_EQ(n, 3u);
    const std::vector<uint32_t> two = Addresses(results, 2);
    EXPECT_TRUE(two[0] >= 1 && two[1] <= 3 && two[0] != two[1]);
    EXPECT_EQ(results[2].DeviceAddress, 0xA5A5A5A5u);
    ExpectFramesPerCamera(true);

    // Room for five: five copied (the two beyond the answers are zero).
    std::memset(results, 0xA5, sizeof results);
    n = 5;
    ASSERT_EQ(orvSystemSendActionCommand(system, kDeviceKey, kGroupKey, kGroupMask, 0, true, &n, results), 0);
    EXPECT_EQ(n, 3u);
    EXPECT_EQ(Addresses(results, 3), (std::vector<uint32_t>{1, 2, 3}));
    for (int i = 3; i < 5; ++i) {
        EXPECT_EQ(results[i].DeviceAddress, 0u);
        EXPECT_EQ(results[i].Status, 0u);
    }
    ExpectFramesPerCamera(true);

    // No result size: sent, nothing reported.
    EXPECT_EQ(orvSystemSendActionCommand(system, kDeviceKey, kGroupKey, kGroupMask, 0, true, nullptr, nullptr), 0);
    ExpectFramesPerCamera(true);
}

TEST_F(ActionTest, KeysThatDoNotMatchMoveNoCamera) {
    orvActionCommandResult results[3] = {};
    unsigned int n = 0;
    EXPECT_EQ(orvSystemSendActionCommand(system, kDeviceKey + 1, kGroupKey, kGroupMask, 0, true, &n, results), 0);
    EXPECT_EQ(n, 0u);
    n = 0;
    EXPECT_EQ(orvSystemSendActionCommand(system, kDeviceKey, kGroupKey, 0x4, 0, true, &n, results), 0);
    EXPECT_EQ(n, 0u);
    ExpectFramesPerCamera(false);
}

TEST_F(ActionTest, ThroughTheInterface) {
    orvInterfaceList interfaces = nullptr;
    orvInterface virtualInterface = nullptr;
    ASSERT_EQ(orvInterfaceListCreateEmpty(&interfaces), ORVANE_ERR_SUCCESS);
    ASSERT_EQ(orvSystemGetInterfaces(system, interfaces), ORVANE_ERR_SUCCESS);
    ASSERT_EQ(orvInterfaceListGet(interfaces, 0, &virtualInterface), ORVANE_ERR_SUCCESS);
    orvActionCommandResult results[3] = {};
    unsigned int n = 3;
    ASSERT_EQ(orvInterfaceSendActionCommand(virtualInterface, kDeviceKey, kGroupKey, kGroupMask, 0, true, &n, results),
              0)
        << LastText(orvErrorGetLastMessage);
    EXPECT_EQ(n, 3u);
    EXPECT_EQ(Addresses(results, 3), (std::vector<uint32_t>{1, 2, 3}));
    ExpectFramesPerCamera(true);
    EXPECT_EQ(orvInterfaceRelease(virtualInterface), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvInterfaceListDestroy(interfaces), ORVANE_ERR_SUCCESS);
}

} // namespace
