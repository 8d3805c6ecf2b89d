// ACTION_CMD from the SDK's action sender to GigE Vision device simulators:
// matching devices acknowledge (status, address), others stay silent, and
// scheduled actions report late or full queues. Every case runs in its own
// private network namespace.
#include <arpa/inet.h>
#include <arv.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "../tools/GvSim.h"
#include "transport/gige/GvcpActionSender.h"
#include "transport/gige/GvcpProtocol.h"

using Orvane::internal::GvActionRequest;
using Orvane::internal::GvActionResults;
using Orvane::internal::GvActionTarget;
using Orvane::internal::GvcpActionSender;

namespace {

std::vector<std::string> Keys(const std::string& deviceKey, const std::string& groupKey, const std::string& mask,
                              bool unconditional = true) {
    std::vector<std::string> a = {"--action-device-key", deviceKey, "--action-group-key", groupKey,
                                  "--action-group-mask", mask};
    if (unconditional) a.push_back("--unconditional-action");
    return a;
}

GvActionRequest Request(uint32_t deviceKey, uint32_t groupKey, uint32_t groupMask) {
    GvActionRequest r;
    r.deviceKey = deviceKey;
    r.groupKey = groupKey;
    r.groupMask = groupMask;
    return r;
}

GvActionResults Broadcast(const GvActionRequest& request, uint32_t timeoutMs = 500) {
    return GvcpActionSender::Send(request, GvcpActionSender::BroadcastTargets(), timeoutMs);
}

std::string LastAction(const GvSim& sim) {
    const auto lines = GvSim::Lines(sim.Command("actions"));
    return lines.empty() ? "<none>" : lines.back();
}

} // namespace

TEST(ActionCommand, BroadcastTargetsOfTheNamespace) {
    const std::vector<GvActionTarget> targets = GvcpActionSender::BroadcastTargets();
    ASSERT_EQ(targets.size(), 1u); // loopback only
    EXPECT_EQ(targets[0].localAddress, 0x7F000001u);
    EXPECT_EQ(targets[0].destination, 0xFFFFFFFFu);
    const GvActionTarget unicast = GvcpActionSender::UnicastTarget(0x7F000001);
    EXPECT_EQ(unicast.destination, 0x7F000001u);
    EXPECT_EQ(unicast.localAddress, 0x7F000001u);

    GvSim::AddLoopbackAddress("127.0.0.2"); // a second address of the same interface
    ASSERT_EQ(GvcpActionSender::BroadcastTargets().size(), 1u);
    EXPECT_EQ(GvcpActionSender::BroadcastTargets()[0].localAddress, 0x7F000001u);
}

TEST(ActionCommand, MatchingDeviceAcknowledges) {
    GvSim sim("127.0.0.2", "SIMX1", Keys("0x11", "0x22", "0x1"));
    const GvActionResults r = Broadcast(Request(0x11, 0x22, 0xFFFFFFFF));
    EXPECT_EQ(r.sent, 1u);
    ASSERT_EQ(r.acks.size(), 1u);
    EXPECT_EQ(r.acks[0].deviceAddress, "127.0.0.2");
    EXPECT_EQ(r.acks[0].address, 0x7F000002u);
    EXPECT_EQ(r.acks[0].status, 0);
    EXPECT_EQ(r.ignoredReplies, 0u);
    const std::string line = LastAction(sim);
    EXPECT_NE(line.find("device_key=0x00000011 group_key=0x00000022 group_mask=0xffffffff scheduled=0 time=0 ack=1"),
              std::string::npos)
        << line;
    EXPECT_NE(line.find("result=fired signals=0 status=0x0000"), std::string::npos) << line;
}

TEST(ActionCommand, MismatchesAreSilent) {
    GvSim sim("127.0.0.2", "SIMX2", Keys("0x11", "0x22", "0x1"));
    EXPECT_TRUE(Broadcast(Request(0x11, 0x22, 0x2)).acks.empty());
    EXPECT_NE(LastAction(sim).find("result=ignored-group"), std::string::npos);
    EXPECT_TRUE(Broadcast(Request(0x11, 0x23, 0x1)).acks.empty());
    EXPECT_NE(LastAction(sim).find("result=ignored-group"), std::string::npos);
    EXPECT_TRUE(Broadcast(Request(0x12, 0x22, 0x1)).acks.empty());
    EXPECT_NE(LastAction(sim).find("result=ignored-device-key"), std::string::npos);
    EXPECT_EQ(GvSim::Field(sim.Command("actions"), "n"), "3");
}

