// Triggers from signals other than software (the entry point for action
// commands): a virtual camera whose FrameStart trigger source is Action0
// makes one frame per Action0 signal, and nothing for other signals.
#include "AcquisitionFixture.h"
#include "acquisition/Acquisition.h"
#include "camera/DiscoveredCamera.h"

using namespace acqtest;

namespace {

TEST_F(VirtualStream, ActionSignalsTriggerFramesFromTheirSource) {
    SetEnum("TriggerSelector", "FrameStart");
    SetEnum("TriggerMode", "On");
    SetEnum("TriggerSource", "Action0");
    internal::Acquisition& acquisition = internal::Acquisition::Of(camera->Core().Access());
    acquisition.Signal(0x70); // before streaming: nothing
    camera->BeginAcquisition();
    EXPECT_EQ(CodeOf([&] { camera->GetNextImage(200); }), ORVANE_ERR_TIMEOUT);
    acquisition.Signal(0x71); // Action1: not this trigger's source
    acquisition.Signal(0x01); // Software: neither
    EXPECT_EQ(CodeOf([&] { camera->GetNextImage(200); }), ORVANE_ERR_TIMEOUT);
    acquisition.Signal(0x70);
    acquisition.Signal(0x70);
    EXPECT_EQ(camera->GetNextImage(5000)->GetFrameID(), 1u);
    EXPECT_EQ(camera->GetNextImage(5000)->GetFrameID(), 2u);
    EXPECT_EQ(CodeOf([&] { camera->GetNextImage(200); }), ORVANE_ERR_TIMEOUT);
    camera->EndAcquisition();
}

} // namespace
