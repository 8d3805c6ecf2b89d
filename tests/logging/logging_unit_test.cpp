// The logger without devices: the level and the handler count filter records
// before their text is built, records carry their category, priority, thread
// name and timestamp, raised errors are logged under their area, and the
// rate limiter and counter reports let through what they promise.
#include <gtest/gtest.h>

#include <pthread.h>

#include <chrono>
#include <regex>
#include <string>
#include <thread>

#include "LogCollector.h"
#include "Orvane/Exception.h"
#include "core/Raise.h"
#include "logging/CounterReport.h"
#include "logging/Log.h"
#include "logging/LogRateLimiter.h"
#include "logging/ThreadName.h"

using namespace Orvane;
using namespace Orvane::internal;
using logtest::Record;
using logtest::ScopedCollector;

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

std::string OsThreadName() {
    char name[32] = {0};
    pthread_getname_np(pthread_self(), name, sizeof name);
    return name;
}

// Counts how often a record's text was built.
int g_built = 0;
std::string Built(const char* text) {
    ++g_built;
    return text;
}

TEST(Logger, FilteredRecordsAreNeitherBuiltNorDelivered) {
    ScopedCollector scope(LOG_LEVEL_ERROR);
    g_built = 0;
    EXPECT_FALSE(LogEnabled(LOG_LEVEL_WARN));
    ORV_LOG(kLogCategoryCamera, LOG_LEVEL_WARN, Built("a warning"));
    ORV_LOG(kLogCategoryCamera, LOG_LEVEL_INFO, Built("news"));
    ORV_LOG_RATE_LIMITED(kLogCategoryEvents, LOG_LEVEL_WARN, Built("key"), Built("dropped"));
    EXPECT_EQ(g_built, 0);
    EXPECT_TRUE(scope.collector.Records().empty());

    ORV_LOG(kLogCategoryCamera, LOG_LEVEL_ERROR, Built("an error"));
    EXPECT_EQ(g_built, 1);
    ASSERT_EQ(scope.collector.Records().size(), 1u);

    LoggerWrapper::SetPriority(LOG_LEVEL_INFO);
    ORV_LOG(kLogCategoryCamera, LOG_LEVEL_INFO, Built("news"));
    ORV_LOG(kLogCategoryCamera, LOG_LEVEL_DEBUG, Built("details"));
    EXPECT_EQ(g_built, 2);
    const std::vector<Record> records = scope.collector.Records();
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[0].message, "an error");
    EXPECT_EQ(records[0].priorityName, "ERROR");
    EXPECT_EQ(records[1].message, "news");
    EXPECT_EQ(records[1].priority, LOG_LEVEL_INFO);
    EXPECT_EQ(records[1].priorityName, "INFO");

    LoggerWrapper::SetPriority(LOG_LEVEL_OFF);
    ORV_LOG(kLogCategoryCamera, LOG_LEVEL_FATAL, Built("the end"));
    EXPECT_EQ(g_built, 2);
    EXPECT_EQ(scope.collector.Records().size(), 2u);
}

TEST(Logger, WithoutHandlersNothingIsBuilt) {
    const LogLevel saved = LoggerWrapper::GetPriority();
    LoggerWrapper::SetPriority(LOG_LEVEL_DEBUG);
    ASSERT_EQ(Logger::HandlerCount(), 0u);
    g_built = 0;
    EXPECT_FALSE(LoggerWrapper::IsEnabled(LOG_LEVEL_FATAL));
    ORV_LOG(kLogCategoryCamera, LOG_LEVEL_FATAL, Built("nobody listens"));
    EXPECT_EQ(g_built, 0);
    {
        ScopedCollector scope(LOG_LEVEL_DEBUG);
        EXPECT_TRUE(LoggerWrapper::IsEnabled(LOG_LEVEL_DEBUG));
    }
    EXPECT_FALSE(LoggerWrapper::IsEnabled(LOG_LEVEL_FATAL));
    LoggerWrapper::SetPriority(saved);
}

