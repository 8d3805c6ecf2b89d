// Streaming from arv-fake-gv-camera-0.8 over loopback. Every case runs in a
// private network namespace (tests/tools/netns-run) with a fake camera of its
// own, started by the fixture and stopped by its pid.
#include <gtest/gtest.h>

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <set>
#include <string>
#include <thread>

#include "Orvane/Camera.h"
#include "Orvane/CameraList.h"
#include "Orvane/GenApi/GenApi.h"
#include "Orvane/System.h"
#include "SdkError.h"

using namespace Orvane;
using namespace Orvane::GenApi;

namespace {

using Clock = std::chrono::steady_clock;

using orvtest::CodeOf;

double MsSince(Clock::time_point t) { return std::chrono::duration<double, std::milli>(Clock::now() - t).count(); }

class GigEStream : public ::testing::Test {
protected:
    void TearDown() override {
        if (camera) {
            if (camera->IsStreaming()) camera->EndAcquisition();
            camera->DeInit();
        }
        camera = nullptr;
        if (system) system->ReleaseInstance();
        StopFake();
    }

    // Starts a fake camera and opens it. The fake now and then leaves a
    // control write of the set-up unanswered (a GenICam timeout, seen in
    // other GigE Vision tests too): then the set-up starts over once, with a
    // new fake.
    void Open(const char* lossPerThousand = nullptr) {
        try {
            OpenOnce(lossPerThousand);
            return;
        } catch (const Exception& e) {
            if (e.GetError() != ORVANE_ERR_GENICAM_TIMEOUT && e.GetError() != ORVANE_ERR_TIMEOUT) throw;
        }
        if (camera) camera->DeInit();
        camera = nullptr;
        if (system) system->ReleaseInstance();
        system = nullptr;
        StopFake();
        OpenOnce(lossPerThousand);
    }

    void OpenOnce(const char* lossPerThousand) {
        setenv("ORVANE_TRANSPORTS", "gige", 1);
        fake = fork();
        ASSERT_GE(fake, 0);
        if (fake == 0) {
            if (lossPerThousand)
                execlp("arv-fake-gv-camera-0.8", "arv-fake-gv-camera-0.8", "-i", "127.0.0.1", "-r", lossPerThousand,
                       static_cast<char*>(nullptr));
            else
                execlp("arv-fake-gv-camera-0.8", "arv-fake-gv-camera-0.8", "-i", "127.0.0.1",
                       static_cast<char*>(nullptr));
            _exit(127);
        }
        system = System::GetInstance();
        for (int attempt = 0; attempt < 5 && !camera; ++attempt) {
            CameraList cameras = system->GetCameras();
            for (unsigned i = 0; i < cameras.GetSize(); ++i)
                if (cameras[i]->GetTransport() == "GigEVision") camera = cameras[i];
        }
        if (!camera) FAIL() << "the fake GigE Vision camera was not discovered";
        camera->Init();
        INodeMap& map = camera->GetNodeMap();
        CIntegerPtr(map.GetNode("Width"))->SetValue(128);
        CIntegerPtr(map.GetNode("Height"))->SetValue(96);
        CFloatPtr(map.GetNode("AcquisitionFrameRate"))->SetValue(200.0);
        CEnumerationPtr(camera->GetTLStreamNodeMap().GetNode("StreamBufferHandlingMode"))->FromString("OldestFirst");
        CIntegerPtr(camera->GetTLStreamNodeMap().GetNode("StreamBufferCountManual"))->SetValue(10);
    }

    void StopFake() {
        if (fake <= 0) return;
        kill(fake, SIGTERM);
        int status = 0;
        waitpid(fake, &status, 0);
        fake = -1;
    }

    int64_t StreamInt(const char* name) { return CIntegerPtr(camera->GetTLStreamNodeMap().GetNode(name))->GetValue(); }