TEST(ActionCommand, DeviceWithoutControllerIgnoresUnlessUnconditional) {
    GvSim sim("127.0.0.2", "SIMX3", Keys("0x11", "0x22", "0x1", false));
    EXPECT_TRUE(Broadcast(Request(0x11, 0x22, 0x1)).acks.empty());
    EXPECT_NE(LastAction(sim).find("result=ignored-no-controller"), std::string::npos);

    GError* error = nullptr;
    ArvDevice* device = arv_open_device("127.0.0.2", &error); // takes control
    ASSERT_NE(device, nullptr) << (error ? error->message : "");
    const GvActionResults r = Broadcast(Request(0x11, 0x22, 0x1));
    ASSERT_EQ(r.acks.size(), 1u);
    EXPECT_EQ(r.acks[0].deviceAddress, "127.0.0.2");
    g_object_unref(device);
}

TEST(ActionCommand, KeysConfiguredThroughTheDeviceFeatures) {
    GvSim sim("127.0.0.2", "SIMX4");
    GError* error = nullptr;
    ArvDevice* device = arv_open_device("127.0.0.2", &error);
    ASSERT_NE(device, nullptr) << (error ? error->message : "");
    arv_device_set_integer_feature_value(device, "ActionDeviceKey", 0xC0FFEE, &error);
    arv_device_set_integer_feature_value(device, "ActionSelector", 1, &error);
    arv_device_set_integer_feature_value(device, "ActionGroupKey", 7, &error);
    arv_device_set_integer_feature_value(device, "ActionGroupMask", 0x10, &error);
    ASSERT_EQ(error, nullptr) << error->message;

    const GvActionResults r = Broadcast(Request(0xC0FFEE, 7, 0x30));
    ASSERT_EQ(r.acks.size(), 1u);
    EXPECT_EQ(r.acks[0].status, 0);
    EXPECT_NE(LastAction(sim).find("result=fired signals=1 "), std::string::npos) << LastAction(sim);
    g_object_unref(device);
}

TEST(ActionCommand, SeveralDevicesBroadcastAndUnicast) {
    GvSim a("127.0.0.2", "SIMY1", Keys("0x11", "0x22", "0x1"));
    GvSim b("127.0.0.3", "SIMY2", Keys("0x11", "0x22", "0x2"));
    GvSim c("127.0.0.4", "SIMY3", Keys("0x11", "0x33", "0x3"));
    GvActionResults r = Broadcast(Request(0x11, 0x22, 0x3));
    ASSERT_EQ(r.acks.size(), 2u);
    EXPECT_EQ(r.acks[0].deviceAddress, "127.0.0.2");
    EXPECT_EQ(r.acks[1].deviceAddress, "127.0.0.3");
    EXPECT_NE(LastAction(c).find("result=ignored-group"), std::string::npos);

    r = GvcpActionSender::Send(Request(0x11, 0x22, 0x3), {GvcpActionSender::UnicastTarget(0x7F000003)}, 500);
    EXPECT_EQ(r.sent, 1u);
    ASSERT_EQ(r.acks.size(), 1u);
    EXPECT_EQ(r.acks[0].deviceAddress, "127.0.0.3");
    EXPECT_EQ(GvSim::Field(a.Command("actions"), "n"), "1"); // the unicast did not reach it
}

