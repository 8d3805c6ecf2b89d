// The device-event channel of GigE Vision devices opened through the SDK's
// GigE Vision transport, against the device simulator: events reach the
// sink with id, timestamp, block and payload; a burst of 1,000 loses none;
// garbage is counted and dropped; closing clears the device's message
// channel; monitor-mode connections, devices without a message channel and
// a second channel are refused with clear errors; a lost device's channel
// closes without writing to it. Every case runs in its own private network
// namespace.
#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>
#include <memory>
#include <set>
#include <string>
#include <thread>

#include "../tools/FakeGigECamera.h"
#include "../tools/GvSim.h"
#include "GigETransportFixture.h"
#include "SdkError.h"
#include "transport/gige/GigEVisionEventChannel.h"

using Orvane::internal::DeviceConnection;
using Orvane::internal::DeviceEventChannel;
using Orvane::internal::DeviceEventChannelStatistics;
using Orvane::internal::GigEVisionEventChannel;
using Orvane::internal::MakeGigEVisionTransport;
using Orvane::internal::Transport;
using orvtest::BigEndian64;
using orvtest::EventSink;
using orvtest::SeenEvent;

namespace {

std::string Stats(const DeviceEventChannelStatistics& s) {
    return "events=" + std::to_string(s.events) + " acknowledged=" + std::to_string(s.acknowledged) +
           " duplicates=" + std::to_string(s.duplicates) + " malformed=" + std::to_string(s.malformed) +
           " foreign=" + std::to_string(s.foreign) + " sinkErrors=" + std::to_string(s.sinkErrors);
}

// Waits until the statistics satisfy `done` (the channel counts a datagram
// once it is handled).
template <class Done>
bool WaitForStatistics(const DeviceEventChannel& channel, Done done) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!done(channel.Statistics())) {
        if (std::chrono::steady_clock::now() > end) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

class GigEEventChannel : public ::testing::Test {
protected:
    void SetUp() override {
        sim.reset(new GvSim("127.0.0.2", "SIMEV1"));
        transport = MakeGigEVisionTransport();
        connection = orvtest::OpenBySerial(*transport, "SIMEV1");
        ASSERT_TRUE(connection->IsController());
    }
    void TearDown() override {
        channel.reset();
        connection.reset();
        sim.reset();
    }

    void Open() { channel = connection->OpenEventChannel(sink); }
    GigEVisionEventChannel& Gv() { return dynamic_cast<GigEVisionEventChannel&>(*channel); }

    std::unique_ptr<GvSim> sim;
    std::shared_ptr<Transport> transport;
    std::shared_ptr<DeviceConnection> connection;
    EventSink sink; // outlives the channel
    std::unique_ptr<DeviceEventChannel> channel;
};

} // namespace

TEST_F(GigEEventChannel, ExposureEndEventsArriveWithIdTimestampBlockAndPayload) {
    Open();
    const std::string answer = sim->Command("event ExposureEnd 3 block=40");
    EXPECT_EQ(GvSim::Field(answer, "sent"), "3") << answer;
    EXPECT_EQ(GvSim::Field(answer, "acked"), "3") << answer;
    ASSERT_TRUE(sink.WaitFor(3));
    const std::vector<SeenEvent> events = sink.Events();
    ASSERT_EQ(events.size(), 3u);
    for (size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(events[i].eventId, 0x9001u);
        ASSERT_EQ(events[i].data.size(), 16u);
        // The simulator's ticks are ns (1 GHz): the event's timestamp is the
        // one its data carries, and its data's frame id is the block id.
        EXPECT_EQ(events[i].timestamp, BigEndian64(events[i].data, 0));
        EXPECT_GT(events[i].timestamp, 0u);
        EXPECT_EQ(BigEndian64(events[i].data, 8), 40u + i);
        EXPECT_TRUE(events[i].hasBlockId);
        EXPECT_EQ(events[i].blockId, 40u + i);
        EXPECT_TRUE(events[i].hasStreamChannel);
        EXPECT_EQ(events[i].streamChannel, 0);
        if (i) {
            EXPECT_GE(events[i].timestamp, events[i - 1].timestamp);
        }
    }
    const DeviceEventChannelStatistics s = channel->Statistics();
    EXPECT_EQ(s.events, 3u) << Stats(s);
    EXPECT_EQ(s.acknowledged, 3u) << Stats(s);
    EXPECT_EQ(s.malformed, 0u);
    EXPECT_EQ(s.duplicates, 0u);
}

