// A GigE Vision camera (arv-fake-gv-camera-0.8) killed while it streams,
// seen through the public SDK: how long each access takes once it is dead.
// The first access that reaches the dead device fails within the GVCP timeout
// (Aravis: 5 tries of 500 ms; a request of Aravis's heartbeat may be ahead of
// it); from the loss on, every access fails at once with
// ORVANE_ERR_DEVICE_LOST; closing takes no device timeout. Every case runs
// in its own private network namespace with the GigE Vision transport only.
//
// The bounds are generous for a loaded 2-core machine yet far below what a
// device access costs (2.5 s): they tell "no device access" from "one".
#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <iostream>
#include <memory>
#include <string>
#include <thread>
#include <utility>

#include "../tools/FakeGigECamera.h"
#include "Orvane/Camera.h"
#include "Orvane/CameraList.h"
#include "Orvane/GenApi/GenApi.h"
#include "Orvane/System.h"
#include "SdkError.h"

using namespace Orvane;
using namespace Orvane::GenApi;
using orvtest::Failure;

namespace {

using Clock = std::chrono::steady_clock;

double SecondsSince(Clock::time_point start) { return std::chrono::duration<double>(Clock::now() - start).count(); }

// One GVCP access to a dead device: 5 tries of 500 ms.
constexpr double kGvcpTimeout = 2.5;
// An access that does not reach the device (a loaded machine included).
constexpr double kNoDeviceAccess = 0.05;

class DeadDevice : public ::testing::Test {
protected:
    void SetUp() override {
        setenv("ORVANE_TRANSPORTS", "gige", 1);
        fake.reset(new FakeGigECamera("127.0.0.3", "DEAD01"));
        system = System::GetInstance();
        for (int attempt = 0; attempt < 5 && !camera; ++attempt) camera = system->GetCameras().GetBySerial("DEAD01");
        ASSERT_TRUE(camera) << "the fake camera was not discovered";
        camera->Init();
        width = camera->GetNodeMap().GetNode("Width");
        ASSERT_TRUE(width);
    }
    void TearDown() override {
        width = nullptr;
        if (camera) {
            const auto start = Clock::now();
            camera->DeInit();
            std::cout << "DeInit in teardown: " << SecondsSince(start) << " s\n";
        }
        camera = nullptr;
        if (system) system->ReleaseInstance();
        fake.reset();
    }

    // Streams until a few frames arrived, then kills the fake camera.
    void StreamAndKill() {
        camera->BeginAcquisition();
        for (int i = 0; i < 3; ++i) camera->GetNextImage(5000)->Release();
        fake->Stop(SIGKILL);
        killed = Clock::now();
    }

    // Runs `access`, expecting the loss at once.
    void ExpectLostAtOnce(const char* what, const std::function<void()>& access) {
        const auto start = Clock::now();
        const std::pair<int, std::string> failure = Failure(access);
        const double took = SecondsSince(start);
        std::cout << what << ": " << failure.first << " after " << took << " s: " << failure.second << "\n";
        EXPECT_EQ(failure.first, ORVANE_ERR_DEVICE_LOST) << what << ": " << failure.second;
        EXPECT_NE(failure.second.find("camera Aravis-Fake-DEAD01 was lost"), std::string::npos)
            << what << ": " << failure.second;
        EXPECT_LT(took, kNoDeviceAccess) << what;
    }

    std::unique_ptr<FakeGigECamera> fake;
    SystemPtr system;
    CameraPtr camera;
    CIntegerPtr width;
    Clock::time_point killed;
};

} // namespace

