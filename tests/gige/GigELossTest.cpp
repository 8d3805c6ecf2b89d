// A GigE Vision camera opened through the SDK (System, CameraList, Init)
// whose device dies: its next node read or write fails within its own
// timeout; once Aravis's heartbeat has declared the loss, every access fails
// at once with ORVANE_ERR_DEVICE_LOST. Every case runs in its own private network namespace, with the GigE
// Vision transport only.
#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>
#include <utility>
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

std::string LostMessage(const std::string& node) {
    return node + ": camera Orvane-GvSim-SIMLS1 was lost (it stopped answering its heartbeat)";
}

// The first access after the death fails within its own timeout: a timeout,
// or the loss when the heartbeat has decided by then.
void ExpectTimeoutOrLoss(const std::pair<int, std::string>& failure, const std::string& access) {
    if (failure.first == ORVANE_ERR_DEVICE_LOST)
        EXPECT_EQ(failure.second.find(LostMessage("Width")), 0u) << failure.second;
    else
        EXPECT_EQ(failure, std::make_pair(int(ORVANE_ERR_GENICAM_TIMEOUT),
                                          "Width: [Width] [WidthReg] GigEVision " + access + " timeout"));
}

} // namespace

TEST_F(GigELoss, KilledDeviceFailsTheNextReadWithinItsTimeoutThenAtOnceWithTheLoss) {
    Start();
    sim->Stop(SIGKILL);
    const auto killed = Clock::now();
    auto start = Clock::now();
    ExpectTimeoutOrLoss(Failure([&] { width->GetValue(false, true); }), "read_memory");
    EXPECT_LT(SecondsSince(start), 5.5); // 2.5 s, twice when it waited behind the heartbeat's request

    // Aravis's heartbeat declares the loss about 5.5 s after the death.
    while (camera->IsValid() && SecondsSince(killed) < 15) std::this_thread::sleep_for(std::chrono::milliseconds(20));
    ASSERT_FALSE(camera->IsValid());
    EXPECT_LT(SecondsSince(killed), 10.0);

    // From now on, at once, without reaching the device.
    start = Clock::now();
    EXPECT_EQ(Failure([&] { width->GetValue(false, true); }),
              std::make_pair(int(ORVANE_ERR_DEVICE_LOST), LostMessage("Width")));
    EXPECT_EQ(Failure([&] { width->GetValue(); }).first, ORVANE_ERR_DEVICE_LOST); // cached values too
    EXPECT_EQ(Failure([&] { width->SetValue(320); }),
              std::make_pair(int(ORVANE_ERR_DEVICE_LOST), LostMessage("Width")));
    CCommandPtr start_(camera->GetNodeMap().GetNode("AcquisitionStart"));
    ASSERT_TRUE(start_);
    EXPECT_EQ(Failure([&] { start_->Execute(); }),
              std::make_pair(int(ORVANE_ERR_DEVICE_LOST), LostMessage("AcquisitionStart")));
    EXPECT_EQ(width->GetAccessMode(), NA);
    EXPECT_LT(SecondsSince(start), 1.0); // no device access (that would wait 2.5 s)
}

TEST_F(GigELoss, KilledDeviceFailsTheNextWriteWithinItsTimeout) {
    Start();
    sim->Stop(SIGKILL);
    const auto start = Clock::now();
    ExpectTimeoutOrLoss(Failure([&] { width->SetValue(320); }), "write_memory");
    EXPECT_LT(SecondsSince(start), 5.5); // 2.5 s, twice when it waited behind the heartbeat's request
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
    EXPECT_EQ(Failure([&] { width->GetValue(false, true); }),
              std::make_pair(int(ORVANE_ERR_DEVICE_LOST), LostMessage("Width")));
    EXPECT_LT(SecondsSince(start), 1.0); // no device access (that would wait 2.5 s)
}
