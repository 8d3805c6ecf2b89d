#include "system/DeviceMonitor.h"

#include <algorithm>

#include "camera/CameraAccess.h"
#include "camera/DiscoveredCamera.h"
#include "core/Raise.h"
#include "logging/Log.h"
#include "logging/ThreadName.h"
#include "system/InterfaceCore.h"
#include "transport/DeviceConnection.h"

namespace Orvane {
namespace internal {

namespace {

using Clock = std::chrono::steady_clock;

// How often the poller looks again at the open cameras' connections when no
// interface is due sooner.
constexpr std::chrono::milliseconds kIdlePoll(200);

void LogHandlerFailure(const char* what, const std::string& detail) {
    ORV_LOG(kLogCategorySystem, LOG_LEVEL_ERROR, std::string(what) + " handler failed: " + detail);
}

} // namespace

DeviceMonitor::DeviceMonitor(SystemInterfaces systemInterfaces) : m_systemInterfaces(std::move(systemInterfaces)) {}

// The threads hold the monitor while they run, and Stop takes them out of
// m_dispatcher and m_poller: none is left here.
DeviceMonitor::~DeviceMonitor() = default;

void DeviceMonitor::Register(EventHandler& handler, const std::shared_ptr<InterfaceCore>& scope,
                             const SourcePosition& at) {
    auto r = std::make_shared<Registration>();
    r->handler = &handler;
    r->arrival = dynamic_cast<DeviceArrivalEventHandler*>(&handler);
    r->removal = dynamic_cast<DeviceRemovalEventHandler*>(&handler);
    r->scope = scope.get();
    r->scopeCore = scope;
    if (!r->arrival && !r->removal)
        Raise(at, ORVANE_ERR_INVALID_ARGUMENT,
              "the handler is no DeviceArrivalEventHandler, DeviceRemovalEventHandler or InterfaceEventHandler");
    const std::string where = scope ? "interface " + scope->Id() : std::string("the system");
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_closed)
        Raise(at, ORVANE_ERR_NOT_AVAILABLE,
              "the system was released: arrival and removal handlers cannot be registered on " + where);
    for (const auto& other : m_registrations)
        if (other->handler == &handler && other->scope == r->scope)
            Raise(at, ORVANE_ERR_RESOURCE_IN_USE, "the handler is registered on " + where + " already");
    r->since = m_nextSequence;
    m_registrations.push_back(std::move(r));
    StartLocked();
}

void DeviceMonitor::Unregister(EventHandler& handler, const InterfaceCore* scope, const SourcePosition& at) {
    std::shared_ptr<Registration> r;
    bool last = false;
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        auto it = std::find_if(m_registrations.begin(), m_registrations.end(),
                               [&](const auto& e) { return e->handler == &handler && e->scope == scope; });
        if (it == m_registrations.end())
            Raise(at, ORVANE_ERR_NOT_AVAILABLE,
                  std::string("the handler is not registered on ") +
                      (scope ? "interface " + scope->Id() : std::string("the system")));
        r = *it;
        m_registrations.erase(it);
        r->active = false;
        const std::thread::id self = std::this_thread::get_id();
        m_changed.wait(lock, [&] {
            return r->inFlight == static_cast<int>(std::count(r->threads.begin(), r->threads.end(), self));
        });
        last = m_registrations.empty() && m_running;
    }
    if (last) Stop();
}

bool DeviceMonitor::Active() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return !m_registrations.empty();
}

void DeviceMonitor::Post(const InterfaceCore& where, const CameraChanges& changes) {
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_closed || m_registrations.empty()) return; // nobody listens: nothing to report later either
        for (const CameraPtr& c : changes.removed)
            m_queue.push_back(Event{Event::Kind::Removal, m_nextSequence++, &where, c, {}, {}});
        for (const CameraPtr& c : changes.arrived)
            m_queue.push_back(Event{Event::Kind::Arrival, m_nextSequence++, &where, c, {}, {}});
    }
    m_changed.notify_all();
}