TEST(Logger, RecordsCarryCategoryThreadNameTimestampAndContext) {
    ScopedCollector scope(LOG_LEVEL_INFO);
    Log(kLogCategoryAcquisition, LOG_LEVEL_NOTICE, "first", "ctx");
    LoggerWrapper::LoggingInfo("public", "");
    LoggerWrapper::LogWithCategory(LOG_LEVEL_WARN, "App.Mine", "own category", "");
    const std::vector<Record> records = scope.collector.Records();
    ASSERT_EQ(records.size(), 3u);
    EXPECT_EQ(records[0].category, "Orvane.Acquisition");
    EXPECT_EQ(records[0].priority, LOG_LEVEL_NOTICE);
    EXPECT_EQ(records[0].priorityName, "NOTICE");
    EXPECT_EQ(records[0].ndc, "ctx");
    EXPECT_EQ(records[0].message, "first");
    EXPECT_EQ(records[0].threadName, OsThreadName());
    EXPECT_TRUE(std::regex_match(records[0].timestamp, std::regex(R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{6})")))
        << records[0].timestamp;
    EXPECT_EQ(records[1].category, "Orvane"); // the public entry points
    EXPECT_EQ(records[1].message, "public");
    EXPECT_EQ(records[2].category, "App.Mine");
    EXPECT_EQ(records[2].priorityName, "WARN");
}

TEST(Logger, NamedThreadsNameTheirRecords) {
    ScopedCollector scope(LOG_LEVEL_INFO);
    std::string osName;
    std::thread worker([&] {
        SetThreadName("orv-worker-with-a-long-name");
        osName = OsThreadName();
        Log(kLogCategoryCore, LOG_LEVEL_INFO, "from the worker");
    });
    worker.join();
    // The OS keeps 15 bytes; records carry the whole name.
    EXPECT_EQ(osName, "orv-worker-with");
    const std::vector<Record> records = scope.collector.Records();
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0].threadName, "orv-worker-with-a-long-name");
    EXPECT_EQ(records[0].message, "from the worker");
}

// Raise logs the exception's full text under the area of the raising file.
Record RaisedFrom(ScopedCollector& scope, const char* file) {
    scope.collector.Clear();
    try {
        Raise(SourcePosition{file, 42, "Function"}, ORVANE_ERR_INVALID_ARGUMENT, "what went wrong");
    } catch (const Exception& e) {
        const std::vector<Record> records = scope.collector.Records();
        EXPECT_EQ(records.size(), 1u);
        if (records.size() != 1) return Record();
        EXPECT_EQ(records[0].message, e.GetFullErrorMessage());
        EXPECT_EQ(records[0].priority, LOG_LEVEL_ERROR);
        return records[0];
    }
    ADD_FAILURE() << "nothing raised";
    return Record();
}

TEST(Logger, RaisedErrorsAreLoggedUnderTheRaisingArea) {
    ScopedCollector scope(LOG_LEVEL_ERROR);
    EXPECT_EQ(RaisedFrom(scope, "/home/u/orvane/sdk/src/camera/CameraAccess.cpp").category, "Orvane.Camera");
    EXPECT_EQ(RaisedFrom(scope, "../sdk/src/genapi/Node.cpp").category, "Orvane.GenApi");
    EXPECT_EQ(RaisedFrom(scope, "src/transport/gige/GvcpMessageChannel.cpp").category, "Orvane.Transport");
    EXPECT_EQ(RaisedFrom(scope, "/src/x/sdk/src/acquisition/StreamRun.cpp").category, "Orvane.Acquisition");
    EXPECT_EQ(RaisedFrom(scope, "/work/capi/src/OrvaneC.cpp").category, "Orvane");
    EXPECT_EQ(RaisedFrom(scope, "/work/sdk/src/unknown/X.cpp").category, "Orvane");
    EXPECT_EQ(RaisedFrom(scope, "Loose.cpp").category, "Orvane");
    // A real raise of the SDK, from its own source file.
    scope.collector.Clear();
    try {
        ORV_RAISE(ORVANE_ERR_INVALID_ARGUMENT, "raised by the test");
    } catch (const Exception&) {}
    ASSERT_EQ(scope.collector.Records().size(), 1u);
    EXPECT_EQ(scope.collector.Records()[0].category, "Orvane"); // this file is under tests/, in no area
}

