// A GigE Vision camera opened through the SDK (System, CameraList, Init)
// whose device dies: its next node read or write fails within its own
// timeout and declares the loss (or Aravis's heartbeat did first); from the
// loss on, every access fails at once with ORVANE_ERR_DEVICE_LOST. Every case runs in its own private network namespace, with the GigE
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

std::string LostMessage(const std::string& node, const std::string& reason = "it stopped answering its heartbeat") {
    return node + ": camera Orvane-GvSim-SIMLS1 was lost (" + reason + ")";
}

// The first access after the death fails within its own timeout, with the
// loss: the request that got no answer declares it (or the heartbeat did
// first), and the message tells the failed request.
void ExpectLoss(const std::pair<int, std::string>& failure, const std::string& access) {
    EXPECT_EQ(failure.first, ORVANE_ERR_DEVICE_LOST) << failure.second;
    const std::string detail = "; the access failed: [Width] [WidthReg] GigEVision " + access + " timeout";
    EXPECT_TRUE(failure.second ==
                    LostMessage("Width", "it stopped answering: GigEVision " + access + " timeout") + detail ||
                failure.second == LostMessage("Width") + detail)
        << failure.second;
}

} // namespace

TEST_F(GigELoss, KilledDeviceFailsTheNextReadWithinItsTimeoutThenAtOnceWithTheLoss) {
    Start();
    sim->Stop(SIGKILL);
    const auto killed = Clock::now();
    auto start = Clock::now();
    const std::pair<int, std::string> first = Failure([&] { width->GetValue(false, true); });
    ExpectLoss(first, "read_memory");
    EXPECT_LT(SecondsSince(start), 5.5); // 2.5 s, twice when it waited behind the heartbeat's request
    EXPECT_FALSE(camera->IsValid());
    EXPECT_LT(SecondsSince(killed), 10.0);
    const std::string reason = first.second.find("heartbeat") == std::string::npos
                                   ? "it stopped answering: GigEVision read_memory timeout"
                                   : "it stopped answering its heartbeat";

    // From now on, at once, without reaching the device.
    start = Clock::now();
    EXPECT_EQ(Failure([&] { width->GetValue(false, true); }),
              std::make_pair(int(ORVANE_ERR_DEVICE_LOST), LostMessage("Width", reason)));
    EXPECT_EQ(Failure([&] { width->GetValue(); }).first, ORVANE_ERR_DEVICE_LOST); // cached values too
    EXPECT_EQ(Failure([&] { width->SetValue(320); }),
              std::make_pair(int(ORVANE_ERR_DEVICE_LOST), LostMessage("Width", reason)));
    CCommandPtr start_(camera->GetNodeMap().GetNode("AcquisitionStart"));
    ASSERT_TRUE(start_);
    EXPECT_EQ(Failure([&] { start_->Execute(); }),
              std::make_pair(int(ORVANE_ERR_DEVICE_LOST), LostMessage("AcquisitionStart", reason)));
    EXPECT_EQ(width->GetAccessMode(), NA);
    EXPECT_LT(SecondsSince(start), 1.0); // no device access (that would wait 2.5 s)
}

TEST_F(GigELoss, KilledDeviceFailsTheNextWriteWithinItsTimeout) {
    Start();
    sim->Stop(SIGKILL);
    const auto start = Clock::now();
    ExpectLoss(Failure([&] { width->SetValue(320); }), "write_memory");
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
