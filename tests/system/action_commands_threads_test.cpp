// Action commands through the SDK on virtual cameras triggered by Action0:
// one frame per matching camera and command, acknowledgements with the
// cameras' addresses (0.0.0.N) and GigE Vision status codes, keys that do not
// match, scheduled actions at the cameras' device time, late ones, a full
// queue, the second action, the interface's ActionCommand feature, and the
// reporting of results beyond the caller's capacity.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "Orvane/Camera.h"
#include "Orvane/CameraList.h"
#include "Orvane/GenApi/GenApi.h"
#include "Orvane/Interface.h"
#include "Orvane/System.h"
#include "SdkError.h"
#include "system/ActionCommands.h"
#include "system/InterfaceCore.h"
#include "transport/Transports.h"

using namespace Orvane;
using namespace Orvane::GenApi;

namespace {

using orvtest::CodeOf;
using orvtest::Failure;

constexpr unsigned kDeviceKey = 0x12345678, kGroupKey = 0x10, kGroupMask = 0x3;
constexpr uint32_t kLate = 0x8016, kOverflow = 0x8015;

class ActionCommands : public ::testing::Test {
protected:
    void SetUp() override {
        setenv("ORVANE_TRANSPORTS", "virtual", 1);
        setenv("ORVANE_VIRTUAL_CAMERAS", "4", 1); // VC0004 stays closed
        system = System::GetInstance();
        CameraList list = system->GetCameras();
        for (const char* serial : {"VC0001", "VC0002", "VC0003"}) {
            CameraPtr camera = list.GetBySerial(serial);
            ASSERT_TRUE(camera);
            camera->Init();
            cameras.push_back(camera);
            INodeMap& map = camera->GetNodeMap();
            CIntegerPtr(map.GetNode("Width"))->SetValue(64);
            CIntegerPtr(map.GetNode("Height"))->SetValue(16);
            CFloatPtr(map.GetNode("ExposureTime"))->SetValue(100.0);
            Text(camera, "TriggerSelector", "FrameStart");
            Text(camera, "TriggerMode", "On");
            Text(camera, "TriggerSource", "Action0");
            Int(camera, "ActionDeviceKey", kDeviceKey);
            Int(camera, "ActionSelector", 0);
            Int(camera, "ActionGroupKey", kGroupKey);
            Int(camera, "ActionGroupMask", 0x2);
        }
    }
    void TearDown() override {
        for (const CameraPtr& c : cameras) {
            if (c->IsStreaming()) c->EndAcquisition();
            c->DeInit();
        }
        cameras.clear();
        system->ReleaseInstance();
        unsetenv("ORVANE_VIRTUAL_CAMERAS");
    }

    static void Text(const CameraPtr& c, const char* name, const char* value) {
        CValuePtr(c->GetNodeMap().GetNode(name))->FromString(value);
    }
    static void Int(const CameraPtr& c, const char* name, int64_t value) {
        CIntegerPtr(c->GetNodeMap().GetNode(name))->SetValue(value);
    }
    void StartAll() {
        for (const CameraPtr& c : cameras) c->BeginAcquisition();
    }
    // Frame timestamps (device time, ns) of the next `n` frames of each
    // camera; then no other frame comes within 200 ms. -1 for a frame that
    // did not come.
    std::vector<int64_t> Frames(int n = 1) {
        std::vector<int64_t> stamps;
        for (const CameraPtr& c : cameras) {
            for (int i = 0; i < n; ++i) {
                int64_t stamp = -1;
                const int code = CodeOf([&] {
                    ImagePtr image = c->GetNextImage(5000);
                    stamp = static_cast<int64_t>(image->GetTimeStamp());
                    image->Release();
                });
                EXPECT_EQ(code, 0) << c->GetSerialNumber();
                stamps.push_back(stamp);
            }
            EXPECT_EQ(CodeOf([&] { c->GetNextImage(200); }), ORVANE_ERR_TIMEOUT) << c->GetSerialNumber();
        }
        return stamps;
    }
    void NoFrames() {
        for (const CameraPtr& c : cameras)
            EXPECT_EQ(CodeOf([&] { c->GetNextImage(200); }), ORVANE_ERR_TIMEOUT) << c->GetSerialNumber();
    }
    static std::vector<uint32_t> Addresses(const ActionCommandResult* results, size_t n) {
        std::vector<uint32_t> out;
        for (size_t i = 0; i < n; ++i) out.push_back(results[i].DeviceAddress);
        std::sort(out.begin(), out.end());
        return out;
    }
    // The latest device time of the three cameras, ns.
    int64_t LatestDeviceTime() {
        int64_t latest = 0;
        for (const CameraPtr& c : cameras)
            latest = std::max(latest, CIntegerPtr(c->GetNodeMap().GetNode("Timestamp"))->GetValue());
        return latest;
    }

