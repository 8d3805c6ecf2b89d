// What an opened virtual camera's connection offers the layers above it:
// loss listeners (run on the thread that detects the loss, once), the
// transport facts it has none of, the event channel the events work will
// add, and stream sources that never count lost frames.
#include <gtest/gtest.h>

#include <arv.h>

#include <atomic>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "Orvane/Camera.h"
#include "Orvane/CameraList.h"
#include "Orvane/GenApi/GenApi.h"
#include "Orvane/System.h"
#include "SdkError.h"
#include "camera/CameraAccess.h"
#include "camera/DiscoveredCamera.h"
#include "transport/DeviceConnection.h"
#include "transport/StreamSource.h"

using namespace Orvane;
using internal::DeviceConnection;

namespace {

using orvtest::CodeOf;
using orvtest::MessageOf;

class VirtualConnection : public ::testing::Test {
protected:
    void SetUp() override {
        system = System::GetInstance();
        camera = system->GetCameras().GetBySerial("VC0001");
        ASSERT_TRUE(camera);
        camera->Init();
        connection = camera->Core().Access().Connection();
        ASSERT_TRUE(connection);
    }
    void TearDown() override {
        connection.reset();
        if (camera) camera->DeInit();
        camera = nullptr;
        system->ReleaseInstance();
    }
    // What Aravis does when a device stops answering its heartbeat, from a
    // thread of its own.
    std::thread::id LoseTheDevice() {
        std::thread::id id;
        std::thread heartbeat([&] {
            id = std::this_thread::get_id();
            g_signal_emit_by_name(connection->Device(), "control-lost");
        });
        heartbeat.join();
        return id;
    }

    SystemPtr system;
    CameraPtr camera;
    std::shared_ptr<DeviceConnection> connection;
};

TEST_F(VirtualConnection, LossListenersRunOnceOnTheDetectingThread) {
    std::vector<std::thread::id> first, second, removed;
    const uint64_t a = connection->AddLossListener([&] { first.push_back(std::this_thread::get_id()); });
    const uint64_t b = connection->AddLossListener([&] { removed.push_back(std::this_thread::get_id()); });
    const uint64_t c = connection->AddLossListener([&] { second.push_back(std::this_thread::get_id()); });
    EXPECT_NE(a, b);
    EXPECT_NE(b, c);
    connection->RemoveLossListener(b);
    EXPECT_FALSE(connection->ControlLost());
    EXPECT_TRUE(camera->IsValid());
    EXPECT_EQ(camera->GetAccessMode(), GenApi::RW);

    const std::thread::id detector = LoseTheDevice();
    ASSERT_EQ(first.size(), 1u);
    ASSERT_EQ(second.size(), 1u);
    EXPECT_EQ(first[0], detector);
    EXPECT_EQ(second[0], detector);
    EXPECT_NE(first[0], std::this_thread::get_id());
    EXPECT_TRUE(removed.empty());
    EXPECT_TRUE(connection->ControlLost());
    EXPECT_FALSE(camera->IsValid());
    EXPECT_EQ(camera->GetAccessMode(), GenApi::NA);
    EXPECT_EQ(CodeOf([&] { camera->BeginAcquisition(); }), ORVANE_ERR_DEVICE_LOST);

    // Reported once: a second signal calls nobody, nor does a late listener.
    bool late = false;
    connection->AddLossListener([&] { late = true; });
    LoseTheDevice();
    EXPECT_EQ(first.size(), 1u);
    EXPECT_EQ(second.size(), 1u);
    EXPECT_FALSE(late);
}

TEST_F(VirtualConnection, ListenersMayRemoveListenersAndFailWithoutHarm) {
    int calls = 0;
    uint64_t other = 0;
    connection->AddLossListener([&] {
        ++calls;
        connection->RemoveLossListener(other);
        throw std::runtime_error("a listener failed");
    });
    other = connection->AddLossListener([&] { calls += 100; });
    LoseTheDevice();
    EXPECT_EQ(calls, 1);
    EXPECT_TRUE(connection->ControlLost());
    EXPECT_EQ(CodeOf([&] { connection->AddLossListener(nullptr); }), ORVANE_ERR_INVALID_ARGUMENT);
}

TEST_F(VirtualConnection, AReopenedCameraIsNotLost) {
    LoseTheDevice();
    EXPECT_FALSE(camera->IsValid());
    connection.reset();
    camera->DeInit();
    camera->Init();
    connection = camera->Core().Access().Connection();
    EXPECT_FALSE(connection->ControlLost());
    EXPECT_TRUE(camera->IsValid());
}

TEST_F(VirtualConnection, HasNoNetworkFacts) {
    DeviceConnection::IpConfiguration ip;
    EXPECT_FALSE(connection->CurrentIpConfiguration(ip));
    uint32_t major = 7, minor = 7;
    EXPECT_FALSE(connection->ProtocolVersion(major, minor));
    EXPECT_EQ(connection->XmlUrl(), "");
    EXPECT_EQ(connection->PacketSize(), 0);
    EXPECT_EQ(connection->DiscoverMaxPacketSize(), 0u);
    EXPECT_EQ(camera->DiscoverMaxPacketSize(), 0u);
    EXPECT_TRUE(connection->IsController());
    EXPECT_EQ(connection->Info().serialNumber, "VC0001");
    EXPECT_EQ(connection->Info().kind, internal::TransportKind::Virtual);
}

TEST_F(VirtualConnection, EventChannelsAreNotImplementedYet) {
    struct Sink : internal::DeviceEventSink {
        void OnDeviceEvent(const internal::DeviceEvent&) override {}
    } sink;
    EXPECT_EQ(CodeOf([&] { connection->OpenEventChannel(sink); }), ORVANE_ERR_NOT_IMPLEMENTED);
    EXPECT_EQ(MessageOf([&] { connection->OpenEventChannel(sink); }),
              "camera Orvane-VirtualCamera-VC0001: device events are not implemented for its transport yet");
}

TEST_F(VirtualConnection, StreamSourcesDescribeTheirOwnFrames) {
    std::shared_ptr<internal::StreamSource> source = connection->CreateStreamSource();
    ASSERT_TRUE(source);
    EXPECT_FALSE(source->LosesFrames());
    EXPECT_FALSE(source->CompletesSilently());
    internal::StreamCounters counters;
    EXPECT_FALSE(source->ReadCounters(counters));
    source->Stop(); // never started: nothing to stop, no harm
    source->Destroy();
    // The camera still streams through its own source afterwards.
    camera->BeginAcquisition();
    ImagePtr image = camera->GetNextImage(5000);
    EXPECT_EQ(image->GetFrameID(), 1u);
    image->Release();
    camera->EndAcquisition();
}

} // namespace