TEST(ActionCommand, ScheduledActions) {
    GvSim sim("127.0.0.2", "SIMZ1", Keys("0x11", "0x22", "0x1"));
    GvActionRequest late = Request(0x11, 0x22, 0x1);
    late.scheduled = true;
    late.actionTime = 1; // long past on the device's clock
    GvActionResults r = Broadcast(late);
    ASSERT_EQ(r.acks.size(), 1u);
    EXPECT_EQ(r.acks[0].status, Orvane::internal::gvcp::kStatusActionLate);
    EXPECT_NE(LastAction(sim).find("scheduled=1 time=1 ack=1"), std::string::npos) << LastAction(sim);

    GvActionRequest future = late;
    future.actionTime = 1ull << 62;
    for (int i = 0; i < 4; ++i) { // the device queues four
        r = Broadcast(future);
        ASSERT_EQ(r.acks.size(), 1u);
        EXPECT_EQ(r.acks[0].status, 0) << i;
    }
    r = Broadcast(future);
    ASSERT_EQ(r.acks.size(), 1u);
    EXPECT_EQ(r.acks[0].status, Orvane::internal::gvcp::kStatusOverflow);
}

TEST(ActionCommand, WithoutAcknowledgementNothingIsAwaited) {
    GvSim sim("127.0.0.2", "SIMZ2", Keys("0x11", "0x22", "0x1"));
    GvActionRequest request = Request(0x11, 0x22, 0x1);
    request.ackRequired = false;
    const auto before = std::chrono::steady_clock::now();
    const GvActionResults r = Broadcast(request, 5000);
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(2));
    EXPECT_EQ(r.sent, 1u);
    EXPECT_TRUE(r.acks.empty());
    for (int i = 0; i < 100 && GvSim::Field(sim.Command("actions"), "n") != "1"; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_NE(LastAction(sim).find("ack=0"), std::string::npos) << LastAction(sim);
    EXPECT_NE(LastAction(sim).find("result=fired"), std::string::npos) << LastAction(sim);
}

// A responder of the test's own answers with garbage, an acknowledgement of
// another request, another acknowledgement type, and a right one twice.
TEST(ActionCommand, StrayRepliesAreIgnored) {
    const int listener = socket(AF_INET, SOCK_DGRAM, 0);
    const int one = 1;
    setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &one, sizeof one);
    sockaddr_in any{};
    any.sin_family = AF_INET;
    any.sin_addr.s_addr = htonl(INADDR_BROADCAST);
    any.sin_port = htons(3956);
    ASSERT_EQ(bind(listener, reinterpret_cast<sockaddr*>(&any), sizeof any), 0);
    std::atomic<bool> answered{false};
    std::thread responder([&] {
        pollfd p{listener, POLLIN, 0};
        if (poll(&p, 1, 5000) != 1) return;
        uint8_t in[64];
        sockaddr_in from{};
        socklen_t length = sizeof from;
        const ssize_t n = recvfrom(listener, in, sizeof in, 0, reinterpret_cast<sockaddr*>(&from), &length);
        if (n < 8) return;
        const uint16_t id = uint16_t((in[6] << 8) | in[7]);
        const int out = socket(AF_INET, SOCK_DGRAM, 0);
        sockaddr_in self{};
        self.sin_family = AF_INET;
        self.sin_addr.s_addr = htonl(0x7F000009);
        bind(out, reinterpret_cast<sockaddr*>(&self), sizeof self);
        const auto good = Orvane::internal::gvcp::BuildActionAck(0, id);
        const auto otherId = Orvane::internal::gvcp::BuildActionAck(0, uint16_t(id + 1));
        const auto eventAck = Orvane::internal::gvcp::BuildAck(0, Orvane::internal::gvcp::kEventAck, id);
        const uint8_t junk[] = {0x42, 0x42, 0x42};
        const std::vector<std::vector<uint8_t>> replies = {std::vector<uint8_t>(junk, junk + 3),
                                                           {otherId.begin(), otherId.end()},
                                                           {eventAck.begin(), eventAck.end()},
                                                           {good.begin(), good.end()},
                                                           {good.begin(), good.end()}};
        for (const auto& r : replies)
            sendto(out, r.data(), r.size(), 0, reinterpret_cast<sockaddr*>(&from), sizeof from);
        close(out);
        answered = true;
    });
    const GvActionResults r = Broadcast(Request(1, 2, 3), 1000);
    responder.join();
    close(listener);
    EXPECT_TRUE(answered.load());
    ASSERT_EQ(r.acks.size(), 1u);
    EXPECT_EQ(r.acks[0].deviceAddress, "127.0.0.9");
    EXPECT_EQ(r.ignoredReplies, 4u);
}