TEST(LogRateLimiter, LetsOneRecordPerKeyAndIntervalThrough) {
    LogRateLimiter limiter;
    const Clock::time_point t0 = Clock::now();
    const Clock::duration second = std::chrono::seconds(1);
    uint64_t suppressed = 99;
    EXPECT_TRUE(limiter.Admit("a", second, t0, suppressed));
    EXPECT_EQ(suppressed, 0u);
    EXPECT_FALSE(limiter.Admit("a", second, t0 + milliseconds(500), suppressed));
    EXPECT_TRUE(limiter.Admit("b", second, t0 + milliseconds(500), suppressed)); // keys are independent
    EXPECT_EQ(suppressed, 0u);
    EXPECT_FALSE(limiter.Admit("a", second, t0 + milliseconds(999), suppressed));
    EXPECT_TRUE(limiter.Admit("a", second, t0 + milliseconds(1000), suppressed));
    EXPECT_EQ(suppressed, 2u);
    EXPECT_FALSE(limiter.Admit("a", second, t0 + milliseconds(1999), suppressed));
    EXPECT_TRUE(limiter.Admit("a", second, t0 + milliseconds(5000), suppressed));
    EXPECT_EQ(suppressed, 1u);
    EXPECT_TRUE(limiter.Admit("a", second, t0 + milliseconds(6000), suppressed));
    EXPECT_EQ(suppressed, 0u);
    EXPECT_EQ(limiter.Size(), 2u);
}

TEST(LogRateLimiter, ForgetsIdleKeysWhenFull) {
    LogRateLimiter limiter(2);
    const Clock::time_point t0 = Clock::now();
    const Clock::duration second = std::chrono::seconds(1);
    uint64_t suppressed = 0;
    EXPECT_TRUE(limiter.Admit("a", second, t0, suppressed));
    EXPECT_TRUE(limiter.Admit("b", second, t0 + milliseconds(800), suppressed));
    // Full; "a" is idle for an interval: it goes, "b" stays.
    EXPECT_TRUE(limiter.Admit("c", second, t0 + milliseconds(1200), suppressed));
    EXPECT_EQ(limiter.Size(), 2u);
    EXPECT_FALSE(limiter.Admit("b", second, t0 + milliseconds(1300), suppressed));
    // Full and nobody idle: everything is forgotten.
    EXPECT_TRUE(limiter.Admit("d", second, t0 + milliseconds(1400), suppressed));
    EXPECT_EQ(limiter.Size(), 1u);
    EXPECT_TRUE(limiter.Admit("b", second, t0 + milliseconds(1500), suppressed));
    EXPECT_EQ(suppressed, 0u);
}

TEST(LogRateLimiter, RecordsSayHowManyWereHeldBack) {
    ScopedCollector scope(LOG_LEVEL_WARN);
    LogRateLimiter limiter;
    const Clock::time_point t0 = Clock::now();
    const Clock::duration second = std::chrono::seconds(1);
    limiter.Log(kLogCategoryEvents, LOG_LEVEL_WARN, "k", "event dropped", second, t0);
    for (int i = 1; i <= 3; ++i)
        limiter.Log(kLogCategoryEvents, LOG_LEVEL_WARN, "k", "event dropped", second, t0 + milliseconds(100 * i));
    limiter.Log(kLogCategoryEvents, LOG_LEVEL_WARN, "k", "event dropped", second, t0 + milliseconds(1100));
    limiter.Log(kLogCategoryEvents, LOG_LEVEL_WARN, "k", "event dropped", second, t0 + milliseconds(1200));
    limiter.Log(kLogCategoryEvents, LOG_LEVEL_WARN, "k", "event dropped", second, t0 + milliseconds(2100));
    // Filtered records are not counted.
    limiter.Log(kLogCategoryEvents, LOG_LEVEL_INFO, "k", "event dropped", second, t0 + milliseconds(2200));
    limiter.Log(kLogCategoryEvents, LOG_LEVEL_WARN, "k", "event dropped", second, t0 + milliseconds(3100));
    const std::vector<Record> records = scope.collector.Records();
    ASSERT_EQ(records.size(), 4u);
    EXPECT_EQ(records[0].message, "event dropped");
    EXPECT_EQ(records[1].message, "event dropped (3 similar records suppressed)");
    EXPECT_EQ(records[2].message, "event dropped (1 similar record suppressed)");
    EXPECT_EQ(records[3].message, "event dropped");
    for (const Record& r : records) {
        EXPECT_EQ(r.category, "Orvane.Events");
        EXPECT_EQ(r.priority, LOG_LEVEL_WARN);
    }
}

