// Arrival and removal of GigE Vision cameras (arv-fake-gv-camera-0.8 on
// loopback, in a private network namespace): a fake that starts is one
// arrival, a fake that dies one removal, each within 10 s; an open camera
// whose device dies fails its next feature access within its timeout, stays
// listed until its loss is known, and then fails at once with
// ORVANE_ERR_DEVICE_LOST.
#include <gtest/gtest.h>

#include <signal.h>

#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "../system/ArrivalRecorder.h"
#include "../tools/FakeGigECamera.h"
#include "Orvane/Camera.h"
#include "Orvane/CameraList.h"
#include "Orvane/GenApi/GenApi.h"
#include "Orvane/System.h"
#include "SdkError.h"

using namespace Orvane;
using namespace Orvane::GenApi;

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using orvtest::BothRecorder;
using orvtest::CodeOf;
using orvtest::Failure;
using orvtest::RemovalRecorder;

double MsSince(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

class GigEArrivalRemoval : public ::testing::Test {
protected:
    void SetUp() override {
        setenv("ORVANE_TRANSPORTS", "gige", 1);
        system = System::GetInstance();
    }
    void TearDown() override {
        if (camera) camera->DeInit();
        camera = nullptr;
        system->ReleaseInstance();
        fake.reset();
    }

    SystemPtr system;
    std::unique_ptr<FakeGigECamera> fake;
    CameraPtr camera;
};

TEST_F(GigEArrivalRemoval, AFakeCameraStartingArrivesAndDyingLeaves) {
    BothRecorder both;
    system->RegisterEventHandler(both); // discovers first: nothing is there
    fake.reset(new FakeGigECamera("127.0.0.1", "GVE0001"));
    Clock::time_point start = Clock::now();
    ASSERT_TRUE(both.calls.WaitFor(1, 10s)) << "no arrival";
    EXPECT_LT(MsSince(start), 10000.0);
    start = Clock::now();
    fake->Stop(SIGKILL);
    ASSERT_TRUE(both.calls.WaitFor(2, 10s)) << "no removal";
    EXPECT_LT(MsSince(start), 10000.0);
    std::this_thread::sleep_for(3s); // two more discoveries: nothing else
    system->UnregisterEventHandler(both);
    EXPECT_EQ(both.calls.Texts(), (std::vector<std::string>{"arrival GVE0001 valid", "removal GVE0001 invalid"}));
    const std::vector<orvtest::CameraCall> calls = both.calls.Calls();
    EXPECT_EQ(calls[0].camera.get(), calls[1].camera.get());
    EXPECT_EQ(calls[0].camera->GetAddress(), "127.0.0.1");
    EXPECT_NE(calls[0].thread, std::this_thread::get_id());
}

TEST_F(GigEArrivalRemoval, AnOpenCameraWhoseDeviceDiesFailsClearlyAndLeaves) {
    fake.reset(new FakeGigECamera("127.0.0.1", "GVE0002"));
    camera = system->GetCameras().GetBySerial("GVE0002");
    ASSERT_TRUE(camera);
    camera->Init();
    CIntegerPtr width = camera->GetNodeMap().GetNode("Width");
    EXPECT_GT(width->GetValue(false, true), 0);
    RemovalRecorder removals;
    system->RegisterEventHandler(removals);

    const Clock::time_point killed = Clock::now();
    fake->Stop(SIGKILL);
    // The first access reaches the dead device: it fails within the
    // device's timeout (or at once, if the loss is known by then). A GVCP
    // request times out after 2.5 s; one that waited behind Aravis's
    // heartbeat request (which times out too) takes up to twice that.
    // The request without answer declares the loss.
    Clock::time_point start = Clock::now();
    const std::pair<int, std::string> first = Failure([&] { width->GetValue(false, true); });
    EXPECT_EQ(first.first, ORVANE_ERR_DEVICE_LOST) << first.second;
    EXPECT_LT(MsSince(start), 5500.0);
    const std::string reason = first.second.find("heartbeat") == std::string::npos
                                   ? "it stopped answering: GigEVision read_register timeout"
                                   : "it stopped answering its heartbeat";

    // One missed discovery does not take an open camera away; its loss does.
    ASSERT_TRUE(removals.calls.WaitFor(1, 10s)) << "no removal";
    EXPECT_LT(MsSince(killed), 10000.0);
    EXPECT_EQ(removals.calls.Texts(), (std::vector<std::string>{"removal GVE0002 invalid"}));
    EXPECT_EQ(removals.calls.Calls()[0].camera.get(), camera.get());
    EXPECT_FALSE(camera->IsValid());
    EXPECT_EQ(camera->GetAccessMode(), NA);

    // Known lost: every access fails at once, in words.
    start = Clock::now();
    const std::pair<int, std::string> failure = Failure([&] { width->GetValue(false, true); });
    EXPECT_LT(MsSince(start), 1000.0);
    EXPECT_EQ(failure, std::make_pair(int(ORVANE_ERR_DEVICE_LOST),
                                      "Width: camera " + camera->GetDeviceID().str() + " was lost (" + reason + ")"));
    start = Clock::now();
    EXPECT_EQ(CodeOf([&] { width->SetValue(64); }), ORVANE_ERR_DEVICE_LOST);
    uint32_t word = 0;
    EXPECT_EQ(CodeOf([&] { camera->ReadPort(0x0, &word, 4); }), ORVANE_ERR_DEVICE_LOST);
    EXPECT_EQ(CodeOf([&] { camera->BeginAcquisition(); }), ORVANE_ERR_DEVICE_LOST);
    EXPECT_LT(MsSince(start), 1000.0);
    system->UnregisterEventHandler(removals);
    EXPECT_FALSE(system->GetCameras(false, false).GetBySerial("GVE0002"));
}

} // namespace
