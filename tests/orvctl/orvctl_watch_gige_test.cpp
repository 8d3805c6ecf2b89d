// orvctl watch with GigE Vision in a private network namespace: a fake camera
// that starts is printed as an arrival, one that dies as a removal, each
// within 10 s, with the SDK's log lines of the device monitor between.
#include <signal.h>

#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "../tools/FakeGigECamera.h"
#include "OrvctlChild.h"
#include "OrvctlRun.h"

namespace {

using namespace orvctltest;

class OrvctlWatchGigE : public OrvctlProcess {};

// The next line that is no log line, waiting at most `timeout`; the log
// lines passed over go to `logs`.
bool NextEvent(OrvctlChild& child, std::string& line, std::chrono::milliseconds timeout,
               std::vector<std::string>& logs) {
    const auto end = std::chrono::steady_clock::now() + timeout;
    for (;;) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
        if (left.count() <= 0 || !child.ReadLine(line, left)) return false;
        if (line.rfind("log ", 0) != 0) return true;
        logs.push_back(line);
    }
}

TEST_F(OrvctlWatchGigE, AFakeCameraArrivesAndLeaves) {
    OrvctlChild watch({"--transport", "gige", "watch", "--log", "info"}, (dir / "stderr.txt").string());
    ASSERT_TRUE(watch.Started());
    // Watching starts after the first discovery (about a second): wait for it.
    for (int i = 0; i < 100 && ReadFile(dir / "stderr.txt").empty(); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    ASSERT_EQ(ReadFile(dir / "stderr.txt"), "orvctl: watching cameras arrive and leave (Ctrl-C stops)\n");

    std::unique_ptr<FakeGigECamera> fake(new FakeGigECamera("127.0.0.1", "GVW0001"));
    std::string line;
    std::vector<std::string> logs;
    ASSERT_TRUE(NextEvent(watch, line, std::chrono::seconds(10), logs)) << "no arrival";
    EXPECT_EQ(line, "arrival GVW0001 GigEVision:127.0.0.1");
    fake->Stop(SIGKILL);
    ASSERT_TRUE(NextEvent(watch, line, std::chrono::seconds(10), logs)) << "no removal";
    EXPECT_EQ(line, "removal GVW0001 GigEVision:127.0.0.1");
    EXPECT_EQ(watch.Stop(SIGINT), 0);
    while (watch.ReadLine(line, std::chrono::milliseconds(100))) logs.push_back(line);
    // The device monitor's own log lines (--log info).
    EXPECT_EQ(logs, (std::vector<std::string>{"log INFO Orvane.System: camera GigEVision:127.0.0.1 arrived",
                                              "log INFO Orvane.System: camera GigEVision:127.0.0.1 was removed"}));
}

} // namespace
