// Action commands through the SDK's GigE Vision transport, against device
// simulators: a device with a controller (opened through the transport) or
// configured for unconditional action acknowledges, with its address and
// status; keys or masks that do not match move nobody; unicast reaches one
// device; without acknowledgements the call returns at once. Every case runs
// in its own private network namespace.
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "../tools/GvSim.h"
#include "GigETransportFixture.h"
#include "SdkError.h"

using Orvane::internal::ActionCommand;
using Orvane::internal::ActionResult;
using Orvane::internal::DeviceConnection;
using Orvane::internal::MakeGigEVisionTransport;
using Orvane::internal::Transport;

namespace {

// The simulator's action keys: device key 0x11, group key 0x22, mask 0x6.
std::vector<std::string> Keys(bool unconditional) {
    std::vector<std::string> a = {"--action-device-key", "0x11", "--action-group-key", "0x22",
                                  "--action-group-mask", "0x6"};
    if (unconditional) a.push_back("--unconditional-action");
    return a;
}

ActionCommand Command(uint32_t deviceKey, uint32_t groupKey, uint32_t groupMask) {
    ActionCommand c;
    c.deviceKey = deviceKey;
    c.groupKey = groupKey;
    c.groupMask = groupMask;
    c.acknowledge = true;
    c.timeoutMs = 500;
    return c;
}

std::vector<std::string> Actions(const GvSim& sim) { return GvSim::Lines(sim.Command("actions")); }

std::string Describe(const std::vector<ActionResult>& results) {
    std::string text;
    for (const ActionResult& r : results) text += r.address + "/" + std::to_string(r.status) + " ";
    return text;
}

} // namespace

TEST(GigEActionCommand, OpenDeviceAcknowledgesAndActs) {
    GvSim sim("127.0.0.2", "SIMAC1", Keys(false));
    const std::shared_ptr<Transport> transport = MakeGigEVisionTransport();
    std::vector<ActionResult> results;
    // Without a controller the device ignores action commands.
    transport->SendActionCommand(Command(0x11, 0x22, 0x2), results);
    EXPECT_TRUE(results.empty()) << Describe(results);
    ASSERT_EQ(Actions(sim).size(), 1u);
    EXPECT_NE(Actions(sim)[0].find("result=ignored-no-controller"), std::string::npos) << Actions(sim)[0];

    const std::shared_ptr<DeviceConnection> connection = orvtest::OpenBySerial(*transport, "SIMAC1");
    transport->SendActionCommand(Command(0x11, 0x22, 0x2), results);
    ASSERT_EQ(results.size(), 1u) << Describe(results);
    EXPECT_EQ(results[0].address, "127.0.0.2");
    EXPECT_EQ(results[0].status, 0u);
    const std::vector<std::string> actions = Actions(sim);
    ASSERT_EQ(actions.size(), 2u);
    EXPECT_EQ(actions[1].find("device_key=0x00000011 group_key=0x00000022 group_mask=0x00000002 scheduled=0 time=0 "
                              "ack=1 "),
              0u)
        << actions[1];
    EXPECT_NE(actions[1].find("result=fired signals=0 status=0x0000"), std::string::npos) << actions[1];

    // Results are appended.
    transport->SendActionCommand(Command(0x11, 0x22, 0x4), results);
    ASSERT_EQ(results.size(), 2u) << Describe(results);
    EXPECT_EQ(results[1].address, "127.0.0.2");
}

TEST(GigEActionCommand, KeysOrMasksThatDoNotMatchMoveNobody) {
    GvSim sim("127.0.0.2", "SIMAC2", Keys(true));
    const std::shared_ptr<Transport> transport = MakeGigEVisionTransport();
    std::vector<ActionResult> results;
    transport->SendActionCommand(Command(0x11, 0x22, 0x1), results); // mask shares no bit with 0x6
    transport->SendActionCommand(Command(0x12, 0x22, 0x6), results); // other device key
    transport->SendActionCommand(Command(0x11, 0x23, 0x6), results); // other group key
    EXPECT_TRUE(results.empty()) << Describe(results);
    const std::vector<std::string> actions = Actions(sim);
    ASSERT_EQ(actions.size(), 3u);
    EXPECT_NE(actions[0].find("result=ignored-group"), std::string::npos) << actions[0];
    EXPECT_NE(actions[1].find("result=ignored-device-key"), std::string::npos) << actions[1];
    EXPECT_NE(actions[2].find("result=ignored-group"), std::string::npos) << actions[2];
    // The unconditional device answers a matching one without a controller.
    transport->SendActionCommand(Command(0x11, 0x22, 0x4), results);
    ASSERT_EQ(results.size(), 1u);
    EXPECT_EQ(results[0].address, "127.0.0.2");
    EXPECT_EQ(results[0].status, 0u);
}