TEST_F(GigEEventChannel, PayloadBytesAndEventsWithoutData) {
    Open();
    EXPECT_EQ(GvSim::Field(sim->Command("event Test 1 00010203fffe channel=2 block=0x77"), "acked"), "1");
    ASSERT_TRUE(sink.WaitFor(1));
    SeenEvent e = sink.Events().at(0);
    EXPECT_EQ(e.eventId, 0x4FFFu);
    EXPECT_EQ(e.data, (std::vector<uint8_t>{0x00, 0x01, 0x02, 0x03, 0xFF, 0xFE}));
    EXPECT_EQ(e.streamChannel, 2);
    EXPECT_EQ(e.blockId, 0x77u);

    // EVENT messages carry no data: size 0, null pointer. Two events in one message.
    const std::string answer = sim->Command("event-nodata ExposureStart 2 items=2 block=9");
    EXPECT_EQ(GvSim::Field(answer, "sent"), "1") << answer;
    ASSERT_TRUE(sink.WaitFor(3));
    for (size_t i = 1; i < 3; ++i) {
        e = sink.Events().at(i);
        EXPECT_EQ(e.eventId, 0x9000u);
        EXPECT_TRUE(e.data.empty());
        EXPECT_TRUE(e.nullDataWhenEmpty);
        EXPECT_EQ(e.blockId, 8u + i);
        EXPECT_GT(e.timestamp, 0u);
    }

    // Block id 0 is no block; 64-bit block ids come through whole.
    EXPECT_EQ(GvSim::Field(sim->Command("event ExposureEnd 1 block=0"), "acked"), "1");
    EXPECT_EQ(GvSim::Field(sim->Command("event ExposureEnd 1 ext=1 block=0x1122334455"), "acked"), "1");
    ASSERT_TRUE(sink.WaitFor(5));
    EXPECT_FALSE(sink.Events().at(3).hasBlockId);
    EXPECT_TRUE(sink.Events().at(4).hasBlockId);
    EXPECT_EQ(sink.Events().at(4).blockId, 0x1122334455ull);
}

TEST_F(GigEEventChannel, TimestampsAreConvertedFromTheDevicesTickFrequency) {
    // 125 MHz: one tick is 8 ns. The frequency is read when the channel opens.
    ASSERT_EQ(sim->Command("set 0x0940 125000000"), "ok");
    Open();
    EXPECT_EQ(GvSim::Field(sim->Command("event ExposureEnd 2"), "acked"), "2");
    ASSERT_TRUE(sink.WaitFor(2));
    for (const SeenEvent& e : sink.Events()) EXPECT_EQ(e.timestamp, BigEndian64(e.data, 0) * 8);
}

TEST_F(GigEEventChannel, TicksToNanoseconds) {
    EXPECT_EQ(GigEVisionEventChannel::TicksToNanoseconds(123456789, 0), 123456789u);          // unknown frequency
    EXPECT_EQ(GigEVisionEventChannel::TicksToNanoseconds(123456789, 1000000000), 123456789u); // 1 GHz
    EXPECT_EQ(GigEVisionEventChannel::TicksToNanoseconds(3, 125000000), 24u);
    EXPECT_EQ(GigEVisionEventChannel::TicksToNanoseconds(1000001, 1000000), 1000001000u);
    // No overflow in the product: 2^62 ticks at 4 GHz.
    EXPECT_EQ(GigEVisionEventChannel::TicksToNanoseconds(uint64_t(1) << 62, 4000000000u), uint64_t(1) << 60);
    EXPECT_EQ(GigEVisionEventChannel::TicksToNanoseconds(~uint64_t(0), 1), ~uint64_t(0)); // saturates
}

TEST_F(GigEEventChannel, BurstOfAThousandLosesNone) {
    Open();
    const std::string answer = sim->Command("event ExposureEnd 1000", 120000);
    EXPECT_EQ(GvSim::Field(answer, "sent"), "1000") << answer;
    EXPECT_EQ(GvSim::Field(answer, "acked"), "1000") << answer;
    EXPECT_EQ(GvSim::Field(answer, "dropped"), "0") << answer;
    ASSERT_TRUE(sink.WaitFor(1000));
    const uint64_t retries = std::stoull(GvSim::Field(answer, "retries"));
    ASSERT_TRUE(WaitForStatistics(*channel, [&](const DeviceEventChannelStatistics& s) {
        return s.events + s.duplicates >= 1000 + retries;
    })) << Stats(channel->Statistics());
    std::this_thread::sleep_for(std::chrono::milliseconds(100)); // nothing more may come
    const std::vector<SeenEvent> events = sink.Events();
    ASSERT_EQ(events.size(), 1000u);
    std::set<uint64_t> blocks;
    for (size_t i = 0; i < events.size(); ++i) {
        EXPECT_EQ(events[i].eventId, 0x9001u);
        EXPECT_EQ(events[i].blockId, i + 1);
        blocks.insert(BigEndian64(events[i].data, 8));
    }
    EXPECT_EQ(blocks.size(), 1000u);
    const DeviceEventChannelStatistics s = channel->Statistics();
    EXPECT_EQ(s.events, 1000u) << Stats(s);
    EXPECT_EQ(s.duplicates, retries) << Stats(s);
    EXPECT_EQ(s.malformed, 0u) << Stats(s);
}

