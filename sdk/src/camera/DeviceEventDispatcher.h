// DeviceEventDispatcher: the event thread of one initialised camera, and the
// sink of its device's event channel.
//
// Start opens the channel of the camera's DeviceConnection
// (DeviceConnection::OpenEventChannel) with this object as its sink and
// starts the event thread ("orv-events"). The channel's OnDeviceEvent (on
// the thread where the event arrives, DeviceEvents.h) only copies the event
// into a bounded queue and wakes the event thread. The event thread, for each
// event in arrival order:
//   1. names it: event ID -> name through the device's XML
//      (DeviceConnection::EventMap; an ID the XML does not describe has an
//      empty name);
//   2. shows its data in the node map: the bytes are copied into a buffer of
//      that event ID and attached to the event's port
//      (ArvNodeMap::AttachEventData), so the Event* data nodes
//      (EventExposureEndFrameID ...) read this event's values from then on,
//      until the next event of the same ID or Stop;
//   3. hands it to the camera's handlers (the Deliver function: every-event
//      handlers, then those registered for its name), with no lock held.
// Events arriving while the queue is full (the handlers are slower than the
// device) are dropped and counted; the event thread logs each new count as
// "events dropped".
//
// Owner and lifetime: the camera's CameraEvents makes one while the camera
// is initialised and has device event handlers, and stops it (Stop or the
// destructor) when either ends: before the camera's DeInit lets the
// connection go. The dispatcher holds the connection meanwhile.
//
// Threads: Start and Stop on any thread but the event thread (Stop closes
// the channel, then ends and joins the event thread: when it returns, no
// handler runs for this dispatcher any more); the queue's mutex is held for
// queue operations only. OnEventThread tells whether the calling thread is
// the event thread of a dispatcher of `owner`.
#ifndef ORVANE_CAMERA_DEVICE_EVENT_DISPATCHER_H
#define ORVANE_CAMERA_DEVICE_EVENT_DISPATCHER_H

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

#include "transport/DeviceEvents.h"

namespace Orvane {
namespace internal {

class DeviceConnection;

class DeviceEventDispatcher : public DeviceEventSink {
public:
    // Runs on the event thread for each event: its ID, its name (empty when
    // the XML does not describe it) and its data (valid during the call).
    using Deliver = std::function<void(uint64_t eventId, const std::string& name, const uint8_t* data, size_t size)>;

    static constexpr size_t kDefaultCapacity = 256; // events queued at most

    // `owner` identifies the camera (OnEventThread); `cameraName` is for messages.
    DeviceEventDispatcher(std::shared_ptr<DeviceConnection> connection, const void* owner, std::string cameraName,
                          Deliver deliver, size_t capacity = kDefaultCapacity);
    ~DeviceEventDispatcher() override;
    DeviceEventDispatcher(const DeviceEventDispatcher&) = delete;
    DeviceEventDispatcher& operator=(const DeviceEventDispatcher&) = delete;

    // Starts the event thread and opens the channel. Raises what opening the
    // channel raises (ORVANE_ERR_NOT_IMPLEMENTED for a transport without
    // device events), with nothing left running.
    void Start();
    // Closes the channel, ends the event thread and detaches the event data
    // from the node map. Idempotent.
    void Stop();

    const std::shared_ptr<DeviceConnection>& Connection() const { return m_connection; }
    // Events dropped so far because the queue was full.
    uint64_t Dropped() const;
    // Whether the calling thread is the event thread of a dispatcher made with `owner`.
    static bool OnEventThread(const void* owner);

    // DeviceEventSink: the channel's thread.
    void OnDeviceEvent(const DeviceEvent& event) override;

private:
    struct Queued {
        uint64_t eventId = 0;
        std::vector<uint8_t> data; // keeps its capacity from one use to the next
    };

    void Run();
    // Event thread: steps 2 and 3 of the header comment.
    void Handle(uint64_t eventId, const std::vector<uint8_t>& data);
    // Event thread: detaches every event ID attached so far.
    void DetachAll();

    const std::shared_ptr<DeviceConnection> m_connection;
    const void* const m_owner;
    const std::string m_cameraName;
    const Deliver m_deliver;

    mutable std::mutex m_mutex; // guards the queue, m_stop and the drop counts
    std::condition_variable m_wake;
    std::vector<Queued> m_ring; // fixed size: the capacity
    size_t m_head = 0, m_count = 0;
    bool m_stop = false;
    uint64_t m_dropped = 0;
    uint64_t m_droppedLogged = 0; // event thread: the count last logged

    std::thread m_thread;
    std::unique_ptr<DeviceEventChannel> m_channel;
    bool m_started = false; // Start and Stop only

    // Event thread only: the data attached to the node map, by event ID.
    std::unordered_map<uint64_t, std::vector<uint8_t>> m_attached;
};

} // namespace internal
} // namespace Orvane

#endif
