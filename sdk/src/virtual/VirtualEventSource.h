// VirtualEventSource: the device events of one virtual camera. Whoever
// receives the camera's events installs a sink (the camera's event channel,
// VirtualDeviceConnection::OpenEventChannel); the camera's parts raise events
// with Emit, which builds the event's data and passes it to the sink when the
// event's EventNotification is On.
//
// Event IDs are the vcam::event constants (the EventIDs of the description's
// event ports, one per EventSelector entry). Event data is kEventDataSize
// bytes, big-endian like the registers: the timestamp (the camera clock, ns:
// when the event is emitted, or the time the emitter gives) at offset 0, the
// frame ID at 8, then the event's own fields from 16 (the offsets
// vcam::kEventFeatures gives the EventXxx data features); unused bytes are
// zero. These are the bytes the EventXxx features read once the receiver
// attaches them to the node map (ArvNodeMap::AttachEventData).
//
// Notification state: Emit reads a snapshot of the EventNotification
// registers (one bit per event, lock-free), so that it may run where the node
// map's lock must not be taken. The snapshot is read again whenever those
// registers may have changed: OnWrite sees every write of the session (the
// runtime passes them on) and Refresh runs after commands that rewrite
// registers (user sets, resets) and at power-up.
//
// Ownership: one per VirtualCameraRuntime, living as long as the session. The
// sink belongs to whoever set it; it is kept until replaced or removed
// (SetSink(nullptr)), so its owner removes it before it goes away.
//
// Threads and locks:
//   - SetSink, IsNotificationOn, Emit, EmitAt and EmitAlways run on any
//     thread, with or without the node map's lock, including the fake
//     stream's thread (VirtualStreamEngine::Fill, which must never take that
//     lock): none of them takes it;
//   - OnWrite and Refresh read registers: the node map's lock is held;
//   - m_sinkMutex guards the sink and is held while it runs, so events reach
//     the sink one at a time and, once SetSink returns, a replaced sink is no
//     longer running. The sink runs on the emitting thread, maybe with the
//     node map's lock held: it must copy what it needs (the bytes live for
//     the call only), queue it and return; it must not block, take the node
//     map's lock, emit events itself nor set the sink.
#ifndef ORVANE_VIRTUAL_VIRTUAL_EVENT_SOURCE_H
#define ORVANE_VIRTUAL_VIRTUAL_EVENT_SOURCE_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>

namespace Orvane {
namespace internal {

class VirtualCameraClock;
class VirtualRegisters;

class VirtualEventSource {
public:
    // Receives an event: its ID and its data (`size` bytes, see above).
    using Sink = std::function<void(uint16_t eventId, const uint8_t* data, size_t size)>;

    VirtualEventSource(VirtualRegisters& registers, const VirtualCameraClock& clock)
        : m_registers(registers), m_clock(clock) {}

    // Installs the sink (null removes it).
    void SetSink(Sink sink);

    // Whether EventNotification is On for this event (false for an ID the
    // camera does not know).
    bool IsNotificationOn(uint16_t eventId) const;

    // Raises event `eventId` of frame `frameId` (0 for events about no
    // frame): when a sink is set and the event's notification is On, passes
    // it the event data: timestamp now, `frameId`, then `fieldsSize` bytes of
    // `fields` (big-endian, as the event's data features read them) at offset
    // 16, cut to the data size.
    void Emit(uint16_t eventId, uint64_t frameId, const uint8_t* fields = nullptr, size_t fieldsSize = 0);
    // The same with the event's timestamp given (camera clock, ns).
    void EmitAt(uint16_t eventId, uint64_t timestampNs, uint64_t frameId, const uint8_t* fields = nullptr,
                size_t fieldsSize = 0);
    // The same whatever the event's notification (TestEventGenerate: a Test
    // event always goes out).
    void EmitAlways(uint16_t eventId, uint64_t frameId, const uint8_t* fields = nullptr, size_t fieldsSize = 0);

    // Node map lock held: `length` bytes at `address` were written; reads
    // the notification registers again when the write touched them.
    void OnWrite(uint64_t address, uint64_t length);
    // Node map lock held: reads every notification register again.
    void Refresh();

private:
    void Deliver(uint16_t eventId, uint64_t timestampNs, uint64_t frameId, const uint8_t* fields, size_t fieldsSize);

    VirtualRegisters& m_registers;
    const VirtualCameraClock& m_clock;
    std::atomic<uint64_t> m_notify{0}; // bit i: EventNotification On for vcam::kEvents[i]
    std::atomic<bool> m_hasSink{false};
    std::mutex m_sinkMutex; // see the header comment
    Sink m_sink;
};

} // namespace internal
} // namespace Orvane

#endif
