// A node map told of its device's loss (NodeMapBase::SetLossFlag): reads,
// writes and commands fail with ORVANE_ERR_DEVICE_LOST at once; waiting for
// the transport's verdict returns as soon as the loss is reported from
// another thread, or after the verdict time when it is not.
#include <atomic>
#include <chrono>
#include <thread>

#include "NativeMapFixture.h"
#include "SdkError.h"

using orvtest::Failure;

namespace {

using Clock = std::chrono::steady_clock;

struct DeviceLoss : Fixture {
    std::atomic<bool> lost{false};
};

} // namespace

TEST_F(DeviceLoss, MapsWithoutALossFlagAreNeverLost) {
    EXPECT_FALSE(map.DeviceLost());
    EXPECT_FALSE(map.AwaitDeviceLoss());
    map.SetLossVerdictTime(5000);
    const auto start = Clock::now();
    EXPECT_FALSE(map.AwaitDeviceLoss()); // nothing to wait for
    EXPECT_LT(Clock::now() - start, std::chrono::milliseconds(100));
}

TEST_F(DeviceLoss, NodeAccessFailsOnceTheFlagIsSet) {
    map.SetLossFlag(&lost);
    CIntegerPtr w(map.GetNode("Width"));
    EXPECT_EQ(w->GetValue(), 640);
    lost = true;
    EXPECT_TRUE(map.DeviceLost());
    EXPECT_EQ(
        Failure([&] { w->GetValue(); }),
        std::make_pair(int(ORVANE_ERR_DEVICE_LOST), std::string("Width: the device was lost: it no longer answers")));
    EXPECT_EQ(Failure([&] { w->SetValue(320); }).first, ORVANE_ERR_DEVICE_LOST);
    EXPECT_EQ(width, 640);
    CCommandPtr go(map.GetNode("Go"));
    EXPECT_EQ(
        Failure([&] { go->Execute(); }),
        std::make_pair(int(ORVANE_ERR_DEVICE_LOST), std::string("Go: the device was lost: it no longer answers")));
    EXPECT_EQ(executed, 0);
    CStringPtr user(map.GetNode("UserName"));
    EXPECT_EQ(Failure([&] { user->GetValue(); }).first, ORVANE_ERR_DEVICE_LOST);
}

TEST_F(DeviceLoss, VerdictWaitEndsWhenTheLossIsReported) {
    map.SetLossFlag(&lost);
    map.SetLossVerdictTime(10000);
    std::thread reporter([this] {
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        lost = true;
    });
    const auto start = Clock::now();
    EXPECT_TRUE(map.AwaitDeviceLoss());
    const auto waited = Clock::now() - start;
    reporter.join();
    EXPECT_GE(waited, std::chrono::milliseconds(150));
    EXPECT_LT(waited, std::chrono::milliseconds(3000));
}

TEST_F(DeviceLoss, VerdictWaitEndsAfterTheVerdictTime) {
    map.SetLossFlag(&lost);
    map.SetLossVerdictTime(300);
    const auto start = Clock::now();
    EXPECT_FALSE(map.AwaitDeviceLoss());
    const auto waited = Clock::now() - start;
    EXPECT_GE(waited, std::chrono::milliseconds(300));
    EXPECT_LT(waited, std::chrono::milliseconds(3000));
    map.SetLossVerdictTime(0);
    EXPECT_FALSE(map.AwaitDeviceLoss());
}
