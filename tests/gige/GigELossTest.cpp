// A GigE Vision camera opened through the SDK (System, CameraList, Init)
// whose device dies: its next node read or write fails with
// ORVANE_ERR_DEVICE_LOST within seconds (Aravis's heartbeat decides), the
// following ones at once. Every case runs in its own private network namespace, with the GigE
// Vision transport only.
#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "../tools/GvSim.h"
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

class GigELoss : public ::testing::Test {
protected:
    void Start(const std::vector<std::string>& simArguments = {}) {
        setenv("ORVANE_TRANSPORTS", "gige", 1);
        sim.reset(new GvSim("127.0.0.2", "SIMLS1", simArguments));
        system = System::GetInstance();
        for (int attempt = 0; attempt < 5 && !camera; ++attempt) camera = system->GetCameras().GetBySerial("SIMLS1");
        ASSERT_TRUE(camera) << "the simulator was not discovered";
        camera->Init();
        width = camera->GetNodeMap().GetNode("Width");
        ASSERT_TRUE(width);
        ASSERT_EQ(width->GetValue(), 640);
    }
    void TearDown() override {
        width = nullptr;
        if (camera) camera->DeInit();
        camera = nullptr;
        if (system) system->ReleaseInstance();
        sim.reset();
    }

    std::unique_ptr<GvSim> sim;
    SystemPtr system;
    CameraPtr camera;
    CIntegerPtr width;
};

double SecondsSince(Clock::time_point start) { return std::chrono::duration<double>(Clock::now() - start).count(); }

} // namespace

TEST_F(GigELoss, KilledDeviceFailsTheNextReadWithTheLoss) {
    Start();
    sim->Stop(SIGKILL);
    auto start = Clock::now();
    // The read times out; Aravis's heartbeat then declares the loss, which
    // the read reports.
    auto failure = Failure([&] { width->GetValue(false, true); });
    EXPECT_LT(SecondsSince(start), 10.0);
    EXPECT_EQ(failure.first, ORVANE_ERR_DEVICE_LOST) << failure.second;
    EXPECT_EQ(failure.second,
              "Width: the device was lost: it no longer answers ([Width] [WidthReg] GigEVision read_memory timeout)");

    // From now on, at once, without reaching the device.
    start = Clock::now();
    EXPECT_EQ(
        Failure([&] { width->GetValue(false, true); }),
        std::make_pair(int(ORVANE_ERR_DEVICE_LOST), std::string("Width: the device was lost: it no longer answers")));
    EXPECT_EQ(Failure([&] { width->GetValue(); }).first, ORVANE_ERR_DEVICE_LOST); // cached values too
    EXPECT_EQ(
        Failure([&] { width->SetValue(320); }),
        std::make_pair(int(ORVANE_ERR_DEVICE_LOST), std::string("Width: the device was lost: it no longer answers")));
    CCommandPtr start_(camera->GetNodeMap().GetNode("AcquisitionStart"));
    ASSERT_TRUE(start_);
    EXPECT_EQ(Failure([&] { start_->Execute(); }).first, ORVANE_ERR_DEVICE_LOST);
    EXPECT_EQ(width->GetAccessMode(), NA);
    EXPECT_LT(SecondsSince(start), 1.0); // no device access (that would wait 2.5 s)
    EXPECT_FALSE(camera->IsValid());
}

TEST_F(GigELoss, KilledDeviceFailsTheNextWriteWithTheLoss) {
    Start();
    sim->Stop(SIGKILL);
    const auto start = Clock::now();
    const auto failure = Failure([&] { width->SetValue(320); });
    EXPECT_LT(SecondsSince(start), 10.0);
    EXPECT_EQ(failure.first, ORVANE_ERR_DEVICE_LOST) << failure.second;
    EXPECT_EQ(failure.second,
              "Width: the device was lost: it no longer answers ([Width] [WidthReg] GigEVision "
              "write_memory timeout)");
}

TEST_F(GigELoss, ReadAfterTheLossWasDetectedFailsAtOnce) {
    Start();
    sim->Stop(SIGKILL);
    // Nothing touches the device until the heartbeat has noticed.
    const auto killed = Clock::now();
    while (camera->IsValid() && SecondsSince(killed) < 15) std::this_thread::sleep_for(std::chrono::milliseconds(20));
    ASSERT_FALSE(camera->IsValid());
    EXPECT_LT(SecondsSince(killed), 10.0);
    const auto start = Clock::now();
    EXPECT_EQ(
        Failure([&] { width->GetValue(false, true); }),
        std::make_pair(int(ORVANE_ERR_DEVICE_LOST), std::string("Width: the device was lost: it no longer answers")));
    EXPECT_LT(SecondsSince(start), 1.0); // no device access (that would wait 2.5 s)
}
