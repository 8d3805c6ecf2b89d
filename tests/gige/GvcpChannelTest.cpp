// The SDK's GVCP message channel against the GigE Vision device simulator:
// events reach the sink with their id, block id, timestamp and data; a burst
// loses nothing; retransmissions are acknowledged and delivered once;
// garbage and foreign datagrams are counted and dropped. Every case runs in
// its own private network namespace.
#include <arpa/inet.h>
#include <arv.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>

#include "../tools/GvSim.h"
#include "EventCollector.h"
#include "RawGvcp.h"
#include "SdkError.h"
#include "transport/gige/GvSocket.h"
#include "transport/gige/GvcpMessageChannel.h"
#include "transport/gige/GvcpProtocol.h"

using Orvane::internal::FormatIPv4;
using Orvane::internal::GvcpMessageChannel;
using Orvane::internal::GvEventMessage;

namespace {

constexpr uint32_t kSimAddress = 0x7F000002; // 127.0.0.2

uint64_t BigEndian64(const std::vector<uint8_t>& d, size_t offset) {
    uint64_t v = 0;
    for (size_t i = 0; i < 8; ++i) v = (v << 8) | d[offset + i];
    return v;
}

std::string Stats(const GvcpMessageChannel::Statistics& s) {
    return "datagrams=" + std::to_string(s.datagrams) + " events=" + std::to_string(s.events) +
           " acknowledged=" + std::to_string(s.acknowledged) + " duplicates=" + std::to_string(s.duplicates) +
           " malformed=" + std::to_string(s.malformed) + " foreign=" + std::to_string(s.foreign) +
           " sinkErrors=" + std::to_string(s.sinkErrors);
}

// Waits until the channel has received `count` datagrams.
bool WaitForDatagrams(const GvcpMessageChannel& channel, uint64_t count) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (channel.GetStatistics().datagrams < count) {
        if (std::chrono::steady_clock::now() > end) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

class MessageChannel : public ::testing::Test {
protected:
    void SetUp() override {
        sim.reset(new GvSim("127.0.0.2", "SIMM1", {"--heartbeat-timeout", "60000"}));
        controller.reset(new RawGvcp("127.0.0.2"));
        controller->TakeControl();
    }
    void TearDown() override {
        channel.Stop();
        controller.reset();
        sim.reset();
    }

    void Start(const GvcpMessageChannel::Options& options = GvcpMessageChannel::Options()) {
        channel.Start(kSimAddress, controller->Writer(), collector.Sink(), options);
    }

    std::unique_ptr<GvSim> sim;
    std::unique_ptr<RawGvcp> controller;
    EventCollector collector;
    GvcpMessageChannel channel;
};

} // namespace

TEST_F(MessageChannel, EventDataReachesTheSinkWithIdAndPayload) {
    Start();
    const std::string answer = sim->Command("event ExposureEnd 1 0102030405");
    EXPECT_EQ(GvSim::Field(answer, "sent"), "1") << answer;
    EXPECT_EQ(GvSim::Field(answer, "acked"), "1") << answer;
    ASSERT_TRUE(collector.WaitFor(1));
    const GvEventMessage e = collector.Events().at(0);
    EXPECT_EQ(e.eventId, 0x9001);
    EXPECT_TRUE(e.hasData);
    EXPECT_EQ(e.data, (std::vector<uint8_t>{1, 2, 3, 4, 5}));
    EXPECT_EQ(e.streamChannel, 0);
    EXPECT_EQ(e.blockId, 1u);
    EXPECT_GT(e.timestamp, 0u);
    EXPECT_EQ(e.reqId, 1);
    ASSERT_TRUE(WaitForDatagrams(channel, 1));
    const auto s = channel.GetStatistics();
    EXPECT_EQ(s.datagrams, 1u) << Stats(s);
    EXPECT_EQ(s.events, 1u);
    EXPECT_EQ(s.acknowledged, 1u);
    EXPECT_EQ(s.malformed, 0u);
    EXPECT_EQ(s.duplicates, 0u);
}

TEST_F(MessageChannel, DefaultDataCarriesTimestampAndFrameId) {
    Start();
    EXPECT_EQ(GvSim::Field(sim->Command("event EventExposureEnd 3 block=10"), "acked"), "3");
    ASSERT_TRUE(collector.WaitFor(3));
    const auto events = collector.Events();
    ASSERT_EQ(events.size(), 3u);
    for (size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(events[i].eventId, 0x9001);
        EXPECT_EQ(events[i].blockId, 10u + i);
        ASSERT_EQ(events[i].data.size(), 16u);
        EXPECT_EQ(BigEndian64(events[i].data, 0), events[i].timestamp);
        EXPECT_EQ(BigEndian64(events[i].data, 8), 10u + i);
        if (i) {
            EXPECT_GE(events[i].timestamp, events[i - 1].timestamp);
        }
    }
}

TEST_F(MessageChannel, EventMessagesWithoutDataAndExtendedIds) {
    Start();
    const std::string answer = sim->Command("event-nodata Test 4 items=2 ext=1 block=5");
    EXPECT_EQ(GvSim::Field(answer, "sent"), "2") << answer; // two messages of two events
    EXPECT_EQ(GvSim::Field(answer, "acked"), "2") << answer;
    ASSERT_TRUE(collector.WaitFor(4));
    auto events = collector.Events();
    for (size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(events[i].eventId, 0x4FFF);
        EXPECT_FALSE(events[i].hasData);
        EXPECT_TRUE(events[i].data.empty());
        EXPECT_EQ(events[i].blockId, 5u + i);
    }
    EXPECT_EQ(events[0].reqId, events[1].reqId); // one message
    EXPECT_NE(events[1].reqId, events[2].reqId);

    EXPECT_EQ(GvSim::Field(sim->Command("event 0x9000 1 block=0x123456789 ext=1 channel=3"), "acked"), "1");
    ASSERT_TRUE(collector.WaitFor(5));
    events = collector.Events();
    EXPECT_EQ(events[4].eventId, 0x9000);
    EXPECT_EQ(events[4].blockId, 0x123456789ull);
    EXPECT_EQ(events[4].streamChannel, 3);
    EXPECT_EQ(BigEndian64(events[4].data, 8), 0x123456789ull);
    ASSERT_TRUE(WaitForDatagrams(channel, 3));
    EXPECT_EQ(channel.GetStatistics().acknowledged, 3u);
}

TEST_F(MessageChannel, UnknownEventIdsAreDeliveredToo) {
    Start();
    EXPECT_EQ(GvSim::Field(sim->Command("event 0xA123 1 ff"), "acked"), "1");
    ASSERT_TRUE(collector.WaitFor(1));
    EXPECT_EQ(collector.Events()[0].eventId, 0xA123);
    EXPECT_EQ(collector.Events()[0].data, (std::vector<uint8_t>{0xFF}));
}

TEST_F(MessageChannel, BurstOfAThousandLosesNone) {
    Start();
    const std::string answer = sim->Command("events burst 1000", 120000);
    EXPECT_EQ(GvSim::Field(answer, "sent"), "1000") << answer;
    EXPECT_EQ(GvSim::Field(answer, "acked"), "1000") << answer;
    EXPECT_EQ(GvSim::Field(answer, "dropped"), "0") << answer;
    ASSERT_TRUE(collector.WaitFor(1000));
    const uint64_t retries = std::stoull(GvSim::Field(answer, "retries"));
    ASSERT_TRUE(WaitForDatagrams(channel, 1000 + retries));
    std::this_thread::sleep_for(std::chrono::milliseconds(100)); // nothing more may come
    const auto events = collector.Events();
    ASSERT_EQ(events.size(), 1000u);
    std::set<uint16_t> ids;
    for (size_t i = 0; i < events.size(); ++i) {
        EXPECT_EQ(events[i].eventId, 0x9000);
        EXPECT_EQ(events[i].blockId, i + 1);
        ids.insert(events[i].reqId);
    }
    EXPECT_EQ(ids.size(), 1000u);
    const auto s = channel.GetStatistics();
    EXPECT_EQ(s.events, 1000u) << Stats(s);
    // A retransmission (an acknowledgement later than the device's timeout) is
    // acknowledged again and not delivered again.
    EXPECT_EQ(s.duplicates, retries) << Stats(s);
    EXPECT_EQ(s.malformed, 0u);
}

TEST_F(MessageChannel, RetransmissionIsAcknowledgedAndDeliveredOnce) {
    Start();
    const std::string answer = sim->Command("duplicate ExposureEnd");
    EXPECT_EQ(GvSim::Field(answer, "acks"), "2") << answer;
    ASSERT_TRUE(collector.WaitFor(1));
    ASSERT_TRUE(WaitForDatagrams(channel, 2));
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_EQ(collector.Events().size(), 1u);
    EXPECT_EQ(collector.Events()[0].blockId, 77u);
    const auto s = channel.GetStatistics();
    EXPECT_EQ(s.duplicates, 1u) << Stats(s);
    EXPECT_EQ(s.acknowledged, 2u);
    EXPECT_EQ(s.events, 1u);
}

TEST_F(MessageChannel, GarbageIsCountedAndDropped) {
    Start();
    const std::string answer = sim->Command("garbage");
    EXPECT_EQ(GvSim::Field(answer, "garbage"), "13") << answer;
    EXPECT_EQ(GvSim::Field(answer, "replies"), "0") << answer; // nothing acknowledged
    ASSERT_TRUE(WaitForDatagrams(channel, 13));
    auto s = channel.GetStatistics();
    EXPECT_EQ(s.malformed, 13u) << Stats(s);
    EXPECT_EQ(s.events, 0u);
    EXPECT_EQ(s.acknowledged, 0u);
    EXPECT_TRUE(collector.Events().empty());

    // The channel still works.
    EXPECT_EQ(GvSim::Field(sim->Command("event Test 1"), "acked"), "1");
    ASSERT_TRUE(collector.WaitFor(1));
    EXPECT_EQ(collector.Events()[0].eventId, 0x4FFF);
    s = channel.GetStatistics();
    EXPECT_EQ(s.malformed, 13u) << Stats(s);
    EXPECT_EQ(s.events, 1u);
}

TEST_F(MessageChannel, DatagramsFromAnotherAddressAreDropped) {
    Start();
    const int s = socket(AF_INET, SOCK_DGRAM, 0);
    sockaddr_in local{};
    local.sin_family = AF_INET;
    local.sin_addr.s_addr = htonl(0x7F000001);
    ASSERT_EQ(bind(s, reinterpret_cast<sockaddr*>(&local), sizeof local), 0);
    Orvane::internal::gvcp::EventItem item;
    item.eventId = 0x9001;
    const std::vector<uint8_t> message = Orvane::internal::gvcp::BuildEventData(0x0AB, true, false, item);
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_addr.s_addr = htonl(channel.HostAddress());
    to.sin_port = htons(channel.HostPort());
    ASSERT_EQ(sendto(s, message.data(), message.size(), 0, reinterpret_cast<sockaddr*>(&to), sizeof to),
              static_cast<ssize_t>(message.size()));
    ASSERT_TRUE(WaitForDatagrams(channel, 1));
    pollfd p{s, POLLIN, 0};
    EXPECT_EQ(poll(&p, 1, 300), 0); // no acknowledgement
    EXPECT_EQ(channel.GetStatistics().foreign, 1u);
    EXPECT_TRUE(collector.Events().empty());

    // Accepted from anyone when asked, and acknowledged to the sender.
    channel.Stop();
    GvcpMessageChannel::Options options;
    options.acceptAnySource = true;
    Start(options);
    to.sin_addr.s_addr = htonl(channel.HostAddress());
    to.sin_port = htons(channel.HostPort());
    ASSERT_EQ(sendto(s, message.data(), message.size(), 0, reinterpret_cast<sockaddr*>(&to), sizeof to),
              static_cast<ssize_t>(message.size()));
    ASSERT_EQ(poll(&p, 1, 5000), 1);
    uint8_t ack[64];
    ASSERT_EQ(recv(s, ack, sizeof ack, 0), 8);
    EXPECT_EQ(std::vector<uint8_t>(ack, ack + 8),
              (std::vector<uint8_t>{0x00, 0x00, 0x00, 0xC3, 0x00, 0x00, 0x00, 0xAB}));
    ASSERT_TRUE(collector.WaitFor(1));
    EXPECT_EQ(collector.Events()[0].eventId, 0x9001);
    close(s);
}

TEST_F(MessageChannel, StartProgramsAndStopClosesTheDevicesChannel) {
    GvcpMessageChannel::Options options;
    options.hostAddress = 0x7F000001;
    options.timeoutMs = 500;
    options.retryCount = 1;
    Start(options);
    EXPECT_TRUE(channel.IsRunning());
    EXPECT_EQ(channel.HostAddress(), 0x7F000001u);
    std::string status = sim->Command("status");
    EXPECT_EQ(GvSim::Field(status, "channel"), "127.0.0.1:" + std::to_string(channel.HostPort())) << status;
    EXPECT_EQ(GvSim::Field(status, "mctt"), "500");
    EXPECT_EQ(GvSim::Field(status, "mcrc"), "1");

    channel.Stop();
    EXPECT_FALSE(channel.IsRunning());
    status = sim->Command("status");
    EXPECT_EQ(GvSim::Field(status, "channel"), "closed") << status;
    EXPECT_EQ(GvSim::Field(status, "mcp"), "0");
    EXPECT_EQ(sim->Command("event ExposureEnd"), "error message channel closed");
    channel.Stop(); // again: nothing to do

    // The default host address is the one that routes to the device.
    Start();
    status = sim->Command("status");
    EXPECT_EQ(GvSim::Field(status, "channel"),
              FormatIPv4(channel.HostAddress()) + ":" + std::to_string(channel.HostPort()));
    EXPECT_EQ(GvSim::Field(status, "mctt"), "200");
    EXPECT_EQ(GvSim::Field(status, "mcrc"), "3");
}

TEST_F(MessageChannel, StartFailsWhenTheDeviceRefusesTheWrites) {
    RawGvcp stranger("127.0.0.2"); // holds no control privilege
    GvcpMessageChannel other;
    EXPECT_EQ(orvtest::MessageOf([&] { other.Start(kSimAddress, stranger.Writer(), collector.Sink()); }),
              "Cannot program the device's message channel: WRITEREG refused with status 32774");
    EXPECT_EQ(orvtest::CodeOf([&] { other.Start(kSimAddress, stranger.Writer(), collector.Sink()); }), ORVANE_ERR_IO);
    EXPECT_FALSE(other.IsRunning());
    EXPECT_EQ(GvSim::Field(sim->Command("status"), "channel"), "closed");
}

TEST_F(MessageChannel, ArgumentsAndState) {
    auto writer = controller->Writer();
    auto sink = collector.Sink();
    EXPECT_EQ(orvtest::CodeOf([&] { channel.Start(0, writer, sink); }), ORVANE_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(orvtest::MessageOf([&] { channel.Start(0, writer, sink); }),
              "The device address of a message channel is 0");
    EXPECT_EQ(orvtest::MessageOf([&] { channel.Start(kSimAddress, nullptr, sink); }),
              "A message channel needs a register writer");
    EXPECT_EQ(orvtest::MessageOf([&] { channel.Start(kSimAddress, writer, nullptr); }),
              "A message channel needs an event sink");
    EXPECT_FALSE(channel.IsRunning());
    channel.Start(kSimAddress, writer, sink);
    EXPECT_EQ(orvtest::CodeOf([&] { channel.Start(kSimAddress, writer, sink); }), ORVANE_ERR_INVALID_STATE);
    EXPECT_EQ(orvtest::MessageOf([&] { channel.Start(kSimAddress, writer, sink); }),
              "The message channel is already running");
}

TEST_F(MessageChannel, SinkErrorsAndStopFromTheSink) {
    std::atomic<int> calls{0};
    std::atomic<int> stopCode{0};
    std::string stopMessage;
    channel.Start(kSimAddress, controller->Writer(), collector.Sink([&](const GvEventMessage&) {
        const int n = ++calls;
        if (n == 1) {
            try {
                channel.Stop();
            } catch (const Orvane::Exception& e) {
                stopMessage = e.GetErrorMessage();
                stopCode = e.GetError();
            }
        }
        if (n == 2) throw std::runtime_error("handler failed");
    }));
    EXPECT_EQ(GvSim::Field(sim->Command("event Test 3"), "acked"), "3");
    ASSERT_TRUE(collector.WaitFor(2)); // the second event threw before it was collected
    ASSERT_TRUE(WaitForDatagrams(channel, 3));
    const auto s = channel.GetStatistics();
    EXPECT_EQ(s.sinkErrors, 1u) << Stats(s);
    EXPECT_EQ(s.events, 3u);
    EXPECT_EQ(stopCode.load(), ORVANE_ERR_INVALID_STATE);
    EXPECT_EQ(stopMessage, "A message channel cannot be stopped from its own event sink");
    EXPECT_TRUE(channel.IsRunning());
}

TEST_F(MessageChannel, StopReturnsWhenTheDeviceIsGone) {
    Start();
    sim->Stop(SIGKILL);
    const auto before = std::chrono::steady_clock::now();
    channel.Stop(); // the write of MCP fails: ignored
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(5));
    EXPECT_FALSE(channel.IsRunning());
}

// The way the SDK runs it: the register writes go through the ArvDevice that
// holds the device's control privilege (and keeps it with its heartbeat).
TEST(MessageChannelOverAravis, EventsThroughTheControllingArvDevice) {
    GvSim sim("127.0.0.2", "SIMM2");
    GError* error = nullptr;
    ArvDevice* device = arv_open_device("127.0.0.2", &error);
    ASSERT_NE(device, nullptr) << (error ? error->message : "");
    EventCollector collector;
    GvcpMessageChannel channel;
    channel.Start(
        kSimAddress,
        [device](uint32_t address, uint32_t value) {
            GError* e = nullptr;
            if (!arv_device_write_register(device, address, value, &e)) {
                const std::string m = e ? e->message : "write failed";
                g_clear_error(&e);
                throw std::runtime_error(m);
            }
        },
        collector.Sink());
    const std::string status = sim.Command("status");
    EXPECT_NE(GvSim::Field(status, "controller"), "none");
    EXPECT_EQ(GvSim::Field(status, "channel"),
              FormatIPv4(channel.HostAddress()) + ":" + std::to_string(channel.HostPort()));

    EXPECT_EQ(GvSim::Field(sim.Command("event ExposureEnd 2 aabbccdd"), "acked"), "2");
    ASSERT_TRUE(collector.WaitFor(2));
    EXPECT_EQ(collector.Events()[1].data, (std::vector<uint8_t>{0xAA, 0xBB, 0xCC, 0xDD}));

    channel.Stop();
    EXPECT_EQ(GvSim::Field(sim.Command("status"), "channel"), "closed");
    g_object_unref(device);
}
