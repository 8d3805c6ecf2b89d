// Arrival and removal events of virtual cameras through the SDK: plugged and
// unplugged with the system's VirtualCameraCount, reported once each on the
// device monitor's thread with the camera objects the lists hand out;
// registration on the system and on an interface, its errors, unregistration
// while a handler runs; the monitor's threads living only while handlers are
// registered; an unplugged open camera failing its calls with
// ORVANE_ERR_DEVICE_LOST; a lost connection reported as a removal at once.
#include <gtest/gtest.h>

#include <dirent.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <fstream>
#include <future>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "ArrivalRecorder.h"
#include "Orvane/Camera.h"
#include "Orvane/CameraList.h"
#include "Orvane/GenApi/GenApi.h"
#include "Orvane/Interface.h"
#include "Orvane/Logging.h"
#include "Orvane/System.h"
#include "SdkError.h"
#include "camera/CameraAccess.h"
#include "camera/DiscoveredCamera.h"
#include "transport/DeviceConnection.h"

using namespace Orvane;
using namespace Orvane::GenApi;

namespace {

using namespace std::chrono_literals;
using orvtest::ArrivalRecorder;
using orvtest::BothRecorder;
using orvtest::CodeOf;
using orvtest::Failure;
using orvtest::RemovalRecorder;

// The names of this process's threads.
std::multiset<std::string> ThreadNames() {
    std::multiset<std::string> names;
    DIR* dir = opendir("/proc/self/task");
    if (!dir) return names;
    while (dirent* e = readdir(dir)) {
        if (e->d_name[0] == '.') continue;
        std::ifstream comm(std::string("/proc/self/task/") + e->d_name + "/comm");
        std::string name;
        std::getline(comm, name);
        names.insert(name);
    }
    closedir(dir);
    return names;
}

// Waits (at most 5 s) until `n` threads have this name.
bool ThreadsNamed(const char* name, size_t n) {
    for (int i = 0; i < 500; ++i) {
        if (ThreadNames().count(name) == n) return true;
        std::this_thread::sleep_for(10ms);
    }
    return false;
}

class ArrivalRemoval : public ::testing::Test {
protected:
    void SetUp() override {
        setenv("ORVANE_TRANSPORTS", "virtual", 1);
        setenv("ORVANE_VIRTUAL_CAMERAS", "3", 1);
        system = System::GetInstance();
        count = system->GetTLNodeMap().GetNode("VirtualCameraCount");
        ASSERT_TRUE(count.IsValid());
    }
    void TearDown() override {
        for (const CameraPtr& c : opened) c->DeInit();
        opened.clear();
        count = nullptr;
        system->ReleaseInstance();
        unsetenv("ORVANE_VIRTUAL_CAMERAS");
    }

    void Plug(int64_t n) { count->SetValue(n); }
    // Long enough for several rediscoveries of the virtual interface (every
    // 200 ms): whatever was still to come has come.
    static void Quiet() { std::this_thread::sleep_for(700ms); }
    CameraPtr Open(const char* serial) {
        CameraPtr camera = system->GetCameras().GetBySerial(serial);
        EXPECT_TRUE(camera) << serial;
        if (!camera) return camera;
        camera->Init();
        opened.push_back(camera);
        return camera;
    }

