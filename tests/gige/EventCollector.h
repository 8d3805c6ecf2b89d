// A message channel sink for tests: keeps every event it is given (on the
// channel's receiver thread) and lets the test thread wait for a count.
#ifndef ORVANE_TESTS_GIGE_EVENT_COLLECTOR_H
#define ORVANE_TESTS_GIGE_EVENT_COLLECTOR_H

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "transport/gige/GvcpMessageChannel.h"

class EventCollector {
public:
    using Message = Orvane::internal::GvEventMessage;

    // A sink that feeds this collector; `also` runs first on each event.
    std::function<void(const Message&)> Sink(std::function<void(const Message&)> also = nullptr) {
        return [this, also](const Message& m) {
            if (also) also(m);
            std::lock_guard<std::mutex> lock(m_mutex);
            m_events.push_back(m);
            m_changed.notify_all();
        };
    }

    // Waits until at least `count` events arrived; false on timeout.
    bool WaitFor(size_t count, std::chrono::milliseconds timeout = std::chrono::milliseconds(10000)) {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_changed.wait_for(lock, timeout, [&] { return m_events.size() >= count; });
    }

    std::vector<Message> Events() {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_events;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<Message> m_events;
};

#endif