TEST_F(GigEEventChannel, GarbageIsCountedAndDroppedAndTheChannelKeepsWorking) {
    Open();
    const std::string answer = sim->Command("garbage");
    EXPECT_EQ(GvSim::Field(answer, "garbage"), "13") << answer;
    EXPECT_EQ(GvSim::Field(answer, "replies"), "0") << answer; // nothing acknowledged
    ASSERT_TRUE(WaitForStatistics(*channel, [](const DeviceEventChannelStatistics& s) { return s.malformed >= 13; }))
        << Stats(channel->Statistics());
    DeviceEventChannelStatistics s = channel->Statistics();
    EXPECT_EQ(s.malformed, 13u) << Stats(s);
    EXPECT_EQ(s.events, 0u);
    EXPECT_EQ(s.acknowledged, 0u);
    EXPECT_TRUE(sink.Events().empty());

    EXPECT_EQ(GvSim::Field(sim->Command("event ExposureEnd 1 block=5"), "acked"), "1");
    ASSERT_TRUE(sink.WaitFor(1));
    EXPECT_EQ(sink.Events().at(0).eventId, 0x9001u);
    EXPECT_EQ(sink.Events().at(0).blockId, 5u);
    s = channel->Statistics();
    EXPECT_EQ(s.malformed, 13u) << Stats(s);
    EXPECT_EQ(s.events, 1u) << Stats(s);
}

TEST_F(GigEEventChannel, RetransmissionIsDeliveredOnce) {
    Open();
    EXPECT_EQ(GvSim::Field(sim->Command("duplicate ExposureEnd"), "acks"), "2");
    ASSERT_TRUE(sink.WaitFor(1));
    ASSERT_TRUE(WaitForStatistics(*channel, [](const DeviceEventChannelStatistics& s) { return s.duplicates >= 1; }));
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_EQ(sink.Events().size(), 1u);
    const DeviceEventChannelStatistics s = channel->Statistics();
    EXPECT_EQ(s.events, 1u) << Stats(s);
    EXPECT_EQ(s.duplicates, 1u) << Stats(s);
    EXPECT_EQ(s.acknowledged, 2u) << Stats(s);
}

TEST_F(GigEEventChannel, SinkErrorsAreCountedAndDeliveryGoesOn) {
    Open();
    sink.ThrowFromNowOn();
    EXPECT_EQ(GvSim::Field(sim->Command("event ExposureEnd 3"), "acked"), "3");
    ASSERT_TRUE(sink.WaitFor(3));
    ASSERT_TRUE(WaitForStatistics(*channel, [](const DeviceEventChannelStatistics& s) { return s.sinkErrors >= 3; }));
    EXPECT_EQ(channel->Statistics().events, 3u);
}

TEST_F(GigEEventChannel, OpeningProgramsAndClosingClearsTheDevicesMessageChannel) {
    EXPECT_EQ(sim->Command("get 0x0B00"), "ok value=0x00000000");
    Open();
    const GigEVisionEventChannel& gv = Gv();
    char mcp[32];
    std::snprintf(mcp, sizeof mcp, "ok value=0x%08x", gv.HostPort());
    EXPECT_EQ(sim->Command("get 0x0B00"), mcp);
    EXPECT_NE(gv.HostPort(), 0);
    // The host end is the address the control channel uses.
    EXPECT_EQ(sim->Command("get 0x0B10"), "ok value=0x7f000001");
    std::string status = sim->Command("status");
    EXPECT_EQ(GvSim::Field(status, "channel"), "127.0.0.1:" + std::to_string(gv.HostPort())) << status;
    EXPECT_EQ(GvSim::Field(status, "mctt"), "200");
    EXPECT_EQ(GvSim::Field(status, "mcrc"), "3");

    channel.reset();
    EXPECT_EQ(sim->Command("get 0x0B00"), "ok value=0x00000000");
    EXPECT_EQ(sim->Command("event ExposureEnd"), "error message channel closed");

    // Opened again, it works again.
    Open();
    EXPECT_EQ(GvSim::Field(sim->Command("event ExposureEnd 1"), "acked"), "1");
    ASSERT_TRUE(sink.WaitFor(1));
}

