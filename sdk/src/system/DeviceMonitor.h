// DeviceMonitor: arrival and removal events (DeviceArrivalEventHandler,
// DeviceRemovalEventHandler, InterfaceEventHandler) for one system.
//
// What it reports. Every change of an interface's camera list goes through
// Post: the monitor's own rediscoveries, the application's UpdateCameras and
// GetCameras, a virtual camera plugged or unplugged (VirtualCameraCount), and
// a camera whose connection reports its device lost (the interface drops it:
// InterfaceCore::Forget). So each change is reported once, whoever found it:
// an arrival with the CameraPtr the camera lists hand out, a removal once per
// camera object (IsValid false by then). A device that comes back is a new
// camera object and a new arrival.
//
// Registrations: on the system (scope null: every interface) or on one
// interface. A registration receives the changes posted after it was made
// (not those queued before), so that cameras known at registration time are
// not reported.
//
// Threads, started with the first registration and stopped with the last one
// (or by Close):
//   - the dispatcher ("orv-devmon") calls the handlers, one event at a time,
//     in the order the changes were posted, with no SDK lock held; it also
//     turns loss reports into InterfaceCore::Forget;
//   - the poller ("orv-discover") rediscovers the interfaces concerned (every
//     enabled interface when a system registration exists, plus the
//     interfaces registered on), each after its transport's
//     RediscoveryIntervalMs; and puts a loss listener on the connection of
//     every open camera of those interfaces, which posts a loss report (on
//     the transport's detecting thread; it only queues).
// Both hold the monitor (shared_ptr) while they run.
//
// Locks: m_mutex guards registrations, the queue and the thread state; it is
// a leaf (Post is called with an interface's lock held, and nothing is
// called with m_mutex held). Unregister waits, without m_mutex, until the
// handler is not running on another thread; a handler may unregister itself
// or others, and register handlers, from its callback. The poller is joined
// when stopping (at most one discovery, about a second with GigE Vision);
// the dispatcher too, unless the stop runs on it (then it ends by itself
// after the callback).
#ifndef ORVANE_SYSTEM_DEVICE_MONITOR_H
#define ORVANE_SYSTEM_DEVICE_MONITOR_H

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "Orvane/Camera.h"
#include "Orvane/DeviceArrivalEventHandler.h"
#include "core/Raise.h"

namespace Orvane {
namespace internal {

class DeviceConnection;
class DiscoveredCamera;
class InterfaceCore;
struct CameraChanges;

class DeviceMonitor : public std::enable_shared_from_this<DeviceMonitor> {
public:
    // The interfaces of the system's enabled transports (for system-wide
    // registrations), asked on the poller thread; valid until Close.
    using SystemInterfaces = std::function<std::vector<std::shared_ptr<InterfaceCore>>()>;
    explicit DeviceMonitor(SystemInterfaces systemInterfaces);
    ~DeviceMonitor();
    DeviceMonitor(const DeviceMonitor&) = delete;
    DeviceMonitor& operator=(const DeviceMonitor&) = delete;

    // Registers an arrival or removal handler (or both: InterfaceEventHandler)
    // on the system (scope null) or on one interface. Raises
    // ORVANE_ERR_INVALID_ARGUMENT for a handler of another kind,
    // ORVANE_ERR_RESOURCE_IN_USE when it is registered on that scope already,
    // ORVANE_ERR_NOT_AVAILABLE once the system is released. `function` names
    // the caller in errors.
    void Register(EventHandler& handler, const std::shared_ptr<InterfaceCore>& scope, const SourcePosition& at);
    // Removes the registration; waits until the handler is not running on
    // another thread. Raises ORVANE_ERR_NOT_AVAILABLE when it is not
    // registered on that scope.
    void Unregister(EventHandler& handler, const InterfaceCore* scope, const SourcePosition& at);
    // Whether any handler is registered.
    bool Active() const;

    // Changes of `where`'s camera list (called with its lock held: queues only).
    void Post(const InterfaceCore& where, const CameraChanges& changes);

    // The system is released: registrations dropped, threads stopped; later
    // registrations raise. Call with no SDK lock held.
    void Close();

private:
    struct Registration {
        EventHandler* handler = nullptr;
        DeviceArrivalEventHandler* arrival = nullptr;
        DeviceRemovalEventHandler* removal = nullptr;
        const InterfaceCore* scope = nullptr; // null: the system
        std::weak_ptr<InterfaceCore> scopeCore;
        uint64_t since = 0; // the first event it receives
        bool active = true;
        int inFlight = 0;
        std::vector<std::thread::id> threads; // threads inside its callback now
    };
    struct Event {
        enum class Kind { Arrival, Removal, Lost } kind;
        uint64_t sequence;
        const InterfaceCore* where;
        CameraPtr camera;                           // Arrival, Removal
        std::weak_ptr<InterfaceCore> lostInterface; // Lost
        std::weak_ptr<DiscoveredCamera> lostCamera; // Lost
    };
    // A loss listener on an open camera's connection (one poller run's own).
    struct Watch {
        std::weak_ptr<DiscoveredCamera> camera;
        std::weak_ptr<DeviceConnection> connection;
        uint64_t listener = 0;
        bool seen = false; // found by the current scan
    };
    using Watches = std::map<const DiscoveredCamera*, Watch>;

    // m_mutex held: starts the threads if they are not running.
    void StartLocked();
    // Stops the threads (m_mutex not held).
    void Stop();
    void Dispatch(uint64_t generation);
    void Poll(uint64_t generation);
    // Poller: loss listeners on the open cameras of `interfaces`; the
    // watches of cameras no longer open there are removed.
    void WatchLosses(const std::vector<std::shared_ptr<InterfaceCore>>& interfaces, Watches& watches);
    static void Unwatch(Watch& watch);
    void PostLost(const std::weak_ptr<InterfaceCore>& where, const std::weak_ptr<DiscoveredCamera>& camera);
    // Runs one handler call, tracking it for Unregister.
    template <class Call>
    void CallHandler(const std::shared_ptr<Registration>& r, Call&& call);

    const SystemInterfaces m_systemInterfaces;
    mutable std::mutex m_mutex;
    std::condition_variable m_changed; // queue, stop, handler calls ended
    std::vector<std::shared_ptr<Registration>> m_registrations;
    std::deque<Event> m_queue;
    uint64_t m_nextSequence = 1;
    bool m_closed = false;
    // Threads: a generation per start; a thread ends when its generation is
    // no longer current.
    uint64_t m_generation = 0;
    bool m_running = false;
    std::thread m_dispatcher;
    std::thread m_poller;
};

} // namespace internal
} // namespace Orvane

#endif