void DeviceMonitor::PostLost(const std::weak_ptr<InterfaceCore>& where, const std::weak_ptr<DiscoveredCamera>& camera) {
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_closed || !m_running) return;
        m_queue.push_back(Event{Event::Kind::Lost, m_nextSequence++, nullptr, nullptr, where, camera});
    }
    m_changed.notify_all();
}

void DeviceMonitor::Close() {
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_closed = true;
        for (auto& r : m_registrations) r->active = false;
        m_registrations.clear();
        m_queue.clear();
    }
    Stop();
}

// Threads -------------------------------------------------------------------------

void DeviceMonitor::StartLocked() {
    if (m_running) return;
    m_running = true;
    const uint64_t generation = ++m_generation;
    // Stop took the threads of the previous run (joined or detached them).
    std::shared_ptr<DeviceMonitor> self = shared_from_this();
    m_dispatcher = std::thread([self, generation] { self->Dispatch(generation); });
    m_poller = std::thread([self, generation] { self->Poll(generation); });
}

void DeviceMonitor::Stop() {
    std::thread dispatcher, poller;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (!m_running) return;
        m_running = false;
        ++m_generation;
        m_queue.clear();
        dispatcher.swap(m_dispatcher);
        poller.swap(m_poller);
    }
    m_changed.notify_all();
    if (poller.joinable()) poller.join();
    if (dispatcher.joinable()) {
        if (dispatcher.get_id() == std::this_thread::get_id())
            dispatcher.detach(); // stopped from a handler: the thread ends after the callback
        else
            dispatcher.join();
    }
}

template <class Call>
void DeviceMonitor::CallHandler(const std::shared_ptr<Registration>& r, Call&& call) {
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (!r->active) return;
        ++r->inFlight;
        r->threads.push_back(std::this_thread::get_id());
    }
    try {
        call();
    } catch (const std::exception& e) {
        LogHandlerFailure("arrival/removal", e.what());
    } catch (...) {
        LogHandlerFailure("arrival/removal", "unknown exception");
    }
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        auto& t = r->threads;
        t.erase(std::find(t.begin(), t.end(), std::this_thread::get_id()));
        --r->inFlight;
    }
    m_changed.notify_all();
}

void DeviceMonitor::Dispatch(uint64_t generation) {
    SetThreadName("orv-devmon");
    std::unique_lock<std::mutex> lock(m_mutex);
    for (;;) {
        m_changed.wait(lock, [&] { return m_generation != generation || !m_queue.empty(); });
        if (m_generation != generation) return;
        Event event = std::move(m_queue.front());
        m_queue.pop_front();
        if (event.kind == Event::Kind::Lost) {
            lock.unlock();
            // The interface drops the camera and posts its removal.
            const std::shared_ptr<InterfaceCore> where = event.lostInterface.lock();
            const std::shared_ptr<DiscoveredCamera> camera = event.lostCamera.lock();
            // (The camera logged its loss when it was detected.)
            if (where && camera) where->Forget(camera.get());
            lock.lock();
            continue;
        }
        const bool arrival = event.kind == Event::Kind::Arrival;
        std::vector<std::shared_ptr<Registration>> targets;
        for (const auto& r : m_registrations)
            if (r->active && r->since <= event.sequence && (!r->scope || r->scope == event.where) &&
                (arrival ? r->arrival != nullptr : r->removal != nullptr))
                targets.push_back(r);
        lock.unlock();
        ORV_LOG(kLogCategorySystem, LOG_LEVEL_INFO,
                "camera " + event.camera->GetUniqueID().str() + (arrival ? " arrived" : " was removed"));
        for (const auto& r : targets) {
            if (arrival)
                CallHandler(r, [&] { r->arrival->OnDeviceArrival(event.camera); });
            else
                CallHandler(r, [&] { r->removal->OnDeviceRemoval(event.camera); });
        }
        event.camera = nullptr; // dropped here, not under the lock
        lock.lock();
    }
}

