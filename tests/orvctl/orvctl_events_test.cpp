// orvctl action and orvctl watch on virtual cameras, run as a user runs them:
// acknowledgement lines, frames made on the cameras it triggers, late
// actions, usage errors; watch listing the cameras present and ending on
// Ctrl-C.
#include <signal.h>

#include <string>
#include <vector>

#include "OrvctlChild.h"
#include "OrvctlRun.h"

namespace {

using namespace orvctltest;

class OrvctlEvents : public OrvctlProcess {};

TEST_F(OrvctlEvents, ActionTriggersAFrameOnEveryArmedVirtualCamera) {
    const RunResult r =
        Orvctl({"--virtual-cameras", "3", "action", "--device-key", "0x12345678", "--group-key", "16", "--group-mask",
                "0x3", "--trigger", "VC0001", "--trigger", "VC0002", "--trigger", "VC0003"});
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out, (std::vector<std::string>{"0.0.0.1 status 0x0000 (success)", "0.0.0.2 status 0x0000 (success)",
                                               "0.0.0.3 status 0x0000 (success)", "frame VC0001 1", "frame VC0002 1",
                                               "frame VC0003 1"}));
    EXPECT_EQ(r.err, "orvctl: 3 devices acknowledged\n");
}

TEST_F(OrvctlEvents, ActionOnOneInterfaceWithoutAcknowledgement) {
    const RunResult r = Orvctl({"--virtual-cameras", "2", "action", "--device-key", "1", "--group-key", "2",
                                "--group-mask", "4", "--interface", "Virtual", "--no-ack", "--trigger", "VC0002"});
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out, (std::vector<std::string>{"frame VC0002 1"}));
    EXPECT_EQ(r.err, "");
}

TEST_F(OrvctlEvents, ALateActionSaysSoAndStillActs) {
    const RunResult r = Orvctl(
        {"action", "--device-key", "7", "--group-key", "7", "--group-mask", "7", "--time", "1", "--trigger", "VC0001"});
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out, (std::vector<std::string>{
                         "0.0.0.1 status 0x8016 (late: the action time had passed, the device acted at once)",
                         "frame VC0001 1"}));
}

TEST_F(OrvctlEvents, ActionWithoutOpenCamerasReachesNobody) {
    const RunResult r =
        Orvctl({"--virtual-cameras", "3", "action", "--device-key", "1", "--group-key", "1", "--group-mask", "1"});
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_TRUE(r.out.empty());
    EXPECT_EQ(r.err, "orvctl: 0 devices acknowledged\n");
}

TEST_F(OrvctlEvents, ActionUsageErrors) {
    RunResult r = Orvctl({"action", "--device-key", "1", "--group-key", "1"});
    EXPECT_EQ(r.status, 2);
    EXPECT_EQ(r.err, "orvctl action: --device-key, --group-key and --group-mask are required\n");
    r = Orvctl({"action", "--device-key", "0x100000000", "--group-key", "1", "--group-mask", "1"});
    EXPECT_EQ(r.status, 2);
    EXPECT_EQ(r.err,
              "orvctl action: --device-key takes a number from 0 to 4294967295 (0x... for hexadecimal), not "
              "'0x100000000'\n");
    r = Orvctl({"action", "--device-key", "1", "--group-key", "x", "--group-mask", "1"});
    EXPECT_EQ(r.status, 2);
    r = Orvctl({"action", "--device-key", "1", "--group-key", "1", "--group-mask", "1", "--bogus", "1"});
    EXPECT_EQ(r.status, 2);
    EXPECT_EQ(r.err, "orvctl action: unknown argument '--bogus' (see `orvctl help action`)\n");
    r = Orvctl({"action", "--device-key", "1", "--group-key", "1", "--group-mask", "1", "--interface", "Nowhere"});
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err, "orvctl action: no interface 'Nowhere' (see `orvctl list`)\n");
    r = Orvctl({"action", "--device-key", "1", "--group-key", "1", "--group-mask", "1", "--trigger", "VC0009"});
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.err.find("no camera has the serial number 'VC0009'"), std::string::npos) << r.err;
}

TEST_F(OrvctlEvents, WatchListsTheCamerasPresentAndEndsOnCtrlC) {
    OrvctlChild watch({"--virtual-cameras", "2", "watch", "--log", "info"}, (dir / "stderr.txt").string());
    ASSERT_TRUE(watch.Started());
    std::string line;
    ASSERT_TRUE(watch.ReadLine(line, std::chrono::seconds(10)));
    EXPECT_EQ(line, "present VC0001 Virtual:VC0001");
    ASSERT_TRUE(watch.ReadLine(line, std::chrono::seconds(10)));
    EXPECT_EQ(line, "present VC0002 Virtual:VC0002");
    // Nothing arrives or leaves meanwhile.
    EXPECT_FALSE(watch.ReadLine(line, std::chrono::milliseconds(700))) << line;
    EXPECT_EQ(watch.Stop(SIGINT), 0);
    EXPECT_EQ(ReadFile(dir / "stderr.txt"), "orvctl: watching cameras arrive and leave (Ctrl-C stops)\n");
}

TEST_F(OrvctlEvents, WatchUsageErrors) {
    RunResult r = Orvctl({"watch", "--log", "loud"});
    EXPECT_EQ(r.status, 2);
    EXPECT_EQ(r.err,
              "orvctl watch: unknown log level 'loud' (off, fatal, alert, crit, error, warn, notice, info, debug)\n");
    r = Orvctl({"watch", "extra"});
    EXPECT_EQ(r.status, 2);
    EXPECT_EQ(r.err, "orvctl watch: unknown argument 'extra' (usage: orvctl watch [--log LEVEL])\n");
}

} // namespace
