// orvctl grab against fake GigE Vision cameras (arv-fake-gv-camera-0.8) in a
// private network namespace: a camera that loses packets (its lost and
// incomplete figures agree with the stream's counters) and a camera killed
// while it streams (orvctl reports the loss and ends promptly).
#include <signal.h>

#include <chrono>
#include <iostream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "../tools/FakeGigECamera.h"
#include "OrvctlRun.h"

namespace {

using namespace orvctltest;
using Clock = std::chrono::steady_clock;

class OrvctlGrabGigE : public OrvctlProcess {};

const char kSummary[] = "<n> frames, <n> incomplete, <n> lost, frame ids <n> to <n>";
const char kRate[] = "<f> fps, <f> MB/s (<n> bytes in <f> s)";
const char kCounters[] = "stream counters: <n> delivered, <n> incomplete, <n> lost, <n> dropped";

// The summary's three lines, wherever the per-frame lines put them.
struct Summary {
    std::vector<std::string> frames, rate, counters;
};

Summary Parse(const RunResult& run) {
    Summary s;
    for (const std::string& line : run.out) {
        std::vector<std::string> numbers;
        if (Matches(line, kSummary, &numbers)) s.frames = numbers;
        numbers.clear();
        if (Matches(line, kRate, &numbers)) s.rate = numbers;
        numbers.clear();
        if (Matches(line, kCounters, &numbers)) s.counters = numbers;
    }
    return s;
}

TEST_F(OrvctlGrabGigE, LostAndIncompleteFiguresAreTheStreamsCounters) {
    // 2 % of the packets lost: nearly every frame misses some (no resend),
    // a few miss their leader (no frame id), whole frames are rarely lost.
    FakeGigECamera fake("127.0.0.4", "LOSSY1", 20);
    const RunResult run = Orvctl({"--transport", "gige", "grab", "LOSSY1", "-n", "100"});
    ASSERT_EQ(run.status, 0) << run.err;
    // No complaints from Aravis about the incomplete buffers.
    EXPECT_EQ(run.err.find("CRITICAL"), std::string::npos) << run.err.substr(0, 2000);
    const Summary s = Parse(run);
    ASSERT_EQ(s.frames.size(), 5u);
    ASSERT_EQ(s.counters.size(), 4u);
    ASSERT_EQ(s.rate.size(), 4u);
    EXPECT_EQ(s.frames[0], "100");
    EXPECT_EQ(s.counters[0], "100");          // delivered
    EXPECT_EQ(s.frames[1], s.counters[1]);    // incomplete
    EXPECT_EQ(s.frames[2], s.counters[2]);    // lost: the stream's own figure
    EXPECT_GT(std::stoull(s.frames[1]), 50u); // the loss did happen
    // Frames without an id are counted as received, not lost: lost frames
    // are the ids between the first and the last that never came.
    const unsigned long long first = std::stoull(s.frames[3]), last = std::stoull(s.frames[4]);
    const unsigned long long span = last >= first ? last - first + 1 : (65535 - first) + last + 1;
    EXPECT_LE(std::stoull(s.frames[2]), span - 100 + 2) << "ids " << first << " to " << last;
    EXPECT_LT(std::stoull(s.frames[2]), 10u);
    // Bytes count what arrived: about 98 % of the fake's 512 x 512 Mono8
    // frames (an incomplete frame counts the bytes of its packets that came).
    const unsigned long long bytes = std::stoull(s.rate[2]), sent = 100ull * 512 * 512;
    EXPECT_GT(bytes, sent * 9 / 10) << "of " << sent;
    EXPECT_LE(bytes, sent);
    EXPECT_NE(s.rate[1], "0.00");
}

TEST_F(OrvctlGrabGigE, ACameraKilledMidStreamEndsTheGrabWithTheLoss) {
    std::unique_ptr<FakeGigECamera> fake(new FakeGigECamera("127.0.0.5", "KILL01"));
    RunResult run;
    Clock::time_point exited;
    std::thread grab([&] {
        run = Orvctl({"--transport", "gige", "grab", "KILL01", "-n", "100000", "--timeout", "1000"});
        exited = Clock::now();
    });
    // Discovery takes about a second; then frames stream at 25 per second.
    std::this_thread::sleep_for(std::chrono::seconds(4));
    fake->Stop(SIGKILL);
    const Clock::time_point killed = Clock::now();
    grab.join();
    const double seconds = std::chrono::duration<double>(exited - killed).count();
    std::cout << "orvctl ended " << seconds << " s after the kill\n" << run.err;
    EXPECT_EQ(run.status, 1);
    // The wait for the next frame times out (1 s), asks the camera, gets no
    // answer (2.5 s, twice when behind a request of Aravis's heartbeat) and
    // reports the loss; closing the lost camera waits for nothing.
    EXPECT_NE(run.err.find("was lost"), std::string::npos) << run.err;
    EXPECT_NE(run.err.find("(device lost, -1022)"), std::string::npos) << run.err;
    EXPECT_EQ(run.err.find("(timeout, -1012)"), std::string::npos) << run.err;
    EXPECT_LT(seconds, 1.0 + 2 * 2.5 + 1.5);
    const Summary s = Parse(run);
    ASSERT_EQ(s.frames.size(), 5u) << "no summary";
    EXPECT_NE(s.frames[0], "0"); // it did stream before the kill
}

} // namespace
