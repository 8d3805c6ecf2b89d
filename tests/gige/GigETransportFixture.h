// The GigE Vision transport of the SDK against device simulators: finds a
// simulator by serial number through the transport's discovery and opens
// it. Use only inside a private network namespace.
#ifndef ORVANE_TESTS_GIGE_GIGE_TRANSPORT_FIXTURE_H
#define ORVANE_TESTS_GIGE_GIGE_TRANSPORT_FIXTURE_H

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

#include "transport/DeviceConnection.h"
#include "transport/DeviceEvents.h"
#include "transport/Transport.h"
#include "transport/Transports.h"

namespace orvtest {

// Discovers the device with this serial number (a few attempts: discovery
// answers may be missed) and opens it.
inline std::shared_ptr<Orvane::internal::DeviceConnection> OpenBySerial(Orvane::internal::Transport& transport,
                                                                        const std::string& serial) {
    for (int attempt = 0; attempt < 5; ++attempt)
        for (const Orvane::internal::DeviceInfo& info : transport.Discover())
            if (info.serialNumber == serial) return transport.Open(info);
    throw std::runtime_error("device " + serial + " was not discovered");
}

// A device event as a sink saw it, with its data copied.
struct SeenEvent {
    uint64_t eventId = 0;
    uint64_t timestamp = 0;
    bool hasStreamChannel = false;
    uint16_t streamChannel = 0;
    bool hasBlockId = false;
    uint64_t blockId = 0;
    std::vector<uint8_t> data;
    bool nullDataWhenEmpty = true; // data pointer was null when size was 0
};

// A DeviceEventSink that keeps every event (on the channel's thread) and
// lets the test thread wait for a count.
class EventSink : public Orvane::internal::DeviceEventSink {
public:
    void OnDeviceEvent(const Orvane::internal::DeviceEvent& event) override {
        SeenEvent e;
        e.eventId = event.eventId;
        e.timestamp = event.timestamp;
        e.hasStreamChannel = event.hasStreamChannel;
        e.streamChannel = event.streamChannel;
        e.hasBlockId = event.hasBlockId;
        e.blockId = event.blockId;
        if (event.size) e.data.assign(event.data, event.data + event.size);
        e.nullDataWhenEmpty = event.size != 0 || event.data == nullptr;
        std::lock_guard<std::mutex> lock(m_mutex);
        m_events.push_back(std::move(e));
        m_changed.notify_all();
        if (m_throw) throw std::runtime_error("sink failure for the test");
    }

    bool WaitFor(size_t count, std::chrono::milliseconds timeout = std::chrono::milliseconds(15000)) {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_changed.wait_for(lock, timeout, [&] { return m_events.size() >= count; });
    }
    std::vector<SeenEvent> Events() {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_events;
    }
    // From now on every call throws after recording its event.
    void ThrowFromNowOn() {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_throw = true;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<SeenEvent> m_events;
    bool m_throw = false;
};

inline uint64_t BigEndian64(const std::vector<uint8_t>& d, size_t offset) {
    uint64_t v = 0;
    for (size_t i = 0; i < 8; ++i) v = (v << 8) | d.at(offset + i);
    return v;
}

} // namespace orvtest

#endif