TEST(GigEActionCommand, EveryMatchingDeviceAnswersOnceAndUnicastReachesOne) {
    GvSim first("127.0.0.2", "SIMAC3", Keys(true));
    GvSim second("127.0.0.3", "SIMAC4", Keys(true));
    const std::shared_ptr<Transport> transport = MakeGigEVisionTransport();
    std::vector<ActionResult> results;
    transport->SendActionCommand(Command(0x11, 0x22, 0x2), results);
    ASSERT_EQ(results.size(), 2u) << Describe(results);
    EXPECT_EQ(results[0].address, "127.0.0.2");
    EXPECT_EQ(results[1].address, "127.0.0.3");

    results.clear();
    ActionCommand unicast = Command(0x11, 0x22, 0x2);
    unicast.unicastAddress = "127.0.0.3";
    transport->SendActionCommand(unicast, results);
    ASSERT_EQ(results.size(), 1u) << Describe(results);
    EXPECT_EQ(results[0].address, "127.0.0.3");
    EXPECT_EQ(Actions(first).size(), 1u);
    EXPECT_EQ(Actions(second).size(), 2u);

    unicast.unicastAddress = "camera three";
    EXPECT_EQ(orvtest::Failure([&] { transport->SendActionCommand(unicast, results); }),
              std::make_pair(int(ORVANE_ERR_INVALID_ARGUMENT),
                             std::string("an action command's device address must be an IPv4 address (a.b.c.d), not "
                                         "\"camera three\"")));
    EXPECT_EQ(results.size(), 1u);
}

TEST(GigEActionCommand, ScheduledActionTimeAndLateStatus) {
    GvSim sim("127.0.0.2", "SIMAC5", Keys(true));
    const std::shared_ptr<Transport> transport = MakeGigEVisionTransport();
    std::vector<ActionResult> results;
    ActionCommand late = Command(0x11, 0x22, 0x2);
    late.scheduled = true;
    late.actionTime = 1; // long past on the device's clock
    transport->SendActionCommand(late, results);
    ASSERT_EQ(results.size(), 1u) << Describe(results);
    EXPECT_EQ(results[0].status, 0x8016u); // action late
    const std::vector<std::string> actions = Actions(sim);
    ASSERT_EQ(actions.size(), 1u);
    EXPECT_NE(actions[0].find("scheduled=1 time=1 ack=1"), std::string::npos) << actions[0];
}

TEST(GigEActionCommand, WithoutAcknowledgementReturnsAtOnce) {
    GvSim sim("127.0.0.2", "SIMAC6", Keys(true));
    const std::shared_ptr<Transport> transport = MakeGigEVisionTransport();
    std::vector<ActionResult> results;
    ActionCommand command = Command(0x11, 0x22, 0x2);
    command.acknowledge = false;
    command.timeoutMs = 10000;
    const auto start = std::chrono::steady_clock::now();
    transport->SendActionCommand(command, results);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(1000));
    EXPECT_TRUE(results.empty());
    // The device acted, without acknowledging.
    std::vector<std::string> actions;
    for (int i = 0; i < 100 && actions.empty(); ++i) {
        actions = Actions(sim);
        if (actions.empty()) std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    ASSERT_EQ(actions.size(), 1u);
    EXPECT_NE(actions[0].find("ack=0"), std::string::npos) << actions[0];
    EXPECT_NE(actions[0].find("result=fired"), std::string::npos) << actions[0];
}