TEST(LogRateLimiter, TheProcessWideLimiterHoldsBackRepeats) {
    ScopedCollector scope(LOG_LEVEL_WARN);
    for (int i = 0; i < 50; ++i)
        LogRateLimited(kLogCategoryEvents, LOG_LEVEL_WARN, "unit-test-key-1", "repeated", std::chrono::hours(1));
    ORV_LOG_RATE_LIMITED(kLogCategoryEvents, LOG_LEVEL_WARN, "unit-test-key-2", "another source");
    ORV_LOG_RATE_LIMITED(kLogCategoryEvents, LOG_LEVEL_WARN, "unit-test-key-2", "another source");
    const std::vector<Record> records = scope.collector.Records();
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[0].message, "repeated");
    EXPECT_EQ(records[1].message, "another source");
}

TEST(CounterReport, ReportsGrowthAtMostOncePerInterval) {
    ScopedCollector scope(LOG_LEVEL_WARN);
    CounterReport report(kLogCategoryAcquisition, LOG_LEVEL_WARN, "camera C1", {"frames lost", "frames incomplete"});
    const Clock::time_point t0 = Clock::now();
    EXPECT_FALSE(report.Update({0, 0}, t0));
    EXPECT_FALSE(report.Update({0, 0}, t0 + milliseconds(20)));
    EXPECT_TRUE(report.Update({2, 0}, t0 + milliseconds(300)));
    EXPECT_FALSE(report.Update({3, 0}, t0 + milliseconds(320)));
    EXPECT_FALSE(report.Update({3, 1}, t0 + milliseconds(900)));
    EXPECT_FALSE(report.Update({3, 1}, t0 + milliseconds(1299)));
    EXPECT_TRUE(report.Update({3, 1}, t0 + milliseconds(1300))); // held growth goes out once the interval is over
    EXPECT_FALSE(report.Update({3, 1}, t0 + milliseconds(2500)));
    EXPECT_TRUE(report.Update({3, 4}, t0 + milliseconds(5300)));
    const std::vector<Record> records = scope.collector.Records();
    ASSERT_EQ(records.size(), 3u);
    EXPECT_EQ(records[0].message,
              "camera C1: frames lost +2 in the last 0.3 s (totals: frames lost 2, frames incomplete 0)");
    EXPECT_EQ(records[1].message,
              "camera C1: frames lost +1, frames incomplete +1 in the last 1.0 s (totals: frames lost 3, "
              "frames incomplete 1)");
    EXPECT_EQ(records[2].message,
              "camera C1: frames incomplete +3 in the last 4.0 s (totals: frames lost 3, frames incomplete 4)");
    for (const Record& r : records) {
        EXPECT_EQ(r.category, "Orvane.Acquisition");
        EXPECT_EQ(r.priorityName, "WARN");
    }
}

TEST(CounterReport, CountsFromZeroAfterAResetAndSkipsWhatWasFiltered) {
    ScopedCollector scope(LOG_LEVEL_ERROR);
    CounterReport report(kLogCategoryAcquisition, LOG_LEVEL_NOTICE, "camera C2", {"packets resent"});
    const Clock::time_point t0 = Clock::now();
    g_built = 0;
    EXPECT_FALSE(report.Update({5}, t0)); // filtered: taken as seen
    LoggerWrapper::SetPriority(LOG_LEVEL_NOTICE);
    EXPECT_FALSE(report.Update({5}, t0 + milliseconds(100)));
    EXPECT_TRUE(report.Update({7}, t0 + milliseconds(600)));
    EXPECT_FALSE(report.Update({1}, t0 + milliseconds(700))); // reset to zero, then one: held back
    EXPECT_TRUE(report.Update({1}, t0 + milliseconds(1600)));
    const std::vector<Record> records = scope.collector.Records();
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[0].message, "camera C2: packets resent +2 in the last 0.6 s (totals: packets resent 7)");
    EXPECT_EQ(records[1].message, "camera C2: packets resent +1 in the last 1.0 s (totals: packets resent 1)");
    EXPECT_EQ(records[0].priority, LOG_LEVEL_NOTICE);
}

} // namespace
