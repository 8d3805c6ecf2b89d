// A log handler for tests: keeps every record it receives, with the time it
// arrived, and lets a test wait for a record.
#ifndef ORVANE_TESTS_LOGGING_LOG_COLLECTOR_H
#define ORVANE_TESTS_LOGGING_LOG_COLLECTOR_H

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "Orvane/Logging.h"
#include "logging/Logger.h"

namespace logtest {

struct Record {
    std::string category;
    int priority = 0;
    std::string priorityName;
    std::string timestamp;
    std::string ndc;
    std::string threadName;
    std::string message;
    std::chrono::steady_clock::time_point arrived;
};

class LogCollector : public Orvane::LoggingEventHandler {
public:
    void OnLogEvent(Orvane::LoggingEventDataPtr data) override {
        Record r;
        r.category = data->GetCategoryName();
        r.priority = data->GetPriority();
        r.priorityName = data->GetPriorityName();
        r.timestamp = data->GetTimestamp();
        r.ndc = data->GetNDC();
        r.threadName = data->GetThreadName();
        r.message = data->GetLogMessage();
        r.arrived = std::chrono::steady_clock::now();
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_records.push_back(r);
        }
        m_arrived.notify_all();
    }

    std::vector<Record> Records() const {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_records;
    }
    // The records of one category.
    std::vector<Record> Of(const std::string& category) const {
        std::vector<Record> out;
        for (const Record& r : Records())
            if (r.category == category) out.push_back(r);
        return out;
    }
    void Clear() {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_records.clear();
    }
    // Waits up to `timeout` for a record satisfying `match`; false if none came.
    bool WaitFor(const std::function<bool(const Record&)>& match, Record& found,
                 std::chrono::milliseconds timeout = std::chrono::seconds(10)) {
        std::unique_lock<std::mutex> lock(m_mutex);
        const auto deadline = std::chrono::steady_clock::now() + timeout;
        size_t checked = 0;
        for (;;) {
            for (; checked < m_records.size(); ++checked)
                if (match(m_records[checked])) {
                    found = m_records[checked];
                    return true;
                }
            if (m_arrived.wait_until(lock, deadline) == std::cv_status::timeout && checked == m_records.size())
                return false;
        }
    }

private:
    mutable std::mutex m_mutex;
    std::condition_variable m_arrived;
    std::vector<Record> m_records;
};

// Registers a collector and sets the level for a test's duration; restores
// both afterwards.
class ScopedCollector {
public:
    explicit ScopedCollector(Orvane::LogLevel level) : m_saved(Orvane::LoggerWrapper::GetPriority()) {
        Orvane::LoggerWrapper::SetPriority(level);
        Orvane::Logger::Register(collector);
    }
    ~ScopedCollector() {
        Orvane::Logger::Unregister(collector);
        Orvane::LoggerWrapper::SetPriority(m_saved);
    }
    LogCollector collector;

private:
    Orvane::LogLevel m_saved;
};

} // namespace logtest

#endif