TEST_F(GigEEventChannel, OneChannelPerDevice) {
    Open();
    EventSink other;
    EXPECT_EQ(orvtest::Failure([&] { connection->OpenEventChannel(other); }),
              std::make_pair(int(ORVANE_ERR_RESOURCE_IN_USE),
                             std::string("camera Orvane-GvSim-SIMEV1: its event channel is open already")));
    // The first one is untouched.
    EXPECT_EQ(GvSim::Field(sim->Command("event ExposureEnd 1"), "acked"), "1");
    ASSERT_TRUE(sink.WaitFor(1));
    EXPECT_TRUE(other.Events().empty());
    channel.reset();
    std::unique_ptr<DeviceEventChannel> second = connection->OpenEventChannel(other);
    EXPECT_EQ(GvSim::Field(sim->Command("event ExposureEnd 1"), "acked"), "1");
    ASSERT_TRUE(other.WaitFor(1));
}

TEST_F(GigEEventChannel, MonitorModeConnectionsAreRefused) {
    const std::shared_ptr<DeviceConnection> monitor = orvtest::OpenBySerial(*transport, "SIMEV1");
    ASSERT_FALSE(monitor->IsController());
    EventSink other;
    EXPECT_EQ(orvtest::Failure([&] { monitor->OpenEventChannel(other); }),
              std::make_pair(int(ORVANE_ERR_ACCESS_DENIED),
                             std::string("camera Orvane-GvSim-SIMEV1 is open in monitor mode (another host controls "
                                         "it): only the controlling application can open its message channel for "
                                         "device events")));
    EXPECT_EQ(sim->Command("get 0x0B00"), "ok value=0x00000000");
}

TEST_F(GigEEventChannel, DevicesWithoutMessageChannelAreNotSupported) {
    ASSERT_EQ(sim->Command("set 0x0900 0"), "ok");
    EXPECT_EQ(orvtest::Failure([&] { Open(); }),
              std::make_pair(int(ORVANE_ERR_NOT_SUPPORTED),
                             std::string("camera Orvane-GvSim-SIMEV1 has no message channel: it cannot send device "
                                         "events")));
    EXPECT_EQ(sim->Command("get 0x0B00"), "ok value=0x00000000");
    // Nothing stays held: with a message channel again, it opens.
    ASSERT_EQ(sim->Command("set 0x0900 1"), "ok");
    Open();
}

TEST(GigEEventChannelFake, AravisFakeCameraHasNoMessageChannel) {
    FakeGigECamera fake("127.0.0.3", "GVEV01");
    const std::shared_ptr<Transport> transport = MakeGigEVisionTransport();
    const std::shared_ptr<DeviceConnection> connection = orvtest::OpenBySerial(*transport, "GVEV01");
    EventSink sink;
    EXPECT_EQ(orvtest::Failure([&] { connection->OpenEventChannel(sink); }),
              std::make_pair(int(ORVANE_ERR_NOT_SUPPORTED),
                             std::string("camera Aravis-Fake-GVEV01 has no message channel: it cannot send device "
                                         "events")));
}

TEST_F(GigEEventChannel, LostDeviceClosesTheChannelWithoutWrites) {
    Open();
    EXPECT_EQ(GvSim::Field(sim->Command("event ExposureEnd 1"), "acked"), "1");
    ASSERT_TRUE(sink.WaitFor(1));
    sim->Stop(SIGKILL);
    const auto killed = std::chrono::steady_clock::now();
    while (!connection->ControlLost() && std::chrono::steady_clock::now() - killed < std::chrono::seconds(15))
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    ASSERT_TRUE(connection->ControlLost());
    // Closing writes nothing to the lost device: no timeout to wait for.
    const auto closing = std::chrono::steady_clock::now();
    channel.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - closing, std::chrono::milliseconds(1000)); // a write would wait 2.5 s
    // Opening again is refused with the loss.
    EXPECT_EQ(orvtest::Failure([&] { Open(); }),
              std::make_pair(int(ORVANE_ERR_DEVICE_LOST),
                             std::string("camera Orvane-GvSim-SIMEV1 was lost: its device events cannot be opened")));
}
