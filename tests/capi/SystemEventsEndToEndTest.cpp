// Arrival and removal of a virtual camera (the system's VirtualCameraCount
// raised and lowered) and action commands answered by three virtual cameras,
// through the C library.
#include <algorithm>
#include <chrono>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "EndToEndFixture.h"

namespace {

using namespace e2e;

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
