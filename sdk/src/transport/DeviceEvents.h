// The device-event channel of an opened device: the path on which a camera
// tells the host that something happened on it (exposure end, a line
// changed, a test event), each event with its ID, time and data.
//
// DeviceConnection::OpenEventChannel opens it and delivers every event to a
// DeviceEventSink until the channel object is destroyed. GigE Vision devices
// send their events on the GVCP message channel, which the GigE Vision
// transport serves on a socket of its own (Aravis has none:
// gige/GigEVisionEventChannel.h); virtual cameras raise them from their
// runtime and stream engine (VirtualEventSource).
//
// The sink is the camera's event dispatcher (camera/DeviceEventDispatcher.h):
// it copies each event into its own bounded queue and returns; the
// dispatcher's thread names the event, shows its data in the node map and
// calls the application's handlers. So the channel never waits for
// application code.
//
// Threads: the channel calls OnDeviceEvent one event at a time, in arrival
// order, from the thread where the event arrives: the channel's own receiver
// thread (GigE Vision), or the thread that raised it (virtual cameras: the
// fake stream's thread for frame events, the thread writing a feature for
// acquisition and test events, with the node map's lock held). So the sink
// must copy what it needs (the data lives for the call only), queue it and
// return: never block, never call into the SDK. Destroying the channel stops
// the calls: when the destructor returns the sink is no longer called. Any
// thread may destroy it, except one inside OnDeviceEvent.
#ifndef ORVANE_TRANSPORT_DEVICE_EVENTS_H
#define ORVANE_TRANSPORT_DEVICE_EVENTS_H

#include <cstddef>
#include <cstdint>

namespace Orvane {
namespace internal {

struct DeviceEvent {
    uint64_t eventId = 0;   // the event's ID (the EventID of the device description's event node)
    uint64_t timestamp = 0; // device timestamp of the event, ns
    // The stream channel and block (frame) the event refers to, where the
    // transport carries them (GigE Vision event data; virtual cameras: the
    // frame ID as block ID).
    bool hasStreamChannel = false;
    uint16_t streamChannel = 0;
    bool hasBlockId = false;
    uint64_t blockId = 0;
    // The event's data as the device sent it (its own fields, big-endian as
    // the description's event nodes read them). Valid during the call only.
    const uint8_t* data = nullptr;
    size_t size = 0;
};

class DeviceEventSink {
public:
    virtual ~DeviceEventSink() = default;
    // One event (see the header comment for the thread).
    virtual void OnDeviceEvent(const DeviceEvent& event) = 0;
};

// Counters of one open event channel, for logs and diagnostics. A
// transport counts what it can tell; the others stay 0.
struct DeviceEventChannelStatistics {
    uint64_t events = 0;       // handed to the sink
    uint64_t acknowledged = 0; // acknowledgements sent to the device
    uint64_t duplicates = 0;   // retransmissions acknowledged but not delivered again
    uint64_t malformed = 0;    // messages dropped as no valid event message
    uint64_t foreign = 0;      // messages dropped as not coming from the device
    uint64_t sinkErrors = 0;   // sink calls that threw (the exception is dropped)
};

// An open event channel; destroying it closes the channel.
class DeviceEventChannel {
public:
    virtual ~DeviceEventChannel() = default;
    // The channel's counters so far; any thread, lock-free. Default: all 0.
    virtual DeviceEventChannelStatistics Statistics() const { return DeviceEventChannelStatistics(); }
};

} // namespace internal
} // namespace Orvane

#endif
