// The delivery thread's records of a stream's troubles: frames lost (gaps in
// the frame IDs) and incomplete, and packet resends, at most one record of
// each a second, named after the delivery thread. The stream is a scripted
// source completing buffers from the test's thread, as a transport's
// receiving thread would.
#include <gtest/gtest.h>

#include <arv.h>

#include <chrono>
#include <deque>
#include <mutex>
#include <regex>
#include <string>

#include "LogCollector.h"
#include "acquisition/ImageLeasePool.h"
#include "acquisition/StreamRun.h"
#include "transport/DeviceConnection.h"
#include "transport/StreamSource.h"

using namespace Orvane;
using namespace Orvane::internal;
using logtest::Record;
using logtest::ScopedCollector;

namespace {

// A stream source whose frames the test completes one by one.
class ScriptedSource : public StreamSource {
public:
    void Start(const StreamSourceOptions&, Completion completed, void* context) override {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_completed = completed;
        m_context = context;
    }
    bool CompletesSilently() const override { return false; }
    void Push(ArvBuffer* buffer) override {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_queued.push_back(buffer);
    }
    ArvBuffer* Pop(uint64_t) override { return nullptr; }
    void Describe(ArvBuffer*, StreamSlot&) override {}
    bool LosesFrames() const override { return true; }
    bool ReadCounters(StreamCounters& counters) override {
        std::lock_guard<std::mutex> lock(m_mutex);
        counters = m_counters;
        return true;
    }
    void Stop() override {}
    void Destroy() override {
        std::lock_guard<std::mutex> lock(m_mutex);
        for (ArvBuffer* b : m_queued) g_object_unref(b);
        m_queued.clear();
    }

    // Completes the oldest queued buffer with a frame; false when none is queued.
    bool Complete(uint64_t frameId, ImageStatus status) {
        ArvBuffer* buffer = nullptr;
        Completion completed = nullptr;
        void* context = nullptr;
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            if (m_queued.empty()) return false;
            buffer = m_queued.front();
            m_queued.pop_front();
            completed = m_completed;
            context = m_context;
        }
        StreamSlot* slot = StreamSlot::Of(buffer);
        slot->record = FrameRecord{};
        slot->record.produced = true;
        slot->record.frameId = frameId;
        slot->record.status = status;
        slot->record.width = 16;
        slot->record.height = 4;
        slot->record.pixelFormat = 0x01080001; // Mono8
        slot->record.payloadType = 0x0001;
        slot->record.payloadSize = 64;
        slot->record.validPayloadSize = status == IMAGE_STATUS_OK ? 64 : 10;
        slot->HandOff();
        completed(context, buffer);
        return true;
    }
    void SetResends(uint64_t requests, uint64_t resent) {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_counters.resendRequests = requests;
        m_counters.resentPackets = resent;
    }

private:
    std::mutex m_mutex;
    Completion m_completed = nullptr;
    void* m_context = nullptr;
    std::deque<ArvBuffer*> m_queued;
    StreamCounters m_counters;
};

class StreamRecords : public ::testing::Test {
protected:
    void SetUp() override {
        GError* error = nullptr;
        ArvDevice* device = arv_fake_device_new("LOG0001", &error);
        ASSERT_NE(device, nullptr) << (error ? error->message : "");
        DeviceInfo info;
        info.deviceId = "LOG0001";
        connection = std::make_shared<DeviceConnection>(device, info);
        source = std::make_shared<ScriptedSource>();
        StreamRunConfig config;
        config.connection = connection;
        config.source = source;
        config.state = &state;
        config.bufferCount = 8;
        config.payloadSize = 64;
        config.pool = ImageLeasePool::Create();
        config.cameraName = "LOG0001";
        run = StreamRun::Create(std::move(config));
        run->Open();
    }
    void TearDown() override {
        if (run) run->Close();
        run.reset();
        source.reset();
        connection.reset();
    }

