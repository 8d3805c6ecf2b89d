#include "camera/DeviceEventDispatcher.h"

#include <algorithm>
#include <string>
#include <utility>

#include "Orvane/Exception.h"
#include "core/Raise.h"
#include "genapi/ArvNodeMap.h"
#include "logging/Log.h"
#include "logging/ThreadName.h"
#include "transport/DeviceConnection.h"
#include "transport/DeviceEventMap.h"

namespace Orvane {
namespace internal {

using GenApi::impl::NodeMapBase;

namespace {

// The owner of the dispatcher whose event thread this is, or null.
thread_local const void* t_owner = nullptr;

void LogFailure(const std::string& camera, const char* what, const char* detail) {
    ORV_LOG(kLogCategoryEvents, LOG_LEVEL_ERROR, "camera " + camera + ": " + what + ": " + detail);
}

} // namespace

DeviceEventDispatcher::DeviceEventDispatcher(std::shared_ptr<DeviceConnection> connection, const void* owner,
                                             std::string cameraName, Deliver deliver, size_t capacity)
    : m_connection(std::move(connection)), m_owner(owner), m_cameraName(std::move(cameraName)),
      m_deliver(std::move(deliver)), m_ring(std::max<size_t>(capacity, 1)) {}

DeviceEventDispatcher::~DeviceEventDispatcher() {
    try {
        Stop();
    } catch (...) {
        // Stopping never throws past the dispatcher's end.
    }
}

bool DeviceEventDispatcher::OnEventThread(const void* owner) { return owner && t_owner == owner; }

uint64_t DeviceEventDispatcher::Dropped() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_dropped;
}

void DeviceEventDispatcher::Start() {
    if (m_started) return;
    m_connection->EventMap(); // read the XML now, not when the first event waits for it
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_stop = false;
    }
    m_thread = std::thread([this] { Run(); });
    try {
        m_channel = m_connection->OpenEventChannel(*this);
    } catch (...) {
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_stop = true;
        }
        m_wake.notify_all();
        m_thread.join();
        throw;
    }
    m_started = true;
}

void DeviceEventDispatcher::Stop() {
    if (!m_started) return;
    m_started = false;
    // No more events come once the channel is closed.
    m_channel.reset();
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_stop = true;
    }
    m_wake.notify_all();
    if (m_thread.joinable()) m_thread.join();
}

void DeviceEventDispatcher::OnDeviceEvent(const DeviceEvent& event) {
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_stop) return;
        if (m_count == m_ring.size()) {
            ++m_dropped;
            return;
        }
        Queued& q = m_ring[(m_head + m_count) % m_ring.size()];
        q.eventId = event.eventId;
        if (event.data && event.size)
            q.data.assign(event.data, event.data + event.size);
        else
            q.data.clear();
        ++m_count;
    }
    m_wake.notify_one();
}

void DeviceEventDispatcher::Run() {
    SetThreadName("orv-events");
    t_owner = m_owner;
    std::vector<uint8_t> current;
    std::unique_lock<std::mutex> lock(m_mutex);
    for (;;) {
        m_wake.wait(lock, [this] { return m_stop || m_count > 0; });
        if (m_stop) break;
        Queued& q = m_ring[m_head];
        const uint64_t eventId = q.eventId;
        current.swap(q.data); // the slot keeps the other buffer's capacity
        m_head = (m_head + 1) % m_ring.size();
        --m_count;
        const uint64_t dropped = m_dropped;
        lock.unlock();
        if (dropped != m_droppedLogged) {
            ORV_LOG(kLogCategoryEvents, LOG_LEVEL_WARN,
                    "camera " + m_cameraName + ": " + std::to_string(dropped - m_droppedLogged) +
                        " device events dropped (" + std::to_string(dropped) +
                        " in all): the event handlers are slower than the events arrive");
            m_droppedLogged = dropped;
        }
        Handle(eventId, current);
        lock.lock();
    }
    lock.unlock();
    DetachAll();
    t_owner = nullptr;
}

void DeviceEventDispatcher::Handle(uint64_t eventId, const std::vector<uint8_t>& data) {
    const DeviceEventInfo* info = m_connection->EventMap().Find(eventId);
    const std::string noName;
    const std::string& name = info ? info->name : noName;
    const uint8_t* bytes = data.empty() ? nullptr : data.data();
    try {
        GenApi::impl::ArvNodeMap& map = m_connection->NodeMap();
        if (map.HasEventPort(eventId)) {
            // Under the map's lock: a reader on another thread sees the old
            // bytes or the new ones, never a buffer being replaced.
            NodeMapBase::MapLock mapLock(map);
            std::vector<uint8_t>& attached = m_attached[eventId];
            attached = data;
            map.AttachEventData(eventId, attached.empty() ? nullptr : attached.data(), attached.size());
        }
    } catch (const std::exception& e) {
        LogFailure(m_cameraName, "showing a device event's data in the node map failed", e.what());
    }
    try {
        m_deliver(eventId, name, bytes, data.size());
    } catch (const std::exception& e) {
        LogFailure(m_cameraName, "delivering a device event failed", e.what());
    } catch (...) {
        LogFailure(m_cameraName, "delivering a device event failed", "unknown exception");
    }
}

void DeviceEventDispatcher::DetachAll() {
    if (m_attached.empty()) return;
    try {
        GenApi::impl::ArvNodeMap& map = m_connection->NodeMap();
        NodeMapBase::MapLock mapLock(map);
        for (const auto& a : m_attached) map.DetachEventData(a.first);
        m_attached.clear();
    } catch (const std::exception& e) {
        LogFailure(m_cameraName, "detaching the device events' data failed", e.what());
    }
}

} // namespace internal
} // namespace Orvane
