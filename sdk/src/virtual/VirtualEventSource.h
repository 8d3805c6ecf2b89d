// VirtualEventSource: the device events of one virtual camera. Whoever
// receives the camera's events installs a sink; the camera's parts raise
// events with Emit, which builds the event's data and passes it to the sink
// when the event's EventNotification is On.
//
// Event IDs are the vcam::event constants (the EventIDs of the description's
// event ports, one per EventSelector entry). Event data is kEventDataSize
// bytes, big-endian like the registers: the timestamp (the camera clock, ns,
// when the event is emitted) at offset 0, the frame ID at 8, then the
// event's own fields from 16 (the offsets vcam::kEventFeatures gives the
// EventXxx data features); unused bytes are zero. These are the bytes the
// EventXxx features read once the receiver attaches them to the node map
// (ArvNodeMap::AttachEventData).
//
// Ownership: one per VirtualCameraRuntime (VirtualCameraRuntime::Events()),
// living as long as the session. The sink belongs to whoever set it; it is
// kept until replaced or removed (SetSink(nullptr)), so its owner removes it
// before it goes away.
//
// Threads and locks: every member takes the session's node map lock
// (recursive), so they may be called from any thread that may take that lock,
// or with it held. Not from the fake stream's thread (VirtualStreamEngine::Fill
// must never take it). The sink runs on the emitting thread with that lock
// held: it must copy what it needs (the bytes live for the call only), queue
// it and return; it must not block, nor wait for a thread that takes the
// lock, nor emit events itself.
#ifndef ORVANE_VIRTUAL_VIRTUAL_EVENT_SOURCE_H
#define ORVANE_VIRTUAL_VIRTUAL_EVENT_SOURCE_H

#include <cstddef>
#include <cstdint>
#include <functional>

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
    bool IsNotificationOn(uint16_t eventId);

    // Raises event `eventId` of frame `frameId` (0 for events about no
    // frame): when a sink is set and the event's notification is On, passes
    // it the event data: timestamp now, `frameId`, then `fieldsSize` bytes of
    // `fields` (big-endian, as the event's data features read them) at offset
    // 16, cut to the data size.
    void Emit(uint16_t eventId, uint64_t frameId, const uint8_t* fields = nullptr, size_t fieldsSize = 0);
    // The same whatever the event's notification (TestEventGenerate: a Test
    // event always goes out).
    void EmitAlways(uint16_t eventId, uint64_t frameId, const uint8_t* fields = nullptr, size_t fieldsSize = 0);

private:
    void Deliver(uint16_t eventId, uint64_t frameId, const uint8_t* fields, size_t fieldsSize);

    VirtualRegisters& m_registers;
    const VirtualCameraClock& m_clock;
    Sink m_sink; // node map lock
};

} // namespace internal
} // namespace Orvane

#endif