TEST_F(DeadDevice, AGrabWaitingForTheNextFrameReportsTheLoss) {
    StreamAndKill();
    // The stream stops; the wait ends with the loss, not a plain timeout,
    // once the device has failed to answer.
    const auto start = Clock::now();
    const std::pair<int, std::string> failure = Failure([&] { camera->GetNextImage(1000); });
    const double took = SecondsSince(start);
    std::cout << "GetNextImage(1000) after the kill: " << failure.first << " after " << took << " s: " << failure.second
              << "\n";
    EXPECT_EQ(failure.first, ORVANE_ERR_DEVICE_LOST) << failure.second;
    EXPECT_LT(took, 1.0 + 2 * kGvcpTimeout + 1.0);
    EXPECT_FALSE(camera->IsValid());

    // Everything after it fails at once.
    ExpectLostAtOnce("GetNextImage", [&] { camera->GetNextImage(1000); });
    ExpectLostAtOnce("Width read", [&] { width->GetValue(false, true); });
    ExpectLostAtOnce("Width write", [&] { width->SetValue(320); });
    uint8_t bytes[4];
    ExpectLostAtOnce("ReadPort", [&] { camera->ReadPort(0x100, bytes, 4); });
    ExpectLostAtOnce("WritePort", [&] { camera->WritePort(0x100, bytes, 4); });

    // Ending the acquisition and closing the camera reach no device.
    auto t = Clock::now();
    camera->EndAcquisition();
    const double end = SecondsSince(t);
    std::cout << "EndAcquisition: " << end << " s\n";
    EXPECT_LT(end, kNoDeviceAccess * 4);
    ExpectLostAtOnce("BeginAcquisition", [&] { camera->BeginAcquisition(); });
    t = Clock::now();
    camera->DeInit();
    const double close = SecondsSince(t);
    std::cout << "DeInit: " << close << " s, " << SecondsSince(killed) << " s after the kill\n";
    EXPECT_LT(close, 0.5);
}

TEST_F(DeadDevice, TheFirstNodeReadTakesOneTimeoutThenAccessesFailAtOnce) {
    StreamAndKill();
    auto start = Clock::now();
    const std::pair<int, std::string> first = Failure([&] { width->GetValue(false, true); });
    const double took = SecondsSince(start);
    std::cout << "first Width read after the kill: " << first.first << " after " << took << " s: " << first.second
              << "\n";
    // The timed-out read itself declares the loss.
    EXPECT_EQ(first.first, ORVANE_ERR_DEVICE_LOST) << first.second;
    EXPECT_EQ(first.second.find("Width: camera Aravis-Fake-DEAD01 was lost"), 0u) << first.second;
    // One GVCP timeout, twice when the read queued behind a request of
    // Aravis's heartbeat (the two share the control channel).
    EXPECT_LT(took, 2 * kGvcpTimeout + 1.0);
    EXPECT_GT(took, 0.4); // it did wait for the device (one try is 500 ms)
    EXPECT_FALSE(camera->IsValid());

    ExpectLostAtOnce("second Width read", [&] { width->GetValue(false, true); });
    ExpectLostAtOnce("cached Width", [&] { width->GetValue(); });
    CCommandPtr stop(camera->GetNodeMap().GetNode("AcquisitionStop"));
    ASSERT_TRUE(stop);
    ExpectLostAtOnce("AcquisitionStop", [&] { stop->Execute(); });
    ExpectLostAtOnce("GetNextImage", [&] { camera->GetNextImage(5000); });
    start = Clock::now();
    camera->EndAcquisition();
    camera->DeInit();
    const double close = SecondsSince(start);
    std::cout << "EndAcquisition + DeInit: " << close << " s\n";
    EXPECT_LT(close, 0.5);
}

TEST_F(DeadDevice, ClosingADeadCameraBeforeTheLossIsKnownTakesOneTimeoutAtMost) {
    StreamAndKill();
    // Straight to the end: AcquisitionStop meets the dead device, declares
    // the loss, and the rest of the closing skips the device.
    const auto start = Clock::now();
    camera->EndAcquisition();
    const double end = SecondsSince(start);
    EXPECT_FALSE(camera->IsValid());
    EXPECT_EQ(camera->GetAccessMode(), NA);
    camera->DeInit();
    const double close = SecondsSince(start);
    std::cout << "EndAcquisition: " << end << " s, with DeInit: " << close << " s\n";
    // AcquisitionStop waits for its answer: one GVCP timeout, two when it
    // queued behind a request of Aravis's heartbeat. Then nothing waits:
    // the stream and the device close without asking the device.
    EXPECT_LT(close, 2 * kGvcpTimeout + 1.0);
    EXPECT_LT(close - end, kNoDeviceAccess * 4);
}