    StreamState state;
    std::shared_ptr<DeviceConnection> connection;
    std::shared_ptr<ScriptedSource> source;
    std::shared_ptr<StreamRun> run;
};

bool StartsWith(const std::string& s, const std::string& prefix) { return s.rfind(prefix, 0) == 0; }

TEST_F(StreamRecords, LostAndIncompleteFramesAreReportedOnceASecondFromTheDeliveryThread) {
    ScopedCollector scope(LOG_LEVEL_WARN);
    ASSERT_TRUE(source->Complete(1, IMAGE_STATUS_OK));
    ASSERT_TRUE(source->Complete(2, IMAGE_STATUS_OK));
    ASSERT_TRUE(source->Complete(5, IMAGE_STATUS_OK)); // 3 and 4 never arrived
    Record first;
    ASSERT_TRUE(scope.collector.WaitFor(
        [](const Record& r) { return StartsWith(r.message, "camera LOG0001: frames lost"); }, first));
    EXPECT_TRUE(std::regex_match(first.message, std::regex(R"(camera LOG0001: frames lost \+2 in the last \d+\.\d s )"
                                                           R"(\(totals: frames lost 2, frames incomplete 0\))")))
        << first.message;
    EXPECT_EQ(first.category, "Orvane.Acquisition");
    EXPECT_EQ(first.priority, LOG_LEVEL_WARN);
    EXPECT_EQ(first.threadName, "orv-deliver");

    // More trouble at once: held back until a second has passed since the first record.
    ASSERT_TRUE(source->Complete(6, IMAGE_STATUS_MISSING_PACKETS));
    ASSERT_TRUE(source->Complete(9, IMAGE_STATUS_OK)); // 7 and 8 never arrived
    Record second;
    ASSERT_TRUE(scope.collector.WaitFor(
        [](const Record& r) { return StartsWith(r.message, "camera LOG0001: frames lost +2, frames incomplete +1"); },
        second));
    EXPECT_TRUE(std::regex_match(second.message,
                                 std::regex(R"(camera LOG0001: frames lost \+2, frames incomplete \+1 in the last )"
                                            R"(\d+\.\d s \(totals: frames lost 4, frames incomplete 1\))")))
        << second.message;
    EXPECT_GE(second.arrived - first.arrived, std::chrono::milliseconds(900));
    EXPECT_EQ(second.threadName, "orv-deliver");
    size_t frameRecords = 0;
    for (const Record& r : scope.collector.Records())
        if (StartsWith(r.message, "camera LOG0001: frames")) ++frameRecords;
    EXPECT_EQ(frameRecords, 2u);
    EXPECT_EQ(state.statistics.lostFrames.load(), 4u);
    EXPECT_EQ(state.statistics.incompleteFrames.load(), 1u);
}

TEST_F(StreamRecords, PacketResendsAreReportedAtNotice) {
    ScopedCollector scope(LOG_LEVEL_NOTICE);
    source->SetResends(5, 4);
    Record record;
    ASSERT_TRUE(scope.collector.WaitFor(
        [](const Record& r) { return StartsWith(r.message, "camera LOG0001: packet resend"); }, record));
    EXPECT_TRUE(std::regex_match(
        record.message, std::regex(R"(camera LOG0001: packet resend requests \+5, packets resent \+4 in the )"
                                   R"(last \d+\.\d s \(totals: packet resend requests 5, packets resent 4\))")))
        << record.message;
    EXPECT_EQ(record.priority, LOG_LEVEL_NOTICE);
    EXPECT_EQ(record.threadName, "orv-deliver");
    // Below NOTICE nothing of it is written.
    LoggerWrapper::SetPriority(LOG_LEVEL_WARN);
    scope.collector.Clear();
    source->SetResends(9, 8);
    EXPECT_FALSE(
        scope.collector.WaitFor([](const Record& r) { return StartsWith(r.message, "camera LOG0001: packet resend"); },
                                record, std::chrono::milliseconds(1500)));
}

} // namespace
