// What an opened virtual camera's connection offers the layers above it:
// loss listeners (run on the thread that detects the loss, once), the
// transport facts it has none of, its event channel and event map, and
// stream sources that never count lost frames.
#include <gtest/gtest.h>

#include <arv.h>

#include <atomic>
#include <memory>
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
#include "transport/DeviceEventMap.h"
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

TEST_F(VirtualConnection, EventChannelDeliversTheCamerasEventsOnTheRaisingThread) {
    struct Sink : internal::DeviceEventSink {
        void OnDeviceEvent(const internal::DeviceEvent& e) override {
            events.push_back(e);
            bytes.assign(e.data, e.data + e.size);
            threads.push_back(std::this_thread::get_id());
        }
        std::vector<internal::DeviceEvent> events;
        std::vector<uint8_t> bytes;
        std::vector<std::thread::id> threads;
    } sink;
    {
        std::unique_ptr<internal::DeviceEventChannel> channel = connection->OpenEventChannel(sink);
        ASSERT_TRUE(channel);
        // One channel at a time.
        EXPECT_EQ(CodeOf([&] { connection->OpenEventChannel(sink); }), ORVANE_ERR_RESOURCE_IN_USE);
        EXPECT_EQ(MessageOf([&] { connection->OpenEventChannel(sink); }),
                  "camera Orvane-VirtualCamera-VC0001: its event channel is open already");
        GenApi::CCommandPtr(camera->GetNodeMap().GetNode("TestEventGenerate"))->Execute();
        ASSERT_EQ(sink.events.size(), 1u);
        EXPECT_EQ(sink.events[0].eventId, 0x9000u);
        EXPECT_FALSE(sink.events[0].hasBlockId); // the Test event is about no frame
        EXPECT_GT(sink.events[0].timestamp, 0u);
        ASSERT_EQ(sink.bytes.size(), 32u);
        uint64_t timestamp = 0;
        for (int i = 0; i < 8; ++i) timestamp = timestamp << 8 | sink.bytes[i];
        EXPECT_EQ(timestamp, sink.events[0].timestamp);
        EXPECT_EQ(sink.threads[0], std::this_thread::get_id()); // raised by the command's writer
    }
    // Closed: no more events; a new channel opens.
    GenApi::CCommandPtr(camera->GetNodeMap().GetNode("TestEventGenerate"))->Execute();
    EXPECT_EQ(sink.events.size(), 1u);
    std::unique_ptr<internal::DeviceEventChannel> again = connection->OpenEventChannel(sink);
    GenApi::CCommandPtr(camera->GetNodeMap().GetNode("TestEventGenerate"))->Execute();
    EXPECT_EQ(sink.events.size(), 2u);
}

TEST_F(VirtualConnection, EventMapNamesTheCamerasEvents) {
    const internal::DeviceEventMap& map = connection->EventMap();
    EXPECT_EQ(&map, &connection->EventMap()); // read once
    const internal::DeviceEventInfo* end = map.Find(0x9021);
    ASSERT_NE(end, nullptr);
    EXPECT_EQ(end->name, "ExposureEnd");
    EXPECT_EQ(end->port, "EventExposureEndPort");
    EXPECT_EQ(end->idFeature, "EventExposureEnd");
    ASSERT_NE(map.FindByName("FrameTriggerMissed"), nullptr);
    EXPECT_EQ(map.FindByName("FrameTriggerMissed")->id, 0x9015u);
    EXPECT_EQ(map.FindByName("Test")->id, 0x9000u);
    EXPECT_EQ(map.Events().size(), 30u);
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