    pid_t fake = -1;
    SystemPtr system;
    CameraPtr camera;
};

TEST_F(GigEStream, HundredFramesArriveCompleteWithConsecutiveIds) {
    ASSERT_NO_FATAL_FAILURE(Open());
    camera->BeginAcquisition();
    EXPECT_EQ(CIntegerPtr(camera->GetNodeMap().GetNode("TLParamsLocked"))->GetValue(), 1);
    uint64_t last = 0;
    for (int i = 0; i < 100; ++i) {
        ImagePtr image = camera->GetNextImage(3000);
        EXPECT_EQ(image->GetStatus(), IMAGE_STATUS_OK);
        EXPECT_EQ(image->GetWidth(), 128u);
        EXPECT_EQ(image->GetHeight(), 96u);
        EXPECT_STREQ(image->GetPixelFormatName(), "Mono8");
        EXPECT_EQ(image->GetSize(), 128u * 96);
        EXPECT_EQ(image->GetValidPayloadSize(), 128u * 96);
        EXPECT_EQ(image->GetID(), uint64_t(i + 1));
        // 16-bit block IDs: 65535 is followed by 1.
        if (last != 0) {
            EXPECT_EQ(image->GetFrameID(), last == 65535 ? 1u : last + 1);
        }
        last = image->GetFrameID();
        image->Release();
    }
    EXPECT_EQ(StreamInt("StreamDeliveredFrameCount"), 100);
    EXPECT_GE(StreamInt("StreamReceivedFrameCount"), 100);
    EXPECT_EQ(StreamInt("StreamIncompleteFrameCount"), 0);
    EXPECT_EQ(StreamInt("StreamLostFrameCount"), 0);
    EXPECT_GE(StreamInt("StreamReceivedPacketCount"), 100 * 9); // 12288 bytes: 9 data packets and more
    EXPECT_EQ(StreamInt("StreamMissedPacketCount"), 0);
    camera->EndAcquisition();
    EXPECT_EQ(CIntegerPtr(camera->GetNodeMap().GetNode("TLParamsLocked"))->GetValue(), 0);
}

TEST_F(GigEStream, LostPacketsGiveIncompleteFramesWithTheirStatus) {
    ASSERT_NO_FATAL_FAILURE(Open("20"));
    CBooleanPtr(camera->GetTLStreamNodeMap().GetNode("StreamPacketResendEnable"))->SetValue(false);
    camera->BeginAcquisition();
    int complete = 0, incomplete = 0;
    std::set<int> statuses;
    const Clock::time_point start = Clock::now();
    while (complete + incomplete < 100 && MsSince(start) < 60000) {
        ImagePtr image;
        const int code = CodeOf([&] { image = camera->GetNextImage(3000); });
        ASSERT_EQ(code, 0) << "no frame for 3 s";
        statuses.insert(image->GetStatus());
        if (image->GetStatus() == IMAGE_STATUS_OK) {
            EXPECT_FALSE(image->IsIncomplete());
            EXPECT_EQ(image->GetValidPayloadSize(), 128u * 96);
            ++complete;
        } else {
            EXPECT_TRUE(image->IsIncomplete());
            EXPECT_TRUE(image->GetStatus() == IMAGE_STATUS_MISSING_PACKETS ||
                        image->GetStatus() == IMAGE_STATUS_TIMEOUT)
                << image->GetStatus();
            // The format is known even when the leader was lost.
            EXPECT_EQ(image->GetWidth(), 128u);
            EXPECT_EQ(image->GetHeight(), 96u);
            ++incomplete;
        }
        image->Release();
    }
    EXPECT_EQ(complete + incomplete, 100);
    EXPECT_GT(incomplete, 0) << "2% packet loss over 100 frames of 10 packets lost nothing";
    EXPECT_GT(complete, 0);
    EXPECT_GE(StreamInt("StreamIncompleteFrameCount"), incomplete);
    EXPECT_GT(StreamInt("StreamMissedPacketCount"), 0);
    camera->EndAcquisition();
}

TEST_F(GigEStream, KilledCameraEndsWaitsWithAnError) {
    ASSERT_NO_FATAL_FAILURE(Open());
    camera->BeginAcquisition();
    for (int i = 0; i < 5; ++i) camera->GetNextImage(3000)->Release();
    kill(fake, SIGKILL);
    int status = 0;
    waitpid(fake, &status, 0);
    fake = -1;
    // Frames already on their way may still come; then the wait times out,
    // asks the device, gets no answer and fails with the loss: the timeout
    // and one GVCP request (2.5 s; twice that when it queued behind a request
    // of Aravis's heartbeat).
    int code = 0;
    Clock::time_point start;
    for (int i = 0; i < 20 && code == 0; ++i) {
        start = Clock::now();
        code = CodeOf([&] { camera->GetNextImage(1000)->Release(); });
    }
    EXPECT_EQ(code, ORVANE_ERR_DEVICE_LOST);
    EXPECT_LT(MsSince(start), 1000.0 + 2 * 2500.0 + 1000.0);
    EXPECT_FALSE(camera->IsValid());
    // Known lost: waiting ends at once, long before the timeout.
    start = Clock::now();
    EXPECT_EQ(CodeOf([&] { camera->GetNextImage(30000); }), ORVANE_ERR_DEVICE_LOST);
    EXPECT_LT(MsSince(start), 1000.0);
    // Nothing reaches the lost camera: no feature writes, and the request
    // stopping the stream channel is answered without being sent.
    const Clock::time_point end = Clock::now();
    camera->EndAcquisition();
    EXPECT_LT(MsSince(end), 1000.0);
    EXPECT_FALSE(camera->IsStreaming());
}

} // namespace