    SystemPtr system;
    std::vector<CameraPtr> cameras;
};

TEST_F(ActionCommands, EachMatchingOpenCameraMakesOneFrameAndAcknowledges) {
    StartAll();
    ActionCommandResult results[4];
    std::memset(results, 0xA5, sizeof results);
    unsigned n = 4;
    system->SendActionCommand(kDeviceKey, kGroupKey, kGroupMask, ActionTimeImmediate, true, &n, results);
    EXPECT_EQ(n, 3u); // VC0004 is not open: it does not answer
    EXPECT_EQ(Addresses(results, 3), (std::vector<uint32_t>{1, 2, 3}));
    for (int i = 0; i < 3; ++i) EXPECT_EQ(results[i].Status, 0u);
    EXPECT_EQ(results[3].DeviceAddress, 0xA5A5A5A5u);
    const std::vector<int64_t> stamps = Frames();
    EXPECT_EQ(std::count(stamps.begin(), stamps.end(), -1), 0);

    // Twice more: a frame each time.
    for (int k = 0; k < 2; ++k) system->SendActionCommand(kDeviceKey, kGroupKey, kGroupMask);
    Frames(2);
}

TEST_F(ActionCommands, KeysThatDoNotMatchMoveNoCamera) {
    StartAll();
    ActionCommandResult results[3];
    unsigned n = 3;
    system->SendActionCommand(kDeviceKey + 1, kGroupKey, kGroupMask, 0, true, &n, results);
    EXPECT_EQ(n, 0u);
    n = 3;
    system->SendActionCommand(kDeviceKey, kGroupKey + 1, kGroupMask, 0, true, &n, results);
    EXPECT_EQ(n, 0u);
    n = 3;
    system->SendActionCommand(kDeviceKey, kGroupKey, 0x4, 0, true, &n, results); // no bit shared with 0x2
    EXPECT_EQ(n, 0u);
    NoFrames();
}

TEST_F(ActionCommands, OneCameraOutOfThree) {
    Int(cameras[1], "ActionGroupMask", 0x8);
    StartAll();
    ActionCommandResult results[3];
    unsigned n = 3;
    system->SendActionCommand(kDeviceKey, kGroupKey, 0x8, 0, true, &n, results);
    ASSERT_EQ(n, 1u);
    EXPECT_EQ(results[0].DeviceAddress, 2u);
    EXPECT_EQ(CodeOf([&] { cameras[1]->GetNextImage(5000)->Release(); }), 0);
    NoFrames();
}

TEST_F(ActionCommands, WithoutAcknowledgementNothingIsReportedButCamerasAct) {
    StartAll();
    ActionCommandResult results[3];
    unsigned n = 3;
    system->SendActionCommand(kDeviceKey, kGroupKey, kGroupMask, 0, false, &n, results);
    EXPECT_EQ(n, 0u);
    Frames();
}

TEST_F(ActionCommands, ScheduledActionActsAtItsDeviceTime) {
    StartAll();
    const uint64_t at = static_cast<uint64_t>(LatestDeviceTime()) + 300000000; // 300 ms ahead of the latest clock
    ActionCommandResult results[3];
    unsigned n = 3;
    system->SendActionCommand(kDeviceKey, kGroupKey, kGroupMask, at, true, &n, results);
    EXPECT_EQ(n, 3u);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(results[i].Status, 0u);
    for (int64_t stamp : Frames()) {
        EXPECT_GE(stamp, static_cast<int64_t>(at));
        EXPECT_LT(stamp, static_cast<int64_t>(at) + 2000000000);
    }
}

TEST_F(ActionCommands, LateScheduledActionActsAtOnceWithTheLateStatus) {
    StartAll();
    ActionCommandResult results[3];
    unsigned n = 3;
    system->SendActionCommand(kDeviceKey, kGroupKey, kGroupMask, 1, true, &n, results);
    ASSERT_EQ(n, 3u);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(results[i].Status, kLate);
    Frames();
}

TEST_F(ActionCommands, AFullQueueOfScheduledActionsOverflows) {
    StartAll();
    const uint64_t at = static_cast<uint64_t>(LatestDeviceTime()) + 60000000000ull; // a minute ahead
    ActionCommandResult results[3];
    for (int k = 0; k < 16; ++k) {
        unsigned n = 3;
        system->SendActionCommand(kDeviceKey, kGroupKey, kGroupMask, at + k, true, &n, results);
        ASSERT_EQ(n, 3u);
        for (int i = 0; i < 3; ++i) EXPECT_EQ(results[i].Status, 0u) << k;
    }
    unsigned n = 3;
    system->SendActionCommand(kDeviceKey, kGroupKey, kGroupMask, at + 16, true, &n, results);
    ASSERT_EQ(n, 3u);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(results[i].Status, kOverflow);
    // An immediate command is no scheduled action: it still acts.
    n = 3;
    system->SendActionCommand(kDeviceKey, kGroupKey, kGroupMask, 0, true, &n, results);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(results[i].Status, 0u);
    Frames();
}

TEST_F(ActionCommands, TheSecondActionTriggersWhatListensToAction1) {
    Text(cameras[0], "TriggerSource", "Action1");
    Int(cameras[0], "ActionSelector", 1);
    Int(cameras[0], "ActionGroupKey", 0x77);
    Int(cameras[0], "ActionGroupMask", 0x1);
    StartAll();
    ActionCommandResult results[3];
    unsigned n = 3;
    system->SendActionCommand(kDeviceKey, 0x77, 0x1, 0, true, &n, results);
    ASSERT_EQ(n, 1u);
    EXPECT_EQ(results[0].DeviceAddress, 1u);
    EXPECT_EQ(CodeOf([&] { cameras[0]->GetNextImage(5000)->Release(); }), 0);
    NoFrames();
    // Action0 of the same camera still answers its own keys, but its trigger
    // listens to Action1 now.
    n = 3;
    system->SendActionCommand(kDeviceKey, kGroupKey, kGroupMask, 0, true, &n, results);
    EXPECT_EQ(n, 3u);
    EXPECT_EQ(CodeOf([&] { cameras[0]->GetNextImage(200); }), ORVANE_ERR_TIMEOUT);
    EXPECT_EQ(CodeOf([&] { cameras[1]->GetNextImage(5000)->Release(); }), 0);
    EXPECT_EQ(CodeOf([&] { cameras[2]->GetNextImage(5000)->Release(); }), 0);
}

TEST_F(ActionCommands, ResultsBeyondTheCapacityAreCountedNotWritten) {
    StartAll();
    ActionCommandResult results[3];
    std::memset(results, 0xA5, sizeof results);
    unsigned n = 2;
    system->SendActionCommand(kDeviceKey, kGroupKey, kGroupMask, 0, true, &n, results);
    EXPECT_EQ(n, 3u);
    EXPECT_NE(results[0].DeviceAddress, 0xA5A5A5A5u);
    EXPECT_NE(results[1].DeviceAddress, 0xA5A5A5A5u);
    EXPECT_EQ(results[2].DeviceAddress, 0xA5A5A5A5u);
    Frames();
    // A count query: capacity 0, no array.
    n = 0;
    system->SendActionCommand(kDeviceKey, kGroupKey, kGroupMask, 0, true, &n, nullptr);
    EXPECT_EQ(n, 3u);
    Frames();
    // Room without an array is refused before anything is sent.
    n = 3;
    EXPECT_EQ(Failure([&] { system->SendActionCommand(kDeviceKey, kGroupKey, kGroupMask, 0, true, &n, nullptr); }),
              std::make_pair(int(ORVANE_ERR_INVALID_ARGUMENT),
                             std::string("room for 3 action command results, but no results array")));
    NoFrames();
}

TEST_F(ActionCommands, ThroughTheInterfaceAndItsActionCommandFeature) {
    StartAll();
    InterfacePtr virtualInterface = system->GetInterfaces().GetByIndex(0);
    ActionCommandResult results[3];
    unsigned n = 3;
    virtualInterface->SendActionCommand(kDeviceKey, kGroupKey, kGroupMask, 0, true, &n, results);
    EXPECT_EQ(n, 3u);
    EXPECT_EQ(Addresses(results, 3), (std::vector<uint32_t>{1, 2, 3}));
    Frames();

    INodeMap& tl = virtualInterface->GetTLNodeMap();
    CIntegerPtr(tl.GetNode("GevActionDeviceKey"))->SetValue(kDeviceKey);
    CIntegerPtr(tl.GetNode("GevActionGroupKey"))->SetValue(kGroupKey);
    CIntegerPtr(tl.GetNode("GevActionGroupMask"))->SetValue(kGroupMask);
    CIntegerPtr(tl.GetNode("GevActionTime"))->SetValue(0);
    CBooleanPtr(tl.GetNode("GevActionAckRequired"))->SetValue(true);
    CCommandPtr(tl.GetNode("ActionCommand"))->Execute();
    EXPECT_EQ(CIntegerPtr(tl.GetNode("ActionAcknowledgementCount"))->GetValue(), 3);
    CIntegerPtr selector = tl.GetNode("ActionAcknowledgementSelector");
    EXPECT_EQ(selector->GetMax(), 2);
    std::vector<uint32_t> addresses;
    for (int64_t i = 0; i < 3; ++i) {
        selector->SetValue(i);
        addresses.push_back(
            static_cast<uint32_t>(CIntegerPtr(tl.GetNode("ActionAcknowledgementDeviceAddress"))->GetValue()));
        EXPECT_EQ(CIntegerPtr(tl.GetNode("ActionAcknowledgementStatus"))->GetValue(), 0);
    }
    std::sort(addresses.begin(), addresses.end());
    EXPECT_EQ(addresses, (std::vector<uint32_t>{1, 2, 3}));
    EXPECT_EQ(CValuePtr(tl.GetNode("ActionAcknowledgementDeviceAddress"))->ToString(), "0.0.0.3");
    Frames();
    CIntegerPtr(tl.GetNode("GevActionGroupMask"))->SetValue(0x4);
    CCommandPtr(tl.GetNode("ActionCommand"))->Execute();
    EXPECT_EQ(CIntegerPtr(tl.GetNode("ActionAcknowledgementCount"))->GetValue(), 0);
    EXPECT_EQ(tl.GetNode("ActionAcknowledgementStatus")->GetAccessMode(), NA);
    NoFrames();
    EXPECT_EQ(CIntegerPtr(tl.GetNode("ActionAcknowledgementTimeout"))->GetValue(), 200);
}

// The sending itself, over transports without cameras ------------------------------

TEST(ActionCommandSending, AddressesOfTheAcknowledgements) {
    EXPECT_EQ(internal::ActionResultAddress("127.0.0.1"), 0x7F000001u);
    EXPECT_EQ(internal::ActionResultAddress("0.0.0.3"), 3u);
    EXPECT_EQ(internal::ActionResultAddress("192.168.1.255"), 0xC0A801FFu);
    EXPECT_EQ(internal::ActionResultAddress("local"), 0u);
    EXPECT_EQ(internal::ActionResultAddress("1.2.3.256"), 0u);
    EXPECT_EQ(internal::ActionResultAddress("1.2.3.4x"), 0u);
    EXPECT_EQ(internal::ActionResultAddress(""), 0u);
}

TEST(ActionCommandSending, InterfacesWithoutActionCommands) {
    using internal::InterfaceCore;
    auto usb = std::make_shared<InterfaceCore>(internal::MakeUSB3VisionTransport());
    auto virtualCameras = std::make_shared<InterfaceCore>(internal::MakeVirtualTransport([] { return 0; }));
    const internal::ActionCommand command = internal::MakeActionCommand(1, 2, 3, 0, true);
    unsigned n = 0;
    // One interface asked for: its refusal.
    EXPECT_EQ(CodeOf([&] { internal::SendActionCommands({usb}, false, command, &n, nullptr, ORV_HERE); }),
              ORVANE_ERR_NOT_IMPLEMENTED);
    // The system passes over it, unless no interface sends them at all.
    internal::SendActionCommands({usb, virtualCameras}, true, command, &n, nullptr, ORV_HERE);
    EXPECT_EQ(n, 0u);
    EXPECT_EQ(Failure([&] { internal::SendActionCommands({usb}, true, command, &n, nullptr, ORV_HERE); }),
              std::make_pair(int(ORVANE_ERR_NOT_IMPLEMENTED),
                             std::string("none of the enabled interfaces (USB3Vision) sends action commands")));
    EXPECT_EQ(Failure([&] { internal::SendActionCommands({}, true, command, &n, nullptr, ORV_HERE); }),
              std::make_pair(int(ORVANE_ERR_NOT_AVAILABLE),
                             std::string("no interface is enabled: the action command went nowhere")));
}

TEST(ActionCommandSending, TheCommandOfThePublicArguments) {
    internal::ActionCommand c = internal::MakeActionCommand(0xA, 0xB, 0xC, 0, false);
    EXPECT_EQ(c.deviceKey, 0xAu);
    EXPECT_EQ(c.groupKey, 0xBu);
    EXPECT_EQ(c.groupMask, 0xCu);
    EXPECT_FALSE(c.scheduled);
    EXPECT_FALSE(c.acknowledge);
    c = internal::MakeActionCommand(1, 2, 3, 123456789, true);
    EXPECT_TRUE(c.scheduled);
    EXPECT_EQ(c.actionTime, 123456789u);
    EXPECT_TRUE(c.acknowledge);
}

} // namespace