void DeviceMonitor::Poll(uint64_t generation) {
    SetThreadName("orv-discover");
    std::map<const InterfaceCore*, Clock::time_point> due; // next discovery of each interface
    Watches watches;
    std::unique_lock<std::mutex> lock(m_mutex);
    while (m_generation == generation) {
        // The interfaces concerned now.
        bool system = false;
        std::vector<std::shared_ptr<InterfaceCore>> interfaces;
        for (const auto& r : m_registrations) {
            if (!r->scope) {
                system = true;
            } else if (auto core = r->scopeCore.lock()) {
                if (std::find(interfaces.begin(), interfaces.end(), core) == interfaces.end())
                    interfaces.push_back(std::move(core));
            }
        }
        lock.unlock();
        if (system) {
            for (auto& core : m_systemInterfaces())
                if (std::find(interfaces.begin(), interfaces.end(), core) == interfaces.end())
                    interfaces.push_back(std::move(core));
        }
        Clock::time_point next = Clock::now() + kIdlePoll;
        for (const auto& core : interfaces) {
            auto it = due.find(core.get());
            const Clock::time_point now = Clock::now();
            if (it == due.end() || it->second <= now) {
                try {
                    core->Update(); // changes reach Post
                } catch (const std::exception& e) {
                    ORV_LOG(kLogCategorySystem, LOG_LEVEL_ERROR,
                            "rediscovery of interface " + core->Id() + " failed: " + e.what());
                }
                const Clock::time_point at = Clock::now() + std::chrono::milliseconds(core->RediscoveryIntervalMs());
                due[core.get()] = at;
                next = std::min(next, at);
            } else {
                next = std::min(next, it->second);
            }
        }
        WatchLosses(interfaces, watches);
        interfaces.clear();
        lock.lock();
        m_changed.wait_until(lock, next, [&] { return m_generation != generation; });
    }
    lock.unlock();
    for (auto& entry : watches) Unwatch(entry.second);
}

// Loss listeners ---------------------------------------------------------------------

void DeviceMonitor::WatchLosses(const std::vector<std::shared_ptr<InterfaceCore>>& interfaces, Watches& watches) {
    for (auto& entry : watches) entry.second.seen = false;
    const std::weak_ptr<DeviceMonitor> monitor = weak_from_this();
    for (const auto& core : interfaces) {
        const std::weak_ptr<InterfaceCore> where = core;
        for (const std::shared_ptr<DiscoveredCamera>& camera : core->OpenCameras()) {
            const std::shared_ptr<DeviceConnection> connection = camera->Access().Connection();
            if (!connection) continue;
            Watch& watch = watches[camera.get()];
            if (watch.camera.lock() != camera || watch.connection.lock() != connection) {
                Unwatch(watch); // a camera re-opened (a new connection), or a new camera at a reused address
                watch.camera = camera;
                watch.connection = connection;
                const std::weak_ptr<DiscoveredCamera> lost = camera;
                watch.listener = connection->AddLossListener([monitor, where, lost] {
                    if (auto m = monitor.lock()) m->PostLost(where, lost);
                });
                // A loss before the listener came calls nobody: report it here.
                if (connection->ControlLost()) PostLost(where, lost);
            }
            watch.seen = true;
        }
    }
    for (auto it = watches.begin(); it != watches.end();) {
        if (it->second.seen) {
            ++it;
        } else {
            Unwatch(it->second);
            it = watches.erase(it);
        }
    }
}

void DeviceMonitor::Unwatch(Watch& watch) {
    if (auto connection = watch.connection.lock()) connection->RemoveLossListener(watch.listener);
    watch.connection.reset();
    watch.camera.reset();
    watch.listener = 0;
}

} // namespace internal
} // namespace Orvane
