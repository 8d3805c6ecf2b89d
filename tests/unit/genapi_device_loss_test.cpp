// A node map told of its device's loss (NodeMapBase::SetLossFlag): reads,
// writes and commands fail with ORVANE_ERR_DEVICE_LOST at once, in the words
// the flag's owner gives, and every node is NA.
#include <atomic>
#include <string>

#include "NativeMapFixture.h"
#include "SdkError.h"

using orvtest::Failure;

namespace {

struct DeviceLoss : Fixture {
    std::atomic<bool> lost{false};
};

} // namespace

TEST_F(DeviceLoss, MapsWithoutALossFlagAreNeverLost) {
    EXPECT_FALSE(map.DeviceLost());
    CIntegerPtr w(map.GetNode("Width"));
    EXPECT_EQ(w->GetValue(), 640);
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

TEST_F(DeviceLoss, TheMapsLossMessageNamesTheCameraAndTheModesAreNA) {
    map.SetLossFlag(&lost, [] { return std::string("camera CAM1 was lost (unplugged)"); });
    CIntegerPtr w(map.GetNode("Width"));
    EXPECT_EQ(w->GetAccessMode(), RW);
    lost = true;
    EXPECT_EQ(w->GetAccessMode(), NA); // cached mode or not
    EXPECT_EQ(Failure([&] { w->GetValue(); }),
              std::make_pair(int(ORVANE_ERR_DEVICE_LOST), std::string("Width: camera CAM1 was lost (unplugged)")));
    lost = false; // a flag that clears again (never the transports'): the node works again
    EXPECT_EQ(w->GetValue(), 640);
}