    SystemPtr system;
    CIntegerPtr count;
    std::vector<CameraPtr> opened;
};

TEST_F(ArrivalRemoval, PlugAndUnplugAreReportedOnceWithTheListsCameraObjects) {
    ASSERT_EQ(system->GetCameras().GetSize(), 3u);
    BothRecorder both;
    system->RegisterEventHandler(both); // update: the three cameras present are known
    Quiet();
    EXPECT_TRUE(both.calls.Calls().empty());

    Plug(4);
    ASSERT_TRUE(both.calls.WaitFor(1));
    Plug(3);
    ASSERT_TRUE(both.calls.WaitFor(2));
    Quiet();
    system->UnregisterEventHandler(both);

    const std::vector<orvtest::CameraCall> calls = both.calls.Calls();
    EXPECT_EQ(both.calls.Texts(), (std::vector<std::string>{"arrival VC0004 valid", "removal VC0004 invalid"}));
    ASSERT_EQ(calls.size(), 2u);
    // One camera object from arrival to removal; not the caller's thread.
    EXPECT_EQ(calls[0].camera.get(), calls[1].camera.get());
    EXPECT_NE(calls[0].thread, std::this_thread::get_id());
    EXPECT_EQ(calls[0].thread, calls[1].thread);
    EXPECT_FALSE(calls[1].camera->IsValid());
    EXPECT_FALSE(system->GetCameras(false, false).GetBySerial("VC0004"));

    // Plugged again: a new camera object, the one the list hands out.
    system->RegisterEventHandler(both);
    Plug(4);
    ASSERT_TRUE(both.calls.WaitFor(3));
    const CameraPtr listed = system->GetCameras(false, false).GetBySerial("VC0004");
    system->UnregisterEventHandler(both);
    ASSERT_EQ(both.calls.Calls().size(), 3u);
    EXPECT_EQ(both.calls.Texts()[2], "arrival VC0004 valid");
    EXPECT_EQ(both.calls.Calls()[2].camera.get(), listed.get());
    EXPECT_NE(both.calls.Calls()[2].camera.get(), calls[0].camera.get());
}

TEST_F(ArrivalRemoval, ArrivalAndRemovalHandlersHearTheirKindOnly) {
    system->GetCameras();
    ArrivalRecorder arrivals;
    RemovalRecorder removals;
    system->RegisterEventHandler(arrivals);
    system->RegisterEventHandler(removals);
    Plug(5);
    ASSERT_TRUE(arrivals.calls.WaitFor(2));
    Plug(2);
    ASSERT_TRUE(removals.calls.WaitFor(3));
    Quiet();
    system->UnregisterEventHandler(arrivals);
    system->UnregisterEventHandler(removals);
    EXPECT_EQ(arrivals.calls.Texts(), (std::vector<std::string>{"arrival VC0004 valid", "arrival VC0005 valid"}));
    EXPECT_EQ(removals.calls.Texts(),
              (std::vector<std::string>{"removal VC0003 invalid", "removal VC0004 invalid", "removal VC0005 invalid"}));
}

TEST_F(ArrivalRemoval, WithoutUpdateCamerasNotYetDiscoveredArrive) {
    // Nothing discovered yet on this system: the monitor's first discovery
    // finds three cameras new.
    ArrivalRecorder arrivals;
    system->RegisterEventHandler(arrivals, false);
    ASSERT_TRUE(arrivals.calls.WaitFor(3));
    Quiet();
    system->UnregisterEventHandler(arrivals);
    EXPECT_EQ(arrivals.calls.Texts(),
              (std::vector<std::string>{"arrival VC0001 valid", "arrival VC0002 valid", "arrival VC0003 valid"}));
}

TEST_F(ArrivalRemoval, WithUpdateCamerasPresentDoNotArrive) {
    ArrivalRecorder arrivals;
    system->RegisterEventHandler(arrivals, true);
    Quiet();
    system->UnregisterEventHandler(arrivals);
    EXPECT_TRUE(arrivals.calls.Calls().empty());
}

TEST_F(ArrivalRemoval, InterfaceHandlersHearTheirInterface) {
    InterfaceList interfaces = system->GetInterfaces();
    ASSERT_EQ(interfaces.GetSize(), 1u);
    InterfacePtr virtualInterface = interfaces.GetByIndex(0);
    EXPECT_EQ(virtualInterface->GetCameras().GetSize(), 3u);
    BothRecorder both;
    virtualInterface->RegisterEventHandler(both);
    Plug(5);
    ASSERT_TRUE(both.calls.WaitFor(2));
    Plug(4);
    ASSERT_TRUE(both.calls.WaitFor(3));
    Quiet();
    virtualInterface->UnregisterEventHandler(both);
    EXPECT_EQ(both.calls.Texts(),
              (std::vector<std::string>{"arrival VC0004 valid", "arrival VC0005 valid", "removal VC0005 invalid"}));
}

TEST_F(ArrivalRemoval, ChangesTheApplicationFindsAreReportedToo) {
    system->GetCameras();
    BothRecorder both;
    system->RegisterEventHandler(both);
    // The application's own discovery finds the change first (the plug
    // itself rediscovers); the monitor's later ones find nothing new.
    Plug(4);
    EXPECT_FALSE(system->UpdateCameras());
    ASSERT_TRUE(both.calls.WaitFor(1));
    Quiet();
    system->UnregisterEventHandler(both);
    EXPECT_EQ(both.calls.Texts(), (std::vector<std::string>{"arrival VC0004 valid"}));
}

class NotAnArrivalHandler : public LoggingEventHandler {
public:
    void OnLogEvent(LoggingEventDataPtr) override {}
};

TEST_F(ArrivalRemoval, RegistrationErrors) {
    BothRecorder both;
    NotAnArrivalHandler logging;
    InterfacePtr virtualInterface = system->GetInterfaces().GetByIndex(0);
    EXPECT_EQ(Failure([&] { system->RegisterEventHandler(logging); }),
              std::make_pair(int(ORVANE_ERR_INVALID_ARGUMENT),
                             std::string("the handler is no DeviceArrivalEventHandler, DeviceRemovalEventHandler or "
                                         "InterfaceEventHandler")));
    EXPECT_EQ(
        Failure([&] { system->UnregisterEventHandler(both); }),
        std::make_pair(int(ORVANE_ERR_NOT_AVAILABLE), std::string("the handler is not registered on the system")));
    system->RegisterEventHandler(both);
    EXPECT_EQ(Failure([&] { system->RegisterEventHandler(both); }),
              std::make_pair(int(ORVANE_ERR_RESOURCE_IN_USE),
                             std::string("the handler is registered on the system already")));
    EXPECT_EQ(Failure([&] { virtualInterface->UnregisterEventHandler(both); }),
              std::make_pair(int(ORVANE_ERR_NOT_AVAILABLE),
                             std::string("the handler is not registered on interface Virtual")));
    // On the interface too: a registration of its own.
    virtualInterface->RegisterEventHandler(both);
    EXPECT_EQ(Failure([&] { virtualInterface->RegisterEventHandler(both); }),
              std::make_pair(int(ORVANE_ERR_RESOURCE_IN_USE),
                             std::string("the handler is registered on interface Virtual already")));
    virtualInterface->UnregisterEventHandler(both);
    system->UnregisterEventHandler(both);
    EXPECT_EQ(CodeOf([&] { system->UnregisterEventHandler(both); }), ORVANE_ERR_NOT_AVAILABLE);

    // The system released: its interfaces take no more handlers.
    system->ReleaseInstance();
    EXPECT_EQ(Failure([&] { virtualInterface->RegisterEventHandler(both); }),
              std::make_pair(int(ORVANE_ERR_NOT_AVAILABLE),
                             std::string("the system was released: arrival and removal handlers cannot be registered "
                                         "on interface Virtual")));
    EXPECT_EQ(CodeOf([&] { system->RegisterEventHandler(both); }), ORVANE_ERR_NOT_AVAILABLE);
    virtualInterface = nullptr;
    system = System::GetInstance();
    count = system->GetTLNodeMap().GetNode("VirtualCameraCount");
}

TEST_F(ArrivalRemoval, UnregisterWaitsForTheRunningHandler) {
    system->GetCameras();
    BothRecorder both;
    std::promise<void> entered, release;
    std::shared_future<void> released = release.get_future().share();
    std::atomic<bool> handlerDone{false};
    both.calls.during = [&](const orvtest::CameraCall&) {
        entered.set_value();
        released.wait();
        std::this_thread::sleep_for(50ms);
        handlerDone = true;
    };
    system->RegisterEventHandler(both);
    Plug(4);
    ASSERT_EQ(entered.get_future().wait_for(10s), std::future_status::ready);
    std::atomic<bool> unregistered{false};
    std::thread other([&] {
        system->UnregisterEventHandler(both);
        unregistered = true;
    });
    std::this_thread::sleep_for(200ms);
    EXPECT_FALSE(unregistered.load()); // the handler still runs
    release.set_value();
    other.join();
    EXPECT_TRUE(handlerDone.load()); // it had returned when Unregister did
    // Unregistered: later changes reach nobody.
    Plug(3);
    Quiet();
    EXPECT_EQ(both.calls.Texts(), (std::vector<std::string>{"arrival VC0004 valid"}));
}

TEST_F(ArrivalRemoval, AHandlerMayUnregisterItselfAndRegisterAnother) {
    system->GetCameras();
    BothRecorder first, second;
    first.calls.during = [&](const orvtest::CameraCall&) {
        system->UnregisterEventHandler(first);
        system->RegisterEventHandler(second, false);
    };
    system->RegisterEventHandler(first);
    Plug(4);
    ASSERT_TRUE(first.calls.WaitFor(1));
    Plug(5);
    ASSERT_TRUE(second.calls.WaitFor(1));
    Quiet();
    system->UnregisterEventHandler(second);
    EXPECT_EQ(first.calls.Texts(), (std::vector<std::string>{"arrival VC0004 valid"}));
    EXPECT_EQ(second.calls.Texts(), (std::vector<std::string>{"arrival VC0005 valid"}));
}

TEST_F(ArrivalRemoval, TheMonitorRunsWhileHandlersAreRegistered) {
    system->GetCameras();
    EXPECT_EQ(ThreadNames().count("orv-devmon"), 0u);
    EXPECT_EQ(ThreadNames().count("orv-discover"), 0u);
    ArrivalRecorder arrivals;
    RemovalRecorder removals;
    system->RegisterEventHandler(arrivals);
    system->RegisterEventHandler(removals);
    EXPECT_TRUE(ThreadsNamed("orv-devmon", 1));
    EXPECT_TRUE(ThreadsNamed("orv-discover", 1));
    system->UnregisterEventHandler(arrivals);
    EXPECT_EQ(ThreadNames().count("orv-devmon"), 1u);
    // The last one stops them before it returns. (A joined thread may stay
    // listed in /proc for a moment while the kernel reaps it.)
    system->UnregisterEventHandler(removals);
    EXPECT_TRUE(ThreadsNamed("orv-devmon", 0));
    EXPECT_TRUE(ThreadsNamed("orv-discover", 0));
    // Releasing the system stops them too.
    system->RegisterEventHandler(arrivals);
    EXPECT_TRUE(ThreadsNamed("orv-devmon", 1));
    system->ReleaseInstance();
    EXPECT_TRUE(ThreadsNamed("orv-devmon", 0));
    EXPECT_TRUE(ThreadsNamed("orv-discover", 0));
    system = System::GetInstance();
    count = system->GetTLNodeMap().GetNode("VirtualCameraCount");
}

TEST_F(ArrivalRemoval, AnUnpluggedOpenCameraFailsItsCallsAsLost) {
    CameraPtr camera = Open("VC0002");
    INodeMap& map = camera->GetNodeMap();
    CIntegerPtr width = map.GetNode("Width");
    CCommandPtr start = map.GetNode("AcquisitionStart");
    EXPECT_GT(width->GetValue(), 0);
    RemovalRecorder removals;
    system->RegisterEventHandler(removals);

    Plug(1);
    // Lost at once: no need to wait for the monitor.
    EXPECT_FALSE(camera->IsValid());
    EXPECT_EQ(camera->GetAccessMode(), NA);
    const std::string lost = "camera Orvane-VirtualCamera-VC0002 was lost (unplugged: VirtualCameraCount is 1)";
    EXPECT_EQ(Failure([&] { width->GetValue(); }), std::make_pair(int(ORVANE_ERR_DEVICE_LOST), "Width: " + lost));
    EXPECT_EQ(Failure([&] { width->SetValue(64); }), std::make_pair(int(ORVANE_ERR_DEVICE_LOST), "Width: " + lost));
    EXPECT_EQ(Failure([&] { start->Execute(); }),
              std::make_pair(int(ORVANE_ERR_DEVICE_LOST), "AcquisitionStart: " + lost));
    EXPECT_EQ(width->GetAccessMode(), NA);
    uint8_t byte = 0;
    EXPECT_EQ(Failure([&] { camera->ReadPort(0x1000, &byte, 1); }), std::make_pair(int(ORVANE_ERR_DEVICE_LOST), lost));
    EXPECT_EQ(Failure([&] { camera->WritePort(0x1000, &byte, 1); }), std::make_pair(int(ORVANE_ERR_DEVICE_LOST), lost));
    EXPECT_EQ(CodeOf([&] { camera->BeginAcquisition(); }), ORVANE_ERR_DEVICE_LOST);
    // The transport-layer node maps still answer.
    EXPECT_EQ(CStringPtr(camera->GetTLDeviceNodeMap().GetNode("DeviceSerialNumber"))->GetValue(), "VC0002");

    ASSERT_TRUE(removals.calls.WaitFor(2));
    Quiet();
    system->UnregisterEventHandler(removals);
    EXPECT_EQ(removals.calls.Texts(), (std::vector<std::string>{"removal VC0002 invalid", "removal VC0003 invalid"}));
    EXPECT_EQ(removals.calls.Calls()[0].camera.get(), camera.get());

    // Closed, it cannot open again: the device is gone.
    camera->DeInit();
    EXPECT_EQ(Failure([&] { camera->Init(); }),
              std::make_pair(int(ORVANE_ERR_NOT_AVAILABLE),
                             std::string("camera Orvane-VirtualCamera-VC0002 is no longer present (rediscover the "
                                         "cameras)")));
    // Plugged again, it is a new camera that opens.
    Plug(3);
    CameraPtr again = Open("VC0002");
    EXPECT_NE(again.get(), camera.get());
    EXPECT_TRUE(again->IsValid());
    EXPECT_GT(CIntegerPtr(again->GetNodeMap().GetNode("Width"))->GetValue(), 0);
}

TEST_F(ArrivalRemoval, UnpluggingAStreamingCameraEndsItsWaitAsLost) {
    CameraPtr camera = Open("VC0003");
    INodeMap& map = camera->GetNodeMap();
    CIntegerPtr(map.GetNode("Width"))->SetValue(64);
    CIntegerPtr(map.GetNode("Height"))->SetValue(16);
    CFloatPtr(map.GetNode("ExposureTime"))->SetValue(1000.0);
    camera->BeginAcquisition();
    camera->GetNextImage(5000)->Release();
    std::thread unplug([&] {
        std::this_thread::sleep_for(100ms);
        Plug(2);
    });
    int code = 0;
    for (int i = 0; i < 10000 && code == 0; ++i) code = CodeOf([&] { camera->GetNextImage(5000)->Release(); });
    unplug.join();
    EXPECT_EQ(code, ORVANE_ERR_DEVICE_LOST);
    EXPECT_EQ(CodeOf([&] { camera->GetNextImage(5000); }), ORVANE_ERR_DEVICE_LOST);
    camera->EndAcquisition();
    EXPECT_FALSE(camera->IsStreaming());
}

// What Aravis does when a device stops answering its heartbeat, from a
// thread of its own.
void LoseTheDevice(const CameraPtr& camera) {
    std::shared_ptr<internal::DeviceConnection> connection = camera->Core().Access().Connection();
    ASSERT_TRUE(connection);
    std::thread heartbeat([&] { g_signal_emit_by_name(connection->Device(), "control-lost"); });
    heartbeat.join();
}

TEST_F(ArrivalRemoval, ALostConnectionIsARemovalAtOnceAndTheDeviceArrivesAgain) {
    CameraPtr camera = Open("VC0001");
    BothRecorder both;
    system->RegisterEventHandler(both);
    Quiet(); // the monitor watches the open camera's connection by now
    LoseTheDevice(camera);
    ASSERT_TRUE(both.calls.WaitFor(1, 2s));
    EXPECT_EQ(both.calls.Texts()[0], "removal VC0001 invalid");
    EXPECT_EQ(both.calls.Calls()[0].camera.get(), camera.get());
    EXPECT_EQ(Failure([&] { CIntegerPtr(camera->GetNodeMap().GetNode("Width"))->GetValue(); }),
              std::make_pair(int(ORVANE_ERR_DEVICE_LOST),
                             std::string("Width: camera Orvane-VirtualCamera-VC0001 was lost (it stopped answering "
                                         "its heartbeat)")));
    // Still discovered: the next rediscovery finds it as a new camera.
    ASSERT_TRUE(both.calls.WaitFor(2));
    Quiet();
    system->UnregisterEventHandler(both);
    EXPECT_EQ(both.calls.Texts(), (std::vector<std::string>{"removal VC0001 invalid", "arrival VC0001 valid"}));
    const CameraPtr back = both.calls.Calls()[1].camera;
    EXPECT_NE(back.get(), camera.get());
    EXPECT_EQ(system->GetCameras(false, false).GetBySerial("VC0001").get(), back.get());
    camera->DeInit();
    back->Init();
    EXPECT_GT(CIntegerPtr(back->GetNodeMap().GetNode("Width"))->GetValue(), 0);
    back->DeInit();
}

} // namespace
